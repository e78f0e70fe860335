#pragma once

#include <QList>
#include <QString>

#include <optional>

class QJsonValue;

namespace Brevio {

/// What typing puts in the place of what was typed: quotation marks of the writer's language,
/// dashes, and replacements of whole words. Pure; values.
///
/// A straight quotation mark opens after a space, an opening bracket, a dash or another opening
/// mark, and closes elsewhere; between letters ' is the apostrophe ’. Inch marks (6") stay.
///
/// Two hyphens, or three, become an em dash when the next character shows that they are one: after
/// a word and before a letter, digit, space, quotation mark or line end ("yes--no", "yes -- no").
/// Options (--all), rules of hyphens (---), arrows (-->) and i-- stay as typed.
///
/// A replacement is made when its text stands where a word begins and the character after it ends
/// one, so not in f(c). Inside addresses, paths, and `code`, nothing is made.
class Substitutions final
{
public:
    /// Puts `text` in the place of `length` characters from `start`.
    struct Substitution
    {
        qsizetype start;
        qsizetype length;
        QString text;
    };

    /// The marks of the language, as "de" or "de_CH" (French ones with a no-break space inside;
    /// English ones for a language that is not known), and the replacements (c) © (r) ® (tm) ™
    /// with the user's own before them: members of the object, the text to the replacement. An
    /// empty replacement switches one off. What is no object, and members that are no strings,
    /// count as not there.
    Substitutions(const QString &language, const QJsonValue &replacements);

    /// `text` ends with the character that was typed just now. Nothing when it stays as it is.
    /// Where several apply, one at a time, to be asked for again.
    [[nodiscard]] std::optional<Substitution> afterTyping(QStringView text) const;

private:
    struct Replacement
    {
        QString from;
        QString to;
    };

    [[nodiscard]] std::optional<Substitution> replacement(QStringView text) const;
    [[nodiscard]] std::optional<Substitution> quote(QStringView paragraph, qsizetype offset) const;

    QString m_openDouble;
    QString m_closeDouble;
    QString m_openSingle;
    QString m_closeSingle;
    QList<Replacement> m_replacements; ///< longer ones first
};

} // namespace Brevio
