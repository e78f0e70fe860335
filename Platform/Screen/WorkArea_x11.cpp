#include "Platform/Screen/WorkArea.h"

#include "Platform/Screen/X11.h"

#include <QScreen>

#include <array>

namespace Platform::WorkArea {

namespace {

/// _NET_WM_STRUT_PARTIAL: thickness at left, right, top, bottom, then where each starts and ends.
constexpr std::array strutEdges = {Qt::LeftEdge, Qt::RightEdge, Qt::TopEdge, Qt::BottomEdge};
constexpr std::size_t strutLength = 4;
constexpr std::size_t partialStrutLength = 12;

void appendStruts(std::vector<Strut> &struts, const std::vector<std::uint32_t> &values,
                  QSize desktop)
{
    if (values.size() < strutLength)
        return;
    const bool partial = values.size() >= partialStrutLength;
    for (std::size_t i = 0; i < strutLength; ++i) {
        const auto edge = strutEdges[i];
        const bool vertical = edge == Qt::LeftEdge || edge == Qt::RightEdge;
        const int length = vertical ? desktop.height() : desktop.width();
        const int start = partial ? static_cast<int>(values[strutLength + 2 * i]) : 0;
        const int end = partial ? static_cast<int>(values[strutLength + 2 * i + 1]) : length - 1;
        if (values[i] != 0 && end >= start)
            struts.push_back({edge, static_cast<int>(values[i]), start, end});
    }
}

std::vector<Strut> currentStruts(const X11::Server &server)
{
    // All questions go out before the first answer is waited for.
    struct Questions
    {
        X11::Server::Question partial;
        X11::Server::Question full;
    };
    std::vector<Questions> questions;
    for (const auto window : server.values(server.root(), "_NET_CLIENT_LIST"))
        questions.push_back(
            {server.ask(window, "_NET_WM_STRUT_PARTIAL"), server.ask(window, "_NET_WM_STRUT")});
    std::vector<Strut> struts;
    for (const auto &question : questions) {
        auto values = server.answer(question.partial);
        const auto full = server.answer(question.full);
        appendStruts(struts, values.empty() ? full : values, server.desktopSize());
    }
    return struts;
}

/// Shells whose bars are no windows state what is left instead: per monitor where they can, else
/// as one rectangle, which says something about a monitor only when it is the only one.
QRect withinStatedAreas(QRect area, QRect monitor, bool onlyMonitor, const X11::Server &server)
{
    const auto desktops = server.values(server.root(), "_NET_CURRENT_DESKTOP");
    const std::size_t current = desktops.empty() ? 0 : desktops.front();
    const auto rectangleAt = [](const std::vector<std::uint32_t> &values, std::size_t index) {
        if (values.size() < 4 * (index + 1))
            return QRect();
        const auto value = [&](std::size_t i) { return static_cast<int>(values[4 * index + i]); };
        return QRect(value(0), value(1), value(2), value(3));
    };
    QRect stated;
    const auto perMonitor =
        server.values(server.root(), "_GTK_WORKAREAS_D" + QByteArray::number(int(current)));
    for (std::size_t i = 0; 4 * (i + 1) <= perMonitor.size(); ++i) {
        if (monitor.contains(rectangleAt(perMonitor, i)))
            stated = rectangleAt(perMonitor, i);
    }
    if (stated.isEmpty() && onlyMonitor)
        stated = rectangleAt(server.values(server.root(), "_NET_WORKAREA"), current);
    const QRect both = area & stated;
    return both.isEmpty() ? area : both;
}

} // namespace

QRectF of(const QScreen &screen)
{
    const auto server = X11::Server::current();
    if (!server)
        return screen.availableGeometry();
    // Qt keeps a screen's corner in device pixels and scales only its size.
    const double scale = screen.devicePixelRatio();
    const QRect geometry = screen.geometry();
    const QRect monitor(geometry.topLeft(), (QSizeF(geometry.size()) * scale).toSize());
    const QRect area =
        withinStatedAreas(withoutStruts(monitor, server->desktopSize(), currentStruts(*server)),
                          monitor, screen.virtualSiblings().size() == 1, *server);
    return QRectF(QPointF(monitor.topLeft()) + QPointF(area.topLeft() - monitor.topLeft()) / scale,
                  QSizeF(area.size()) / scale);
}

} // namespace Platform::WorkArea
