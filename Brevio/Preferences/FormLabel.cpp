#include "Brevio/Preferences/FormLabel.h"

#include "Brevio/Preferences/FormColors.h"

#include <QEvent>

namespace Brevio {

namespace {

/// Below the base font's size, in points.
constexpr double captionStep = 1.0;

} // namespace

FormLabel::FormLabel(Kind kind, const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    QFont font = this->font();
    if (kind == Kind::Header)
        font.setBold(true);
    else
        font.setPointSizeF(font.pointSizeF() - captionStep);
    setFont(font);
    setWordWrap(kind == Kind::Caption);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    applyColor();
}

void FormLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_isApplying)
        applyColor();
}

void FormLabel::applyColor()
{
    m_isApplying = true;
    QPalette dimmed;
    dimmed.setColor(
        QPalette::WindowText,
        FormColors::secondaryText(parentWidget() ? parentWidget()->palette() : QPalette()));
    setPalette(dimmed);
    m_isApplying = false;
}

} // namespace Brevio
