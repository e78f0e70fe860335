#pragma once

#include "Platform/Keyboard/HotKeys.h"

namespace Platform {

/// The candidates that HotKeys::create() chooses from. Each is empty when it cannot work here.
[[nodiscard]] std::unique_ptr<HotKeys> createX11HotKeys(KeyboardLayout &layout);

} // namespace Platform
