#pragma once

#include "Platform/Screen/Appearance.h"

class QCursor;

namespace Brevio {

/// The pointer that says that the card listens: a microphone, dark on a light card and light on a
/// dark one, that points with its middle. Made once and kept. Main thread only.
[[nodiscard]] const QCursor &microphoneCursor(Platform::ColorScheme scheme);

} // namespace Brevio
