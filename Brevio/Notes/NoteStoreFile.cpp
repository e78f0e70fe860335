#include "Brevio/Notes/NoteStoreFile.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace Brevio {

namespace Files = Platform::Files;

namespace {

Q_LOGGING_CATEGORY(fileLog, "brevio.store", QtCriticalMsg)

/// Every reading sorts, so the order of a file tells nothing.
OnDisk inOneOrder(OnDisk content)
{
    std::ranges::sort(content.notes, {}, &Note::id);
    std::ranges::sort(content.tombstones, {}, &Tombstone::id);
    return content;
}

} // namespace

NoteStoreFile::NoteStoreFile(QString path, bool isSynced)
    : m_path(std::move(path))
    , m_isSynced(isSynced)
{}

NoteStoreFile::Found NoteStoreFile::look(Instant now)
{
    if (!Files::exists(m_path)) {
        m_known.reset();
        return {m_wasRead ? Look::Gone : Look::Absent};
    }
    const auto identity = Files::identity(m_path);
    // A second reading could only take back what was changed since, a card put back for one.
    if (identity && identity == m_known)
        return {Look::Known};
    auto read = content(now);
    if (!read) {
        qCWarning(fileLog) << "cannot be read as notes and is left as it is:" << m_path;
        return {Look::Unreadable};
    }
    m_wasRead = true;
    m_known = identity;
    return {Look::New, std::move(*read)};
}

std::optional<OnDisk> NoteStoreFile::content(Instant now) const
{
    const auto bytes = Files::read(m_path);
    return bytes ? StoreFile::decode(*bytes, now) : std::nullopt;
}

bool NoteStoreFile::isOthers() const
{
    // A store that was not there at first may lie on a drive that has only now come up.
    return m_isSynced || !m_wasRead;
}

bool NoteStoreFile::makeWay(Instant now)
{
    const auto identity = Files::identity(m_path);
    if (identity && identity == m_known)
        return true;
    if (Files::exists(m_path) && !content(now) && !Files::setAsideUnreadable(m_path, now))
        return false;
    m_known = Files::identity(m_path);
    return true;
}

Files::Replacement NoteStoreFile::replace(const QByteArray &bytes)
{
    const auto result = Files::replaceKnown(m_path, bytes, m_known);
    m_wasRead |= result == Files::Replacement::Done;
    return result;
}

bool NoteStoreFile::says(const QByteArray &bytes, Instant now) const
{
    const auto there = Files::read(m_path);
    if (!there || there->size() != bytes.size()) // the short way out
        return false;
    auto theirs = StoreFile::decode(*there, now);
    auto ours = StoreFile::decode(bytes, now);
    return theirs && ours && inOneOrder(std::move(*theirs)) == inOneOrder(std::move(*ours));
}

} // namespace Brevio
