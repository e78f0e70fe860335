#include "Tests/Desktop/Session.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const auto privateFile = QFile::ReadOwner | QFile::WriteOwner;
const auto privateFolder = privateFile | QFile::ExeOwner;
const auto summonKey = u"KeyboardShortcuts_summon"_s;
constexpr auto aMoment = std::chrono::milliseconds(400);

/// The note of the first start as the file has it; %1 and %2 are what differs from run to run.
const auto firstStore = QString::fromUtf8(R"({
  "notes" : [
    {
      "body" : "Welcome to Brevio.\n\n⌘⇧Space — summon a card\n⌘↩ — keep it\nEsc — discard it\n⌘⇧K — pin (yellow dot)\nHold ⌥ — dictate\n⌘, — preferences\n\nCards expire in 7 days unless pinned.",
      "createdAt" : "%1",
      "id" : "%2",
      "isPinned" : true,
      "lastEditedAt" : "%1"
    }
  ],
  "tombstones" : [

  ],
  "version" : 3
})");

QFile::Permissions ownersAndOthers(const QString &path)
{
    return QFile::permissions(path) & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class SummonTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstStartShowsTheWelcomeNoteAndKeepsItInPrivate()
    {
        Session session({}, [](Desktop &) {});
        QVERIFY(session.isReady());
        QVERIFY(session.cardIsUp());
        const QString path = session.desktop.notesPath();
        const auto note = session.desktop.notes().first().toObject();
        const QString id = note.value(u"id").toString();
        QVERIFY(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s)
                    .match(id)
                    .hasMatch());
        const QByteArray expected =
            firstStore.arg(note.value(u"createdAt").toString(), id).toUtf8();
        QCOMPARE(contentOf(path).simplified(), expected.simplified());
        QCOMPARE(contentOf(path).count("\n\n"), expected.count("\n\n"));
        QVERIFY(waitUntil([&] { return QFile::exists(session.desktop.defaultsPath()); }));
        for (const auto &file : {path, session.desktop.defaultsPath()}) {
            QCOMPARE(ownersAndOthers(file), privateFile);
            QCOMPARE(ownersAndOthers(QFileInfo(file).path()), privateFolder);
        }
        QCOMPARE(session.desktop.defaults().value(summonKey).toString(),
                 QStringLiteral(R"({"carbonKeyCode":49,"carbonModifiers":768})"));
        const QColor yellow(255, 204, 0);
        QVERIFY(waitUntil([&] { return session.seat.pixel(session.on({446, 14})) == yellow; }));

        session.seat.press("ctrl+Return");
        QVERIFY(session.cardIsGone());
        QCOMPARE(contentOf(path).simplified(), expected.simplified());
        // Offered once: the next card is blank.
        QVERIFY(session.summon());
        session.seat.type(u"mine"_s);
        QVERIFY(session.storeHolds({u"mine"_s, note.value(u"body").toString()}));
    }

    void theCardTakesTheKeyboardAndGivesItBack_data()
    {
        QTest::addColumn<WindowManager>("manager");
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QByteArray>("locks");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("pin");
        const auto row = [](const char *name, WindowManager manager, const QString &layout,
                            const char *locks, const QString &text, const char *pin) {
            QTest::newRow(name) << manager << layout << QByteArray(locks) << text
                                << QByteArray(pin);
        };
        const auto openbox = WindowManager::Openbox;
        row("openbox", openbox, u"us"_s, "", u"Call Ada!"_s, "ctrl+shift+k");
        row("xfwm4", WindowManager::Xfwm4, u"us"_s, "", u"Call Ada!"_s, "ctrl+shift+k");
        row("locks", openbox, u"us"_s, "Caps_Lock Num_Lock", u"1 2 3"_s, "ctrl+shift+k");
        row("no Latin letters", openbox, u"ru"_s, "", u"привет"_s, "ctrl+shift+Cyrillic_el");
        row("German", openbox, u"de"_s, "", u"Öl zu"_s, "ctrl+shift+k");
    }
    void theCardTakesTheKeyboardAndGivesItBack()
    {
        QFETCH(WindowManager, manager);
        QFETCH(QString, layout);
        QFETCH(QByteArray, locks);
        QFETCH(QString, text);
        QFETCH(QByteArray, pin);
        Session session({.windowManager = manager});
        QVERIFY(session.isReady());
        if (layout != u"us") {
            QVERIFY(session.desktop.start(u"setxkbmap"_s, {layout})->waitForEnd());
            QVERIFY(session.shortcutIsInForce());
        }
        for (const auto &lock : locks.split(' ')) {
            if (!lock.isEmpty())
                QVERIFY(session.seat.press(lock.constData()));
        }
        QStringList kept;
        for (int round = 0; round < 2; ++round) {
            QVERIFY(session.summon());
            QVERIFY(session.seat.type(text));
            kept.prepend(text);
            QVERIFY(session.storeHolds(kept));
            QVERIFY(session.seat.press(pin.constData()));
            QVERIFY(waitUntil([&] {
                return session.desktop.notes().first().toObject().value(u"isPinned").toBool();
            }));
            QVERIFY(session.seat.press("ctrl+Return"));
            QVERIFY(session.cardIsGone());
        }
        QCOMPARE(session.victim->output(), QByteArray());
        QVERIFY(session.seat.type(text));
        QVERIFY(session.victimReads(text.toUtf8()));
        QVERIFY(session.storeHolds(kept));
    }

    void everyGestureDoesWhatItSays()
    {
        Session session;
        QVERIFY(session.isReady());
        Seat &seat = session.seat;
        const auto a = u"a"_s;
        const auto tombstones = [&] {
            QFile file(session.desktop.notesPath());
            return file.open(QIODevice::ReadOnly) ? file.readAll().count("deletedAt") : -1;
        };

        // A new card discarded; untouched ones leave nothing.
        QVERIFY(session.summon());
        seat.press("Escape");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.summon());
        seat.type(a);
        QVERIFY(session.storeHolds({a}));
        seat.press("Escape");
        QVERIFY(session.storeHolds({}));
        QCOMPARE(tombstones(), 1);
        QVERIFY(session.cardIsGone());

        // Summoned while it has the keyboard, it is kept.
        QVERIFY(session.summon());
        seat.type(a);
        seat.press("ctrl+shift+space");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({a}));

        // An opened note goes back to what it was.
        QVERIFY(session.summon());
        QVERIFY(session.openGrid());
        seat.click(session.on(tileCenter(0)));
        QVERIFY(session.cardShows());
        seat.type(u"bc"_s);
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().first().size() == 3; }));
        seat.press("Escape");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({a}));

        // Visible without the keyboard, it only takes the keyboard.
        QVERIFY(session.summon());
        seat.type(u"b"_s);
        seat.click(seat.geometry(session.victimWindow).bottomRight() - QPoint(9, 9));
        QVERIFY(session.desktop.waitForFocus(session.victimWindow));
        seat.type(u"v"_s);
        QVERIFY(session.victimReads("v"));
        QVERIFY(session.summon());
        seat.type(u"c"_s);
        QVERIFY(session.storeHolds({u"bc"_s, a}));

        // Over the editor's own menu it fires as well, and the menu goes with the card.
        seat.click(session.on({200, 200}), 3);
        QVERIFY(waitUntil([&] { return !seat.isTaken("ctrl+shift+space"); }));
        seat.press("ctrl+shift+space");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.shortcutIsInForce());

        // Held down, it summons once.
        QVERIFY(
            session.desktop.start(u"xset"_s, {u"r"_s, u"rate"_s, u"60"_s, u"60"_s})->waitForEnd());
        seat.keyDown("ctrl+shift+space");
        QVERIFY(session.cardIsUp());
        QVERIFY(!waitUntil([&] { return seat.find(u"Brevio"_s) == 0; }, aMoment));
        seat.keyUp("ctrl+shift+space");
        seat.press("Escape");
        QVERIFY(session.cardIsGone());
        QCOMPARE(session.victim->output(), QByteArray("v"));
        QVERIFY(session.storeHolds({u"bc"_s, a}));
    }

    void aTakenCombinationIsReportedInOneLine()
    {
        Session session({}, [](Desktop &desktop) { desktop.seat().take("ctrl+shift+space"); });
        QVERIFY(session.cardIsUp());
        QVERIFY(waitUntil([&] { return session.brevio->output().endsWith('\n'); }));
        const QRegularExpression line(
            QStringLiteral("^Error registering hotkey ⇧⌘Space: -?[1-9][0-9]*\n$"));
        QVERIFY2(line.match(QString::fromUtf8(session.brevio->output())).hasMatch(),
                 session.brevio->output());
    }

    void theStoredShortcutIsTakenAsItIs()
    {
        const QString value = QStringLiteral(R"({"carbonModifiers":2304,"carbonKeyCode":45})");
        const QByteArray content = QJsonDocument(QJsonObject{{summonKey, value}}).toJson();
        Session session({}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            desktop.write(desktop.defaultsPath(), content);
        });
        QVERIFY(waitUntil([&] { return session.seat.isTaken("ctrl+alt+n"); }));
        QVERIFY(!session.seat.isTaken("ctrl+shift+space"));
        session.seat.press("ctrl+alt+n");
        QVERIFY(session.cardIsUp());
        session.brevio->terminate();
        QVERIFY(session.brevio->waitForEnd());
        QCOMPARE(session.brevio->output(), QByteArray());
        QCOMPARE(contentOf(session.desktop.defaultsPath()), content);
    }
};

QTEST_GUILESS_MAIN(SummonTests)
#include "SummonTests.moc"
