#pragma once

#include <chrono>

namespace Platform {

/// A moment in time, independent of time zone, to the microsecond.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// Tells the wall-clock time. Everything that stamps or expires asks a Clock it was given, so that
/// a test can set the date. The clock may jump in either direction; use MainQueue for delays.
class Clock
{
public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual Instant now() const = 0;

    /// The machine's clock. Lives as long as the process.
    static Clock &system();
};

} // namespace Platform
