#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Animation.h"
#include "Platform/Screen/Appearance.h"

#include <QWidget>

#include <functional>

namespace Brevio {

/// Where a scrolled view stands, and the thin bar at its right edge that shows it. The widget is
/// there only while the content is taller than the view; its thumb appears while the view is
/// scrolled or the pointer is near, and fades away at rest, after which no timer runs. Lengths in
/// logical pixels; the offset need not be whole. Main thread only.
class OverlayScrollBar final : public QWidget
{
    Q_OBJECT

public:
    /// The appearance and the queue must outlive the bar.
    OverlayScrollBar(Platform::Appearance &appearance, Platform::MainQueue &queue, QWidget *parent);

    /// The width that the bar takes at the view's edge.
    [[nodiscard]] static int breadth();

    [[nodiscard]] double offset() const { return m_offset; }
    /// The largest offset; zero when everything shows.
    [[nodiscard]] double maximum() const;
    /// Of the thumb; zero at rest.
    [[nodiscard]] double alpha() const { return m_alpha; }
    /// In the bar's coordinates; empty when everything shows.
    [[nodiscard]] QRectF thumbRect() const;

    /// The heights of the content and of its visible part. The offset stays within what is left.
    void setExtents(double content, double page);
    /// Moves without showing the thumb.
    void setOffset(double offset);
    /// The user scrolls: moves, and shows the thumb for a while. Beyond either end means the end.
    void scrollTo(double offset);
    void scrollBy(double distance) { scrollTo(m_offset + distance); }

    /// After every change of the offset.
    std::function<void()> onScroll;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void showThumb();
    void rest();
    void fadeTo(double alpha, Platform::MainQueue::Duration duration);

    Platform::Appearance &m_appearance;
    Platform::MainQueue &m_queue;
    double m_content = 0;
    double m_page = 0;
    double m_offset = 0;
    double m_alpha = 0;
    double m_alphaGoal = 0;
    double m_grip = -1; ///< where the thumb is held, from its top; negative when it is not
    bool m_isHovered = false;
    Platform::Animation m_fade;
    Platform::MainQueue::Pending m_pendingFade;
};

} // namespace Brevio
