#pragma once

#include "Platform/Core/MainQueue.h"

namespace Platform {

/// Runs the job once the first of the program's windows has been painted, or after a second, should
/// nobody let one be seen. Not at all when the program ends before that. Main thread only.
void afterFirstPaint(MainQueue &queue, MainQueue::Job job);

} // namespace Platform
