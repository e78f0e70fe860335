#include "KeyboardShortcuts/KeyboardShortcuts.h"

#include "KeyboardShortcuts/CarbonKeyboardShortcuts.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Platform/Storage/UserDefaults.h"

#include <QPointer>
#include <QSet>
#include <QWidget>

#include <algorithm>
#include <utility>
#include <vector>

namespace KeyboardShortcuts {

namespace {

struct Handlers
{
    Name name;
    std::vector<Action> actions;
};
using HandlerTable = std::vector<Handlers>;

struct State
{
    explicit State(const Environment &given)
        : environment(given)
        , carbon(given.hotKeys)
    {}

    Environment environment;
    CarbonKeyboardShortcuts carbon;
    std::optional<Name> summon;
    HandlerTable legacyKeyDownHandlers;
    HandlerTable legacyKeyUpHandlers;
    QSet<Shortcut> registeredShortcuts; ///< Handed to the system, whatever the system said.
    std::vector<Platform::Subscription> menuObservers;
    QPointer<QWidget> mainMenu;
    bool isPaused = false;
    bool isEnabled = true;
    bool isMenuOpen = false;
};

/// Not destroyed at exit, when what the environment names may be gone already.
std::unique_ptr<State> &sharedState()
{
    static auto &shared = *new std::unique_ptr<State>;
    return shared;
}

State &state()
{
    if (!sharedState())
        qFatal("KeyboardShortcuts is used before it was given its environment");
    return *sharedState();
}

QString defaultsKey(const Name &name)
{
    return QStringLiteral("KeyboardShortcuts_") + name.rawValue();
}

void updateEventHandler()
{
    using Mode = CarbonKeyboardShortcuts::Mode;
    const auto &s = state();
    state().carbon.updateEventHandler(!s.isEnabled   ? Mode::Disabled
                                      : s.isMenuOpen ? Mode::Menu
                                                     : Mode::HotKeys);
}

void setMenuOpen(bool isOpen)
{
    if (std::exchange(state().isMenuOpen, isOpen) != isOpen)
        updateEventHandler();
}

void dispatch(const HandlerTable State::*table, const Shortcut &pressed)
{
    // An action may add others, or change what a later name's shortcut is.
    const auto handlers = state().*table;
    for (const auto &each : handlers) {
        if (getShortcut(each.name) != pressed)
            continue;
        for (const auto &action : each.actions)
            action();
    }
}

void handleOnKeyDown(const Shortcut &shortcut)
{
    if (!state().isPaused)
        dispatch(&State::legacyKeyDownHandlers, shortcut);
}

void handleOnKeyUp(const Shortcut &shortcut)
{
    if (!state().isPaused)
        dispatch(&State::legacyKeyUpHandlers, shortcut);
}

void registerOnce(const Shortcut &shortcut)
{
    if (state().registeredShortcuts.contains(shortcut))
        return;
    state().carbon.registerShortcut(shortcut, handleOnKeyDown, handleOnKeyUp);
    state().registeredShortcuts.insert(shortcut);
}

void unregister(const Shortcut &shortcut)
{
    state().carbon.unregisterShortcut(shortcut);
    state().registeredShortcuts.remove(shortcut);
}

void postChange(const Name &name)
{
    state().environment.notificationCenter.post(
        shortcutByNameDidChange, {{QStringLiteral("name"), QVariant::fromValue(name)}});
}

void addHandler(HandlerTable &table, const Name &name, Action action)
{
    auto found = std::find_if(table.begin(), table.end(),
                              [&](const Handlers &each) { return each.name == name; });
    if (found == table.end())
        found = table.insert(table.end(), {name, {}});
    found->actions.push_back(std::move(action));
    if (const auto shortcut = getShortcut(name))
        registerOnce(*shortcut);
}

} // namespace

void setEnvironment(const Environment &environment)
{
    sharedState().reset(); // first, so that nothing of it is unregistered from the new one
    sharedState() = std::make_unique<State>(environment);
}

void dropEnvironment()
{
    sharedState().reset();
}

const Environment &environment()
{
    return state().environment;
}

bool hasEnvironment()
{
    return sharedState() != nullptr;
}

void setMainMenu(QWidget *menu)
{
    state().mainMenu = menu;
}

QWidget *mainMenu()
{
    return state().mainMenu;
}

std::optional<Name> &summonOfEnvironment()
{
    return state().summon;
}

void initialize()
{
    auto &observers = state().menuObservers;
    if (!observers.empty())
        return;
    auto &center = state().environment.notificationCenter;
    observers.push_back(center.addObserver(Platform::MenuTracking::didBeginTracking,
                                           [](const QVariantMap &) { setMenuOpen(true); }));
    observers.push_back(center.addObserver(Platform::MenuTracking::didEndTracking,
                                           [](const QVariantMap &) { setMenuOpen(false); }));
}

void onKeyDown(const Name &name, Action action)
{
    addHandler(state().legacyKeyDownHandlers, name, std::move(action));
}

void onKeyUp(const Name &name, Action action)
{
    addHandler(state().legacyKeyUpHandlers, name, std::move(action));
}

std::optional<Shortcut> getShortcut(const Name &name)
{
    const auto value = state().environment.userDefaults.object(defaultsKey(name));
    return value.isString() ? Shortcut::fromJson(value.toString()) : std::nullopt;
}

void setShortcut(const std::optional<Shortcut> &shortcut, const Name &name)
{
    if (shortcut) {
        userDefaultsSet(name, *shortcut);
        return;
    }
    const auto old = getShortcut(name);
    if (!old)
        return;
    // A stored false keeps the default from coming back at the next start.
    if (name.defaultShortcut())
        state().environment.userDefaults.set(defaultsKey(name), false);
    else
        state().environment.userDefaults.remove(defaultsKey(name));
    unregister(*old);
    postChange(name);
}

bool isPaused()
{
    return state().isPaused;
}

void setPaused(bool isPaused)
{
    state().isPaused = isPaused;
}

bool isEnabled()
{
    return state().isEnabled;
}

void setEnabled(bool isEnabled)
{
    if (std::exchange(state().isEnabled, isEnabled) != isEnabled)
        updateEventHandler();
}

bool isMenuOpen()
{
    return state().isMenuOpen;
}

bool isTaken(const Shortcut &shortcut)
{
    return state().carbon.isTaken(shortcut);
}

QString triggerDescription(const Name &name)
{
    const auto shortcut = getShortcut(name);
    const auto id = shortcut ? state().carbon.hotKeyId(*shortcut) : std::nullopt;
    return id ? state().environment.hotKeys.triggerDescription(*id) : QString();
}

bool userDefaultsContains(const Name &name)
{
    return state().environment.userDefaults.contains(defaultsKey(name));
}

void userDefaultsSet(const Name &name, const Shortcut &shortcut)
{
    const auto text = shortcut.toJson();
    if (!text)
        return;
    if (const auto old = getShortcut(name))
        unregister(*old);
    registerOnce(shortcut);
    state().environment.userDefaults.set(defaultsKey(name), *text);
    postChange(name);
}

} // namespace KeyboardShortcuts
