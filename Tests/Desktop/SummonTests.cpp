#include "Tests/Desktop/Session.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

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
        QVERIFY(session.settingIs("KeyboardShortcuts_summon",
                                  uR"({"carbonKeyCode":49,"carbonModifiers":768})"_s));
        constexpr QFile::Permissions strangers(0x0077);
        for (const auto &file : {session.desktop.notesPath(), session.desktop.defaultsPath()}) {
            for (const QString &path : {file, QFileInfo(file).path()})
                QVERIFY2(!(QFile::permissions(path) & strangers), qPrintable(path));
        }
        QVERIFY(session.colorIs(pinDot, yellow));
        QVERIFY(session.keep());
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
        QVERIFY(session.desktop.start(u"setxkbmap"_s, {layout})->endsWell());
        QVERIFY(session.shortcutIsInForce());
        QVERIFY(locks.isEmpty() || session.seat.press(qPrintable(locks)));
        QStringList kept;
        for (int round = 0; round < 2; ++round) {
            QVERIFY(session.summon());
            QVERIFY(session.seat.type(text));
            kept.prepend(text);
            QVERIFY(session.storeHolds(kept));
            QVERIFY(session.seat.press(pin.constData()));
            QVERIFY(session.isPinned(0));
            QVERIFY(session.keep());
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
        seat.press(shortcut);
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
        QVERIFY(waitUntil([&] { return !seat.isTaken(shortcut); }));
        seat.press(shortcut);
        QVERIFY(session.cardIsGone());
        QVERIFY(session.shortcutIsInForce());

        // What is typed while the toast is seen begins another card.
        QVERIFY(session.summon());
        seat.press("d ctrl+Return e");
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({u"e"_s, u"d"_s, u"bc"_s, a}));

        // Held down, it summons once.
        for (const auto &repeats : {u"r on"_s, u"r rate 60 60"_s})
            QVERIFY(session.desktop.start(u"xset"_s, repeats.split(u' '))->endsWell());
        seat.keyDown(shortcut);
        QVERIFY(session.cardIsUp());
        QVERIFY(!waitUntil([&] { return session.card() == 0; }, std::chrono::milliseconds(400)));
        seat.keyUp(shortcut);
        QVERIFY(session.discard());
        QVERIFY(session.storeHolds({u"e"_s, u"d"_s, u"bc"_s, a}));
        QCOMPARE(session.victim->output(), QByteArray("v"));
    }

    void aTakenCombinationIsReportedInOneLine()
    {
        Session session({}, [](Desktop &desktop) {
            desktop.seat().take(shortcut);
            desktop.environment().remove(u"XDG_SESSION_TYPE"_s); // as after startx
        });
        QVERIFY(session.cardIsUp());
        QVERIFY(waitUntil([&] { return session.brevio->output().endsWith('\n'); }));
        const QByteArray output = session.brevio->output();
        QVERIFY2(output.startsWith("Error registering hotkey ⇧⌘Space: "), output);
        QCOMPARE(output.count('\n'), 1);
    }
};

QTEST_GUILESS_MAIN(SummonTests)
#include "SummonTests.moc"
