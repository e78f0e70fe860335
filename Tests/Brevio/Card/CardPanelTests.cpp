#include "Brevio/Card/CardPanel.h"

#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/ManualTime.h"
#include "Tests/Support/TableRow.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;
using Platform::Screen;

namespace {

const auto originKey = QStringLiteral("brevio.card.lastOrigin");

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
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
        m_defaults = std::make_unique<Platform::UserDefaults>(
            m_folder.filePath(QString::fromLatin1(QTest::currentTestFunction())), m_queue);
        m_screens = FakeScreens();
    }

    void cleanup() { m_defaults.reset(); }

    void isPlacedWhereItWasLeftIfThatCanBeSeen()
    {
        m_screens.screens = twoScreens();
        for (const auto &[saved, origin] :
             {std::pair(R"({"x": 30.25, "y": 40.5, "z": 1})", QPointF(30.25, 40.5)),
              {R"({"x": -459, "y": 40})", {-459, 40}}, // one column is visible
              {R"({"x": 30, "y": 769})", {30, 769}},   // one row
              {R"({"x": 2000, "y": -190})", {2000, -190}},
              {R"({"x": 30, "y": 770})", centerOfFirst},   // under the bar
              {R"({"x": 900, "y": -290})", centerOfFirst}, // under the dock and over nothing
              {R"({"x": 30})", centerOfFirst},
              {R"({"x": "30", "y": 40})", centerOfFirst},
              {R"({"x": 30, "y": 40, "z": "1"})", centerOfFirst}}) {
            const TableRow row(QString::fromLatin1(saved));
            m_defaults->set(originKey, json(saved));
            const CardPanel panel = makePanel();
            QCOMPARE(panel.origin(), origin);
            QVERIFY(!panel.isVisible());
        }
    }

    void isCenteredOnTheScreenUnderThePointer()
    {
        CardPanel panel = makePanel();
        m_screens.screens = twoScreens();
        for (const auto &[mouse, center] : {std::pair(QPointF(1279, 5), centerOfFirst),
                                            {QPointF(1280, 5), QPointF(2130 - 230, 300 - 140)},
                                            {QPointF(5, -50), centerOfFirst}}) { // nowhere
            m_screens.mouse = mouse;
            panel.restoreOrigin();
            QCOMPARE(panel.origin(), center);
        }
        // The middle is not rounded, and without any screen the panel stays where it is.
        m_screens.screens = {{QRectF(0, 0, 1367, 801), QRectF(0, 0, 1367, 801)}};
        panel.restoreOrigin();
        m_screens.screens.clear();
        panel.restoreOrigin();
        panel.persistOrigin();
        QCOMPARE(m_defaults->object(originKey).toObject(), json(R"({"x": 453.5, "y": 260.5})"));
    }

    void aShakeEndsExactlyWhereItBeganAlsoWhenItIsCutShort()
    {
        const QPointF rest(30.25, 40.5);
        m_defaults->set(originKey, json(R"({"x": 30.25, "y": 40.5})"));
        CardPanel panel = makePanel();
        const std::vector<std::function<void()>> interruptions{
            [] {}, [&] { panel.shake(); }, [&] { panel.orderOut(); },
            [&] { panel.restoreOrigin(); },
            [&] { QTest::mousePress(&panel, Qt::LeftButton, {}, QPoint(10, 10)); }};
        for (const auto &interrupt : interruptions) {
            panel.makeKeyAndOrderFront();
            panel.shake();
            m_queue.advance(30ms);
            const QPointF displacement = m_screens.placements.back() - rest;
            QVERIFY(displacement.x() < -3.0 && displacement.x() >= -6.0);
            QCOMPARE(displacement.y(), 0.0);
            interrupt();
            m_queue.advance(220ms);
            QCOMPARE(m_screens.placements.back(), rest);
            QCOMPARE(panel.origin(), rest);
            QCOMPARE(m_queue.pendingJobs(), 0);
        }
    }

    void aMoveCountsOnceTheWindowHasSettled()
    {
        CardPanel panel = makePanel();
        int moves = 0;
        panel.windowDidMove = [&] { ++moves; };
        panel.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        // The window manager's idea of a new window is contradicted once, and then taken.
        const auto placings = m_screens.placements.size();
        panel.move(1, 2);
        QCOMPARE(m_screens.placements.size(), placings + 1);
        panel.move(3, 4);
        QCOMPARE(m_screens.placements.size(), placings + 1);
        QCOMPARE(moves, 0);
        m_queue.advance(300ms);
        panel.move(5, 6);
        QCOMPARE(moves, 1);
    }

private:
    using CardPanel = Brevio::CardPanel;
    CardPanel makePanel() { return CardPanel(*m_defaults, m_screens, m_queue); }

    QTemporaryDir m_folder;
    ManualQueue m_queue;
    std::unique_ptr<Platform::UserDefaults> m_defaults;
    FakeScreens m_screens;
};

QTEST_MAIN(CardPanelTests)
#include "CardPanelTests.moc"
