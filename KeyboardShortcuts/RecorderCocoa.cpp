#include "KeyboardShortcuts/RecorderCocoa.h"

#include "KeyboardShortcuts/CarbonKeyboardShortcuts.h"
#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "KeyboardShortcuts/Utilities.h"
#include "Platform/Core/MainQueue.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Keyboard/EventMonitor.h"
#include "Platform/Keyboard/KeyboardLayout.h"
#include "Platform/Screen/Alert.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QPointer>

#include <algorithm>

namespace KeyboardShortcuts {

namespace {

namespace Modifier = Platform::Modifier;
using Platform::EventVerdict;

// clang-format off
constexpr int clickMargin = 3; // points; a release this near still is on the field
constexpr int forceButton = 1;

constexpr Platform::EventMask recordedEvents =
    Platform::EventKind::KeyDown | Platform::EventKind::LeftMouseUp | Platform::EventKind::RightMouseUp;
constexpr Platform::ModifierFlags ignoredModifiers = Modifier::CapsLock | Modifier::NumericPad;
// clang-format on

Platform::HotKeys &hotKeys()
{
    return environment().hotKeys;
}

void beep()
{
    if (environment().beep)
        environment().beep();
    else
        QApplication::beep();
}

void postActivity(bool isActive)
{
    environment().notificationCenter.post(recorderActiveStatusDidChange,
                                          {{QStringLiteral("isActive"), isActive}});
}

bool isReserved(const Shortcut &shortcut)
{
    if (isTaken(shortcut))
        return true;
    // Desktops list it without using it.
    if (shortcut == Shortcut(Key::f12, 0))
        return false;
    const auto reserved = CarbonKeyboardShortcuts::system();
    return std::find(reserved.begin(), reserved.end(), shortcut) != reserved.end();
}

/// A menu item's title without the marks that underline a letter.
QString plainTitle(const QAction &item)
{
    const auto text = item.text();
    QString title;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'&' && ++i == text.size())
            break;
        title += text[i];
    }
    return title.section(u'\t', 0, 0);
}

} // namespace

RecorderCocoa::RecorderCocoa(Name name, OnChange onChange, QWidget *parent)
    : ShortcutField(parent)
    , m_name(std::move(name))
    , m_onChange(std::move(onChange))
{
    setPlaceholderText(localized(u"record_shortcut"));
    connect(this, &ShortcutField::clearClicked, this, &RecorderCocoa::clearShortcut);
    connect(this, &ShortcutField::changeClicked, this, &RecorderCocoa::changeElsewhere);

    m_observations = {
        environment().notificationCenter.addObserver(
            shortcutByNameDidChange,
            [this](const QVariantMap &userInfo) {
                if (userInfo.value(QStringLiteral("name")).value<Name>() == m_name)
                    showShortcut();
            }),
        environment().keyboardLayout.onChange([this] { showShortcut(); }),
        hotKeys().onTriggerChange([this] { showShortcut(); }),
    };
    showShortcut();
}

RecorderCocoa::~RecorderCocoa()
{
    endRecording();
}

void RecorderCocoa::setShortcutName(const Name &name)
{
    if (name == m_name)
        return;
    m_name = name;
    showShortcut();
}

void RecorderCocoa::showShortcut()
{
    const auto shortcut = getShortcut(m_name);
    QString native;
    if (hotKeys().isDecidedByDesktop()) {
        endRecording();
        const auto trigger = triggerDescription(m_name);
        native = trigger; // which may be longer than the field
        const bool canChange = hotKeys().canConfigure() || !shortcut;
        display(trigger.isEmpty() ? localized(u"shortcut_not_bound") : trigger,
                canChange ? Button::Change : Button::None);
        setNote(canChange ? QString() : localized(u"shortcut_decided_by_desktop"));
    } else {
        native = shortcut ? shortcut->nativeDescription() : QString();
        display(shortcut ? shortcut->presentableDescription() : QString(),
                shortcut ? Button::Clear : Button::None);
        setNote(hotKeys().isSupported() ? QString() : localized(u"global_shortcuts_not_supported"));
    }
    setAccessibleDescription(native.isEmpty() ? m_note : native);
    setToolTip(native.isEmpty() || m_note.isEmpty() ? native + m_note : native + u'\n' + m_note);
}

void RecorderCocoa::setNote(const QString &note)
{
    if (note == std::exchange(m_note, note))
        return;
    Q_EMIT noteChanged(m_note);
}

void RecorderCocoa::changeElsewhere()
{
    // The desktop can be asked about a shortcut only; one that was cleared starts anew.
    if (!getShortcut(m_name))
        KeyboardShortcuts::setShortcut(m_name.defaultShortcut(), m_name);
    else
        hotKeys().configure();
}

/// A window that becomes key gives the keyboard to its first control; a field that got it that way
/// would record what was never meant for it.
void RecorderCocoa::preventFocus()
{
    setFocusPolicy(Qt::ClickFocus);
    environment().mainQueue.post([self = QPointer<RecorderCocoa>(this)] {
        if (self)
            self->setFocusPolicy(Qt::StrongFocus);
    });
}

void RecorderCocoa::becomeFirstResponder()
{
    if (hasFocus())
        startRecording();
    else
        setFocus(Qt::OtherFocusReason); // in a window that is not active yet: once it is
}

void RecorderCocoa::startRecording()
{
    if (hotKeys().isDecidedByDesktop())
        return;
    // To hear what is bound, by us or by others. Where that fails another click tries again.
    if (!m_keyboard)
        m_keyboard = Platform::holdKeyboard(window());
    if (isRecording())
        return;
    setPlaceholderText(localized(u"press_shortcut"));
    setListening(true);
    setPaused(true);
    m_eventMonitor = Platform::addLocalMonitor(
        recordedEvents, [this](const Platform::MonitoredEvent &event) { return handle(event); });
    postActivity(true);
}

void RecorderCocoa::endRecording()
{
    if (!isRecording())
        return;
    m_eventMonitor.reset();
    m_keyboard.reset();
    setPlaceholderText(localized(u"record_shortcut"));
    setListening(false);
    if (!hasEnvironment())
        return;
    setPaused(false);
    postActivity(false);
}

EventVerdict RecorderCocoa::handle(const Platform::MonitoredEvent &event)
{
    if (event.kind == Platform::EventKind::KeyDown)
        return handleKey(event.key);
    const auto near = rect().adjusted(-clickMargin, -clickMargin, clickMargin, clickMargin);
    if (near.contains(mapFromGlobal(event.globalPosition)))
        return EventVerdict::Swallow;
    clearFocus();
    return EventVerdict::Pass;
}

EventVerdict RecorderCocoa::handleKey(const Platform::KeyEvent &key)
{
    const auto modifiers = key.modifiers & ~ignoredModifiers;
    const Key pressed{key.keyCode};
    if (modifiers == 0 && pressed == Key::tab) {
        endRecording();
        return EventVerdict::Pass; // moves the focus on
    }
    if (key.isRepeat)
        return EventVerdict::Swallow;
    if (modifiers == 0 && pressed == Key::escape) {
        endRecording();
        return EventVerdict::Swallow;
    }
    if (modifiers == 0 && (pressed == Key::delete_ || pressed == Key::deleteForward)) {
        clearShortcut();
        return EventVerdict::Swallow;
    }
    const auto shortcut = Shortcut::fromEvent(key);
    const bool canBeAlone = (modifiers & ~Modifier::Shift) != 0 || isFunctionKey(pressed);
    if (shortcut && canBeAlone)
        record(*shortcut);
    else
        beep();
    return EventVerdict::Swallow;
}

void RecorderCocoa::record(const Shortcut &shortcut)
{
    const auto ok = localized(u"ok");
    if (const auto *item = shortcut.menuItemWithMatchingShortcut(mainMenu())) {
        const auto message = localized(u"keyboard_shortcut_used_by_menu_item");
        refuse({.message = message.arg(plainTitle(*item)), .buttons = {ok}}, shortcut);
    } else if (isReserved(shortcut)) {
        refuse({.message = localized(u"keyboard_shortcut_used_by_system"),
                .explanation = localized(u"keyboard_shortcuts_can_be_changed"),
                .buttons = {ok, localized(u"force_use_shortcut")}},
               shortcut);
    } else {
        store(shortcut);
    }
}

void RecorderCocoa::refuse(const Platform::Alert &alert, const Shortcut &shortcut)
{
    clearFocus();
    endRecording(); // a window that is not active has no focus to lose
    Platform::showAlert(isVisible() ? window() : nullptr, alert,
                        [self = QPointer<RecorderCocoa>(this), shortcut](int button) {
                            if (!self || !hasEnvironment())
                                return;
                            if (button == forceButton)
                                self->store(shortcut);
                            else
                                self->becomeFirstResponder();
                        });
}

void RecorderCocoa::store(const Shortcut &shortcut)
{
    const QPointer<RecorderCocoa> self(this);
    const auto onChange = m_onChange;
    userDefaultsSet(m_name, shortcut); // shown by way of the notification
    if (onChange)
        onChange(shortcut);
    if (self)
        endRecording();
}

void RecorderCocoa::clearShortcut()
{
    if (text().isEmpty())
        return;
    const QPointer<RecorderCocoa> self(this);
    const auto onChange = m_onChange;
    KeyboardShortcuts::setShortcut(std::nullopt, m_name);
    if (onChange)
        onChange(std::nullopt);
    if (self)
        becomeFirstResponder();
}

bool RecorderCocoa::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate) {
        preventFocus();
    } else if (event->type() == QEvent::WindowDeactivate) {
        endRecording();
        clearFocus();
    }
    return ShortcutField::event(event);
}

void RecorderCocoa::showEvent(QShowEvent *event)
{
    preventFocus();
    ShortcutField::showEvent(event);
}

void RecorderCocoa::hideEvent(QHideEvent *event)
{
    endRecording();
    clearFocus();
    ShortcutField::hideEvent(event);
}

void RecorderCocoa::focusInEvent(QFocusEvent *event)
{
    QWidget::focusInEvent(event); // a line edit would select its text
    if (event->reason() != Qt::PopupFocusReason)
        startRecording();
}

void RecorderCocoa::focusOutEvent(QFocusEvent *event)
{
    endRecording();
    QWidget::focusOutEvent(event);
}

void RecorderCocoa::keyPressEvent(QKeyEvent *event)
{
    const bool starts = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
                        event->key() == Qt::Key_Enter;
    if (starts && event->modifiers() == Qt::NoModifier && !event->isAutoRepeat())
        startRecording();
    else
        event->ignore();
}

void RecorderCocoa::mousePressEvent(QMouseEvent *event)
{
    // The click itself has given the focus, unless the field had it.
    if (event->button() == Qt::LeftButton && hasFocus())
        startRecording();
}

} // namespace KeyboardShortcuts
