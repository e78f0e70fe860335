#include "Platform/Storage/Files.h"
#include "Tests/Desktop/Session.h"
#include "Tests/Desktop/StatusHost.h"

#include <QFileInfo>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

// How often Tab is pressed in fresh preferences to reach a control.
constexpr int menuBarSwitch = 1;
constexpr int loginSwitch = 2;
constexpr int recorder = 3;
constexpr int restoreButton = 4;

const auto commands = QStringList{u"New Card"_s, u"Show All Cards"_s, u"Pin Active Card"_s,
                                  u""_s,         u"Preferences…"_s,   u"Check for Updates…"_s,
                                  u""_s,         u"Quit Brevio"_s};
const QColor tileInLight(251, 246, 230);

/// True once the preferences have the keyboard.
bool preferencesComeUp(Session &session)
{
    return session.desktop.waitForFocus(session.desktop.waitForWindow(u"Brevio Preferences"_s));
}

/// Starts the program once more; true when that start has ended well and the preferences of the
/// running one have the keyboard.
bool openAgain(Session &session)
{
    const auto second = session.desktop.startBrevio();
    return second->waitForEnd() && second->exitCode() == 0 && session.brevio->isRunning() &&
           preferencesComeUp(session);
}

/// Slowly enough that the toolkit does not take a press for the repetition of the one before it.
void press(Session &session, const char *key, int times)
{
    constexpr auto betweenKeys = std::chrono::milliseconds(20);
    for (int i = 0; i < times; ++i) {
        session.seat.press(key);
        std::this_thread::sleep_for(betweenKeys);
    }
}

} // namespace

class ApplicationTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSecondStartShowsThePreferencesOfTheFirst()
    {
        Session session({.sessionBus = SessionBus::None});
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        session.seat.type(u"a"_s);
        QVERIFY(openAgain(session));
        const auto window = session.preferences();
        // The card is beside and below; the preferences stay above it when it is clicked.
        const QPoint covered = session.seat.geometry(window).center();
        QColor above;
        QVERIFY(waitUntil([&] {
            return (above = session.seat.pixel(covered)) !=
                   session.seat.pixel(session.on({6, 140}));
        }));
        for (int i = 0; i < 2; ++i) {
            session.seat.click(session.on({6, 140}));
            QVERIFY(session.cardIsUp());
        }
        session.seat.type(u"b"_s);
        QVERIFY(session.storeHolds({u"ab"_s}));
        QVERIFY(waitUntil([&] { return session.seat.pixel(covered) == above; }));
        QVERIFY(openAgain(session));
        QCOMPARE(session.preferences(), window);
        QCOMPARE(session.desktop.noteBodies(), QStringList{u"ab"_s});
    }

    void theStatusMenuDoesWhatItSays()
    {
        Session session;
        StatusHost host(session.desktop);
        QVERIFY(session.isReady());
        QCOMPARE(host.waitForItem().value(u"title").toString(), u"Brevio"_s);
        QCOMPARE(host.labels(), commands);
        QVERIFY(host.choose(commands[0]));
        QVERIFY(session.cardIsUp());
        session.seat.type(u"a"_s);
        QVERIFY(session.storeHolds({u"a"_s}));
        QVERIFY(host.choose(commands[2]));
        QVERIFY(waitUntil([&] {
            return session.desktop.notes().first().toObject().value(u"isPinned").toBool();
        }));
        session.seat.press("ctrl+Return");
        QVERIFY(session.cardIsGone());
        QVERIFY(host.choose(commands[1]));
        QVERIFY(session.cardIsUp());
        const auto gridShows = [&] {
            return session.seat.pixel(session.on({20, 85})) == tileInLight;
        };
        QVERIFY(waitUntil(gridShows));

        // Restored in the open grid, which the preferences cover until they are put away.
        QVERIFY(host.choose(commands[4]));
        QVERIFY(preferencesComeUp(session));
        press(session, "Tab", restoreButton);
        session.seat.press("space");
        QVERIFY(waitUntil([&] { return session.desktop.notes().size() == 2; }));
        press(session, "Tab", 5 - restoreButton + menuBarSwitch);
        session.seat.press("space");
        QVERIFY(host.waitForNoItem());
        QVERIFY(waitUntil([&] {
            return session.desktop.defaults().value(u"brevio.showInMenuBar") == QJsonValue(false);
        }));
        session.seat.press("space");
        QVERIFY(!host.waitForItem().isEmpty());
        session.seat.press("Escape");
        QVERIFY(waitUntil([&] { return session.preferences() == 0; }));
        QVERIFY(waitUntil(gridShows));

        QVERIFY(host.choose(commands[7]));
        QVERIFY(session.brevio->waitForEnd());
        QCOMPARE(session.brevio->exitCode(), 0);
        QVERIFY(host.waitForNoItem());
    }

    void theMenusKeysWorkInItsWindows()
    {
        Session session;
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        session.seat.type(u"ab"_s);
        for (const char *key : {"ctrl+a", "ctrl+x", "ctrl+v", "ctrl+v", "ctrl+z"})
            session.seat.press(key);
        QVERIFY(session.storeHolds({u"ab"_s}));
        session.seat.press("ctrl+shift+z");
        QVERIFY(session.storeHolds({u"abab"_s}));

        session.seat.press("ctrl+comma");
        QVERIFY(preferencesComeUp(session));
        session.seat.press("ctrl+h");
        QVERIFY(waitUntil([&] { return session.preferences() == 0; }));
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({u"abab"_s}));

        QVERIFY(session.summon());
        session.seat.press("ctrl+alt+h");
        QVERIFY(waitUntil([&] { return !session.seat.isVisible(session.victimWindow); }));
        session.seat.type(u"c"_s);
        session.seat.press("ctrl+q");
        QVERIFY(session.brevio->waitForEnd());
        QCOMPARE(session.brevio->exitCode(), 0);
        QCOMPARE(session.desktop.noteBodies(), (QStringList{u"c"_s, u"abab"_s}));
    }

    void startingAtLoginIsTheUsersChoice()
    {
        Session session;
        const QString entry = QFileInfo(session.desktop.defaultsPath()).path() +
                              u"/../autostart/org.brevio.Brevio.desktop"_s;
        QVERIFY(session.isReady());
        QVERIFY(!QFile::exists(entry));
        QVERIFY(openAgain(session));
        press(session, "Tab", loginSwitch);
        for (const bool isOn : {true, false, true}) {
            session.seat.press("space");
            QVERIFY(waitUntil([&] { return QFile::exists(entry) == isOn; }));
        }
        QVERIFY(waitUntil([&] {
            return session.desktop.defaults().value(u"brevio.startAtLogin") == QJsonValue(true);
        }));
        QCOMPARE(session.desktop.defaults().value(u"brevio.showInMenuBar"), QJsonValue(true));

        // Switched off in the session's settings, the next launch leaves it so.
        const auto switchedOff =
            Platform::Files::read(entry).value().replace("Hidden=false", "Hidden=true");
        QVERIFY(switchedOff.contains("Hidden=true"));
        session.desktop.write(entry, switchedOff);
        session.seat.press("ctrl+q");
        QVERIFY(session.brevio->waitForEnd());
        session.startBrevio();
        QVERIFY(session.isReady());
        QCOMPARE(Platform::Files::read(entry), switchedOff);
    }

    void aRecordedShortcutWorksAtOnceAndEverywhere()
    {
        Session session;
        StatusHost host(session.desktop);
        QVERIFY(session.isReady());
        QVERIFY(openAgain(session));
        press(session, "Tab", recorder);
        // What is in use cannot be had without an answer; recording goes on after it.
        session.seat.press("ctrl+q");
        const auto alert = session.desktop.waitForWindow(u"Brevio"_s);
        QVERIFY(session.desktop.waitForFocus(alert));
        QVERIFY(session.brevio->isRunning());
        session.seat.press("Return");
        QVERIFY(session.desktop.waitForFocus(session.preferences()));
        session.seat.press("ctrl+alt+n");
        QVERIFY(waitUntil([&] { return session.seat.isTaken("ctrl+alt+n"); }));
        // The old one is given up in a request of its own.
        QVERIFY(waitUntil([&] { return !session.seat.isTaken("ctrl+shift+space"); }));
        QVERIFY(waitUntil([&] {
            return session.desktop.defaults().value(u"KeyboardShortcuts_summon").toString() ==
                   QStringLiteral(R"({"carbonKeyCode":45,"carbonModifiers":2304})");
        }));
        QCOMPARE(host.menu().first().toObject().value(u"shortcut"),
                 (QJsonArray{QJsonArray{u"Control"_s, u"Alt"_s, u"N"_s}}));
        session.seat.press("Escape");
        QVERIFY(waitUntil([&] { return session.preferences() == 0; }));
        session.seat.press("ctrl+alt+n");
        QVERIFY(session.cardIsUp());
        session.seat.press("ctrl+q");
        QVERIFY(session.brevio->waitForEnd());
        session.startBrevio();
        QVERIFY(waitUntil([&] { return session.seat.isTaken("ctrl+alt+n"); }));
        QVERIFY(!session.seat.isTaken("ctrl+shift+space"));
    }
};

QTEST_GUILESS_MAIN(ApplicationTests)
#include "ApplicationTests.moc"
