#include "Tests/Support/ManualTime.h"

#include <algorithm>

Platform::MainQueue::Pending ManualQueue::schedule(Duration delay, Job job)
{
    auto handle = std::make_shared<Job>(std::move(job));
    m_jobs.emplace(m_now + delay, handle);
    return handle;
}

void ManualQueue::postAfter(Duration delay, Job job)
{
    auto handle = std::make_shared<Job>(std::move(job));
    m_jobs.emplace(m_now + delay, handle);
    m_posted.emplace(m_now + delay, handle);
}

void ManualQueue::advance(Duration span)
{
    const Moment end = m_now + span;
    while (!m_jobs.empty() && m_jobs.begin()->first <= end) {
        const auto next = m_jobs.extract(m_jobs.begin());
        if (const auto job = next.mapped().lock()) {
            m_now = std::max(m_now, next.key());
            (*job)();
        }
        std::erase_if(m_posted,
                      [&](const auto &posted) { return posted.second == next.mapped().lock(); });
    }
    m_now = end;
}

int ManualQueue::pendingJobs() const
{
    return static_cast<int>(std::count_if(m_jobs.begin(), m_jobs.end(),
                                          [](const auto &job) { return !job.second.expired(); }));
}
