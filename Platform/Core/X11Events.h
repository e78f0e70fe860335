#pragma once

#include "Platform/Core/Observable.h"

#include <cstdint>

namespace Platform {

/// One event from the X server.
struct X11Event
{
    std::uint8_t kind; ///< As XCB_KEY_PRESS, or what the server gave an extension.
    bool isSent;       ///< By another client, which may say what it likes.
    const void *raw;

    /// The server's own structure, which is the one that the kind says.
    template <class Event>
    [[nodiscard]] const Event &as() const
    {
        return *static_cast<const Event *>(raw);
    }
};

/// What becomes of an event: Qt gets it, or never hears of it.
enum class X11Verdict { Pass, Swallow };

/// Calls the handler with each of the application's events, ahead of Qt, while the subscription
/// lives. The latest subscriber is asked first; after a Swallow nobody is. Without an X server
/// there are no events. Needs the application; main thread only.
[[nodiscard]] Subscription onX11Event(std::function<X11Verdict(const X11Event &)> handler);

} // namespace Platform
