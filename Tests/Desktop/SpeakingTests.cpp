#include "Tests/Desktop/Session.h"
#include "Tests/Desktop/SoundServer.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A person says "go forward ten meters".
const auto recording = u"/usr/share/pocketsphinx/test/data/goforward.raw"_s;
const auto words = u"Go forward ten meters"_s;
const auto consent = QByteArrayLiteral(
    R"({"brevio.microphoneAllowed":true,"brevio.speechRecognitionAllowed":true})");
constexpr auto longEnough = std::chrono::milliseconds(700); // for a question, or the microphone

/// A desktop with a microphone, and Brevio on it.
struct Room
{
    explicit Room(bool isAllowed = true, WindowManager manager = WindowManager::Openbox)
        : session({.windowManager = manager}, [this, isAllowed](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            if (isAllowed)
                desktop.write(desktop.defaultsPath(), consent);
            sound.putInto(desktop.environment());
        })
    {}

    [[nodiscard]] bool isReady()
    {
        if (!sound.problem().isEmpty() || !session.isReady() || !session.summon())
            return false;
        card = session.card();
        return true;
    }
    /// Holds the key and speaks; the key is still down when this returns.
    [[nodiscard]] bool speak()
    {
        return session.seat.keyDown("alt") && isListening() && sound.play(recording) &&
               sound.waitForPlayed();
    }
    [[nodiscard]] bool isListening()
    {
        return waitUntil([this] { return sound.recordStreams() == 1; });
    }
    [[nodiscard]] bool isQuiet()
    {
        return waitUntil([this] { return sound.recordStreams() == 0; });
    }
    /// Whether the card keeps the keyboard for so long.
    [[nodiscard]] bool isUndisturbed(std::chrono::milliseconds span)
    {
        return !waitUntil([this] { return session.seat.focus() != card; }, span);
    }
    /// Answers the question that is on the screen.
    [[nodiscard]] bool allow()
    {
        Seat::Window question = 0;
        if (!waitUntil([&] {
                question = session.seat.focus();
                return question != card &&
                       session.seat.text(question, "_NET_WM_NAME") == "Brevio" &&
                       session.seat.isVisible(question);
            }))
            return false;
        return session.seat.press("Tab") && session.seat.press("Return") &&
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
    void theFirstHoldAsksTwiceAndTheNextOneWrites()
    {
        Room room(false);
        QVERIFY(room.isReady());
        Session &session = room.session;
        // A chord asks nothing.
        session.seat.press("alt");
        QVERIFY(room.isUndisturbed(longEnough));

        session.seat.keyDown("alt");
        QVERIFY(waitUntil([&] { return session.seat.focus() != room.card; }));
        session.seat.keyUp("alt");
        QVERIFY(room.allow());
        QVERIFY(room.allow());
        QVERIFY(session.desktop.waitForFocus(room.card));
        QCOMPARE(room.sound.recordStreams(), 0); // nobody holds the key
        QVERIFY(waitUntil([&] {
            const auto defaults = session.desktop.defaults();
            return defaults.value(u"brevio.microphoneAllowed") == QJsonValue(true) &&
                   defaults.value(u"brevio.speechRecognitionAllowed") == QJsonValue(true);
        }));

        session.seat.type(u"A line"_s);
        QVERIFY(room.speak());
        session.seat.keyUp("alt");
        QVERIFY(room.isQuiet());
        QVERIFY(session.storeHolds({u"A line\n"_s + words}));
    }

    void theKeyboardTakenAwayEndsTheDictation()
    {
        Room room;
        QVERIFY(room.isReady());
        Session &session = room.session;
        QVERIFY(room.speak());
        QCOMPARE(session.desktop.noteBodies(), QStringList()); // not before the end
        const auto other = session.desktop.startVictim();      // its window takes the keyboard
        QVERIFY(room.isQuiet());
        QVERIFY(session.storeHolds({words}));
        session.seat.keyUp("alt");
    }

    void discardedWordsAreGoneAndTheNextHoldListens()
    {
        // Window managers keep Alt+Escape for themselves.
        Room room(true, WindowManager::None);
        QVERIFY(room.isReady());
        Session &session = room.session;
        QVERIFY(room.speak());
        session.seat.press("Escape");
        QVERIFY(room.isQuiet());
        session.seat.keyUp("alt");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.summon());
        QVERIFY(room.speak());
        session.seat.press("ctrl+Return");
        QVERIFY(room.isQuiet());
        QVERIFY(session.storeHolds({words}));
        session.seat.keyUp("alt");
    }

    void whatIsMissingOrDiesIsSilent()
    {
        Room room;
        QVERIFY(room.isReady());
        Session &session = room.session;
        session.seat.type(u"A line"_s);
        session.seat.keyDown("alt");
        QVERIFY(room.isListening());
        QVERIFY(room.sound.play(recording));
        QVERIFY(room.isUndisturbed(longEnough));
        room.sound.kill(); // in the middle of a word
        QVERIFY(room.isUndisturbed(longEnough));
        session.seat.keyUp("alt");
        // No daemon at all now.
        session.seat.keyDown("alt");
        QVERIFY(room.isUndisturbed(longEnough));
        session.seat.keyUp("alt");
        session.seat.press("ctrl+Return");
        QVERIFY(session.cardIsGone());
        QVERIFY(waitUntil([&] {
            const auto bodies = session.desktop.noteBodies();
            return bodies.size() == 1 && bodies.first().startsWith(u"A line"_s);
        }));
    }
};

QTEST_GUILESS_MAIN(SpeakingTests)
#include "SpeakingTests.moc"
