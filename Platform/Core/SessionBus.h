#pragma once

namespace Platform {

/// Whether this session has a message bus, judged without reaching for it: asking for a bus that
/// is not there could start one, which takes its time. Any thread.
[[nodiscard]] bool hasSessionBus();

} // namespace Platform
