#pragma once

#include "Platform/Keyboard/KeyEvent.h"

#include <QString>

namespace KeyboardShortcuts {

/// The five modifiers that a shortcut can have, as its stored bits; every other bit is dropped.
[[nodiscard]] std::int64_t carbonModifiers(Platform::ModifierFlags flags);
/// The reverse.
[[nodiscard]] Platform::ModifierFlags modifierFlags(std::int64_t carbonModifiers);

/// The modifiers as symbols, in the fixed order "⌃⌥⇧⌘🌐︎".
[[nodiscard]] QString ks_symbolicRepresentation(Platform::ModifierFlags flags);
/// The modifiers in this desktop's words, each with its plus sign: "Ctrl+Shift+".
[[nodiscard]] QString nativeRepresentation(Platform::ModifierFlags flags);

/// The text that people read for one of the module's keys, or the key itself when it has none.
[[nodiscard]] QString localized(QStringView key);

} // namespace KeyboardShortcuts
