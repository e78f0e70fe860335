#include "Tests/Desktop/Session.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
namespace {

const auto word = u"word"_s;
/// Cannot be written even by root. Another run's program on the same folder would be the first one.
const auto nowhere = u"/proc/nowhere%1"_s.arg(QCoreApplication::applicationPid());

/// Summons, types, keeps, and finds the kept card in the grid.
bool keepsACardInMemory(Session &session)
{
    if (!session.summon() || !session.seat.type(word) || !session.seat.press("ctrl+Return") ||
        !session.cardIsGone() || !session.summon() || !session.openGrid())
        return false;
    session.seat.click(session.on(tileCenter(0)));
    return session.cardShows() && session.seat.press("ctrl+Return") && session.cardIsGone();
}

} // namespace

class HardshipTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void worksWithLittleAroundIt_data()
    {
        QTest::addColumn<WindowManager>("manager");
        QTest::addColumn<SessionBus>("bus");
        QTest::addColumn<bool>("canWrite");
        const auto openbox = WindowManager::Openbox;
        QTest::newRow("no window manager") << WindowManager::None << SessionBus::Private << true;
        QTest::newRow("no session bus") << openbox << SessionBus::None << true;
        QTest::newRow("a silent session bus") << openbox << SessionBus::Silent << true;
        QTest::newRow("a home that cannot be written") << openbox << SessionBus::Private << false;
        QTest::newRow("nothing at all") << WindowManager::None << SessionBus::None << false;
    }
    void worksWithLittleAroundIt()
    {
        QFETCH(WindowManager, manager);
        QFETCH(SessionBus, bus);
        QFETCH(bool, canWrite);
        Session session({.windowManager = manager, .sessionBus = bus}, [&](Desktop &desktop) {
            if (canWrite)
                return Session::leaveEmptyStore(desktop);
            for (const char *name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
                desktop.environment().insert(QLatin1String(name), nowhere);
        });
        QVERIFY(session.isReady());
        if (!canWrite) {
            QVERIFY(session.cardIsUp());
            session.seat.press("Escape");
            QVERIFY(session.cardIsGone());
        }
        QVERIFY(keepsACardInMemory(session));
        if (canWrite)
            QVERIFY(session.storeHolds({word}));
        QCOMPARE(session.brevio->output(), QByteArray());
    }

    void aStoreThatCannotBeReadIsLeftAlone()
    {
        const auto cutOff = Session::storeOf({u"before"_s}).chopped(9);
        for (const QByteArray &content : {cutOff, QByteArray(1'000'000, '[')}) {
            Session session({},
                            [&](Desktop &desktop) { desktop.write(desktop.notesPath(), content); });
            QVERIFY(session.isReady());
            QVERIFY(keepsACardInMemory(session));
            // Its end is when the last chance to overwrite is gone.
            session.brevio->terminate();
            QVERIFY(session.brevio->waitForEnd());
            const QString path = session.desktop.notesPath();
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), content);
            // What was written meanwhile is kept beside it.
            QCOMPARE(QFileInfo(path).dir().entryList(QDir::Files | QDir::System | QDir::Hidden),
                     QStringList({u"notes.json"_s, u"notes.unsaved.json"_s}));
            QFile unsaved(QFileInfo(path).dir().filePath(u"notes.unsaved.json"_s));
            QVERIFY(unsaved.open(QIODevice::ReadOnly) && unsaved.readAll().contains(word.toUtf8()));
        }
    }

    void defaultsThatMakeNoSenseDoNotStopTheStart()
    {
        for (const char *content :
             {R"({"brevio.card.lastOrigin": {"x": 0, )",
              R"({"KeyboardShortcuts_summon": 7, "brevio.card.lastOrigin": "left",
                  "brevio.showInMenuBar": "no", "brevio.startAtLogin": null,
                  "brevio.cloudFolder": {}})"}) {
            Session session(
                {}, [&](Desktop &desktop) { desktop.write(desktop.defaultsPath(), content); });
            QVERIFY(session.cardIsUp());
            QTRY_COMPARE(session.on({0, 0}), QPoint(410, 260));
            session.seat.drag(session.on({6, 140}), session.on({26, 150}));
            const auto moved = [&] {
                return session.desktop.defaults().value(u"brevio.card.lastOrigin").toObject();
            };
            QVERIFY(waitUntil([&] { return moved().value(u"x").toInt() == 430; }));
        }
    }

    void anOrderlyEndLosesNothing()
    {
        // Logout, Ctrl+C, a closed terminal.
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            Session session;
            QVERIFY(session.isReady() && session.summon());
            QVERIFY(session.seat.type(word));
            // Seen on the card, not yet in the file: where no caret stands before the first letter.
            const auto isWritten = [&] {
                const QImage text =
                    session.seat.picture(QRect(session.on({28, 20}), QSize(80, 30)));
                return text.pixelColor(0, 0) == creamInLight &&
                       text != session.seat.picture(QRect(session.on({120, 120}), QSize(80, 30)));
            };
            QVERIFY(waitUntil(isWritten));
            ::kill(static_cast<pid_t>(session.brevio->id()), signal);
            QVERIFY(session.brevio->waitForEnd());
            QCOMPARE(session.brevio->exitCode(), 0);
            QVERIFY(session.desktop.noteBodies().first().startsWith(u'w'));
        }
    }

    void keysDuringTheToastAreNotLost()
    {
        Session session;
        QVERIFY(session.isReady() && session.summon());
        session.seat.press("a ctrl+Return b");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({u"b"_s, u"a"_s}));
    }

    void followsTheDesktopIntoTheDarkAndBack()
    {
        QString scheme;
        std::unique_ptr<Process> portal;
        Session session({}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            scheme = desktop.home() + u"/scheme"_s;
            desktop.write(scheme, "dark");
            portal = desktop.start(QStringLiteral(SETTINGS_PORTAL), {scheme});
            QVERIFY(waitUntil([&] { return portal->output().contains("ready"); }));
        });
        QVERIFY(session.isReady() && session.summon());
        QVERIFY(session.sheetIs(creamInDark));
        for (const auto &[name, cream] :
             {std::pair("light", creamInLight), std::pair("dark", creamInDark)}) {
            session.desktop.write(scheme, name);
            QVERIFY(session.sheetIs(cream));
        }
        session.seat.type(word);
        QVERIFY(session.storeHolds({word}));
    }
};

QTEST_GUILESS_MAIN(HardshipTests)
#include "HardshipTests.moc"
