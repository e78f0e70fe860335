#include "Tests/Support/FakeHotKeys.h"

Platform::HotKeys::Status FakeHotKeys::registerHotKey(Platform::HotKeyId id, std::uint32_t keyCode,
                                                      Platform::ModifierFlags modifiers)
{
    m_log << (m_answer == success ? u'+' : u'!') + QString::number(id.id);
    if (m_answer == success)
        m_registered.insert_or_assign(id, Combination{keyCode, modifiers});
    return m_answer;
}

void FakeHotKeys::unregisterHotKey(Platform::HotKeyId id)
{
    m_log << u'-' + QString::number(id.id);
    m_registered.erase(id);
}

void FakeHotKeys::send(Combination keys, Platform::HotKeyEvent::Kind kind)
{
    const auto registered = m_registered;
    for (const auto &[id, combination] : registered) {
        if (combination == keys)
            announce({id, kind});
    }
}
