#include "Platform/Storage/FileWatcher.h"

#include "Platform/Core/Descriptor.h"
#include "Platform/Storage/FolderState.h"
#include "Platform/Storage/KernelWatch.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <algorithm>
#include <optional>
#include <utility>

#include <fcntl.h>

namespace Platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(watchLog, "brevio.watch", QtCriticalMsg)

constexpr MainQueue::Duration quietTime = 50ms;     // after the last change of a burst
constexpr MainQueue::Duration longestBurst = 150ms; // from its first change to the report
constexpr MainQueue::Duration pollPeriod = 2s;

/// Turns bursts of signs into single reports.
class Reporter final
{
public:
    Reporter(MainQueue &queue, std::function<void()> report)
        : m_queue(queue)
        , m_report(std::move(report))
    {}

    void soon()
    {
        m_pending = m_queue.schedule(0ms, [this] { run(); });
    }

    void noteChange()
    {
        const auto now = m_queue.now();
        if (!m_burstBegan)
            m_burstBegan = now;
        const auto due = std::min(now + quietTime, *m_burstBegan + longestBurst);
        m_pending =
            m_queue.schedule(std::max(due - now, MainQueue::Duration::zero()), [this] { run(); });
    }

private:
    void run()
    {
        m_burstBegan.reset();
        m_pending.reset();
        const auto report = m_report; // which may be the end of this object
        report();
    }

    MainQueue &m_queue;
    std::function<void()> m_report;
    std::optional<MainQueue::Moment> m_burstBegan;
    MainQueue::Pending m_pending;
};

class FolderWatcher final : public FileWatcher
{
public:
    FolderWatcher(const QString &folder, NameFilter filter, MainQueue &queue,
                  std::function<void()> onChange)
        : m_folder(folder)
        , m_filter(std::move(filter))
        , m_queue(queue)
        , m_reporter(queue, std::move(onChange))
    {
        listen();
        choose();
        m_reporter.soon();
    }

private:
    void listen()
    {
        m_kernel = std::make_unique<KernelWatch>(m_folder, m_filter);
        if (m_kernel->descriptor() < 0)
            return;
        m_readable =
            std::make_unique<QSocketNotifier>(m_kernel->descriptor(), QSocketNotifier::Read);
        QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(), [this] {
            if (!m_kernel->takeNews())
                return;
            m_reporter.noteChange();
            choose();
        });
        // What is mounted over a folder hides it without a word to those who watch it.
        if (!m_mountTable.isOpen())
            return;
        m_mounted =
            std::make_unique<QSocketNotifier>(m_mountTable.get(), QSocketNotifier::Exception);
        QObject::connect(m_mounted.get(), &QSocketNotifier::activated, m_mounted.get(), [this] {
            if (!m_kernel->lookAgain())
                return;
            m_reporter.noteChange();
            choose();
        });
    }

    /// The folder may have been replaced by one elsewhere, and watches may have run out.
    void choose()
    {
        if (m_kernel->tellsAll() && !FolderState::changesElsewhere(m_kernel->place())) {
            m_pendingPoll.reset();
            return;
        }
        if (m_pendingPoll)
            return;
        qCInfo(watchLog) << "is looked at from time to time:" << m_folder;
        m_seen = FolderState(m_folder, m_filter);
        schedulePoll();
    }

    void schedulePoll()
    {
        m_pendingPoll = m_queue.schedule(pollPeriod, [this] {
            FolderState state(m_folder, m_filter);
            if (state != m_seen) {
                m_seen = std::move(state);
                m_reporter.noteChange();
            }
            schedulePoll();
        });
    }

    QString m_folder;
    NameFilter m_filter;
    MainQueue &m_queue;
    Reporter m_reporter;
    std::unique_ptr<KernelWatch> m_kernel; ///< none where it is not wanted
    std::unique_ptr<QSocketNotifier> m_readable;
    /// The kernel marks it when a file system comes or goes.
    Descriptor m_mountTable{::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)};
    std::unique_ptr<QSocketNotifier> m_mounted;
    FolderState m_seen; ///< while polling: the latest look
    MainQueue::Pending m_pendingPoll;
};

} // namespace

std::unique_ptr<FileWatcher> FileWatcher::create(const QString &folder, NameFilter filter,
                                                 MainQueue &queue, std::function<void()> onChange)
{
    return std::make_unique<FolderWatcher>(folder, std::move(filter), queue, std::move(onChange));
}

} // namespace Platform
