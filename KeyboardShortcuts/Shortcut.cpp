#include "KeyboardShortcuts/Shortcut.h"

#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "KeyboardShortcuts/Utilities.h"
#include "Platform/Keyboard/KeyboardLayout.h"

#include <QAction>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>

#include <cmath>
#include <limits>
#include <utility>

namespace KeyboardShortcuts {

namespace {

constexpr std::int64_t maxStoredNumber = std::numeric_limits<std::uint32_t>::max();
constexpr char16_t unknownKey = u'\uFFFD';

std::optional<std::int64_t> storedNumber(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number < 0 || number > static_cast<double>(maxStoredNumber) || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

QString capitalised(const QString &text)
{
    return text.left(1).toUpper() + text.mid(1);
}

} // namespace

Shortcut::Shortcut(Key key, Platform::ModifierFlags modifiers)
    : m_carbonKeyCode(key.rawValue)
    , m_carbonModifiers(KeyboardShortcuts::carbonModifiers(modifiers))
{}

Shortcut::Shortcut(std::int64_t carbonKeyCode, std::int64_t carbonModifiers)
    : Shortcut(Key{carbonKeyCode}, modifierFlags(carbonModifiers))
{}

std::optional<Shortcut> Shortcut::fromEvent(const Platform::KeyEvent &event)
{
    if (event.type == Platform::KeyEvent::Type::FlagsChanged ||
        event.keyCode == Platform::KeyEvent::unknownKeyCode)
        return std::nullopt;
    return Shortcut(Key{event.keyCode}, event.modifiers & ~Platform::Modifier::Function);
}

std::optional<Shortcut> Shortcut::fromName(const Name &name)
{
    return getShortcut(name);
}

std::optional<Shortcut> Shortcut::fromJson(const QString &text)
{
    const auto object = QJsonDocument::fromJson(text.toUtf8()).object();
    const auto keyCode = storedNumber(object.value(QLatin1String("carbonKeyCode")));
    const auto modifiers = storedNumber(object.value(QLatin1String("carbonModifiers")));
    if (!keyCode || !modifiers)
        return std::nullopt;
    return Shortcut(*keyCode, *modifiers);
}

Platform::ModifierFlags Shortcut::modifiers() const
{
    return modifierFlags(m_carbonModifiers);
}

std::optional<QString> Shortcut::toJson() const
{
    if (m_carbonKeyCode < 0 || m_carbonKeyCode > maxStoredNumber)
        return std::nullopt;
    return QStringLiteral(R"({"carbonKeyCode":%1,"carbonModifiers":%2})")
        .arg(m_carbonKeyCode)
        .arg(m_carbonModifiers);
}

QString Shortcut::presentableDescription() const
{
    const auto *special = keyToSpecialKeyMapping(key());
    return ks_symbolicRepresentation(modifiers()) +
           (special ? special->presentableDescription
                    : capitalised(keyToCharacter().value_or(QString(QChar(unknownKey)))));
}

QString Shortcut::nativeDescription() const
{
    const auto *special = keyToSpecialKeyMapping(key());
    return nativeRepresentation(modifiers()) +
           (special ? special->nativeDescription
                    : capitalised(keyToCharacter().value_or(QString(QChar(unknownKey)))));
}

std::optional<QString> Shortcut::keyToCharacter() const
{
    if (keyToSpecialKeyMapping(key()))
        return std::nullopt;
    const auto text =
        std::in_range<int>(m_carbonKeyCode)
            ? environment().keyboardLayout.character(static_cast<int>(m_carbonKeyCode))
            : QString();
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

std::optional<QString> Shortcut::nsMenuItemKeyEquivalent() const
{
    if (const auto *special = keyToSpecialKeyMapping(key()))
        return special->appKitMenuItemKeyEquivalent;
    return keyToCharacter();
}

QKeySequence Shortcut::keySequence() const
{
    const auto equivalent = nsMenuItemKeyEquivalent();
    if (!equivalent)
        return {};
    Qt::KeyboardModifiers held;
    const auto flags = modifiers();
    held.setFlag(Qt::ControlModifier, (flags & Platform::Modifier::Command) != 0);
    held.setFlag(Qt::ShiftModifier, (flags & Platform::Modifier::Shift) != 0);
    held.setFlag(Qt::AltModifier, (flags & Platform::Modifier::Option) != 0);
    held.setFlag(Qt::MetaModifier, (flags & Platform::Modifier::Control) != 0);
    // Qt numbers a key that types a character by the capital letter.
    const auto qtKey = keyToSpecialKeyMapping(key())
                           ? Platform::qtKeyOfKeyCode(static_cast<int>(m_carbonKeyCode))
                           : static_cast<Qt::Key>(QChar::toUpper(equivalent->toUcs4().value(0)));
    return QKeySequence(QKeyCombination(held, qtKey));
}

const QAction *Shortcut::menuItemWithMatchingShortcut(const QWidget *menu) const
{
    const auto sequence = keySequence();
    if (!menu || sequence.isEmpty())
        return nullptr;
    const auto items = menu->actions();
    for (const QAction *item : items) {
        if (item->shortcuts().contains(sequence))
            return item;
        if (const auto *inside = menuItemWithMatchingShortcut(item->menu()))
            return inside;
    }
    return nullptr;
}

} // namespace KeyboardShortcuts
