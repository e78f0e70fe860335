#pragma once

#include "Platform/Core/MainQueue.h"

#include <QObject>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace Platform {

/// Runs jobs one after the other on a thread of its own, which exists only while it is used: it
/// ends ten minutes after its last job, or when told, and the next job starts another. Nothing but
/// the destruction waits for it. Main thread only, but for what says otherwise.
class IdleWorker final
{
public:
    /// What a job leaves to be done on the main thread, where it is destroyed too; may be empty.
    using Reply = std::function<void()>;
    using Job = std::function<Reply()>;
    enum class AtEnd { Dropped, Done };

    /// The queue must outlive the object. `cleanUp` is called on the thread before it ends, to
    /// destroy what the jobs have left there for those after them.
    IdleWorker(MainQueue &queue, std::function<void()> cleanUp);
    /// Waits for the job that runs, and those that are to be done at the end; drops the others.
    ~IdleWorker();
    IdleWorker(const IdleWorker &) = delete;
    IdleWorker &operator=(const IdleWorker &) = delete;

    /// The reply is made on a turn of the event loop, when the job no longer counts as running. A
    /// job must not throw. False, with the job dropped, when the system gives no thread.
    [[nodiscard]] bool run(Job job, AtEnd atEnd = AtEnd::Dropped);
    /// Makes a call on the main thread, on a turn of its event loop, in the order of the replies;
    /// never once this object is gone. It may destroy the object. Any thread.
    void post(Reply reply);
    /// Ends the thread once it has done what it was asked.
    void release();

private:
    struct Waiting
    {
        Job job;
        AtEnd atEnd;
    };

    [[nodiscard]] bool start();
    void releaseUnused();
    /// On the worker's thread.
    void work();

    MainQueue &m_queue;
    MainQueue::Pending m_unused;
    std::function<void()> m_cleanUp;
    QObject m_mainThread; ///< Replies are posted to it.

    std::mutex m_mutex; ///< Guards the five below.
    std::condition_variable m_wake;
    std::deque<Waiting> m_waiting;
    bool m_isBusy = false; ///< With a job.
    bool m_isReleasing = false;
    bool m_isRunning = false;
    std::thread m_thread; ///< Main thread only.
};

} // namespace Platform
