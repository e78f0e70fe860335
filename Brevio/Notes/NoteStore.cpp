#include "Brevio/Notes/NoteStore.h"

#include "Brevio/Notes/ConflictCopies.h"
#include "Brevio/Notes/NoteMerge.h"
#include "Platform/Storage/Folders.h"

#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace Brevio {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
namespace Files = Platform::Files;
using Look = NoteStoreFile::Look;

namespace {

Q_LOGGING_CATEGORY(storeLog, "brevio.store", QtCriticalMsg)

constexpr std::chrono::seconds noteLife = 24h * 7;
constexpr Platform::MainQueue::Duration saveDelay = 400ms;
constexpr Platform::MainQueue::Duration echoPeriod = 500ms; // for the file's own watcher to fire
constexpr int writeAttempts = 3; // against a program that writes the file at the same moment

QString welcomeBody()
{
    return u"Welcome to Brevio.\n"
           "\n"
           "\u2318\u21E7Space \u2014 summon a card\n"
           "\u2318\u21A9 \u2014 keep it\n"
           "Esc \u2014 discard it\n"
           "\u2318\u21E7K \u2014 pin (yellow dot)\n"
           "Hold \u2325 \u2014 dictate\n"
           "\u2318, \u2014 preferences\n"
           "\n"
           "Cards expire in 7 days unless pinned."_s;
}

/// A synced folder without notes begins with those of the local file.
void prepareFolders(const StoreLocation &location)
{
    // A folder that cannot be made shows when the file is written.
    (void)Files::makeFolder(location.localFolder);
    (void)Files::makeFolder(location.folder);
    if (!Files::exists(location.file) && Files::exists(location.localFile) &&
        !Files::copy(location.localFile, location.file))
        qCWarning(storeLog) << "the notes could not be copied to" << location.file;
}

} // namespace

NoteStore::Environment NoteStore::Environment::standard()
{
    const QString data = Platform::Folders::dataHome();
    return {Platform::Clock::system(),
            Platform::MainQueue::main(),
            Platform::CloudDrive::system(),
            data,
            data,
            [](const QString &folder, std::function<bool(const QString &)> filter,
               Platform::MainQueue &reports, std::function<void()> onChange) {
                return Platform::FileWatcher::create(folder, std::move(filter), reports,
                                                     std::move(onChange));
            }};
}

NoteStore::NoteStore(Environment environment)
    : m_environment(std::move(environment))
    , m_location(StoreLocation::find(m_environment.cloudDrive,
                                     m_environment.applicationSupportFolder,
                                     m_environment.libraryFolder))
    , m_file(m_location.file, m_location.isSynced)
    , m_copies(m_location)
{
    prepareFolders(m_location);
    const bool isFirstRun = !Files::exists(m_location.file);
    load();
    const bool hasCopies = takeInCopies();
    purgeExpired();
    if (isFirstRun && notes().empty())
        m_welcomeID = insertWelcomeNote();
    m_saveSubscription = m_notes.onChange([this](const NoteList &) { scheduleSave(); });
    if (hasCopies)
        scheduleSave();
    if (m_location.isSynced)
        startWatching();
}

Platform::Subscription NoteStore::onWillChange(std::function<void()> callback)
{
    return m_notes.onWillChange(std::move(callback));
}

Platform::Subscription NoteStore::onChange(std::function<void(const NoteList &)> callback)
{
    return m_notes.onChange(std::move(callback));
}

Platform::Subscription NoteStore::onMerge(std::function<void()> callback)
{
    return m_merged.subscribe(std::move(callback));
}

// --- The list

/// Changes the first note with this identifier where it stands. Nothing happens when there is none.
template <class Change>
void NoteStore::rewrite(const Identifier &id, Change &&change)
{
    const auto found = std::ranges::find(notes(), id, &Note::id);
    if (found == notes().end())
        return;
    const auto place = found - notes().begin();
    m_notes.modify([&](NoteList &list) { change(list[static_cast<std::size_t>(place)]); });
}

std::optional<Note> NoteStore::note(const Identifier &id) const
{
    const auto found = std::ranges::find(notes(), id, &Note::id);
    return found == notes().end() ? std::nullopt : std::optional(*found);
}

NoteStore::Identifier NoteStore::newNote()
{
    const Note note = Note::create(m_environment.clock.now());
    m_notes.modify([&](NoteList &list) { list.insert(list.begin(), note); });
    return note.id;
}

void NoteStore::setBody(const Identifier &id, const QString &body)
{
    rewrite(id, [&](Note &note) {
        if (note.body == body)
            return;
        note.body = body;
        note.lastEditedAt = m_environment.clock.now();
    });
}

void NoteStore::revert(const Identifier &id, const QString &body, Instant lastEditedAt)
{
    rewrite(id, [&](Note &note) {
        note.body = body;
        note.lastEditedAt = lastEditedAt;
    });
}

void NoteStore::togglePin(const Identifier &id)
{
    m_unsavedPins.insert(id);
    rewrite(id, [](Note &note) { note.isPinned = !note.isPinned; });
}

void NoteStore::deleteNote(const Identifier &id)
{
    // As the file will say it, so that every machine draws the same conclusion; and later than the
    // last edit there as well when both fall into the same second, or this clock runs behind the
    // one that edited: nobody expects a note back that was deleted in plain sight.
    Instant time = std::chrono::floor<std::chrono::seconds>(m_environment.clock.now());
    if (const auto known = note(id))
        time = std::max<Instant>(
            time, std::chrono::floor<std::chrono::seconds>(known->lastEditedAt) + 1s);
    const auto earlier = std::ranges::find(m_tombstones, id, &Tombstone::id);
    if (earlier != m_tombstones.end())
        earlier->deletedAt = time;
    else
        m_tombstones.push_back({id, time});
    m_notes.modify([&](NoteList &list) {
        std::erase_if(list, [&](const Note &note) { return note.id == id; });
    });
}

void NoteStore::purgeExpired()
{
    const Instant cutoff = m_environment.clock.now() - noteLife;
    const auto count = notes().size();
    m_notes.modify([&](NoteList &list) {
        std::erase_if(list,
                      [&](const Note &note) { return !note.isPinned && note.createdAt < cutoff; });
    });
    if (notes().size() != count)
        save();
}

void NoteStore::restoreWelcomeNote()
{
    (void)insertWelcomeNote();
}

NoteStore::Identifier NoteStore::insertWelcomeNote()
{
    Note note = Note::create(m_environment.clock.now(), welcomeBody());
    note.isPinned = true;
    m_notes.modify([&](NoteList &list) { list.insert(list.begin(), note); });
    save();
    return note.id;
}

// --- Reading

/// Merges the file into memory where it is another than the one last read or written.
Look NoteStore::load()
{
    const Instant now = m_environment.clock.now();
    const auto [look, content] = m_file.look(now);
    if (look != Look::New)
        return look;
    auto merged = NoteMerge::merge(content, notes(), m_tombstones, now, NoteMerge::WhenEqual::File,
                                   m_unsavedPins);
    // Before the announcement: a subscriber may delete a note.
    m_tombstones = std::move(merged.tombstones);
    // Otherwise what another machine's file lacks would be here in memory only.
    if (m_location.isSynced &&
        NoteMerge::addsTo(content, merged.notes, m_tombstones, now - noteLife))
        scheduleSave();
    adopt(std::move(merged.notes));
    return look;
}

void NoteStore::adopt(NoteList merged)
{
    if (merged == notes())
        return;
    m_notes.set(std::move(merged));
    m_merged.announce();
}

/// Whether there was anything new.
bool NoteStore::takeInCopies()
{
    const Instant now = m_environment.clock.now();
    const auto copies = m_copies.readNew(now);
    NoteList all = notes();
    for (const OnDisk &copy : copies) {
        auto merged = NoteMerge::merge(copy, all, m_tombstones, now, NoteMerge::WhenEqual::Memory);
        m_tombstones = std::move(merged.tombstones);
        all = std::move(merged.notes);
    }
    adopt(std::move(all));
    return !copies.empty();
}

// --- Writing

void NoteStore::save()
{
    for (int attempt = 0; attempt < writeAttempts && isReadyToWrite(); ++attempt) {
        if (takesBackNotesOfFile())
            return;
        const auto result = write();
        if (result == Files::Replacement::Done) {
            m_unsavedPins.clear();
            m_copies.remove();
            return;
        }
        if (result == Files::Replacement::Failed)
            break;
    }
    qCWarning(storeLog) << "the notes could not be written to" << m_location.file;
    keepAside();
}

/// Makes sure that the file in place holds nothing that memory does not, as far as that counts.
/// False when it cannot be read.
bool NoteStore::isReadyToWrite()
{
    return m_file.isOthers() ? load() != Look::Unreadable
                             : m_file.makeWay(m_environment.clock.now());
}

/// An empty list never replaces notes that nobody deleted; they come back into memory instead.
bool NoteStore::takesBackNotesOfFile()
{
    if (!notes().empty())
        return false;
    auto content = m_file.content(m_environment.clock.now());
    if (!content || NoteMerge::areAllDeleted(content->notes, m_tombstones))
        return false;
    adopt(std::move(content->notes));
    return true;
}

Files::Replacement NoteStore::write()
{
    const QByteArray bytes = StoreFile::encode(notes(), m_tombstones);
    if (!m_location.isSynced) {
        (void)Files::makeFolder(m_location.localFolder);
        return m_file.replace(bytes);
    }
    // What another machine wrote is not written again in an order of our own: it would be sent
    // back, and meet what is being typed there.
    if (m_file.says(bytes, m_environment.clock.now()))
        return m_copies.areGone() || m_file.sync() ? Files::Replacement::Done
                                                   : Files::Replacement::Failed;
    const auto result = m_file.replace(bytes);
    // Counted from the end of the write, which a slow disk can draw out.
    m_ignoresRemote = m_environment.queue.schedule(echoPeriod, [this] {
        m_ignoresRemote.reset();
        reload(); // what another machine brought meanwhile was not signalled
    });
    return result;
}

void NoteStore::keepAside()
{
    m_copies.keepAside(notes(), m_tombstones, m_environment.clock.now());
}

void NoteStore::scheduleSave()
{
    m_pendingSave = m_environment.queue.schedule(saveDelay, [this] { flush(); });
}

void NoteStore::flush()
{
    // A client may have put another file there unnoticed: nobody will look again.
    if (m_location.isSynced && !m_pendingSave)
        reload();
    if (std::exchange(m_pendingSave, nullptr))
        save();
}

// --- Watching

void NoteStore::startWatching()
{
    if (!m_environment.watch)
        return;
    m_watcher = m_environment.watch(
        m_location.folder,
        [store = QFileInfo(m_location.file).fileName()](const QString &name) {
            return name == store || ConflictCopies::isNameOfOne(name);
        },
        m_environment.queue, [this] { remoteFileMayHaveChanged(); });
}

void NoteStore::remoteFileMayHaveChanged()
{
    if (!m_location.isSynced || m_pendingReload)
        return;
    m_pendingReload = m_environment.queue.schedule(0ms, [this] {
        m_pendingReload.reset();
        if (!m_ignoresRemote)
            reload();
    });
}

void NoteStore::reload()
{
    const Look look = load();
    const bool hasNewCopies = takeInCopies();
    // With the file damaged or gone, memory may be all there is.
    if (look == Look::Unreadable || look == Look::Gone)
        keepAside();
    else if (!m_copies.areGone() && (hasNewCopies || look == Look::New))
        scheduleSave(); // and then the copies can go
}

} // namespace Brevio
