#include "Platform/Core/Languages.h"

#include <algorithm>
#include <array>

namespace Platform {

namespace {

constexpr std::array variables{"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};

} // namespace

QStringList userLanguages()
{
    QStringList languages;
    for (const char *variable : variables) {
        const auto entries = qEnvironmentVariable(variable).split(u':', Qt::SkipEmptyParts);
        for (const QString &entry : entries) {
            // "de_AT.UTF-8@euro": what follows the country says how, not which language.
            const auto end = std::find_if(entry.begin(), entry.end(),
                                          [](QChar c) { return c == u'.' || c == u'@'; });
            QString language = entry.left(end - entry.begin());
            language.replace(u'-', u'_');
            if (!language.isEmpty() && language != u"C" && language != u"POSIX")
                languages << language;
        }
    }
    languages.removeDuplicates();
    if (languages.isEmpty())
        languages << QStringLiteral("en_US");
    return languages;
}

} // namespace Platform
