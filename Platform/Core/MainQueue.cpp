#include "Platform/Core/MainQueue.h"

#include <QCoreApplication>
#include <QTimer>

namespace Platform {

namespace {

using std::chrono::milliseconds;

/// Qt's coarse timers may be 5 % off, which is visible in an animation and not in a pause.
constexpr auto coarseFrom = milliseconds(1000);

milliseconds roundedUp(MainQueue::Duration delay)
{
    return std::chrono::ceil<milliseconds>(std::max(delay, MainQueue::Duration::zero()));
}

class EventLoopQueue final : public MainQueue
{
public:
    Moment now() const override
    {
        return std::chrono::duration_cast<Moment>(
            std::chrono::steady_clock::now().time_since_epoch());
    }

    Pending schedule(Duration delay, Job job) override
    {
        // The job may drop the handle while the timer is emitting, so the timer outlives the turn.
        std::shared_ptr<QTimer> timer(new QTimer, [](QTimer *dropped) {
            dropped->stop();
            dropped->deleteLater();
        });
        timer->setSingleShot(true);
        timer->setTimerType(delay < coarseFrom ? Qt::PreciseTimer : Qt::CoarseTimer);
        QObject::connect(timer.get(), &QTimer::timeout, timer.get(),
                         [run = std::move(job)] { run(); });
        timer->start(roundedUp(delay));
        return timer;
    }

    void postAfter(Duration delay, Job job) override
    {
        QTimer::singleShot(roundedUp(delay),
                           delay < coarseFrom ? Qt::PreciseTimer : Qt::CoarseTimer,
                           QCoreApplication::instance(), [run = std::move(job)] { run(); });
    }
};

} // namespace

MainQueue &MainQueue::main()
{
    static EventLoopQueue queue;
    return queue;
}

} // namespace Platform
