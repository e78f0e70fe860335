#include "Brevio/Text/TextMarks.h"

#include "Brevio/Text/TextMeasure.h"

#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QPainter>
#include <QStyleHints>
#include <QTextBlock>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

constexpr double caretWidth = 1.5;
/// How much of its line the caret leaves free above; below it reaches as far as a descender.
constexpr double caretInset = 2.0;

bool hidesCaret(const QInputMethodEvent &event)
{
    const auto attributes = event.attributes();
    return !event.preeditString().isEmpty() &&
           std::any_of(attributes.begin(), attributes.end(), [](const auto &attribute) {
               return attribute.type == QInputMethodEvent::Cursor && attribute.length == 0;
           });
}

} // namespace

TextMarks::TextMarks(QTextEdit &view)
    : m_view(view)
{
    view.installEventFilter(this);
    connect(&view, &QTextEdit::cursorPositionChanged, this, &TextMarks::restartBlinking);
    // The base class repaints less than a band.
    connect(&view, &QTextEdit::selectionChanged, view.viewport(), qOverload<>(&QWidget::update));
}

void TextMarks::setColors(const QColor &ink, const QColor &selection)
{
    m_ink = ink;
    m_selection = selection;
    m_view.viewport()->update();
}

bool TextMarks::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::InputMethod:
        m_isHiddenByInputMethod = hidesCaret(static_cast<QInputMethodEvent &>(*event));
        restartBlinking();
        break;
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        restartBlinking();
        break;
    default:
        break;
    }
    return false;
}

void TextMarks::restartBlinking()
{
    m_isCaretOn = m_view.hasFocus() && !m_isHiddenByInputMethod;
    const int flashTime = QGuiApplication::styleHints()->cursorFlashTime();
    if (m_isCaretOn && flashTime > 1)
        m_blinkTimer.start(flashTime / 2, this);
    else
        m_blinkTimer.stop();
    m_view.viewport()->update();
}

void TextMarks::timerEvent(QTimerEvent *)
{
    m_isCaretOn = !m_isCaretOn;
    m_view.viewport()->update(caretRect().toAlignedRect());
}

void TextMarks::paintSelection(QPainter &painter) const
{
    if (!m_view.textCursor().hasSelection())
        return;
    painter.setClipRegion(selectionBands());
    painter.fillRect(m_view.viewport()->rect(), m_selection);
}

void TextMarks::paintCaret(QPainter &painter) const
{
    if (m_isCaretOn && !m_view.textCursor().hasSelection())
        painter.fillRect(caretRect(), m_ink);
}

/// One band a selected line, to the right edge where the selection goes on to the next line.
QRegion TextMarks::selectionBands() const
{
    const QTextCursor cursor = m_view.textCursor();
    const int height = static_cast<int>(TextMeasure::lineHeight(m_view.font()));
    const double left = TextMeasure::lineFragmentPadding;
    const int rightEdge = m_view.width() - static_cast<int>(left);
    const auto pixel = [left](double x) { return static_cast<int>(std::round(left + x)); };
    QRegion bands;
    int top = 0;
    for (auto block = m_view.document()->begin(); block.isValid(); block = block.next()) {
        const int from = std::max(cursor.selectionStart() - block.position(), 0);
        const int to = cursor.selectionEnd() - block.position();
        const QTextLayout *layout = block.layout();
        for (int i = 0; i < layout->lineCount(); ++i, top += height) {
            const QTextLine line = layout->lineAt(i);
            const int lineEnd = line.textStart() + line.textLength();
            // Piece by piece, because a run of Hebrew may stand mirrored in the middle.
            for (int c = std::max(from, line.textStart()); c < std::min(to, lineEnd); ++c) {
                const auto [x, end] = std::minmax({pixel(line.cursorToX(c, QTextLine::Leading)),
                                                   pixel(line.cursorToX(c, QTextLine::Trailing))});
                bands += QRect(x, top, end - x, height);
            }
            if (from <= lineEnd && to > lineEnd) {
                const int x = pixel(line.cursorToX(lineEnd));
                bands += QRect(x, top, std::max(rightEdge - x, 0), height);
            }
        }
    }
    return bands;
}

QRectF TextMarks::caretRect() const
{
    // The base class knows where in a composed text the caret stands.
    const QRect base = m_view.cursorRect();
    const double line = TextMeasure::lineHeight(m_view.font());
    const double top = std::floor(base.center().y() / line) * line;
    return {static_cast<double>(base.x()), top + caretInset, caretWidth, line - caretInset};
}

} // namespace Brevio
