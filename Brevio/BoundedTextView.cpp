#include "Brevio/BoundedTextView.h"

#include "Brevio/TextMeasure.h"
#include "Platform/Screen/Fonts.h"
#include "Platform/Screen/Symbols.h"

#include <QAbstractTextDocumentLayout>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyleHints>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

constexpr double microphonePoints = 18.0;
constexpr double caretWidth = 1.5;
/// How much of the line's height the caret leaves free, above and below.
constexpr double caretInset = 2.0;
/// A pasted text longer than this is first tried by its beginning.
constexpr qsizetype longPaste = 8192;

QCursor makeMicrophoneCursor(const QColor &tint)
{
    const double ratio = qGuiApp->devicePixelRatio();
    QPixmap image = QPixmap::fromImage(
        Platform::Symbols::image(QStringLiteral("mic.fill"), microphonePoints, tint, ratio,
                                 Platform::Symbols::Weight::Semibold));
    constexpr int center = static_cast<int>(microphonePoints / 2.0);
    return QCursor(image, center, center);
}

const QCursor &microphoneCursor(Platform::ColorScheme scheme)
{
    static const QCursor light = makeMicrophoneCursor(Qt::black);
    static const QCursor dark = makeMicrophoneCursor(Qt::white);
    return scheme == Platform::ColorScheme::Dark ? dark : light;
}

QString withLineFeeds(QString text)
{
    text.replace(QChar::ParagraphSeparator, u'\n');
    text.replace(QChar::LineSeparator, u'\n');
    return text;
}

/// Turns the document's text into another by one edit that touches only where they differ.
void applyDifference(QTextDocument *document, const QString &from, const QString &to)
{
    const qsizetype shorter = std::min(from.size(), to.size());
    const auto prefix =
        std::mismatch(from.begin(), from.begin() + shorter, to.begin()).first - from.begin();
    qsizetype suffix = 0;
    while (suffix < shorter - prefix &&
           from[from.size() - 1 - suffix] == to[to.size() - 1 - suffix])
        ++suffix;
    QTextCursor cursor(document);
    cursor.setPosition(static_cast<int>(prefix));
    cursor.setPosition(static_cast<int>(from.size() - suffix), QTextCursor::KeepAnchor);
    cursor.insertText(to.mid(prefix, to.size() - suffix - prefix));
}

} // namespace

BoundedTextView::BoundedTextView(Platform::Appearance &appearance, QWidget *parent)
    : QTextEdit(parent)
    , m_appearance(appearance)
{
    setAccessibleName(QStringLiteral("Card"));
    setAcceptRichText(false);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    // The base class draws its caret in inverted colours and as tall as a neighbouring glyph of
    // another font; ours is in the ink, and even.
    setCursorWidth(0);

    // With nothing to scroll to, no wheel, key, drag or caret can scroll.
    for (QScrollBar *bar : {verticalScrollBar(), horizontalScrollBar()}) {
        connect(bar, &QScrollBar::rangeChanged, bar, [bar](int first, int last) {
            if (first != 0 || last != 0)
                bar->setRange(0, 0);
        });
    }
    connect(document(), &QTextDocument::contentsChanged, this, &BoundedTextView::noticeEdit);
    connect(this, &QTextEdit::cursorPositionChanged, this, [this] {
        rememberSelection();
        restartBlinking();
    });
    connect(this, &QTextEdit::selectionChanged, this, [this] {
        rememberSelection();
        // The bands reach further than the rectangles that the base class repaints.
        viewport()->update();
    });
    connect(&appearance, &Platform::Appearance::changed, this, &BoundedTextView::updateCursor);
    setText({});
}

QString BoundedTextView::text() const
{
    // QTextDocument's plain text would turn every no-break space into a space.
    return withLineFeeds(document()->toRawText());
}

void BoundedTextView::setText(const QString &text)
{
    const QScopedValueRollback replacing(m_isReplacing, true);
    if (m_isComposing)
        QGuiApplication::inputMethod()->reset();
    m_isComposing = false;
    setPlainText(text);
    document()->setUndoRedoEnabled(false);
    TextMeasure::applyLayout(*document(), font());
    document()->setUndoRedoEnabled(true);
    moveCursor(QTextCursor::End);
    m_seenText = this->text();
    clipToWholeLines(usedHeight(m_seenText));
    recordValidState();
}

void BoundedTextView::recordValidState()
{
    m_validText = text();
    m_validUndoSteps = document()->availableUndoSteps();
    m_validRevision = document()->revision();
    rememberSelection();
}

double BoundedTextView::usedHeight(const QString &text) const
{
    // Twice the bound is enough to know by how far a text is too tall to be shown.
    return TextMeasure::usedHeight(text, font(), TextMeasure::containerWidth,
                                   2.0 * (maxVisibleHeight + heightTolerance));
}

void BoundedTextView::setDictating(bool dictating)
{
    m_isDictating = dictating;
    updateCursor();
}

void BoundedTextView::setColors(const QColor &ink, const QColor &selection)
{
    m_selectionColor = selection;
    QPalette colors = palette();
    colors.setColor(QPalette::Text, ink);
    colors.setColor(QPalette::HighlightedText, ink);
    colors.setColor(QPalette::Highlight, Qt::transparent);
    colors.setColor(QPalette::Base, Qt::transparent);
    setPalette(colors);
    viewport()->update();
}

void BoundedTextView::setTextFont(const QFont &font)
{
    setFont(font);
    setText(text());
}

void BoundedTextView::keyPressEvent(QKeyEvent *event)
{
    editDuring([&] { QTextEdit::keyPressEvent(event); });
}

void BoundedTextView::inputMethodEvent(QInputMethodEvent *event)
{
    m_isComposing = !event->preeditString().isEmpty();
    const auto attributes = event->attributes();
    m_isComposedCaretHidden = std::any_of(attributes.begin(), attributes.end(), [](const auto &a) {
        return a.type == QInputMethodEvent::Cursor && a.length == 0;
    });
    const bool commits = !m_isComposing || !event->commitString().isEmpty();
    ++m_eventDepth;
    QTextEdit::inputMethodEvent(event);
    --m_eventDepth;
    if (commits)
        judge();
    restartBlinking();
    viewport()->update();
}

void BoundedTextView::dropEvent(QDropEvent *event)
{
    editDuring([&] { QTextEdit::dropEvent(event); });
}

void BoundedTextView::insertFromMimeData(const QMimeData *source)
{
    if (!source->hasText())
        return;
    QString pasted = source->text();
    // Far too much text would be laid out for seconds only to be refused: a beginning of it that
    // is refused for certain stands for the whole.
    const double bound = 2.0 * (maxVisibleHeight + heightTolerance);
    if (pasted.size() > longPaste &&
        TextMeasure::usedHeight(QStringView(pasted).first(longPaste), font(),
                                TextMeasure::containerWidth, bound) > bound)
        pasted.truncate(longPaste);
    textCursor().insertText(pasted);
    ensureCursorVisible();
}

QMimeData *BoundedTextView::createMimeDataFromSelection() const
{
    auto *plain = new QMimeData;
    plain->setText(withLineFeeds(textCursor().selectedText()));
    return plain;
}

/// Lets the base class handle an event and judges its edit afterwards, when the base class no
/// longer stands in the middle of it.
void BoundedTextView::editDuring(const std::function<void()> &handleEvent)
{
    ++m_eventDepth;
    handleEvent();
    if (--m_eventDepth == 0)
        judge();
}

void BoundedTextView::noticeEdit()
{
    if (m_isReplacing)
        return;
    viewport()->update();
    // Undo, cut and delete chosen from the menu come with no event of ours.
    if (m_eventDepth == 0)
        judge();
}

void BoundedTextView::judge()
{
    if (m_isReplacing)
        return;
    const QString current = text();
    if (current != m_seenText) {
        m_seenText = current;
        if (textDidChange)
            textDidChange();
        if (text() != current)
            return;
    }
    if (current == m_validText) {
        if (document()->revision() != m_validRevision)
            recordValidState();
        return;
    }
    const double height = usedHeight(current);
    // A note that already was too tall, written where more fits on a card, can be shortened.
    const bool shortens = current.size() < m_validText.size() && height <= usedHeight(m_validText);
    if (height > maxVisibleHeight + heightTolerance && !shortens) {
        rollBack();
        return;
    }
    clipToWholeLines(height);
    recordValidState();
}

void BoundedTextView::rollBack()
{
    {
        const QScopedValueRollback replacing(m_isReplacing, true);
        if (m_isComposing) {
            QGuiApplication::inputMethod()->reset();
            m_isComposing = false;
        }
        // What was composed leaves its space in the layout unless it is taken back in so many
        // words.
        QInputMethodEvent nothingComposed;
        QTextEdit::inputMethodEvent(&nothingComposed);

        do {
            document()->undo();
        } while (document()->availableUndoSteps() > m_validUndoSteps);
        // Typed characters are one step with the ones before them, which were accepted.
        if (const QString undone = text(); undone != m_validText)
            applyDifference(document(), undone, m_validText);
        document()->clearUndoRedoStacks(QTextDocument::RedoStack);

        QTextCursor cursor = textCursor();
        cursor.setPosition(m_validAnchor);
        cursor.setPosition(m_validPosition, QTextCursor::KeepAnchor);
        setTextCursor(cursor);
        document()->markContentsDirty(0, document()->characterCount());
        recordValidState();
        m_seenText = m_validText;
    }
    viewport()->update();
    if (textDidChange)
        textDidChange();
    if (onRejectedEdit)
        onRejectedEdit();
}

void BoundedTextView::rememberSelection()
{
    if (m_isComposing || document()->revision() != m_validRevision)
        return;
    const QTextCursor cursor = textCursor();
    m_validAnchor = cursor.anchor();
    m_validPosition = cursor.position();
}

/// A note too tall for this card shows as many lines as are whole.
void BoundedTextView::clipToWholeLines(double height)
{
    const double bound = maxVisibleHeight + heightTolerance;
    if (height <= bound) {
        viewport()->clearMask();
        return;
    }
    const double line = TextMeasure::lineHeight(font());
    viewport()->setMask(QRegion(0, 0, width(), static_cast<int>(std::floor(bound / line) * line)));
}

void BoundedTextView::paintEvent(QPaintEvent *event)
{
    if (textCursor().hasSelection()) {
        QPainter painter(viewport());
        painter.setClipRegion(selectionBands());
        painter.fillRect(viewport()->rect(), m_selectionColor);
    }
    QTextEdit::paintEvent(event);
    if (m_isCaretOn && !textCursor().hasSelection()) {
        QPainter painter(viewport());
        painter.fillRect(caretRect(), palette().color(QPalette::Text));
    }
}

/// One even band a selected line, to the right edge where the selection goes on to the next line.
QRegion BoundedTextView::selectionBands() const
{
    const QTextCursor cursor = textCursor();
    const int height = static_cast<int>(TextMeasure::lineHeight(font()));
    const int rightEdge = width() - static_cast<int>(TextMeasure::lineFragmentPadding);
    const double left = TextMeasure::lineFragmentPadding;
    QRegion bands;
    int top = 0;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const int from = std::max(cursor.selectionStart() - block.position(), 0);
        const int to = cursor.selectionEnd() - block.position();
        const QTextLayout *layout = block.layout();
        for (int i = 0; i < layout->lineCount(); ++i, top += height) {
            const QTextLine line = layout->lineAt(i);
            const int lineEnd = line.textStart() + line.textLength();
            // Piece by piece, because a run of Hebrew may stand mirrored in the middle.
            for (int c = std::max(from, line.textStart()); c < std::min(to, lineEnd); ++c) {
                const double x1 = line.cursorToX(c, QTextLine::Leading);
                const double x2 = line.cursorToX(c, QTextLine::Trailing);
                const int x = static_cast<int>(std::round(left + std::min(x1, x2)));
                const int end = static_cast<int>(std::round(left + std::max(x1, x2)));
                bands += QRect(x, top, end - x, height);
            }
            if (from <= lineEnd && to > lineEnd) {
                const int x = static_cast<int>(std::round(left + line.cursorToX(lineEnd)));
                bands += QRect(x, top, std::max(rightEdge - x, 0), height);
            }
        }
    }
    return bands;
}

QRectF BoundedTextView::caretRect() const
{
    // The base class knows where in a composed text the caret stands.
    const QRect base = cursorRect();
    const double line = TextMeasure::lineHeight(font());
    const double top = std::floor(base.center().y() / line) * line;
    return {static_cast<double>(base.x()), top + caretInset, caretWidth, line - caretInset};
}

void BoundedTextView::restartBlinking()
{
    const bool shown = hasFocus() && !(m_isComposing && m_isComposedCaretHidden);
    m_isCaretOn = shown;
    const int flashTime = QGuiApplication::styleHints()->cursorFlashTime();
    if (shown && flashTime > 1)
        m_blinkTimer.start(flashTime / 2, this);
    else
        m_blinkTimer.stop();
    viewport()->update();
}

void BoundedTextView::focusInEvent(QFocusEvent *event)
{
    QTextEdit::focusInEvent(event);
    restartBlinking();
}

void BoundedTextView::focusOutEvent(QFocusEvent *event)
{
    QTextEdit::focusOutEvent(event);
    restartBlinking();
}

void BoundedTextView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_blinkTimer.timerId()) {
        QTextEdit::timerEvent(event);
        return;
    }
    m_isCaretOn = !m_isCaretOn;
    viewport()->update(caretRect().toAlignedRect());
}

void BoundedTextView::updateCursor()
{
    viewport()->setCursor(m_isDictating ? microphoneCursor(m_appearance.scheme())
                                        : QCursor(Qt::IBeamCursor));
}

} // namespace Brevio
