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
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QToolButton>

#include <algorithm>

namespace KeyboardShortcuts {

namespace {

namespace Modifier = Platform::Modifier;
using Platform::EventVerdict;

// clang-format off
constexpr int   leastWidth    = 130; // points, as all below
constexpr int   leastHeight   = 24;
constexpr int   sidePadding   = 10;  // the text keeps clear of the round ends
constexpr int   textPadding   = 3;   // above and below
constexpr int   buttonInset   = 4;
constexpr int   buttonGap     = 6;   // between the field and the button beside it
constexpr int   iconSize      = 16;
constexpr qreal borderWidth   = 1;
constexpr qreal ringWidth     = 2;
constexpr float borderOpacity = 0.3F; // of the text's colour
constexpr int   clickMargin   = 3;   // a release this near still is on the field
constexpr int   forceButton   = 1;

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

QToolButton *addButton(QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setCursor(Qt::ArrowCursor);
    button->hide();
    return button;
}

} // namespace

RecorderCocoa::RecorderCocoa(Name name, OnChange onChange, QWidget *parent)
    : QLineEdit(parent)
    , m_name(std::move(name))
    , m_onChange(std::move(onChange))
    , m_clearButton(addButton(this))
    , m_changeButton(addButton(this))
{
    setReadOnly(true);
    setFrame(false);
    setAlignment(Qt::AlignCenter);
    setPlaceholderText(localized(u"record_shortcut"));
    setCursor(Qt::ArrowCursor);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    // The keyboard has Delete for it.
    m_clearButton->setFocusPolicy(Qt::NoFocus);
    m_clearButton->setAutoRaise(true);
    m_clearButton->setIcon(style()->standardIcon(QStyle::SP_LineEditClearButton));
    m_clearButton->setIconSize({iconSize, iconSize});
    m_clearButton->setAccessibleName(localized(u"clear_shortcut"));
    m_clearButton->setToolTip(localized(u"clear_shortcut"));
    connect(m_clearButton, &QToolButton::clicked, this, &RecorderCocoa::clearShortcut);
    m_changeButton->setText(localized(u"change_shortcut"));
    m_changeButton->setFocusPolicy(Qt::StrongFocus);
    connect(m_changeButton, &QToolButton::clicked, this, [] { hotKeys().configure(); });

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

QSize RecorderCocoa::sizeHint() const
{
    const auto metrics = fontMetrics();
    const int text = metrics.horizontalAdvance(this->text());
    return {std::max(leastWidth, text + 2 * sidePadding + trailingWidth()),
            std::max(leastHeight, metrics.height() + 2 * textPadding)};
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
    const bool isDecided = hotKeys().isDecidedByDesktop();
    const auto native = shortcut && !isDecided ? shortcut->nativeDescription() : QString();
    if (isDecided) {
        endRecording();
        const auto trigger = triggerDescription(m_name);
        setText(trigger.isEmpty() ? localized(u"shortcut_not_bound") : trigger);
        setNote(hotKeys().canConfigure() ? QString() : localized(u"shortcut_decided_by_desktop"));
    } else {
        setText(shortcut ? shortcut->presentableDescription() : QString());
        setNote(hotKeys().isSupported() ? QString() : localized(u"global_shortcuts_not_supported"));
    }
    setAccessibleDescription(native.isEmpty() ? m_note : native);
    setToolTip(native.isEmpty() || m_note.isEmpty() ? native + m_note : native + u'\n' + m_note);
    m_clearButton->setVisible(!isDecided && !text().isEmpty());
    m_changeButton->setVisible(isDecided && hotKeys().canConfigure());
    updateGeometry();
    layOutButtons();
    update();
}

void RecorderCocoa::setNote(const QString &note)
{
    if (note == std::exchange(m_note, note))
        return;
    Q_EMIT noteChanged(m_note);
}

int RecorderCocoa::trailingWidth() const
{
    if (!m_changeButton->isHidden())
        return m_changeButton->sizeHint().width() + buttonGap;
    // The text stays in the middle whether it can be cleared or not.
    return 2 * iconSize;
}

void RecorderCocoa::layOutButtons()
{
    const int side = height() - 2 * buttonInset;
    m_clearButton->setGeometry(width() - side - buttonInset - 1, buttonInset, side, side);
    const int change = m_changeButton->sizeHint().width();
    m_changeButton->setGeometry(width() - change, 0, change, height());
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
    if (isRecording() || hotKeys().isDecidedByDesktop())
        return;
    setPlaceholderText(localized(u"press_shortcut"));
    update();
    setPaused(true);
    m_eventMonitor = Platform::addLocalMonitor(
        recordedEvents, [this](const Platform::MonitoredEvent &event) { return handle(event); });
    // The system has caught the combination that is registered now; it comes as a hot key's press.
    m_pausedPresses = onPausedPress([this](const Shortcut &pressed) { record(pressed); });
    postActivity(true);
}

void RecorderCocoa::endRecording()
{
    if (!isRecording())
        return;
    m_eventMonitor.reset();
    m_pausedPresses.reset();
    setPlaceholderText(localized(u"record_shortcut"));
    update();
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
    return QLineEdit::event(event);
}

void RecorderCocoa::showEvent(QShowEvent *event)
{
    preventFocus();
    QLineEdit::showEvent(event);
}

void RecorderCocoa::hideEvent(QHideEvent *event)
{
    endRecording();
    clearFocus();
    QLineEdit::hideEvent(event);
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

void RecorderCocoa::resizeEvent(QResizeEvent *event)
{
    QLineEdit::resizeEvent(event);
    layOutButtons();
}

/// A search field's shape, which the style's own line edits do not have. They would hide the
/// placeholder of a centred field that has the focus, too.
void RecorderCocoa::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto &colours = palette();
    auto border = colours.color(QPalette::Text);
    border.setAlphaF(borderOpacity);
    if (hasFocus())
        border = colours.color(QPalette::Highlight);
    const qreal pen = isRecording() ? ringWidth : borderWidth;
    auto place = rect();
    if (!m_changeButton->isHidden())
        place.setRight(m_changeButton->x() - buttonGap);
    const auto frame = QRectF(place).adjusted(pen / 2, pen / 2, -pen / 2, -pen / 2);
    painter.setPen(QPen(border, pen));
    painter.setBrush(colours.base());
    painter.drawRoundedRect(frame, frame.height() / 2, frame.height() / 2);

    const bool isEmpty = text().isEmpty();
    place.adjust(sidePadding, 0, -sidePadding, 0);
    if (!m_clearButton->isHidden())
        place.adjust(iconSize - buttonInset, 0, buttonInset - iconSize, 0);
    painter.setPen(colours.color(isEmpty ? QPalette::PlaceholderText : QPalette::Text));
    const auto &shown = isEmpty ? placeholderText() : text();
    painter.drawText(place, Qt::AlignCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(shown, Qt::ElideRight, place.width()));
}

} // namespace KeyboardShortcuts
