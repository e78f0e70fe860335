#pragma once

#include "Brevio/Notes/StoreFile.h"

#include <QSet>

/// How two versions of the notes become one. Pure functions: what happens to the lists, without
/// the file and without the announcements. `file` is what was read, the lists are memory's.
namespace Brevio::NoteMerge {

struct Merged
{
    NoteList notes;           ///< newest edit first; of equal times memory's first, in its order
    TombstoneList tombstones; ///< oldest first
};

/// Whose copy stands when both were edited at the same time.
enum class WhenEqual {
    File,  ///< and its pin also where the fraction of a second alone, which a file cannot hold,
           ///< makes memory's copy of the same text the later one
    Memory ///< for a file that is not the store itself
};

/// Every note of both sides, of two copies the one edited later, less those deleted after their
/// last edit. A note of `ownPins` keeps memory's pin. Tombstones older than 30 days hide their
/// notes one last time and are dropped.
[[nodiscard]] Merged merge(const OnDisk &file, const NoteList &notes,
                           const TombstoneList &tombstones, Instant now,
                           WhenEqual whenEqual = WhenEqual::File, const QSet<QUuid> &ownPins = {});

/// Whether writing these, which the file was merged into, would tell it anything: a note or a
/// deletion that it lacks, or one of a later second than its own. Never true once a file holds
/// both sides, so that two machines cannot go on answering each other. Notes that are not pinned
/// and were created before `expiredBefore` tell nothing.
[[nodiscard]] bool addsTo(const OnDisk &file, const NoteList &notes,
                          const TombstoneList &tombstones, Instant expiredBefore);

/// Whether each of these notes was deleted after its last edit.
[[nodiscard]] bool areAllDeleted(const NoteList &notes, const TombstoneList &tombstones);

} // namespace Brevio::NoteMerge
