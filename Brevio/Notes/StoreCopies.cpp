#include "Brevio/Notes/StoreCopies.h"

#include "Brevio/Notes/ConflictCopies.h"

#include <QLoggingCategory>

namespace Brevio {

using namespace Qt::StringLiterals;
namespace Files = Platform::Files;

namespace {

Q_LOGGING_CATEGORY(copiesLog, "brevio.store", QtCriticalMsg)

} // namespace

StoreCopies::StoreCopies(const StoreLocation &location)
    : m_location(location)
{}

QStringList StoreCopies::paths() const
{
    QStringList paths{m_location.unsavedFile};
    if (!m_location.isSynced)
        return paths;
    for (const QString &name : Files::names(m_location.folder)) {
        if (ConflictCopies::isNameOfOne(name))
            paths += m_location.folder + u'/' + name;
    }
    return paths;
}

bool StoreCopies::isHeld(const QString &path, const std::optional<Files::Identity> &identity) const
{
    const auto held = m_held.find(path);
    return held != m_held.end() && held->second == identity;
}

std::vector<OnDisk> StoreCopies::readNew(Instant now)
{
    std::vector<OnDisk> found;
    for (const QString &path : paths()) {
        const auto identity = Files::identity(path);
        if (!identity || isHeld(path, identity))
            continue;
        const auto bytes = Files::read(path);
        auto content = bytes ? StoreFile::decode(*bytes, now) : std::nullopt;
        if (!content || !ConflictCopies::isStore(*content, *bytes)) {
            qCWarning(copiesLog) << "cannot be read as notes and is left as it is:" << path;
            continue;
        }
        m_held.insert_or_assign(path, *identity);
        found.push_back(std::move(*content));
    }
    return found;
}

void StoreCopies::remove()
{
    std::erase_if(m_held, [](const auto &copy) {
        return Files::identity(copy.first) != copy.second || Files::remove(copy.first);
    });
}

void StoreCopies::keepAside(const NoteList &notes, const TombstoneList &tombstones, Instant now)
{
    const QString &path = m_location.unsavedFile;
    if (notes.empty() && tombstones.empty())
        return;
    if (Files::exists(path) && !isHeld(path, Files::identity(path)) &&
        !Files::setAsideUnreadable(path, now))
        return;
    // Also on a failure: the new file may be there, its folder alone not synced.
    (void)Files::replaceAtomically(path, StoreFile::encode(notes, tombstones));
    if (const auto identity = Files::identity(path))
        m_held.insert_or_assign(path, *identity);
}

} // namespace Brevio
