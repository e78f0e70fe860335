#pragma once

#include "Brevio/Notes/StoreFile.h"
#include "Brevio/Notes/StoreLocation.h"
#include "Platform/Storage/Files.h"

#include <map>

namespace Brevio {

/// What lies beside the store file and may hold notes that it lacks: in the synced folder the
/// conflict copies of its client, and "notes.unsaved.json", in which the store keeps what the file
/// cannot take. Knows which of them memory holds already. Owned by the store.
class StoreCopies final
{
public:
    explicit StoreCopies(const StoreLocation &location);

    /// The content of those that were not read yet as they are now; the caller takes it into
    /// memory. What cannot be read as notes is left alone.
    [[nodiscard]] std::vector<OnDisk> readNew(Instant now);
    /// Whether memory holds none of them, or none is left.
    [[nodiscard]] bool areGone() const { return m_held.empty(); }
    /// Removes those that memory holds, for the moment when the store file safely holds all of
    /// memory. One that its client has rewritten since is another, to be read at the next look.
    void remove();

    /// Keeps memory in a file of our own, for as long as the store file does not hold it. One that
    /// is there and was never read is set aside first, or stays and nothing is written.
    void keepAside(const NoteList &notes, const TombstoneList &tombstones, Instant now);

private:
    [[nodiscard]] QStringList paths() const;
    [[nodiscard]] bool isHeld(const QString &path,
                              const std::optional<Platform::Files::Identity> &identity) const;

    StoreLocation m_location;
    /// As they were when memory took them in.
    std::map<QString, Platform::Files::Identity> m_held;
};

} // namespace Brevio
