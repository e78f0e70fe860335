#include "Platform/Storage/CloudClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

namespace Platform::CloudClients {

using namespace Qt::StringLiterals;

namespace {

constexpr int octal = 8;
constexpr int hexadecimal = 16;

/// The number written from `at` on, and past it.
QChar numberedCharacter(QStringView text, qsizetype &at, int base)
{
    uint value = 0;
    for (bool isDigit = true; at < text.size(); ++at) {
        const uint digit = text.mid(at, 1).toUInt(&isDigit, base);
        if (!isDigit)
            break;
        value = value * static_cast<uint>(base) + digit;
    }
    return QChar(static_cast<char16_t>(value));
}

/// A value as Qt's settings write it: perhaps quoted, and with C's escapes. After \x come as many
/// hexadecimal digits as there are.
QString iniValue(QStringView written)
{
    constexpr QStringView letters = u"abfnrtv";
    constexpr QStringView controls = u"\a\b\f\n\r\t\v";
    QString value;
    for (qsizetype at = 0; at < written.size();) {
        const QChar character = written[at++];
        if (character == u'"')
            continue;
        if (character != u'\\' || at == written.size()) {
            value += character;
            continue;
        }
        const QChar escape = written[at++];
        if (escape == u'x') {
            value += numberedCharacter(written, at, hexadecimal);
        } else if (escape >= u'0' && escape <= u'7') {
            value += numberedCharacter(written, --at, octal);
        } else {
            const auto letter = letters.indexOf(escape);
            value += letter < 0 ? escape : controls[letter];
        }
    }
    return value;
}

/// Such as 0\Folders\1\localPath.
bool namesFolder(QStringView key)
{
    const auto parts = key.split(u'\\');
    return parts.size() >= 4 && parts.back() == u"localPath" && !parts[0].isEmpty() &&
           parts[0].front().isLetterOrNumber() &&
           (parts[1] == u"Folders" || parts[1] == u"FoldersWithPlaceholders" ||
            parts[1] == u"Multifolders");
}

/// What Syncthing calls "send only" would never bring a note here.
bool goesBothWays(QStringView folderType)
{
    return folderType.isEmpty() || folderType == u"sendreceive" || folderType == u"readwrite";
}

/// Reads on past the folder's end. Empty when nothing comes and goes through this folder.
QString syncedPath(QXmlStreamReader &xml)
{
    const auto attributes = xml.attributes();
    bool isPaused = attributes.value("paused"_L1) == "true"_L1;
    while (xml.readNextStartElement()) {
        if (xml.name() == "paused"_L1)
            isPaused =
                xml.readElementText(QXmlStreamReader::SkipChildElements).trimmed() == u"true";
        else
            xml.skipCurrentElement();
    }
    const bool isSynced =
        !xml.hasError() && !isPaused && goesBothWays(attributes.value("type"_L1).trimmed());
    return isSynced ? attributes.value("path"_L1).toString() : QString();
}

} // namespace

QStringList nextcloudFolders(const QByteArray &settings)
{
    const QString text = QString::fromUtf8(settings); // which passes over a byte order mark
    QStringList folders;
    bool isInAccounts = false;
    for (const QStringView line : QStringView(text).split(u'\n')) {
        const QStringView content = line.trimmed();
        if (content.startsWith(u'['))
            isInAccounts = content == u"[Accounts]";
        const auto equals = content.indexOf(u'=');
        if (!isInAccounts || equals < 0 || !namesFolder(content.left(equals).trimmed()))
            continue;
        const QString folder = iniValue(content.mid(equals + 1).trimmed());
        if (!folder.isEmpty())
            folders += folder;
    }
    return folders;
}

QStringList dropboxFolders(const QByteArray &settings)
{
    const QJsonObject accounts = QJsonDocument::fromJson(settings).object();
    QStringList folders;
    for (const auto account : {"personal"_L1, "business"_L1}) {
        const QString folder = accounts.value(account).toObject().value("path"_L1).toString();
        if (!folder.isEmpty())
            folders += folder;
    }
    return folders;
}

QStringList syncthingFolders(const QByteArray &settings)
{
    QXmlStreamReader xml(settings);
    QStringList folders;
    if (!xml.readNextStartElement() || xml.name() != "configuration"_L1)
        return folders;
    // The pattern for new folders is deeper and no folder itself.
    while (xml.readNextStartElement()) {
        if (xml.name() != "folder"_L1) {
            xml.skipCurrentElement();
            continue;
        }
        const QString folder = syncedPath(xml);
        if (!folder.isEmpty())
            folders += folder;
    }
    return folders;
}

} // namespace Platform::CloudClients
