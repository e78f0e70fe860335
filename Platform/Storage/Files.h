#pragma once

#include "Platform/Core/Clock.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// Whole-file reading and writing that neither blocks nor tears. Any thread. A failure costs one
/// line in the logging category "brevio.storage", which is off unless asked for.
namespace Platform::Files {

/// The whole content of a regular file; nothing when it is missing, is no regular file (a pipe or
/// a device is not waited for), could not be read to its end, or is larger than 64 MiB.
[[nodiscard]] std::optional<QByteArray> read(const QString &path);

/// Replaces the file in one step: whoever looks sees the old content or the new, never a part of
/// either, also after a crash, a full disk or a power cut. The bytes and the folder are synced
/// before this returns true. An existing file keeps its mode, a symbolic link stays one and its
/// target is replaced or made; a new file is private to the user (0600). What stands in the
/// file's place without being a regular file is left alone. On false the file is as it was,
/// unless the folder alone could not be synced: then it is the new one, but a power cut may bring
/// the old one back. Leaves no temporary file; that of a killed process goes with the next call.
[[nodiscard]] bool replaceAtomically(const QString &path, const QByteArray &bytes);

/// Which file there is, and in which state: it differs once the file was replaced or written to.
/// (A file rewritten in place with as many bytes within one tick of the kernel's clock, a few
/// milliseconds, cannot be told apart.)
struct Identity
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;     ///< bytes
    qint64 modified = 0; ///< nanoseconds since 1970, like the next
    qint64 changed = 0;

    bool operator==(const Identity &) const = default;
};

/// What a name, or the symbolic link of that name, leads to; nothing when that cannot be reached.
/// Ask before reading: then a change in between shows as a difference later.
[[nodiscard]] std::optional<Identity> identity(const QString &path);

enum class Replacement {
    Done,
    Refused, ///< it is another file by now, or none may be there; nothing was changed
    Failed,  ///< as `replaceAtomically` returning false
};

/// Like replaceAtomically, but only a file that is `known` still, or none where that is nothing.
/// The question is asked microseconds before the new file takes its name; nothing closes that gap.
/// Whenever the new file is in its place, `known` is its identity.
[[nodiscard]] Replacement replaceKnown(const QString &path, const QByteArray &bytes,
                                       std::optional<Identity> &known);

/// Waits until a file that another program wrote is safely on the disk, its name included.
[[nodiscard]] bool sync(const QString &path);

/// The names of the files in a folder, hidden ones too, sorted; none when it cannot be listed.
[[nodiscard]] QStringList names(const QString &folder);

/// Copies a file to a place where there is none, in one step and synced as above; never a part,
/// and never over a file that appeared there meanwhile. The copy is private to the user.
[[nodiscard]] bool copy(const QString &from, const QString &to);

/// Moves a regular file that cannot be read out of the way, so that its bytes are kept: to its own
/// name with ".unreadable-" and this moment of UTC, to the second, added. A symbolic link stays and
/// its target moves. False, with nothing moved, when the new name is taken.
[[nodiscard]] bool setAsideUnreadable(const QString &path, Instant now);

/// Removes a file, or a symbolic link and not its target, for good: the folder is synced. True
/// when there is nothing of that name afterwards; a folder stays.
[[nodiscard]] bool remove(const QString &path);

/// False only when there is certainly nothing: a file behind a locked folder or a failing disk
/// counts as there. A symbolic link to nothing is nothing.
[[nodiscard]] bool exists(const QString &path);

/// Makes the folder and those above it, private to the user (0700); existing ones keep their
/// mode. True when the folder is there afterwards.
[[nodiscard]] bool makeFolder(const QString &path);

} // namespace Platform::Files
