#include "Tests/Desktop/Session.h"

#include <QTest>

using namespace Qt::StringLiterals;
class PanelWindowTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void floatsWhereItWasLeftAtEveryShowing_data()
    {
        QTest::addColumn<WindowManager>("manager");
        QTest::newRow("openbox") << WindowManager::Openbox;
        QTest::newRow("xfwm4") << WindowManager::Xfwm4;
        QTest::newRow("none") << WindowManager::None;
    }
    void floatsWhereItWasLeftAtEveryShowing()
    {
        QFETCH(WindowManager, manager);
        Session session({.windowManager = manager}, [](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            // Only an edge shows there, which window managers dislike.
            desktop.write(desktop.defaultsPath(),
                          R"({"brevio.card.lastOrigin": {"x": -400, "y": 30}})");
        });
        QVERIFY(session.isReady());
        Seat &seat = session.seat;
        const QSize panelSize(460, 280);
        const QPoint left(-400, 800 - 30 - panelSize.height());
        // The window manager's closing only hides it.
        const char *away = manager == WindowManager::Openbox ? "alt+F4" : "Escape";
        for (int round = 0; round < 3; ++round) {
            QVERIFY(session.summon());
            const auto panel = session.card();
            QTRY_COMPARE(seat.geometry(panel), QRect(left, panelSize));
            QCOMPARE(seat.text(panel, "WM_CLASS"), QByteArray("brevio\0Brevio\0", 14));
            for (const char *state : {"ABOVE", "SKIP_PAGER", "SKIP_TASKBAR", "STICKY"}) {
                if (manager != WindowManager::None)
                    QTRY_VERIFY2(seat.hasProperty(panel, "_NET_WM_STATE",
                                                  QByteArray("_NET_WM_STATE_") + state),
                                 state);
            }
            QTRY_VERIFY(manager == WindowManager::None ||
                        seat.property(seat.root(), "_NET_ACTIVE_WINDOW").front() == panel);
            QVERIFY(seat.press(away) && session.cardIsGone());
        }

        QVERIFY(session.summon());
        const QPoint way(200, -77);
        const QPoint margin = session.on({450, 140});
        seat.drag(margin, margin + way);
        QTRY_COMPARE(session.on({0, 0}), left + way);
        QCOMPARE(seat.focus(), session.card());
        const QJsonObject saved{{u"x"_s, -200}, {u"y"_s, 107}};
        QVERIFY(session.settingIs("brevio.card.lastOrigin", saved));
        QVERIFY(session.discard());
        QVERIFY(session.summon());
        QTRY_COMPARE(session.on({0, 0}), left + way); // xfwm4 is contradicted first
        QVERIFY(session.settingIs("brevio.card.lastOrigin", saved));
    }

    void isCenteredInWhatADockLeavesOfThePointersMonitor()
    {
        // Only with openbox: xfwm4 overlooks monitors without an output, as the second one is here.
        Session session({.size = {1600, 800},
                         .monitors = {u"800/300x600/200+0+0"_s, u"800/300x800/200+800+0"_s}});
        QVERIFY(session.isReady());
        const auto cornerWithPointerAt = [&](QPoint pointer) {
            session.seat.moveMouse(pointer);
            if (!session.summon())
                return QPoint();
            const QPoint corner = session.on({0, 0});
            return session.discard() ? corner : QPoint();
        };
        const QPoint onFirst(400 - 230, 300 - 140);
        QCOMPARE(cornerWithPointerAt({100, 100}), onFirst);
        QCOMPARE(cornerWithPointerAt({900, 100}), QPoint(1200 - 230, 400 - 140));

        // The other program becomes one: 60 pixels at the top of the second monitor.
        const QString strut = u"-f _NET_WM_STRUT_PARTIAL 32c -set _NET_WM_STRUT_PARTIAL "
                              "0,0,60,0,0,0,0,0,800,1599,0,0 -id %1"_s.arg(session.victimWindow);
        QVERIFY(session.desktop.start(u"xprop"_s, strut.split(u' '))->endsWell());
        QCOMPARE(cornerWithPointerAt({100, 100}), onFirst);
        QCOMPARE(cornerWithPointerAt({900, 100}), QPoint(1200 - 230, 430 - 140));
    }

    void hasRoundCornersAndFadesWhereThatCanBeShown()
    {
        Session session({.isComposed = true});
        QVERIFY(session.isReady());
        Seat &seat = session.seat;
        const QColor behind(90, 130, 170);
        const auto looksRound = [&] {
            const QRect area = seat.geometry(session.card());
            return waitUntil([&] {
                return seat.pixel(area.topLeft()) == behind &&
                       seat.pixel(area.bottomRight()) == behind &&
                       seat.pixel(area.topLeft() + QPoint(20, 5)) == creamInLight &&
                       seat.pixel(area.topLeft() + QPoint(3, 100)) == creamInLight;
            });
        };
        /// Keeps the card and watches it go: whether what is behind it was seen through it.
        const auto fades = [&] {
            const QPoint inside = session.on({5, 100});
            bool isSeenThrough = false;
            seat.type(u"x"_s);
            seat.press("ctrl+Return");
            (void)waitUntil([&] {
                const int red = seat.pixel(inside).red();
                isSeenThrough |= red > behind.red() + 9 && red < creamInLight.red() - 9;
                return session.card() == 0;
            });
            return isSeenThrough;
        };
        // On a machine that stands still meanwhile it is gone at once, which nobody can help.
        QVERIFY(waitUntil([&] { return session.summon() && looksRound() && fades(); }));
        QVERIFY(session.cardIsGone());

        session.desktop.stopCompositor();
        QVERIFY(waitUntil([&] { return seat.selectionOwner("_NET_WM_CM_S0") == 0; }));
        QVERIFY(session.summon());
        QVERIFY(looksRound());
        QVERIFY(!fades());
        QVERIFY(session.cardIsGone());

        session.desktop.startCompositor();
        QVERIFY(session.summon());
        QVERIFY(looksRound());
    }
};

QTEST_GUILESS_MAIN(PanelWindowTests)
#include "PanelWindowTests.moc"
