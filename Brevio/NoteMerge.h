#pragma once

#include "Brevio/StoreFile.h"

/// How two versions of the notes become one. Pure functions: what happens to the lists, without
/// the file and without the announcements. `file` is what was read, the lists are memory's.
namespace Brevio::NoteMerge {

struct Merged
{
    NoteList notes;           ///< newest edit first; equal times keep their order, the file's first
    TombstoneList tombstones; ///< oldest first
};

/// Every note of both sides, of two copies the one edited later (the file's when equal), less
/// those deleted after their last edit. Tombstones older than 30 days hide their notes one last
/// time and are dropped.
[[nodiscard]] Merged merge(OnDisk file, const NoteList &notes, const TombstoneList &tombstones,
                           Instant now);

/// Whether each of these notes was deleted after its last edit.
[[nodiscard]] bool areAllDeleted(const NoteList &notes, const TombstoneList &tombstones);

} // namespace Brevio::NoteMerge
