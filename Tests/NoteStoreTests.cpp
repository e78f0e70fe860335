#include "Brevio/NoteStore.h"
#include "Brevio/StoreFile.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FaultInjection.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Brevio;
using namespace std::chrono;
namespace Files = Platform::Files;

namespace {

const QString text = QStringLiteral("Buy stamps");

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
    void putFile(const NoteList &notes, const TombstoneList &tombstones = {})
    {
        putFile(m_localFile, StoreFile::encode(notes, tombstones));
    }
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
        m_data = m_folder->filePath(QStringLiteral("share"));
        m_localFile = m_data + QStringLiteral("/Brevio/notes.json");
        m_clock = {};
        m_drive = {};
    }

    void aFirstRunSeedsTheWelcomeNoteInAPrivateFile()
    {
        const auto store = makeStore();
        QCOMPARE(store->notes().size(), 1U);
        const Note welcome = store->notes()[0];
        QCOMPARE(store->pendingWelcomeID(), welcome.id);
        QVERIFY(welcome.isPinned);
        QCOMPARE(welcome.createdAt, m_clock.now());
        QCOMPARE(welcome.lastEditedAt, m_clock.now());
        QCOMPARE(welcome.body, QStringLiteral(u"Welcome to Brevio.\n\n⌘⇧Space — summon a card\n"
                                              "⌘↩ — keep it\nEsc — discard it\n"
                                              "⌘⇧K — pin (yellow dot)\nHold ⌥ — dictate\n"
                                              "⌘, — preferences\n\n"
                                              "Cards expire in 7 days unless pinned."));
        QCOMPARE(file().version, 3);
        QCOMPARE(file().notes, store->notes());
        const auto ownOnly =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(m_localFile), ownOnly);
        QCOMPARE(QFile::permissions(QFileInfo(m_localFile).path()),
                 ownOnly | QFile::ExeOwner | QFile::ExeUser);

        store->setPendingWelcomeID({});
        QVERIFY(!makeStore()->pendingWelcomeID());
    }

    void anExistingFileIsReadAndSeedsNothing()
    {
        putFile({});
        QVERIFY(makeStore()->notes().empty());
        const Note older = noteAt(m_clock.now() - 2h);
        const Note newer = noteAt(m_clock.now() - 1h);
        putFile({older, newer});
        const auto store = makeStore();
        QCOMPARE(store->notes(), (NoteList{newer, older}));
        QVERIFY(!store->pendingWelcomeID());
        QVERIFY2(m_queue.pendingJobs() == 0, "reading alone saves nothing");
    }

    void aFileThatCannotBeReadIsNeverOverwritten_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("damaged") << QByteArray("{\"notes\":[{\"body\":\"precious");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("one bad note")
            << QByteArray(R"({"notes":[{"body":"precious"},{"id":"x"}]})");
    }
    void aFileThatCannotBeReadIsNeverOverwritten()
    {
        QFETCH(QByteArray, bytes);
        putFile(m_localFile, bytes);
        const auto store = makeStore();
        QVERIFY(store->notes().empty());
        const auto id = store->newNote();
        store->setBody(id, text);
        m_queue.advance(1s);
        store->restoreWelcomeNote();
        QCOMPARE(Files::read(m_localFile), bytes);
        QCOMPARE(store->note(id)->body, text);

        const Note repaired = noteAt(m_clock.now() - 1h);
        putFile({repaired});
        store->togglePin(id);
        m_queue.advance(400ms);
        QCOMPARE(file().notes.size(), 3U);
        QCOMPARE(store->note(repaired.id), repaired);
    }

    void aFolderInTheFilesPlaceIsLeftAlone()
    {
        QVERIFY(QDir().mkpath(m_localFile + QStringLiteral("/inside")));
        const auto store = makeStore();
        QVERIFY(!store->pendingWelcomeID());
        store->newNote();
        m_queue.advance(1s);
        QVERIFY(QFileInfo(m_localFile + QStringLiteral("/inside")).isDir());
    }

    void aBurstOfEditsIsWrittenOnceAfterItsLast()
    {
        putFile({});
        const auto store = makeStore();
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
    }

    void everyRewriteIsAnnouncedBeforeAndAfter()
    {
        const auto store = makeStore();
        const auto id = store->newNote();
        QStringList log;
        const auto before = store->onWillChange([&] { log << store->notes()[0].body; });
        const auto after = store->onChange([&](const NoteList &notes) { log << notes[0].body; });
        store->setBody(id, text);
        QCOMPARE(log, (QStringList{QString(), text}));
        store->setBody(id, text);
        store->purgeExpired();
        store->deleteNote(QUuid::createUuid());
        QCOMPARE(log.size(), 8);
        store->setBody(QUuid::createUuid(), text);
        store->togglePin(QUuid::createUuid());
        store->revert(QUuid::createUuid(), text, m_clock.now());
        QCOMPARE(log.size(), 8);
    }

    void typingStampsOnlyWhatChangesAndMovesNothing()
    {
        const auto store = makeStore();
        const auto id = store->newNote();
        store->newNote();
        const Note loaded = *store->note(id);
        const Note *const place = &store->notes()[1];

        m_clock.advance(1min);
        store->setBody(id, QString());
        QCOMPARE(store->note(id), loaded);
        store->setBody(id, text);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now(), false}));
        store->togglePin(id);
        QCOMPARE(store->note(id), (Note{id, text, loaded.createdAt, m_clock.now(), true}));
        store->togglePin(id);
        store->revert(id, loaded.body, loaded.lastEditedAt);
        QCOMPARE(store->note(id), loaded);
        QVERIFY2(&store->notes()[1] == place && place->id == id, "the list was copied");
    }

    void newNotesComeToTheFront()
    {
        const auto store = makeStore();
        const auto first = store->newNote();
        const auto second = store->newNote();
        QCOMPARE(store->notes()[0], (Note{second, {}, m_clock.now(), m_clock.now(), false}));
        QCOMPARE(store->notes()[1].id, first);
        QCOMPARE(store->note(QUuid::createUuid()), std::nullopt);
    }

    void aDeletionLeavesOneTombstoneAndTheLatestTime()
    {
        const auto store = makeStore();
        const auto id = store->newNote();
        const auto unknown = QUuid::createUuid();
        store->deleteNote(id);
        m_clock.advance(5s);
        store->deleteNote(id);
        store->deleteNote(unknown);
        m_queue.advance(400ms);
        QCOMPARE(file().notes.size(), 1U); // the welcome note
        QCOMPARE(file().tombstones, (TombstoneList{{id, m_clock.now()}, {unknown, m_clock.now()}}));
    }

    void deletingTheLastNoteEmptiesTheFile()
    {
        putFile({noteAt(m_clock.now() - 1h)});
        const auto store = makeStore();
        store->deleteNote(store->notes()[0].id);
        m_queue.advance(400ms);
        QVERIFY(store->notes().empty());
        QVERIFY(file().notes.empty());
        QCOMPARE(file().tombstones.size(), 1U);
    }

    void notesExpireSevenDaysAfterTheyWereCreated_data()
    {
        QTest::addColumn<int>("age"); // seconds beyond seven days
        QTest::addColumn<bool>("isPinned");
        QTest::addColumn<bool>("expires");
        QTest::newRow("a second younger") << -1 << false << false;
        QTest::newRow("seven days") << 0 << false << false;
        QTest::newRow("a second older") << 1 << false << true;
        QTest::newRow("older, pinned") << 1'000'000 << true << false;
    }
    void notesExpireSevenDaysAfterTheyWereCreated()
    {
        QFETCH(int, age);
        QFETCH(bool, isPinned);
        QFETCH(bool, expires);
        Note old = noteAt(m_clock.now() - 24h * 7 - seconds(age));
        old.lastEditedAt = m_clock.now() - 1min;
        old.isPinned = isPinned;
        const Note other = noteAt(m_clock.now() - 1h);
        putFile({old, other});
        const auto store = makeStore();
        QCOMPARE(store->note(old.id).has_value(), !expires);
        QCOMPARE(file().notes.size(), expires ? 1U : 2U);
        QVERIFY(file().tombstones.empty());
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

    void restoringAddsAnotherWelcomeNoteAtOnce()
    {
        const auto store = makeStore();
        const auto first = store->pendingWelcomeID();
        store->restoreWelcomeNote();
        QCOMPARE(store->notes().size(), 2U);
        QVERIFY(store->notes()[0].id != store->notes()[1].id);
        QCOMPARE(store->notes()[0].body, store->notes()[1].body);
        QCOMPARE(store->pendingWelcomeID(), first);
        QCOMPARE(file().notes, store->notes());
    }

    void theCloudFileIsChosenAndFilledOnce_data()
    {
        QTest::addColumn<bool>("isSignedIn");
        QTest::addColumn<QString>("root"); // below the test's folder; empty when there is none
        QTest::addColumn<bool>("hasFallback");
        QTest::addColumn<QString>("chosen");
        const QString fallback = QStringLiteral("share/Mobile Documents/org~brevio~Brevio");
        const QString local = QStringLiteral("share/Brevio/notes.json");
        const QString file = QStringLiteral("/Documents/notes.json");
        QTest::newRow("signed out") << false << QStringLiteral("drive") << true << local;
        QTest::newRow("container")
            << true << QStringLiteral("drive") << true << QStringLiteral("drive") + file;
        QTest::newRow("fallback") << true << QString() << true << fallback + file;
        QTest::newRow("neither") << true << QString() << false << local;
    }
    void theCloudFileIsChosenAndFilledOnce()
    {
        QFETCH(bool, isSignedIn);
        QFETCH(QString, root);
        QFETCH(bool, hasFallback);
        QFETCH(QString, chosen);
        m_drive.signedIn = isSignedIn;
        if (!root.isEmpty())
            m_drive.root = m_folder->filePath(root);
        if (hasFallback)
            QVERIFY(QDir().mkpath(m_data + QStringLiteral("/Mobile Documents/org~brevio~Brevio")));
        const Note note = noteAt(m_clock.now() - 1h);
        putFile({note});

        const QString path = m_folder->filePath(chosen);
        const auto store = makeStore();
        QCOMPARE(store->notes(), NoteList{note});
        QCOMPARE(fileAt(path).notes, NoteList{note});
        store->newNote();
        m_queue.advance(1s);
        QCOMPARE(fileAt(path).notes.size(), 2U);
        QCOMPARE(file().notes.size(), path == m_localFile ? 2U : 1U);
        QCOMPARE(makeStore()->notes().size(), 2U);
        if (isSignedIn)
            QCOMPARE(m_drive.askedFor, QStringLiteral("org.brevio.Brevio"));
    }

    void remoteChangesAreMergedExceptRightAfterAWriteOfOurOwn()
    {
        m_drive.signedIn = true;
        m_drive.root = m_folder->filePath(QStringLiteral("drive"));
        const QString path = *m_drive.root + QStringLiteral("/Documents/notes.json");
        const Note mine = noteAt(m_clock.now() - 2h);
        putFile(path, StoreFile::encode({mine}, {}));
        const auto store = makeStore();
        QVERIFY(Files::exists(QFileInfo(m_localFile).path()));
        const auto changeRemotely = [&](const Note &note) {
            auto content = fileAt(path);
            content.notes.push_back(note);
            putFile(path, StoreFile::encode(content.notes, content.tombstones));
            store->remoteFileMayHaveChanged();
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

        m_queue.advance(1s);
        int announced = 0;
        const auto subscription = store->onChange([&](const NoteList &) { ++announced; });
        store->remoteFileMayHaveChanged();
        m_queue.runPosted();
        QCOMPARE(announced, 0);
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void aLocalFileIsNotWatched()
    {
        const auto store = makeStore();
        putFile({noteAt(m_clock.now())});
        store->remoteFileMayHaveChanged();
        m_queue.advance(1s);
        QCOMPARE(store->notes().size(), 1U);
        QVERIFY(store->notes()[0].isPinned);
    }

    void aStoreThatIsGoneWritesNothing()
    {
        putFile({});
        auto store = makeStore();
        store->newNote();
        store.reset();
        m_queue.advance(1s);
        QVERIFY(file().notes.empty());
    }

    void aDriveThatComesUpLateIsMergedNotOverwritten()
    {
        const QString drive = m_folder->filePath(QStringLiteral("drive"));
        QVERIFY(Files::makeFolder(m_data));
        QVERIFY(QFile::link(drive, m_data + QStringLiteral("/Brevio")));
        const auto store = makeStore();
        const auto id = store->newNote();
        m_queue.advance(1s);
        const Note precious = noteAt(m_clock.now() - 1h);
        putFile(drive + QStringLiteral("/notes.json"), StoreFile::encode({precious}, {}));
        store->setBody(id, text);
        m_queue.advance(400ms);
        QCOMPARE(file().notes.size(), 3U);
        QCOMPARE(store->note(precious.id), precious);
    }

    void aFailedWriteLeavesTheFileAndTheNextChangeWritesAll()
    {
        putFile({});
        const auto store = makeStore();
        const auto id = store->newNote();
        const auto before = Files::read(m_localFile);
        // Any call before the file gets its name will do; each is tried with the files themselves.
        FaultInjection::arm({.atCall = 4, .error = ENOSPC});
        m_queue.advance(400ms);
        QVERIFY(FaultInjection::disarm() >= 4);
        QCOMPARE(Files::read(m_localFile), before);
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing is tried again while nothing changes");
        store->setBody(id, text);
        m_queue.advance(400ms);
        QCOMPARE(file().notes.at(0).body, text);
        // A folder that was deleted comes back.
        QVERIFY(QDir(QFileInfo(m_localFile).path()).removeRecursively());
        store->togglePin(id);
        m_queue.advance(400ms);
        QCOMPARE(file().notes, store->notes());
    }

    void aKillAtAnyCallOfASaveLosesNoEarlierNote()
    {
        const Note note = noteAt(m_clock.now() - 1h);
        for (int call = 1;; ++call) {
            putFile({note});
            const int status = FaultInjection::inChild([&] {
                const auto store = makeStore();
                store->newNote();
                FaultInjection::arm({.atCall = call});
                m_queue.advance(400ms);
                return 0;
            });
            const auto store = makeStore();
            QCOMPARE(store->note(note.id), note);
            if (WIFEXITED(status)) {
                QCOMPARE(store->notes().size(), 2U);
                QVERIFY(call > 8);
                break;
            }
            store->newNote();
            m_queue.advance(400ms);
            const QDir folder = QFileInfo(m_localFile).dir();
            QCOMPARE(folder.entryList(QDir::Files | QDir::Hidden).size(), 1);
        }
    }
};

QTEST_GUILESS_MAIN(NoteStoreTests)
#include "NoteStoreTests.moc"
