#include "Brevio/Card/Speech.h"
#include "Tests/Support/FakeSpeech.h"
#include "Tests/Support/ManualTime.h"

#include <QTest>

using namespace Brevio;
using namespace std::chrono_literals;
using Platform::Permission;

namespace {

/// A dictation on a machine of fakes, and everything it has said.
struct Speaker
{
    Speaker()
    {
        dictation->onPartialResult = [this](const QString &text) { partials << text; };
    }

    /// Holds the key until the microphone is open, on a machine where nobody is asked.
    void hold()
    {
        permissions.isRemembered = true;
        dictation->start();
        permissions.answer(true, true);
        queue.advance(150ms);
    }
    QString release()
    {
        return dictation->stop([this](const QString &text) { finals << text; });
    }
    FakeSpeechRecognizer &recognizer() { return *recognizers.shared; }
    bool isListening() const { return audioEngine.isRunning() && audioEngine.hasTap(); }

    ManualQueue queue;
    FakeAudioEngine audioEngine;
    FakeSpeechRecognizers recognizers;
    FakePermissions permissions;
    QStringList partials;
    QStringList finals;
    std::unique_ptr<Dictation> dictation = std::make_unique<Dictation>(
        Dictation::Services{audioEngine, recognizers, permissions, queue});
};

} // namespace

class DictationTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("LANGUAGE", "de_CH"); }

    void asksOnceForBothAndObeys()
    {
        for (const auto &[microphone, speech] :
             {std::pair(true, true), {false, true}, {true, false}}) {
            Speaker speaker;
            speaker.dictation->start();
            speaker.queue.advance(299ms); // Alt+Tab is over by then
            QVERIFY(speaker.permissions.asked.empty());
            speaker.queue.advance(1ms);
            QCOMPARE(speaker.permissions.asked, std::vector{Permission::Microphone});
            speaker.dictation->start(); // again, while the question is open
            speaker.queue.advance(300ms);
            speaker.permissions.answer(microphone, speech);
            const bool isGranted = microphone && speech;
            QCOMPARE(speaker.dictation->authState(),
                     isGranted ? AuthState::Granted : AuthState::Denied);

            // At once: the key is still held.
            speaker.queue.advance(150ms);
            QCOMPARE(speaker.isListening(), isGranted);
            QCOMPARE(speaker.dictation->stop(), QString());
            speaker.dictation->start();
            speaker.queue.advance(1s);
            QCOMPARE(speaker.isListening(), isGranted);
            QCOMPARE(speaker.permissions.asked.size(), microphone ? 2U : 1U);
        }
    }

    void listensToNobodyWhoHasLetGo()
    {
        Speaker speaker;
        speaker.dictation->start();
        speaker.queue.advance(300ms);
        speaker.dictation->stop(); // to answer
        speaker.permissions.answer(true, true);
        speaker.queue.advance(1s);

        // Neither to a tap of the key, nor to a chord.
        speaker.dictation->start();
        speaker.queue.advance(149ms);
        speaker.dictation->stop();
        speaker.dictation->start();
        speaker.dictation->callOff();
        speaker.queue.advance(1s);
        QCOMPARE(speaker.audioEngine.starts, 0);

        // An answer after the end.
        Speaker gone;
        gone.dictation->start();
        gone.queue.advance(300ms);
        gone.dictation.reset();
        gone.permissions.answer(true, true);
        QCOMPARE(gone.audioEngine.starts, 0);
    }

    void soundReachesTheRecognizerAndWordsComeBack()
    {
        Speaker speaker;
        speaker.hold();
        // The language of the user, which nobody speaks here, and then English.
        QCOMPARE(speaker.recognizers.asked, QStringList({u"de_CH"_qs, u"en-US"_qs}));
        speaker.audioEngine.feed({1, 2, 3});
        const auto request = speaker.recognizer().tasks.back()->request;
        const auto sound = request->take();
        QCOMPARE(sound.samples, (std::vector<std::int16_t>{1, 2, 3}));
        QVERIFY(!sound.isOver);

        speaker.recognizer().report(QStringLiteral("Hello"));
        speaker.recognizer().report(QStringLiteral("Hello there"));
        QCOMPARE(speaker.release(), QStringLiteral("Hello there"));
        QVERIFY(!speaker.isListening());
        QVERIFY(request->take().isOver);
        // What was still on its way is heard to the end; partial again it is no news.
        speaker.recognizer().report(QStringLiteral("Hello there you"));
        speaker.recognizer().finish(QStringLiteral("Hello there, you"));
        QCOMPARE(speaker.partials, QStringList({u"Hello"_qs, u"Hello there"_qs}));
        QCOMPARE(speaker.finals, QStringList({u"Hello there, you"_qs}));
        QCOMPARE(speaker.recognizer().tasks.back().use_count(), 1); // nobody holds it any more
    }

    void endsByItselfSilently()
    {
        const std::vector<std::function<void(Speaker &)>> ends{
            [](Speaker &s) { s.recognizer().fail(); },
            [](Speaker &s) { s.recognizer().finish(QStringLiteral("So far")); },
            [](Speaker &s) { s.audioEngine.interrupt(); }};
        for (const auto &end : ends) {
            Speaker speaker;
            speaker.hold();
            speaker.recognizer().report(QStringLiteral("So far"));
            end(speaker);
            QVERIFY(!speaker.audioEngine.isRunning() && !speaker.audioEngine.hasTap());
            QCOMPARE(speaker.dictation->stop(), QStringLiteral("So far"));
            speaker.hold();
            QVERIFY(speaker.isListening());
        }
    }

    void anInterruptionKeepsWhatWasHeard()
    {
        Speaker speaker;
        speaker.hold();
        speaker.audioEngine.feed({1, 2});
        speaker.audioEngine.interrupt();
        const auto sound = speaker.recognizer().tasks.back()->request->take();
        QCOMPARE(sound.samples.size(), std::size_t(2));
        QVERIFY(sound.isOver); // so that its words are looked at a last time
        speaker.recognizer().finish(QStringLiteral("Heard"));
        QCOMPARE(speaker.partials, QStringList{u"Heard"_qs});
        QCOMPARE(speaker.recognizer().tasks.back().use_count(), 1);
    }

    void doesWithoutWhatIsMissing()
    {
        Speaker speaker;
        speaker.audioEngine.canStart = false;
        speaker.hold();
        QCOMPARE(speaker.dictation->stop(), QString());
        QVERIFY(speaker.audioEngine.starts == 1 && !speaker.audioEngine.hasTap());
        speaker.audioEngine.canStart = true;
        speaker.recognizer().available = false;
        speaker.hold();
        speaker.recognizers.supported.clear();
        speaker.hold();
        QCOMPARE(speaker.audioEngine.starts, 1);
    }
};

QTEST_MAIN(DictationTests)
#include "DictationTests.moc"
