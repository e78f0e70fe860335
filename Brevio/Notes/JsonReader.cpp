#include "Brevio/Notes/JsonReader.h"

#include <QString>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

constexpr int deepest = 512;                         // levels, of what is passed over
constexpr double integerEnd = 9223372036854775808.0; // 2^63, the first beyond a qint64

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool endsPlainText(char c)
{
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

} // namespace

JsonReader::JsonReader(QByteArrayView bytes)
{
    constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";
    if (!bytes.isValidUtf8())
        return;
    m_at = bytes.data() + (bytes.startsWith(byteOrderMark) ? byteOrderMark.size() : 0);
    m_end = bytes.data() + bytes.size();
}

std::optional<QByteArrayView> JsonReader::string()
{
    if (!take('"'))
        return std::nullopt;
    const char *const start = m_at;
    m_at = std::find_if(m_at, m_end, endsPlainText);
    if (next() == '"')
        return QByteArrayView(start, m_at++);
    m_unescaped.resize(0); // keeps its memory for the next
    m_unescaped.append(QByteArrayView(start, m_at));
    while (next() == '\\') {
        ++m_at;
        if (!unescape())
            return std::nullopt;
        const char *const plain = std::find_if(m_at, m_end, endsPlainText);
        m_unescaped.append(QByteArrayView(m_at, plain));
        m_at = plain;
    }
    if (next() != '"')
        return std::nullopt;
    ++m_at;
    return m_unescaped;
}

bool JsonReader::unescape()
{
    constexpr QByteArrayView letters = "\"\\/bfnrt";
    constexpr QByteArrayView meanings = "\"\\/\b\f\n\r\t";
    if (m_at == m_end)
        return false;
    const char letter = *m_at++;
    if (letter != 'u') {
        const auto index = letters.indexOf(letter);
        m_unescaped += index < 0 ? '\0' : meanings[index];
        return index >= 0;
    }
    const auto unit = codeUnit();
    if (!unit)
        return false;
    char32_t character = *unit;
    if (QChar::isSurrogate(*unit))
        character = QChar::ReplacementCharacter;
    const char *const afterFirst = m_at;
    if (QChar::isHighSurrogate(*unit) && takeWord("\\u")) {
        const auto low = codeUnit();
        if (!low)
            return false;
        if (QChar::isLowSurrogate(*low))
            character = QChar::surrogateToUcs4(*unit, *low);
        else
            m_at = afterFirst; // it is a character of its own
    }
    m_unescaped += QString::fromUcs4(&character, 1).toUtf8();
    return true;
}

std::optional<char16_t> JsonReader::codeUnit()
{
    constexpr int digits = 4;
    unsigned unit = 0;
    for (int i = 0; i < digits; ++i, ++m_at) {
        const char c = next();
        const char lower = static_cast<char>(c | 0x20);
        const bool isLetter = lower >= 'a' && lower <= 'f';
        if (!isDigit(c) && !isLetter)
            return std::nullopt;
        unit = unit * 16 + static_cast<unsigned>(isLetter ? lower - 'a' + 10 : c - '0');
    }
    return static_cast<char16_t>(unit);
}

std::optional<bool> JsonReader::boolean()
{
    skipSpace();
    if (takeWord("true"))
        return true;
    if (takeWord("false"))
        return false;
    return std::nullopt;
}

std::optional<qint64> JsonReader::integer()
{
    const auto text = number();
    if (!text)
        return std::nullopt;
    bool fits = false;
    const qint64 exact = text->toLongLong(&fits);
    if (fits)
        return exact;
    const double real = text->toDouble(&fits);
    if (!fits || std::trunc(real) != real || real < -integerEnd || real >= integerEnd)
        return std::nullopt;
    return static_cast<qint64>(real);
}

std::optional<QByteArrayView> JsonReader::number()
{
    skipSpace();
    const char *const start = m_at;
    if (next() == '-')
        ++m_at;
    const bool isZero = next() == '0'; // no digit may follow
    m_at += isZero ? 1 : 0;
    bool isGood = isZero || takeDigits();
    if (next() == '.') {
        ++m_at;
        isGood = takeDigits() && isGood;
    }
    if (next() == 'e' || next() == 'E') {
        ++m_at;
        m_at += next() == '+' || next() == '-' ? 1 : 0;
        isGood = takeDigits() && isGood;
    }
    return isGood ? std::optional(QByteArrayView(start, m_at)) : std::nullopt;
}

/// False when there is not one.
bool JsonReader::takeDigits()
{
    const char *const start = m_at;
    m_at = std::find_if_not(m_at, m_end, isDigit);
    return m_at != start;
}

bool JsonReader::takeNull()
{
    skipSpace();
    return takeWord("null");
}

bool JsonReader::skip()
{
    skipSpace();
    if (++m_depth > deepest)
        return false;
    const auto skipMember = [this](QByteArrayView) { return skip(); };
    const auto skipElement = [this] { return skip(); };
    bool isGood = false;
    switch (next()) {
    case '{':
        isGood = object(skipMember);
        break;
    case '[':
        isGood = array(skipElement);
        break;
    case '"':
        isGood = string().has_value();
        break;
    case 'n':
        isGood = takeNull();
        break;
    case 't':
    case 'f':
        isGood = boolean().has_value();
        break;
    default:
        isGood = number().has_value();
    }
    --m_depth;
    return isGood;
}

bool JsonReader::isAtEnd()
{
    skipSpace();
    return m_at == m_end;
}

bool JsonReader::take(char c)
{
    skipSpace();
    if (m_at == m_end || *m_at != c)
        return false;
    ++m_at;
    return true;
}

bool JsonReader::takeWord(QByteArrayView word)
{
    if (!QByteArrayView(m_at, m_end).startsWith(word))
        return false;
    m_at += word.size();
    return true;
}

void JsonReader::skipSpace()
{
    while (m_at != m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
        ++m_at;
}

} // namespace Brevio
