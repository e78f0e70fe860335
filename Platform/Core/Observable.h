#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Platform {

/// Keeps one subscription alive: dropping it ends the subscription, also from inside a callback.
/// Outliving the thing subscribed to is harmless. An empty one subscribes to nothing.
using Subscription = std::shared_ptr<void>;

/// A list of callbacks that are called in the order of subscription, on the announcing thread.
template <class... Arguments>
class Announcer
{
public:
    using Callback = std::function<void(Arguments...)>;

    [[nodiscard]] Subscription subscribe(Callback callback)
    {
        auto entry = std::make_shared<Callback>(std::move(callback));
        m_entries.push_back(entry);
        return entry;
    }

    void announce(Arguments... arguments)
    {
        std::erase_if(m_entries, [](const auto &entry) { return entry.expired(); });
        // A callback may subscribe, or drop the subscription of a later one, or both.
        const auto entries = m_entries;
        for (const auto &entry : entries) {
            if (const auto callback = entry.lock())
                (*callback)(arguments...);
        }
    }

private:
    std::vector<std::weak_ptr<Callback>> m_entries;
};

/// A value whose every assignment is announced twice: before it takes effect, without the value,
/// and after it, with the new value. An assignment that leaves the value as it was counts too.
/// Subscribers are not told the value current at the time of subscribing. Owns its value.
template <class Value>
class Observable
{
public:
    Observable() = default;
    explicit Observable(Value value)
        : m_value(std::move(value))
    {}
    Observable(const Observable &) = delete;
    Observable &operator=(const Observable &) = delete;

    [[nodiscard]] const Value &get() const { return m_value; }

    void set(Value value)
    {
        modify([&](Value &current) { current = std::move(value); });
    }

    /// Changes the value in place, without a copy; one announced change.
    template <class Change>
    void modify(Change &&change)
    {
        m_willChange.announce();
        std::forward<Change>(change)(m_value);
        m_changed.announce(m_value);
    }

    [[nodiscard]] Subscription onWillChange(std::function<void()> callback)
    {
        return m_willChange.subscribe(std::move(callback));
    }

    [[nodiscard]] Subscription onChange(std::function<void(const Value &)> callback)
    {
        return m_changed.subscribe(std::move(callback));
    }

private:
    Value m_value{};
    Announcer<> m_willChange;
    Announcer<const Value &> m_changed;
};

} // namespace Platform
