#include "Tests/Desktop/Session.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

namespace {

const auto word = QStringLiteral("word");
const auto nowhere = QStringLiteral("/proc/nowhere"); // cannot be written even by root

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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

    void aStoreThatCannotBeReadIsLeftAloneUntilItCan_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray good = Session::storeOf({QStringLiteral("before")});
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("cut off") << good.left(good.size() - 9);
        QTest::newRow("cut in a character") << QByteArray("{\"notes\":[{\"body\":\"\xe2\x8c");
        QTest::newRow("two documents") << good + good;
        QTest::newRow("wrong type") << QByteArray(good).replace("false", "\"false\"");
        QTest::newRow("deep") << QByteArray(1'000'000, '[');
        QTest::newRow("zeros") << QByteArray(1'000'000, '\0');
        QTest::newRow("a folder") << QByteArray("/");
        QTest::newRow("a pipe") << QByteArray("|");
    }
    void aStoreThatCannotBeReadIsLeftAloneUntilItCan()
    {
        QFETCH(QByteArray, content);
        Session session({}, [&](Desktop &desktop) {
            const QString path = desktop.notesPath();
            QDir().mkpath(content == "/" ? path : QFileInfo(path).path());
            if (content == "|")
                mkfifo(QFile::encodeName(path).constData(), 0600);
            else if (content != "/")
                desktop.write(path, content);
        });
        const QString path = session.desktop.notesPath();
        struct stat before
        {};
        QCOMPARE(stat(QFile::encodeName(path).constData(), &before), 0);
        QVERIFY(session.isReady());
        QVERIFY(keepsACardInMemory(session));
        // Its end is when the last chance to overwrite is gone.
        session.brevio->terminate();
        QVERIFY(session.brevio->waitForEnd());
        struct stat after
        {};
        QCOMPARE(stat(QFile::encodeName(path).constData(), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
        QCOMPARE(after.st_mode, before.st_mode);
        if (S_ISREG(before.st_mode))
            QCOMPARE(contentOf(path), content);
        QCOMPARE(QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::System | QDir::Hidden),
                 S_ISDIR(before.st_mode) ? QStringList()
                                         : QStringList{QStringLiteral("notes.json")});
    }

    void whatWasTypedMeanwhileJoinsARepairedStore()
    {
        Session session({}, [](Desktop &desktop) { desktop.write(desktop.notesPath(), "{"); });
        QVERIFY(session.isReady());
        QVERIFY(keepsACardInMemory(session));
        const auto saved = QStringLiteral("saved");
        QVERIFY(QFile::remove(session.desktop.notesPath()));
        session.desktop.write(session.desktop.notesPath(), Session::storeOf({saved}));
        QVERIFY(session.summon());
        session.seat.type(QStringLiteral("x"));
        QVERIFY(waitUntil([&] { return session.desktop.notes().size() == 3; }));
        const QStringList bodies = session.desktop.noteBodies();
        QVERIFY(bodies.contains(saved) && bodies.contains(word));
    }

    void defaultsThatMakeNoSenseDoNotStopTheStart_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isSetAside");
        QTest::newRow("no JSON") << QByteArray("{\"brevio.card.lastOrigin\": {\"x\": 0, ") << true;
        QTest::newRow("a list") << QByteArray("[1, 2]") << true;
        QTest::newRow("wrong types")
            << QByteArray(R"({"KeyboardShortcuts_summon": 7, "brevio.card.lastOrigin": "left",
                              "brevio.showInMenuBar": "no", "brevio.startAtLogin": 3,
                              "brevio.cloudFolder": {}})")
            << false;
        QTest::newRow("wrong types inside") << QByteArray(R"({"KeyboardShortcuts_summon": null,
                              "brevio.card.lastOrigin": {"x": 5, "y": 5, "z": "5"},
                              "brevio.showInMenuBar": [], "brevio.startAtLogin": null,
                              "brevio.cloudFolder": true})")
                                            << false;
    }
    void defaultsThatMakeNoSenseDoNotStopTheStart()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isSetAside);
        Session session({},
                        [&](Desktop &desktop) { desktop.write(desktop.defaultsPath(), content); });
        QVERIFY(session.cardIsUp());
        QCOMPARE(session.on({0, 0}), QPoint(410, 260));
        // Moving the card is the first write in any case.
        session.seat.drag(session.on({6, 140}), session.on({26, 150}));
        const auto moved = [&] {
            return session.desktop.defaults().value(u"brevio.card.lastOrigin").toObject();
        };
        QVERIFY(waitUntil([&] { return moved().value(u"x").toInt() == 430; }));
        const QDir folder = QFileInfo(session.desktop.defaultsPath()).dir();
        const auto aside = folder.entryList({QStringLiteral("defaults.json.unreadable-*")});
        QCOMPARE(aside.size(), isSetAside ? 1 : 0);
        if (isSetAside)
            QCOMPARE(contentOf(folder.filePath(aside.first())), content);
        else
            QVERIFY(session.desktop.defaults().contains(u"brevio.startAtLogin"));
    }

    void aKillLeavesAWholeStore()
    {
        Session session;
        for (int round = 1; round <= 6; ++round) {
            QVERIFY(session.isReady());
            QVERIFY(session.summon());
            // Killed when a write of this card is known to be done and another one is on its way.
            QVERIFY(session.seat.type(word));
            QVERIFY(waitUntil([&] { return session.desktop.notes().size() == round; }));
            QVERIFY(session.seat.type(word));
            (void)waitUntil([] { return false; }, std::chrono::milliseconds(380 + 8 * round));
            ::kill(static_cast<pid_t>(session.brevio->id()), SIGKILL);
            QVERIFY(session.brevio->waitForEnd());
            const QStringList bodies = session.desktop.noteBodies();
            QCOMPARE(bodies.size(), round);
            QVERIFY2(bodies.first() == word || bodies.first() == word + word,
                     qPrintable(bodies.first()));
            session.startBrevio();
        }
    }

    void anOrderlyEndLosesNothing_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("logout") << SIGTERM;
        QTest::newRow("Ctrl+C") << SIGINT;
        QTest::newRow("closed terminal") << SIGHUP;
    }
    void anOrderlyEndLosesNothing()
    {
        QFETCH(int, signal);
        Session session;
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        QVERIFY(session.seat.type(word));
        // Seen on the card, not yet in the file.
        const auto isWritten = [&] {
            const QImage text = session.seat.picture(QRect(session.on({20, 20}), QSize(80, 30)));
            return text.pixelColor(0, 0) == creamInLight &&
                   text != session.seat.picture(QRect(session.on({120, 120}), QSize(80, 30)));
        };
        QVERIFY(waitUntil(isWritten));
        ::kill(static_cast<pid_t>(session.brevio->id()), signal);
        QVERIFY(session.brevio->waitForEnd());
        QCOMPARE(session.brevio->exitCode(), 0);
        QVERIFY(session.desktop.noteBodies().first().startsWith(u'w'));
    }

    void aThousandNotesAreNoHindrance()
    {
        QStringList bodies;
        for (int i = 0; i < 1000; ++i)
            bodies.append(QStringLiteral("note %1").arg(i));
        Session session({}, [&](Desktop &desktop) {
            desktop.write(desktop.notesPath(), Session::storeOf(bodies));
        });
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        QVERIFY(session.seat.type(word));
        QVERIFY(session.storeHolds(QStringList{word} + bodies));
        QVERIFY(session.openGrid());
        session.seat.press("End");
        // 1,002 tiles fill 334 rows; the last one, known by its plus, is the new card's.
        const int lastRow = 280 - 12 - 40;
        QVERIFY(waitUntil([&] {
            return session.seat.pixel(session.on({tileCenter(2).x(), lastRow})).red() < 200;
        }));
        session.seat.click(session.on({tileCenter(1).x(), lastRow}));
        QVERIFY(session.cardShows());
        session.seat.type(QStringLiteral("!"));
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().last().contains(u'!'); }));
    }

    void keysDuringTheToastAreNotLost()
    {
        Session session;
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        session.seat.type(QStringLiteral("a"));
        session.seat.press("ctrl+Return");
        session.seat.type(QStringLiteral("b"));
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({QStringLiteral("b"), QStringLiteral("a")}));
        // Summoned while the toast shows, the blank card leaves at once; the next one is whole.
        QVERIFY(session.summon());
        session.seat.type(QStringLiteral("c"));
        session.seat.press("ctrl+Return");
        session.seat.press("ctrl+shift+space");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.summon());
        QVERIFY(session.sheetIs(creamInLight));
        session.seat.type(QStringLiteral("d"));
        QVERIFY(session.storeHolds(
            {QStringLiteral("d"), QStringLiteral("c"), QStringLiteral("b"), QStringLiteral("a")}));
    }

    void followsTheDesktopIntoTheDarkAndBack()
    {
        QString scheme;
        std::unique_ptr<Process> portal;
        Session session({}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            scheme = desktop.home() + QStringLiteral("/scheme");
            desktop.write(scheme, "dark");
            portal = desktop.start(QStringLiteral(SETTINGS_PORTAL), {scheme});
            QVERIFY(waitUntil([&] { return portal->output().contains("ready"); }));
        });
        QVERIFY(session.isReady());
        QVERIFY(session.summon());
        QVERIFY(session.sheetIs(creamInDark));
        for (const auto &[name, cream] :
             {std::pair("light", creamInLight), std::pair("dark", creamInDark)}) {
            session.desktop.write(scheme, name);
            QVERIFY(session.sheetIs(cream));
        }
        session.seat.type(word);
        QVERIFY(session.storeHolds({word}));
        portal.reset();
        session.seat.type(word);
        QVERIFY(session.storeHolds({word + word}));
    }
};

QTEST_GUILESS_MAIN(HardshipTests)
#include "HardshipTests.moc"
