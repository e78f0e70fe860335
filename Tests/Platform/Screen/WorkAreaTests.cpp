#include "Platform/Screen/WorkArea.h"

#include <QTest>

using namespace Platform::WorkArea;

namespace {

/// Two monitors side by side; the right one is lower than the left one.
constexpr QSize desktop{2880, 1080};
constexpr QRect left{0, 0, 1280, 1024};
constexpr QRect right{1280, 180, 1600, 900};

} // namespace

class WorkAreaTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void barsTakeRoomOnlyFromTheMonitorTheyStandOn_data()
    {
        QTest::addColumn<std::vector<Strut>>("struts");
        QTest::addColumn<QRect>("leftRest");
        QTest::addColumn<QRect>("rightRest");
        QTest::newRow("two bars at the top of the left")
            << std::vector<Strut>{{Qt::TopEdge, 30, 0, 600}, {Qt::TopEdge, 20, 601, 1279}}
            << QRect(0, 30, 1280, 994) << right;
        QTest::newRow("a bar at the top of the lower monitor reserves from the desktop's edge on")
            << std::vector<Strut>{{Qt::TopEdge, 210, 1280, 2879}} << left
            << QRect(1280, 210, 1600, 870);
        QTest::newRow("a bar at the bottom of the left, above the desktop's bottom")
            << std::vector<Strut>{{Qt::BottomEdge, 96, 0, 1279}} << QRect(0, 0, 1280, 984) << right;
        QTest::newRow("docks at the right and at the inner edge spare the outer monitor")
            << std::vector<Strut>{{Qt::RightEdge, 64, 180, 1079}, {Qt::LeftEdge, 1344, 180, 1079}}
            << left << QRect(1344, 180, 1472, 900);
    }

    void barsTakeRoomOnlyFromTheMonitorTheyStandOn()
    {
        QFETCH(std::vector<Strut>, struts);
        QFETCH(QRect, leftRest);
        QFETCH(QRect, rightRest);
        QCOMPARE(withoutStruts(left, desktop, struts), leftRest);
        QCOMPARE(withoutStruts(right, desktop, struts), rightRest);
    }
};

QTEST_APPLESS_MAIN(WorkAreaTests)
#include "WorkAreaTests.moc"
