#include "Brevio/Notes/NoteMerge.h"

#include <algorithm>

namespace Brevio::NoteMerge {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds tombstoneLife = 24h * 30;

using DeletionTimes = QHash<QUuid, Instant>;

void add(DeletionTimes &times, const TombstoneList &tombstones)
{
    for (const Tombstone &tombstone : tombstones) {
        const auto known = times.constFind(tombstone.id);
        if (known == times.cend() || tombstone.deletedAt > *known)
            times.insert(tombstone.id, tombstone.deletedAt);
    }
}

/// When the file says that this happened.
Instant inFile(Instant time)
{
    return std::chrono::floor<std::chrono::seconds>(time);
}

bool isSameEdit(const Note &one, const Note &other)
{
    return inFile(one.lastEditedAt) == inFile(other.lastEditedAt) && one.body == other.body;
}

bool isDeleted(const Note &note, const DeletionTimes &times)
{
    const auto deletion = times.constFind(note.id);
    return deletion != times.cend() && *deletion > note.lastEditedAt;
}

} // namespace

Merged merge(const OnDisk &file, const NoteList &notes, const TombstoneList &tombstones,
             Instant now, WhenEqual whenEqual, const QSet<QUuid> &ownPins)
{
    QHash<QUuid, const Note *> onlyInFile;
    onlyInFile.reserve(static_cast<qsizetype>(file.notes.size()));
    for (const Note &note : file.notes)
        onlyInFile.insert(note.id, &note);

    Merged merged;
    merged.notes.reserve(notes.size() + file.notes.size());
    for (const Note &note : notes) {
        const Note *other = onlyInFile.take(note.id);
        const bool fileStands =
            other && (whenEqual == WhenEqual::File ? note.lastEditedAt <= other->lastEditedAt
                                                   : note.lastEditedAt < other->lastEditedAt);
        merged.notes.push_back(fileStands ? *other : note);
        if (ownPins.contains(note.id))
            merged.notes.back().isPinned = note.isPinned;
        else if (other && whenEqual == WhenEqual::File && isSameEdit(note, *other))
            merged.notes.back().isPinned = other->isPinned;
    }
    for (const Note &note : file.notes) {
        if (const Note *latest = onlyInFile.take(note.id))
            merged.notes.push_back(*latest);
    }

    DeletionTimes times;
    add(times, tombstones);
    add(times, file.tombstones);
    std::erase_if(merged.notes, [&](const Note &note) { return isDeleted(note, times); });
    std::stable_sort(merged.notes.begin(), merged.notes.end(),
                     [](const Note &a, const Note &b) { return a.lastEditedAt > b.lastEditedAt; });

    for (auto deletion = times.cbegin(); deletion != times.cend(); ++deletion) {
        if (deletion.value() > now - tombstoneLife)
            merged.tombstones.push_back({deletion.key(), deletion.value()});
    }
    // The same deletions give the same file, whatever the order of the hash.
    std::ranges::sort(merged.tombstones, {}, [](const Tombstone &tombstone) {
        return std::pair(tombstone.deletedAt, tombstone.id);
    });
    return merged;
}

bool addsTo(const OnDisk &file, const NoteList &notes, const TombstoneList &tombstones,
            Instant expiredBefore)
{
    QHash<QUuid, Instant> edits;
    for (const Note &note : file.notes)
        edits.insert(note.id, note.lastEditedAt);
    DeletionTimes deletions;
    add(deletions, file.tombstones);

    const auto isNews = [](const QHash<QUuid, Instant> &known, const QUuid &id, Instant time) {
        const auto there = known.constFind(id);
        return there == known.cend() || inFile(time) > *there;
    };
    return std::ranges::any_of(notes,
                               [&](const Note &note) {
                                   return (note.isPinned || note.createdAt >= expiredBefore) &&
                                          isNews(edits, note.id, note.lastEditedAt);
                               }) ||
           std::ranges::any_of(tombstones, [&](const Tombstone &tombstone) {
               return isNews(deletions, tombstone.id, tombstone.deletedAt);
           });
}

bool areAllDeleted(const NoteList &notes, const TombstoneList &tombstones)
{
    DeletionTimes times;
    add(times, tombstones);
    return std::all_of(notes.begin(), notes.end(),
                       [&](const Note &note) { return isDeleted(note, times); });
}

} // namespace Brevio::NoteMerge
