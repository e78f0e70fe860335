#include "Platform/Screen/Animation.h"
#include "Tests/Support/ManualTime.h"

#include <QTest>

using namespace Platform;
using namespace std::chrono_literals;

class AnimationTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void curvesPassThroughTheirKnownPoints_data();
    void curvesPassThroughTheirKnownPoints();
    void runsFromTheFirstFrameToExactlyOneAndThenCompletesOnce();
    void leavesNoTimerBehind();
    void stopsWithoutCompletionWhenTheHandleGoes();
    void letsTheCompletionStartTheNextAnimationInTheSameHandle();
    void jumpsToTheEndWhenTheMachineStalls();
};

void AnimationTests::curvesPassThroughTheirKnownPoints_data()
{
    QTest::addColumn<TimingCurve>("curve");
    QTest::addColumn<double>("quarter");
    QTest::addColumn<double>("half");
    // Reference values of the cubic curves, computed independently by solving x(t).
    QTest::newRow("linear") << TimingCurve::Linear << 0.25 << 0.5;
    QTest::newRow("ease in") << TimingCurve::EaseIn << 0.0935 << 0.3154;
    QTest::newRow("ease out") << TimingCurve::EaseOut << 0.3781 << 0.6846;
    QTest::newRow("ease in and out") << TimingCurve::EaseInEaseOut << 0.1291 << 0.5;
    QTest::newRow("default") << TimingCurve::Default << 0.4085 << 0.8024;
}

void AnimationTests::curvesPassThroughTheirKnownPoints()
{
    QFETCH(TimingCurve, curve);
    QFETCH(double, quarter);
    QFETCH(double, half);
    QCOMPARE(easedProgress(curve, 0.0), 0.0);
    QCOMPARE(easedProgress(curve, 1.0), 1.0);
    QVERIFY2(std::abs(easedProgress(curve, 0.25) - quarter) < 0.0005,
             qPrintable(QString::number(easedProgress(curve, 0.25))));
    QVERIFY2(std::abs(easedProgress(curve, 0.5) - half) < 0.0005,
             qPrintable(QString::number(easedProgress(curve, 0.5))));
}

void AnimationTests::runsFromTheFirstFrameToExactlyOneAndThenCompletesOnce()
{
    ManualQueue queue;
    QList<double> steps;
    int completions = 0;
    const auto animation = animate(
        queue, 200ms, TimingCurve::EaseInEaseOut, [&](double progress) { steps << progress; },
        [&] { ++completions; });
    QVERIFY2(steps.isEmpty(), "nothing moves within the turn that starts the animation");

    queue.advance(199ms);
    QVERIFY(std::is_sorted(steps.cbegin(), steps.cend()));
    QVERIFY(steps.size() >= 10);
    QVERIFY(steps.last() < 1.0);
    QCOMPARE(completions, 0);

    queue.advance(1s);
    QCOMPARE(steps.last(), 1.0);
    QCOMPARE(steps.count(1.0), 1);
    QCOMPARE(completions, 1);
}

void AnimationTests::leavesNoTimerBehind()
{
    ManualQueue queue;
    const auto animation = animate(queue, 50ms, TimingCurve::Linear, [](double) {});
    queue.advance(50ms);
    QCOMPARE(queue.pendingJobs(), 0);
}

void AnimationTests::stopsWithoutCompletionWhenTheHandleGoes()
{
    ManualQueue queue;
    int completions = 0;
    int steps = 0;
    Animation animation = animate(
        queue, 100ms, TimingCurve::Linear,
        [&](double) {
            if (++steps == 2)
                animation.reset();
        },
        [&] { ++completions; });
    queue.advance(1s);
    QCOMPARE(steps, 2);
    QCOMPARE(completions, 0);
    QCOMPARE(queue.pendingJobs(), 0);
}

void AnimationTests::letsTheCompletionStartTheNextAnimationInTheSameHandle()
{
    ManualQueue queue;
    int second = 0;
    Animation animation;
    animation = animate(queue, 100ms, TimingCurve::Linear, {}, [&] {
        animation = animate(queue, 100ms, TimingCurve::Linear, {}, [&] { ++second; });
    });
    queue.advance(150ms);
    QCOMPARE(second, 0);
    queue.advance(100ms);
    QCOMPARE(second, 1);
}

void AnimationTests::jumpsToTheEndWhenTheMachineStalls()
{
    // A queue whose first frame comes late, as after a suspended laptop.
    class StalledQueue final : public MainQueue
    {
    public:
        Moment now() const override { return moment; }
        Pending schedule(Duration, Job job) override
        {
            auto handle = std::make_shared<Job>(std::move(job));
            next = handle;
            return handle;
        }
        void postAfter(Duration, Job) override {}

        Moment moment{};
        std::weak_ptr<Job> next;
    } queue;
    QList<double> steps;
    const auto animation =
        animate(queue, 100ms, TimingCurve::EaseIn, [&](double progress) { steps << progress; });
    queue.moment += 1h;
    (*queue.next.lock())();
    QCOMPARE(steps, QList<double>{1.0});
}

QTEST_GUILESS_MAIN(AnimationTests)
#include "AnimationTests.moc"
