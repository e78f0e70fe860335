#pragma once

#include "Brevio/Notes/Note.h"

#include <QByteArray>

#include <optional>

namespace Brevio {

/// What a store file holds.
struct OnDisk
{
    qint64 version = 2; ///< read, and nothing depends on it; 2 where the file names none
    NoteList notes;
    TombstoneList tombstones;

    bool operator==(const OnDisk &) const = default;
};

/// The format of "notes.json", to the byte. Pure functions. Any thread.
namespace StoreFile {

/// The bytes of a file of version 3, with the lists in the given order. Times lose their fraction
/// of a second, and are moved into the years 1 to 9999, all that the format can say. Half a
/// surrogate pair, which no UTF-8 can hold, becomes a question mark.
[[nodiscard]] QByteArray encode(const NoteList &notes, const TombstoneList &tombstones);

/// All of the file, or nothing: one bad member makes the whole unreadable, so that what was not
/// understood is never written back without it. `now` stands in for a missing creation time.
[[nodiscard]] std::optional<OnDisk> decode(const QByteArray &bytes, Instant now);

} // namespace StoreFile

} // namespace Brevio
