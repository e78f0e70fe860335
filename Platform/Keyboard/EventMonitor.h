#pragma once

#include "Platform/Core/Observable.h"
#include "Platform/Keyboard/KeyEvent.h"

#include <QPoint>

class QWidget;

namespace Platform {

/// The kinds of event that a monitor can ask for, one bit each.
using EventMask = std::uint32_t;

namespace EventKind {
// clang-format off
inline constexpr EventMask LeftMouseUp  = 1U << 2;
inline constexpr EventMask RightMouseUp = 1U << 4;
inline constexpr EventMask KeyDown      = 1U << 10;
inline constexpr EventMask KeyUp        = 1U << 11;
inline constexpr EventMask FlagsChanged = 1U << 12;
// clang-format on
} // namespace EventKind

/// One event on its way to one of the program's own windows.
struct MonitoredEvent
{
    /// One of the bits above.
    EventMask kind = 0;
    /// The top-level window that the event is for; none for a window that is no widget.
    QWidget *window = nullptr;
    /// Meaningful for the key kinds.
    KeyEvent key;
    /// Meaningful for the mouse kinds. Logical pixels, y growing downwards.
    QPoint globalPosition;
};

enum class EventVerdict {
    Pass,    ///< The event goes on to the focused widget.
    Swallow, ///< A key press goes nowhere: no widget, no shortcut. Other kinds cannot be held back.
};

/// When a monitor sees keys going down and up. Everything else, the changes of the modifiers
/// included, reaches the monitors of windows always and those of menus never.
enum class MonitorScope {
    Windows, ///< While no menu or other pop-up of the program is open.
    Menus,   ///< While one is.
};

/// Shows a handler the key and mouse events of the program's own windows before any widget sees
/// them, for as long as the returned subscription lives. Handlers are asked in the order in which
/// they were added, until one swallows. Keys that an input method takes are never seen.
///
/// Whoever waits for a modifier to come up can rely on it: when a window is about to lose the
/// keyboard, and when a grab has eaten the release, a FlagsChanged without that modifier is
/// delivered (in the first case while the window still is the active one). A modifier that was
/// held before the window got the keyboard is not announced. Main thread only.
[[nodiscard]] Subscription
addLocalMonitor(EventMask mask, std::function<EventVerdict(const MonitoredEvent &)> handler,
                MonitorScope scope = MonitorScope::Windows);

/// While held, every key goes to the window, also those that the desktop, another program or a hot
/// key of our own would take; they are the desktop's again when the window goes or is hidden. Where
/// the system refuses, keys go where they went before. Main thread only.
[[nodiscard]] Subscription holdKeyboard(QWidget *window);

} // namespace Platform
