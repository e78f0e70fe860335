#include "Platform/Screen/WorkArea.h"

namespace Platform::WorkArea {

namespace {

/// The strip of the desktop that the strut covers.
QRect strip(const Strut &strut, QSize desktop)
{
    const int length = strut.end - strut.start + 1;
    switch (strut.edge) {
    case Qt::LeftEdge:
        return {0, strut.start, strut.thickness, length};
    case Qt::RightEdge:
        return {desktop.width() - strut.thickness, strut.start, strut.thickness, length};
    case Qt::TopEdge:
        return {strut.start, 0, length, strut.thickness};
    case Qt::BottomEdge:
        break;
    }
    return {strut.start, desktop.height() - strut.thickness, length, strut.thickness};
}

} // namespace

QRect withoutStruts(QRect monitor, QSize desktop, const std::vector<Strut> &struts)
{
    QRect area = monitor;
    for (const auto &strut : struts) {
        const QRect covered = strip(strut, desktop) & monitor;
        if (covered.isEmpty())
            continue;
        QRect rest = area;
        // A bar at an inner edge of two monitors reserves room from the desktop's edge on, which
        // takes the whole of the outer monitor. It cannot mean that one.
        switch (strut.edge) {
        case Qt::LeftEdge:
            rest.setLeft(std::max(rest.left(), covered.right() + 1));
            break;
        case Qt::RightEdge:
            rest.setRight(std::min(rest.right(), covered.left() - 1));
            break;
        case Qt::TopEdge:
            rest.setTop(std::max(rest.top(), covered.bottom() + 1));
            break;
        case Qt::BottomEdge:
            rest.setBottom(std::min(rest.bottom(), covered.top() - 1));
            break;
        }
        if (!rest.isEmpty())
            area = rest;
    }
    return area;
}

} // namespace Platform::WorkArea
