#include "Brevio/Notes/StoreLocation.h"

#include "Platform/Core/ApplicationId.h"
#include "Platform/Storage/CloudDrive.h"
#include "Platform/Storage/Files.h"

namespace Brevio {

using namespace Qt::StringLiterals;

namespace {

const auto storeName = u"/notes.json"_s;

/// Empty when there is none.
QString containerOf(const Platform::CloudDrive &drive, const QString &libraryFolder)
{
    if (!drive.isSignedIn())
        return {};
    QString containerID = Platform::applicationId();
    if (const auto root = drive.containerRoot(containerID))
        return *root;
    const QString fallback =
        libraryFolder + u"/Mobile Documents/"_s + containerID.replace(u'.', u'~');
    return Platform::Files::exists(fallback) ? fallback : QString();
}

} // namespace

StoreLocation StoreLocation::find(const Platform::CloudDrive &drive,
                                  const QString &applicationSupportFolder,
                                  const QString &libraryFolder)
{
    StoreLocation location;
    location.localFolder = applicationSupportFolder + u"/Brevio"_s;
    location.localFile = location.localFolder + storeName;
    location.unsavedFile = location.localFolder + u"/notes.unsaved.json"_s;

    const QString container = containerOf(drive, libraryFolder);
    location.isSynced = !container.isEmpty();
    location.folder = location.isSynced ? container + u"/Documents"_s : location.localFolder;
    location.file = location.folder + storeName;
    return location;
}

} // namespace Brevio
