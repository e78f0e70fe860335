#pragma once

#include "Platform/Updates/UpdateTexts.h"

#include <QDialog>

class QProgressBar;

namespace Platform {

/// A line of text, a bar and a Cancel button, which Escape presses: rejected() means cancelled. A
/// sheet on the window, or free-standing, without keeping the other windows from input, for null.
/// Main thread only.
class UpdateProgressDialog final : public QDialog
{
    Q_OBJECT

public:
    /// Until the first percentage the bar says only that something goes on.
    UpdateProgressDialog(QWidget *window, const QString &text);

    void setPercent(int percent);

private:
    QProgressBar *m_bar; ///< owned by the dialog
};

/// Asks whether to download: accepted() means yes, Escape and "Later" no. Shown like the above.
class UpdateOfferDialog final : public QDialog
{
    Q_OBJECT

public:
    /// Of notes that are HTML the text is shown; nothing they refer to is loaded.
    UpdateOfferDialog(QWidget *window, const UpdateTexts::Notice &notice, const QString &notes);
};

} // namespace Platform
