// What a keystroke on the card costs until it is painted, by the number of notes in the store, and
// while somebody dictates.

#include "Benchmarks/Measure.h"
#include "Brevio/Card/CardController.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Notes/StoreFile.h"
#include "Brevio/Preferences/Settings.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/FakeSpeech.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QApplication>
#include <QFile>
#include <QKeyEvent>

#include <cstring>

using namespace Brevio;

namespace {

constexpr int rounds = 7;
constexpr int keysPerRound = 200;
constexpr std::size_t soundPerKey = 1024; // samples, 64 ms: far more than can be decoded meanwhile
const auto recording = QStringLiteral("/usr/share/pocketsphinx/test/data/goforward.raw");

enum class Speech { None, Dictating };

/// A person who speaks without end.
std::vector<std::int16_t> recordedSpeech()
{
    QFile file(recording);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    std::vector<std::int16_t> samples(static_cast<std::size_t>(bytes.size()) / 2);
    std::memcpy(samples.data(), bytes.constData(), samples.size() * 2);
    return samples;
}

/// The card over a store of so many notes; nothing is saved while it is measured.
class Card final
{
public:
    Card(int noteCount, Speech speech)
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
                                     m_shortcuts.defaults, m_microphone, *m_recognizers,
                                     m_permissions});
        m_controller->showFreshCard();
        QApplication::processEvents();
        if (speech == Speech::Dictating)
            dictate();
    }

    /// Whether a real model is at work.
    [[nodiscard]] bool isDictating() const { return m_microphone.isRunning(); }

    /// Microseconds of a character typed, stored and painted.
    double keystroke()
    {
        speak();
        const Measure::Stopwatch watch;
        press(Qt::Key_A, QStringLiteral("a"));
        QApplication::processEvents();
        return watch.milliseconds() * 1000.0;
    }

private:
    BoundedTextView &text() { return *m_controller->panel().findChild<BoundedTextView *>(); }
    void press(Qt::Key key, const QString &typed = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, typed);
        QApplication::sendEvent(&text(), &event);
    }
    /// Until the first words are there: the model is loaded then.
    void dictate()
    {
        m_permissions.isRemembered = true;
        press(Qt::Key_Alt);
        m_permissions.answer(true, true);
        m_shortcuts.queue.advance(std::chrono::milliseconds(150));
        m_microphone.feed(m_speech);
        while (isDictating() && text().text().isEmpty())
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void speak()
    {
        if (!isDictating() || m_speech.size() < soundPerKey)
            return;
        if (m_spoken + soundPerKey > m_speech.size())
            m_spoken = 0;
        const auto next = m_speech.begin() + static_cast<std::ptrdiff_t>(m_spoken);
        m_microphone.feed({next, next + soundPerKey});
        m_spoken += soundPerKey;
    }

    const std::vector<std::int16_t> m_speech = recordedSpeech();
    std::size_t m_spoken = 0;
    ShortcutsFixture m_shortcuts;
    FakeAudioEngine m_microphone;
    FakePermissions m_permissions;
    std::unique_ptr<Platform::SpeechRecognizers> m_recognizers =
        Platform::SpeechRecognizers::createForDesktop(m_shortcuts.defaults, m_shortcuts.queue);
    FakeAppearance m_appearance;
    FakeScreens m_screens;
    FakeCloudDrive m_cloud;
    std::unique_ptr<NoteStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<CardController> m_controller;
};

double measure(int noteCount, Speech speech = Speech::None)
{
    Card card(noteCount, speech);
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
    std::vector<double> dictating;
    std::vector<double> quiet;
    for (int i = 0; i < rounds; ++i) {
        quiet.push_back(measure(1));
        dictating.push_back(measure(1, Speech::Dictating));
    }
    Measure::print({.what = "keystroke to paint while speech is decoded",
                    .value = Measure::median(dictating),
                    .unit = "us",
                    .reference = Measure::median(quiet)});
}
