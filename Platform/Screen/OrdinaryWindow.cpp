#include "Platform/Screen/OrdinaryWindow.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Core/X11Events.h"
#include "Platform/Screen/X11.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <algorithm>

#include <xcb/xcb.h>

namespace Platform::OrdinaryWindow {

namespace {

/// As the window manager knows them.
constexpr std::uint32_t sourceUser = 2;
constexpr std::uint32_t iconicState = 3;
constexpr auto stackingProperty = "_NET_CLIENT_LIST_STACKING";

bool isOurs(X11::Window window)
{
    const auto windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(), [window](const QWindow *each) {
        return each->handle() != nullptr && each->winId() == window;
    });
}

/// Follows the window manager's own list of who stands above whom: windows come forward by clicks
/// that move no focus as well.
class Foreground final : public QObject
{
public:
    explicit Foreground(QWidget &window)
        : m_window(window)
    {
        // Without a manager only our own windows come forward, and always with the keyboard.
        connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](QWindow *focused) {
            if (focused != nullptr && m_window.isVisible() && !m_server.hasManager() &&
                isRival(*focused))
                m_window.raise();
        });
    }

private:
    void noticeStacking(const X11Event &event)
    {
        if (event.kind != XCB_PROPERTY_NOTIFY || !m_window.isVisible())
            return;
        const auto &change = event.as<xcb_property_notify_event_t>();
        if (change.window == m_server.root() && change.atom == m_server.atom(stackingProperty))
            restack();
    }

    void restack()
    {
        const auto windows = QGuiApplication::topLevelWindows();
        if (std::none_of(windows.begin(), windows.end(),
                         [this](const QWindow *each) { return isRival(*each); }))
            return; // before the server is asked
        const auto stack = m_server.values(m_server.root(), stackingProperty);
        const auto own = static_cast<X11::Window>(m_window.winId());
        const auto place = std::find(stack.begin(), stack.end(), own);
        if (place == stack.end())
            return;
        // Not raised plainly: window managers take that for a wish for the keyboard.
        const auto highest = std::find_if(stack.rbegin(), std::make_reverse_iterator(place + 1),
                                          [this](X11::Window each) { return isRivals(each); });
        if (highest.base() != place + 1)
            putAbove(own, *highest);
    }

    /// The window manager may have put the two into frames of their own, so that the server would
    /// refuse the plain request; this is how it is then put to the manager.
    void putAbove(X11::Window window, X11::Window sibling) const
    {
        xcb_configure_request_event_t wish{};
        wish.response_type = XCB_CONFIGURE_REQUEST;
        wish.parent = m_server.root();
        wish.window = window;
        wish.sibling = sibling;
        wish.stack_mode = XCB_STACK_MODE_ABOVE;
        wish.value_mask = XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE;
        xcb_send_event(m_server.connection(), 0, m_server.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&wish));
        xcb_flush(m_server.connection());
    }

    bool isRivals(X11::Window id) const
    {
        const auto windows = QGuiApplication::topLevelWindows();
        return std::any_of(windows.begin(), windows.end(), [this, id](const QWindow *each) {
            return isRival(*each) && each->winId() == id;
        });
    }

    /// Sheets are no rivals: they belong in front.
    bool isRival(const QWindow &other) const
    {
        return other.isVisible() && other.handle() != nullptr &&
               &other != m_window.windowHandle() &&
               other.flags().testFlag(Qt::WindowStaysOnTopHint) &&
               other.transientParent() == nullptr && other.modality() == Qt::NonModal;
    }

    X11::Server m_server = *X11::Server::current();
    QWidget &m_window;
    const Subscription m_xEvents = onX11Event([this](const X11Event &event) {
        noticeStacking(event);
        return X11Verdict::Pass;
    });
};

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
    // A window manager may leave a window where it is, on a workspace that nobody looks at.
    if (server && window.isVisible()) {
        const auto here = server->values(server->root(), "_NET_CURRENT_DESKTOP");
        if (!here.empty() && server->values(handle, "_NET_WM_DESKTOP") != here)
            server->tellManager(handle, "_NET_WM_DESKTOP", {here.front(), sourceUser});
    }
    window.show();
    window.raise();
    if (!server)
        window.activateWindow();
    else if (server->hasManager())
        server->tellManager(handle, "_NET_ACTIVE_WINDOW", {sourceUser, UserTime::latest(), 0});
    else
        server->setFocus(handle, 0);
}

Subscription keepInFrontOfOwn(QWidget &window)
{
    return X11::Server::current() ? std::make_shared<Foreground>(window) : nullptr;
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
