#pragma once

#include <QString>

#include <cstdint>
#include <optional>

class QKeyEvent;

namespace Platform {

/// A set of held modifier keys, in the bits below. Right Alt that chooses a third level of symbols
/// (AltGr) is not Option.
using ModifierFlags = std::uint32_t;

namespace Modifier {
// clang-format off
inline constexpr ModifierFlags CapsLock   = 0x10000;
inline constexpr ModifierFlags Shift      = 0x20000;
inline constexpr ModifierFlags Control    = 0x40000;  ///< The Super key.
inline constexpr ModifierFlags Option     = 0x80000;  ///< The Alt key.
inline constexpr ModifierFlags Command    = 0x100000; ///< The Ctrl key.
inline constexpr ModifierFlags NumericPad = 0x200000; ///< The key is on the keypad.
inline constexpr ModifierFlags Function   = 0x800000; ///< Never set by an event here.
// clang-format on
} // namespace Modifier

/// One key going down or up, or one change of the held modifiers. The key code names a physical
/// position, whatever the layout puts there.
struct KeyEvent
{
    enum class Type { KeyDown, KeyUp, FlagsChanged };

    /// The code of a key that has no place in the table of key codes.
    static constexpr int unknownKeyCode = -1;

    Type type = Type::KeyDown;
    int keyCode = unknownKeyCode;
    /// Held after the event. In a FlagsChanged, what is missing is up.
    ModifierFlags modifiers = 0;
    /// What the key would type; may be empty.
    QString text;
    /// True for a key-down that the keyboard repeats while the key is held. Key-ups may come
    /// between the repetitions.
    bool isRepeat = false;

    /// The event of a press or release in Qt's terms. A modifier key gives a FlagsChanged.
    static KeyEvent from(const QKeyEvent &event);
};

/// The modifiers of a set of Qt's.
[[nodiscard]] ModifierFlags modifierFlags(Qt::KeyboardModifiers modifiers);

/// What the key itself adds to the flags while it is held: 0 for AltGr, Caps Lock and Num Lock,
/// none for a key that is no modifier.
[[nodiscard]] std::optional<ModifierFlags> flagOfModifierKey(int qtKey);

/// The key code of the kernel's (evdev) key, or KeyEvent::unknownKeyCode.
[[nodiscard]] int keyCodeOfEvdev(std::uint32_t evdevCode);
/// The reverse; none for a code that no keyboard here can send.
[[nodiscard]] std::optional<std::uint32_t> evdevOfKeyCode(int keyCode);

/// X numbers the same keys this much higher.
inline constexpr std::uint32_t xKeycodeOffset = 8;

/// What Qt calls the key on a US layout; Qt::Key_unknown when it has no name for it.
[[nodiscard]] Qt::Key qtKeyOfKeyCode(int keyCode);
/// The reverse, or KeyEvent::unknownKeyCode. Of the modifiers only the keypad's matters.
[[nodiscard]] int keyCodeOfQtKey(int key, Qt::KeyboardModifiers modifiers);

} // namespace Platform
