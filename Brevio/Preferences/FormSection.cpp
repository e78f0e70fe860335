#include "Brevio/Preferences/FormSection.h"

#include "Brevio/Preferences/FormColors.h"

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

} // namespace Brevio
