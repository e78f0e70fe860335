#include "Platform/Screen/FirstPaint.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QWindow>

#include <utility>

namespace Platform {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 1s;

/// Lives until the paint.
class PaintWatch final : public QObject
{
public:
    PaintWatch(MainQueue &queue, MainQueue::Job job)
        : QObject(QCoreApplication::instance())
        , m_queue(queue)
        , m_job(std::move(job))
        , m_unseen(queue.schedule(patience, [this] { finish(); }))
    {
        parent()->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // Painting ahead is no paint: not before the window is there to show it.
        if (event->type() == QEvent::Expose && static_cast<QWindow *>(watched)->isExposed())
            finish();
        return false;
    }

private:
    void finish()
    {
        parent()->removeEventFilter(this);
        m_unseen.reset();
        // The window itself only learns of it now, and paints.
        m_queue.post(std::move(m_job));
        deleteLater();
    }

    MainQueue &m_queue;
    MainQueue::Job m_job;
    MainQueue::Pending m_unseen;
};

} // namespace

void afterFirstPaint(MainQueue &queue, MainQueue::Job job)
{
    new PaintWatch(queue, std::move(job));
}

} // namespace Platform
