#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace Platform {

/// Runs jobs on the main thread, later. Every delay in the program goes through one of these, so
/// that a test can move time by hand instead of waiting. Main thread only.
class MainQueue
{
public:
    using Job = std::function<void()>;
    using Duration = std::chrono::microseconds;
    /// A monotonic reading: time since an arbitrary start.
    using Moment = std::chrono::microseconds;
    /// Keeps one scheduled job alive. Resetting or dropping it cancels the job; once the job has
    /// run it means nothing. A job may drop its own handle while it runs.
    using Pending = std::shared_ptr<void>;

    virtual ~MainQueue() = default;

    /// Never goes backwards and never jumps with the wall clock.
    [[nodiscard]] virtual Moment now() const = 0;

    /// Runs the job once, after the delay, unless the handle is dropped first. A delay of zero
    /// still waits for the next turn of the event loop.
    [[nodiscard]] virtual Pending schedule(Duration delay, Job job) = 0;

    /// Runs the job once, after the delay. Nothing can cancel it: the job has to hold its owner
    /// weakly.
    virtual void postAfter(Duration delay, Job job) = 0;

    /// Runs the job on the next turn of the event loop.
    void post(Job job) { postAfter(Duration::zero(), std::move(job)); }

    /// The application's own queue. Lives as long as the process; needs an event loop to run jobs.
    static MainQueue &main();
};

} // namespace Platform
