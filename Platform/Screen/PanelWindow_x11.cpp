#include "Platform/Screen/PanelWindow_x11.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Core/X11Events.h"
#include "Platform/Screen/X11.h"

#include <QApplication>
#include <QBitmap>
#include <QEvent>
#include <QPainter>
#include <QWidget>

#include <chrono>

#include <xcb/xcb.h>

namespace Platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto windowClass = "brevio\0Brevio\0";
constexpr auto windowClassLength = 14;
constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
/// "A direct user action": unlike an application's own wish it is not weighed against what the user
/// did in the meantime.
constexpr std::uint32_t sourceUser = 2;
/// Logical pixels by which the mask's corners are rounder than the window's own where nothing
/// composes the screen: their smoothed edge would be black there.
constexpr double insideSmoothEdge = 1.5;
/// And by which they are less round where a compositor runs, to leave the smoothed edge alone.
/// Compositors lay their shadow around the mask; without one it would stop at the window's square.
constexpr double outsideSmoothEdge = 1.0;
/// A window manager that has not handed over the keyboard by then has refused to.
constexpr auto answerTime = std::chrono::milliseconds(500);

class X11PanelWindow final : public QObject, public PanelWindow
{
public:
    X11PanelWindow(QWidget &window, double cornerRadius)
        : m_window(window)
        , m_cornerRadius(cornerRadius)
    {
        window.installEventFilter(this);
    }

    void present() override;
    void dismiss() override;
    bool isKey() const override;
    void setOpacity(double opacity) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] X11::Window handle() const { return static_cast<X11::Window>(m_window.winId()); }
    [[nodiscard]] bool isComposed() const { return m_server.ownerOf("_NET_WM_CM_S0") != 0; }
    X11Verdict filterXEvent(const X11Event &event);
    void paintAhead();
    void cutCorners(bool isComposed);
    void showOpacity(bool isComposed);
    void stateWishes();
    void restateSticky();
    void noticeKeyboard();
    void takeKeyboard(bool hasManager);

    X11::Server m_server = *X11::Server::current();
    QWidget &m_window;
    double m_cornerRadius;
    double m_opacity = 1.0;
    /// What the window's mask was made for, once there is one.
    struct Cut
    {
        QSize size;
        bool isForComposed;
        bool operator==(const Cut &) const = default;
    };
    std::optional<Cut> m_cut;
    /// Who had the keyboard before us. Only kept where no window manager remembers it.
    X11::Window m_previousFocus = 0;
    /// Whether the window manager has let the window appear. Until then its state changes by our
    /// own wishes alone.
    bool m_isMapped = false;
    /// When the keyboard was asked for, until it came.
    std::optional<SteadyClock::time_point> m_asked;
    const Subscription m_xEvents =
        onX11Event([this](const X11Event &event) { return filterXEvent(event); });
};

void X11PanelWindow::present()
{
    const bool wasVisible = m_window.isVisible();
    if (!wasVisible) {
        const bool composed = isComposed();
        cutCorners(composed);
        showOpacity(composed);
        stateWishes();
        m_isMapped = false;
    }
    // Asked before the window manager is given work: during that it lets nobody else be answered.
    const bool hasManager = m_server.hasManager();
    m_window.show();
    m_window.raise();
    if (!wasVisible || m_server.focus() != handle())
        takeKeyboard(hasManager);
    if (!wasVisible)
        paintAhead();
}

/// Paints while the window manager is at work, so that only copying is left when it is done.
void X11PanelWindow::paintAhead()
{
    m_window.setAttribute(Qt::WA_Mapped); // else Qt waits for the window to appear
    // The showing has asked for the whole to be painted later; once is enough.
    QCoreApplication::removePostedEvents(&m_window, QEvent::UpdateLater);
    m_window.repaint();
}

/// A mask set on a visible window would only count at its next showing, and a compositor may come
/// and go between two of them.
void X11PanelWindow::cutCorners(bool isComposed)
{
    const Cut cut{m_window.size(), isComposed};
    if (m_cut == cut)
        return;
    m_cut = cut;
    QBitmap mask(m_window.size());
    mask.fill(Qt::color0);
    QPainter painter(&mask);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::color1);
    const double radius = m_cornerRadius + (isComposed ? -outsideSmoothEdge : insideSmoothEdge);
    painter.drawRoundedRect(QRectF(m_window.rect()), radius, radius);
    painter.end();
    m_window.setMask(mask);
}

/// Window managers take these away when a window is hidden, so they are stated at every showing.
void X11PanelWindow::stateWishes()
{
    m_server.setText(handle(), "WM_CLASS", QByteArray(windowClass, windowClassLength));
    m_server.setValues(handle(), "_NET_WM_DESKTOP", "CARDINAL", {allDesktops});
    m_server.setValues(handle(), "_NET_WM_STATE", "ATOM",
                       {m_server.atom("_NET_WM_STATE_ABOVE"), m_server.atom("_NET_WM_STATE_STICKY"),
                        m_server.atom("_NET_WM_STATE_SKIP_TASKBAR"),
                        m_server.atom("_NET_WM_STATE_SKIP_PAGER")});
    // Zero would say that the window must not be focused.
    if (const auto time = UserTime::latest(); time != 0)
        m_server.setValues(handle(), "_NET_WM_USER_TIME", "CARDINAL", {time});
}

void X11PanelWindow::takeKeyboard(bool hasManager)
{
    m_asked = SteadyClock::now();
    if (hasManager) {
        m_previousFocus = 0;
        m_server.tellManager(handle(), "_NET_ACTIVE_WINDOW", {sourceUser, UserTime::latest(), 0});
    } else {
        m_previousFocus = m_server.focus();
        // Qt's request to show the window is ahead of this one on the same connection.
        m_server.setFocus(handle(), 0);
    }
}

void X11PanelWindow::dismiss()
{
    const bool hadKeyboard = isKey();
    m_asked.reset();
    m_window.hide();
    if (const auto previous = std::exchange(m_previousFocus, 0); previous != 0 && hadKeyboard)
        m_server.setFocus(previous, 0);
}

bool X11PanelWindow::isKey() const
{
    if (!m_window.isVisible())
        return false;
    // The server is asked because Qt takes a grab of the keyboard for a loss of the focus.
    if (m_asked && SteadyClock::now() - *m_asked < answerTime)
        return true;
    return m_server.focus() == handle();
}

void X11PanelWindow::setOpacity(double opacity)
{
    m_opacity = opacity;
    // What a hidden window has missed is made up for when it is presented.
    if (m_window.isVisible())
        showOpacity(isComposed());
}

void X11PanelWindow::showOpacity(bool isComposed)
{
    m_window.setWindowOpacity(isComposed ? m_opacity : 1.0);
}

bool X11PanelWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_window && event->type() == QEvent::WindowActivate)
        m_asked.reset();
    return false;
}

X11Verdict X11PanelWindow::filterXEvent(const X11Event &event)
{
    if (m_window.internalWinId() == 0)
        return X11Verdict::Pass; // and none is made for an event of another window
    // Qt drops the activation of a window that loses the keyboard again at once.
    if (event.kind == XCB_FOCUS_IN && event.as<xcb_focus_in_event_t>().event == handle()) {
        m_asked.reset();
        QMetaObject::invokeMethod(this, &X11PanelWindow::noticeKeyboard, Qt::QueuedConnection);
    }
    if (event.kind == XCB_MAP_NOTIFY && event.as<xcb_map_notify_event_t>().window == handle()) {
        m_isMapped = true;
        // Painting comes first.
        QMetaObject::invokeMethod(this, &X11PanelWindow::restateSticky, Qt::QueuedConnection);
    }
    if (event.kind == XCB_PROPERTY_NOTIFY) {
        const auto &change = event.as<xcb_property_notify_event_t>();
        if (change.window == handle() && change.atom == m_server.atom("_NET_WM_STATE")) {
            // Qt would read each of the wishes again; with the mapping it reads the outcome anyway.
            if (!m_isMapped)
                return X11Verdict::Swallow;
            restateSticky();
        }
    }
    return X11Verdict::Pass;
}

/// A window that is hidden and shown again within a moment never lost the keyboard as far as Qt's
/// windows know, while its widgets do know: keys would arrive, and no caret would show where.
void X11PanelWindow::noticeKeyboard()
{
    if (m_window.isVisible() && !QApplication::activeWindow() &&
        QGuiApplication::focusWindow() == m_window.windowHandle())
        QApplication::setActiveWindow(&m_window);
}

/// Some window managers keep the window on all workspaces and yet leave that out of its state.
void X11PanelWindow::restateSticky()
{
    if (!m_window.isVisible())
        return;
    const auto sticky = m_server.atom("_NET_WM_STATE_STICKY");
    const auto stateQuestion = m_server.ask(handle(), "_NET_WM_STATE");
    const auto desktopQuestion = m_server.ask(handle(), "_NET_WM_DESKTOP");
    auto states = m_server.answer(stateQuestion);
    const auto desktop = m_server.answer(desktopQuestion);
    if (states.empty() || std::find(states.begin(), states.end(), sticky) != states.end() ||
        desktop != std::vector{allDesktops})
        return;
    states.push_back(sticky);
    m_server.setValues(handle(), "_NET_WM_STATE", "ATOM", states);
}

} // namespace

std::unique_ptr<PanelWindow> createPanelWindowOnX11(QWidget &window, double cornerRadius)
{
    return std::make_unique<X11PanelWindow>(window, cornerRadius);
}

} // namespace Platform
