#pragma once

#include "Brevio/Notes/StoreFile.h"

/// The copies that the clients of synced folders lay beside a file when two machines have written
/// it: of Nextcloud, ownCloud, Dropbox (in the languages it names them in), Syncthing and Seafile.
/// Pure functions. Any thread.
namespace Brevio::ConflictCopies {

/// Whether a client would name its copy of the store "notes.json" like this. What people name
/// themselves, such as "notes (1).json" or "notes backup.json", is no such name.
[[nodiscard]] bool isNameOfOne(const QString &fileName);

/// Whether what was decoded from these bytes is certainly a store: any JSON object decodes, but
/// one without notes has to be what Brevio itself writes.
[[nodiscard]] bool isStore(const OnDisk &content, const QByteArray &bytes);

} // namespace Brevio::ConflictCopies
