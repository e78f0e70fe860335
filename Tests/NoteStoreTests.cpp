#include "Brevio/NoteStore.h"
#include "Brevio/StoreFile.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Brevio;
using namespace std::chrono;
namespace Files = Platform::Files;

namespace {

const QString text = u"Buy stamps"_s;

Note noteAt(Instant time, const QString &body = text)
{
    return Note::create(floor<seconds>(time), body);
}

} // namespace

class NoteStoreTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    ManualClock m_clock;
    ManualQueue m_queue;
    FakeCloudDrive m_drive;
    QString m_data;
    QString m_localFile;

    std::unique_ptr<NoteStore> makeStore()
    {
        return std::make_unique<NoteStore>(
            NoteStore::Environment{m_clock, m_queue, m_drive, m_data, m_data});
    }
    void putFile(const NoteList &notes) { putFile(m_localFile, StoreFile::encode(notes, {})); }
    static void putFile(const QString &path, const QByteArray &bytes)
    {
        QVERIFY(Files::makeFolder(QFileInfo(path).path()));
        QVERIFY(Files::replaceAtomically(path, bytes));
    }
    OnDisk file() { return fileAt(m_localFile); }
    OnDisk fileAt(const QString &path)
    {
        const auto content =
            StoreFile::decode(Files::read(path).value_or(QByteArray()), m_clock.now());
        return content.value_or(OnDisk{-1, {}, {}});
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_data = m_folder->filePath(u"share"_s);
        m_localFile = m_data + u"/Brevio/notes.json"_s;
        m_clock = {};
        m_drive = {};
    }

    void aFirstRunOffersAWelcomeNoteAndRestoringAddsAnother()
    {
        const auto store = makeStore();
        QCOMPARE(store->notes().size(), 1U);
        const Note welcome = store->notes()[0];
        QCOMPARE(store->pendingWelcomeID(), welcome.id);
        QVERIFY(welcome.isPinned);
        QCOMPARE(file().notes, store->notes());
        store->restoreWelcomeNote();
        QCOMPARE(store->notes().size(), 2U);
        QCOMPARE(store->notes()[0].body, welcome.body);
        QVERIFY(store->notes()[0].id != welcome.id && store->notes()[0].isPinned);
        QCOMPARE(store->pendingWelcomeID(), welcome.id);
        QCOMPARE(file().notes, store->notes());
        QVERIFY(!makeStore()->pendingWelcomeID());
    }

    void aFileThatCannotBeReadIsNeverOverwritten()
    {
        for (const QByteArray bytes :
             {"{\"notes\":[{\"body\":\"precious", "", R"({"notes":[{},{"id":"x"}]})"}) {
            putFile(m_localFile, bytes);
            const auto store = makeStore();
            const auto id = store->newNote();
            m_queue.advance(1s);
            store->restoreWelcomeNote();
            QCOMPARE(Files::read(m_localFile), bytes);

            const Note repaired = noteAt(m_clock.now() - 1h);
            putFile({repaired});
            store->togglePin(id);
            m_queue.advance(400ms);
            QCOMPARE(file().notes.size(), 3U);
            QCOMPARE(store->note(repaired.id), repaired);
        }
    }

    void aBurstOfEditsIsWrittenOnceAfterItsLast()
    {
        putFile({});
        auto store = makeStore();
        const auto id = store->newNote();
        for (int key = 1; key <= 5; ++key) {
            m_queue.advance(300ms);
            store->setBody(id, text.first(key));
        }
        m_queue.advance(399ms);
        QVERIFY(file().notes.empty());
        m_queue.advance(1ms);
        QCOMPARE(file().notes.at(0).body, text.first(5));
        QCOMPARE(m_queue.pendingJobs(), 0);

        store->setBody(id, text);
        store->flush();
        QCOMPARE(file().notes.at(0).body, text);
        QCOMPARE(m_queue.pendingJobs(), 0);
        putFile({});
        store->togglePin(id);
        store.reset();
        m_queue.advance(1s);
        QVERIFY2(file().notes.empty(), "the store is gone");
    }

    void typingStampsOnlyWhatChangesAndMovesNothing()
    {
        const auto store = makeStore();
        const auto id = store->newNote();
        const auto later = store->newNote();
        QCOMPARE(store->notes()[0], (Note{later, {}, m_clock.now(), m_clock.now(), false}));
        const Note loaded = *store->note(id);
        const Note *const place = &store->notes()[1];

        m_clock.advance(1min);
        store->setBody(id, text);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now(), false}));
        store->togglePin(id);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now(), true}));
        m_clock.advance(1min);
        store->setBody(id, text);
        store->togglePin(id);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now() - 1min, false}));
        store->revert(id, loaded.body, loaded.lastEditedAt);
        QCOMPARE(store->note(id), loaded);
        QVERIFY2(&store->notes()[1] == place && place->id == id, "the list was copied");
    }

    void aDeletionLeavesOneTombstoneAndTheLatestTime()
    {
        putFile({noteAt(m_clock.now() - 1h)});
        const auto store = makeStore();
        const auto id = store->notes()[0].id;
        const auto unknown = QUuid::createUuid();
        store->deleteNote(id);
        m_clock.advance(5s);
        store->deleteNote(id);
        store->deleteNote(unknown);
        m_queue.advance(400ms);
        QVERIFY(store->notes().empty());
        QVERIFY(file().notes.empty());
        QCOMPARE(file().tombstones, (TombstoneList{{id, m_clock.now()}, {unknown, m_clock.now()}}));
    }

    void notesExpireSevenDaysAfterTheyWereCreatedUnlessPinned()
    {
        for (const auto beyond : {-1s, 0s, 1s}) {
            const Instant created = m_clock.now() - 24h * 7 - beyond;
            const Instant edited = m_clock.now() - 1min;
            const Note plain{QUuid::createUuid(), text, created, edited, false};
            const Note pinned{QUuid::createUuid(), text, created, edited, true};
            putFile({plain, pinned});
            const auto store = makeStore();
            QCOMPARE(store->note(plain.id).has_value(), beyond <= 0s);
            QVERIFY(store->note(pinned.id));
            QCOMPARE(file().notes.size(), store->notes().size());
        }
    }

    void expiryNeverEmptiesAFileThatHoldsNotes()
    {
        const Note note = noteAt(m_clock.now());
        putFile({note});
        const auto store = makeStore();
        m_clock.advance(24h * 8);
        store->purgeExpired();
        QCOMPARE(store->notes(), NoteList{note});
        m_queue.advance(400ms);
        QCOMPARE(file().notes, NoteList{note});
    }

    void theCloudFileIsChosenAndFilledOnce_data()
    {
        QTest::addColumn<bool>("isSignedIn");
        QTest::addColumn<bool>("hasRoot");
        QTest::addColumn<QString>("chosen"); // the folder, below the test's
        QTest::newRow("signed out") << false << true << u"share/Brevio"_s;
        QTest::newRow("container") << true << true << u"drive/Documents"_s;
        QTest::newRow("fallback") << true << false
                                  << u"share/Mobile Documents/org~brevio~Brevio/Documents"_s;
    }
    void theCloudFileIsChosenAndFilledOnce()
    {
        QFETCH(bool, isSignedIn);
        QFETCH(bool, hasRoot);
        QFETCH(QString, chosen);
        m_drive.signedIn = isSignedIn;
        if (hasRoot)
            m_drive.root = m_folder->filePath(u"drive"_s);
        QVERIFY(QDir().mkpath(m_data + u"/Mobile Documents/org~brevio~Brevio"_s));
        const Note note = noteAt(m_clock.now() - 1h);
        putFile({note});

        const QString path = m_folder->filePath(chosen + u"/notes.json"_s);
        const auto store = makeStore();
        QCOMPARE(store->notes(), NoteList{note});
        QCOMPARE(fileAt(path).notes, NoteList{note});
        store->newNote();
        m_queue.advance(1s);
        QCOMPARE(fileAt(path).notes.size(), 2U);
        QCOMPARE(file().notes.size(), path == m_localFile ? 2U : 1U);
        QCOMPARE(m_drive.askedFor, m_drive.signedIn ? u"org.brevio.Brevio"_s : QString());
    }

    void remoteChangesAreMergedExceptRightAfterAWriteOfOurOwn()
    {
        m_drive.signedIn = true;
        m_drive.root = m_folder->filePath(u"drive"_s);
        const QString path = *m_drive.root + u"/Documents/notes.json"_s;
        const Note mine = noteAt(m_clock.now() - 2h);
        putFile(path, StoreFile::encode({mine}, {}));
        const auto store = makeStore();
        const auto changeRemotely = [&](const Note &note) {
            auto content = fileAt(path);
            content.notes.push_back(note);
            putFile(path, StoreFile::encode(content.notes, content.tombstones));
            store->remoteFileMayHaveChanged();
        };

        const Note theirs = noteAt(m_clock.now() - 1h);
        changeRemotely(theirs);
        QCOMPARE(store->notes(), NoteList{mine});
        m_queue.runPosted();
        QCOMPARE(store->notes(), (NoteList{theirs, mine}));
        m_queue.advance(400ms); // writes the union

        m_queue.advance(499ms);
        changeRemotely(noteAt(m_clock.now() - 3h));
        m_queue.runPosted();
        QCOMPARE(store->notes().size(), 2U);
        m_queue.advance(1ms);
        store->remoteFileMayHaveChanged();
        m_queue.runPosted();
        QCOMPARE(store->notes().size(), 3U);
    }

    void aDriveThatComesUpLateIsMergedNotOverwritten()
    {
        const QString drive = m_folder->filePath(u"drive"_s);
        QVERIFY(Files::makeFolder(m_data));
        QVERIFY(QFile::link(drive, m_data + u"/Brevio"_s));
        const auto store = makeStore();
        const auto id = store->newNote();
        m_queue.advance(1s);
        const Note precious = noteAt(m_clock.now() - 1h);
        putFile(drive + u"/notes.json"_s, StoreFile::encode({precious}, {}));
        store->setBody(id, text);
        m_queue.advance(400ms);
        QCOMPARE(file().notes.size(), 3U);
        QCOMPARE(store->note(precious.id), precious);
    }

    void afterAFailedWriteTheNextChangeWritesAll()
    {
        putFile({});
        const auto store = makeStore();
        const auto id = store->newNote();
        // A folder in the file's place.
        QVERIFY(QFile::remove(m_localFile) && QDir().mkdir(m_localFile));
        m_queue.advance(400ms);
        QVERIFY(QFileInfo(m_localFile).isDir());
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing is tried again while nothing changes");
        QVERIFY(QDir(QFileInfo(m_localFile).path()).removeRecursively());
        store->setBody(id, text);
        m_queue.advance(400ms);
        QCOMPARE(file().notes, store->notes());
    }
};

QTEST_GUILESS_MAIN(NoteStoreTests)
#include "NoteStoreTests.moc"
