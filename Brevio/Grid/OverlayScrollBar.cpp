#include "Brevio/Grid/OverlayScrollBar.h"

#include "Brevio/CardColors.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

using namespace std::chrono_literals;

namespace Brevio {

namespace {

constexpr int barBreadth = 12;
constexpr double thumbBreadth = 6.0;
constexpr double thumbMargin = 3.0; ///< to the right edge
constexpr double endMargin = 6.0;   ///< above and below the track, clear of the rounded corners
constexpr double shortestThumb = 24.0;
constexpr double thumbInk = 0.32;
constexpr double heldThumbInk = 0.5;
constexpr auto fadeInTime = 120ms;
constexpr auto restBeforeFade = 900ms;
constexpr auto fadeOutTime = 300ms;

} // namespace

OverlayScrollBar::OverlayScrollBar(Platform::Appearance &appearance, Platform::MainQueue &queue,
                                   QWidget *parent)
    : QWidget(parent)
    , m_appearance(appearance)
    , m_queue(queue)
{
    setCursor(Qt::ArrowCursor);
    connect(&appearance, &Platform::Appearance::changed, this, qOverload<>(&QWidget::update));
}

int OverlayScrollBar::breadth()
{
    return barBreadth;
}

double OverlayScrollBar::maximum() const
{
    return std::max(0.0, m_content - m_page);
}

QRectF OverlayScrollBar::thumbRect() const
{
    if (maximum() <= 0.0)
        return {};
    const double track = height() - 2.0 * endMargin;
    const double length = std::min(track, std::max(shortestThumb, track * m_page / m_content));
    const double top = endMargin + (track - length) * m_offset / maximum();
    return {width() - thumbMargin - thumbBreadth, top, thumbBreadth, length};
}

void OverlayScrollBar::setExtents(double content, double page)
{
    m_content = content;
    m_page = page;
    setVisible(maximum() > 0.0);
    setOffset(m_offset);
    update();
}

void OverlayScrollBar::setOffset(double offset)
{
    const double possible = std::clamp(offset, 0.0, maximum());
    if (possible == m_offset)
        return;
    m_offset = possible;
    update();
    if (onScroll)
        onScroll();
}

void OverlayScrollBar::scrollTo(double offset)
{
    setOffset(offset);
    if (maximum() > 0.0)
        showThumb();
}

void OverlayScrollBar::showThumb()
{
    fadeTo(1.0, fadeInTime);
    rest();
}

void OverlayScrollBar::rest()
{
    m_pendingFade.reset();
    if (m_isHovered || m_grip >= 0.0)
        return;
    m_pendingFade = m_queue.schedule(restBeforeFade, [this] { fadeTo(0.0, fadeOutTime); });
}

void OverlayScrollBar::fadeTo(double alpha, Platform::MainQueue::Duration duration)
{
    if (m_alphaGoal == alpha)
        return;
    m_alphaGoal = alpha;
    const double start = m_alpha;
    m_fade = Platform::animate(m_queue, duration, Platform::TimingCurve::EaseOut,
                               [this, start, alpha](double progress) {
                                   m_alpha = start + (alpha - start) * progress;
                                   update();
                               });
}

void OverlayScrollBar::paintEvent(QPaintEvent *)
{
    if (m_alpha <= 0.0)
        return;
    const bool isHeld = m_isHovered || m_grip >= 0.0;
    const auto &ink = CardColors::cardInk();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        ink.resolved(m_appearance.scheme(), (isHeld ? heldThumbInk : thumbInk) * m_alpha));
    painter.drawRoundedRect(thumbRect(), thumbBreadth / 2.0, thumbBreadth / 2.0);
}

void OverlayScrollBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const double y = event->position().y();
    const QRectF thumb = thumbRect();
    if (y < thumb.top())
        scrollBy(-m_page);
    else if (y > thumb.bottom())
        scrollBy(m_page);
    else
        m_grip = y - thumb.top();
    showThumb();
    update();
}

void OverlayScrollBar::mouseMoveEvent(QMouseEvent *event)
{
    if (m_grip < 0.0)
        return;
    const double travel = height() - 2.0 * endMargin - thumbRect().height();
    if (travel > 0.0)
        scrollTo((event->position().y() - m_grip - endMargin) / travel * maximum());
}

void OverlayScrollBar::mouseReleaseEvent(QMouseEvent *)
{
    m_grip = -1.0;
    rest();
    update();
}

void OverlayScrollBar::enterEvent(QEnterEvent *)
{
    m_isHovered = true;
    showThumb();
    update();
}

void OverlayScrollBar::leaveEvent(QEvent *)
{
    m_isHovered = false;
    rest();
    update();
}

void OverlayScrollBar::hideEvent(QHideEvent *)
{
    m_isHovered = false;
    m_grip = -1.0;
    m_alpha = m_alphaGoal = 0.0;
    m_fade.reset();
    m_pendingFade.reset();
}

} // namespace Brevio
