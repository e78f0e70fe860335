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
    const QString m_conflict = u" (conflicted copy 2024-01-02 101112)"_s;

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
    static void put(const QString &path, const QByteArray &bytes)
    {
        QVERIFY(Files::makeFolder(QFileInfo(path).path()));
        QVERIFY(Files::replaceAtomically(path, bytes));
    }
    static void put(const QString &path, const NoteList &notes)
    {
        put(path, StoreFile::encode(notes, {}));
    }
    void putFile(const NoteList &notes) { put(m_localFile, notes); }
    /// What another machine wrote has come; nothing tells of it.
    void putCloudFile(const NoteList &notes) { put(m_cloudFile, notes); }
    void reportFor(milliseconds span)
    {
        m_watcher.report();
        m_queue.advance(span);
    }
    [[nodiscard]] OnDisk file() const { return fileAt(m_localFile); }
    [[nodiscard]] OnDisk fileAt(const QString &path) const
    {
        return StoreFile::decode(Files::read(path).value_or(""), m_clock.now())
            .value_or(OnDisk{-1, {}, {}});
    }
    [[nodiscard]] static QStringList besides(const QString &file)
    {
        QStringList names = Files::names(QFileInfo(file).path());
        names.removeOne(u"notes.json"_s);
        return names;
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

    void aFileThatCannotBeReadIsNeverOverwritten()
    {
        for (const QByteArray bytes :
             {"{\"notes\":[{\"body\":\"precious", "", R"({"notes":[{},{"id":"x"}]})"}) {
            put(m_localFile, bytes);
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
        put(m_localFile, "damaged");
        store->deleteNote(store->notes()[0].id);
        m_queue.advance(400ms);
        QCOMPARE(file().notes, store->notes());
        const QStringList kept = besides(m_localFile);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(Files::read(m_data + u"/Brevio/"_s + kept[0]), "damaged"_ba);
    }

    void unsavedNotesThatWereNotReadAreSetAsideOrStay()
    {
        const QString unsaved = m_data + u"/Brevio/notes.unsaved.json"_s;
        put(m_localFile, "{");
        put(unsaved, "[]");
        const auto store = makeStore();
        store->newNote();
        m_queue.advance(1s);
        QCOMPARE(Files::read(unsaved + u".unreadable-20250314-090000"_s), "[]");
        QCOMPARE(fileAt(unsaved).notes, store->notes());
        put(unsaved, "new, and the dated name is taken");
        store->newNote();
        m_queue.advance(1s);
        QCOMPARE(Files::read(unsaved), "new, and the dated name is taken");
    }

    void aDeletionIsKnownBeforeItIsToldAndWhoIsToldMayDelete()
    {
        const Note note = noteAt(m_clock.now());
        putFile({note});
        const auto local = makeStore();
        const auto flushing = local->onChange([&](const NoteList &) { local->flush(); });
        local->deleteNote(note.id);
        QVERIFY(local->notes().empty() && file().notes.empty());
        QCOMPARE(file().tombstones.size(), 1U);

        const NoteList kept{noteAt(m_clock.now() - 1h)};
        const auto store = makeCloudStore(kept);
        const auto deleting = store->onMerge([&] { store->deleteNote(store->notes()[0].id); });
        const QString copy = QFileInfo(m_cloudFile).path() + u"/notes"_s + m_conflict + u".json"_s;
        for (const QString &path : {m_cloudFile, copy}) {
            put(path, NoteList{noteAt(m_clock.now())});
            reportFor(2s);
            QVERIFY2(fileAt(m_cloudFile).notes == kept, qPrintable(path));
            QCOMPARE(fileAt(m_cloudFile).tombstones.size(), path == copy ? 2U : 1U);
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

    void typingStampsOnlyWhatChanges()
    {
        const auto store = makeStore();
        const auto id = store->newNote();
        const Note loaded = *store->note(id);
        QCOMPARE(loaded, (Note{id, {}, m_clock.now(), m_clock.now(), false}));
        m_clock.advance(1min);
        store->setBody(id, text);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now(), false}));
        m_clock.advance(1min);
        store->setBody(id, text);
        store->togglePin(id);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now() - 1min, true}));
    }

    void theCloudFileIsChosenAndFilledOnce()
    {
        struct Row
        {
            bool isSignedIn, hasContainer, hasFallback;
            QString chosen; ///< the folder, below the test's
        };
        for (const auto &[isSignedIn, hasContainer, hasFallback, chosen] :
             {Row{false, true, true, u"share/Brevio"_s},
              Row{true, true, true, u"drive/Documents"_s},
              Row{true, false, true, u"share/Mobile Documents/org~brevio~Brevio/Documents"_s},
              Row{true, false, false, u"share/Brevio"_s}}) {
            init();
            m_drive.signedIn = isSignedIn;
            if (hasContainer)
                m_drive.root = m_folder->filePath(u"drive"_s);
            if (hasFallback)
                QVERIFY(QDir().mkpath(m_data + u"/Mobile Documents/org~brevio~Brevio"_s));
            putFile({noteAt(m_clock.now() - 1h)});
            const auto store = makeStore();
            QCOMPARE(store->notes(), file().notes);
            store->newNote();
            m_queue.advance(1s);
            const QString path = m_folder->filePath(chosen + u"/notes.json"_s);
            QVERIFY2(fileAt(path).notes == store->notes(), qPrintable(chosen));
            QCOMPARE(file().notes.size(), path == m_localFile ? 2U : 1U);
            QCOMPARE(m_drive.askedFor, isSignedIn ? u"org.brevio.Brevio"_s : QString());
        }
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
        int changes = 0;
        const auto subscription = store->onChange([&](const NoteList &) { ++changes; });
        putCloudFile({mine, theirs});
        m_watcher.report();
        reportFor(1s);
        QCOMPARE(store->notes(), (NoteList{theirs, mine}));
        QCOMPARE(changes, 1);
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing was written: the file holds all there is");
        const Note one = noteAt(m_clock.now()), other = noteAt(m_clock.now());
        putCloudFile({one, theirs, mine});
        reportFor(1s);
        putCloudFile({other, one, theirs, mine}); // the order of one second is each machine's own
        const auto bytes = Files::read(m_cloudFile);
        reportFor(1s);
        QCOMPARE(store->notes().size(), 4U);
        QCOMPARE(Files::read(m_cloudFile), bytes);

        // Within half a second of a write of our own nothing is looked at, and then all is.
        store->deleteNote(mine.id);
        m_queue.advance(400ms);
        m_queue.advance(499ms);
        putCloudFile({noteAt(m_clock.now())});
        reportFor(0ms);
        QCOMPARE(store->notes().size(), 3U);
        m_queue.advance(1ms);
        QCOMPARE(store->notes().size(), 4U);
        m_queue.advance(1s);
        QCOMPARE(fileAt(m_cloudFile).notes, store->notes());
        store.reset();
        QVERIFY(!m_watcher.isWatching());
    }

    void theNamesThatClientsGiveAreToldFromThoseOfPeople()
    {
        const auto store = makeCloudStore({});
        for (const QString &name :
             {u"notes.json"_s, u"notes"_s + m_conflict + u".json"_s,
              u"notes_conflict-20240102-101112.json"_s,
              u"notes_conflict_ann-20240102-101112.json"_s,
              u"notes (Ann's conflicted copy 2024-01-02 (1)).json"_s,
              u"notes (In Konflikt stehende Kopie von Jürgen 2024-01-02).json"_s,
              u"notes (Ann の競合コピー 2024-01-02).json"_s,
              u"notes.sync-conflict-20240102-101112-ABCDEF7.json"_s,
              u"notes.sync-conflict-20240102-101112.json"_s,
              u"Notes (SFConflict ann@example.org 2024-01-02-10-11-12).JSON"_s,
              u"notes (conflicted copy 2024-01-02) (Ann's conflicted copy 2024-01-03).json"_s})
            QVERIFY2(m_watcher.passes(name), qPrintable(name));
        for (const QString &name :
             {u".~notes.json.brevio"_s, u"notes (2024-01-02).json"_s,
              u"notes (conflicted copy).json"_s, u"notes-conflict.json"_s,
              u"notes.sync-conflict.json"_s, u"my notes"_s + m_conflict + u".json"_s,
              u".syncthing.notes.sync-conflict-20240102-101112-ABCDEF7.json.tmp"_s,
              u"notes (conflicted copy 2024-01-02 101112).json\n"_s,
              u"notes/x (conflicted copy 2024-01-02 101112).json"_s})
            QVERIFY2(!m_watcher.passes(name), qPrintable(name));
    }

    void theNotesOutliveASyncedFileThatIsDamagedOrGone()
    {
        for (const bool isGone : {false, true}) {
            const Note mine = noteAt(m_clock.now());
            const auto store = makeCloudStore({mine});
            put(m_cloudFile, "{");
            QVERIFY(!isGone || QFile::remove(m_cloudFile));
            reportFor(0ms);
            QVERIFY2(makeStore()->note(mine.id), "after a crash");
        }
    }

    void onlyConflictCopiesThatAreStoresGoAndOnlyAsTheyWereRead()
    {
        const Note mine = noteAt(m_clock.now() - 2h), theirs = noteAt(m_clock.now() - 1h);
        const Note later = noteAt(m_clock.now());
        const QString folder = QFileInfo(m_cloudFile).path() + u'/';
        const QString copy = folder + u"notes"_s + m_conflict + u".json"_s;
        const QStringList others{u"notes (1).json"_s,
                                 u"notes.sync-conflict-20240102-101112-ABCDEF7.json"_s};
        put(copy, NoteList{theirs});
        put(folder + u"notes (conflicted copy 2024-01-03 101112).json"_s, NoteList{});
        put(folder + others[0], NoteList{noteAt(m_clock.now())});
        put(folder + others[1], "{\"shopping\":[]}");
        const auto store = makeCloudStore({mine});
        QCOMPARE(store->notes(), (NoteList{theirs, mine}));
        // Written to again, and not noticed before the copy would go.
        put(copy, NoteList{theirs, later});
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
        reportFor(0ms);
        QVERIFY(store->note(id)->isPinned);
        // And ours, not saved yet, stands against a file that does not know it.
        store->togglePin(id);
        notes.push_back(noteAt(m_clock.now() - 1h));
        putCloudFile(notes);
        reportFor(1s);
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
        put(drive + u"/notes.json"_s, NoteList{precious});
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
