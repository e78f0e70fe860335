// What the controller does while Option is held: what is said is shown below the text that was
// there, live, and becomes the note's when the key comes up.

#include "Brevio/CardController.h"

#include "Brevio/BoundedTextView.h"
#include "Brevio/CardContentView.h"
#include "Brevio/CardPanel.h"
#include "Brevio/GridContentView.h"
#include "Brevio/NoteStore.h"
#include "Brevio/Speech.h"

#include <utility>

namespace Brevio {

namespace {

/// What was heard stands on lines of its own.
QString joined(const QString &base, const QString &transcript)
{
    return base.isEmpty() || transcript.isEmpty() ? base + transcript : base + u'\n' + transcript;
}

} // namespace

void CardController::beginDictation(bool mayAsk)
{
    m_content->textView()->setDictating(true);
    m_preDictationBody = m_content->textView()->text();
    m_dictated.reset();
    if (mayAsk || !m_dictation->asksFirst())
        m_dictation->start();
}

void CardController::endDictation()
{
    if (!m_preDictationBody)
        return;
    m_content->textView()->setDictating(false);
    (void)m_dictation->stop(); // the card shows what was heard, as far as it fits
    const QString base = *std::exchange(m_preDictationBody, std::nullopt);
    const QString shown = m_content->textView()->text();
    if (shown != base)
        flushTextToStore();
    m_dictated = {m_activeNoteID, base, shown};
}

void CardController::dropDictation()
{
    if (m_preDictationBody) {
        m_content->textView()->setDictating(false);
        (void)m_dictation->stop();
        m_preDictationBody.reset();
    }
    m_dictation->dropFinalResult();
    m_dictated.reset();
}

void CardController::noteEdit()
{
    m_dictated.reset();
    if (!m_preDictationBody)
        return;
    // What is typed stays, and so does what was heard before it: from here on both are the base.
    m_preDictationBody = m_content->textView()->text();
    if (!m_dictation->transcript().isEmpty())
        m_dictation->start();
}

bool CardController::fitsOnCard(const QString &text) const
{
    const BoundedTextView &view = *m_content->textView();
    return view.usedHeight(text) <= view.maxVisibleHeight + BoundedTextView::heightTolerance;
}

QString CardController::moveBase(const QString &base)
{
    QString heard = m_content->textView()->text().mid(m_preDictationBody->size());
    if (!m_preDictationBody->isEmpty())
        heard.remove(0, 1); // the line feed between them
    m_preDictationBody = base;
    const QString text = joined(base, heard);
    return fitsOnCard(text) ? text : base;
}

void CardController::applyLivePartial(const QString &transcript)
{
    if (!m_preDictationBody)
        return;
    const QString text = joined(*m_preDictationBody, transcript);
    const bool fits = fitsOnCard(text);
    m_content->textView()->setText(fits ? text : *m_preDictationBody);
    if (!fits)
        m_panel->shake();
}

void CardController::applyFinalResult(const QString &transcript)
{
    const auto dictated = std::exchange(m_dictated, std::nullopt);
    if (!dictated)
        return;
    const QString text = joined(dictated->base, transcript);
    if (text == dictated->shown || !fitsOnCard(text))
        return;
    if (dictated->isOnCard) {
        m_content->textView()->setText(text);
        flushTextToStore();
    } else if (!dictated->note) {
        // Kept before a word of it was recognised.
        m_store.setBody(m_store.newNote(), text);
    } else if (const auto note = m_store.note(*dictated->note);
               note && note->body == dictated->shown) {
        m_store.setBody(note->id, text);
        if (note->id == m_activeNoteID) // opened again
            loadNote(note->id);
    }
    if (m_mode == CardMode::Grid)
        m_grid->reload(m_store.notes(), m_activeNoteID);
}

} // namespace Brevio
