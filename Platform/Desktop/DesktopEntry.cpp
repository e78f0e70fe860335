#include "Platform/Desktop/DesktopEntry.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace Platform {

namespace {

const QByteArray header = QByteArrayLiteral("[Desktop Entry]");

/// What a value may not hold as it is, and the letter that stands for it after a backslash.
struct Escape
{
    char character;
    char letter;
};
constexpr Escape escapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\t', 't'}, {'\r', 'r'}, {' ', 's'}};

/// Inside double quotes these need a backslash.
constexpr const char *escapedInQuotes = "\"`$\\";
/// A word with any of these needs quotes.
constexpr const char *reserved = " \t\n\"'\\><~|&;$*?#()`";

bool isOneOf(char character, const char *set)
{
    return character != 0 && std::strchr(set, character);
}

QByteArray unescaped(const QByteArray &value)
{
    QByteArray text;
    for (qsizetype at = 0; at < value.size(); ++at) {
        char character = value[at];
        if (character == '\\' && at + 1 < value.size()) {
            for (const auto &escape : escapes) {
                if (value[at + 1] == escape.letter) {
                    character = escape.character;
                    ++at;
                    break;
                }
            }
        }
        text += character;
    }
    return text;
}

QByteArray escaped(const QByteArray &text)
{
    QByteArray value;
    for (const char character : text) {
        const auto *escape =
            std::find_if(std::begin(escapes), std::end(escapes),
                         [=](const Escape &e) { return e.character == character; });
        if (escape == std::end(escapes) || (character == ' ' && !value.isEmpty()))
            value += character;
        else
            value.append('\\').append(escape->letter);
    }
    return value;
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray &bytes)
{
    DesktopEntry entry;
    entry.m_lines = bytes.split('\n');
    for (const auto &line : std::as_const(entry.m_lines)) {
        ++entry.m_begin;
        if (line.trimmed() == header)
            return entry;
    }
    return std::nullopt;
}

DesktopEntry DesktopEntry::empty()
{
    return *parse(header + '\n');
}

qsizetype DesktopEntry::groupEnd() const
{
    qsizetype end = m_begin;
    while (end < m_lines.size() && !m_lines[end].startsWith('['))
        ++end;
    return end;
}

qsizetype DesktopEntry::lineOf(const QByteArray &key) const
{
    for (qsizetype line = groupEnd() - 1; line >= m_begin; --line) {
        const auto equals = m_lines[line].indexOf('=');
        if (equals >= 0 && m_lines[line].left(equals).trimmed() == key)
            return line;
    }
    return -1;
}

std::optional<QByteArray> DesktopEntry::raw(const QByteArray &key) const
{
    const auto line = lineOf(key);
    if (line < 0)
        return std::nullopt;
    return m_lines[line].mid(m_lines[line].indexOf('=') + 1).trimmed();
}

QByteArray DesktopEntry::string(const QByteArray &key) const
{
    return unescaped(raw(key).value_or(QByteArray()));
}

bool DesktopEntry::isTrue(const QByteArray &key) const
{
    const QByteArray value = raw(key).value_or(QByteArray()).toLower();
    return value == "true" || value == "1";
}

bool DesktopEntry::isFalse(const QByteArray &key) const
{
    const QByteArray value = raw(key).value_or(QByteArray()).toLower();
    return value == "false" || value == "0";
}

QList<QByteArray> DesktopEntry::list(const QByteArray &key) const
{
    auto parts = string(key).split(';');
    parts.removeAll(QByteArray());
    return parts;
}

QByteArray DesktopEntry::program() const
{
    const QByteArray command = string(QByteArrayLiteral("Exec")).trimmed();
    QByteArray word;
    bool isQuoted = false;
    for (qsizetype at = 0; at < command.size(); ++at) {
        const char character = command[at];
        const char next = at + 1 < command.size() ? command[at + 1] : '\0';
        if (character == '"')
            isQuoted = !isQuoted;
        else if (!isQuoted && isOneOf(character, " \t\n"))
            break;
        else if (isQuoted && character == '\\' && isOneOf(next, escapedInQuotes))
            word += command[++at];
        else if (character == '%' && next == '%')
            word += command[++at];
        else
            word += character;
    }
    return word;
}

QByteArray DesktopEntry::quoted(const QByteArray &program)
{
    QByteArray word;
    bool needsQuotes = false;
    for (const char character : program) {
        needsQuotes = needsQuotes || isOneOf(character, reserved);
        if (isOneOf(character, escapedInQuotes))
            word += '\\';
        else if (character == '%')
            word += '%';
        word += character;
    }
    return needsQuotes ? '"' + word + '"' : word;
}

void DesktopEntry::set(const QByteArray &key, const QByteArray &value)
{
    const QByteArray text = key + '=' + escaped(value);
    if (const auto line = lineOf(key); line >= 0) {
        m_lines[line] = text;
        return;
    }
    auto end = groupEnd();
    while (end > m_begin && m_lines[end - 1].trimmed().isEmpty())
        --end;
    m_lines.insert(end, text);
    if (end + 1 == m_lines.size())
        m_lines.append(QByteArray()); // a file ends with a line break
}

void DesktopEntry::remove(const QByteArray &key)
{
    for (auto line = lineOf(key); line >= 0; line = lineOf(key))
        m_lines.removeAt(line);
}

} // namespace Platform
