#pragma once

#include "Platform/Keyboard/HotKeys.h"

#include <QStringList>

#include <map>

/// A system whose hot keys the test presses, and that can refuse.
class FakeHotKeys final : public Platform::HotKeys
{
public:
    using Combination = std::pair<std::uint32_t, Platform::ModifierFlags>;

    bool isSupported() const override { return supported; }
    bool isDecidedByDesktop() const override { return decided; }
    QString triggerDescription(Platform::HotKeyId) const override { return trigger; }
    bool canConfigure() const override { return configurable; }
    void configure() override { m_log << QStringLiteral("configure"); }
    Status registerHotKey(Platform::HotKeyId id, std::uint32_t keyCode,
                          Platform::ModifierFlags modifiers) override
    {
        m_log << (m_answer == success ? u'+' : u'!') + QString::number(id.id);
        if (m_answer == success)
            m_registered.insert_or_assign(id, Combination{keyCode, modifiers});
        return m_answer;
    }
    void unregisterHotKey(Platform::HotKeyId id) override
    {
        m_log << u'-' + QString::number(id.id);
        m_registered.erase(id);
    }

    // The inspection side.

    bool supported = true;
    bool decided = false; ///< By the desktop.
    bool configurable = false;
    QString trigger;
    using HotKeys::announceTriggerChange;

    /// What every registration answers from now on.
    void answer(Status status) { m_answer = status; }
    /// Presses or releases the keys; nothing happens unless they are registered.
    void press(Combination keys) { send(keys, Platform::HotKeyEvent::Kind::Pressed); }
    void release(Combination keys) { send(keys, Platform::HotKeyEvent::Kind::Released); }
    /// The calls since the last question, "+1 -1" for example: "+id" for a registration that was
    /// granted, "!id" for one that was refused, "-id" for the end of one.
    [[nodiscard]] QString takeLog() { return std::exchange(m_log, {}).join(u' '); }

private:
    void send(Combination keys, Platform::HotKeyEvent::Kind kind)
    {
        const auto registered = m_registered;
        for (const auto &[id, combination] : registered) {
            if (combination == keys)
                announce({id, kind});
        }
    }

    Status m_answer = success;
    std::map<Platform::HotKeyId, Combination> m_registered;
    QStringList m_log;
};
