#include "Brevio/Text/Substitutions.h"

#include "Brevio/Text/SpellWords.h"

#include <QJsonObject>
#include <QMap>

#include <algorithm>
#include <array>

namespace Brevio {

namespace {

struct Marks
{
    QStringView languages; ///< between spaces
    QStringView openDouble;
    QStringView closeDouble;
    QStringView openSingle;
    QStringView closeSingle;
};

constexpr Marks englishMarks{u"", u"“", u"”", u"‘", u"’"};
constexpr std::array marksByLanguage{
    Marks{u" de_CH fr_CH it_CH ", u"«", u"»", u"‹", u"›"},
    Marks{u" de cs sk sl bg lt is et ", u"„", u"“", u"‚", u"‘"},
    Marks{u" fr ", u"«\u00a0", u"\u00a0»", u"‘", u"’"},
    Marks{u" pl hu ro hr sr ", u"„", u"”", u"‚", u"’"},
    Marks{u" sv fi da ", u"”", u"”", u"’", u"’"},
    Marks{u" nb nn no ", u"«", u"»", u"‘", u"’"},
    Marks{u" ru uk be ", u"«", u"»", u"„", u"“"},
    Marks{u" el ", u"«", u"»", u"“", u"”"},
};
constexpr std::array<std::array<QStringView, 2>, 3> usualReplacements{
    {{u"(c)", u"©"}, {u"(r)", u"®"}, {u"(tm)", u"™"}}};

constexpr QStringView apostrophe = u"’";
constexpr QStringView emDash = u"—";
constexpr QStringView openers = u"([{<“„‘‚«‹–—";
constexpr QStringView wordOpeners = u"([{<“„‘‚«‹”»›’\"'";
constexpr QStringView dashes = u"–—";
constexpr QStringView wordEnders = u".,;:!?)]}\"'”’…";
constexpr QStringView beforeDash = u".,?!)]\"'”’»“…";
/// Quotation marks of code: a="b", \".
constexpr QStringView beforeCode = u"=\\";

const Marks &marksOf(const QString &language)
{
    for (const QString &name : {language, language.section(u'_', 0, 0)}) {
        const QString listed = u' ' + name + u' ';
        for (const Marks &marks : marksByLanguage)
            if (marks.languages.contains(listed))
                return marks;
    }
    return englishMarks;
}

bool endsWord(QChar c)
{
    return c.isSpace() || wordEnders.contains(c);
}

/// Whether a word could begin after the text: after a space or a dash, brackets and quotation
/// marks apart.
bool canBeginWord(QStringView text)
{
    while (!text.isEmpty() && wordOpeners.contains(text.back()))
        text.chop(1);
    return text.isEmpty() || text.back().isSpace() || dashes.contains(text.back());
}

/// What stands before the last character, back to a space.
QStringView chunkBefore(QStringView paragraph)
{
    qsizetype start = paragraph.size() - 1;
    while (start > 0 && !paragraph[start - 1].isSpace())
        --start;
    return paragraph.sliced(start).chopped(1);
}

std::optional<Substitutions::Substitution> dash(QStringView paragraph)
{
    const qsizetype end = paragraph.size() - 1;
    qsizetype start = end;
    while (start > 0 && paragraph[start - 1] == u'-')
        --start;
    const qsizetype length = end - start;
    if (length < 2 || length > 3)
        return {};
    const QChar next = paragraph[end];
    const QChar before = start > 0 ? paragraph[start - 1] : QChar(u'\n');
    const bool isApart = before.isSpace();
    // A line's first hyphens are a rule, a signature's mark or an option.
    const bool followsWord =
        isApart ? start > 1 : before.isLetterOrNumber() || beforeDash.contains(before);
    const bool isDash =
        next.isSpace() || next == u'"' || next == u'\'' || (!isApart && next.isLetterOrNumber());
    if (!followsWord || !isDash || chunkBefore(paragraph).startsWith(u'<'))
        return {};
    return Substitutions::Substitution{start, length, emDash.toString()};
}

} // namespace

Substitutions::Substitutions(const QString &language, const QJsonValue &replacements)
{
    const Marks &marks = marksOf(language);
    m_openDouble = marks.openDouble.toString();
    m_closeDouble = marks.closeDouble.toString();
    m_openSingle = marks.openSingle.toString();
    m_closeSingle = marks.closeSingle.toString();

    QMap<QString, QString> all;
    for (const auto &[from, to] : usualReplacements)
        all.insert(from.toString(), to.toString());
    const QJsonObject own = replacements.toObject();
    for (auto member = own.begin(); member != own.end(); ++member)
        if (member.value().isString() && !member.key().trimmed().isEmpty())
            all.insert(member.key(), member.value().toString());
    for (auto one = all.cbegin(); one != all.cend(); ++one)
        if (!one.value().isEmpty())
            m_replacements.append({one.key(), one.value()});
    std::stable_sort(m_replacements.begin(), m_replacements.end(),
                     [](const auto &a, const auto &b) { return a.from.size() > b.from.size(); });
}

std::optional<Substitutions::Substitution> Substitutions::afterTyping(QStringView text) const
{
    if (text.isEmpty())
        return {};
    // The line break that was typed still belongs to the paragraph that it ends.
    const qsizetype start = text.chopped(1).lastIndexOf(u'\n') + 1;
    const QStringView paragraph = text.sliced(start);
    QStringView chunk = chunkBefore(paragraph);
    while (chunk.endsWith(u'-'))
        chunk.chop(1);
    if (paragraph.count(u'`') % 2 != 0 || SpellWords::isVerbatim(chunk))
        return {};
    auto found = dash(paragraph);
    if (!found)
        found = replacement(paragraph);
    if (found) {
        found->start += start;
        return found;
    }
    return quote(paragraph, start);
}

std::optional<Substitutions::Substitution> Substitutions::replacement(QStringView text) const
{
    if (!endsWord(text.back()))
        return {};
    const QStringView before = text.chopped(1);
    for (const Replacement &one : m_replacements) {
        if (before.endsWith(one.from) && canBeginWord(before.chopped(one.from.size())))
            return Substitution{before.size() - one.from.size(), one.from.size(), one.to};
    }
    return {};
}

std::optional<Substitutions::Substitution> Substitutions::quote(QStringView paragraph,
                                                                qsizetype offset) const
{
    const QChar typed = paragraph.back();
    if (typed != u'"' && typed != u'\'')
        return {};
    const QStringView text = paragraph.chopped(1);
    const QChar before = text.isEmpty() ? QChar(u'\n') : text.back();
    // What was left straight is closed straight.
    if (beforeCode.contains(before) || chunkBefore(paragraph).count(typed) % 2 != 0)
        return {};
    const auto isOpen = [&](const QString &open, const QString &close) {
        return text.lastIndexOf(open) > text.lastIndexOf(close);
    };
    const auto put = [&](QStringView mark) {
        return Substitution{offset + text.size(), 1, mark.toString()};
    };
    // French opening marks bring their space along.
    const bool opens = before != QChar::Nbsp ? before.isSpace() || openers.contains(before)
                                             : text.endsWith(m_openDouble);
    if (typed == u'"') {
        if (opens)
            return put(m_openDouble);
        if (before.isNumber() && !isOpen(m_openDouble, m_closeDouble))
            return {};
        return put(m_closeDouble);
    }
    if (opens)
        return put(m_openSingle);
    return put(isOpen(m_openSingle, m_closeSingle) ? QStringView(m_closeSingle) : apostrophe);
}

} // namespace Brevio
