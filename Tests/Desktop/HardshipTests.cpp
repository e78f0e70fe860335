#include "Platform/Storage/Files.h"
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

/// Writes a card, and finds it in the grid.
bool keepsACardInMemory(Session &session)
{
    if (!session.summon() || !session.seat.type(word) || !session.keep() || !session.summon() ||
        !session.openGrid())
        return false;
    session.seat.click(session.on(tileCenter(0)));
    return session.cardShows() && session.keep();
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
        if (!canWrite)
            QVERIFY(session.cardIsUp() && session.discard());
        QVERIFY(keepsACardInMemory(session));
        if (canWrite)
            QVERIFY(session.storeHolds({word}));
        QCOMPARE(session.brevio->output(), QByteArray());
    }

    void aStoreThatCannotBeReadIsLeftAlone()
    {
        const auto cutOff = Session::storeOf({u"before"_s}).chopped(9);
        Session session({}, [&](Desktop &desktop) { desktop.write(desktop.notesPath(), cutOff); });
        QVERIFY(session.isReady());
        QVERIFY(keepsACardInMemory(session));
        // Its end is when the last chance to overwrite is gone.
        session.brevio->terminate();
        QVERIFY(session.ends());
        const QString path = session.desktop.notesPath();
        QCOMPARE(Platform::Files::read(path), cutOff);
        // What was written meanwhile is kept beside it.
        const QDir folder = QFileInfo(path).dir();
        QCOMPARE(folder.entryList(QDir::Files | QDir::System | QDir::Hidden),
                 QStringList({u"notes.json"_s, u"notes.unsaved.json"_s}));
        const auto unsaved = Platform::Files::read(folder.filePath(u"notes.unsaved.json"_s));
        QVERIFY(unsaved && unsaved->contains(word.toUtf8()));
    }

    void defaultsThatMakeNoSenseDoNotStopTheStart()
    {
        Session session({}, [&](Desktop &desktop) {
            desktop.write(desktop.defaultsPath(),
                          R"({"KeyboardShortcuts_summon": 7, "brevio.card.lastOrigin": "left",
                              "brevio.showInMenuBar": "no", "brevio.startAtLogin": null,
                              "brevio.cloudFolder": {}})");
        });
        QVERIFY(session.cardIsUp());
        QTRY_COMPARE(session.on({0, 0}), QPoint(410, 260));
        session.seat.drag(session.on(onSheet), session.on(onSheet + QPoint(20, 10)));
        QVERIFY(
            session.settingIs("brevio.card.lastOrigin", QJsonObject{{u"x"_s, 430}, {u"y"_s, 250}}));
    }

    void anOrderlyEndLosesNothing()
    {
        Session session;
        QVERIFY(session.isReady() && session.summon() && session.cardShows());
        // Where no caret stands before the first letter.
        const auto look = [&] {
            return session.seat.picture({session.on({28, 20}), QSize(80, 30)});
        };
        const QImage blank = look();
        QVERIFY(session.seat.type(word));
        QVERIFY(waitUntil([&] { return look() != blank; }));
        // Seen on the card, not yet in the file, when the terminal is closed.
        ::kill(static_cast<pid_t>(session.brevio->id()), SIGHUP);
        QVERIFY(session.ends());
        QVERIFY(session.desktop.noteBodies().first().startsWith(u'w'));
    }

    void followsTheDesktopIntoTheDarkAndBack()
    {
        QString scheme;
        std::unique_ptr<Process> portal;
        Session session({}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            scheme = desktop.home() + u"/scheme"_s;
            desktop.write(scheme, "dark");
            portal = desktop.start(QStringLiteral(SCRIPTS "/settings-portal.py"), {scheme});
            QVERIFY(waitUntil([&] { return portal->output().contains("ready"); }));
        });
        QVERIFY(session.isReady() && session.summon());
        QVERIFY(session.colorIs(onSheet, creamInDark));
        for (const auto &[name, cream] :
             {std::pair("light", creamInLight), std::pair("dark", creamInDark)}) {
            session.desktop.write(scheme, name);
            QVERIFY(session.colorIs(onSheet, cream));
        }
        session.seat.type(word);
        QVERIFY(session.storeHolds({word}));
    }
};

QTEST_GUILESS_MAIN(HardshipTests)
#include "HardshipTests.moc"
