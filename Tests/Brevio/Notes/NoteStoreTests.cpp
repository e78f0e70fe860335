#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Notes/StoreFile.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeFileWatcher.h"
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
    FakeFileWatcher m_watcher;
    QString m_data;
    QString m_localFile;
    QString m_cloudFile;

    std::unique_ptr<NoteStore> makeStore()
    {
        return std::make_unique<NoteStore>(
            NoteStore::Environment{m_clock, m_queue, m_drive, m_data, m_data, m_watcher.factory()});
    }
    std::unique_ptr<NoteStore> makeCloudStore(const NoteList &notes)
    {
        m_drive.signedIn = true;
        m_drive.root = m_folder->filePath(u"drive"_s);
        putCloudFile(notes);
        return makeStore();
    }
    /// What another machine wrote has come; nothing tells of it.
    void putCloudFile(const NoteList &notes) { putFile(m_cloudFile, StoreFile::encode(notes, {})); }
    [[nodiscard]] static QStringList besides(const QString &file)
    {
        QStringList names = Files::names(QFileInfo(file).path());
        names.removeOne(u"notes.json"_s);
        return names;
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
        m_cloudFile = m_folder->filePath(u"drive/Documents/notes.json"_s);
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
        store->restoreWelcomeNote();
        QCOMPARE(store->notes().size(), 2U);
        QCOMPARE(store->notes()[0].body, welcome.body);
        QVERIFY(store->notes()[0].id != welcome.id && store->notes()[0].isPinned);
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
            QVERIFY2(makeStore()->note(id), "what was typed meanwhile survives the program");

            const Note repaired = noteAt(m_clock.now() - 1h);
            putFile({repaired});
            store->togglePin(id);
            m_queue.advance(400ms);
            QCOMPARE(file().notes.size(), 3U);
            QCOMPARE(store->note(repaired.id), repaired);
            QVERIFY2(besides(m_localFile).empty(), "what was kept meanwhile is in the file now");
        }
    }

    void aLocalFileDamagedWhileTheProgramRunsIsSetAsideNotOverwritten()
    {
        putFile({noteAt(m_clock.now())});
        const auto store = makeStore();
        putFile(m_localFile, "damaged");
        store->deleteNote(store->notes()[0].id);
        m_queue.advance(400ms);
        QCOMPARE(file().notes, store->notes());
        const QStringList kept = besides(m_localFile);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(Files::read(m_data + u"/Brevio/"_s + kept[0]), "damaged"_ba);
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

    void theCloudFileIsChosenAndFilledOnce_data()
    {
        QTest::addColumn<QString>("chosen"); // the folder, below the test's
        QTest::newRow("signed out") << u"share/Brevio"_s;
        QTest::newRow("container") << u"drive/Documents"_s;
        QTest::newRow("fallback") << u"share/Mobile Documents/org~brevio~Brevio/Documents"_s;
        QTest::newRow("no fallback") << u"share/Brevio"_s;
    }
    void theCloudFileIsChosenAndFilledOnce()
    {
        QFETCH(QString, chosen);
        const QByteArray row = QTest::currentDataTag();
        m_drive.signedIn = row != "signed out";
        if (!row.contains("fallback"))
            m_drive.root = m_folder->filePath(u"drive"_s);
        if (row != "no fallback")
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

    void notesExpireSevenDaysAfterTheyWereCreatedUnlessPinned()
    {
        Note note = noteAt(m_clock.now() - 24h * 7), older = note, pinned = note;
        older.createdAt -= 1s;
        older.id = QUuid::createUuid();
        pinned.createdAt -= 24h;
        pinned.id = QUuid::createUuid();
        pinned.isPinned = true;
        note.lastEditedAt = older.lastEditedAt = m_clock.now();
        putFile({older, note, pinned});
        const auto store = makeStore();
        QCOMPARE(store->notes(), (NoteList{note, pinned}));
        QCOMPARE(file().notes, store->notes());
        // But expiry never empties a file of notes.
        store->togglePin(pinned.id);
        m_queue.advance(1s);
        m_clock.advance(1s);
        store->purgeExpired();
        QCOMPARE(store->notes(), file().notes);
        m_queue.advance(1s);
        QCOMPARE(file().notes.size(), 2U);
    }

    void theCloudFolderIsWatchedAndALocalOneIsNot()
    {
        auto store = makeStore();
        QVERIFY(!m_watcher.isWatching());
        const Note mine = noteAt(m_clock.now() - 2h), theirs = noteAt(m_clock.now() - 1h);
        store = makeCloudStore({mine});
        QCOMPARE(m_watcher.folder, QFileInfo(m_cloudFile).path());
        QVERIFY(m_watcher.passes(u"notes.json"_s));
        QVERIFY(m_watcher.passes(u"notes (conflicted copy 2024-01-02 101112).json"_s));
        QVERIFY(!m_watcher.passes(u".~notes.json.brevio"_s));
        int changes = 0;
        const auto subscription = store->onChange([&](const NoteList &) { ++changes; });
        putCloudFile({mine, theirs});
        m_watcher.report();
        m_watcher.report();
        m_queue.advance(1s);
        QCOMPARE(store->notes(), (NoteList{theirs, mine}));
        QCOMPARE(changes, 1);
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing was written: the file holds all there is");

        // Within half a second of a write of our own nothing is looked at, and then all is.
        store->deleteNote(mine.id);
        m_queue.advance(400ms);
        m_queue.advance(499ms);
        putCloudFile({noteAt(m_clock.now())});
        m_watcher.report();
        m_queue.runPosted();
        QCOMPARE(store->notes(), NoteList{theirs});
        m_queue.advance(1ms);
        QCOMPARE(store->notes().size(), 2U);
        m_queue.advance(1s);
        QCOMPARE(fileAt(m_cloudFile).notes, store->notes());
        store.reset();
        QVERIFY(!m_watcher.isWatching());
    }

    void theNotesOutliveASyncedFileThatIsDamagedOrGone()
    {
        for (const bool isGone : {false, true}) {
            const Note mine = noteAt(m_clock.now());
            const auto store = makeCloudStore({mine});
            putFile(m_cloudFile, "{");
            QVERIFY(!isGone || QFile::remove(m_cloudFile));
            m_watcher.report();
            m_queue.runPosted();
            QVERIFY2(makeStore()->note(mine.id), "after a crash");
        }
    }

    void onlyConflictCopiesThatAreStoresGoAndOnlyAsTheyWereRead()
    {
        const Note mine = noteAt(m_clock.now() - 2h), theirs = noteAt(m_clock.now() - 1h);
        const Note later = noteAt(m_clock.now());
        const QString folder = QFileInfo(m_cloudFile).path() + u'/';
        const QString copy = folder + u"notes (conflicted copy 2024-01-02 101112).json"_s;
        const QStringList others{u"notes (1).json"_s,
                                 u"notes.sync-conflict-20240102-101112-ABCDEF7.json"_s};
        putFile(copy, StoreFile::encode({theirs}, {}));
        putFile(folder + u"notes (conflicted copy 2024-01-03 101112).json"_s,
                StoreFile::encode({}, {}));
        putFile(folder + others[0], StoreFile::encode({noteAt(m_clock.now())}, {}));
        putFile(folder + others[1], "{\"shopping\":[]}");
        const auto store = makeCloudStore({mine});
        QCOMPARE(store->notes(), (NoteList{theirs, mine}));
        // Written to again, and not noticed before the copy would go.
        putFile(copy, StoreFile::encode({theirs, later}, {}));
        m_queue.advance(2s);
        QCOMPARE(fileAt(m_cloudFile).notes, (NoteList{later, theirs, mine}));
        QCOMPARE(besides(m_cloudFile), others);
    }

    void aPinGoesToTheOtherMachineThoughItHasNoTime()
    {
        m_clock.advance(750ms); // which the file cannot say
        const auto store = makeCloudStore({});
        const auto id = store->newNote();
        m_queue.advance(1s);
        auto notes = fileAt(m_cloudFile).notes;
        notes.at(0).isPinned = true;
        putCloudFile(notes);
        m_watcher.report();
        m_queue.runPosted();
        QVERIFY(store->note(id)->isPinned);
        // And ours, not saved yet, stands against a file that does not know it.
        store->togglePin(id);
        notes.push_back(noteAt(m_clock.now() - 1h));
        putCloudFile(notes);
        m_watcher.report();
        m_queue.advance(1s);
        QVERIFY(!store->note(id)->isPinned && !fileAt(m_cloudFile).notes.at(0).isPinned);
    }

    void aLocalFolderThatComesUpLateIsMergedNotOverwritten()
    {
        const QString drive = m_folder->filePath(u"drive"_s);
        QVERIFY(Files::makeFolder(m_data));
        QVERIFY(QFile::link(drive, m_data + u"/Brevio"_s));
        const auto store = makeStore();
        m_queue.advance(1s);
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing is tried again while nothing changes");
        const Note precious = noteAt(m_clock.now() - 1h);
        putFile(drive + u"/notes.json"_s, StoreFile::encode({precious}, {}));
        store->newNote();
        m_queue.advance(400ms);
        QCOMPARE(file().notes.size(), 3U);
        QCOMPARE(store->note(precious.id), precious);
        // Where the folder has gone it is made again.
        QVERIFY(QFile::remove(m_data + u"/Brevio"_s));
        store->newNote();
        m_queue.advance(400ms);
        QCOMPARE(file().notes, store->notes());
    }
};

QTEST_GUILESS_MAIN(NoteStoreTests)
#include "NoteStoreTests.moc"
