#include "Brevio/CardDictation.h"

#include "Brevio/BoundedTextView.h"

#include <algorithm>
#include <utility>

namespace Brevio {

namespace {

/// What was heard stands on lines of its own.
QString joined(const QString &base, const QString &transcript)
{
    return base.isEmpty() || transcript.isEmpty() ? base + transcript : base + u'\n' + transcript;
}

void replaceStart(QString &text, const QString &before, const QString &after)
{
    if (text.startsWith(before))
        text.replace(0, before.size(), after);
}

} // namespace

CardDictation::CardDictation(BoundedTextView &textView, const Dictation::Services &services)
    : m_textView(textView)
    , m_dictation(services)
{
    m_dictation.onAuthorizationSettled = [this] { onAuthorizationSettled(); };
    m_dictation.onPartialResult = [this](const QString &text) { applyLivePartial(text); };
}

void CardDictation::begin(bool mayAsk)
{
    m_textView.setDictating(true);
    m_preDictationBody = m_textView.text();
    if (mayAsk || !m_dictation.asksFirst())
        m_dictation.start();
}

void CardDictation::end()
{
    if (!m_preDictationBody)
        return;
    m_textView.setDictating(false);
    const auto spoken = std::make_shared<Spoken>();
    spoken->base = *std::exchange(m_preDictationBody, std::nullopt);
    spoken->shown = m_textView.text();
    std::erase_if(m_spoken, [](const auto &other) { return other.expired(); });
    m_spoken.push_back(spoken);
    m_dictation.stop([this, spoken](const QString &text) { applyFinalResult(*spoken, text); });
    if (spoken->shown != spoken->base)
        onText(spoken->shown);
}

void CardDictation::drop()
{
    if (std::exchange(m_preDictationBody, std::nullopt)) {
        m_textView.setDictating(false);
        m_dictation.stop();
    }
    settleOnCard();
}

void CardDictation::noteEdit()
{
    settleOnCard();
    if (!m_preDictationBody)
        return;
    m_preDictationBody = m_textView.text();
    if (!m_dictation.transcript().isEmpty())
        m_dictation.start();
}

bool CardDictation::followNote(const QString &body)
{
    const QString shown = m_textView.text();
    const QString before = m_preDictationBody.value_or(shown);
    if (body == before)
        return false;
    settleOnCard();
    QString text = body;
    if (m_preDictationBody) {
        const QString heard = shown.mid(before.isEmpty() ? 0 : before.size() + 1);
        m_preDictationBody = body;
        if (const QString both = joined(body, heard); fits(both))
            text = both;
    }
    m_textView.updateText(text);
    return true;
}

void CardDictation::leaveNote(const std::optional<QUuid> &id)
{
    for (const auto &pending : m_spoken)
        if (const auto spoken = pending.lock(); spoken && std::exchange(spoken->isOnCard, false))
            spoken->note = id;
}

void CardDictation::applyLivePartial(const QString &transcript)
{
    if (!m_preDictationBody)
        return;
    const QString text = joined(*m_preDictationBody, transcript);
    const bool isShown = fits(text);
    m_textView.setText(isShown ? text : *m_preDictationBody);
    if (!isShown)
        onRefused();
}

void CardDictation::applyFinalResult(const Spoken &spoken, const QString &transcript)
{
    const QString before = spoken.shown;
    const QString after = joined(spoken.base, transcript);
    if (spoken.isSettled || after == before || !fits(after))
        return;
    if (!spoken.isOnCard) {
        // Without a note each gets one of its own.
        onLateText(spoken.note, before, after);
    } else {
        // Option may be down again, and more have been heard below.
        QString text = m_textView.text();
        replaceStart(text, before, after);
        if (!fits(text))
            return;
        m_textView.setText(text);
        if (m_preDictationBody)
            replaceStart(*m_preDictationBody, before, after);
        onText(m_preDictationBody.value_or(text));
    }
    // What was spoken below it meanwhile stands on these words.
    for (const auto &pending : m_spoken) {
        const auto later = pending.lock();
        if (later && later->isOnCard == spoken.isOnCard && later->note == spoken.note) {
            replaceStart(later->base, before, after);
            replaceStart(later->shown, before, after);
        }
    }
}

void CardDictation::settleOnCard()
{
    for (const auto &pending : m_spoken)
        if (const auto spoken = pending.lock(); spoken && spoken->isOnCard)
            spoken->isSettled = true;
}

bool CardDictation::fits(const QString &text) const
{
    return m_textView.usedHeight(text) <=
           m_textView.maxVisibleHeight + BoundedTextView::heightTolerance;
}

} // namespace Brevio
