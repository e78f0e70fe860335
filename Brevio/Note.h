#pragma once

#include "Platform/Core/Clock.h"

#include <QString>
#include <QUuid>

#include <vector>

namespace Brevio {

using Platform::Instant;

/// One card. A plain value; NoteStore holds the rules by which it changes.
struct Note
{
    QUuid id;            ///< given once, at creation; never changes
    QString body;        ///< plain text, as typed; may be empty
    Instant createdAt{}; ///< expiry counts from here
    Instant lastEditedAt{}; ///< when the body last changed; newer wins a merge and sorts first
    bool isPinned = false;  ///< a pinned note never expires

    bool operator==(const Note &) const = default;
};

/// The trace of a deletion: copies of the note last edited before `deletedAt` are gone for good.
struct Tombstone
{
    QUuid id;
    Instant deletedAt{};

    bool operator==(const Tombstone &) const = default;
};

using NoteList = std::vector<Note>;
using TombstoneList = std::vector<Tombstone>;

} // namespace Brevio
