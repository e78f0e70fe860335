#pragma once

#include <QString>

/// Where the desktop keeps a user's files. Absolute paths without a slash at the end; the folders
/// need not exist. Read from the environment at every call. Any thread.
namespace Platform::Folders {

/// $XDG_CONFIG_HOME, or ~/.config where that is unset, empty or relative.
[[nodiscard]] QString configHome();

/// $XDG_DATA_HOME, or ~/.local/share where that is unset, empty or relative.
[[nodiscard]] QString dataHome();

} // namespace Platform::Folders
