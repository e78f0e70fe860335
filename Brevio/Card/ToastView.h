#pragma once

#include "Platform/Screen/Appearance.h"

#include <QLabel>

namespace Brevio {

/// The message over a card that goes away: one line of faded italics in the middle. It shows and
/// hides by what RootContainer is told; it has no timer of its own and lets the mouse through.
class ToastView final : public QLabel
{
    Q_OBJECT

public:
    /// The appearance must outlive the view.
    explicit ToastView(Platform::Appearance &appearance, QWidget *parent = nullptr);

    /// Screen readers announce it, without interrupting, when it shows.
    void setMessage(const QString &message);

private:
    void applyColors();

    Platform::Appearance &m_appearance;
};

} // namespace Brevio
