#pragma once

#include "Platform/Core/Observable.h"
#include "Platform/Desktop/LoginItem.h"

#include <functional>

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

    /// Told before any of the properties changes.
    [[nodiscard]] Platform::Subscription onWillChange(const std::function<void()> &callback);

    /// Writes both values as they stand.
    void save();

    /// Brings the login item in line with the setting; a failure is dropped. A launch leaves an
    /// item alone that the user switched off in the session's settings, flipping our own switch
    /// does not.
    static void applyStartAtLogin(bool enabled, Platform::LoginItem &item,
                                  Platform::LoginItem::Origin origin);

private:
    Platform::UserDefaults &m_defaults;
};

} // namespace Brevio
