#include "KeyboardShortcuts/CarbonKeyboardShortcuts.h"

#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Keyboard/EventMonitor.h"
#include "Platform/Keyboard/ReservedShortcuts.h"

#include <algorithm>
#include <cstdio>

namespace KeyboardShortcuts {

namespace {

constexpr std::uint32_t signature = 0x48544B59;   // 'HTKY'
constexpr Platform::HotKeyId trial{signature, 0}; // ids that are handed out begin at 1

} // namespace

CarbonKeyboardShortcuts::~CarbonKeyboardShortcuts()
{
    withdrawAll();
}

std::vector<Shortcut> CarbonKeyboardShortcuts::system()
{
    const auto &used = environment();
    const auto reserved = used.reservedShortcuts ? used.reservedShortcuts()
                                                 : Platform::reservedShortcuts(used.keyboardLayout);
    std::vector<Shortcut> shortcuts;
    for (const auto &[keyCode, modifiers] : reserved)
        shortcuts.emplace_back(Key{keyCode}, modifiers);
    return shortcuts;
}

std::optional<Platform::HotKeyId> CarbonKeyboardShortcuts::hotKeyId(const Shortcut &shortcut) const
{
    const auto found = std::find_if(m_hotKeys.begin(), m_hotKeys.end(), [&](const auto &entry) {
        return entry.second.shortcut == shortcut;
    });
    return found == m_hotKeys.end() ? std::nullopt
                                    : std::optional(Platform::HotKeyId{signature, found->first});
}

bool CarbonKeyboardShortcuts::isTaken(const Shortcut &shortcut) const
{
    if (!m_hotKeyService.isSupported() || hotKeyId(shortcut))
        return false;
    // Nobody can be asked who has a combination; trying tells.
    const auto status = m_hotKeyService.registerHotKey(
        trial, static_cast<std::uint32_t>(shortcut.carbonKeyCode()), shortcut.modifiers());
    m_hotKeyService.unregisterHotKey(trial);
    return status != Platform::HotKeys::success;
}

void CarbonKeyboardShortcuts::registerShortcut(const Shortcut &shortcut, Callback onKeyDown,
                                               Callback onKeyUp)
{
    const auto id = ++m_hotKeyId;
    if (!registerWithSystem(shortcut, id))
        return;
    m_hotKeys.emplace(id, HotKey{shortcut, true, std::move(onKeyDown), std::move(onKeyUp)});
    if (!std::exchange(m_hasEventHandler, true))
        updateEventHandler(m_mode);
}

void CarbonKeyboardShortcuts::unregisterShortcut(const Shortcut &shortcut)
{
    std::erase_if(m_hotKeys, [&](const auto &entry) {
        if (entry.second.shortcut != shortcut)
            return false;
        if (entry.second.isRegistered)
            m_hotKeyService.unregisterHotKey({signature, entry.first});
        return true;
    });
}

void CarbonKeyboardShortcuts::updateEventHandler(Mode mode)
{
    m_mode = mode;
    if (!m_hasEventHandler)
        return;
    m_hotKeyEvents.reset();
    m_keyEventMonitor.reset();
    if (mode != Mode::HotKeys)
        withdrawAll();

    if (mode == Mode::HotKeys) {
        softRegisterAll();
        m_hotKeyEvents = m_hotKeyService.onEvent(
            [this](const Platform::HotKeyEvent &event) { handleHotKeyEvent(event); });
    } else if (mode == Mode::Menu) {
        m_keyEventMonitor = Platform::addLocalMonitor(
            Platform::EventKind::KeyDown | Platform::EventKind::KeyUp,
            [this](const Platform::MonitoredEvent &event) {
                return handleRawKeyEvent(event.key) ? Platform::EventVerdict::Swallow
                                                    : Platform::EventVerdict::Pass;
            },
            Platform::MonitorScope::Menus);
    }
}

bool CarbonKeyboardShortcuts::registerWithSystem(const Shortcut &shortcut, std::uint32_t id)
{
    const auto status = m_hotKeyService.registerHotKey(
        {signature, id}, static_cast<std::uint32_t>(shortcut.carbonKeyCode()),
        shortcut.modifiers());
    if (status == Platform::HotKeys::success)
        return true;
    // Flushed, so that the line is there at once when the output is a file.
    std::printf("Error registering hotkey %s: %d\n",
                qUtf8Printable(shortcut.presentableDescription()), status);
    std::fflush(stdout);
    return false;
}

void CarbonKeyboardShortcuts::softRegisterAll()
{
    for (auto &[id, hotKey] : m_hotKeys) {
        if (!hotKey.isRegistered)
            hotKey.isRegistered = registerWithSystem(hotKey.shortcut, id);
    }
}

void CarbonKeyboardShortcuts::withdrawAll()
{
    for (auto &[id, hotKey] : m_hotKeys) {
        if (std::exchange(hotKey.isRegistered, false))
            m_hotKeyService.unregisterHotKey({signature, id});
    }
}

void CarbonKeyboardShortcuts::handleHotKeyEvent(const Platform::HotKeyEvent &event)
{
    const auto found = m_hotKeys.find(event.id.id);
    if (event.id.signature != signature || found == m_hotKeys.end())
        return;
    // What runs may unregister the very key.
    const auto hotKey = found->second;
    if (event.kind == Platform::HotKeyEvent::Kind::Pressed)
        hotKey.onKeyDown(hotKey.shortcut);
    else
        hotKey.onKeyUp(hotKey.shortcut);
}

bool CarbonKeyboardShortcuts::handleRawKeyEvent(const Platform::KeyEvent &event)
{
    const auto pressed = Shortcut::fromEvent(event);
    const auto found = std::find_if(m_hotKeys.begin(), m_hotKeys.end(), [&](const auto &entry) {
        return entry.second.shortcut == pressed;
    });
    if (found == m_hotKeys.end())
        return false;
    const auto hotKey = found->second;
    if (event.type == Platform::KeyEvent::Type::KeyUp)
        hotKey.onKeyUp(hotKey.shortcut);
    else if (!event.isRepeat) // a held shortcut runs once, and its repetitions are no menu's either
        hotKey.onKeyDown(hotKey.shortcut);
    return true;
}

} // namespace KeyboardShortcuts
