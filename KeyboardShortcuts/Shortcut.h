#pragma once

#include "KeyboardShortcuts/Key.h"
#include "Platform/Keyboard/KeyEvent.h"

#include <QHashFunctions>
#include <QKeySequence>

class QAction;
class QWidget;

namespace KeyboardShortcuts {

class Name;

/// A physical key and the modifiers held with it. A value; never carries any but the five
/// modifiers that a shortcut can have.
class Shortcut final
{
public:
    Shortcut(Key key, Platform::ModifierFlags modifiers);
    Shortcut(std::int64_t carbonKeyCode, std::int64_t carbonModifiers);

    /// The combination that was pressed or released; none for any other event.
    [[nodiscard]] static std::optional<Shortcut> fromEvent(const Platform::KeyEvent &event);
    /// The name's current shortcut or none.
    [[nodiscard]] static std::optional<Shortcut> fromName(const Name &name);
    /// Reads the stored text; none unless it is a JSON object whose members "carbonKeyCode" and
    /// "carbonModifiers" are both integers of 32 unsigned bits.
    [[nodiscard]] static std::optional<Shortcut> fromJson(const QString &text);

    [[nodiscard]] std::int64_t carbonKeyCode() const { return m_carbonKeyCode; }
    [[nodiscard]] std::int64_t carbonModifiers() const { return m_carbonModifiers; }
    [[nodiscard]] Key key() const { return {m_carbonKeyCode}; }
    [[nodiscard]] Platform::ModifierFlags modifiers() const;

    /// The text to store; none when the key code does not fit 32 unsigned bits.
    [[nodiscard]] std::optional<QString> toJson() const;

    /// In symbols: "⇧⌘Space". U+FFFD stands for a key that types no single character.
    [[nodiscard]] QString presentableDescription() const;
    /// In this desktop's words: "Ctrl+Shift+Space".
    [[nodiscard]] QString nativeDescription() const;
    /// The character that the key types in the user's layout; none for a special key.
    [[nodiscard]] std::optional<QString> keyToCharacter() const;
    /// The character by which a menu knows the key; none for one that no menu can have.
    [[nodiscard]] std::optional<QString> nsMenuItemKeyEquivalent() const;
    /// For a menu to show; empty when no menu can have the key.
    [[nodiscard]] QKeySequence keySequence() const;
    /// The first item, at any depth of the menu (a QMenu or a QMenuBar), that has this shortcut;
    /// null when none has or there is no menu.
    [[nodiscard]] const QAction *menuItemWithMatchingShortcut(const QWidget *menu) const;

    friend bool operator==(const Shortcut &, const Shortcut &) = default;
    friend std::size_t qHash(const Shortcut &shortcut, std::size_t seed = 0)
    {
        return qHashMulti(seed, shortcut.m_carbonKeyCode, shortcut.m_carbonModifiers);
    }

private:
    std::int64_t m_carbonKeyCode;
    std::int64_t m_carbonModifiers;
};

} // namespace KeyboardShortcuts
