#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace Platform {

class UserDefaults;

/// The user's synced folder, as far as this machine knows one. Main thread only.
class CloudDrive
{
public:
    /// Where the traces of synchronising programs are looked for. Absolute paths.
    struct Places
    {
        QString home;
        QString configHome;
        QString dataHome;
        QString stateHome;
        QString syncthingHome; ///< where Syncthing was told to keep its settings; empty: nowhere

        /// The user's own, from the environment.
        [[nodiscard]] static Places ofUser();
    };

    virtual ~CloudDrive() = default;

    /// Whether the user has a synced folder here at all.
    [[nodiscard]] virtual bool isSignedIn() const = 0;

    /// The absolute path of the folder set apart for the application with this identifier; it need
    /// not exist yet. Nothing when the drive cannot give one (now).
    [[nodiscard]] virtual std::optional<QString> containerRoot(const QString &identifier) const = 0;

    /// The first of these that is a folder one may write to: the user default "brevio.cloudFolder",
    /// the folders of Nextcloud or ownCloud, Dropbox's, Syncthing's. The user default is an
    /// absolute path, "~/" included, and decides alone: when its folder is gone, or it is the empty
    /// string, there is no drive. Any other value of it is as if there were none. The container of
    /// every application is the subfolder "Brevio".
    ///
    /// Looked for at the first question, in a fraction of a millisecond; the answer then holds for
    /// the life of the object. The defaults must outlive it. Never null.
    [[nodiscard]] static std::unique_ptr<CloudDrive> create(Places places,
                                                            const UserDefaults &defaults);

    /// The machine's drive. Lives as long as the process.
    static CloudDrive &system();
};

} // namespace Platform
