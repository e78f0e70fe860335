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

/// What bars, docks and shells say about the desktop at one moment.
struct Statements
{
    QSize desktop;
    std::vector<Strut> struts;
    /// What a shell says is left, four numbers each: of the monitors of the current workspace, and
    /// of the whole desktop on each workspace.
    std::vector<std::uint32_t> monitorAreas;
    std::vector<std::uint32_t> desktopAreas;
    std::size_t workspace = 0;
};

/// Asks in two rounds, for waiting is what takes the time.
Statements currentStatements(const X11::Server &server)
{
    const auto size = server.askDesktopSize();
    const auto windows = server.ask(server.root(), "_NET_CLIENT_LIST");
    const auto workspace = server.ask(server.root(), "_NET_CURRENT_DESKTOP");
    const auto desktopAreas = server.ask(server.root(), "_NET_WORKAREA");

    Statements result;
    result.desktop = server.desktopSize(size);
    struct Questions
    {
        X11::Server::Question partial;
        X11::Server::Question full;
    };
    std::vector<Questions> questions;
    for (const auto window : server.answer(windows))
        questions.push_back(
            {server.ask(window, "_NET_WM_STRUT_PARTIAL"), server.ask(window, "_NET_WM_STRUT")});
    if (const auto current = server.answer(workspace); !current.empty())
        result.workspace = current.front();
    const auto monitorAreas = server.ask(
        server.root(), "_GTK_WORKAREAS_D" + QByteArray::number(qulonglong(result.workspace)));
    result.desktopAreas = server.answer(desktopAreas);

    for (const auto &question : questions) {
        const auto partial = server.answer(question.partial);
        const auto full = server.answer(question.full);
        appendStruts(result.struts, partial.empty() ? full : partial, result.desktop);
    }
    result.monitorAreas = server.answer(monitorAreas);
    return result;
}

/// Shells whose bars are no windows state what is left instead: per monitor where they can, else
/// as one rectangle, which says something about a monitor only when it is the only one.
QRect withinStatedAreas(QRect area, QRect monitor, bool isOnlyMonitor, const Statements &statements)
{
    const auto rectangleAt = [](const std::vector<std::uint32_t> &values, std::size_t index) {
        if (values.size() < 4 * (index + 1))
            return QRect();
        const auto value = [&](std::size_t i) { return static_cast<int>(values[4 * index + i]); };
        return QRect(value(0), value(1), value(2), value(3));
    };
    QRect stated;
    for (std::size_t i = 0; 4 * (i + 1) <= statements.monitorAreas.size(); ++i) {
        if (monitor.contains(rectangleAt(statements.monitorAreas, i)))
            stated = rectangleAt(statements.monitorAreas, i);
    }
    if (stated.isEmpty() && isOnlyMonitor)
        stated = rectangleAt(statements.desktopAreas, statements.workspace);
    const QRect both = area & stated;
    return both.isEmpty() ? area : both;
}

} // namespace

std::vector<QRectF> of(const QList<QScreen *> &screens)
{
    std::vector<QRectF> areas;
    const auto server = X11::Server::current();
    const auto statements = server ? currentStatements(*server) : Statements();
    for (const QScreen *screen : screens) {
        if (!server) {
            areas.push_back(screen->availableGeometry());
            continue;
        }
        // Qt keeps a screen's corner in device pixels and scales only its size.
        const double scale = screen->devicePixelRatio();
        const QRect geometry = screen->geometry();
        const QRect monitor(geometry.topLeft(), (QSizeF(geometry.size()) * scale).toSize());
        const QRect area =
            withinStatedAreas(withoutStruts(monitor, statements.desktop, statements.struts),
                              monitor, screen->virtualSiblings().size() == 1, statements);
        const QPointF corner = QPointF(area.topLeft() - monitor.topLeft()) / scale;
        areas.emplace_back(QPointF(monitor.topLeft()) + corner, QSizeF(area.size()) / scale);
    }
    return areas;
}

} // namespace Platform::WorkArea
