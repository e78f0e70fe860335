#include "Tests/Desktop/Session.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const auto privateFile = QFile::ReadOwner | QFile::WriteOwner;
const auto privateFolder = privateFile | QFile::ExeOwner;
const auto summonKey = u"KeyboardShortcuts_summon"_s;
constexpr auto aMoment = std::chrono::milliseconds(400);

const auto welcome =
    QStringLiteral("Welcome to Brevio.\n\n⌘⇧Space — summon a card\n⌘↩ — keep it\nEsc — discard it\n"
                   "⌘⇧K — pin (yellow dot)\nHold ⌥ — dictate\n⌘, — preferences\n\n"
                   "Cards expire in 7 days unless pinned.");

QFile::Permissions ownersAndOthers(const QString &path)
{
    return QFile::permissions(path) & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
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
        QVERIFY(session.storeHolds({welcome}));
        QVERIFY(waitUntil([&] { return session.desktop.defaults().contains(summonKey); }));
        for (const auto &file : {session.desktop.notesPath(), session.desktop.defaultsPath()}) {
            QCOMPARE(ownersAndOthers(file), privateFile);
            QCOMPARE(ownersAndOthers(QFileInfo(file).path()), privateFolder);
        }
        QCOMPARE(session.desktop.defaults().value(summonKey).toString(),
                 QStringLiteral(R"({"carbonKeyCode":49,"carbonModifiers":768})"));
        const QColor yellow(255, 204, 0);
        QVERIFY(waitUntil([&] { return session.seat.pixel(session.on({446, 14})) == yellow; }));

        session.seat.press("ctrl+Return");
        QVERIFY(session.cardIsGone());
        // Offered once: the next card is blank.
        QVERIFY(session.summon());
        session.seat.type(u"mine"_s);
        QVERIFY(session.storeHolds({u"mine"_s, welcome}));
    }

    void theCardTakesTheKeyboardAndGivesItBack_data()
    {
        QTest::addColumn<WindowManager>("manager");
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("locks");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("pin");
        const auto openbox = WindowManager::Openbox;
        const auto k = "ctrl+shift+k"_ba;
        QTest::newRow("xfwm4") << WindowManager::Xfwm4 << u"us"_s << u""_s << u"Call Ada!"_s << k;
        QTest::newRow("locks") << openbox << u"us"_s << u"Caps_Lock Num_Lock"_s << u"1 2 3"_s << k;
        QTest::newRow("no Latin letters")
            << openbox << u"ru"_s << u""_s << u"привет"_s << "ctrl+shift+Cyrillic_el"_ba;
    }
    void theCardTakesTheKeyboardAndGivesItBack()
    {
        QFETCH(WindowManager, manager);
        QFETCH(QString, layout);
        QFETCH(QString, locks);
        QFETCH(QString, text);
        QFETCH(QByteArray, pin);
        Session session({.windowManager = manager});
        QVERIFY(session.isReady());
        if (layout != u"us") {
            QVERIFY(session.desktop.start(u"setxkbmap"_s, {layout})->waitForEnd());
            QVERIFY(session.shortcutIsInForce());
        }
        QVERIFY(locks.isEmpty() || session.seat.press(qPrintable(locks)));
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
        // Summoned while it has the keyboard, it is kept.
        QVERIFY(session.summon());
        seat.type(a);
        seat.press("ctrl+shift+space");
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
        for (const auto &repeats : {u"r on"_s, u"r rate 60 60"_s})
            QVERIFY(session.desktop.start(u"xset"_s, repeats.split(u' '))->waitForEnd());
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
        const QByteArray output = session.brevio->output();
        QVERIFY2(output.startsWith("Error registering hotkey ⇧⌘Space: "), output);
        QCOMPARE(output.count('\n'), 1);
    }
};

QTEST_GUILESS_MAIN(SummonTests)
#include "SummonTests.moc"
