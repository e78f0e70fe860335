#pragma once

#include <QByteArray>

namespace Platform {

/// Tells the desktop that what the launcher gave this mark to has started, so that the busy pointer
/// goes. For a mark that another process was started with; Qt sees to our own. Does nothing for
/// an empty mark or without X. Main thread only.
void endStartupNotice(const QByteArray &startupId);

} // namespace Platform
