#include "Platform/Storage/Files.h"

#include "Platform/Core/Descriptor.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Files {

namespace {

Q_LOGGING_CATEGORY(storageLog, "brevio.storage", QtCriticalMsg)

constexpr qsizetype largestFile = 64 * 1024 * 1024; // bytes; a card is about one kilobyte
constexpr qsizetype readStep = 64 * 1024;           // bytes
constexpr mode_t privateFile = 0600;
constexpr mode_t privateFolder = 0700;
constexpr mode_t permissionBits = 07777;
constexpr int longestLinkChain = 40; // the kernel's own limit

enum class IfThere { Replace, Fail };

bool failed(const char *action, const QByteArray &path)
{
    qCWarning(storageLog, "cannot %s %s: %s", action, path.constData(), std::strerror(errno));
    return false;
}

QByteArray folderOf(const QByteArray &path)
{
    const auto slash = path.lastIndexOf('/');
    return slash < 0    ? QByteArrayLiteral(".")
           : slash == 0 ? QByteArrayLiteral("/")
                        : path.left(slash);
}

/// Follows symbolic links to their end, which need not exist. Empty when they run in a circle.
QByteArray linkTarget(const QString &path)
{
    QByteArray current = QFile::encodeName(path);
    for (int hops = 0; hops < longestLinkChain; ++hops) {
        char target[PATH_MAX];
        const auto length = ::readlink(current.constData(), target, sizeof target);
        if (length < 0)
            return current;
        const QByteArray next(target, length);
        current = next.startsWith('/') ? next : folderOf(current) + '/' + next;
    }
    errno = ELOOP;
    return {};
}

/// Until its folder is synced, a power cut can take a new name away again.
bool syncFolder(const QByteArray &path)
{
    const Descriptor folder(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some network and user-space file systems know no such thing; nothing better is to be had.
    if (folder.isOpen() && (::fsync(folder.get()) == 0 || errno == EINVAL || errno == ENOTSUP))
        return true;
    return failed("sync", path);
}

bool isNamed(const Descriptor &file, const QByteArray &path)
{
    struct stat open
    {
    }, named{};
    return ::fstat(file.get(), &open) == 0 && ::lstat(path.constData(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// The name is always the same, so what a killed process left behind is used up by the next
/// write. The lock, held until the file has its final name, keeps a second process out.
Descriptor openTemporary(const QByteArray &path)
{
    for (bool mayUnlink = true;;) {
        Descriptor file(::open(path.constData(),
                               O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                               privateFile));
        if (!file.isOpen()) {
            // Left behind with the mode of a read-only file.
            if (errno == EACCES && std::exchange(mayUnlink, false) &&
                ::unlink(path.constData()) == 0)
                continue;
            return file;
        }
        if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
            return Descriptor();
        // Between opening and locking the other process may have given the file its final name.
        if (isNamed(file, path))
            return file;
    }
}

bool fill(const Descriptor &file, const QByteArray &bytes)
{
    if (::ftruncate(file.get(), 0) != 0)
        return false;
    for (qsizetype written = 0; written < bytes.size();) {
        const auto step = ::write(file.get(), bytes.constData() + written,
                                  static_cast<std::size_t>(bytes.size() - written));
        if (step < 0 && errno != EINTR)
            return false;
        written += std::max<qsizetype>(step, 0);
    }
    return true;
}

bool takeModeOf(const struct stat &old, const Descriptor &file)
{
    // Only the superuser can give a file away: run by root, the notes stay the user's.
    if (::fchown(file.get(), old.st_uid, old.st_gid) != 0)
        qCDebug(storageLog, "the owner or group of a file could not be kept");
    return ::fchmod(file.get(), old.st_mode & permissionBits) == 0;
}

bool moveWithoutReplacing(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL)
        return false;
    // This file system cannot do both in one step.
    struct stat there
    {};
    if (::lstat(to.constData(), &there) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.constData(), to.constData()) == 0;
}

Identity identityOf(const struct stat &info)
{
    const auto nanoseconds = [](const timespec &time) {
        return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    };
    return {info.st_dev, info.st_ino, info.st_size, nanoseconds(info.st_mtim),
            nanoseconds(info.st_ctim)};
}

/// `known`, where given, is what the file has to be still, and becomes what it is afterwards.
Replacement write(const QString &path, const QByteArray &bytes, IfThere ifThere,
                  std::optional<Identity> *known = nullptr)
{
    const QByteArray target = linkTarget(path);
    struct stat old
    {};
    const bool isThere = !target.isEmpty() && ::lstat(target.constData(), &old) == 0;
    if (!isThere && errno != ENOENT) {
        failed("reach", target);
        return Replacement::Failed;
    }
    if (isThere && (ifThere == IfThere::Fail || !S_ISREG(old.st_mode))) {
        errno = EEXIST;
        failed("replace", target);
        return Replacement::Refused;
    }

    // Clients of synced folders take names that begin with ".~" for scratch files.
    const QByteArray folder = folderOf(target);
    const QByteArray temporary =
        folder + "/.~" + target.mid(target.lastIndexOf('/') + 1) + ".brevio";
    const Descriptor file = openTemporary(temporary);
    if (!file.isOpen()) {
        failed("open", temporary);
        return Replacement::Failed;
    }
    const bool isReady =
        fill(file, bytes) &&
        (isThere ? takeModeOf(old, file) : ::fchmod(file.get(), privateFile) == 0) &&
        ::fsync(file.get()) == 0;
    // Asked last: what another program puts there between this line and the next is lost.
    const bool isKnown = !known || !*known || identity(path) == *known;
    const bool isMoved =
        isReady && isKnown &&
        (ifThere == IfThere::Replace ? ::rename(temporary.constData(), target.constData()) == 0
                                     : moveWithoutReplacing(temporary, target));
    if (!isMoved) {
        const bool isRefused = isReady && (!isKnown || errno == EEXIST);
        failed("write", target);
        ::unlink(temporary.constData());
        return isRefused ? Replacement::Refused : Replacement::Failed;
    }
    struct stat now
    {};
    // Of the open file: the one of that name may be another program's by now.
    if (known)
        *known = ::fstat(file.get(), &now) == 0 ? std::optional(identityOf(now)) : std::nullopt;
    return syncFolder(folder) ? Replacement::Done : Replacement::Failed;
}

} // namespace

std::optional<QByteArray> read(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    // Opening a pipe would wait for its other end.
    const Descriptor file(::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat info
    {};
    if (!file.isOpen() || ::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        failed("open as a file", name);
        return std::nullopt;
    }
    QByteArray bytes;
    // The size is a hint: the file may be growing, and some file systems report none.
    bytes.reserve(std::clamp<qsizetype>(info.st_size, 0, largestFile) + readStep);
    for (;;) {
        const qsizetype done = bytes.size();
        bytes.resize(std::max(done + readStep, bytes.capacity()));
        const auto step =
            ::read(file.get(), bytes.data() + done, static_cast<std::size_t>(bytes.size() - done));
        const bool isInterrupted = step < 0 && errno == EINTR;
        if (step < 0 && !isInterrupted) {
            failed("read", name);
            return std::nullopt;
        }
        bytes.resize(done + std::max<qsizetype>(step, 0));
        if (bytes.size() > largestFile) {
            errno = EFBIG;
            failed("read", name);
            return std::nullopt;
        }
        if (step == 0)
            return bytes;
    }
}

bool replaceAtomically(const QString &path, const QByteArray &bytes)
{
    return write(path, bytes, IfThere::Replace) == Replacement::Done;
}

Replacement replaceKnown(const QString &path, const QByteArray &bytes,
                         std::optional<Identity> &known)
{
    return write(path, bytes, known ? IfThere::Replace : IfThere::Fail, &known);
}

std::optional<Identity> identity(const QString &path)
{
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return identityOf(info);
}

bool copy(const QString &from, const QString &to)
{
    const auto bytes = read(from);
    return bytes && write(to, *bytes, IfThere::Fail) == Replacement::Done;
}

bool setAsideUnreadable(const QString &path, Instant now)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(now).time_since_epoch().count();
    const auto time = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    const QString suffix = time.toString(QStringLiteral("'.unreadable-'yyyyMMdd-hhmmss"));
    const QByteArray target = linkTarget(path);
    struct stat info
    {};
    if (target.isEmpty() || ::lstat(target.constData(), &info) != 0 || !S_ISREG(info.st_mode) ||
        !moveWithoutReplacing(target, target + QFile::encodeName(suffix)))
        return failed("set aside", QFile::encodeName(path));
    return syncFolder(folderOf(target));
}

bool remove(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    if (::unlink(name.constData()) == 0)
        return syncFolder(folderOf(name));
    return errno == ENOENT || failed("remove", name);
}

bool exists(const QString &path)
{
    struct stat info
    {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ||
           (errno != ENOENT && errno != ENOTDIR);
}

bool sync(const QString &path)
{
    const QByteArray name = linkTarget(path);
    const Descriptor file(::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen() || ::fsync(file.get()) != 0)
        return failed("sync", name);
    return syncFolder(folderOf(name));
}

QStringList names(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

bool makeFolder(const QString &path)
{
    const QString clean = QDir::cleanPath(path);
    const QByteArray folder = QFile::encodeName(clean);
    struct stat info
    {};
    if (::stat(folder.constData(), &info) == 0)
        return S_ISDIR(info.st_mode);
    const QByteArray parent = folderOf(folder);
    if (errno != ENOENT || !makeFolder(QFile::decodeName(parent)))
        return failed("make", folder);
    if (::mkdir(folder.constData(), privateFolder) != 0)
        return failed("make", folder);
    (void)syncFolder(parent); // the folder is there; only a power cut could take it away
    return true;
}

} // namespace Platform::Files
