#include "Platform/Speech/Transcript.h"

#include <QStringList>

#include <array>

namespace Platform::Transcript {

namespace {

/// Brackets of what is no word: "<sil>", "[NOISE]", "++UM++".
constexpr std::array<QStringView, 3> markStarts{u"<", u"[", u"++"};

[[nodiscard]] bool isMark(QStringView word)
{
    for (const QStringView start : markStarts) {
        if (word.startsWith(start))
            return true;
    }
    return false;
}

/// "word(2)" is the second way of saying "word".
[[nodiscard]] QStringView withoutVariant(QStringView word)
{
    const auto bracket = word.lastIndexOf(u'(');
    return bracket > 0 && word.endsWith(u')') ? word.first(bracket) : word;
}

/// "i", "i'm", "i'd've".
[[nodiscard]] bool isFirstPerson(QStringView word)
{
    return word == u"i" || word.startsWith(u"i'");
}

void capitalise(QString &word)
{
    word[0] = word[0].toUpper();
}

} // namespace

QString fromDecoder(const QString &heard, Language language)
{
    QStringList words;
    for (const QString &part : heard.simplified().split(u' ', Qt::SkipEmptyParts)) {
        if (isMark(part))
            continue;
        QString word = withoutVariant(part).toString();
        if (language == Language::English && isFirstPerson(word))
            capitalise(word);
        words << word;
    }
    if (!words.isEmpty())
        capitalise(words.front());
    return words.join(u' ');
}

} // namespace Platform::Transcript
