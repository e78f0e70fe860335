// What a keystroke on the card costs until it is painted, by the number of notes in the store.

#include "Benchmarks/Measure.h"
#include "Brevio/BoundedTextView.h"
#include "Brevio/CardController.h"
#include "Brevio/CardPanel.h"
#include "Brevio/NoteStore.h"
#include "Brevio/Settings.h"
#include "Brevio/StoreFile.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QApplication>
#include <QKeyEvent>

using namespace Brevio;

namespace {

constexpr int rounds = 7;
constexpr int keysPerRound = 200;

/// The card over a store of so many notes; nothing is saved while it is measured.
class Card final
{
public:
    explicit Card(int noteCount)
    {
        NoteList list = Measure::notes(noteCount);
        const QString data = m_shortcuts.folder.filePath(QStringLiteral("data"));
        (void)Platform::Files::makeFolder(data + QStringLiteral("/Brevio"));
        (void)Platform::Files::replaceAtomically(data + QStringLiteral("/Brevio/notes.json"),
                                                 StoreFile::encode(list, {}));
        m_store = std::make_unique<NoteStore>(NoteStore::Environment{
            Platform::Clock::system(), m_shortcuts.queue, m_cloud, data, data});
        m_settings = std::make_unique<Settings>(m_shortcuts.defaults);
        m_controller = std::make_unique<CardController>(
            *m_store, *m_settings,
            CardController::Services{m_appearance, m_shortcuts.queue, m_screens,
                                     m_shortcuts.defaults});
        m_controller->showFreshCard();
        QApplication::processEvents();
    }

    /// Microseconds of a character typed, stored and painted.
    double keystroke()
    {
        const Measure::Stopwatch watch;
        press(Qt::Key_A, QStringLiteral("a"));
        QApplication::processEvents();
        return watch.milliseconds() * 1000.0;
    }

private:
    BoundedTextView &text() { return *m_controller->panel().findChild<BoundedTextView *>(); }
    void press(Qt::Key key, const QString &typed)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, typed);
        QApplication::sendEvent(&text(), &event);
    }

    ShortcutsFixture m_shortcuts;
    FakeAppearance m_appearance;
    FakeScreens m_screens;
    FakeCloudDrive m_cloud;
    std::unique_ptr<NoteStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<CardController> m_controller;
};

double measure(int noteCount)
{
    Card card(noteCount);
    std::vector<double> times;
    for (int i = 0; i < keysPerRound; ++i)
        times.push_back(card.keystroke());
    return Measure::median(times);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    (void)measure(1); // fonts and glyphs are loaded once in the life of a program
    std::vector<double> one;
    std::vector<double> thousand;
    for (int i = 0; i < rounds; ++i) { // in turn, so that a busy machine slows both
        one.push_back(measure(1));
        thousand.push_back(measure(1'000));
    }
    Measure::print(
        {.what = "keystroke to paint, 1 note", .value = Measure::median(one), .unit = "us"});
    Measure::print({.what = "keystroke to paint, 1,000 notes",
                    .value = Measure::median(thousand),
                    .unit = "us",
                    .reference = Measure::median(one),
                    .ratioLimit = 1.1});
}
