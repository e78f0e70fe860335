#include "Brevio/CardPanel.h"

#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/ManualTime.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;
using Platform::Screen;

namespace {

const auto originKey = QStringLiteral("brevio.card.lastOrigin");
constexpr auto shakeTime = 220ms;

QJsonValue json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray("[") + text + "]").array().at(0);
}

/// The primary screen has a bar of 30 at its top, the one to its right a dock of 100 at the left.
std::vector<Screen> twoScreens()
{
    return {{QRectF(0, 0, 1280, 800), QRectF(0, 0, 1280, 770)},
            {QRectF(1280, -200, 1600, 1000), QRectF(1380, -200, 1500, 1000)}};
}

constexpr QPointF centerOfFirst{640 - 230, 385 - 140};

} // namespace

class CardPanelTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_queue = std::make_unique<ManualQueue>();
        m_defaults = std::make_unique<Platform::UserDefaults>(
            m_folder->filePath(QStringLiteral("defaults.json")), *m_queue);
        m_screens = FakeScreens();
    }

    void cleanup() { m_defaults.reset(); }

    void isPlacedWhereItWasLeftIfThatCanBeSeen_data()
    {
        QTest::addColumn<QByteArray>("saved");
        QTest::addColumn<QPointF>("expected");
        const auto used = [](const char *name, const char *saved, QPointF origin) {
            QTest::newRow(name) << QByteArray(saved) << origin;
        };
        const auto refused = [](const char *name, const char *saved) {
            QTest::newRow(name) << QByteArray(saved) << centerOfFirst;
        };
        used("fractions", R"({"x": 30.25, "y": 40.5})", {30.25, 40.5});
        used("an entry more", R"({"x": 30, "y": 40, "z": 1})", {30, 40});
        used("one column at the left", R"({"x": -459, "y": 40})", {-459, 40});
        used("one row under the bar", R"({"x": 30, "y": 769})", {30, 769});
        used("on the other screen", R"({"x": 2000, "y": -190})", {2000, -190});

        refused("under the bar only", R"({"x": 30, "y": 770})");
        refused("under the dock and over nothing", R"({"x": 900, "y": -290})");
        refused("no y", R"({"x": 30})");
        refused("no x", R"({"y": 30})");
        refused("a text for a number", R"({"x": "30", "y": 40})");
        refused("an extra entry that is no number", R"({"x": 30, "y": 40, "z": "1"})");
    }

    void isPlacedWhereItWasLeftIfThatCanBeSeen()
    {
        QFETCH(QByteArray, saved);
        QFETCH(QPointF, expected);
        m_screens.screens = twoScreens();
        m_defaults->set(originKey, json(saved.constData()));
        CardPanel panel = makePanel();
        QCOMPARE(panel.origin(), expected);
        QCOMPARE(panel.size(), QSize(460, 280));
        QVERIFY(!panel.isVisible());
    }

    void isCenteredOnTheScreenUnderThePointer_data()
    {
        QTest::addColumn<QPointF>("mouse");
        QTest::addColumn<bool>("onSecond");
        QTest::newRow("last column of the first") << QPointF(1279, 5) << false;
        QTest::newRow("first column of the second") << QPointF(1280, 5) << true;
        QTest::newRow("under the second's dock") << QPointF(1300, -200) << true;
        QTest::newRow("nowhere") << QPointF(5, -50) << false;
    }

    void isCenteredOnTheScreenUnderThePointer()
    {
        QFETCH(QPointF, mouse);
        QFETCH(bool, onSecond);
        m_screens.screens = twoScreens();
        m_screens.mouse = mouse;
        CardPanel panel = makePanel();
        QCOMPARE(panel.origin(), onSecond ? QPointF(2130 - 230, 300 - 140) : centerOfFirst);

        // The middle is not rounded, and without any screen the panel stays where it is.
        m_screens.screens = {{QRectF(0, 0, 1367, 801), QRectF(0, 0, 1367, 801)}};
        panel.restoreOrigin();
        m_screens.screens.clear();
        panel.restoreOrigin();
        QCOMPARE(panel.origin(), QPointF(453.5, 260.5));
        panel.persistOrigin();
        QCOMPARE(m_defaults->object(originKey), json(R"({"x": 453.5, "y": 260.5})"));
    }

    void shakesAndEndsExactlyWhereItBegan()
    {
        m_defaults->set(originKey, json(R"({"x": 30.25, "y": 40.5})"));
        CardPanel panel = makePanel();
        int moves = 0;
        panel.windowDidMove = [&] { ++moves; };
        const int jobs = m_queue->pendingJobs();
        panel.shake();
        QCOMPARE(m_queue->pendingJobs(), jobs); // it is hidden
        panel.makeKeyAndOrderFront();
        m_screens.placements.clear();

        panel.shake();
        m_queue->advance(30ms);
        const QPoint displaced = panel.pos();
        m_queue->advance(shakeTime - 31ms);
        double left = 0;
        double right = 0;
        for (const auto &placement : m_screens.placements) {
            QCOMPARE(placement.y(), 40.5);
            left = std::min(left, placement.x() - 30.25);
            right = std::max(right, placement.x() - 30.25);
        }
        QVERIFY(m_screens.placements.size() >= 10);
        QVERIFY(left >= -6.0 && left < -4.0);
        QVERIFY(right <= 6.0 && right > 4.0);

        m_queue->advance(1ms);
        QCOMPARE(m_screens.placements.back(), QPointF(30.25, 40.5));
        QCOMPARE(panel.origin(), QPointF(30.25, 40.5));
        QCOMPARE(m_queue->pendingJobs(), 0);

        // The server reports the moves later.
        const QPoint rest = panel.pos();
        QVERIFY(displaced != rest);
        panel.move(displaced);
        panel.move(rest);
        QCOMPARE(moves, 0);
        QCOMPARE(panel.origin(), QPointF(30.25, 40.5));
    }

    void aShakeThatIsCutShortLeavesThePanelAtRest()
    {
        m_defaults->set(originKey, json(R"({"x": 30, "y": 40})"));
        CardPanel panel = makePanel();
        const std::vector<std::function<void()>> interruptions{
            [&] { panel.shake(); }, [&] { panel.orderOut(); }, [&] { panel.restoreOrigin(); },
            [&] { QTest::mousePress(&panel, Qt::LeftButton, {}, QPoint(10, 10)); }};
        for (const auto &interrupt : interruptions) {
            panel.makeKeyAndOrderFront();
            panel.shake();
            m_queue->advance(30ms);
            QVERIFY(m_screens.placements.back() != QPointF(30, 40));
            interrupt();
            m_queue->advance(shakeTime);
            QCOMPARE(m_screens.placements.back(), QPointF(30, 40));
            QCOMPARE(panel.origin(), QPointF(30, 40));
            QCOMPARE(m_queue->pendingJobs(), 0);
        }
    }

    void isDraggedByItsBackgroundWithTheLeftButtonOnly()
    {
        m_defaults->set(originKey, json(R"({"x": 30, "y": 40})"));
        CardPanel panel = makePanel();
        panel.setContentView(new QWidget);
        panel.windowDidMove = [&] { panel.persistOrigin(); };
        panel.makeKeyAndOrderFront();

        Qt::MouseButton button = Qt::RightButton;
        const auto send = [&](QEvent::Type type, QPoint global) {
            const auto buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
            QMouseEvent event(type, panel.mapFromGlobal(global), global,
                              type == QEvent::MouseMove ? Qt::NoButton : button, buttons, {});
            QCoreApplication::sendEvent(&panel, &event);
        };
        const QPoint grip = panel.pos() + QPoint(10, 10);
        send(QEvent::MouseButtonPress, grip);
        send(QEvent::MouseMove, grip + QPoint(50, 15));
        QCOMPARE(panel.origin(), QPointF(30, 40));

        button = Qt::LeftButton;
        send(QEvent::MouseButtonPress, grip);
        send(QEvent::MouseMove, grip + QPoint(50, 15));
        send(QEvent::MouseMove, grip + QPoint(100, 30));
        send(QEvent::MouseButtonRelease, grip + QPoint(100, 30));
        send(QEvent::MouseMove, grip + QPoint(200, 60));
        QCOMPARE(panel.origin(), QPointF(130, 10));
        QCOMPARE(m_defaults->object(originKey), json(R"({"x": 130, "y": 10})"));
    }

    void aMoveIsReportedUnlessItIsOurOwnOrCorrectsAShowing()
    {
        m_defaults->set(originKey, json(R"({"x": 30, "y": 40})"));
        CardPanel panel = makePanel();
        int moves = 0;
        panel.windowDidMove = [&] { ++moves; };
        panel.makeKeyAndOrderFront();
        panel.restoreOrigin();
        const QPoint wanted = panel.pos();
        panel.move(70, 90);
        QCOMPARE(panel.pos(), wanted);
        panel.move(80, 90);
        QCOMPARE(panel.origin(), m_screens.originOf(panel));
        QCOMPARE(moves, 0);

        m_queue->advance(1s);
        panel.move(70, 90);
        QCOMPARE(moves, 1);
        QCOMPARE(panel.origin(), m_screens.originOf(panel));
    }

    void closingHidesAndKeepsThePanel()
    {
        CardPanel panel = makePanel();
        QSignalSpy destroyed(&panel, &QObject::destroyed);
        panel.makeKeyAndOrderFront();
        QVERIFY(panel.isVisible());
        QVERIFY(panel.close());
        QVERIFY(!panel.isVisible());
        panel.makeKeyAndOrderFront();
        QVERIFY(panel.isVisible());
        QCOMPARE(destroyed.count(), 0);
    }

    void givesTheKeysToTheWidgetThatIsAskedFor()
    {
        CardPanel panel = makePanel();
        auto *content = new QWidget;
        auto *first = new QWidget(content);
        auto *second = new QWidget(content);
        first->setFocusPolicy(Qt::StrongFocus);
        second->setFocusPolicy(Qt::StrongFocus);
        panel.setContentView(content);
        QCOMPARE(content->geometry(), QRect(0, 0, 460, 280));
        QVERIFY(!panel.isKeyWindow());

        panel.makeKeyAndOrderFront();
        panel.makeFirstResponder(second);
        QTRY_VERIFY(panel.isKeyWindow());
        QTRY_VERIFY(second->hasFocus());
        panel.orderOut();
        QVERIFY(!panel.isKeyWindow());
    }

private:
    using CardPanel = Brevio::CardPanel;
    CardPanel makePanel() { return CardPanel(*m_defaults, m_screens, *m_queue); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ManualQueue> m_queue;
    std::unique_ptr<Platform::UserDefaults> m_defaults;
    FakeScreens m_screens;
};

QTEST_MAIN(CardPanelTests)
#include "CardPanelTests.moc"
