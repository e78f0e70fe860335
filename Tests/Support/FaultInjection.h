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
/// whole executable, so that a test can let any single call fail, or be the last
/// thing the process does. Include it in exactly one source of a test executable. Passive until
/// armed; not for threads.
namespace FaultInjection {

inline int calls = -1; ///< since the latest arming; negative while passive
inline int hitCall = 0;
inline int hitError = 0;

/// Hits the call with this number, counted from 1: it fails with the error, or kills the process
/// when that is 0. Until disarmed, every write takes a part of what it is given at most.
inline void arm(int call, int error)
{
    calls = 0;
    hitCall = call;
    hitError = error;
}

/// Returns how many calls there were.
inline int disarm()
{
    return std::exchange(calls, -1);
}

/// The system call, unless it is the one that is hit.
template <class... Arguments>
long call(long number, Arguments... arguments)
{
    if (calls < 0 || ++calls != hitCall)
        return ::syscall(number, arguments...);
    if (hitError == 0)
        std::raise(SIGKILL);
    errno = hitError;
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
    const size_t most = FaultInjection::calls < 0 ? size : 20'000;
    return FaultInjection::call(SYS_write, file, bytes, std::min(size, most));
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

} // extern "C"
