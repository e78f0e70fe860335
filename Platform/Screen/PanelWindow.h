#pragma once

#include <memory>

class QWidget;

namespace Platform {

/// What a window needs to float: it stands above ordinary windows, on every workspace, in no task
/// bar or pager, takes the keyboard when presented and gives it back when dismissed. Owned by the
/// widget's class and outlived by the widget. Main thread only.
class PanelWindow
{
public:
    virtual ~PanelWindow() = default;

    /// Shows the window in front of all others and asks for the keyboard, on the strength of the
    /// user's latest action. Also for a window that is visible already.
    virtual void present() = 0;

    /// Hides the window. The window that had the keyboard before gets it back.
    virtual void dismiss() = 0;

    /// Whether keys typed now reach this window. The keyboard counts as ours from the request on;
    /// a grab of the keyboard, such as a global shortcut being held, changes nothing.
    [[nodiscard]] virtual bool isKey() const = 0;

    /// From 0 to 1. Without effect where nothing composes the screen.
    virtual void setOpacity(double opacity) = 0;

    /// Makes the widget, which must not have been shown, a frameless, translucent floating window.
    /// Where nothing composes the screen its corners are cut by a mask of `cornerRadius` logical
    /// pixels. Never null.
    [[nodiscard]] static std::unique_ptr<PanelWindow> create(QWidget &window, double cornerRadius);
};

} // namespace Platform
