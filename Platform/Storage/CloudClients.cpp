#include "Platform/Storage/CloudClients.h"

#include "Platform/Storage/Files.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QXmlStreamReader>

namespace Platform::CloudClients {

using namespace Qt::StringLiterals;

namespace {

/// Such as 0/Folders/1/localPath.
bool namesFolder(QStringView key)
{
    const auto parts = key.split(u'/');
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

QStringList nextcloudFolders(const QString &path)
{
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup(u"Accounts"_s);
    const QStringList keys = settings.allKeys();
    QStringList folders;
    for (const QString &key : keys) {
        const QString folder = namesFolder(key) ? settings.value(key).toString() : QString();
        if (!folder.isEmpty())
            folders += folder;
    }
    return folders;
}

QStringList dropboxFolders(const QString &path)
{
    const auto settings = Files::read(path).value_or(QByteArray());
    const QJsonObject accounts = QJsonDocument::fromJson(settings).object();
    QStringList folders;
    for (const auto account : {"personal"_L1, "business"_L1}) {
        const QString folder = accounts.value(account).toObject().value("path"_L1).toString();
        if (!folder.isEmpty())
            folders += folder;
    }
    return folders;
}

QStringList syncthingFolders(const QString &path)
{
    QXmlStreamReader xml(Files::read(path).value_or(QByteArray()));
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
