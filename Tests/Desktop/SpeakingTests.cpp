#include "Tests/Desktop/Session.h"
#include "Tests/Desktop/SoundServer.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A person says "go forward ten meters".
const auto recording = u"/usr/share/pocketsphinx/test/data/goforward.raw"_s;
const auto words = u"Go forward ten meters"_s;
constexpr auto longEnough = std::chrono::milliseconds(700); // for a question, or the microphone

/// A desktop with a microphone, and Brevio on it.
struct Room
{
    Room(WindowManager manager, const QByteArray &defaults)
        : session({.windowManager = manager}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            desktop.write(desktop.defaultsPath(), defaults);
            desktop.environment().insert(sound.variables());
        })
    {}

    [[nodiscard]] bool isReady()
    {
        return sound.problem().isEmpty() && session.isReady() && session.summon() &&
               (card = session.card()) != 0;
    }
    /// Holds the key and speaks; the key is still down when this returns.
    [[nodiscard]] bool speak()
    {
        return session.seat.keyDown("alt") && microphoneIsOpen(true) && sound.play(recording) &&
               sound.waitForPlayed();
    }
    [[nodiscard]] bool microphoneIsOpen(bool isOpen)
    {
        return waitUntil([&] { return sound.recordStreams() == int(isOpen); });
    }
    /// Whether the card keeps the keyboard for a moment.
    [[nodiscard]] bool isUndisturbed()
    {
        return !waitUntil([this] { return session.seat.focus() != card; }, longEnough);
    }
    /// Answers the question that is on the screen.
    [[nodiscard]] bool allow()
    {
        Seat::Window question = 0;
        const auto isAsked = [&] {
            question = session.seat.focus();
            return question != card && session.seat.text(question, "_NET_WM_NAME") == "Brevio" &&
                   session.seat.isVisible(question);
        };
        return waitUntil(isAsked) && session.seat.press("Tab") && session.seat.press("Return") &&
               waitUntil([&] { return !session.seat.isVisible(question); });
    }

    SoundServer sound;
    Session session;
    Seat::Window card = 0;
};

} // namespace

class SpeakingTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstHoldAsksTwiceAndTheNextOnesWrite()
    {
        Room room(WindowManager::Openbox, "{}");
        QVERIFY(room.isReady());
        Session &session = room.session;
        // A chord asks nothing.
        session.seat.press("alt");
        QVERIFY(room.isUndisturbed());

        session.seat.keyDown("alt");
        QVERIFY(waitUntil([&] { return session.seat.focus() != room.card; }));
        session.seat.keyUp("alt");
        QVERIFY(room.allow());
        QVERIFY(room.allow());
        QVERIFY(session.desktop.waitForFocus(room.card));
        QCOMPARE(room.sound.recordStreams(), 0); // nobody holds the key
        QVERIFY(session.settingIs("brevio.microphoneAllowed", true));
        QVERIFY(session.settingIs("brevio.speechRecognitionAllowed", true));

        session.seat.type(u"A line"_s);
        QVERIFY(room.speak());
        session.seat.keyUp("alt");
        QVERIFY(room.microphoneIsOpen(false));
        const QString first = u"A line\n"_s + words;
        QVERIFY(session.storeHolds({first}));

        // The keyboard taken away ends a dictation.
        QVERIFY(session.keep() && session.summon());
        QVERIFY(room.speak());
        QCOMPARE(session.desktop.noteBodies(), QStringList{first}); // not before the end
        const auto other = session.desktop.startVictim();           // its window takes it
        QVERIFY(room.microphoneIsOpen(false));
        QVERIFY(session.storeHolds({words, first}));
        session.seat.keyUp("alt");
    }

    void discardedWordsAreGoneAndWhatIsMissingOrDiesIsSilent()
    {
        // Window managers keep Alt+Escape for themselves.
        Room room(WindowManager::None,
                  R"({"brevio.microphoneAllowed":true,"brevio.speechRecognitionAllowed":true})");
        QVERIFY(room.isReady());
        Session &session = room.session;
        QVERIFY(room.speak());
        session.seat.press("Escape");
        QVERIFY(room.microphoneIsOpen(false));
        session.seat.keyUp("alt");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.summon());
        QVERIFY(room.speak());
        session.seat.press("ctrl+Return");
        QVERIFY(room.microphoneIsOpen(false));
        QVERIFY(session.storeHolds({words}));
        session.seat.keyUp("alt");
        QVERIFY(session.cardIsGone());

        QVERIFY(session.summon());
        session.seat.type(u"A line"_s);
        session.seat.keyDown("alt");
        QVERIFY(room.microphoneIsOpen(true));
        QVERIFY(room.sound.play(recording));
        QVERIFY(room.isUndisturbed());
        room.sound.kill(); // in the middle of a word
        QVERIFY(room.isUndisturbed());
        session.seat.keyUp("alt");
        // No daemon at all now.
        session.seat.keyDown("alt");
        QVERIFY(room.isUndisturbed());
        session.seat.keyUp("alt");
        QVERIFY(session.keep());
        QVERIFY(waitUntil([&] {
            const auto bodies = session.desktop.noteBodies();
            return bodies.size() == 2 && bodies.first().startsWith(u"A line"_s);
        }));
    }
};

QTEST_GUILESS_MAIN(SpeakingTests)
#include "SpeakingTests.moc"
