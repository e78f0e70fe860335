#include "Platform/Core/SharedLibrary.h"

#include <dlfcn.h>

namespace Platform {

std::optional<SharedLibrary> SharedLibrary::open(std::initializer_list<const char *> files)
{
    for (const char *file : files) {
        if (void *handle = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE))
            return SharedLibrary(handle);
    }
    return std::nullopt;
}

void *SharedLibrary::symbol(const char *name) const
{
    return dlsym(m_handle, name);
}

} // namespace Platform
