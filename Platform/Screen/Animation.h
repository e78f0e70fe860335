#pragma once

#include "Platform/Core/MainQueue.h"

#include <functional>

namespace Platform {

/// The cubic timing curves that animations run on.
enum class TimingCurve {
    Linear,
    EaseIn,        ///< (0.42, 0, 1, 1)
    EaseOut,       ///< (0, 0, 0.58, 1)
    EaseInEaseOut, ///< (0.42, 0, 0.58, 1)
    Default,       ///< (0.25, 0.1, 0.25, 1)
};

/// Where the curve stands at a fraction of the time. Both run from 0 to 1, ends exact.
[[nodiscard]] double easedProgress(TimingCurve curve, double timeFraction);

/// One running animation. Dropping the handle stops it where it is, without a completion; after
/// the completion the handle means nothing.
using Animation = std::shared_ptr<void>;

/// Calls `step` with the eased progress, about once a display frame, from the first frame after
/// now until exactly 1.0, then `completion` once (either may be empty, and either may drop the
/// handle or start another animation). Nothing runs and no timer ticks after that. The queue
/// paces the frames and must outlive the animation. Main thread only.
[[nodiscard]] Animation animate(MainQueue &queue, MainQueue::Duration duration, TimingCurve curve,
                                std::function<void(double progress)> step,
                                std::function<void()> completion = {});

} // namespace Platform
