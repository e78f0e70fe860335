#include "Brevio/App.h"

#include "Brevio/CardController.h"
#include "Brevio/NoteStore.h"
#include "Brevio/Settings.h"
#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Core/Termination.h"
#include "Platform/Keyboard/HotKeys.h"
#include "Platform/Keyboard/KeyboardLayout.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Platform/Screen/Appearance.h"
#include "Platform/Screen/Screens.h"
#include "Platform/Storage/UserDefaults.h"

#include <QApplication>

namespace Brevio {

using Platform::MainQueue;
using Platform::NotificationCenter;
using Platform::UserDefaults;

AppDelegate::AppDelegate()
    : m_store(std::make_unique<NoteStore>())
    , m_settings(std::make_unique<Settings>(UserDefaults::standard()))
{}

AppDelegate::~AppDelegate()
{
    KeyboardShortcuts::dropEnvironment();
}

void AppDelegate::applicationDidFinishLaunching()
{
    auto &queue = MainQueue::main();
    auto &notifications = NotificationCenter::defaultCenter();
    m_appearance = Platform::Appearance::createForDesktop();
    m_screens = Platform::Screens::createForDesktop();
    m_keyboardLayout = Platform::KeyboardLayout::create(queue);
    m_hotKeys = Platform::HotKeys::create(
        *m_keyboardLayout, {QGuiApplication::desktopFileName(), QStringLiteral("summon"),
                            QCoreApplication::translate("GlobalShortcut", "Summon a card")});
    m_menuTracking = std::make_unique<Platform::MenuTracking>(notifications);
    KeyboardShortcuts::setEnvironment(
        {UserDefaults::standard(), notifications, queue, *m_hotKeys, *m_keyboardLayout});

    m_controller = std::make_unique<CardController>(
        *m_store, *m_settings,
        CardController::Services{*m_appearance, queue, *m_screens, UserDefaults::standard()});
    if (m_store->pendingWelcomeID())
        m_controller->showFreshCard();
}

CardController &AppDelegate::controller() const
{
    if (!m_controller)
        qFatal("The card controller is used before the launch has finished");
    return *m_controller;
}

namespace {

/// Not destroyed when the process ends from within the event loop, as when the display goes away.
std::unique_ptr<AppDelegate> &theDelegate()
{
    static auto &shared = *new std::unique_ptr<AppDelegate>;
    return shared;
}

/// A Wayland compositor lets no client place or raise its own window or stay above others, which
/// is what the card does, so there the windows run through XWayland where it exists.
void preferXWayland()
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") &&
        qEnvironmentVariableIsSet("WAYLAND_DISPLAY") && !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

} // namespace

AppDelegate &BrevioMain::delegate()
{
    if (!theDelegate())
        theDelegate() = std::make_unique<AppDelegate>();
    return *theDelegate();
}

int BrevioMain::run(int argc, char *argv[])
{
    preferXWayland();
    QApplication::setApplicationName(QStringLiteral("Brevio"));
    QApplication::setDesktopFileName(QStringLiteral("org.brevio.Brevio"));
    QApplication application(argc, argv);
    // Its windows come and go; the program lives in the background.
    QApplication::setQuitOnLastWindowClosed(false);

    Platform::quitOnTerminationSignals();

    auto &app = delegate();
    MainQueue::main().post([&app] { app.applicationDidFinishLaunching(); });
    const int status = QApplication::exec();
    // What was typed or moved a moment ago is still waiting to be written.
    app.store().flush();
    UserDefaults::standard().flush();
    theDelegate().reset(); // its windows must go before the application object
    return status;
}

} // namespace Brevio
