#include "Platform/Core/IdleWorker.h"

#include <QLoggingCategory>

#include <malloc.h>

#include <system_error>
#include <utility>

namespace Platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(workerLog, "brevio.worker", QtCriticalMsg)

constexpr auto unusedDelay = 10min;

} // namespace

IdleWorker::IdleWorker(MainQueue &queue, std::function<void()> cleanUp)
    : m_queue(queue)
    , m_cleanUp(std::move(cleanUp))
{}

IdleWorker::~IdleWorker()
{
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_waiting, [](const Waiting &each) { return each.atEnd == AtEnd::Dropped; });
        m_isReleasing = true;
        m_wake.notify_one();
    }
    if (m_thread.joinable())
        m_thread.join();
}

bool IdleWorker::run(Job job, AtEnd atEnd)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isRunning && !start())
        return false;
    m_waiting.push_back({std::move(job), atEnd});
    m_isReleasing = false;
    m_wake.notify_one();
    return true;
}

bool IdleWorker::start()
{
    if (m_thread.joinable())
        m_thread.join(); // it has done its last already
    try {
        m_thread = std::thread(&IdleWorker::work, this);
    } catch (const std::system_error &error) {
        qCInfo(workerLog) << "no thread:" << error.what();
        return false;
    }
    m_isRunning = true;
    return true;
}

void IdleWorker::post(Reply reply)
{
    QMetaObject::invokeMethod(&m_mainThread, std::move(reply), Qt::QueuedConnection);
}

void IdleWorker::release()
{
    m_unused.reset();
    const std::lock_guard lock(m_mutex);
    m_isReleasing = true;
    m_wake.notify_one();
}

void IdleWorker::releaseUnused()
{
    const std::lock_guard lock(m_mutex);
    // Another job has begun since, whose end comes here again.
    if (m_isBusy || !m_waiting.empty())
        return;
    m_isReleasing = true;
    m_wake.notify_one();
}

void IdleWorker::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_wake.wait(lock, [this] { return m_isReleasing || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            lock.unlock();
            m_cleanUp();
            malloc_trim(0); // what was freed would stay the program's
            lock.lock();
            if (m_waiting.empty())
                break;
        }
        Job job = std::move(m_waiting.front().job);
        m_waiting.pop_front();
        m_isBusy = true;
        lock.unlock();
        Reply reply = std::exchange(job, nullptr)();
        lock.lock();
        // First, for whoever has the reply may look at the thread's end at once.
        m_isBusy = false;
        lock.unlock();
        post([this, reply = std::move(reply)] {
            m_unused = m_queue.schedule(unusedDelay, [this] { releaseUnused(); });
            if (reply)
                reply(); // may destroy the worker
        });
        lock.lock();
    }
    m_isRunning = false;
}

} // namespace Platform
