#pragma once

#include "Platform/Core/Observable.h"

#include <QWidget>

namespace Brevio {

/// The program's one ordinary window. It is as large as its content asks, stands above the card
/// even when the card comes forward, and closing it, which Escape and Ctrl+W do too, only hides it.
/// Made once, owned by the application delegate. Main thread only.
class PreferencesWindow final : public QWidget
{
    Q_OBJECT

public:
    /// Owns the content. In the middle of its screen, not yet shown.
    explicit PreferencesWindow(QWidget *content);

    /// Shows the window in front with the keyboard; where the user left it when it was shown
    /// before.
    void present();

private:
    void center();

    Platform::Subscription m_foreground;
};

} // namespace Brevio
