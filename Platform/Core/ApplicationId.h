#pragma once

#include <QString>

namespace Platform {

/// The name by which the desktop knows the program, in the form of a reversed domain: that of its
/// desktop file, its icon and its service on the session bus. Any thread.
[[nodiscard]] QString applicationId();

} // namespace Platform
