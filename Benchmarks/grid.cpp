// How long the grid takes to open and to scroll, and what it keeps in memory, by the number of
// notes; each against a grid of one note.

#include "Benchmarks/Measure.h"
#include "Brevio/Grid/GridContentView.h"

#include <QApplication>
#include <QWheelEvent>

#include <malloc.h>

using namespace Brevio;

namespace {

constexpr QSize gridSize{460, 280};
constexpr int repetitions = 9;
constexpr int scrollSteps = 50;
constexpr double twoFrames = 2000.0 / 60.0;

class LightAppearance final : public Platform::Appearance
{
    Platform::ColorScheme scheme() const override { return Platform::ColorScheme::Light; }
};

struct Cost
{
    double open = 0;      ///< reload, layout, first paint
    double scroll = 0;    ///< one step of the wheel and its paint
    double megabytes = 0; ///< kept by the grid, the notes' own texts apart
};

double megabytesInUse()
{
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

Cost measure(int count)
{
    LightAppearance appearance;
    const NoteList notes = Measure::notes(count);
    QImage screen(gridSize, QImage::Format_ARGB32_Premultiplied);
    Cost cost;
    std::vector<double> openings;
    std::vector<double> scrolls;
    for (int i = 0; i < repetitions; ++i) {
        const double before = megabytesInUse();
        GridContentView grid(appearance, Platform::MainQueue::main());
        grid.resize(gridSize);
        grid.ensurePolished();
        const Measure::Stopwatch opening;
        grid.reload(notes, notes.front().id);
        grid.render(&screen);
        openings.push_back(opening.milliseconds());
        cost.megabytes = megabytesInUse() - before;

        for (int step = 0; step < scrollSteps; ++step) {
            const Measure::Stopwatch scrolling;
            QWheelEvent wheel({}, {}, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
            QApplication::sendEvent(&grid, &wheel);
            grid.render(&screen);
            scrolls.push_back(scrolling.milliseconds());
        }
    }
    cost.open = Measure::median(openings);
    cost.scroll = Measure::median(scrolls);
    return cost;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    (void)measure(1); // fonts and glyphs are loaded once in the life of a program
    const Cost one = measure(1);
    const auto report = [&](const char *count, const Cost &cost, double limit) {
        const auto grid = std::string("grid of ") + count + " notes: ";
        Measure::print(
            {.what = grid + "shown", .value = cost.open, .limit = limit, .reference = one.open});
        Measure::print({.what = grid + "one scroll step",
                        .value = cost.scroll,
                        .limit = twoFrames,
                        .reference = one.scroll});
        Measure::print({.what = grid + "memory above one note",
                        .value = cost.megabytes - one.megabytes,
                        .unit = "MB",
                        .limit = 60.0});
    };
    report("1,000", measure(1'000), twoFrames);
    report("10,000", measure(10'000), 150.0);
}
