#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace Brevio {

/// Reads a JSON text from front to back, strictly, without building a tree of it. Qt's own reader
/// takes bare line breaks in strings, unknown escapes and numbers such as "1." for JSON, and what
/// it misread would be written back over the user's file; it also takes three times as long.
///
/// The caller asks for the value it expects. An answer of false (or none) means that something
/// else stood there; the reading is then over. Of members that occur twice the caller sees both,
/// in order.
class JsonReader final
{
public:
    /// The bytes must outlive the reader. Text that is not UTF-8 reads as nothing at all.
    explicit JsonReader(QByteArrayView bytes);

    /// Calls `member(key)` for each member; it reads the value and returns whether to go on. The
    /// key is valid until then.
    template <class Member>
    [[nodiscard]] bool object(Member &&member);
    /// Calls `element()` for each element; it reads the value and returns whether to go on.
    template <class Element>
    [[nodiscard]] bool array(Element &&element);
    /// A string, unescaped, as UTF-8; valid until the next call. Half a surrogate pair, which
    /// only an escape can spell, reads as U+FFFD.
    [[nodiscard]] std::optional<QByteArrayView> string();
    [[nodiscard]] std::optional<bool> boolean();
    /// A number without a fraction that fits. 3.0 and 30e-1 are 3.
    [[nodiscard]] std::optional<qint64> integer();
    /// Passes over a null if it is the next value; everything else stays.
    [[nodiscard]] bool takeNull();
    /// Passes over a value of any kind, up to 512 levels deep.
    [[nodiscard]] bool skip();
    /// Whether only white space is left.
    [[nodiscard]] bool isAtEnd();

private:
    [[nodiscard]] bool take(char c);
    [[nodiscard]] bool takeWord(QByteArrayView word);
    [[nodiscard]] std::optional<QByteArrayView> number();
    [[nodiscard]] bool takeDigits();
    [[nodiscard]] bool unescape();
    [[nodiscard]] std::optional<char16_t> codeUnit();
    void skipSpace();
    [[nodiscard]] char next() const { return m_at < m_end ? *m_at : '\0'; }

    const char *m_at = nullptr;
    const char *m_end = nullptr;
    QByteArray m_unescaped;
    int m_depth = 0;
};

template <class Member>
bool JsonReader::object(Member &&member)
{
    if (!take('{'))
        return false;
    if (take('}'))
        return true;
    do {
        const auto key = string();
        if (!key || !take(':') || !member(*key))
            return false;
    } while (take(','));
    return take('}');
}

template <class Element>
bool JsonReader::array(Element &&element)
{
    if (!take('['))
        return false;
    if (take(']'))
        return true;
    do {
        if (!element())
            return false;
    } while (take(','));
    return take(']');
}

} // namespace Brevio
