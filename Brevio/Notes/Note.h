#pragma once

#include "Platform/Core/Clock.h"

#include <QHash>
#include <QString>
#include <QUuid>

#include <vector>

namespace Brevio {

using Platform::Instant;

/// One card. A plain value; NoteStore holds the rules by which it changes.
struct Note
{
    QUuid id;               ///< given once, at creation; never changes
    QString body;           ///< plain text, as typed; may be empty
    Instant createdAt{};    ///< expiry counts from here
    Instant lastEditedAt{}; ///< when the body last changed; newer wins a merge and sorts first
    bool isPinned = false;  ///< a pinned note never expires

    /// A note with a random identifier of its own, created and last edited at this moment.
    [[nodiscard]] static Note create(Instant now, const QString &body = {})
    {
        return {QUuid::createUuid(), body, now, now, false};
    }

    bool operator==(const Note &) const = default;
};

/// The trace of a deletion: copies of the note last edited before `deletedAt` are gone for good.
struct Tombstone
{
    QUuid id;
    Instant deletedAt{};

    bool operator==(const Tombstone &) const = default;
};

[[nodiscard]] inline std::size_t qHash(const Note &note, std::size_t seed = 0)
{
    return qHashMulti(seed, note.id, note.body, note.createdAt.time_since_epoch().count(),
                      note.lastEditedAt.time_since_epoch().count(), note.isPinned);
}

[[nodiscard]] inline std::size_t qHash(const Tombstone &tombstone, std::size_t seed = 0)
{
    return qHashMulti(seed, tombstone.id, tombstone.deletedAt.time_since_epoch().count());
}

using NoteList = std::vector<Note>;
using TombstoneList = std::vector<Tombstone>;

} // namespace Brevio
