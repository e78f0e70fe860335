#pragma once

#include <QList>
#include <QRect>

#include <vector>

class QScreen;

namespace Platform::WorkArea {

/// Room that a bar or dock reserves along one edge of the whole desktop, in device pixels. The
/// range is where along that edge the bar stands, both ends included.
struct Strut
{
    Qt::Edge edge;
    int thickness;
    int start;
    int end;
};

/// What is left of a monitor when the struts that lie on it are taken away. Device pixels, y
/// growing downwards. A strut that would leave nothing is ignored.
[[nodiscard]] QRect withoutStruts(QRect monitor, QSize desktop, const std::vector<Strut> &struts);

/// The part of each screen that bars and docks leave free, now, in Qt's coordinates. To be asked of
/// all screens at once.
[[nodiscard]] std::vector<QRectF> of(const QList<QScreen *> &screens);

} // namespace Platform::WorkArea
