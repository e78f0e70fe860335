#pragma once

#include "Platform/Keyboard/KeyEvent.h"

#include <QString>

#include <vector>

namespace Platform {

class KeyboardLayout;

/// A physical key, as a virtual key code, and the modifiers held with it.
struct KeyCombination
{
    int keyCode = KeyEvent::unknownKeyCode;
    ModifierFlags modifiers = 0;
    friend bool operator==(const KeyCombination &, const KeyCombination &) = default;
};

/// What the running desktop (XDG_CURRENT_DESKTOP names it) has bound everywhere: GNOME, KDE and
/// Xfce are known; empty on any other and where the settings cannot be read. Asks afresh at every
/// call, on GNOME by running gsettings for at most a second. May name a combination twice.
/// Main thread only.
[[nodiscard]] std::vector<KeyCombination> reservedShortcuts(const KeyboardLayout &layout);

/// The formats in which desktops write combinations down. Entries that name no key of the table, or
/// a modifier that is not one of the four, are left out.
namespace ReservedShortcuts {

/// "<Primary><Alt>t", "<Super>Page_Up".
[[nodiscard]] std::optional<KeyCombination> fromAccelerator(const QString &text,
                                                            const KeyboardLayout &layout);
/// "Ctrl+Alt+T", "Meta+PgUp".
[[nodiscard]] std::optional<KeyCombination> fromKeySequence(const QString &text,
                                                            const KeyboardLayout &layout);

} // namespace ReservedShortcuts

} // namespace Platform
