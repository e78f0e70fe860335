#include "Brevio/NoteMerge.h"

#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <algorithm>

using namespace Brevio;
using namespace std::chrono;

namespace {

constexpr Instant now = sys_days{2025y / March / 14} + 9h;
constexpr int randomPairs = 2'000;

const QUuid a = QUuid::fromString(QStringLiteral("6F1C2A4E-8B3D-4C55-9E0A-2D7B1F3C4A90"));

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
    void theLaterEditOfTwoCopiesWins_data()
    {
        QTest::addColumn<int>("inFile");
        QTest::addColumn<int>("inMemory");
        QTest::addColumn<QString>("body");
        QTest::newRow("memory is later") << 5 << 7 << QStringLiteral("memory");
        QTest::newRow("file is later") << 7 << 5 << QStringLiteral("file");
        QTest::newRow("equal") << 5 << 5 << QStringLiteral("file");
    }
    void theLaterEditOfTwoCopiesWins()
    {
        QFETCH(int, inFile);
        QFETCH(int, inMemory);
        QFETCH(QString, body);
        const auto merged =
            NoteMerge::merge({3, {noteAt(a, seconds(inFile), QStringLiteral("file"))}, {}},
                             {noteAt(a, seconds(inMemory), QStringLiteral("memory"))}, {}, now);
        QCOMPARE(merged.notes.size(), 1U);
        QCOMPARE(merged.notes[0].body, body);
    }

    void theLaterOfTwoCopiesInOneFileStands()
    {
        const auto merged = NoteMerge::merge(
            {3,
             {noteAt(a, 9s, QStringLiteral("first")), noteAt(a, 5s, QStringLiteral("second"))},
             {}},
            {}, {}, now);
        QCOMPARE(merged.notes, NoteList{noteAt(a, 5s, QStringLiteral("second"))});
    }

    void aDeletionBeatsEarlierEditsOnly_data()
    {
        QTest::addColumn<int>("editedAt");
        QTest::addColumn<bool>("survives");
        QTest::newRow("before") << 9 << false;
        QTest::newRow("at the same time") << 10 << true;
        QTest::newRow("after") << 11 << true;
    }
    void aDeletionBeatsEarlierEditsOnly()
    {
        QFETCH(int, editedAt);
        QFETCH(bool, survives);
        const Note note = noteAt(a, seconds(editedAt), {});
        const TombstoneList tombstones{{a, now + 10s}};
        for (const auto &merged : {NoteMerge::merge({3, {}, tombstones}, {note}, {}, now),
                                   NoteMerge::merge({3, {note}, {}}, {}, tombstones, now)}) {
            QCOMPARE(merged.notes.size(), survives ? 1U : 0U);
            QCOMPARE(merged.tombstones, tombstones);
        }
        QCOMPARE(NoteMerge::areAllDeleted({note}, tombstones), !survives);
        QVERIFY(!NoteMerge::areAllDeleted({note}, {}));
    }

    void tombstonesLiveThirtyDaysAndHideTheirNoteOneLastTime_data()
    {
        QTest::addColumn<int>("age"); // seconds beyond 30 days
        QTest::addColumn<bool>("isKept");
        QTest::newRow("a second less") << -1 << true;
        QTest::newRow("thirty days") << 0 << false;
        QTest::newRow("a second more") << 1 << false;
    }
    void tombstonesLiveThirtyDaysAndHideTheirNoteOneLastTime()
    {
        QFETCH(int, age);
        QFETCH(bool, isKept);
        const Instant deletedAt = now - 24h * 30 - seconds(age);
        const Note note{a, {}, deletedAt - 1s, deletedAt - 1s, true};
        const auto merged = NoteMerge::merge({3, {note}, {{a, deletedAt}}}, {}, {}, now);
        QVERIFY(merged.notes.empty());
        QCOMPARE(merged.tombstones.size(), isKept ? 1U : 0U);
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
            QCOMPARE(QSet(merged.tombstones.begin(), merged.tombstones.end()),
                     QSet(mirrored.tombstones.begin(), mirrored.tombstones.end()));

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
