// What holds for several machines that share one store, in whatever order things happen. The real
// NoteStore runs on every machine; only files, clocks and the sync client are models.
//
// BREVIO_SEED and BREVIO_SCHEDULES choose other schedules; a failure names the seed that repeats
// it alone.

#include "Brevio/Notes/NoteMerge.h"
#include "Brevio/Notes/NoteStore.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeFileWatcher.h"
#include "Tests/Support/ManualTime.h"
#include "Tests/Support/MemoryFiles.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <map>
#include <random>

using namespace Qt::StringLiterals;
using namespace Brevio;
using namespace std::chrono;
namespace Files = Platform::Files;

namespace {

constexpr quint64 usualSeed = 20250314;
constexpr int usualSchedules = 1000;
constexpr int mergeRounds = 5000;
constexpr int mostQuietRounds = 20; // of syncing all machines, until nothing changes any more

class Random
{
public:
    explicit Random(quint64 seed)
        : m_engine(seed)
    {}
    /// From 0 to count - 1.
    int below(int count) { return int(m_engine() % quint64(count)); }
    bool oneIn(int count) { return below(count) == 0; }

private:
    std::mt19937_64 m_engine;
};

// --- One machine, its store and its sync client

enum class OnConflict { LocalCopy, SharedCopy, Overwrite };

/// What is in a folder, by name.
using Folder = std::map<QString, QByteArray>;

std::optional<QByteArray> fileIn(const Folder &folder, const QString &name)
{
    const auto found = folder.find(name);
    return found == folder.end() ? std::nullopt : std::optional(found->second);
}

class Machine
{
public:
    Machine(int number, Folder &server, ManualQueue &queue, OnConflict onConflict)
        : m_number(number)
        , m_server(server)
        , m_queue(queue)
        , m_onConflict(onConflict)
        , m_folder(u"/%1/drive/Documents"_s.arg(number))
    {
        m_drive.signedIn = true;
        m_drive.root = u"/%1/drive"_s.arg(number);
        restart();
    }

    void restart()
    {
        m_store.reset();
        const QString data = u"/%1/data"_s.arg(m_number);
        m_store = std::make_unique<NoteStore>(
            NoteStore::Environment{clock, m_queue, m_drive, data, data, m_watcher.factory()});
    }

    [[nodiscard]] NoteStore &store() { return *m_store; }
    [[nodiscard]] QString path(const QString &name) const { return m_folder + u'/' + name; }
    [[nodiscard]] QString storePath() const { return path(u"notes.json"_s); }
    [[nodiscard]] QStringList files() const
    {
        return Files::names(m_folder) + Files::names(u"/%1/data/Brevio"_s.arg(m_number));
    }
    void signal() { m_watcher.report(); }
    [[nodiscard]] bool owns(const QString &path) const
    {
        return path.startsWith(u"/%1/"_s.arg(m_number));
    }

    /// The client looks at every file once. A half download stays until the next look.
    void sync(Random &random, bool mayTear)
    {
        QStringList names = Files::names(m_folder);
        for (const Folder &folder : {m_server, m_synced}) {
            for (const auto &[name, bytes] : folder)
                names += name;
        }
        names.removeDuplicates();
        for (const QString &name : std::as_const(names))
            syncFile(name, mayTear && random.oneIn(8));
    }

    /// Whether the half of a file that a download has brought so far is still as it was.
    [[nodiscard]] bool isTornFileUntouched() const
    {
        return !m_torn || Files::read(storePath()) == m_torn;
    }

    ManualClock clock;
    bool isFull = false; ///< nothing can be written to the synced folder

private:
    void syncFile(const QString &name, bool tears)
    {
        const bool isStore = name == u"notes.json";
        if (isStore && std::exchange(m_torn, std::nullopt))
            return download(name);
        const auto here = Files::read(path(name));
        const auto there = fileIn(m_server, name), base = fileIn(m_synced, name);
        if (here && here == there) {
            m_synced[name] = *here;
        } else if (here && there && here != base && there != base) {
            if (m_onConflict != OnConflict::Overwrite)
                MemoryFiles::put(path(u"notes.sync-conflict-20250314-%1.json"_s.arg(++copies)),
                                 *here);
            download(name);
        } else if (there && there != base && isStore && tears) {
            m_torn = there->first(there->size() / 2);
            MemoryFiles::put(path(name), *m_torn);
        } else if (there && there != base) {
            download(name);
        } else if (here && here == base) {
            MemoryFiles::files.erase(path(name));
            m_synced.erase(name);
        } else if (here && (isStore || m_onConflict == OnConflict::SharedCopy)) {
            m_synced[name] = m_server[name] = *here;
        } else if (!here) {
            m_server.erase(name);
            m_synced.erase(name);
        }
    }
    void download(const QString &name)
    {
        m_synced[name] = m_server.at(name);
        MemoryFiles::put(path(name), m_synced[name]);
    }

    static inline int copies = 100000;
    int m_number;
    Folder &m_server;
    ManualQueue &m_queue;
    OnConflict m_onConflict;
    QString m_folder;
    FakeCloudDrive m_drive;
    FakeFileWatcher m_watcher;
    Folder m_synced; ///< as client and server have last agreed
    std::optional<QByteArray> m_torn;
    std::unique_ptr<NoteStore> m_store; ///< last: it is watched by what is above
};

// --- One schedule

/// What is known of a note from outside.
struct Life
{
    Instant created;
    Instant edited;     ///< the latest stamp it was given
    QString body;       ///< at that stamp
    Instant deleted{};  ///< the latest deletion
    bool isSure = true; ///< not put back, and stamped by no clock that had gone backwards
};

class Schedule
{
public:
    explicit Schedule(quint64 seed)
        : m_random(seed)
        , m_isLong(m_random.oneIn(10))
    {
        MemoryFiles::files.clear();
        MemoryFiles::failsToWrite = [this](const QString &path) {
            return std::ranges::any_of(m_machines, [&](const auto &machine) {
                return machine->isFull && path == machine->storePath();
            });
        };
        MemoryFiles::aboutToReplace = [this](const QString &path) {
            for (const auto &machine : m_machines) {
                if (path == machine->storePath() && m_random.oneIn(20))
                    machine->sync(m_random, m_mayTear);
            }
        };
        MemoryFiles::aboutToRemove = [this](const QString &path) {
            for (const auto &machine : m_machines)
                m_losesCopies |= machine->owns(path) && !canDoWithout(path, *machine);
        };
        const auto onConflict = OnConflict(m_random.below(3));
        const int count = 3 + m_random.below(3);
        for (int i = 0; i < count; ++i) {
            m_machines.push_back(std::make_unique<Machine>(i, m_server, m_queue, onConflict));
            m_machines.back()->clock.advance(milliseconds(m_random.below(20000) - 10000));
            for (const Note &welcome : m_machines.back()->store().notes())
                m_lives[welcome.id] = {welcome.createdAt, welcome.createdAt, welcome.body};
        }
    }

    /// What went wrong; nothing when all was well.
    QString run()
    {
        for (int steps = 10 + m_random.below(40); steps > 0; --steps) {
            step(*m_machines[std::size_t(m_random.below(int(m_machines.size())))]);
            for (const auto &machine : m_machines) {
                if (!machine->isTornFileUntouched())
                    return u"half a file was overwritten"_s;
            }
        }
        m_mayTear = false;
        for (const auto &machine : m_machines)
            machine->isFull = false;
        const bool isQuiet = becomesQuiet();
        for (const auto &machine : m_machines)
            machine->restart();
        if (!isQuiet || !becomesQuiet())
            return u"the machines go on answering each other"_s;
        if (m_losesCopies)
            return u"a copy went before its notes were safe"_s;
        return firstDifference();
    }

private:
    void step(Machine &machine)
    {
        const int action = m_random.below(14);
        const NoteList &notes = machine.store().notes();
        if (action == 0) {
            const auto id = machine.store().newNote();
            m_lives[id] = {machine.clock.now(), machine.clock.now(), {}};
            edit(machine, *machine.store().note(id));
        } else if (action > 5) {
            happen(machine, action);
        } else if (!notes.empty()) {
            use(machine, action, notes[std::size_t(m_random.below(int(notes.size())))]);
        }
    }

    /// What a person does with a note.
    void use(Machine &machine, int action, const Note note)
    {
        NoteStore &store = machine.store();
        Life &life = m_lives[note.id];
        switch (action) {
        case 3:
            return store.togglePin(note.id);
        case 4:
            life.deleted = std::max<Instant>({life.deleted, floor<seconds>(machine.clock.now()),
                                              floor<seconds>(note.lastEditedAt) + 1s});
            return store.deleteNote(note.id);
        case 5:
            edit(machine, note);
            life.isSure = false;
            return store.revert(note.id, note.body, note.lastEditedAt);
        default:
            edit(machine, note);
        }
    }

    void happen(Machine &machine, int action)
    {
        switch (action) {
        case 6:
            if (m_random.oneIn(2))
                machine.clock.advance(seconds(m_random.below(120) - 60));
            else
                machine.store().purgeExpired();
            return;
        case 7:
            if (m_random.oneIn(2)) {
                machine.store().flush();
            } else { // a kill then takes nothing away
                machine.signal();
                pass(1500ms);
            }
            return machine.restart();
        case 8:
            machine.isFull = m_random.oneIn(3);
            return;
        case 9:
            return pass(m_isLong && m_random.oneIn(2) ? 24h * m_random.below(4)
                                                      : milliseconds(m_random.below(3000)));
        case 10:
            return pass(milliseconds(m_random.below(600)));
        default:
            machine.sync(m_random, m_mayTear);
            if (!m_random.oneIn(4)) // otherwise nothing tells of it
                machine.signal();
            if (m_random.oneIn(2))
                m_queue.runPosted();
        }
    }

    void edit(Machine &machine, const Note &note)
    {
        const QString body = u"text %1"_s.arg(++m_texts);
        machine.store().setBody(note.id, body);
        Life &life = m_lives[note.id];
        const Instant now = machine.clock.now();
        life.isSure &=
            now > note.lastEditedAt && floor<seconds>(now) != floor<seconds>(life.edited);
        if (now > life.edited) {
            life.edited = now;
            life.body = body;
        }
    }

    void pass(microseconds span)
    {
        for (const auto &machine : m_machines)
            machine->clock.advance(span);
        m_queue.advance(span);
    }

    /// Whether the machine's store file, safe from a power cut, has all that this copy could tell.
    bool canDoWithout(const QString &copy, const Machine &machine)
    {
        const auto content = StoreFile::decode(Files::read(copy).value_or(""), {});
        const auto file = StoreFile::decode(Files::read(machine.storePath()).value_or(""), {});
        if (!content || !file || !MemoryFiles::files[machine.storePath()].isSynced)
            return false;
        const Instant now = machine.clock.now();
        auto all = NoteMerge::merge(*file, content->notes, content->tombstones, now);
        std::erase_if(all.notes, [&](const Note &note) { return !m_lives[note.id].isSure; });
        return !NoteMerge::addsTo(*file, all.notes, all.tombstones, now - 24h * 6);
    }

    /// Syncs until nothing changes; false when that does not end.
    bool becomesQuiet()
    {
        for (int round = 0; round < mostQuietRounds; ++round) {
            const auto lastState = MemoryFiles::lastState;
            const Folder server = m_server;
            for (const auto &machine : m_machines) {
                machine->sync(m_random, false);
                machine->signal();
                pass(1500ms);
            }
            if (lastState == MemoryFiles::lastState && server == m_server &&
                m_queue.pendingJobs() == 0)
                return true;
        }
        return false;
    }

    QString firstDifference()
    {
        const QByteArray file = Files::read(m_machines[0]->storePath()).value_or("none");
        const NoteList notes = lasting(m_machines[0]->store().notes());
        for (const auto &machine : m_machines) {
            if (Files::read(machine->storePath()) != file)
                return u"two machines hold different files"_s;
            if (lasting(machine->store().notes()) != notes)
                return u"two machines hold different notes"_s;
            if (machine->files() != QStringList{u"notes.json"_s})
                return u"files are left over: "_s + machine->files().join(u", "_s);
        }
        const auto content = StoreFile::decode(file, {});
        if (!content || lasting(content->notes) != notes)
            return u"the file does not hold the notes"_s;
        for (const auto &[id, life] : m_lives) {
            if (const QString fault = faultOf(id, life); !fault.isEmpty())
                return fault + u' ' + id.toString();
        }
        return {};
    }

    /// Without those that have expired, or will in a moment, by the clock of one machine and not of
    /// another; by identifier.
    NoteList lasting(NoteList notes)
    {
        std::erase_if(notes, [&](const Note &note) {
            return !note.isPinned && note.createdAt < m_machines[0]->clock.now() - 24h * 6;
        });
        std::ranges::sort(notes, {}, &Note::id);
        return notes;
    }

    QString faultOf(const QUuid &id, const Life &life)
    {
        const auto note = m_machines[0]->store().note(id);
        const bool isDeletedLast = life.deleted > life.edited;
        if (!note && !m_isLong) { // it cannot have expired by the clock of one
            if (life.deleted == Instant())
                return u"a note nobody deleted is gone"_s;
            if (life.isSure && !isDeletedLast)
                return u"a note edited after its deletion is gone"_s;
        }
        if (note && life.isSure) {
            if (isDeletedLast)
                return u"a note deleted after its last edit is there"_s;
            if (note->body != life.body)
                return u"an edit is gone"_s;
        }
        return {};
    }

    Random m_random;
    bool m_isLong; ///< weeks, so that notes expire
    bool m_mayTear = true;
    bool m_losesCopies = false;
    ManualQueue m_queue;
    Folder m_server;
    std::vector<std::unique_ptr<Machine>> m_machines;
    std::map<QUuid, Life> m_lives;
    int m_texts = 0;
};

quint64 setting(const char *variable, quint64 usual)
{
    bool isNumber = false;
    const quint64 value = qEnvironmentVariable(variable).toULongLong(&isNumber);
    return isNumber ? value : usual;
}

} // namespace

class NoteMergeSimulationTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// States of machines that have not met, of few notes and few seconds so that they collide. One
    /// edit has one text: of two texts with one time, the file's stands, whichever that is.
    void mergingKeepsTheLatestOfEachSideWhoeverItIs()
    {
        constexpr Instant now = sys_days{2025y / March / 14};
        Random random(setting("BREVIO_SEED", usualSeed));
        const std::array ids{QUuid::createUuid(), QUuid::createUuid(), QUuid::createUuid()};
        const auto state = [&] {
            OnDisk some;
            for (const QUuid &id : ids) {
                const Instant edited = now + seconds(random.below(4));
                const QString body = QString::number(edited.time_since_epoch().count());
                if (random.oneIn(2))
                    some.notes.push_back({id, body, now, edited, false});
                if (random.oneIn(3))
                    some.tombstones.push_back({id, now + seconds(random.below(4))});
            }
            const auto tidy = NoteMerge::merge(some, {}, {}, now);
            return OnDisk{3, tidy.notes, tidy.tombstones};
        };
        const auto join = [&](const OnDisk &file, const OnDisk &memory) {
            auto merged = NoteMerge::merge(file, memory.notes, memory.tombstones, now);
            return OnDisk{3, std::move(merged.notes), std::move(merged.tombstones)};
        };
        const auto content = [](OnDisk some) {
            std::ranges::sort(some.notes, {}, &Note::id);
            std::ranges::sort(some.tombstones, {}, &Tombstone::id);
            return some;
        };
        const auto addsTo = [&](const OnDisk &file, const OnDisk &memory) {
            return NoteMerge::addsTo(file, memory.notes, memory.tombstones, now - 24h);
        };
        const auto latest = [](const auto &records, const QUuid &id, auto time) {
            const auto found =
                std::ranges::find(records, id, &std::decay_t<decltype(records[0])>::id);
            return found == records.end() ? Instant() : std::invoke(time, *found);
        };
        for (int round = 0; round < mergeRounds; ++round) {
            const OnDisk a = state(), b = state(), both = join(a, b);
            QCOMPARE(join(a, a), a); // in the same order, too
            QCOMPARE(join(a, both), both);
            for (const QUuid &id : ids) {
                const Instant edit = std::max(latest(a.notes, id, &Note::lastEditedAt),
                                              latest(b.notes, id, &Note::lastEditedAt));
                const Instant deletion = std::max(latest(a.tombstones, id, &Tombstone::deletedAt),
                                                  latest(b.tombstones, id, &Tombstone::deletedAt));
                QCOMPARE(latest(both.notes, id, &Note::lastEditedAt),
                         deletion > edit ? Instant() : edit);
                QCOMPARE(latest(both.tombstones, id, &Tombstone::deletedAt), deletion);
            }
            // A file is written to exactly until it holds all; then nobody has anything to say.
            QCOMPARE(addsTo(a, both), content(a) != content(both));
            QVERIFY(!addsTo(both, join(both, a)) && !addsTo(both, join(both, b)));
        }
    }

    void tombstonesLiveThirtyDaysAndHideTheirNoteOneLastTime()
    {
        constexpr Instant now = sys_days{2025y / March / 14};
        for (const int lead : {-1, 0, 1}) {
            const Instant deletedAt = now - 24h * 30 + seconds(lead);
            const Note note = Note::create(deletedAt - 1s);
            const auto merged = NoteMerge::merge({3, {note}, {{note.id, deletedAt}}}, {}, {}, now);
            QVERIFY(merged.notes.empty());
            QCOMPARE(merged.tombstones.size(), lead > 0 ? 1U : 0U);
        }
        // Of two texts of one time the file's stands.
        const Note file = Note::create(now, u"file"_s);
        Note memory = file;
        memory.body = u"memory"_s;
        QCOMPARE(NoteMerge::merge({3, {file}, {}}, {memory}, {}, now).notes, NoteList{file});
    }

    void machinesThatShareAStoreAgreeInTheEndAndLoseNothing()
    {
        const quint64 first = setting("BREVIO_SEED", usualSeed);
        const quint64 count = setting("BREVIO_SCHEDULES", usualSchedules);
        for (quint64 seed = first; seed < first + count; ++seed) {
            const QString fault = Schedule(seed).run();
            QVERIFY2(fault.isEmpty(),
                     qPrintable(u"BREVIO_SEED=%1 BREVIO_SCHEDULES=1: "_s.arg(seed) + fault));
        }
    }
};

QTEST_GUILESS_MAIN(NoteMergeSimulationTests)
#include "NoteMergeSimulationTests.moc"
