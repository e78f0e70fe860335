#pragma once

#include <QStringList>

/// What programs that keep folders in step say of them in their settings: the folders, first one
/// first, as they are written there, so a path may begin with "~" and need not exist. Whatever is
/// not understood is passed over; no input is an error. `path` is that of a regular file of a
/// moderate size, which is only read. Any thread.
namespace Platform::CloudClients {

/// nextcloud.cfg, and owncloud.cfg which is the same: Qt's INI, with keys of the section
/// "Accounts" such as 0\Folders\1\localPath. A folder whose synchronising is paused counts.
[[nodiscard]] QStringList nextcloudFolders(const QString &path);

/// Dropbox's info.json: the personal account's folder, then the business account's.
[[nodiscard]] QStringList dropboxFolders(const QString &path);

/// Syncthing's config.xml: folders that are sent and received, neither paused nor kept encrypted.
[[nodiscard]] QStringList syncthingFolders(const QString &path);

} // namespace Platform::CloudClients
