#pragma once

#include <atomic>
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

/// A system that may have no thread to give, as one at its limit of processes. Defines the call of
/// the C library for the whole executable; include it in exactly one source of a test executable.
namespace ThreadShortage {

/// While true, no thread can be started.
inline std::atomic<bool> isOn = false;

} // namespace ThreadShortage

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                              void *(*routine)(void *), void *argument) noexcept
{
    if (ThreadShortage::isOn)
        return EAGAIN;
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, routine, argument);
}
