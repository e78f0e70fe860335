#include "Brevio/Card/CardPanel.h"

#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/ManualTime.h"
#include "Tests/Support/TableRow.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;

namespace {

const auto originKey = QStringLiteral("brevio.card.lastOrigin");

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

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
        // The primary screen has a bar of 30 at its top, the one to its right a dock at its left.
        m_screens.screens = {{QRectF(0, 0, 1280, 800), QRectF(0, 0, 1280, 770)},
                             {QRectF(1280, -200, 1600, 1000), QRectF(1380, -200, 1500, 1000)}};
        constexpr QPointF center{640 - 230, 385 - 140};
        for (const auto &[saved, origin] :
             {std::pair(R"({"x": 30.25, "y": 40.5, "z": 1})", QPointF(30.25, 40.5)),
              {R"({"x": -459, "y": 40})", {-459, 40}}, // one column is visible
              {R"({"x": 30, "y": 769})", {30, 769}},   // one row
              {R"({"x": 30, "y": 770})", center},      // under the bar
              {R"({"x": 900, "y": -290})", center},    // under the dock and over nothing
              {R"({"x": 30})", center}}) {
            const TableRow row(QString::fromLatin1(saved));
            m_defaults->set(originKey, json(saved));
            QCOMPARE(makePanel().origin(), origin);
        }
        // Without any screen it stays where it is.
        CardPanel panel = makePanel();
        m_screens.screens.clear();
        panel.restoreOrigin();
        QCOMPARE(panel.origin(), center);
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
