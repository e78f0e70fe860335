#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Core/Observable.h"

#include <QString>

namespace Platform {

/// What stands on the keys. Main thread only.
class KeyboardLayout
{
public:
    virtual ~KeyboardLayout() = default;

    /// The one character that the key gives alone, on the user's layout or, where that has no
    /// Latin letters, on the next one that has. Empty for a key that gives none or several.
    [[nodiscard]] virtual QString character(int keyCode) const = 0;

    /// Called once after each change of the layout or of what the modifier keys are, on the next
    /// turn of the event loop.
    [[nodiscard]] Subscription onChange(std::function<void()> callback)
    {
        return m_changed.subscribe(std::move(callback));
    }

    /// The layout of the X server that the application is connected to, a US one elsewhere. Needs
    /// the application; `queue` must outlive the object.
    [[nodiscard]] static std::unique_ptr<KeyboardLayout> create(MainQueue &queue);

protected:
    void announceChange() { m_changed.announce(); }

private:
    Announcer<> m_changed;
};

} // namespace Platform
