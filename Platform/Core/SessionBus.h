#pragma once

namespace Platform {

/// To be called once, before the application object is made. A session without a message bus, and
/// one whose bus does not answer, is told to this process as one without: whoever asked for the bus
/// would otherwise start one, or wait for 25 seconds, Qt included. Waits for 2 seconds at most.
void settleSessionBus();

/// Whether this session has a message bus, judged without reaching for it: asking for a bus that
/// is not there could start one, which takes its time. Any thread.
[[nodiscard]] bool hasSessionBus();

} // namespace Platform
