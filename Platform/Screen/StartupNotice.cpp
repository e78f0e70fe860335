#include "Platform/Screen/StartupNotice.h"

#include "Platform/Screen/X11.h"

#include <algorithm>

#include <xcb/xcb.h>

namespace Platform {

namespace {

constexpr qsizetype partLength = 20; // bytes, what one event carries

QByteArray quoted(QByteArray value)
{
    return '"' + value.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

} // namespace

void endStartupNotice(const QByteArray &startupId)
{
    const auto server = X11::Server::current();
    if (!server || startupId.isEmpty())
        return;
    // The text's closing zero is part of it.
    const QByteArray text = "remove: ID=" + quoted(startupId) + '\0';
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    // Names the conversation; the windows that others name theirs by are not ours.
    event.window = xcb_generate_id(server->connection());
    event.type = server->atom("_NET_STARTUP_INFO_BEGIN");
    for (qsizetype at = 0; at < text.size(); at += partLength) {
        const QByteArray part = text.mid(at, partLength);
        std::fill(std::copy(part.begin(), part.end(), event.data.data8), std::end(event.data.data8),
                  std::uint8_t{0});
        xcb_send_event(server->connection(), 0, server->root(), XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char *>(&event));
        event.type = server->atom("_NET_STARTUP_INFO");
    }
    xcb_flush(server->connection());
}

} // namespace Platform
