#include "Brevio/TypingAids.h"

#include "Brevio/BoundedTextView.h"

#include <QTextDocument>

#include <utility>

namespace Brevio {

namespace {

/// A dash and a quotation mark can fall due with one key.
constexpr int mostAtOnce = 3;

} // namespace

TypingAids::TypingAids(BoundedTextView &view)
    : m_view(view)
{}

void TypingAids::start(Substitutions substitutions)
{
    m_substitutions = std::move(substitutions);
}

void TypingAids::keyWasTyped(const QString &typed)
{
    if (!m_substitutions || typed.size() != 1)
        return;
    const QChar key = typed.front() == u'\r' ? QChar(u'\n') : typed.front();
    const int revision = m_view.document()->revision();
    if (std::exchange(m_revision, revision) == revision || (!key.isPrint() && key != u'\n'))
        return;
    for (int made = 0; made < mostAtOnce; ++made) {
        QTextCursor cursor = m_view.textCursor();
        if (cursor.hasSelection())
            return;
        QTextCursor before = cursor;
        before.setPosition(0);
        before.setPosition(cursor.position(), QTextCursor::KeepAnchor);
        QString text = before.selectedText();
        text.replace(QChar::ParagraphSeparator, u'\n');
        text.replace(QChar::LineSeparator, u'\n');
        if (made == 0 && !text.endsWith(key))
            return;
        const auto substitution = m_substitutions->afterTyping(text);
        if (!substitution || !fits(*substitution))
            return;
        // Undo puts the caret back to where the editing began.
        cursor.beginEditBlock();
        cursor.setPosition(static_cast<int>(substitution->start));
        cursor.setPosition(static_cast<int>(substitution->start + substitution->length),
                           QTextCursor::KeepAnchor);
        cursor.insertText(substitution->text);
        cursor.endEditBlock();
        // The document joins what is typed next to this step unless it counts as unmodified.
        m_view.document()->setModified(false);
        m_revision = m_view.document()->revision();
    }
}

bool TypingAids::fits(const Substitutions::Substitution &substitution) const
{
    QString text = m_view.text();
    if (substitution.start + substitution.length > text.size())
        return false;
    text.replace(substitution.start, substitution.length, substitution.text);
    return m_view.usedHeight(text) <= m_view.maxVisibleHeight + BoundedTextView::heightTolerance;
}

} // namespace Brevio
