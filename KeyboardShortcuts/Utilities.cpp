#include "KeyboardShortcuts/Utilities.h"

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

constexpr struct { const char16_t *key; const char16_t *text; } texts[] = {
    {u"space_key", u"Space"},
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
            return QStringView(row.text).toString();
    }
    return key.toString();
}

} // namespace KeyboardShortcuts
