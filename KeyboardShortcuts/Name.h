#pragma once

#include "KeyboardShortcuts/Shortcut.h"

#include <QMetaType>

namespace KeyboardShortcuts {

/// A named, user-changeable global shortcut. A value; two are equal when their texts are. Creating
/// one (not copying it) stores its default, when it has one and nothing was ever stored under the
/// name, which also registers it with the system.
class Name final
{
public:
    /// Names nothing and stores nothing; what containers need.
    Name() = default;
    explicit Name(QString rawValue, std::optional<Shortcut> defaultShortcut = std::nullopt);

    /// The application's one name, which brings the card forward; Command-Shift-Space until the
    /// user changes it. Created on first use.
    [[nodiscard]] static Name summon();

    [[nodiscard]] const QString &rawValue() const { return m_rawValue; }
    [[nodiscard]] const std::optional<Shortcut> &defaultShortcut() const
    {
        return m_defaultShortcut;
    }

    [[nodiscard]] std::optional<Shortcut> shortcut() const;
    /// None clears it.
    void setShortcut(const std::optional<Shortcut> &shortcut) const;

    friend bool operator==(const Name &a, const Name &b) { return a.m_rawValue == b.m_rawValue; }
    friend std::size_t qHash(const Name &name, std::size_t seed = 0)
    {
        return qHash(name.m_rawValue, seed);
    }

private:
    QString m_rawValue;
    std::optional<Shortcut> m_defaultShortcut;
};

} // namespace KeyboardShortcuts

Q_DECLARE_METATYPE(KeyboardShortcuts::Name)
