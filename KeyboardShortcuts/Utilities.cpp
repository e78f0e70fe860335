#include "KeyboardShortcuts/Utilities.h"

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

namespace KeyboardShortcuts {

namespace {

namespace Modifier = Platform::Modifier;

struct ModifierRow
{
    std::int64_t carbon;
    Platform::ModifierFlags flag;
    const char16_t *symbol;
    const char16_t *nativeName;
};

// In the order in which the symbols are shown.
// clang-format off
constexpr ModifierRow modifierRows[] = {
    {0x1000,  Modifier::Control,  u"⌃",            u"Super+"},
    {0x800,   Modifier::Option,   u"⌥",            u"Alt+"},
    {0x200,   Modifier::Shift,    u"⇧",            u"Shift+"},
    {0x100,   Modifier::Command,  u"⌘",            u"Ctrl+"},
    {0x20000, Modifier::Function, u"\U0001F310\uFE0E", u"Fn+"},
};

constexpr Platform::ModifierFlags nativeOrder[] = {
    Modifier::Function, Modifier::Control, Modifier::Command, Modifier::Option, Modifier::Shift,
};

constexpr const char *translationContext = "KeyboardShortcuts";

constexpr struct { const char16_t *key; const char *text; } texts[] = {
    {u"space_key",                          QT_TRANSLATE_NOOP("KeyboardShortcuts", "Space")},
    {u"record_shortcut",                    QT_TRANSLATE_NOOP("KeyboardShortcuts", "Record Shortcut")},
    {u"press_shortcut",                     QT_TRANSLATE_NOOP("KeyboardShortcuts", "Press Shortcut")},
    {u"clear_shortcut",                     QT_TRANSLATE_NOOP("KeyboardShortcuts", "Clear Shortcut")},
    {u"change_shortcut",                    QT_TRANSLATE_NOOP("KeyboardShortcuts", "Change…")},
    {u"shortcut_not_bound",                 QT_TRANSLATE_NOOP("KeyboardShortcuts", "Not bound")},
    // %1 is the command's title.
    {u"keyboard_shortcut_used_by_menu_item", QT_TRANSLATE_NOOP("KeyboardShortcuts",
        "The command “%1” already has this shortcut.")},
    {u"keyboard_shortcut_used_by_system",   QT_TRANSLATE_NOOP("KeyboardShortcuts",
        "Your desktop or another program already uses this shortcut.")},
    {u"keyboard_shortcuts_can_be_changed",  QT_TRANSLATE_NOOP("KeyboardShortcuts",
        "The desktop’s own shortcuts can be changed in its keyboard settings.")},
    {u"ok",                                 QT_TRANSLATE_NOOP("KeyboardShortcuts", "OK")},
    {u"force_use_shortcut",                 QT_TRANSLATE_NOOP("KeyboardShortcuts", "Use It Anyway")},
    {u"shortcut_decided_by_desktop",        QT_TRANSLATE_NOOP("KeyboardShortcuts",
        "Your desktop decides this shortcut. It can be changed in the desktop’s keyboard settings.")},
    {u"global_shortcuts_not_supported",     QT_TRANSLATE_NOOP("KeyboardShortcuts",
        "No global shortcut can be bound from here. In the desktop’s keyboard settings, shortcuts "
        "can be given to the actions New Card and Show All Cards.")},
};
// clang-format on

} // namespace

std::int64_t carbonModifiers(Platform::ModifierFlags flags)
{
    std::int64_t carbon = 0;
    for (const auto &row : modifierRows)
        carbon |= (flags & row.flag) != 0 ? row.carbon : 0;
    return carbon;
}

Platform::ModifierFlags modifierFlags(std::int64_t carbonModifiers)
{
    Platform::ModifierFlags flags = 0;
    for (const auto &row : modifierRows)
        flags |= (carbonModifiers & row.carbon) != 0 ? row.flag : 0;
    return flags;
}

QString ks_symbolicRepresentation(Platform::ModifierFlags flags)
{
    QString text;
    for (const auto &row : modifierRows) {
        if ((flags & row.flag) != 0)
            text += QStringView(row.symbol);
    }
    return text;
}

QString nativeRepresentation(Platform::ModifierFlags flags)
{
    QString text;
    for (const auto flag : nativeOrder) {
        const auto *row = std::find_if(std::begin(modifierRows), std::end(modifierRows),
                                       [=](const auto &each) { return each.flag == flag; });
        if ((flags & flag) != 0)
            text += QStringView(row->nativeName);
    }
    return text;
}

QString localized(QStringView key)
{
    for (const auto &row : texts) {
        if (key == QStringView(row.key))
            return QCoreApplication::translate(translationContext, row.text);
    }
    return key.toString();
}

} // namespace KeyboardShortcuts
