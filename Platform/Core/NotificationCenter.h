#pragma once

#include "Platform/Core/Observable.h"

#include <QHash>
#include <QString>
#include <QVariantMap>

namespace Platform {

/// Carries named messages between parts of the program that do not know each other. Delivery is
/// synchronous, in the order of subscription, on the posting thread. Main thread only.
class NotificationCenter
{
public:
    using Callback = std::function<void(const QVariantMap &userInfo)>;

    /// The observation lasts as long as the returned subscription.
    [[nodiscard]] Subscription addObserver(const QString &name, Callback callback)
    {
        return m_observers[name].subscribe(std::move(callback));
    }

    void post(const QString &name, const QVariantMap &userInfo = {})
    {
        if (const auto found = m_observers.find(name); found != m_observers.end())
            found->announce(userInfo);
    }

    /// The one that the whole program shares. Lives as long as the process.
    static NotificationCenter &defaultCenter()
    {
        static NotificationCenter center;
        return center;
    }

private:
    QHash<QString, Announcer<const QVariantMap &>> m_observers;
};

} // namespace Platform
