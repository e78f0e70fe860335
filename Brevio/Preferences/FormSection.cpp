#include "Brevio/Preferences/FormSection.h"

#include "Brevio/Preferences/FormColors.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace Brevio {

namespace {

// In points.
constexpr double cornerRadius = 10.0;
constexpr int sideMargin = 14;
constexpr int rowMargin = 5;
constexpr int rowHeight = 34;
constexpr int noteBottomMargin = 10;
/// Below the base font's size.
constexpr double captionStep = 1.0;

} // namespace

FormSection::FormSection(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(sideMargin, rowMargin, sideMargin, rowMargin);
    m_layout->setSpacing(2 * rowMargin + 1);
}

void FormSection::addRow(QWidget *row)
{
    row->setMinimumHeight(qMax(rowHeight, row->sizeHint().height()));
    m_layout->addWidget(row);
    m_rows.append(row);
}

void FormSection::addNote(QWidget *note)
{
    note->setContentsMargins(0, -2 * rowMargin, 0, noteBottomMargin - rowMargin);
    m_layout->addWidget(note);
}

void FormSection::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(FormColors::edge(palette()));
    painter.setBrush(FormColors::sheet(palette()));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                            cornerRadius);

    painter.setRenderHint(QPainter::Antialiasing, false);
    bool isFirst = true;
    for (const QWidget *row : m_rows) {
        if (row->isHidden())
            continue;
        if (!isFirst)
            painter.fillRect(sideMargin, row->y() - rowMargin - 1, width() - 2 * sideMargin, 1,
                             FormColors::separator(palette()));
        isFirst = false;
    }
}

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
