#pragma once

#include "Platform/Core/Observable.h"

namespace Platform {
class UserDefaults;
}

namespace Brevio {

/// The two settings of the application. Read from the user defaults at construction, where anything
/// but a boolean counts as absent; written back only by save(). One per process, owned by the
/// application delegate. Main thread only.
class Settings final
{
public:
    explicit Settings(Platform::UserDefaults &defaults);

    Platform::Observable<bool> showInMenuBar{true};
    Platform::Observable<bool> startAtLogin{false};

    /// Writes both values as they stand.
    void save();

private:
    Platform::UserDefaults &m_defaults;
};

} // namespace Brevio
