#include "Platform/Storage/KernelWatch.h"

#include "Platform/Storage/FolderState.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include <sys/inotify.h>
#include <sys/stat.h>

namespace Platform {

namespace {

constexpr int longestLinkChain = 40; // the kernel's own limit
constexpr std::size_t readSize = 16 * 1024;

constexpr std::uint32_t itselfMask = IN_MOVE_SELF | IN_DELETE_SELF | IN_DONT_FOLLOW;
constexpr std::uint32_t itselfEvents = IN_MOVE_SELF | IN_DELETE_SELF | IN_UNMOUNT;
constexpr std::uint32_t arrivalMask = IN_CREATE | IN_MOVED_TO | itselfMask;
constexpr std::uint32_t contentMask =
    IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_FROM | IN_DELETE | arrivalMask;

QByteArray joined(const QByteArray &folder, const QByteArray &name)
{
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

/// Where a symbolic link leads, as an absolute path that need not be clean. Empty for what is none.
QByteArray linkTarget(const QByteArray &folder, const QByteArray &name)
{
    char target[PATH_MAX];
    const auto length = ::readlink(joined(folder, name).constData(), target, sizeof target);
    if (length <= 0)
        return {};
    const QByteArray path(target, length);
    return path.startsWith('/') ? path : joined(folder, path);
}

/// The names along an absolute path.
std::vector<QByteArray> stepsOf(const QByteArray &path)
{
    std::vector<QByteArray> steps;
    for (const QByteArray &step : path.split('/')) {
        if (!step.isEmpty() && step != ".")
            steps.push_back(step);
    }
    return steps;
}

enum class Kind { Nothing, Folder, Link, Other };

Kind kindOf(const QByteArray &path)
{
    struct stat info
    {};
    if (::lstat(path.constData(), &info) != 0)
        return Kind::Nothing;
    return S_ISDIR(info.st_mode) ? Kind::Folder : S_ISLNK(info.st_mode) ? Kind::Link : Kind::Other;
}

} // namespace

KernelWatch::KernelWatch(const QString &folder, NameFilter filter)
    : m_folder(QFile::encodeName(folder))
    , m_filter(std::move(filter))
    , m_kernel(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    begin();
}

void KernelWatch::begin()
{
    for (const int watch : std::exchange(m_watches, {}))
        ::inotify_rm_watch(m_kernel.get(), watch);
    m_interests.clear();
    m_tellsAll = true;
    m_place = "/";
    const bool isThere = follow();
    struct stat info
    {};
    (void)::stat(m_place.constData(), &info);
    m_placeNumbers = {info.st_dev, info.st_ino};
    if (!isThere)
        return;
    watchNames(m_place, contentMask, {});
    for (const QByteArray &entry : FolderState::entries(m_place, m_filter))
        watchLink(m_place, entry);
}

bool KernelWatch::lookAgain()
{
    const auto before = std::pair(m_place, m_placeNumbers);
    begin();
    return before != std::pair(m_place, m_placeNumbers);
}

/// Watches that nothing on the way to the folder is moved or replaced. False when it is missing:
/// then the last folder there is on the way is watched for the arrival of the next one.
bool KernelWatch::follow()
{
    auto steps = stepsOf(m_folder);
    for (int links = 0; !steps.empty();) {
        const QByteArray step = steps.front();
        const QByteArray next = joined(m_place, step);
        // Watched before the look, so that whatever happens after it is told. A folder that may not
        // be read cannot be watched: it is seldom one of the user's own, and stays where it is.
        (void)watch(next, itselfMask);
        const Kind kind = kindOf(next);
        const bool isCircle = kind == Kind::Link && ++links > longestLinkChain;
        if (kind == Kind::Nothing || kind == Kind::Other || isCircle) {
            watchNames(m_place, arrivalMask, step);
            if (kindOf(next) == kind)
                return false;
            continue; // it arrived in between
        }
        steps.erase(steps.begin());
        if (kind == Kind::Folder) {
            m_place = next;
            continue;
        }
        auto onward = stepsOf(linkTarget(m_place, step));
        std::ranges::move(steps, std::back_inserter(onward));
        steps = std::move(onward);
        m_place = "/";
    }
    return true;
}

/// A file that is a symbolic link changes where the link leads.
void KernelWatch::watchLink(QByteArray folder, QByteArray name)
{
    for (int links = 0; links < longestLinkChain; ++links) {
        const QByteArray target = linkTarget(folder, name);
        if (target.isEmpty())
            return;
        const auto slash = target.lastIndexOf('/');
        folder = target.left(slash + 1);
        name = target.mid(slash + 1);
        watchNames(folder, contentMask & ~std::uint32_t{IN_DONT_FOLLOW}, name);
    }
}

void KernelWatch::watchNames(const QByteArray &folder, std::uint32_t mask, const QByteArray &name)
{
    const int number = watch(folder, mask | IN_ONLYDIR);
    if (number >= 0)
        m_interests.push_back({number, name, mask == arrivalMask});
    else
        m_tellsAll = false;
}

int KernelWatch::watch(const QByteArray &path, std::uint32_t mask)
{
    const int number = ::inotify_add_watch(m_kernel.get(), path.constData(), mask | IN_MASK_ADD);
    if (number >= 0)
        m_watches.insert(number);
    else if (errno == ENOSPC || errno == ENOMEM)
        m_tellsAll = false;
    return number;
}

bool KernelWatch::takeNews()
{
    alignas(inotify_event) char buffer[readSize];
    bool isChanged = false;
    bool isMoved = false;
    for (;;) {
        const auto length = ::read(m_kernel.get(), buffer, sizeof buffer);
        if (length <= 0)
            break;
        for (const char *at = buffer; at < buffer + length;) {
            inotify_event event;
            std::memcpy(&event, at, sizeof event);
            const QByteArray name(event.len > 0 ? at + sizeof event : "");
            at += sizeof event + event.len;
            if ((event.mask & IN_Q_OVERFLOW) == 0 && !m_watches.contains(event.wd))
                continue;
            const bool arrived = (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0;
            isMoved = isMoved || (event.mask & (itselfEvents | IN_Q_OVERFLOW)) != 0 ||
                      (arrived && turnsTheWay(event.wd, name));
            isChanged = isChanged || matters(event.wd, name);
        }
    }
    if (isMoved)
        begin();
    return isMoved || isChanged;
}

bool KernelWatch::matters(int number, const QByteArray &name) const
{
    return !name.isEmpty() && std::ranges::any_of(m_interests, [&](const Interest &interest) {
        return interest.watch == number &&
               (interest.name.isEmpty() ? m_filter(QFile::decodeName(name))
                                        : interest.name == name);
    });
}

/// Whether this arrival makes the way to the files another one.
bool KernelWatch::turnsTheWay(int number, const QByteArray &name) const
{
    if (!matters(number, name))
        return false;
    return !linkTarget(m_place, name).isEmpty() ||
           std::ranges::any_of(m_interests, [&](const Interest &interest) {
               return interest.watch == number && interest.isArrival;
           });
}

} // namespace Platform
