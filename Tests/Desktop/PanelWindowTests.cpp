#include "Tests/Desktop/Desktop.h"

#include <QTest>

Q_DECLARE_METATYPE(WindowManager)

namespace {

const auto panelTitle = QStringLiteral("Brevio");
const auto victimTitle = QStringLiteral("Victim");
constexpr QSize panelSize{460, 280};
const QStringList floatingStates{QStringLiteral("ABOVE"), QStringLiteral("SKIP_PAGER"),
                                 QStringLiteral("SKIP_TASKBAR"), QStringLiteral("STICKY")};

/// Window managers add states of their own.
bool floats(const Seat &seat, Seat::Window panel)
{
    const QStringList states = seat.states(panel);
    return std::all_of(floatingStates.begin(), floatingStates.end(),
                       [&](const QString &state) { return states.contains(state); });
}

void addWindowManagers()
{
    QTest::addColumn<WindowManager>("manager");
    QTest::newRow("openbox") << WindowManager::Openbox;
    QTest::newRow("xfwm4") << WindowManager::Xfwm4;
    QTest::newRow("none") << WindowManager::None;
}

} // namespace

class PanelWindowTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void floatsWithTheKeyboardAtEveryShowingAndGivesItBack_data() { addWindowManagers(); }
    void floatsWithTheKeyboardAtEveryShowingAndGivesItBack()
    {
        QFETCH(WindowManager, manager);
        Desktop desktop({.windowManager = manager});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const auto victim = desktop.startVictim();
        const auto victimWindow = desktop.waitForWindow(victimTitle);
        if (manager == WindowManager::None)
            seat.click(QPoint(700, 600));
        QVERIFY(desktop.waitForFocus(victimWindow));
        const auto host = desktop.startPanelHost();

        QByteArray typed;
        for (const char letter : {'a', 'b', 'c'}) {
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            QVERIFY(panel != 0);
            QVERIFY(desktop.waitForFocus(panel));
            QCOMPARE(seat.geometry(panel), QRect(QPoint(410, 260), panelSize));
            QCOMPARE(seat.classOf(panel),
                     QStringList({QStringLiteral("brevio"), QStringLiteral("Brevio")}));
            QTRY_VERIFY2(floats(seat, panel), qPrintable(seat.states(panel).join(u' ')));
            if (manager != WindowManager::None)
                QTRY_COMPARE(seat.activeWindow(), panel);

            typed += letter;
            QVERIFY(seat.type(QString(QLatin1Char(letter))));
            QVERIFY(waitUntil([&] { return host->output().endsWith(typed + '\n'); }));

            host->tell("hide");
            QVERIFY(waitUntil([&] { return !seat.isVisible(panel); }));
            QTRY_COMPARE(seat.focus(), victimWindow);
        }
        QCOMPARE(victim->output(), QByteArray());
    }

    void isKeyOnlyWhileItHasTheKeyboard_data()
    {
        QTest::addColumn<WindowManager>("manager");
        QTest::newRow("openbox") << WindowManager::Openbox;
        QTest::newRow("xfwm4") << WindowManager::Xfwm4;
    }
    void isKeyOnlyWhileItHasTheKeyboard()
    {
        QFETCH(WindowManager, manager);
        Desktop desktop({.windowManager = manager});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const auto victim = desktop.startVictim();
        const auto victimWindow = desktop.waitForWindow(victimTitle);
        const auto host = desktop.startPanelHost();
        const auto answersAsked = [&](const QByteArray &answer) {
            return waitUntil([&] {
                host->tell("key");
                return host->output().trimmed().endsWith(answer);
            });
        };

        host->tell("show");
        const auto panel = desktop.waitForWindow(panelTitle);
        QVERIFY(desktop.waitForFocus(panel));
        QVERIFY(answersAsked("is key"));

        seat.activate(victimWindow);
        QVERIFY(desktop.waitForFocus(victimWindow));
        QVERIFY(seat.isVisible(panel));
        QVERIFY(answersAsked("is not key"));

        host->tell("show");
        QVERIFY(desktop.waitForFocus(panel));
        QVERIFY(answersAsked("is key"));
    }

    void isOnEveryWorkspace_data() { isKeyOnlyWhileItHasTheKeyboard_data(); }
    void isOnEveryWorkspace()
    {
        QFETCH(WindowManager, manager);
        Desktop desktop({.windowManager = manager});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const auto host = desktop.startPanelHost();
        for (const unsigned int workspace : {1U, 0U}) {
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            QVERIFY(desktop.waitForFocus(panel));
            seat.switchToDesktop(workspace);
            QVERIFY(waitUntil([&] {
                return seat.property(seat.root(), "_NET_CURRENT_DESKTOP") ==
                       std::vector<std::uint32_t>{workspace};
            }));
            QVERIFY(seat.isVisible(panel));
            host->tell("hide");
            QVERIFY(waitUntil([&] { return !seat.isVisible(panel); }));
        }
    }

    void keepsThePlaceItWasDraggedTo_data() { addWindowManagers(); }
    void keepsThePlaceItWasDraggedTo()
    {
        QFETCH(WindowManager, manager);
        Desktop desktop({.windowManager = manager});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const auto host = desktop.startPanelHost();
        host->tell("show");
        const auto panel = desktop.waitForWindow(panelTitle);
        QVERIFY(desktop.waitForFocus(panel));

        const QPoint margin(10, 140);
        const QPoint corner = seat.geometry(panel).topLeft();
        seat.drag(corner + margin, corner + margin + QPoint(-200, 77));
        const QPoint moved = corner + QPoint(-200, 77);
        QVERIFY(waitUntil([&] { return seat.geometry(panel).topLeft() == moved; }));
        QCOMPARE(seat.focus(), panel);
        const QJsonObject expected{{QStringLiteral("x"), moved.x()},
                                   {QStringLiteral("y"), 800 - moved.y() - panelSize.height()}};
        const auto saved = [&] {
            return desktop.defaults().value(u"brevio.card.lastOrigin").toObject();
        };
        QVERIFY(waitUntil([&] { return saved() == expected; }));

        host->tell("shake");
        host->tell("hide");
        host->tell("show");
        QVERIFY(desktop.waitForFocus(panel));
        QCOMPARE(seat.geometry(panel).topLeft(), moved);
        QCOMPARE(saved(), expected);
    }

    void survivesBeingClosedByTheWindowManager()
    {
        Desktop desktop;
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        const auto host = desktop.startPanelHost();
        for (int round = 0; round < 2; ++round) {
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            QVERIFY(desktop.waitForFocus(panel));
            QTRY_VERIFY(floats(desktop.seat(), panel));
            desktop.seat().press("alt+F4");
            QVERIFY(waitUntil([&] { return !desktop.seat().isVisible(panel); }));
            QVERIFY(host->isRunning());
        }
    }

    void isUsedWhereItWasLeftEvenIfOnlyAnEdgeShows_data() { isKeyOnlyWhileItHasTheKeyboard_data(); }
    void isUsedWhereItWasLeftEvenIfOnlyAnEdgeShows()
    {
        QFETCH(WindowManager, manager);
        Desktop desktop({.windowManager = manager});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        desktop.write(desktop.defaultsPath(),
                      R"({"brevio.card.lastOrigin": {"x": -400, "y": 30}})");
        const auto host = desktop.startPanelHost();
        for (int round = 0; round < 2; ++round) {
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            QVERIFY(desktop.waitForFocus(panel));
            QTRY_COMPARE(desktop.seat().geometry(panel),
                         QRect(QPoint(-400, 800 - 30 - 280), panelSize));
            host->tell("hide");
            QVERIFY(waitUntil([&] { return !desktop.seat().isVisible(panel); }));
        }
    }

    void isCenteredInWhatADockLeavesOfThePointersMonitor()
    {
        // Only with openbox: xfwm4 overlooks monitors without an output, as the second one is here.
        Desktop desktop({.size = {1600, 800}, .monitors = {{0, 0, 800, 600}, {800, 0, 800, 800}}});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const auto host = desktop.startPanelHost();
        const auto isPlacedAt = [&](QPoint corner, QPoint pointer) {
            seat.moveMouse(pointer);
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            const bool placed = desktop.waitForFocus(panel) &&
                                waitUntil([&] { return seat.geometry(panel).topLeft() == corner; });
            host->tell("hide");
            return waitUntil([&] { return !seat.isVisible(panel); }) && placed;
        };
        QVERIFY(isPlacedAt(QPoint(400 - 230, 300 - 140), {100, 100}));
        QVERIFY(isPlacedAt(QPoint(1200 - 230, 400 - 140), {900, 100}));

        const auto dock = desktop.startVictim(
            {.title = QStringLiteral("Dock"), .geometry = {800, 0, 800, 60}, .isDock = true});
        QVERIFY(
            waitUntil([&] { return seat.property(seat.root(), "_NET_CLIENT_LIST").size() == 1; }));
        QVERIFY(isPlacedAt(QPoint(400 - 230, 300 - 140), {100, 100}));
        QVERIFY(isPlacedAt(QPoint(1200 - 230, 430 - 140), {900, 100}));
    }

    void hasRoundCornersWithAndWithoutACompositor()
    {
        Desktop desktop({.compositor = Compositor::Picom});
        QVERIFY2(desktop.problem().isEmpty(), desktop.problem());
        Seat &seat = desktop.seat();
        const VictimOptions backdrop{.geometry = {300, 200, 700, 450}};
        const auto victim = desktop.startVictim(backdrop);
        const QColor behind = QColor(90, 130, 170);
        const QColor cream = QColor(254, 252, 242);
        const auto host = desktop.startPanelHost();

        const auto looksRound = [&] {
            host->tell("show");
            const auto panel = desktop.waitForWindow(panelTitle);
            const QRect area = seat.geometry(panel);
            const bool round = waitUntil([&] {
                return seat.pixel(area.topLeft()) == behind &&
                       seat.pixel(area.bottomRight()) == behind &&
                       seat.pixel(area.topLeft() + QPoint(20, 5)) == cream &&
                       seat.pixel(area.topLeft() + QPoint(0, 100)) == cream;
            });
            return round;
        };
        const auto hide = [&] {
            const auto panel = seat.find(panelTitle);
            host->tell("hide");
            return waitUntil([&] { return !seat.isVisible(panel); });
        };
        QVERIFY(looksRound());
        host->tell("alpha 0.5");
        const QPoint inside = seat.geometry(seat.find(panelTitle)).topLeft() + QPoint(5, 100);
        QVERIFY(waitUntil([&] { return std::abs(seat.pixel(inside).red() - 172) < 4; }));
        host->tell("alpha 1");
        QVERIFY(hide());

        desktop.stopCompositor();
        QVERIFY(waitUntil([&] { return seat.selectionOwner("_NET_WM_CM_S0") == 0; }));
        QVERIFY(looksRound());
        host->tell("alpha 0.5");
        host->tell("key");
        QVERIFY(waitUntil([&] { return host->output().trimmed().endsWith("is key"); }));
        QCOMPARE(seat.pixel(inside), cream);
        host->tell("alpha 1");
        QVERIFY(hide());

        desktop.startCompositor();
        QVERIFY(looksRound());
    }
};

QTEST_GUILESS_MAIN(PanelWindowTests)
#include "PanelWindowTests.moc"
