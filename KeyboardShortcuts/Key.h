#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace KeyboardShortcuts {

/// A physical key by its virtual key code, which is the same on every layout.
struct Key
{
    std::int64_t rawValue = 0;
    friend bool operator==(Key, Key) = default;

    static const Key a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w, x, y, z;
    static const Key zero, one, two, three, four, five, six, seven, eight, nine;
    static const Key capsLock, shift, function, control, option, command;
    static const Key rightCommand, rightOption, rightControl, rightShift;
    static const Key return_, backslash, backtick, comma, equal, minus, period, quote, semicolon;
    static const Key slash, space, tab, leftBracket, rightBracket;
    static const Key pageUp, pageDown, home, end, upArrow, rightArrow, downArrow, leftArrow;
    static const Key escape, delete_, deleteForward, help, mute, volumeUp, volumeDown;
    static const Key f1, f2, f3, f4, f5, f6, f7, f8, f9, f10;
    static const Key f11, f12, f13, f14, f15, f16, f17, f18, f19, f20;
    static const Key keypad0, keypad1, keypad2, keypad3, keypad4;
    static const Key keypad5, keypad6, keypad7, keypad8, keypad9;
    static const Key keypadClear, keypadDecimal, keypadDivide, keypadEnter, keypadEquals;
    static const Key keypadMinus, keypadMultiply, keypadPlus;
};

/// A key that types no printable character and is shown by a fixed text instead.
struct SpecialKey
{
    Key key;
    /// The symbol on the key.
    QString presentableDescription;
    /// What this desktop calls the key.
    QString nativeDescription;
    /// None for a key that cannot be a menu's.
    std::optional<QString> appKitMenuItemKeyEquivalent;
};

/// Whether the key is one of F1 to F20.
[[nodiscard]] bool isFunctionKey(Key key);

/// The special key of the code, or null.
[[nodiscard]] const SpecialKey *keyToSpecialKeyMapping(Key key);

} // namespace KeyboardShortcuts
