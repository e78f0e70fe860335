#pragma once

#include "Platform/Core/Clock.h"
#include "Platform/Core/MainQueue.h"

#include <map>

/// A main queue and a wall clock that a test moves by hand: nothing waits and nothing sleeps.
class ManualQueue final : public Platform::MainQueue
{
public:
    Moment now() const override { return m_now; }
    Pending schedule(Duration delay, Job job) override;
    void postAfter(Duration delay, Job job) override;

    /// Moves time on, running every job that falls due, each at its own moment, in order. Jobs
    /// that those jobs schedule within the span run too.
    void advance(Duration span);
    /// Runs what is due now, without moving time.
    void runPosted() { advance(Duration::zero()); }
    /// How many jobs wait that nobody cancelled.
    [[nodiscard]] int pendingJobs() const;

private:
    Moment m_now{std::chrono::hours(1)};
    std::multimap<Moment, std::weak_ptr<Job>> m_jobs;
    std::multimap<Moment, std::shared_ptr<Job>> m_posted;
};

class ManualClock final : public Platform::Clock
{
public:
    Platform::Instant now() const override { return current; }
    void advance(std::chrono::microseconds span) { current += span; }

    Platform::Instant current{std::chrono::sys_days{std::chrono::year{2025} / 3 / 14} +
                              std::chrono::hours(9)};
};
