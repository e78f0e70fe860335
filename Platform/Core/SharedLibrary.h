#pragma once

#include <initializer_list>
#include <optional>

namespace Platform {

/// A library that is loaded when it is first needed, so that the program starts quickly without it
/// and runs where it is not installed. Stays loaded for the life of the process. Any thread.
class SharedLibrary final
{
public:
    /// The first of these files, by name or absolute path, that can be loaded; none otherwise.
    [[nodiscard]] static std::optional<SharedLibrary>
    open(std::initializer_list<const char *> files);

    /// Points at the library's function of this name. False, with null, when it has none.
    template <class Function>
    [[nodiscard]] bool resolve(Function *&function, const char *name) const
    {
        function = reinterpret_cast<Function *>(symbol(name));
        return function != nullptr;
    }

private:
    explicit SharedLibrary(void *handle)
        : m_handle(handle)
    {}
    [[nodiscard]] void *symbol(const char *name) const;

    void *m_handle;
};

} // namespace Platform
