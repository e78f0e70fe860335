#include "Platform/Screen/X11.h"

#include <QGuiApplication>
#include <QHash>

#include <array>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace Platform::X11 {

namespace {

/// Far more than any of the lists read here, in 32-bit units.
constexpr std::uint32_t longestProperty = 4096;

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

/// What the first window needs. Asked for one by one, the program would wait for each.
constexpr std::array usualNames = {
    "ATOM",
    "CARDINAL",
    "WM_CLASS",
    "_NET_ACTIVE_WINDOW",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_CURRENT_DESKTOP",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_SYSTEM_TRAY_S0",
    "_NET_WM_CM_S0",
    "_NET_WM_DESKTOP",
    "_NET_WM_STATE",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_STATE_SKIP_PAGER",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_STATE_STICKY",
    "_NET_WM_STRUT",
    "_NET_WM_STRUT_PARTIAL",
    "_NET_WM_USER_TIME",
    "_NET_WORKAREA",
};

xcb_intern_atom_cookie_t askForAtom(xcb_connection_t *connection, const QByteArray &name)
{
    return xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()),
                           name.constData());
}

/// None when the server is gone.
Atom answeredAtom(xcb_connection_t *connection, xcb_intern_atom_cookie_t cookie)
{
    const ReplyPointer<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : Atom(XCB_ATOM_NONE);
}

QHash<QByteArray, Atom> usualAtoms(xcb_connection_t *connection)
{
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const char *name : usualNames)
        cookies.push_back(askForAtom(connection, name));
    QHash<QByteArray, Atom> atoms;
    for (std::size_t i = 0; i < cookies.size(); ++i)
        atoms.insert(usualNames[i], answeredAtom(connection, cookies[i]));
    return atoms;
}

} // namespace

std::optional<Server> Server::current()
{
    const auto *native =
        qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!native || !native->connection())
        return {};
    Server server;
    server.m_connection = native->connection();
    server.m_root = xcb_setup_roots_iterator(xcb_get_setup(server.m_connection)).data->root;
    return server;
}

Atom Server::atom(const QByteArray &name) const
{
    static auto atoms = usualAtoms(m_connection);
    auto &atom = atoms[name];
    if (atom == XCB_ATOM_NONE)
        atom = answeredAtom(m_connection, askForAtom(m_connection, name));
    return atom;
}

Window Server::ownerOf(const QByteArray &selection) const
{
    const ReplyPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, atom(selection)), nullptr));
    return reply ? reply->owner : Window(XCB_WINDOW_NONE);
}

Server::Question Server::ask(Window window, const QByteArray &property) const
{
    return {xcb_get_property(m_connection, 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0,
                             longestProperty)
                .sequence};
}

std::vector<std::uint32_t> Server::answer(Question question) const
{
    // A window may be gone by now; taking the error here keeps it out of Qt's hands.
    xcb_generic_error_t *error = nullptr;
    const ReplyPointer<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection, {question.sequence}, &error));
    const ReplyPointer<xcb_generic_error_t> discarded(error);
    if (!reply || reply->format != 32)
        return {};
    const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

Server::Question Server::askDesktopSize() const
{
    return {xcb_get_geometry(m_connection, m_root).sequence};
}

QSize Server::desktopSize(Question question) const
{
    const ReplyPointer<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(m_connection, {question.sequence}, nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

void Server::setValues(Window window, const QByteArray &property, const QByteArray &type,
                       const std::vector<std::uint32_t> &values) const
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

void Server::setText(Window window, const QByteArray &property, const QByteArray &text) const
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom(property),
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(text.size()),
                        text.constData());
}

void Server::tellManager(Window window, const QByteArray &message,
                         const std::vector<std::uint32_t> &values) const
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    std::copy_n(values.begin(), std::min<std::size_t>(values.size(), 5), event.data.data32);
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(m_connection);
}

bool Server::hasManager() const
{
    // A manager that died leaves its mark on the root; only a living one has the window it names.
    const QByteArray mark = "_NET_SUPPORTING_WM_CHECK";
    const auto named = values(m_root, mark);
    return !named.empty() && values(named.front(), mark) == named;
}

std::uint32_t Server::time() const
{
    // The time comes with an event, and Qt reads all events of its own connection.
    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
    };
    const std::unique_ptr<xcb_connection_t, Disconnect> own(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(own.get()) != 0)
        return 0;
    const auto window = xcb_generate_id(own.get());
    const std::uint32_t wanted = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(own.get(), XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &wanted);
    xcb_change_property(own.get(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, 0, nullptr);
    xcb_flush(own.get());
    while (const ReplyPointer<xcb_generic_event_t> event{xcb_wait_for_event(own.get())}) {
        if (event->response_type == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t *>(event.get())->time;
    }
    return 0;
}

Window Server::focus() const
{
    const ReplyPointer<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : Window(XCB_WINDOW_NONE);
}

void Server::setFocus(Window window, std::uint32_t time) const
{
    const auto cookie =
        xcb_set_input_focus_checked(m_connection, XCB_INPUT_FOCUS_PARENT, window, time);
    xcb_discard_reply(m_connection, cookie.sequence);
    xcb_flush(m_connection);
}

} // namespace Platform::X11
