// The application's menus: the main menu, which is never shown and only lends its keys to the
// program's windows, and the menu of the tray icon.

#include "Brevio/App/App.h"

#include "Brevio/Card/CardController.h"
#include "Brevio/Card/CardPanel.h"
#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "KeyboardShortcuts/NSMenuItem++.h"
#include "KeyboardShortcuts/Name.h"
#include "KeyboardShortcuts/Shortcut.h"
#include "Platform/Desktop/StatusItem.h"
#include "Platform/Keyboard/EventMonitor.h"
#include "Platform/Screen/OrdinaryWindow.h"

#include <QApplication>
#include <QMenu>

namespace Brevio {

namespace {

using Command = void (AppDelegate::*)();

struct Item
{
    const char *title; ///< null for a separator
    Command command;
    const char *slot; ///< of the widget with the keyboard, for an item without a command
    QKeyCombination key;
};

constexpr QChar lastLatin(0x024F);

const QKeyCombination noKey = QKeyCombination::fromCombined(0);
constexpr QKeyCombination ctrl(Qt::Key key)
{
    return Qt::CTRL | key;
}

// clang-format off
const Item applicationItems[] = {
    {QT_TRANSLATE_NOOP("Menu", "Preferences…"), &AppDelegate::showPreferences, nullptr, ctrl(Qt::Key_Comma)},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Hide Brevio"),  &AppDelegate::hide,            nullptr, ctrl(Qt::Key_H)},
    {QT_TRANSLATE_NOOP("Menu", "Hide Others"),  &AppDelegate::hideOthers,      nullptr, Qt::CTRL | Qt::ALT | Qt::Key_H},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Quit Brevio"),  &AppDelegate::menuQuit,        nullptr, ctrl(Qt::Key_Q)},
};

const Item editItems[] = {
    {QT_TRANSLATE_NOOP("Menu", "Undo"),       nullptr, "undo",      ctrl(Qt::Key_Z)},
    {QT_TRANSLATE_NOOP("Menu", "Redo"),       nullptr, "redo",      Qt::CTRL | Qt::SHIFT | Qt::Key_Z},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Cut"),        nullptr, "cut",       ctrl(Qt::Key_X)},
    {QT_TRANSLATE_NOOP("Menu", "Copy"),       nullptr, "copy",      ctrl(Qt::Key_C)},
    {QT_TRANSLATE_NOOP("Menu", "Paste"),      nullptr, "paste",     ctrl(Qt::Key_V)},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Select All"), nullptr, "selectAll", ctrl(Qt::Key_A)},
};

const Item statusItems[] = {
    {QT_TRANSLATE_NOOP("Menu", "New Card"),           &AppDelegate::menuSummon,          nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Show All Cards"),     &AppDelegate::menuGrid,            nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Pin Active Card"),    &AppDelegate::menuPin,             nullptr, Qt::CTRL | Qt::SHIFT | Qt::Key_K},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Preferences…"),       &AppDelegate::showPreferences,     nullptr, ctrl(Qt::Key_Comma)},
    {QT_TRANSLATE_NOOP("Menu", "Check for Updates…"), &AppDelegate::menuCheckForUpdates, nullptr, noKey},
    {nullptr, nullptr, nullptr, noKey},
    {QT_TRANSLATE_NOOP("Menu", "Quit Brevio"),        &AppDelegate::menuQuit,            nullptr, ctrl(Qt::Key_Q)},
};
// clang-format on

/// What the widget with the keyboard does not know to do, it does not do.
void sendToFocus(const char *slot)
{
    QWidget *focused = QApplication::focusWidget();
    if (focused && focused->metaObject()->indexOfMethod(QByteArray(slot) + "()") >= 0)
        QMetaObject::invokeMethod(focused, slot);
}

template <std::size_t count>
void fill(QMenu &menu, const Item (&items)[count], AppDelegate &app)
{
    for (const Item &item : items) {
        if (item.title == nullptr) {
            menu.addSeparator();
            continue;
        }
        auto *action = menu.addAction(QCoreApplication::translate("Menu", item.title));
        action->setShortcut(item.key == noKey ? QKeySequence() : QKeySequence(item.key));
        QObject::connect(action, &QAction::triggered, action, [&app, &item] {
            if (item.command != nullptr)
                (app.*item.command)();
            else
                sendToFocus(item.slot);
        });
    }
}

} // namespace

void AppDelegate::buildMainMenu()
{
    m_mainMenu = std::make_unique<QMenu>();
    fill(*m_mainMenu->addMenu(QString()), applicationItems, *this);
    fill(*m_mainMenu->addMenu(QCoreApplication::translate("Menu", "Edit")), editItems, *this);
}

void AppDelegate::lendMenuKeys(QWidget &window) const
{
    window.addActions(m_mainMenu->actions());
}

void AppDelegate::matchMenuKeysByPosition()
{
    using Platform::EventVerdict;
    m_keysByPosition = Platform::addLocalMonitor(
        Platform::EventKind::KeyDown, [this](const Platform::MonitoredEvent &event) {
            const bool isLatin = event.key.text.isEmpty() || event.key.text[0] <= lastLatin;
            const auto shortcut = KeyboardShortcuts::Shortcut::fromEvent(event.key);
            // A recorder wants the keys for itself, and a sheet has none of the menu's.
            if (isLatin || !shortcut || KeyboardShortcuts::isPaused() || !event.window ||
                event.window->isModal())
                return EventVerdict::Pass;
            const auto actions = m_mainMenu->findChildren<QAction *>();
            for (QAction *action : actions) {
                if (action->shortcut().isEmpty() || action->shortcut() != shortcut->keySequence())
                    continue;
                action->trigger();
                return EventVerdict::Swallow;
            }
            return EventVerdict::Pass;
        });
}

void AppDelegate::installStatusItem()
{
    m_statusItem.reset();
    m_statusMenu = std::make_unique<QMenu>();
    QObject::connect(m_statusMenu.get(), &QMenu::aboutToShow, m_statusMenu.get(),
                     [this] { rebuildStatusMenu(*m_statusMenu); });
    rebuildStatusMenu(*m_statusMenu);
    m_statusItem = std::make_unique<Platform::StatusItem>(
        QStringLiteral("Brevio"), QStringLiteral("note.text"), *m_statusMenu);
}

void AppDelegate::rebuildStatusMenu(QMenu &menu)
{
    menu.clear();
    fill(menu, statusItems, *this);
    KeyboardShortcuts::setShortcutFor(*menu.actions().constFirst(),
                                      KeyboardShortcuts::Name::summon());
}

void AppDelegate::menuSummon()
{
    Platform::OrdinaryWindow::noteUserAction();
    controller().toggleSummon();
}

void AppDelegate::menuGrid()
{
    Platform::OrdinaryWindow::noteUserAction();
    // A card that is visible without the keyboard only takes it.
    if (!controller().panel().isKeyWindow())
        controller().toggleSummon();
    if (controller().mode() == CardMode::Card)
        controller().enterGridMode();
}

void AppDelegate::menuPin()
{
    controller().togglePinOnActive();
}

void AppDelegate::menuQuit()
{
    // Not quit(), which asks the windows first, and closing one of ours only hides it.
    QCoreApplication::exit(0);
}

} // namespace Brevio
