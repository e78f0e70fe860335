#pragma once

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/// Stands between the program and the kernel: defines the file functions of the C library for the
/// whole executable, so that a test can let any single call fail, write short, or be the last
/// thing the process does. Include it in exactly one source of a test executable. Passive until
/// armed; not for threads.
namespace FaultInjection {

struct Plan
{
    int atCall = 0;           ///< which call is hit, counted from 1; 0 hits none and only counts
    int error = 0;            ///< what it fails with; 0 kills the process instead
    bool shortWrites = false; ///< every write takes seven bytes at most
};

inline Plan plan;
inline int calls = -1; ///< since the latest arming; negative while passive

inline void arm(const Plan &next)
{
    plan = next;
    calls = 0;
}

/// Returns how many calls there were.
inline int disarm()
{
    return std::exchange(calls, -1);
}

inline bool isHit()
{
    return calls >= 0 && ++calls == plan.atCall;
}

/// The system call, unless it is the one that is hit.
template <class... Arguments>
long call(long number, Arguments... arguments)
{
    if (!isHit())
        return ::syscall(number, arguments...);
    if (plan.error == 0)
        std::raise(SIGKILL);
    errno = plan.error;
    return -1;
}

/// Runs this in a process of its own, which ends with it; its wait status.
inline int inChild(const std::function<int()> &work)
{
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(work());
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

} // namespace FaultInjection

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return static_cast<int>(FaultInjection::call(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t read(int file, void *bytes, size_t size)
{
    return FaultInjection::call(SYS_read, file, bytes, size);
}

ssize_t write(int file, const void *bytes, size_t size)
{
    using namespace FaultInjection;
    if (calls >= 0 && plan.shortWrites)
        size = std::min<size_t>(size, 7);
    // Dying in the middle of the work leaves a part of it.
    if (calls + 1 == plan.atCall && calls >= 0 && plan.error == 0)
        (void)!::syscall(SYS_write, file, bytes, size / 2);
    return call(SYS_write, file, bytes, size);
}

int fsync(int file)
{
    return static_cast<int>(FaultInjection::call(SYS_fsync, file));
}

int ftruncate(int file, off_t size) noexcept
{
    return static_cast<int>(FaultInjection::call(SYS_ftruncate, file, size));
}

int fchmod(int file, mode_t mode) noexcept
{
    return static_cast<int>(FaultInjection::call(SYS_fchmod, file, mode));
}

int rename(const char *from, const char *to) noexcept
{
    return static_cast<int>(FaultInjection::call(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0U));
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
              unsigned flags) noexcept
{
    return static_cast<int>(
        FaultInjection::call(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

} // extern "C"
