#include "Platform/Screen/Animation.h"
#include "Tests/Support/ManualTime.h"

#include <QTest>

using namespace Platform;
using namespace std::chrono_literals;

class AnimationTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsFromTheFirstFrameToExactlyOneAndThenCompletesOnce()
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

        queue.advance(1ms);
        QCOMPARE(steps.last(), 1.0);
        QCOMPARE(completions, 1);
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void stopsWithoutCompletionWhenTheHandleGoes()
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
};

QTEST_GUILESS_MAIN(AnimationTests)
#include "AnimationTests.moc"
