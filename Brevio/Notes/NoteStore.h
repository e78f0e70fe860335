#pragma once

#include "Brevio/Notes/Note.h"
#include "Brevio/Notes/NoteStoreFile.h"
#include "Brevio/Notes/StoreCopies.h"
#include "Brevio/Notes/StoreLocation.h"
#include "Platform/Core/MainQueue.h"
#include "Platform/Core/Observable.h"
#include "Platform/Storage/CloudDrive.h"
#include "Platform/Storage/FileWatcher.h"

#include <QSet>

#include <functional>
#include <optional>

namespace Brevio {

/// The single owner of all notes: reads the store file when it is made, merges every later reading
/// with memory, and writes the file shortly after each change, never over one it could not read.
/// While it cannot write there, it keeps the notes in a private file, "notes.unsaved.json" in the
/// local folder. Failures are silent. Main thread only; every call is complete when it returns.
class NoteStore final
{
public:
    /// Where the store lives. What is referred to must outlive it; the folders are absolute paths.
    struct Environment
    {
        Platform::Clock &clock;
        Platform::MainQueue &queue;
        const Platform::CloudDrive &cloudDrive;
        QString applicationSupportFolder; ///< the local file is in its subfolder "Brevio"
        QString libraryFolder;
        /// Begins to watch a folder as FileWatcher::create does; without one nothing is watched.
        std::function<std::unique_ptr<Platform::FileWatcher>(
            const QString &folder, std::function<bool(const QString &fileName)> filter,
            Platform::MainQueue &queue, std::function<void()> onChange)>
            watch = {};

        /// The machine and the user's own folders.
        static Environment standard();
    };
    using Identifier = QUuid;

    explicit NoteStore(Environment environment = Environment::standard());
    NoteStore(const NoteStore &) = delete;
    NoteStore &operator=(const NoteStore &) = delete;

    /// All live notes: newest edit first after each reading of the file; in between, new ones come
    /// to the front and edited ones keep their place.
    [[nodiscard]] const NoteList &notes() const { return m_notes.get(); }
    /// The note with this identifier, or none.
    [[nodiscard]] std::optional<Note> note(const Identifier &id) const;
    /// Called just before the list changes, and after it changed. A rewrite that leaves the list
    /// as it was counts.
    [[nodiscard]] Platform::Subscription onWillChange(std::function<void()> callback);
    [[nodiscard]] Platform::Subscription onChange(std::function<void(const NoteList &)> callback);
    /// Called after what others wrote into the file has changed the list.
    [[nodiscard]] Platform::Subscription onMerge(std::function<void()> callback);

    /// An empty note at the front; its identifier.
    Identifier newNote();
    /// Takes the text typed into the note's card, and the time when it differs from the body.
    void setBody(const Identifier &id, const QString &body);
    /// Puts a note's body and time back to what the caller remembers.
    void revert(const Identifier &id, const QString &body, Instant lastEditedAt);
    void togglePin(const Identifier &id);
    /// Removes the note and remembers the deletion, also of a note unknown here.
    void deleteNote(const Identifier &id);
    /// Removes the notes that are older than seven days and not pinned.
    void purgeExpired();
    /// Puts another pinned welcome note at the front.
    void restoreWelcomeNote();

    /// Writes now what is waiting to be written, if anything is. For the end of the program; a
    /// store that merely goes away writes nothing.
    void flush();

    /// The welcome note of a first run, until whoever shows it takes it; none otherwise.
    [[nodiscard]] const std::optional<Identifier> &pendingWelcomeID() const { return m_welcomeID; }
    void setPendingWelcomeID(std::optional<Identifier> id) { m_welcomeID = std::move(id); }

    /// Tells the store that another machine may have written the file, or a sync client a conflict
    /// copy beside it: merges them in on the next turn of the event loop. Within half a second of
    /// a write of the store's own it does nothing; the store looks by itself at the end of that
    /// time. Local stores ignore it.
    void remoteFileMayHaveChanged();

private:
    void startWatching();
    void reload();
    NoteStoreFile::Look load();
    bool takeInCopies();
    void adopt(NoteList merged);
    void save();
    [[nodiscard]] bool isReadyToWrite();
    [[nodiscard]] bool takesBackNotesOfFile();
    [[nodiscard]] Platform::Files::Replacement write();
    void keepAside();
    void scheduleSave();
    Identifier insertWelcomeNote();
    template <class Change>
    void rewrite(const Identifier &id, Change &&change);

    Environment m_environment;
    StoreLocation m_location;
    NoteStoreFile m_file;
    StoreCopies m_copies;
    Platform::Observable<NoteList> m_notes;
    Platform::Announcer<> m_merged;
    TombstoneList m_tombstones;
    std::optional<Identifier> m_welcomeID;
    QSet<Identifier> m_unsavedPins; ///< pins toggled since the last save; a pin has no time
    Platform::Subscription m_saveSubscription;
    Platform::MainQueue::Pending m_pendingSave;
    Platform::MainQueue::Pending m_pendingReload;
    Platform::MainQueue::Pending m_ignoresRemote; ///< pending for a moment after our own write
    std::unique_ptr<Platform::FileWatcher> m_watcher;
};

} // namespace Brevio
