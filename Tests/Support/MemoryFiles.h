#pragma once

#include "Platform/Storage/Files.h"

#include <functional>
#include <map>
#include <utility>

/// Stands in for the file system: defines Platform::Files for the whole executable, on a map in
/// memory, so that thousands of schedules run in seconds. Include it in exactly one source of a
/// test executable. Every folder is there; not for threads.
namespace MemoryFiles {

struct File
{
    QByteArray bytes;
    qint64 state = 0;      ///< another one after each write
    bool isSynced = false; ///< a power cut leaves it
};

inline std::map<QString, File> files;
inline qint64 lastState = 0;
/// To be set before the first call. Whether writing to this path fails, as on a full disk.
inline std::function<bool(const QString &)> failsToWrite;
/// Called just before the last look at a known file that is to be replaced, and before a removal.
inline std::function<void(const QString &)> aboutToReplace, aboutToRemove;

inline void put(const QString &path, const QByteArray &bytes)
{
    files[path] = {bytes, ++lastState};
}

} // namespace MemoryFiles

namespace Platform::Files {

std::optional<QByteArray> read(const QString &path)
{
    const auto found = MemoryFiles::files.find(path);
    return found == MemoryFiles::files.end() ? std::nullopt : std::optional(found->second.bytes);
}

std::optional<Identity> identity(const QString &path)
{
    const auto found = MemoryFiles::files.find(path);
    return found == MemoryFiles::files.end()
               ? std::nullopt
               : std::optional(Identity{.inode = 1, .changed = found->second.state});
}

bool exists(const QString &path)
{
    return MemoryFiles::files.contains(path);
}

bool sync(const QString &path)
{
    return exists(path) && (MemoryFiles::files[path].isSynced = true);
}

bool replaceAtomically(const QString &path, const QByteArray &bytes)
{
    if (MemoryFiles::failsToWrite(path))
        return false;
    MemoryFiles::put(path, bytes);
    return sync(path);
}

Replacement replaceKnown(const QString &path, const QByteArray &bytes,
                         std::optional<Identity> &known)
{
    MemoryFiles::aboutToReplace(path);
    if (identity(path) != known)
        return Replacement::Refused;
    if (!replaceAtomically(path, bytes))
        return Replacement::Failed;
    known = identity(path);
    return Replacement::Done;
}

QStringList names(const QString &folder)
{
    QStringList found;
    for (const auto &[path, file] : MemoryFiles::files) {
        if (path.startsWith(folder + u'/'))
            found += path.mid(folder.size() + 1);
    }
    return found;
}

bool copy(const QString &from, const QString &to)
{
    const auto bytes = read(from);
    return bytes && !exists(to) && replaceAtomically(to, *bytes);
}

bool setAsideUnreadable(const QString &path, Instant)
{
    return copy(path, path + QStringLiteral(".unreadable")) && MemoryFiles::files.erase(path) > 0;
}

bool remove(const QString &path)
{
    MemoryFiles::aboutToRemove(path);
    MemoryFiles::files.erase(path);
    return true;
}

bool makeFolder(const QString &)
{
    return true;
}

} // namespace Platform::Files
