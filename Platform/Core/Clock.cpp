#include "Platform/Core/Clock.h"

namespace Platform {

namespace {

class SystemClock final : public Clock
{
public:
    Instant now() const override
    {
        return std::chrono::floor<Instant::duration>(std::chrono::system_clock::now());
    }
};

} // namespace

Clock &Clock::system()
{
    static SystemClock clock;
    return clock;
}

} // namespace Platform
