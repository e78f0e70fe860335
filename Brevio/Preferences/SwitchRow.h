#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Animation.h"

#include <QCheckBox>

namespace Brevio {

/// A row of a form: its text at the leading edge, a switch at the trailing one. A check box in all
/// but looks, so keys, screen readers and clicks anywhere on the row work as everywhere else. The
/// knob slides when the user flips it and jumps when the program does. Main thread only.
class SwitchRow final : public QCheckBox
{
public:
    /// `queue` paces the knob and must outlive the row.
    SwitchRow(const QString &title, Platform::MainQueue &queue, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool hitButton(const QPoint &position) const override;
    void nextCheckState() override;
    void checkStateSet() override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QRectF track() const;

    Platform::MainQueue &m_queue;
    Platform::Animation m_slide;
    double m_knob = 0.0; ///< 0 off, 1 on, between while it slides
    bool m_isSliding = false;
};

} // namespace Brevio
