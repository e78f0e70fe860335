#pragma once

#include <cstdint>

namespace Platform::UserTime {

/// The display server's time stamp, in milliseconds, of the latest thing the user did to us, the
/// global shortcut included. Window managers give the keyboard only to who can show a recent one.
/// Zero while nothing happened yet. Main thread only.
[[nodiscard]] std::uint32_t latest();
void note(std::uint32_t serverTime);

} // namespace Platform::UserTime
