#include "Brevio/Text/BoundedTextView.h"

#include "Brevio/Text/MicrophoneCursor.h"
#include "Brevio/Text/PlainText.h"
#include "Brevio/Text/TextDifference.h"
#include "Brevio/Text/TextMeasure.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <cmath>
#include <utility>

namespace Brevio {

namespace {

/// How far above `maxVisibleHeight` a text may stand, in points.
constexpr double heightTolerance = 1.0;
/// A pasted text longer than this is first tried by its beginning.
constexpr qsizetype longPaste = 8192;

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
    setCursorWidth(0); // the marks have the caret

    // With nothing to scroll to, no wheel, key, drag or caret can scroll.
    for (QScrollBar *bar : {verticalScrollBar(), horizontalScrollBar()}) {
        connect(bar, &QScrollBar::rangeChanged, bar, [bar](int first, int last) {
            if (first != 0 || last != 0)
                bar->setRange(0, 0);
        });
    }
    connect(document(), &QTextDocument::contentsChanged, this, &BoundedTextView::noticeEdit);
    connect(this, &QTextEdit::cursorPositionChanged, this, &BoundedTextView::rememberSelection);
    connect(this, &QTextEdit::selectionChanged, this, &BoundedTextView::rememberSelection);
    connect(&appearance, &Platform::Appearance::changed, this, &BoundedTextView::updateCursor);
    setText({});
}

QString BoundedTextView::text() const
{
    const QString shown = shownText();
    return shown == m_givenShown ? m_given : shown;
}

/// As the document holds it, position for position.
QString BoundedTextView::shownText() const
{
    return PlainText::of(*document());
}

void BoundedTextView::setText(const QString &text)
{
    const QScopedValueRollback replacing(m_isReplacing, true);
    if (std::exchange(m_isComposing, false))
        QGuiApplication::inputMethod()->reset();
    setPlainText(text);
    document()->setUndoRedoEnabled(false);
    TextMeasure::applyLayout(*document(), font());
    document()->setUndoRedoEnabled(true);
    moveCursor(QTextCursor::End);
    adopt(text);
}

void BoundedTextView::updateText(const QString &text)
{
    const QScopedValueRollback replacing(m_isReplacing, true);
    // A cursor of the document's own would select what is added right behind it.
    QTextCursor cursor = textCursor();
    const int anchor = cursor.anchor();
    const int caret = cursor.position();
    const auto difference = applyDifference(*document(), shownText(), text);
    document()->clearUndoRedoStacks();
    cursor.setPosition(static_cast<int>(difference.moved(anchor)));
    cursor.setPosition(static_cast<int>(difference.moved(caret)), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    adopt(text);
}

/// The document shows the text now.
void BoundedTextView::adopt(const QString &text)
{
    m_seenText = shownText();
    m_givenShown = m_seenText;
    m_given = text;
    clipToWholeLines(usedHeight(m_seenText));
    recordValidState();
}

/// Makes the text and selection shown now the ones that a refused edit returns to.
void BoundedTextView::recordValidState()
{
    m_validText = shownText();
    m_validUndoSteps = document()->availableUndoSteps();
    m_validRevision = document()->revision();
    rememberSelection();
}

double BoundedTextView::bound() const
{
    return maxVisibleHeight + heightTolerance;
}

double BoundedTextView::usedHeight(const QString &text) const
{
    // Twice the bound is enough to know by how far a text is too tall to be shown.
    return TextMeasure::usedHeight(text, font(), TextMeasure::containerWidth, 2.0 * bound());
}

bool BoundedTextView::fits(const QString &text) const
{
    return usedHeight(text) <= bound();
}

void BoundedTextView::setDictating(bool dictating)
{
    m_isDictating = dictating;
    updateCursor();
}

void BoundedTextView::startSpelling(Platform::SpellChecker &checker, Platform::MainQueue &queue)
{
    m_spelling.start(checker, queue);
    m_menu.start(checker, queue);
}

void BoundedTextView::setColors(const QColor &ink, const QColor &selection)
{
    m_marks.setColors(ink, selection);
    QPalette colors = palette();
    colors.setColor(QPalette::Text, ink);
    colors.setColor(QPalette::HighlightedText, ink);
    colors.setColor(QPalette::Highlight, Qt::transparent);
    colors.setColor(QPalette::Base, Qt::transparent);
    setPalette(colors);
}

void BoundedTextView::setTextFont(const QFont &font)
{
    setFont(font);
    setText(text());
}

void BoundedTextView::keyPressEvent(QKeyEvent *event)
{
    // The menu key comes as an event for the menu, its other form does not.
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        m_menu.showAtCaret();
        return;
    }
    const QString before = m_validText;
    editDuring([&] {
        // In an empty line the base class would take the format away instead, its height with it.
        if (event->matches(QKeySequence::InsertParagraphSeparator))
            textCursor().insertBlock();
        else
            QTextEdit::keyPressEvent(event);
    });
    if (m_validText != before && !m_isComposing)
        m_typingAids.keyWasTyped(event->text());
}

void BoundedTextView::inputMethodEvent(QInputMethodEvent *event)
{
    m_isComposing = !event->preeditString().isEmpty();
    const bool commits = !m_isComposing || !event->commitString().isEmpty();
    ++m_eventDepth;
    // What was composed would stay in sight, in the line where a commit of several lines begins:
    // the base class looks for it in the one where it ends.
    QInputMethodEvent nothingComposed;
    if (event->commitString().contains(u'\n'))
        QTextEdit::inputMethodEvent(&nothingComposed);
    QTextEdit::inputMethodEvent(event);
    --m_eventDepth;
    if (commits)
        judge();
    viewport()->update();
}

void BoundedTextView::dropEvent(QDropEvent *event)
{
    editDuring([&] { QTextEdit::dropEvent(event); });
    // Whoever believes that text was moved here deletes it, also when it was refused.
    if (!event->source())
        event->setDropAction(Qt::CopyAction);
}

void BoundedTextView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        m_menu.showAtCaret();
    else
        m_menu.showAt(viewport()->mapFromGlobal(event->globalPos()));
}

void BoundedTextView::insertFromMimeData(const QMimeData *source)
{
    if (!source->hasText())
        return;
    QString pasted = source->text();
    // Far too much text would be laid out for seconds only to be refused: a beginning of it that
    // is refused for certain stands for the whole.
    if (pasted.size() > longPaste && usedHeight(pasted.left(longPaste)) > 2.0 * bound())
        pasted.truncate(longPaste);
    // A step of its own: the document joins adjacent insertions unless it counts as unmodified.
    document()->setModified(false);
    textCursor().insertText(pasted);
    document()->setModified(false);
}

QMimeData *BoundedTextView::createMimeDataFromSelection() const
{
    auto *plain = new QMimeData;
    plain->setText(PlainText::of(textCursor()));
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
    viewport()->update();
    // Undo, cut and delete chosen from the menu come with no event of ours.
    if (m_eventDepth == 0)
        judge();
}

void BoundedTextView::judge()
{
    if (m_isReplacing)
        return;
    const QString current = shownText();
    if (current != m_seenText) {
        m_seenText = current;
        if (textDidChange)
            textDidChange();
        if (shownText() != current)
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
    if (height > bound() && !shortens) {
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
        if (std::exchange(m_isComposing, false))
            QGuiApplication::inputMethod()->reset();
        // What was composed leaves its space in the layout unless it is taken back in so many
        // words.
        QInputMethodEvent nothingComposed;
        QTextEdit::inputMethodEvent(&nothingComposed);

        do {
            document()->undo();
        } while (document()->availableUndoSteps() > m_validUndoSteps);
        // Typed characters are one step with the ones before them, which were accepted.
        if (const QString undone = shownText(); undone != m_validText)
            applyDifference(*document(), undone, m_validText);
        document()->clearUndoRedoStacks(QTextDocument::RedoStack);

        QTextCursor cursor = textCursor();
        cursor.setPosition(m_validAnchor);
        cursor.setPosition(m_validPosition, QTextCursor::KeepAnchor);
        setTextCursor(cursor);
        document()->markContentsDirty(0, document()->characterCount());
        recordValidState();
        m_seenText = m_validText;
    }
    if (textDidChange)
        textDidChange();
    if (onRejectedEdit)
        onRejectedEdit();
}

void BoundedTextView::rememberSelection()
{
    if (m_isComposing || document()->revision() != m_validRevision)
        return;
    m_validAnchor = textCursor().anchor();
    m_validPosition = textCursor().position();
}

/// A note too tall for this card shows as many lines as are whole.
void BoundedTextView::clipToWholeLines(double height)
{
    if (height <= bound()) {
        viewport()->clearMask();
        return;
    }
    const double line = TextMeasure::lineHeight(font());
    viewport()->setMask(
        QRegion(0, 0, width(), static_cast<int>(std::floor(bound() / line) * line)));
}

void BoundedTextView::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(viewport());
        m_marks.paintSelection(painter);
    }
    QTextEdit::paintEvent(event);
    QPainter painter(viewport());
    m_spelling.paint(painter);
    m_marks.paintCaret(painter);
}

void BoundedTextView::updateCursor()
{
    viewport()->setCursor(m_isDictating ? microphoneCursor(m_appearance.scheme())
                                        : QCursor(Qt::IBeamCursor));
}

} // namespace Brevio
