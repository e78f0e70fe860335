#pragma once

#include <QBasicTimer>
#include <QColor>
#include <QObject>
#include <QRectF>
#include <QRegion>

class QPainter;
class QTextEdit;

namespace Brevio {

/// The caret and the selection of the card's text, in the card's own colours and as tall as its
/// lines. (The base class inverts whatever is under its caret, which cannot be faded, and makes
/// both as tall as the tallest glyph beside them.) Owned by the view, which calls the two painting
/// functions from its own. Main thread only.
class TextMarks final : public QObject
{
public:
    /// The view must have a caret of no width and highlight in a transparent colour.
    explicit TextMarks(QTextEdit &view);

    void setColors(const QColor &ink, const QColor &selection);

    /// Beneath the text.
    void paintSelection(QPainter &painter) const;
    /// Above it.
    void paintCaret(QPainter &painter) const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    void restartBlinking();
    [[nodiscard]] QRegion selectionBands() const;
    [[nodiscard]] QRectF caretRect() const;

    QTextEdit &m_view;
    QColor m_ink;
    QColor m_selection;
    QBasicTimer m_blinkTimer;
    bool m_isCaretOn = false;
    bool m_isHiddenByInputMethod = false;
};

} // namespace Brevio
