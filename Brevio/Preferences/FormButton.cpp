#include "Brevio/Preferences/FormButton.h"

#include "Brevio/Preferences/FormColors.h"

#include <QPainter>

namespace Brevio {

namespace {

// In points.
constexpr double cornerRadius = 6.0;
constexpr int sidePadding = 12;
constexpr int minimumButtonHeight = 28;
constexpr double ringWidth = 2.0;

} // namespace

FormButton::FormButton(const QString &title, QWidget *parent)
    : QPushButton(title, parent)
{
    setAutoDefault(false);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize FormButton::sizeHint() const
{
    const QSize text = fontMetrics().size(Qt::TextShowMnemonic, this->text());
    return {text.width() + 2 * sidePadding,
            qMax(minimumButtonHeight, text.height() + 2 * qCeil(ringWidth))};
}

void FormButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF shape = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(FormColors::buttonFill(palette(), isDown()       ? FormColors::Press::Down
                                                       : underMouse() ? FormColors::Press::Near
                                                                      : FormColors::Press::None));
    painter.drawRoundedRect(shape, cornerRadius, cornerRadius);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
    if (FormColors::showsFocus(*this)) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(FormColors::focusRing(palette()), ringWidth));
        painter.drawRoundedRect(shape, cornerRadius, cornerRadius);
    }
}

} // namespace Brevio
