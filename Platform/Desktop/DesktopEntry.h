#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace Platform {

/// The main group of a desktop entry file, read tolerantly: bytes, not text, and lines that make
/// no sense are passed over and kept. A value. Any thread.
class DesktopEntry final
{
public:
    /// Nothing when the bytes hold no such group.
    [[nodiscard]] static std::optional<DesktopEntry> parse(const QByteArray &bytes);
    /// One whose group has no keys yet.
    [[nodiscard]] static DesktopEntry empty();

    /// The value as it stands in the file; nothing when there is no such key. The last one counts.
    [[nodiscard]] std::optional<QByteArray> raw(const QByteArray &key) const;
    /// The value with its escapes resolved; empty when there is no such key.
    [[nodiscard]] QByteArray string(const QByteArray &key) const;
    [[nodiscard]] bool isTrue(const QByteArray &key) const;
    [[nodiscard]] bool isFalse(const QByteArray &key) const;
    /// The parts of a list between its semicolons, without empty ones.
    [[nodiscard]] QList<QByteArray> list(const QByteArray &key) const;
    /// The program that the value of Exec starts, unquoted; empty when there is none.
    [[nodiscard]] QByteArray program() const;

    /// Changes the key's last line, or adds one at the end of the group. The value is escaped.
    void set(const QByteArray &key, const QByteArray &value);
    void remove(const QByteArray &key);

    /// The whole file; what was not changed is as it was read.
    [[nodiscard]] QByteArray bytes() const { return m_lines.join('\n'); }

    /// A path as the first word of an Exec value.
    [[nodiscard]] static QByteArray quoted(const QByteArray &program);

private:
    [[nodiscard]] qsizetype lineOf(const QByteArray &key) const; ///< negative: none
    [[nodiscard]] qsizetype groupEnd() const;

    QList<QByteArray> m_lines;
    qsizetype m_begin = 0; ///< the first line after the group's header
};

} // namespace Platform
