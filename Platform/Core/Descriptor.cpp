#include "Platform/Core/Descriptor.h"

#include <unistd.h>

namespace Platform {

Descriptor::~Descriptor()
{
    if (isOpen())
        ::close(m_descriptor);
}

} // namespace Platform
