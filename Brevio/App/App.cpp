#include "Brevio/App/App.h"

#include "Brevio/App/Updater.h"
#include "Brevio/Card/CardController.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Grid/GridContentView.h"
#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Preferences/PreferencesView.h"
#include "Brevio/Preferences/PreferencesWindow.h"
#include "Brevio/Preferences/Settings.h"
#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Core/ApplicationId.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Core/SessionBus.h"
#include "Platform/Core/Termination.h"
#include "Platform/Desktop/Instance.h"
#include "Platform/Desktop/LoginItem.h"
#include "Platform/Desktop/SpellChecker.h"
#include "Platform/Desktop/StatusItem.h"
#include "Platform/Keyboard/HotKeys.h"
#include "Platform/Keyboard/KeyboardLayout.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Platform/Screen/Appearance.h"
#include "Platform/Screen/FirstPaint.h"
#include "Platform/Screen/Fonts.h"
#include "Platform/Screen/OrdinaryWindow.h"
#include "Platform/Screen/Screens.h"
#include "Platform/Speech/AudioEngine.h"
#include "Platform/Speech/Permissions.h"
#include "Platform/Speech/SpeechRecognizer.h"
#include "Platform/Storage/Folders.h"
#include "Platform/Storage/UserDefaults.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>

#include <future>

namespace Brevio {

using Platform::applicationId;
using Platform::LoginItem;
using Platform::MainQueue;
using Platform::NotificationCenter;
using Platform::UserDefaults;

namespace {

const auto applicationName = QStringLiteral("Brevio");

/// The actions of the desktop entry.
const auto newCardAction = QStringLiteral("new-card");
const auto showAllCardsAction = QStringLiteral("show-all-cards");

} // namespace

AppDelegate::AppDelegate()
    : m_store(std::make_unique<NoteStore>())
    , m_settings(std::make_unique<Settings>(UserDefaults::standard()))
{}

AppDelegate::~AppDelegate()
{
    KeyboardShortcuts::dropEnvironment();
}

namespace {

void adoptIcon()
{
    QIcon icon;
    for (const char *size : {"48", "128"})
        icon.addFile(QStringLiteral(":/%1-%2.png").arg(applicationId(), QLatin1String(size)));
    QApplication::setWindowIcon(icon);
}

} // namespace

void AppDelegate::applicationDidFinishLaunching(Platform::Instance &instance)
{
    auto &queue = MainQueue::main();
    auto &notifications = NotificationCenter::defaultCenter();
    m_appearance = Platform::Appearance::createForDesktop();
    m_spelling = Platform::SpellChecker::createForDesktop(queue);
    m_screens = Platform::Screens::createForDesktop();
    m_keyboardLayout = Platform::KeyboardLayout::create(queue);
    m_hotKeys = Platform::HotKeys::create(
        *m_keyboardLayout, {applicationId(), QStringLiteral("summon"),
                            QCoreApplication::translate("GlobalShortcut", "Summon a card")});
    m_menuTracking = std::make_unique<Platform::MenuTracking>(notifications);
    KeyboardShortcuts::setEnvironment(
        {UserDefaults::standard(), notifications, queue, *m_hotKeys, *m_keyboardLayout});

    m_audioEngine = Platform::AudioEngine::createForDesktop();
    m_recognizers = Platform::SpeechRecognizers::createForDesktop(UserDefaults::standard(), queue);
    m_permissions = Platform::Permissions::createForDesktop(
        UserDefaults::standard(), [this] { return &controller().panel(); });

    m_controller = std::make_unique<CardController>(
        *m_store, *m_settings,
        CardController::Services{*m_appearance, queue, *m_screens, UserDefaults::standard(),
                                 *m_audioEngine, *m_recognizers, *m_permissions, m_spelling.get()});
    buildMainMenu();
    matchMenuKeysByPosition();
    KeyboardShortcuts::setMainMenu(m_mainMenu.get());
    lendMenuKeys(m_controller->panel());
    m_loginItem = LoginItem::create(
        {applicationId(), applicationName, QCoreApplication::applicationFilePath()});
    Settings::applyStartAtLogin(m_settings->startAtLogin.get(), *m_loginItem,
                                LoginItem::Origin::Launch);
    observeSettings();
    decideWhatToShow(instance);
    // Nobody waits for the icons, nor for the window of a card that is not shown yet.
    Platform::afterFirstPaint(queue, [this] {
        (void)m_controller->panel().winId();
        adoptIcon();
        if (m_settings->showInMenuBar.get())
            installStatusItem();
    });
}

void AppDelegate::decideWhatToShow(Platform::Instance &instance)
{
    // The desktop may have started the program for one command, or by asking it to show itself,
    // which is what a launch does anyway.
    bool isForCommand = false;
    for (const auto &request : instance.takePending()) {
        if (request.action.isEmpty())
            continue;
        isForCommand = true;
        handleRequest(request);
    }
    if (!isForCommand) {
        if (m_store->pendingWelcomeID())
            m_controller->showFreshCard();
        else
            showPreferences();
    }
    instance.onRequest([this](const auto &request) { handleRequest(request); });
}

void AppDelegate::handleRequest(const Platform::InstanceRequest &request)
{
    if (request.action == newCardAction)
        menuSummon();
    else if (request.action == showAllCardsAction)
        menuGrid();
    else
        applicationShouldHandleReopen();
}

void AppDelegate::observeSettings()
{
    m_subscriptions.push_back(m_settings->showInMenuBar.onChange([this](bool isShown) {
        isShown ? installStatusItem() : m_statusItem.reset();
        m_settings->save();
    }));
    m_subscriptions.push_back(m_settings->startAtLogin.onChange([this](bool isOn) {
        Settings::applyStartAtLogin(isOn, *m_loginItem, LoginItem::Origin::User);
        m_settings->save();
    }));
}

void AppDelegate::showPreferences()
{
    if (!m_preferencesWindow) {
        auto *form = new PreferencesView(
            *m_settings, MainQueue::main(), [this] { restoreWelcomeNote(); },
            [this] { menuCheckForUpdates(); });
        m_preferencesWindow = std::make_unique<PreferencesWindow>(form);
        lendMenuKeys(*m_preferencesWindow);
    }
    m_preferencesWindow->present();
}

void AppDelegate::restoreWelcomeNote()
{
    m_store->restoreWelcomeNote();
    if (controller().mode() == CardMode::Grid)
        controller().grid().reload(m_store->notes(), controller().activeNoteID());
}

void AppDelegate::menuCheckForUpdates()
{
    // A sheet on the preferences while they are there to carry it.
    const bool hasWindow = m_preferencesWindow && m_preferencesWindow->isVisible();
    Updater::shared().checkForUpdates(hasWindow ? m_preferencesWindow.get() : nullptr);
}

void AppDelegate::hide()
{
    controller().hide();
    if (m_preferencesWindow)
        m_preferencesWindow->hide();
}

void AppDelegate::hideOthers()
{
    Platform::OrdinaryWindow::hideOthers();
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
    Platform::settleSessionBus();
    // Beside the connection to the display, which takes as long; without a thread, when waited for.
    const auto fonts = std::async(Platform::Fonts::readInstalled);
    QApplication::setApplicationName(applicationName);
    QApplication::setDesktopFileName(applicationId());
    QApplication application(argc, argv);
    // Its windows come and go; the program lives in the background.
    QApplication::setQuitOnLastWindowClosed(false);

    Platform::quitOnTerminationSignals();

    // Two copies must not write one store, so nothing of it is read before this.
    const auto instance = Platform::Instance::claim(
        applicationId(), Platform::Folders::dataHome() + QStringLiteral("/Brevio"),
        {newCardAction, showAllCardsAction});
    if (!instance)
        return 0;
    auto &app = delegate();
    MainQueue::main().post([&] {
        fonts.wait();
        app.applicationDidFinishLaunching(*instance);
    });
    const int status = QApplication::exec();
    // What was typed or moved a moment ago is still waiting to be written.
    app.store().flush();
    UserDefaults::standard().flush();
    theDelegate().reset(); // its windows must go before the application object
    return status;
}

} // namespace Brevio
