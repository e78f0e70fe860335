#include "Brevio/Notes/NoteStore.h"

#include "Platform/Storage/Folders.h"

#include <algorithm>
#include <utility>

namespace Brevio {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
namespace Files = Platform::Files;

namespace {

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
{
    resolveLocation();
    const bool isFirstRun = !Files::exists(m_path);
    (void)load();
    const bool hasCopies = takeInCopies();
    purgeExpired();
    if (isFirstRun && notes().empty())
        m_welcomeID = insertWelcomeNote();
    m_saveSubscription = m_notes.onChange([this](const NoteList &) { scheduleSave(); });
    if (hasCopies)
        scheduleSave();
    if (m_usesCloud)
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

} // namespace Brevio
