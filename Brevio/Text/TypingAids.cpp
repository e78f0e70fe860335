#include "Brevio/Text/TypingAids.h"

#include "Brevio/Text/PlainText.h"

#include <QTextEdit>

#include <utility>

namespace Brevio {

namespace {

/// A dash and a quotation mark can fall due with one key.
constexpr int mostAtOnce = 3;

} // namespace

TypingAids::TypingAids(QTextEdit &view, std::function<bool(const QString &text)> fits)
    : m_view(view)
    , m_fits(std::move(fits))
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
    for (int made = 0; made < mostAtOnce; ++made) {
        QTextCursor cursor = m_view.textCursor();
        QString text = PlainText::of(*m_view.document());
        const QStringView written = QStringView(text).left(cursor.position());
        if (cursor.hasSelection() || (made == 0 && !written.endsWith(key)))
            return;
        const auto substitution = m_substitutions->afterTyping(written);
        if (!substitution)
            return;
        const auto &[start, length, put] = *substitution;
        text.replace(start, length, put);
        if (!m_fits(text))
            return;
        // Undo puts the caret back to where the editing began.
        cursor.beginEditBlock();
        cursor.setPosition(static_cast<int>(start));
        cursor.setPosition(static_cast<int>(start + length), QTextCursor::KeepAnchor);
        cursor.insertText(put);
        cursor.endEditBlock();
        // The document joins what is typed next to this step unless it counts as unmodified.
        m_view.document()->setModified(false);
    }
}

} // namespace Brevio
