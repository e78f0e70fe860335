#pragma once

#include <QString>

namespace Platform {
class CloudDrive;
}

namespace Brevio {

/// Where the notes of this start lie: absolute paths. Nothing is made, copied or changed by asking;
/// that is up to whoever uses the places.
struct StoreLocation
{
    QString folder;      ///< the store file's
    QString file;        ///< the store file
    QString localFolder; ///< the program's own; the store file's too where nothing is synced
    QString localFile;   ///< the store file of a start without a synced folder
    QString unsavedFile; ///< for notes that the store file cannot take
    bool isSynced = false;

    /// The synced folder where there is one, the local one otherwise. The folders given are those
    /// in which the programs of this user keep their data; they need not exist.
    [[nodiscard]] static StoreLocation find(const Platform::CloudDrive &drive,
                                            const QString &applicationSupportFolder,
                                            const QString &libraryFolder);
};

} // namespace Brevio
