#include "Brevio/NoteStore.h"

#include "Brevio/NoteMerge.h"
#include "Platform/Storage/Files.h"
#include "Platform/Storage/Folders.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace Brevio {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
namespace Files = Platform::Files;

namespace {

Q_LOGGING_CATEGORY(storeLog, "brevio.store", QtCriticalMsg)

constexpr Platform::MainQueue::Duration saveDelay = 400ms;
constexpr Platform::MainQueue::Duration echoPeriod = 500ms; // for the file's own watcher to fire
constexpr std::chrono::seconds noteLife = 24h * 7;
constexpr QStringView containerID = u"org.brevio.Brevio";

QString storeFileIn(const QString &folder)
{
    return folder + u"/notes.json"_s;
}

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

} // namespace

NoteStore::Environment NoteStore::Environment::standard()
{
    const QString data = Platform::Folders::dataHome();
    return {Platform::Clock::system(), Platform::MainQueue::main(), Platform::CloudDrive::system(),
            data, data};
}

NoteStore::NoteStore(Environment environment)
    : m_environment(std::move(environment))
{
    resolveLocation();
    const bool isFirstRun = !Files::exists(m_path);
    (void)load();
    purgeExpired();
    if (isFirstRun && notes().empty())
        m_welcomeID = insertWelcomeNote();
    m_saveSubscription = m_notes.onChange([this](const NoteList &) { scheduleSave(); });
}

void NoteStore::resolveLocation()
{
    // A folder that cannot be made shows when the file is written.
    m_localFolder = m_environment.applicationSupportFolder + u"/Brevio"_s;
    (void)Files::makeFolder(m_localFolder);
    m_path = storeFileIn(m_localFolder);

    const QString container = cloudContainer();
    if (container.isEmpty())
        return;
    const QString documents = container + u"/Documents"_s;
    (void)Files::makeFolder(documents);
    const QString localFile = std::exchange(m_path, storeFileIn(documents));
    m_usesCloud = true;
    if (!Files::exists(m_path) && Files::exists(localFile) && !Files::copy(localFile, m_path))
        qCWarning(storeLog) << "the notes could not be copied to" << m_path;
}

/// Empty when there is none.
QString NoteStore::cloudContainer() const
{
    if (!m_environment.cloudDrive.isSignedIn())
        return {};
    if (const auto root = m_environment.cloudDrive.containerRoot(containerID.toString()))
        return *root;
    const QString fallback = m_environment.libraryFolder + u"/Mobile Documents/"_s +
                             containerID.toString().replace(u'.', u'~');
    return Files::exists(fallback) ? fallback : QString();
}

Platform::Subscription NoteStore::onWillChange(std::function<void()> callback)
{
    return m_notes.onWillChange(std::move(callback));
}

Platform::Subscription NoteStore::onChange(std::function<void(const NoteList &)> callback)
{
    return m_notes.onChange(std::move(callback));
}

// --- The file

/// False when there is a file that could not be read; then nothing changed.
bool NoteStore::load()
{
    if (!Files::exists(m_path)) {
        if (m_fileState == FileState::Unread)
            m_fileState = FileState::Absent;
        return true;
    }
    const Instant now = m_environment.clock.now();
    const auto bytes = Files::read(m_path);
    auto content = bytes ? StoreFile::decode(*bytes, now) : std::nullopt;
    if (!content) {
        qCWarning(storeLog) << "cannot be read as notes and is left as it is:" << m_path;
        return false;
    }
    auto merged = NoteMerge::merge(std::move(*content), notes(), m_tombstones, now);
    // Before the announcement: a subscriber may delete a note.
    m_tombstones = std::move(merged.tombstones);
    m_fileState = FileState::Read;
    if (merged.notes != notes())
        m_notes.set(std::move(merged.notes));
    return true;
}

void NoteStore::save()
{
    // A store that was not there at first may lie on a drive that has only now come up.
    const bool mustLoad = m_fileState == FileState::Unread ||
                          (m_fileState == FileState::Absent && Files::exists(m_path));
    if ((mustLoad && !load()) || takesBackNotesOfFile())
        return;
    if (!m_usesCloud)
        (void)Files::makeFolder(m_localFolder);
    if (Files::replaceAtomically(m_path, StoreFile::encode(notes(), m_tombstones)))
        m_fileState = FileState::Read;
    else
        qCWarning(storeLog) << "the notes could not be written to" << m_path;
    // Counted from the end of the write, which a slow disk can draw out.
    if (m_usesCloud)
        m_ignoresRemote =
            m_environment.queue.schedule(echoPeriod, [this] { m_ignoresRemote.reset(); });
}

/// An empty list never replaces notes that nobody deleted; they come back into memory instead.
bool NoteStore::takesBackNotesOfFile()
{
    if (!notes().empty() || !Files::exists(m_path))
        return false;
    const auto bytes = Files::read(m_path);
    auto content = bytes ? StoreFile::decode(*bytes, m_environment.clock.now()) : std::nullopt;
    if (!content || NoteMerge::areAllDeleted(content->notes, m_tombstones))
        return false;
    m_notes.set(std::move(content->notes));
    return true;
}

void NoteStore::scheduleSave()
{
    m_pendingSave = m_environment.queue.schedule(saveDelay, [this] { flush(); });
}

void NoteStore::flush()
{
    if (std::exchange(m_pendingSave, nullptr))
        save();
}

void NoteStore::remoteFileMayHaveChanged()
{
    if (!m_usesCloud || m_pendingReload)
        return;
    m_pendingReload = m_environment.queue.schedule(0ms, [this] {
        m_pendingReload.reset();
        if (!m_ignoresRemote)
            (void)load();
    });
}

// --- The notes

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
    rewrite(id, [](Note &note) { note.isPinned = !note.isPinned; });
}

void NoteStore::deleteNote(const Identifier &id)
{
    const Instant now = m_environment.clock.now();
    const auto known = std::ranges::find(m_tombstones, id, &Tombstone::id);
    if (known != m_tombstones.end())
        known->deletedAt = now;
    else
        m_tombstones.push_back({id, now});
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

} // namespace Brevio
