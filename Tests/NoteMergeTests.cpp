#include "Brevio/NoteMerge.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace Brevio;
using namespace std::chrono;

namespace {

constexpr Instant now = sys_days{2025y / March / 14} + 9h;
constexpr int randomPairs = 2'000;

const QUuid a = QUuid::fromString(u"6F1C2A4E-8B3D-4C55-9E0A-2D7B1F3C4A90"_s);

Note noteAt(const QUuid &id, seconds edited, const QString &body)
{
    return {id, body, now - 24h, now + edited, false};
}

/// Notes and deletions of a few identifiers at distinct times, as one machine might hold them.
OnDisk randomSide(const std::vector<QUuid> &ids, QRandomGenerator &random, int parity)
{
    OnDisk side;
    for (const QUuid &id : ids) {
        const auto time = [&] { return seconds(2 * random.bounded(1'000'000) + parity); };
        if (random.bounded(3) > 0)
            side.notes.push_back(noteAt(id, time(), QString::number(random.generate())));
        if (random.bounded(3) == 0)
            side.tombstones.push_back({id, now + time()});
    }
    std::ranges::sort(side.notes, std::ranges::greater(), &Note::lastEditedAt);
    return side;
}

} // namespace

class NoteMergeTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theLaterEditOfTwoCopiesWinsAndTheFilesWhenEqual()
    {
        for (const int lead : {-1, 0, 1}) {
            const Note inFile = noteAt(a, 5s, u"file"_s);
            const Note inMemory = noteAt(a, seconds(5 + lead), u"memory"_s);
            const auto merged = NoteMerge::merge({3, {inFile}, {}}, {inMemory}, {}, now);
            QCOMPARE(merged.notes, NoteList{lead > 0 ? inMemory : inFile});
        }
    }

    void theLaterOfTwoCopiesInOneFileStands()
    {
        const Note first = noteAt(a, 9s, u"first"_s), second = noteAt(a, 5s, u"second"_s);
        QCOMPARE(NoteMerge::merge({3, {first, second}, {}}, {}, {}, now).notes, NoteList{second});
    }

    void aDeletionBeatsEarlierEditsOnly()
    {
        for (const int lead : {-1, 0, 1}) {
            const Note note = noteAt(a, seconds(10 + lead), {});
            const TombstoneList tombstones{{a, now + 10s}};
            for (const auto &merged : {NoteMerge::merge({3, {}, tombstones}, {note}, {}, now),
                                       NoteMerge::merge({3, {note}, {}}, {}, tombstones, now)}) {
                QCOMPARE(merged.notes.size(), lead < 0 ? 0U : 1U);
                QCOMPARE(merged.tombstones, tombstones);
            }
            QCOMPARE(NoteMerge::areAllDeleted({note}, tombstones), lead < 0);
            QVERIFY(!NoteMerge::areAllDeleted({note}, {}));
        }
    }

    void tombstonesLiveThirtyDaysAndHideTheirNoteOneLastTime()
    {
        for (const int lead : {-1, 0, 1}) {
            const Instant deletedAt = now - 24h * 30 + seconds(lead);
            const Note note{a, {}, deletedAt - 1s, deletedAt - 1s, true};
            const auto merged = NoteMerge::merge({3, {note}, {{a, deletedAt}}}, {}, {}, now);
            QVERIFY(merged.notes.empty());
            QCOMPARE(merged.tombstones.size(), lead > 0 ? 1U : 0U);
        }
    }

    void anyTwoSidesMergeWithoutLossInEitherDirection()
    {
        QRandomGenerator random(20250314);
        std::vector<QUuid> ids(8);
        std::ranges::generate(ids, QUuid::createUuid);
        for (int i = 0; i < randomPairs; ++i) {
            const OnDisk x = randomSide(ids, random, 0);
            const OnDisk y = randomSide(ids, random, 1);
            const auto merged = NoteMerge::merge(x, y.notes, y.tombstones, now);
            const auto mirrored = NoteMerge::merge(y, x.notes, x.tombstones, now);
            QVERIFY(merged.notes == mirrored.notes);
            QVERIFY2(merged.tombstones == mirrored.tombstones, "the order counts too");

            const auto again =
                NoteMerge::merge({3, merged.notes, merged.tombstones}, y.notes, y.tombstones, now);
            QVERIFY2(again.notes == merged.notes, "merging a side twice changed something");

            QVERIFY(
                std::ranges::is_sorted(merged.notes, std::ranges::greater(), &Note::lastEditedAt));
            for (const QUuid &id : ids) {
                const bool isThere = std::ranges::count(merged.notes, id, &Note::id) == 1;
                Instant edited = Instant::min();
                Instant deleted = Instant::min();
                for (const OnDisk &side : {x, y}) {
                    for (const Note &note : side.notes)
                        edited = note.id == id ? std::max(edited, note.lastEditedAt) : edited;
                    for (const Tombstone &tombstone : side.tombstones)
                        deleted =
                            tombstone.id == id ? std::max(deleted, tombstone.deletedAt) : deleted;
                }
                QCOMPARE(isThere, edited != Instant::min() && edited >= deleted);
            }
        }
    }
};

QTEST_GUILESS_MAIN(NoteMergeTests)
#include "NoteMergeTests.moc"
