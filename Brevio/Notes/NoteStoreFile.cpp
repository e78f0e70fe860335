#include "Brevio/Notes/ConflictCopies.h"
#include "Brevio/Notes/NoteMerge.h"
#include "Brevio/Notes/NoteStore.h"

#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

// The half of the store that finds, reads, writes and watches the file.
namespace Brevio {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
namespace Files = Platform::Files;

namespace {

Q_LOGGING_CATEGORY(storeLog, "brevio.store", QtCriticalMsg)

constexpr Platform::MainQueue::Duration saveDelay = 400ms;
constexpr Platform::MainQueue::Duration echoPeriod = 500ms; // for the file's own watcher to fire
constexpr int writeAttempts = 3; // against a program that writes the file at the same moment
constexpr QStringView containerID = u"org.brevio.Brevio";

QString storeFileIn(const QString &folder)
{
    return folder + u"/notes.json"_s;
}

/// The content of a file; nothing when it cannot be read as notes.
std::optional<OnDisk> contentOf(const std::optional<QByteArray> &bytes, Instant now)
{
    return bytes ? StoreFile::decode(*bytes, now) : std::nullopt;
}

} // namespace

// --- Its place

void NoteStore::resolveLocation()
{
    // A folder that cannot be made shows when the file is written.
    m_localFolder = m_environment.applicationSupportFolder + u"/Brevio"_s;
    (void)Files::makeFolder(m_localFolder);
    m_path = storeFileIn(m_localFolder);
    m_unsavedPath = m_localFolder + u"/notes.unsaved.json"_s;

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

// --- Reading

/// False when there is a file that could not be read; then nothing changed.
bool NoteStore::load()
{
    if (!Files::exists(m_path)) {
        if (m_fileState == FileState::Unread)
            m_fileState = FileState::Absent;
        m_knownFile.reset();
        return true;
    }
    const auto identity = Files::identity(m_path);
    // A second look could only take back what was changed here since, a card put back for one.
    if (identity && identity == m_knownFile)
        return true;
    const Instant now = m_environment.clock.now();
    auto content = contentOf(Files::read(m_path), now);
    if (!content) {
        qCWarning(storeLog) << "cannot be read as notes and is left as it is:" << m_path;
        return false;
    }
    auto merged = NoteMerge::merge(*content, notes(), m_tombstones, now);
    for (Note &note : merged.notes) {
        if (!m_unsavedPins.contains(note.id))
            continue;
        if (const auto own = this->note(note.id))
            note.isPinned = own->isPinned;
    }
    // Before the announcement: a subscriber may delete a note.
    m_tombstones = std::move(merged.tombstones);
    m_fileState = FileState::Read;
    m_knownFile = identity;
    m_isFromOthers = true;
    // Otherwise what another machine's file lacks would be here in memory only.
    if (m_usesCloud && NoteMerge::addsTo(*content, merged.notes, m_tombstones, now - noteLife))
        scheduleSave();
    adopt(std::move(merged.notes));
    return true;
}

void NoteStore::adopt(NoteList merged)
{
    if (merged == notes())
        return;
    m_notes.set(std::move(merged));
    m_merged.announce();
}

/// Merges into memory what a sync client, or this store while it could not write, laid beside the
/// file. What cannot be read as notes is left alone. Whether there was anything new.
bool NoteStore::takeInCopies()
{
    bool isAnyNew = false;
    QStringList paths{m_unsavedPath};
    const QString folder = QFileInfo(m_path).path();
    for (const QString &name : m_usesCloud ? Files::names(folder) : QStringList()) {
        if (ConflictCopies::isNameOfOne(name))
            paths += folder + u'/' + name;
    }
    for (const QString &path : std::as_const(paths)) {
        const auto identity = Files::identity(path);
        const auto known = m_copies.find(path);
        if (!identity || (known != m_copies.end() && known->second == identity))
            continue;
        const Instant now = m_environment.clock.now();
        const auto bytes = Files::read(path);
        const auto content = contentOf(bytes, now);
        if (!content || !ConflictCopies::isStore(*content, *bytes)) {
            qCWarning(storeLog) << "cannot be read as notes and is left as it is:" << path;
            continue;
        }
        auto merged =
            NoteMerge::merge(*content, notes(), m_tombstones, now, NoteMerge::WhenEqual::Memory);
        m_tombstones = std::move(merged.tombstones);
        m_copies.insert_or_assign(path, *identity);
        isAnyNew = true;
        adopt(std::move(merged.notes));
    }
    return isAnyNew;
}

// --- Writing

void NoteStore::save()
{
    for (int attempt = 0; attempt < writeAttempts && isReadyToWrite(); ++attempt) {
        if (takesBackNotesOfFile())
            return;
        const auto result = write();
        if (result == Files::Replacement::Done) {
            m_fileState = FileState::Read;
            m_unsavedPins.clear();
            removeCopies();
            return;
        }
        if (result == Files::Replacement::Failed)
            break;
    }
    qCWarning(storeLog) << "the notes could not be written to" << m_path;
    keepAside();
}

/// Makes sure that the file in place holds nothing that memory does not, as far as that counts:
/// a local file is read once and then this program's own. False when it cannot be read.
bool NoteStore::isReadyToWrite()
{
    // A store that was not there at first may lie on a drive that has only now come up.
    const bool isAnothers = m_usesCloud || m_fileState == FileState::Unread ||
                            (m_fileState == FileState::Absent && Files::exists(m_path));
    if (isAnothers)
        return load();
    if (Files::exists(m_path) && Files::identity(m_path) == m_knownFile)
        return true;
    const Instant now = m_environment.clock.now();
    if (Files::exists(m_path) && !contentOf(Files::read(m_path), now) &&
        !Files::setAsideUnreadable(m_path, now))
        return false;
    m_knownFile = Files::identity(m_path);
    return true;
}

/// An empty list never replaces notes that nobody deleted; they come back into memory instead.
bool NoteStore::takesBackNotesOfFile()
{
    if (!notes().empty() || !Files::exists(m_path))
        return false;
    auto content = contentOf(Files::read(m_path), m_environment.clock.now());
    if (!content || NoteMerge::areAllDeleted(content->notes, m_tombstones))
        return false;
    adopt(std::move(content->notes));
    return true;
}

/// What another machine wrote as we would, notes of one second in another order at most, is not
/// written again: it would be sent back, and each could go on putting its own order.
bool NoteStore::isInPlace(const QByteArray &bytes) const
{
    const auto there = Files::read(m_path);
    if (there == bytes)
        return true;
    if (!m_isFromOthers || !there || there->size() != bytes.size())
        return false;
    const auto theirs = contentOf(there, m_environment.clock.now());
    return theirs && NoteMerge::isSame(*theirs, notes(), m_tombstones);
}

Files::Replacement NoteStore::write()
{
    const QByteArray bytes = StoreFile::encode(notes(), m_tombstones);
    if (!m_usesCloud) {
        (void)Files::makeFolder(m_localFolder);
        return Files::replaceKnown(m_path, bytes, m_knownFile);
    }
    if (m_knownFile && isInPlace(bytes))
        return m_copies.empty() || Files::sync(m_path) ? Files::Replacement::Done
                                                       : Files::Replacement::Failed;
    const auto result = Files::replaceKnown(m_path, bytes, m_knownFile);
    if (result == Files::Replacement::Done)
        m_isFromOthers = false;
    // Counted from the end of the write, which a slow disk can draw out.
    m_ignoresRemote = m_environment.queue.schedule(echoPeriod, [this] {
        m_ignoresRemote.reset();
        reload(); // what another machine brought meanwhile was not signalled
    });
    return result;
}

/// For the moment when the store file safely holds all of memory.
void NoteStore::removeCopies()
{
    // One that its client has rewritten meanwhile is another, to be read at the next look.
    std::erase_if(m_copies, [](const auto &copy) {
        return Files::identity(copy.first) != copy.second || Files::remove(copy.first);
    });
}

/// Keeps the notes in a file of our own, for as long as the store file does not hold them.
void NoteStore::keepAside()
{
    if (notes().empty() && m_tombstones.empty())
        return;
    if (!m_copies.contains(m_unsavedPath) && Files::exists(m_unsavedPath) &&
        !Files::setAsideUnreadable(m_unsavedPath, m_environment.clock.now()))
        return;
    if (!Files::replaceAtomically(m_unsavedPath, StoreFile::encode(notes(), m_tombstones)))
        return;
    if (const auto identity = Files::identity(m_unsavedPath))
        m_copies.insert_or_assign(m_unsavedPath, *identity);
}

void NoteStore::scheduleSave()
{
    m_pendingSave = m_environment.queue.schedule(saveDelay, [this] { flush(); });
}

void NoteStore::flush()
{
    // A client may have put another file there unnoticed: nobody will look again.
    if (m_usesCloud && !m_pendingSave)
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
        QFileInfo(m_path).path(),
        [store = QFileInfo(m_path).fileName()](const QString &name) {
            return name == store || ConflictCopies::isNameOfOne(name);
        },
        m_environment.queue, [this] { remoteFileMayHaveChanged(); });
}

void NoteStore::remoteFileMayHaveChanged()
{
    if (!m_usesCloud || m_pendingReload)
        return;
    m_pendingReload = m_environment.queue.schedule(0ms, [this] {
        m_pendingReload.reset();
        if (!m_ignoresRemote)
            reload();
    });
}

void NoteStore::reload()
{
    const auto known = m_knownFile;
    const bool isRead = load();
    const bool hasNewCopies = takeInCopies();
    // With the file damaged or gone, memory may be all there is.
    if (!isRead || (!m_knownFile && m_fileState == FileState::Read))
        keepAside();
    else if (!m_copies.empty() && (hasNewCopies || m_knownFile != known))
        scheduleSave(); // and then the copies can go
}

} // namespace Brevio
