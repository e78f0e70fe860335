#pragma once

#include "Brevio/Notes/StoreFile.h"
#include "Platform/Storage/Files.h"

namespace Brevio {

/// The store file as one store knows it: which state of it memory has taken in or was written to
/// it, so that nothing is written over what was not read. A local file is read once and then this
/// program's own; one in the synced folder may be another machine's at any time. Owned by the
/// store.
class NoteStoreFile final
{
public:
    NoteStoreFile(QString path, bool isSynced);

    enum class Look {
        Absent,     ///< and was never there
        Gone,       ///< there was one
        Known,      ///< as it was read or written last
        New,        ///< read, and known from now on
        Unreadable, ///< there, and no notes could be read from it
    };
    struct Found
    {
        Look look;
        OnDisk content{}; ///< where it is new
    };
    [[nodiscard]] Found look(Instant now);
    /// What it holds at this moment, known or not; nothing when it cannot be read as notes.
    [[nodiscard]] std::optional<OnDisk> content(Instant now) const;

    /// Whether only another look tells what a write would replace.
    [[nodiscard]] bool isOthers() const;
    /// For a file of our own: sets one that another program has damaged aside. False when it cannot
    /// be moved; then nothing may be written.
    [[nodiscard]] bool makeWay(Instant now);
    /// Replaces the file, if it is still the one known.
    [[nodiscard]] Platform::Files::Replacement replace(const QByteArray &bytes);

    /// Whether the file says the same as these bytes of a store, in whatever order.
    [[nodiscard]] bool says(const QByteArray &bytes, Instant now) const;
    /// Waits until what another program wrote is safely on the disk.
    [[nodiscard]] bool sync() const { return Platform::Files::sync(m_path); }

private:
    QString m_path;
    bool m_isSynced;
    bool m_wasRead = false; ///< or written, at some time
    /// The file last read or written; nothing when there was none or it is not known.
    std::optional<Platform::Files::Identity> m_known;
};

} // namespace Brevio
