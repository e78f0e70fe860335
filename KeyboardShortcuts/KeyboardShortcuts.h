#pragma once

#include "KeyboardShortcuts/Name.h"
#include "Platform/Core/Observable.h"

#include <functional>
#include <vector>

class QWidget;

namespace Platform {
class HotKeys;
struct KeyCombination;
class KeyboardLayout;
class MainQueue;
class NotificationCenter;
class UserDefaults;
} // namespace Platform

/// Named, user-changeable global shortcuts: which combination each name has, what runs when it is
/// pressed anywhere in the system. Process-wide; main thread only.
namespace KeyboardShortcuts {

using Action = std::function<void()>;

/// What the module works with. Everything must outlive the environment.
struct Environment
{
    Platform::UserDefaults &userDefaults;
    Platform::NotificationCenter &notificationCenter;
    Platform::MainQueue &mainQueue;
    Platform::HotKeys &hotKeys;
    Platform::KeyboardLayout &keyboardLayout;
    /// What the desktop keeps for itself; empty asks the running one.
    std::function<std::vector<Platform::KeyCombination>()> reservedShortcuts{};
    /// Refuses a key; empty is the application's own beep.
    std::function<void()> beep{};
};

/// Called once, before the first name is created. Calling it again starts the module afresh: every
/// action is forgotten and every hot key unregistered from the former environment.
void setEnvironment(const Environment &environment);
/// Ends the module's use of the environment; what owned it may go.
void dropEnvironment();
/// Asking before there is one is a programming error and stops the process.
[[nodiscard]] const Environment &environment();
/// False before the first environment and after the last: when the program ends, controls may
/// outlive it.
[[nodiscard]] bool hasEnvironment();

/// The menu (a QMenu or a QMenuBar) whose shortcuts a recorder refuses; it may go at any time.
/// Null, as in a new environment, for none.
void setMainMenu(QWidget *menu);
[[nodiscard]] QWidget *mainMenu();

/// Posted, with user info {"name": Name}, each time a name's shortcut was set or cleared.
inline const QString shortcutByNameDidChange =
    QStringLiteral("KeyboardShortcuts_shortcutByNameDidChange");

/// Adds an action that runs when the name's shortcut of that moment goes down, or up. Actions are
/// never removed, so they must hold their owner weakly.
void onKeyDown(const Name &name, Action action);
void onKeyUp(const Name &name, Action action);

/// The name's stored shortcut; none when it has none or what is stored is not one.
[[nodiscard]] std::optional<Shortcut> getShortcut(const Name &name);
/// None clears it, for good when the name has a default.
void setShortcut(const std::optional<Shortcut> &shortcut, const Name &name);

/// While paused, presses arrive and run nothing. A recorder pauses while it records.
[[nodiscard]] bool isPaused();
void setPaused(bool isPaused);
/// While disabled, nothing is registered with the system.
[[nodiscard]] bool isEnabled();
void setEnabled(bool isEnabled);
/// True while one of the program's own menus is open.
[[nodiscard]] bool isMenuOpen();

/// What the desktop says is bound for the name, where the desktop decides; empty for nothing.
[[nodiscard]] QString triggerDescription(const Name &name);

// For the module's own units.
void initialize();
[[nodiscard]] bool userDefaultsContains(const Name &name);
void userDefaultsSet(const Name &name, const Shortcut &shortcut);
/// Whether somebody else has the combination, so that the system would refuse it.
[[nodiscard]] bool isTaken(const Shortcut &shortcut);
[[nodiscard]] std::optional<Name> &summonOfEnvironment();

} // namespace KeyboardShortcuts
