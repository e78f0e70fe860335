#include "Brevio/Notes/NoteMerge.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace Brevio;
using namespace std::chrono;

namespace {

constexpr Instant now = sys_days{2025y / March / 14} + 9h;

const QUuid a = QUuid::fromString(u"6F1C2A4E-8B3D-4C55-9E0A-2D7B1F3C4A90"_s);

Note noteAt(const QUuid &id, seconds edited, const QString &body)
{
    return {id, body, now - 24h, now + edited, false};
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
};

QTEST_GUILESS_MAIN(NoteMergeTests)
#include "NoteMergeTests.moc"
