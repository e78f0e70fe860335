#include "Platform/Screen/Animation.h"

#include <algorithm>
#include <utility>

namespace Platform {

namespace {

/// Close enough to one frame of a 60 Hz display; the progress itself is read from the clock.
constexpr auto framePeriod = std::chrono::milliseconds(16);

struct ControlPoints
{
    double x1, y1, x2, y2;
};

constexpr ControlPoints controlPoints(TimingCurve curve)
{
    switch (curve) {
    case TimingCurve::EaseIn:
        return {0.42, 0.0, 1.0, 1.0};
    case TimingCurve::EaseOut:
        return {0.0, 0.0, 0.58, 1.0};
    case TimingCurve::EaseInEaseOut:
        return {0.42, 0.0, 0.58, 1.0};
    case TimingCurve::Default:
        return {0.25, 0.1, 0.25, 1.0};
    case TimingCurve::Linear:
        break;
    }
    return {0.0, 0.0, 1.0, 1.0};
}

/// One coordinate of a Bézier curve from 0 to 1 with the given inner control values.
constexpr double bezier(double first, double second, double t)
{
    const double rest = 1.0 - t;
    return 3.0 * rest * rest * t * first + 3.0 * rest * t * t * second + t * t * t;
}

class RunningAnimation final : public std::enable_shared_from_this<RunningAnimation>
{
public:
    RunningAnimation(MainQueue &queue, MainQueue::Duration duration, TimingCurve curve,
                     std::function<void(double)> step, std::function<void()> completion)
        : m_queue(queue)
        , m_start(queue.now())
        , m_duration(duration)
        , m_curve(curve)
        , m_step(std::move(step))
        , m_completion(std::move(completion))
    {}

    void scheduleFrame()
    {
        const auto left = std::max(m_start + m_duration - m_queue.now(), MainQueue::Duration(0));
        m_frame = m_queue.schedule(std::min<MainQueue::Duration>(framePeriod, left),
                                   [weak = weak_from_this()] {
                                       if (const auto self = weak.lock())
                                           self->showFrame();
                                   });
    }

private:
    void showFrame()
    {
        const auto elapsed = m_queue.now() - m_start;
        const bool ended = elapsed >= m_duration;
        const double fraction =
            ended ? 1.0
                  : static_cast<double>(elapsed.count()) / static_cast<double>(m_duration.count());
        // The step may drop the handle, which must stop the animation then and there. Our caller
        // holds one reference; a second one is the owner's.
        const auto weak = weak_from_this();
        if (m_step)
            m_step(easedProgress(m_curve, fraction));
        if (weak.use_count() < 2)
            return;
        if (!ended)
            scheduleFrame();
        else if (m_completion)
            std::exchange(m_completion, nullptr)();
    }

    MainQueue &m_queue;
    MainQueue::Moment m_start;
    MainQueue::Duration m_duration;
    TimingCurve m_curve;
    std::function<void(double)> m_step;
    std::function<void()> m_completion;
    MainQueue::Pending m_frame;
};

} // namespace

double easedProgress(TimingCurve curve, double timeFraction)
{
    if (timeFraction <= 0.0)
        return 0.0;
    if (timeFraction >= 1.0)
        return 1.0;
    const auto points = controlPoints(curve);
    // x grows with t, so halving finds the t of this x; 40 halvings exhaust what a pixel can show.
    double low = 0.0;
    double high = 1.0;
    for (int i = 0; i < 40; ++i) {
        const double middle = (low + high) / 2.0;
        (bezier(points.x1, points.x2, middle) < timeFraction ? low : high) = middle;
    }
    return bezier(points.y1, points.y2, (low + high) / 2.0);
}

Animation animate(MainQueue &queue, MainQueue::Duration duration, TimingCurve curve,
                  std::function<void(double)> step, std::function<void()> completion)
{
    auto running = std::make_shared<RunningAnimation>(queue, duration, curve, std::move(step),
                                                      std::move(completion));
    running->scheduleFrame();
    return running;
}

} // namespace Platform
