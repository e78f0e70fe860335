// How long the grid takes to open and to scroll, and what it keeps in memory, by the number of
// notes; each against a grid of one note.

#include "Brevio/GridContentView.h"
#include "Brevio/OverlayScrollBar.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <malloc.h>

using namespace Brevio;

namespace {

constexpr QSize gridSize{460, 280};
constexpr int repetitions = 9; ///< the median counts
constexpr int scrollSteps = 50;

class LightAppearance final : public Platform::Appearance
{
    Platform::ColorScheme scheme() const override { return Platform::ColorScheme::Light; }
};

struct Cost
{
    double openMilliseconds = 0;   ///< reload, layout, first paint
    double scrollMilliseconds = 0; ///< one step of the wheel and its paint
    double megabytes = 0;          ///< kept by the grid, the notes' own texts apart
};

NoteList makeNotes(int count)
{
    NoteList notes;
    for (int i = 0; i < count; ++i)
        notes.push_back({.id = QUuid::createUuid(),
                         .body = QStringLiteral("Note %1: the quick brown fox jumps over the lazy "
                                                "dog, and packs my box with five dozen jugs. ")
                                     .arg(i)
                                     .repeated(4),
                         .lastEditedAt = Platform::Instant(std::chrono::seconds(i * 7919 % count)),
                         .isPinned = i % 5 == 0});
    return notes;
}

double megabytesInUse()
{
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

Cost measure(int count)
{
    LightAppearance appearance;
    const NoteList notes = makeNotes(count);
    QImage screen(gridSize, QImage::Format_ARGB32_Premultiplied);
    Cost cost;
    std::vector<double> openings;
    for (int i = 0; i < repetitions; ++i) {
        const double before = megabytesInUse();
        GridContentView grid(appearance, Platform::MainQueue::main());
        grid.resize(gridSize);
        grid.ensurePolished();
        QElapsedTimer timer;
        timer.start();
        grid.reload(notes, notes.front().id);
        grid.render(&screen);
        openings.push_back(milliseconds(timer));
        cost.megabytes = megabytesInUse() - before;

        timer.start();
        for (int step = 0; step < scrollSteps; ++step) {
            QWheelEvent wheel({}, {}, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
            QApplication::sendEvent(&grid, &wheel);
            grid.render(&screen);
        }
        cost.scrollMilliseconds = milliseconds(timer) / scrollSteps;
    }
    cost.openMilliseconds = median(openings);
    return cost;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    (void)measure(1); // fonts and glyphs are loaded once in the life of a program
    const Cost one = measure(1);
    std::printf("%8s %10s %8s %12s %8s\n", "notes", "open ms", "ratio", "scroll ms", "MB more");
    for (const int count : {1, 12, 1'000, 10'000}) {
        const Cost cost = measure(count);
        std::printf("%8d %10.2f %8.1f %12.2f %8.1f\n", count, cost.openMilliseconds,
                    cost.openMilliseconds / one.openMilliseconds, cost.scrollMilliseconds,
                    cost.megabytes - one.megabytes);
    }
}
