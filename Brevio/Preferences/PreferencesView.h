#pragma once

#include "Platform/Core/Observable.h"

#include <QWidget>

namespace Platform {
class MainQueue;
}

namespace Brevio {

class Settings;

/// The preferences form: the two settings, the summon shortcut's recorder, two buttons. Always
/// shows the live values; a flipped switch is assigned at once, there is nothing to apply. As wide
/// as its window, as tall as its rows ask. Main thread only.
class PreferencesView final : public QWidget
{
    Q_OBJECT

public:
    /// `settings` and `queue` must outlive the view. The actions may not be empty.
    PreferencesView(Settings &settings, Platform::MainQueue &queue,
                    std::function<void()> onRestoreWelcome, std::function<void()> onCheckForUpdates,
                    QWidget *parent = nullptr);

private:
    [[nodiscard]] QWidget *settingsSection(Platform::MainQueue &queue);
    [[nodiscard]] QWidget *hotkeySection();
    [[nodiscard]] QWidget *actionsSection(std::function<void()> onRestoreWelcome,
                                          std::function<void()> onCheckForUpdates);
    /// A switch that shows the setting and sets it.
    [[nodiscard]] QWidget *switchFor(Platform::Observable<bool> &setting, const QString &title,
                                     Platform::MainQueue &queue);

    Settings &m_settings;
    std::vector<Platform::Subscription> m_subscriptions;
};

} // namespace Brevio
