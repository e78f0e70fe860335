#include "Brevio/NoteMerge.h"

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

bool isDeleted(const Note &note, const DeletionTimes &times)
{
    const auto deletion = times.constFind(note.id);
    return deletion != times.cend() && *deletion > note.lastEditedAt;
}

} // namespace

Merged merge(OnDisk file, const NoteList &notes, const TombstoneList &tombstones, Instant now)
{
    Merged merged;
    QHash<QUuid, std::size_t> places;
    const auto place = [&](const Note &note) -> Note * {
        const auto known = places.constFind(note.id);
        if (known != places.cend())
            return &merged.notes[*known];
        places.insert(note.id, merged.notes.size());
        merged.notes.push_back(note);
        return nullptr;
    };
    for (const Note &note : file.notes) {
        if (Note *earlier = place(note))
            *earlier = note;
    }
    for (const Note &note : notes) {
        if (Note *other = place(note); other && note.lastEditedAt > other->lastEditedAt)
            *other = note;
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

bool areAllDeleted(const NoteList &notes, const TombstoneList &tombstones)
{
    DeletionTimes times;
    add(times, tombstones);
    return std::all_of(notes.begin(), notes.end(),
                       [&](const Note &note) { return isDeleted(note, times); });
}

} // namespace Brevio::NoteMerge
