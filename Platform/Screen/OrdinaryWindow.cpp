#include "Platform/Screen/OrdinaryWindow.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Screen/X11.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

namespace Platform::OrdinaryWindow {

namespace {

/// As the window manager knows them.
constexpr std::uint32_t sourceUser = 2;
constexpr std::uint32_t iconicState = 3;

bool isOurs(X11::Window window)
{
    const auto windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(), [window](const QWindow *each) {
        return each->handle() != nullptr && each->winId() == window;
    });
}

} // namespace

void noteUserAction()
{
    if (const auto server = X11::Server::current())
        UserTime::note(server->time());
}

void bringToFront(QWidget &window)
{
    noteUserAction();
    const auto server = X11::Server::current();
    const auto handle = static_cast<X11::Window>(window.winId());
    if (server && UserTime::latest() != 0)
        server->setValues(handle, "_NET_WM_USER_TIME", "CARDINAL", {UserTime::latest()});
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    if (!server)
        window.activateWindow();
    else if (server->hasManager())
        server->tellManager(handle, "_NET_ACTIVE_WINDOW", {sourceUser, UserTime::latest(), 0});
    else
        server->setFocus(handle, 0);
}

void hideOthers()
{
    const auto server = X11::Server::current();
    if (!server)
        return;
    for (const auto window : server->values(server->root(), "_NET_CLIENT_LIST")) {
        const auto states = server->values(window, "_NET_WM_STATE");
        // Panels and the desktop itself keep out of task bars; hiding them helps nobody.
        const bool isFurniture =
            std::find(states.begin(), states.end(), server->atom("_NET_WM_STATE_SKIP_TASKBAR")) !=
            states.end();
        if (!isFurniture && !isOurs(window))
            server->tellManager(window, "WM_CHANGE_STATE", {iconicState});
    }
}

} // namespace Platform::OrdinaryWindow
