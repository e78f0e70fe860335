#include "Platform/Core/UserTime.h"

namespace Platform::UserTime {

namespace {
std::uint32_t latestTime = 0;
}

std::uint32_t latest()
{
    return latestTime;
}

void note(std::uint32_t serverTime)
{
    // Zero means "now" to the server and says nothing about when. The counter wraps after 49 days.
    if (serverTime != 0)
        latestTime = serverTime;
}

} // namespace Platform::UserTime
