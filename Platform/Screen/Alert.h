#pragma once

#include <QStringList>

#include <functional>

class QDialog;
class QWidget;

namespace Platform {

/// A short message with buttons, named from left to right by what they do.
struct Alert
{
    QString message;
    /// A sentence or two in plain type below the message; empty for none.
    QString explanation{};
    QStringList buttons;
    /// The button that Return presses.
    int defaultButton = 0;
    /// The button that Escape, or closing the alert, presses.
    int escapeButton = 0;
};

/// Shows the alert as a sheet on the window, which takes no input until it is answered and which it
/// is hidden and shown with; null shows it free-standing. Returns the sheet, which deletes itself,
/// at once; `answered`, which may be empty, is called with the index of the button when the sheet
/// has gone, and never when the window went first. Main thread only.
QDialog *showAlert(QWidget *window, const Alert &alert,
                   std::function<void(int button)> answered = {});

} // namespace Platform
