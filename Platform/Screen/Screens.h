#pragma once

#include <QPointF>
#include <QRectF>

#include <memory>
#include <vector>

class QWidget;

namespace Platform {

/// One monitor. Both rectangles are in logical pixels with y growing upwards: x() and y() are the
/// bottom-left corner, seen from the bottom-left corner of the primary screen.
struct Screen
{
    QRectF frame;
    /// The frame without the bars and docks that reserve room along its edges.
    QRectF visibleFrame;

    bool operator==(const Screen &) const = default;
};

/// The monitors and the pointer. Every answer is fresh: a dock that appeared since counts.
/// All coordinates are as in Screen. Main thread only.
class Screens
{
public:
    virtual ~Screens() = default;

    /// The primary screen first. Empty when no monitor is connected.
    [[nodiscard]] virtual std::vector<Screen> list() const = 0;

    /// The bottom-left corner of the pixel under the pointer.
    [[nodiscard]] virtual QPointF mouseLocation() const = 0;

    /// The bottom-left corner of a window without decorations, wherever it is.
    [[nodiscard]] virtual QPointF originOf(const QWidget &window) const = 0;
    /// Moves the window there, to the nearest whole pixel.
    virtual void setOrigin(QWidget &window, QPointF origin) const = 0;

    /// Those of the desktop the application runs on. Never null.
    [[nodiscard]] static std::unique_ptr<Screens> createForDesktop();
};

/// Whether the pixel at `point` belongs to the rectangle; of two that share an edge, only one.
[[nodiscard]] inline bool containsPixel(const QRectF &rectangle, QPointF point)
{
    return point.x() >= rectangle.left() && point.x() < rectangle.right() &&
           point.y() >= rectangle.top() && point.y() < rectangle.bottom();
}

} // namespace Platform
