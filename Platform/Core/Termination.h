#pragma once

namespace Platform {

/// Lets SIGTERM, SIGINT and SIGHUP leave the event loop with status 0, from nested loops too; a
/// second one ends the process at once, and one that was ignored before stays ignored. Writing
/// beyond a size limit or to output that nobody reads fails from now on instead of killing the
/// process. Call once, on the main thread, after the application was made.
void quitOnTerminationSignals();

} // namespace Platform
