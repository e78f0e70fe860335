#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QUrl>
#include <QVersionNumber>

#include <optional>
#include <variant>

namespace Platform {

/// One release that a feed announces.
struct AppcastItem
{
    QVersionNumber version; ///< without zeros at its end, so that 1.0 equals 1.0.0
    QString shownVersion;   ///< what people call it: letters, digits, blanks and . - + ~ _ only
    QString notes;          ///< as they stand in the feed, perhaps HTML; empty for none
    QDate published;        ///< null when the feed does not say
    QUrl address;           ///< of the package
    qint64 length = 0;      ///< of the package, in bytes
    QByteArray signature;   ///< Ed25519, 64 bytes, over the whole package
};

/// Why a feed is not believed.
enum class AppcastRefusal {
    TooLarge,
    Forbidden, ///< a document type, an entity, another encoding than UTF-8, absurd nesting
    Unreadable,
    NothingHere, ///< no release for this kind of machine
    BadRelease,  ///< the newest release lacks a sound version, address, length or signature
};

/// The largest feed that is read, in bytes: the time the XML reader takes grows with the square of
/// a tag's attributes, and a megabyte of nothing else would hold up the program for 15 seconds.
inline constexpr qsizetype largestAppcast = 256 * 1024;
/// The largest package that is fetched, in bytes.
inline constexpr qint64 largestPackage = 64 * 1024 * 1024;

/// "1.10" is later than "1.9". Nothing when the text is not numbers with dots between.
[[nodiscard]] std::optional<QVersionNumber> parseVersion(QStringView text);

/// The newest release for Linux in an RSS feed that came from the address `feed`. Attributes and
/// elements go by their local names, in whatever namespace. Pure; any thread.
[[nodiscard]] std::variant<AppcastItem, AppcastRefusal> readAppcast(const QByteArray &bytes,
                                                                    const QUrl &feed);

} // namespace Platform
