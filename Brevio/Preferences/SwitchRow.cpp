#include "Brevio/Preferences/SwitchRow.h"

#include "Brevio/Preferences/FormColors.h"

#include <QPainter>

namespace Brevio {

namespace {

using namespace std::chrono_literals;

// In points.
constexpr QSizeF trackSize(40.0, 22.0);
constexpr double knobInset = 2.0;
constexpr double ringWidth = 2.0;
constexpr double ringGap = 1.5;
constexpr int titleGap = 12;

constexpr auto slideDuration = 140ms;

} // namespace

SwitchRow::SwitchRow(const QString &title, Platform::MainQueue &queue, QWidget *parent)
    : QCheckBox(title, parent)
    , m_queue(queue)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize SwitchRow::sizeHint() const
{
    const int ring = qCeil(2 * (ringWidth + ringGap));
    return {fontMetrics().horizontalAdvance(text()) + titleGap + qCeil(trackSize.width()) + ring,
            qMax(fontMetrics().height(), qCeil(trackSize.height()) + ring)};
}

bool SwitchRow::hitButton(const QPoint &position) const
{
    return rect().contains(position);
}

void SwitchRow::nextCheckState()
{
    m_isSliding = true;
    QCheckBox::nextCheckState();
    m_isSliding = false;
    m_slide =
        Platform::animate(m_queue, slideDuration, Platform::TimingCurve::EaseInEaseOut,
                          [this, from = m_knob, to = isChecked() ? 1.0 : 0.0](double progress) {
                              m_knob = from + (to - from) * progress;
                              update();
                          });
}

void SwitchRow::checkStateSet()
{
    QCheckBox::checkStateSet();
    if (m_isSliding)
        return;
    m_slide.reset();
    m_knob = isChecked() ? 1.0 : 0.0;
    update();
}

QRectF SwitchRow::track() const
{
    const double margin = ringWidth + ringGap;
    QRectF track(QPointF(), trackSize);
    track.moveCenter(QRectF(rect()).center());
    layoutDirection() == Qt::LeftToRight ? track.moveRight(width() - margin)
                                         : track.moveLeft(margin);
    return track;
}

void SwitchRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeading | Qt::TextShowMnemonic, text());

    const QRectF track = this->track();
    const double radius = track.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        FormColors::mixed(FormColors::switchOff(palette()), FormColors::accent(palette()), m_knob));
    painter.drawRoundedRect(track, radius, radius);

    QRectF knob(0, 0, track.height() - 2 * knobInset, track.height() - 2 * knobInset);
    knob.moveTop(track.top() + knobInset);
    const double off = track.left() + knobInset;
    const double on = track.right() - knobInset - knob.width();
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    knob.moveLeft(off + (on - off) * (mirrored ? 1.0 - m_knob : m_knob));
    painter.setBrush(FormColors::knobShadow());
    painter.drawEllipse(knob.translated(0, 0.75));
    painter.setBrush(isDown() ? QColor(238, 238, 238) : QColor(Qt::white));
    painter.drawEllipse(knob);

    if (FormColors::showsFocus(*this)) {
        const double outset = ringGap + ringWidth / 2;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(FormColors::focusRing(palette()), ringWidth));
        painter.drawRoundedRect(track.adjusted(-outset, -outset, outset, outset), radius + outset,
                                radius + outset);
    }
}

} // namespace Brevio
