#pragma once

#include <utility>

namespace Platform {

/// Owns a file descriptor and closes it at its end. Negative means none.
class Descriptor final
{
public:
    explicit Descriptor(int descriptor = -1)
        : m_descriptor(descriptor)
    {}
    Descriptor(Descriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {}
    Descriptor &operator=(Descriptor &&) = delete;
    ~Descriptor();

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace Platform
