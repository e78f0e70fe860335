#pragma once

#include "Platform/Keyboard/HotKeys.h"

namespace Platform {

/// The candidates that HotKeys::create() chooses from. Each is empty when it cannot work here.
[[nodiscard]] std::unique_ptr<HotKeys> createX11HotKeys(KeyboardLayout &layout);
/// Empty without a session bus; whether there is a portal on it is found out later.
[[nodiscard]] std::unique_ptr<HotKeys> createPortalHotKeys(KeyboardLayout &layout,
                                                           const HotKeyLabel &label);

} // namespace Platform
