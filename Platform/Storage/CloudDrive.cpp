#include "Platform/Storage/CloudDrive.h"

#include "Platform/Storage/CloudClients.h"
#include "Platform/Storage/Folders.h"
#include "Platform/Storage/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>

#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(cloudLog, "brevio.cloud", QtCriticalMsg)

const auto folderKey = QStringLiteral("brevio.cloudFolder");
const auto containerName = QStringLiteral("Brevio");
constexpr off_t largestSettings = 1024 * 1024; // bytes; a hundred folders take about a tenth

using Places = CloudDrive::Places;

/// A file in which a client names the folders it keeps in step.
struct Client
{
    QString Places::*place;
    const char *file; ///< below that place
    QStringList (*folders)(const QString &path);
};

// In the order in which they are asked. Syncthing goes on using an older place where it has one.
constexpr Client clients[] = {
    {&Places::configHome, "Nextcloud/nextcloud.cfg", CloudClients::nextcloudFolders},
    {&Places::home, ".var/app/com.nextcloud.desktopclient.nextcloud/config/Nextcloud/nextcloud.cfg",
     CloudClients::nextcloudFolders},
    {&Places::dataHome, "data/Nextcloud/nextcloud.cfg", CloudClients::nextcloudFolders},
    {&Places::configHome, "ownCloud/owncloud.cfg", CloudClients::nextcloudFolders},
    {&Places::dataHome, "data/ownCloud/owncloud.cfg", CloudClients::nextcloudFolders},
    {&Places::home, ".dropbox/info.json", CloudClients::dropboxFolders},
    {&Places::syncthingHome, "config.xml", CloudClients::syncthingFolders},
    {&Places::configHome, "syncthing/config.xml", CloudClients::syncthingFolders},
    {&Places::home, ".config/syncthing/config.xml", CloudClients::syncthingFolders},
    {&Places::stateHome, "syncthing/config.xml", CloudClients::syncthingFolders},
    {&Places::home, ".local/state/syncthing/config.xml", CloudClients::syncthingFolders},
};

/// Whether reading it neither waits, as for a pipe, nor takes long. Without a word in the log for
/// what is not there: nobody has all of these clients.
bool isSettingsFile(const QString &path)
{
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return false;
    if (S_ISREG(info.st_mode) && info.st_size <= largestSettings)
        return true;
    qCWarning(cloudLog) << "is no settings file of a synchronising program:" << path;
    return false;
}

bool isWritableFolder(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat info
    {};
    return ::stat(name.constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           ::access(name.constData(), W_OK | X_OK) == 0;
}

/// Empty when the path leads nowhere by itself.
QString absolute(const QString &path, const QString &home)
{
    const bool isBelowHome = path == u'~' || path.startsWith(QStringLiteral("~/"));
    const QString whole = isBelowHome ? home + path.mid(1) : path;
    return whole.startsWith(u'/') && !whole.contains(QChar::Null) ? QDir::cleanPath(whole)
                                                                  : QString();
}

class DetectedDrive final : public CloudDrive
{
public:
    DetectedDrive(Places places, const UserDefaults &defaults)
        : m_places(std::move(places))
        , m_defaults(defaults)
    {}

    bool isSignedIn() const override { return !folder().isEmpty(); }

    std::optional<QString> containerRoot(const QString &) const override
    {
        if (!isSignedIn())
            return std::nullopt;
        return QDir::cleanPath(folder() + u'/' + containerName);
    }

private:
    /// Empty when there is none.
    [[nodiscard]] const QString &folder() const
    {
        if (!m_folder)
            m_folder = find();
        return *m_folder;
    }

    [[nodiscard]] QString find() const
    {
        const QJsonValue choice = m_defaults.object(folderKey);
        if (choice.isString()) {
            const QString path = absolute(choice.toString(), m_places.home);
            // The user's notes never move to a place that the user's own choice ruled out.
            if (!path.isEmpty() || choice.toString().isEmpty())
                return isWritableFolder(path) ? path : QString();
        }
        for (const Client &client : clients) {
            if (const QString path = folderOf(client); !path.isEmpty())
                return path;
        }
        return {};
    }

    [[nodiscard]] QString folderOf(const Client &client) const
    {
        const QString &place = m_places.*client.place;
        if (place.isEmpty())
            return {};
        const QString settings = place + u'/' + QLatin1String(client.file);
        if (!isSettingsFile(settings))
            return {};
        for (const QString &name : client.folders(settings)) {
            const QString path = absolute(name, m_places.home);
            if (!path.isEmpty() && isWritableFolder(path))
                return path;
            qCWarning(cloudLog) << "is no folder to write to:" << name;
        }
        return {};
    }

    Places m_places;
    const UserDefaults &m_defaults;
    mutable std::optional<QString> m_folder;
};

/// Empty when neither variable says an absolute path.
QString syncthingHomeOfUser()
{
    for (const char *variable : {"STCONFDIR", "STHOMEDIR"}) {
        const QString path = absolute(qEnvironmentVariable(variable), Folders::home());
        if (!path.isEmpty())
            return path;
    }
    return {};
}

} // namespace

Places Places::ofUser()
{
    return {Folders::home(), Folders::configHome(), Folders::dataHome(), Folders::stateHome(),
            syncthingHomeOfUser()};
}

std::unique_ptr<CloudDrive> CloudDrive::create(Places places, const UserDefaults &defaults)
{
    return std::make_unique<DetectedDrive>(std::move(places), defaults);
}

CloudDrive &CloudDrive::system()
{
    static DetectedDrive drive(Places::ofUser(), UserDefaults::standard());
    return drive;
}

} // namespace Platform
