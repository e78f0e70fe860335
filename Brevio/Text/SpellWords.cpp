#include "Brevio/Text/SpellWords.h"

#include <algorithm>
#include <array>

namespace Brevio::SpellWords {

namespace {

constexpr qsizetype shortestWord = 2;
constexpr std::array spacelessScripts{
    QChar::Script_Han, QChar::Script_Hiragana, QChar::Script_Katakana, QChar::Script_Thai,
    QChar::Script_Lao, QChar::Script_Khmer,    QChar::Script_Myanmar};

bool isApostrophe(QChar c)
{
    return c == u'\'' || c == u'\u2019';
}

/// Soft hyphens and joiners are invisible; surrogates stand for letters of rare scripts and for
/// pictures, and keep a word from being judged.
bool isPartOfWord(QChar c)
{
    return c.isLetterOrNumber() || c.isMark() || c.isSurrogate() || c == u'_';
}

bool isProse(QStringView word)
{
    if (word.size() < shortestWord)
        return false;
    bool hasCapitalInside = false;
    for (qsizetype i = 0; i < word.size(); ++i) {
        const QChar c = word[i];
        if (c.isNumber() || c.isSurrogate() || c == u'_')
            return false;
        if (std::find(spacelessScripts.begin(), spacelessScripts.end(), c.script()) !=
            spacelessScripts.end())
            return false;
        // "O’Brien" is no name from a program.
        hasCapitalInside = hasCapitalInside || (i > 0 && c.isUpper() && !isApostrophe(word[i - 1]));
    }
    return !hasCapitalInside;
}

void addWords(QStringView paragraph, qsizetype from, qsizetype end, QList<Word> &found)
{
    for (qsizetype start = from; start < end;) {
        if (!isPartOfWord(paragraph[start])) {
            ++start;
            continue;
        }
        qsizetype i = start + 1;
        while (i < end &&
               (isPartOfWord(paragraph[i]) ||
                (isApostrophe(paragraph[i]) && i + 1 < end && paragraph[i + 1].isLetter())))
            ++i;
        if (isProse(paragraph.sliced(start, i - start)))
            found.append({start, i - start});
        start = i;
    }
}

} // namespace

QList<Word> words(QStringView paragraph)
{
    QList<Word> found;
    for (qsizetype start = 0; start < paragraph.size();) {
        const auto space = std::find_if(paragraph.begin() + start, paragraph.end(),
                                        [](QChar c) { return c.isSpace(); });
        const qsizetype end = space - paragraph.begin();
        if (!isVerbatim(paragraph.sliced(start, end - start)))
            addWords(paragraph, start, end, found);
        start = end + 1;
    }
    return found;
}

bool isVerbatim(QStringView chunk)
{
    if (chunk.size() < 2)
        return false;
    const QChar first = chunk.front();
    const bool isOption = first == u'-' && (chunk[1] == u'-' || chunk[1].isLetter());
    if (isOption || first == u'/' || first == u'~' || first == u'#' || first == u'`' ||
        chunk.startsWith(u"www."))
        return true;
    for (qsizetype i = 0; i < chunk.size(); ++i) {
        const QChar c = chunk[i];
        if (c == u'@' || c == u'_' || c == u'\\' || chunk.sliced(i).startsWith(u"://"))
            return true;
        // A point or colon with letters at both sides ends no sentence.
        if ((c == u'.' || c == u':') && i > 0 && i + 1 < chunk.size() &&
            chunk[i - 1].isLetterOrNumber() && chunk[i + 1].isLetterOrNumber())
            return true;
    }
    return false;
}

} // namespace Brevio::SpellWords
