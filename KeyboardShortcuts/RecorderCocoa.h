#pragma once

#include "KeyboardShortcuts/Name.h"
#include "KeyboardShortcuts/ShortcutField.h"
#include "Platform/Core/Observable.h"

#include <functional>

namespace Platform {
enum class EventVerdict;
struct Alert;
struct KeyEvent;
struct MonitoredEvent;
} // namespace Platform

namespace KeyboardShortcuts {

/// Posted, with user info {"isActive": bool}, when a recorder starts and when it ends recording.
inline const QString recorderActiveStatusDidChange =
    QStringLiteral("KeyboardShortcuts_recorderActiveStatusDidChange");

/// The field in which the user sets, changes or clears a name's shortcut. It records while it has
/// been given the keyboard, by a click or by Tab: dispatch is paused then and no key reaches
/// anything else, the desktop included. Tab moves on; after Escape or a recorded shortcut the field
/// keeps its place among the controls without recording, and Space, Return or a click starts again.
/// Where the desktop decides the shortcuts, the field only shows what is bound. Needs the module's
/// environment.
class RecorderCocoa final : public ShortcutField
{
    Q_OBJECT

public:
    using OnChange = std::function<void(const std::optional<Shortcut> &)>;

    /// `onChange`, which may be empty, is told after the user set a shortcut or cleared it (none).
    explicit RecorderCocoa(Name name, OnChange onChange = {}, QWidget *parent = nullptr);
    ~RecorderCocoa() override;

    [[nodiscard]] const Name &shortcutName() const { return m_name; }
    [[nodiscard]] bool isRecording() const { return m_eventMonitor != nullptr; }
    /// What the user has to know where a shortcut cannot be bound from here, for the form to show
    /// below the field; empty elsewhere.
    [[nodiscard]] const QString &note() const { return m_note; }

    /// Nothing happens when it is the name that the field edits already.
    void setShortcutName(const Name &name);

Q_SIGNALS:
    void noteChanged(const QString &note);

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void showShortcut();
    void setNote(const QString &note);
    /// Leads to the desktop's own dialog.
    void changeElsewhere();

    void preventFocus();
    void becomeFirstResponder();
    void startRecording();
    void endRecording();

    Platform::EventVerdict handle(const Platform::MonitoredEvent &event);
    Platform::EventVerdict handleKey(const Platform::KeyEvent &key);
    /// Stores what was pressed, or says why not and goes on recording after the answer.
    void record(const Shortcut &shortcut);
    void refuse(const Platform::Alert &alert, const Shortcut &shortcut);
    void store(const Shortcut &shortcut);
    void clearShortcut();

    Name m_name;
    OnChange m_onChange;
    QString m_note;
    std::vector<Platform::Subscription> m_observations;
    Platform::Subscription m_eventMonitor; ///< Present exactly while recording.
    Platform::Subscription m_keyboard;     ///< Held as long.
};

} // namespace KeyboardShortcuts
