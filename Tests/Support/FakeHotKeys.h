#pragma once

#include "Platform/Keyboard/HotKeys.h"

#include <QStringList>

#include <map>

/// A system whose hot keys the test presses, and that can refuse.
class FakeHotKeys final : public Platform::HotKeys
{
public:
    struct Combination
    {
        std::uint32_t keyCode = 0;
        Platform::ModifierFlags modifiers = 0;
        friend bool operator==(const Combination &, const Combination &) = default;
    };

    bool isSupported() const override { return true; }
    Status registerHotKey(Platform::HotKeyId id, std::uint32_t keyCode,
                          Platform::ModifierFlags modifiers) override;
    void unregisterHotKey(Platform::HotKeyId id) override;

    // The inspection side.

    /// What every registration answers from now on.
    void answer(Status status) { m_answer = status; }
    /// Presses or releases the keys; nothing happens unless they are registered.
    void press(Combination keys) { send(keys, Platform::HotKeyEvent::Kind::Pressed); }
    void release(Combination keys) { send(keys, Platform::HotKeyEvent::Kind::Released); }
    /// Announces an event of any id, registered or not.
    void deliver(const Platform::HotKeyEvent &event) { announce(event); }
    [[nodiscard]] const std::map<Platform::HotKeyId, Combination> &registered() const
    {
        return m_registered;
    }
    /// The calls so far: "+id" for a registration that was granted, "!id" for one that was refused,
    /// "-id" for the end of one.
    [[nodiscard]] QStringList takeLog() { return std::exchange(m_log, {}); }

private:
    void send(Combination keys, Platform::HotKeyEvent::Kind kind);

    Status m_answer = success;
    std::map<Platform::HotKeyId, Combination> m_registered;
    QStringList m_log;
};
