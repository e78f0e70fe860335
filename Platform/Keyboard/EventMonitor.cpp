#include "Platform/Keyboard/EventMonitor.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Core/X11Events.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

#include <map>

namespace Platform {

namespace {

constexpr ModifierFlags heldKeys =
    Modifier::Shift | Modifier::Control | Modifier::Option | Modifier::Command;

struct Monitor
{
    EventMask mask;
    MonitorScope scope;
    std::function<EventVerdict(const MonitoredEvent &)> handler;
};

QWidget *windowOf(QObject *receiver)
{
    if (auto *widget = qobject_cast<QWidget *>(receiver))
        return widget->window();
    auto *window = qobject_cast<QWindow *>(receiver);
    return window && window->handle() ? QWidget::find(window->winId()) : nullptr;
}

/// Sees every event of the application. One press passes here several times: as an offer to the
/// shortcuts and as the press itself, each at the window, the focused widget and its parents. The
/// monitors are asked the first time; their verdict holds for the rest.
class InputFilter final : public QObject
{
public:
    InputFilter()
        : QObject(qApp)
    {
        qApp->installEventFilter(this);
    }

    static InputFilter &shared()
    {
        static QPointer<InputFilter> filter;
        if (!filter)
            filter = new InputFilter;
        return *filter;
    }

    Subscription add(Monitor monitor)
    {
        auto entry = std::make_shared<Monitor>(std::move(monitor));
        m_monitors.push_back(entry);
        return entry;
    }

    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    /// The passage of one press or one release.
    struct Passage
    {
        int key = 0;
        quint32 scanCode = 0;
        quint64 time = 0;
        QEvent::Type stage = QEvent::None;
        QPointer<QObject> firstReceiver;
        EventVerdict verdict = EventVerdict::Pass;
    };

    void noticeFocus(const X11Event &event);
    bool filterKey(QObject *receiver, QKeyEvent &event);
    void filterMouse(QObject *receiver, const QMouseEvent &event);
    [[nodiscard]] bool isContinued(QObject *receiver, const QKeyEvent &event) const;
    [[nodiscard]] EventVerdict firstSight(QObject *receiver, const QKeyEvent &event);
    void trackModifierKey(const QKeyEvent &event, KeyEvent key, QWidget *window);
    void changeFlags(const KeyEvent &key, QWidget *window);
    void dropFlags(ModifierFlags gone);
    EventVerdict offer(const MonitoredEvent &event);

    std::vector<std::weak_ptr<Monitor>> m_monitors;
    Passage m_passage;
    quint32 m_releasedKey = 0;
    quint64 m_releaseTime = 0;
    std::map<int, ModifierFlags> m_heldKeys; ///< The modifier keys, by code, that went down here.
    ModifierFlags m_flags = 0;               ///< As last announced.
    QPointer<QWidget> m_flagsWindow;
    const Subscription m_xEvents = onX11Event([this](const X11Event &event) {
        noticeFocus(event);
        return X11Verdict::Pass;
    });
};

bool InputFilter::eventFilter(QObject *receiver, QEvent *event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return filterKey(receiver, static_cast<QKeyEvent &>(*event));
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
        filterMouse(receiver, static_cast<QMouseEvent &>(*event));
        break;
    case QEvent::FocusAboutToChange:
        // Sent to the window while it still is the focused one.
        if (receiver->isWindowType())
            dropFlags(m_flags);
        break;
    default:
        break;
    }
    return false;
}

void InputFilter::noticeFocus(const X11Event &event)
{
    // A short grab (a global shortcut) eats releases without Qt telling anybody.
    if (m_flags != 0 && event.kind == XCB_FOCUS_IN)
        dropFlags(m_flags & ~modifierFlags(QGuiApplication::queryKeyboardModifiers()));
}

bool InputFilter::isContinued(QObject *receiver, const QKeyEvent &event) const
{
    if (m_passage.key != event.key() || m_passage.scanCode != event.nativeScanCode() ||
        m_passage.time != event.timestamp())
        return false;
    if (m_passage.stage == event.type())
        return m_passage.firstReceiver != receiver;
    return m_passage.stage == QEvent::ShortcutOverride && event.type() == QEvent::KeyPress;
}

bool InputFilter::filterKey(QObject *receiver, QKeyEvent &event)
{
    if (isContinued(receiver, event)) {
        if (m_passage.stage != event.type()) {
            m_passage.stage = event.type();
            m_passage.firstReceiver = receiver;
        }
    } else {
        Passage passage{event.key(), event.nativeScanCode(), event.timestamp(), event.type(),
                        receiver,    EventVerdict::Pass};
        passage.verdict = firstSight(receiver, event);
        // Only now: the handlers may have run an event loop and let other keys pass.
        m_passage = passage;
    }
    if (m_passage.verdict == EventVerdict::Pass)
        return false;
    // A shortcut offer that was accepted comes back as a plain press, which is stopped here too.
    event.accept();
    return true;
}

EventVerdict InputFilter::firstSight(QObject *receiver, const QKeyEvent &event)
{
    QWidget *window = windowOf(receiver);
    auto key = KeyEvent::from(event);
    // X repeats a held key as a release and a press of the same moment, which Qt notices only when
    // it has both before it. Synthetic keys have no hardware code and may be that fast.
    if (event.type() == QEvent::KeyRelease) {
        m_releasedKey = event.nativeScanCode();
        m_releaseTime = event.timestamp();
    } else if (event.nativeScanCode() != 0 && event.nativeScanCode() == m_releasedKey) {
        key.isRepeat |= event.timestamp() == m_releaseTime;
    }
    switch (key.type) {
    case KeyEvent::Type::FlagsChanged:
        if (!key.isRepeat)
            trackModifierKey(event, key, window);
        return EventVerdict::Pass;
    case KeyEvent::Type::KeyUp:
        if (!key.isRepeat)
            offer({EventKind::KeyUp, window, key, {}});
        return EventVerdict::Pass;
    case KeyEvent::Type::KeyDown:
        break;
    }
    UserTime::note(static_cast<std::uint32_t>(event.timestamp()));
    return offer({EventKind::KeyDown, window, key, {}});
}

void InputFilter::trackModifierKey(const QKeyEvent &event, KeyEvent key, QWidget *window)
{
    if (event.type() != QEvent::KeyRelease) {
        // One that goes down twice came up where nobody told us, as between two showings of a
        // window that are too close together for a loss of the focus.
        if (const auto held = m_heldKeys.find(key.keyCode); held != m_heldKeys.end())
            dropFlags(m_flags & held->second);
        m_heldKeys[key.keyCode] = flagOfModifierKey(event.key()).value_or(0);
    } else {
        // The other key of a pair may still be down.
        m_heldKeys.erase(key.keyCode);
        for (const auto &[code, flag] : m_heldKeys)
            key.modifiers |= flag;
    }
    changeFlags(key, window);
}

void InputFilter::filterMouse(QObject *receiver, const QMouseEvent &event)
{
    // The window's event comes first, the widget's after it.
    if (!receiver->isWindowType())
        return;
    if (event.type() == QEvent::MouseButtonPress) {
        UserTime::note(static_cast<std::uint32_t>(event.timestamp()));
        return;
    }
    const auto kind = event.button() == Qt::LeftButton    ? EventKind::LeftMouseUp
                      : event.button() == Qt::RightButton ? EventKind::RightMouseUp
                                                          : 0;
    if (kind != 0)
        offer({kind, windowOf(receiver), {}, event.globalPosition().toPoint()});
}

void InputFilter::changeFlags(const KeyEvent &key, QWidget *window)
{
    m_flags = key.modifiers & heldKeys;
    m_flagsWindow = window;
    offer({EventKind::FlagsChanged, window, key, {}});
}

void InputFilter::dropFlags(ModifierFlags gone)
{
    if (gone == 0)
        return;
    std::erase_if(m_heldKeys, [&](const auto &held) { return (held.second & gone) != 0; });
    KeyEvent key;
    key.type = KeyEvent::Type::FlagsChanged;
    key.modifiers = m_flags & ~gone;
    changeFlags(key, m_flagsWindow);
}

EventVerdict InputFilter::offer(const MonitoredEvent &event)
{
    std::erase_if(m_monitors, [](const auto &monitor) { return monitor.expired(); });
    const bool isKey = (event.kind & (EventKind::KeyDown | EventKind::KeyUp)) != 0;
    const auto scope =
        isKey && QApplication::activePopupWidget() ? MonitorScope::Menus : MonitorScope::Windows;
    const auto monitors = m_monitors;
    for (const auto &weak : monitors) {
        const auto monitor = weak.lock();
        if (!monitor || monitor->scope != scope || (monitor->mask & event.kind) == 0)
            continue;
        if (monitor->handler(event) == EventVerdict::Swallow)
            return EventVerdict::Swallow;
    }
    return EventVerdict::Pass;
}

} // namespace

Subscription addLocalMonitor(EventMask mask,
                             std::function<EventVerdict(const MonitoredEvent &)> handler,
                             MonitorScope scope)
{
    return InputFilter::shared().add({mask, scope, std::move(handler)});
}

Subscription holdKeyboard(QWidget *window)
{
    QWindow *handle = window->windowHandle();
    if (!handle || !handle->setKeyboardGrabEnabled(true))
        return {};
    return {handle, [held = QPointer<QWindow>(handle)](void *) {
                if (held)
                    held->setKeyboardGrabEnabled(false);
            }};
}

} // namespace Platform
