#pragma once

#include "Platform/Core/Observable.h"

#include <memory>
#include <vector>

class QMenu;
class QWidget;

namespace Platform {
class Appearance;
class AudioEngine;
class HotKeys;
class Instance;
class KeyboardLayout;
class LoginItem;
class MenuTracking;
class Permissions;
class Screens;
class SpeechRecognizers;
class SpellChecker;
class StatusItem;
struct InstanceRequest;
} // namespace Platform

namespace Brevio {

class CardController;
class NoteStore;
class PreferencesWindow;
class Settings;

/// The application: owns the store, the settings and, once launched, the card controller, the menus
/// and the preferences window, for the life of the process. Construction loads the store; nothing
/// is shown before applicationDidFinishLaunching(). Main thread only.
class AppDelegate final
{
public:
    AppDelegate();
    ~AppDelegate();

    /// Called once, from inside the running event loop. Shows the welcome card on a first run, the
    /// preferences on later ones; a start for one command does that instead. `instance` must
    /// outlive the delegate.
    void applicationDidFinishLaunching(Platform::Instance &instance);
    /// The user has opened the running program again.
    void applicationShouldHandleReopen() { showPreferences(); }

    [[nodiscard]] NoteStore &store() const { return *m_store; }
    /// Asking before the launch has finished is a programming error and stops the process.
    [[nodiscard]] CardController &controller() const;

    // What the menus do.
    void menuSummon();
    /// Ends with the panel open in grid mode.
    void menuGrid();
    void menuPin();
    void menuCheckForUpdates();
    void menuQuit();
    /// One window, made when it is first asked for.
    void showPreferences();
    /// Takes the program's windows away; the card's text stays in the store.
    void hide();
    void hideOthers();

private:
    void observeSettings();
    void decideWhatToShow(Platform::Instance &instance);
    /// Another start, or the desktop, wants something of the running program.
    void handleRequest(const Platform::InstanceRequest &request);
    void restoreWelcomeNote();

    void buildMainMenu();
    /// Makes the main menu's keys work in the window.
    void lendMenuKeys(QWidget &window) const;
    /// The same on keyboards without Latin letters, where Qt finds no shortcut.
    void matchMenuKeysByPosition();
    void installStatusItem();
    void rebuildStatusMenu(QMenu &menu);

    // What the desktop provides; outlives everything below it.
    std::unique_ptr<Platform::Appearance> m_appearance;
    std::unique_ptr<Platform::SpellChecker> m_spelling;
    std::unique_ptr<Platform::Screens> m_screens;
    std::unique_ptr<Platform::KeyboardLayout> m_keyboardLayout;
    std::unique_ptr<Platform::HotKeys> m_hotKeys;
    std::unique_ptr<Platform::MenuTracking> m_menuTracking;
    std::unique_ptr<Platform::LoginItem> m_loginItem;
    std::unique_ptr<Platform::AudioEngine> m_audioEngine;
    std::unique_ptr<Platform::SpeechRecognizers> m_recognizers;
    std::unique_ptr<Platform::Permissions> m_permissions;

    std::unique_ptr<NoteStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<CardController> m_controller; ///< empty until launched
    std::unique_ptr<QMenu> m_mainMenu;            ///< never shown; empty until launched
    Platform::Subscription m_keysByPosition;
    std::unique_ptr<QMenu> m_statusMenu;                    ///< filled anew at each opening
    std::unique_ptr<Platform::StatusItem> m_statusItem;     ///< empty while the icon is not shown
    std::unique_ptr<PreferencesWindow> m_preferencesWindow; ///< empty until first shown
    std::vector<Platform::Subscription> m_subscriptions;
};

/// Where the process enters.
class BrevioMain final
{
public:
    /// The one delegate, made on first access.
    static AppDelegate &delegate();
    /// Runs the program to its end; the exit status.
    static int run(int argc, char *argv[]);
};

} // namespace Brevio
