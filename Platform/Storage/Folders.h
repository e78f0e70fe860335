#pragma once

#include <QString>

/// Where the desktop keeps a user's files. Absolute paths without a slash at the end; the folders
/// need not exist. Read from the environment at every call. Any thread.
namespace Platform::Folders {

/// $HOME, or what the system knows as the user's home where that is unset, empty or relative.
[[nodiscard]] QString home();

/// $XDG_CONFIG_HOME, or ~/.config where that is unset, empty or relative.
[[nodiscard]] QString configHome();

/// $XDG_DATA_HOME, or ~/.local/share where that is unset, empty or relative.
[[nodiscard]] QString dataHome();

/// $XDG_STATE_HOME, or ~/.local/state where that is unset, empty or relative.
[[nodiscard]] QString stateHome();

} // namespace Platform::Folders
