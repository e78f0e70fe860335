// The whole program on a private X server with a window manager: start, summoning, memory and
// wake-ups, against an empty Qt window and a bare X window in the same run.

#include "Tests/Desktop/Desktop.h"
#include "Benchmarks/Measure.h"
#include "Brevio/Notes/StoreFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <array>
#include <cstdlib>
#include <thread>

#include <xcb/xcb.h>

using namespace std::chrono_literals;

namespace {

constexpr int starts = 15;
constexpr int summonings = 40;
constexpr auto idleTime = 10s;
constexpr auto samplePeriod = 100ms;
constexpr double blinksPerSecond = 2.0;
constexpr double twoFrames = 2000.0 / 60.0;
constexpr auto chord = "ctrl+shift+space";
constexpr std::uint8_t spaceKey = 65;
/// Inside every window measured here, and where neither text nor a caret is.
constexpr QPoint watched{640, 470};
constexpr QRect windowArea{410, 260, 460, 280};

/// The measured screen, and what no test needs of it.
class Bench final
{
public:
    explicit Bench(Desktop &desktop)
        : m_desktop(desktop)
        , m_connection(xcb_connect(
              desktop.environment().value(QStringLiteral("DISPLAY")).toLatin1().constData(),
              nullptr))
        , m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data)
    {
        lookAtBackground();
        m_window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_screen->root,
                          windowArea.x(), windowArea.y(), windowArea.width(), windowArea.height(),
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL,
                          &m_screen->white_pixel);
        // Without a frame, like the card.
        constexpr std::array<std::uint32_t, 5> hints{2, 0, 0, 0, 0};
        const auto motif = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, 15, "_MOTIF_WM_HINTS"), nullptr);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, motif->atom, motif->atom,
                            32, hints.size(), hints.data());
        std::free(motif);
        xcb_flush(m_connection);
    }
    ~Bench() { xcb_disconnect(m_connection); }
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    /// A compositor paints one of its own.
    void lookAtBackground() { m_background = m_desktop.seat().pixel(watched); }
    [[nodiscard]] bool isCovered() { return m_desktop.seat().pixel(watched) != m_background; }
    /// Watches closely: the waiting of the tests is too coarse to measure with.
    bool waitForCover(bool covered = true)
    {
        const Measure::Stopwatch watch;
        while (isCovered() != covered) {
            if (watch.milliseconds() > 10'000)
                return false;
            std::this_thread::sleep_for(100us);
        }
        return true;
    }
    /// Whether somebody has grabbed the summoning keys.
    [[nodiscard]] bool isChordTaken()
    {
        // With the server held, so that the program never finds them taken by us.
        xcb_grab_server(m_connection);
        constexpr std::uint16_t modifiers = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
        auto *error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 0, m_screen->root, modifiers, spaceKey,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (!error)
            xcb_ungrab_key(m_connection, spaceKey, m_screen->root, modifiers);
        xcb_ungrab_server(m_connection);
        xcb_flush(m_connection);
        const bool isTaken = error != nullptr;
        std::free(error);
        return isTaken;
    }

    double showBareWindow()
    {
        const Measure::Stopwatch watch;
        xcb_map_window(m_connection, m_window);
        xcb_flush(m_connection);
        waitForCover();
        const double time = watch.milliseconds();
        xcb_unmap_window(m_connection, m_window);
        xcb_flush(m_connection);
        waitForCover(false);
        return time;
    }
    double summon()
    {
        auto &seat = m_desktop.seat();
        seat.keyDown("ctrl+shift");
        std::this_thread::sleep_for(20ms);
        const Measure::Stopwatch watch;
        seat.keyDown("space");
        waitForCover();
        const double time = watch.milliseconds();
        seat.keyUp(chord);
        return time;
    }
    void dismiss()
    {
        (void)m_desktop.waitForFocus(m_desktop.waitForWindow(QStringLiteral("Brevio")));
        m_desktop.seat().press("Escape");
        waitForCover(false);
        std::this_thread::sleep_for(50ms);
    }

private:
    Desktop &m_desktop;
    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen;
    xcb_window_t m_window = 0;
    QColor m_background;
};

void writeNotes(Desktop &desktop, int count)
{
    desktop.write(desktop.notesPath(), Brevio::StoreFile::encode(Measure::notes(count), {}));
}

void measureStart(Desktop &desktop, Bench &bench)
{
    std::vector<double> empty;
    std::vector<double> first;
    std::vector<double> later;
    std::vector<double> preferences;
    for (int i = 0; i <= starts; ++i) {
        const auto time = [&](const QString &program, std::vector<double> &times, auto &&isDone) {
            const Measure::Stopwatch watch;
            const auto process = desktop.start(program);
            isDone();
            if (i > 0) // the first fills the caches
                times.push_back(watch.milliseconds());
        };
        time(QStringLiteral(EMPTY_WINDOW_PROGRAM), empty, [&] { bench.waitForCover(); });
        bench.waitForCover(false);
        QFile::remove(desktop.notesPath());
        time(QStringLiteral(BREVIO_PROGRAM), first, [&] { bench.waitForCover(); });
        bench.waitForCover(false);
        writeNotes(desktop, 20);
        time(QStringLiteral(BREVIO_PROGRAM), later, [&] {
            while (!bench.isChordTaken())
                std::this_thread::sleep_for(500us);
        });
        bench.waitForCover(false);
        time(QStringLiteral(BREVIO_PROGRAM), preferences, [&] { bench.waitForCover(); });
        bench.waitForCover(false);
    }
    const double reference = Measure::median(empty);
    Measure::print({.what = "start, an empty Qt window", .value = reference});
    Measure::print({.what = "start, first run: the welcome card painted",
                    .value = Measure::median(first),
                    .reference = reference,
                    .ratioLimit = 1.5});
    Measure::print({.what = "start, later run: the shortcut works",
                    .value = Measure::median(later),
                    .reference = reference,
                    .ratioLimit = 1.5});
    Measure::print({.what = "start, later run: the preferences painted",
                    .value = Measure::median(preferences),
                    .reference = reference,
                    .ratioLimit = 1.5});
}

void measureSummon(Bench &bench, const char *screen)
{
    std::vector<double> bare;
    std::vector<double> card;
    for (int i = 0; i < summonings; ++i) {
        bare.push_back(bench.showBareWindow());
        std::this_thread::sleep_for(30ms);
        card.push_back(bench.summon());
        bench.dismiss();
    }
    const auto report = [&](const char *which, double share) {
        const std::string end = std::string(", ") + screen + ", " + which;
        const double reference = Measure::quantile(bare, share);
        Measure::print({.what = "map a bare X window" + end, .value = reference});
        Measure::print({.what = "summon key to painted card" + end,
                        .value = Measure::quantile(card, share),
                        .limit = twoFrames,
                        .reference = reference,
                        .ratioLimit = 1.5});
    };
    report("median", 0.5);
    report("95 %", 0.95);
}

/// A number of a file in /proc, by the word that the line begins with; 0 without one.
double numberIn(const QString &path, const char *word)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0.0;
    for (const auto &line : file.readAll().split('\n')) {
        if (line.startsWith(word))
            return line.mid(qstrlen(word)).trimmed().split(' ').first().toDouble();
    }
    return 0.0;
}

void reportMemory(const std::string &what, const Process &process, double limit)
{
    const QString path = QStringLiteral("/proc/%1/smaps_rollup").arg(process.id());
    for (const char *kind : {"Rss:", "Pss:", "Private_Dirty:"}) {
        Measure::print({.what = what + ", " + std::string(kind, qstrlen(kind) - 1),
                        .value = numberIn(path, kind) / 1024.0,
                        .unit = "MB",
                        .limit = qstrcmp(kind, "Rss:") == 0 ? limit : 0.0});
    }
}

/// How often any thread of the process has waited for something.
double waits(const Process &process)
{
    double count = 0.0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(process.id()));
    for (const auto &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        count +=
            numberIn(tasks.filePath(task + QStringLiteral("/status")), "voluntary_ctxt_switches:");
    return count;
}

/// One wake-up is many waits, a blink's for the server's answer among them; what falls into one
/// sample counts once.
double wakeUpsPerSecond(const Process &process)
{
    std::this_thread::sleep_for(2s); // the save's delay and the last fade
    const Measure::Stopwatch watch;
    int wakeUps = 0;
    double before = waits(process);
    while (watch.milliseconds() < std::chrono::milliseconds(idleTime).count()) {
        std::this_thread::sleep_for(samplePeriod);
        const double now = waits(process);
        wakeUps += now != before ? 1 : 0;
        before = now;
    }
    return wakeUps * 1000.0 / watch.milliseconds();
}

void putPreferencesAway(Desktop &desktop, Bench &bench)
{
    (void)desktop.waitForFocus(desktop.waitForWindow(QStringLiteral("Brevio Preferences")));
    desktop.seat().press("Escape");
    bench.waitForCover(false);
}

/// As somebody would: a few cards, the grid, and away.
void use(Desktop &desktop, Bench &bench)
{
    auto &seat = desktop.seat();
    for (const char *text : {"Bread and lamp oil", "The harbour map", "Ask Ada"}) {
        bench.summon();
        (void)desktop.waitForFocus(desktop.waitForWindow(QStringLiteral("Brevio")));
        seat.type(QString::fromLatin1(text));
        std::this_thread::sleep_for(100ms);
        seat.press("ctrl+Return");
        bench.waitForCover(false);
    }
    bench.summon();
    (void)desktop.waitForFocus(desktop.waitForWindow(QStringLiteral("Brevio")));
    seat.click(QPoint(windowArea.right() - 17, windowArea.bottom() - 17));
    std::this_thread::sleep_for(500ms);
    seat.press("Escape");
    std::this_thread::sleep_for(500ms);
    bench.dismiss();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Desktop desktop;
    if (!desktop.problem().isEmpty()) {
        std::fprintf(stderr, "%s\n", desktop.problem().constData());
        return 1;
    }
    Bench bench(desktop);
    measureStart(desktop, bench);

    writeNotes(desktop, 20);
    const auto brevio = desktop.startBrevio();
    (void)waitUntil([&] { return bench.isChordTaken(); });
    putPreferencesAway(desktop, bench);
    use(desktop, bench);
    measureSummon(bench, "no compositor");
    desktop.startCompositor();
    std::this_thread::sleep_for(500ms);
    bench.lookAtBackground();
    measureSummon(bench, "composed");
    desktop.stopCompositor();
    std::this_thread::sleep_for(500ms);
    bench.lookAtBackground();

    const auto empty = desktop.start(QStringLiteral(EMPTY_WINDOW_PROGRAM));
    bench.waitForCover();
    reportMemory("memory, an empty Qt window", *empty, 0.0);
    empty->terminate();
    bench.waitForCover(false);
    Measure::print({.what = "wake-ups a second, hidden",
                    .value = wakeUpsPerSecond(*brevio),
                    .unit = "/s",
                    .limit = 0.01});
    reportMemory("memory, hidden after use", *brevio, 40.0);
    bench.summon();
    Measure::print({.what = "wake-ups a second, shown, the caret's blink only",
                    .value = wakeUpsPerSecond(*brevio),
                    .unit = "/s",
                    .limit = blinksPerSecond * 1.1});
}
