#pragma once

#include <memory>

namespace Platform {
class Appearance;
class HotKeys;
class KeyboardLayout;
class MenuTracking;
class Screens;
} // namespace Platform

namespace Brevio {

class CardController;
class NoteStore;
class Settings;

/// The application: owns the store, the settings and, once launched, the card controller, for the
/// life of the process. Construction loads the store; nothing is shown before
/// applicationDidFinishLaunching(). Main thread only.
class AppDelegate final
{
public:
    AppDelegate();
    ~AppDelegate();

    /// Called once, from inside the running event loop. Shows the welcome card on a first run;
    /// later launches wait for the shortcut.
    void applicationDidFinishLaunching();

    [[nodiscard]] NoteStore &store() const { return *m_store; }
    [[nodiscard]] CardController &controller() const;

private:
    // What the desktop provides; outlives everything below it.
    std::unique_ptr<Platform::Appearance> m_appearance;
    std::unique_ptr<Platform::Screens> m_screens;
    std::unique_ptr<Platform::KeyboardLayout> m_keyboardLayout;
    std::unique_ptr<Platform::HotKeys> m_hotKeys;
    std::unique_ptr<Platform::MenuTracking> m_menuTracking;

    std::unique_ptr<NoteStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<CardController> m_controller; ///< empty until launched
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
