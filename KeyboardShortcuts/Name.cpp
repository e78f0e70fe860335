#include "KeyboardShortcuts/Name.h"

#include "KeyboardShortcuts/KeyboardShortcuts.h"

namespace KeyboardShortcuts {

Name::Name(QString rawValue, std::optional<Shortcut> defaultShortcut)
    : m_rawValue(std::move(rawValue))
    , m_defaultShortcut(defaultShortcut)
{
    if (m_defaultShortcut && !userDefaultsContains(*this))
        userDefaultsSet(*this, *m_defaultShortcut);
    initialize();
}

Name Name::summon()
{
    // The environment remembers it, so that another one starts from the beginning.
    auto &summon = summonOfEnvironment();
    if (!summon) {
        summon.emplace(
            QStringLiteral("summon"),
            Shortcut(Key::space, Platform::Modifier::Command | Platform::Modifier::Shift));
    }
    return *summon;
}

std::optional<Shortcut> Name::shortcut() const
{
    return getShortcut(*this);
}

void Name::setShortcut(const std::optional<Shortcut> &shortcut) const
{
    KeyboardShortcuts::setShortcut(shortcut, *this);
}

} // namespace KeyboardShortcuts
