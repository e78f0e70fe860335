#include "Brevio/Card/CardDictation.h"

#include "Brevio/Text/BoundedTextView.h"

#include <algorithm>
#include <utility>

namespace Brevio {

namespace {

/// What was heard stands on lines of its own.
QString joined(const QString &base, const QString &transcript)
{
    return base.isEmpty() || transcript.isEmpty() ? base + transcript : base + u'\n' + transcript;
}

} // namespace

bool Correction::applyTo(QString &text) const
{
    const QString below = text.mid(before.size());
    if (!text.startsWith(before) ||
        !(before.isEmpty() || below.isEmpty() || below.startsWith(u'\n')))
        return false;
    if (before.isEmpty())
        text = joined(after, below);
    else
        text = after.isEmpty() ? below.mid(1) : after + below;
    return true;
}

CardDictation::CardDictation(BoundedTextView &textView, const Dictation::Services &services)
    : m_textView(textView)
    , m_place(std::make_shared<Place::element_type>())
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
    spoken->place = m_place;
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
    for (const auto &pending : m_spoken)
        if (const auto spoken = pending.lock(); spoken && spoken->place == m_place)
            spoken->isDropped = true;
}

void CardDictation::noteEdit()
{
    if (!m_preDictationBody)
        return;
    m_preDictationBody = m_textView.text();
    if (!m_dictation.transcript().isEmpty())
        m_dictation.start();
}

bool CardDictation::followNote(const QString &body)
{
    if (body == *m_preDictationBody)
        return false;
    const QString before = *std::exchange(m_preDictationBody, body);
    const QString heard = m_textView.text().mid(before.isEmpty() ? 0 : before.size() + 1);
    const QString both = joined(body, heard);
    m_textView.updateText(m_textView.fits(both) ? both : body);
    return true;
}

void CardDictation::leaveNote(const std::optional<QUuid> &id)
{
    *m_place = id;
    m_place = std::make_shared<Place::element_type>();
}

bool CardDictation::correct(const Correction &correction)
{
    // Option may be down again, and more have been heard below.
    QString text = m_textView.text();
    if (!correction.applyTo(text) || !m_textView.fits(text))
        return false;
    const bool isAtEnd = m_textView.textCursor().atEnd() && !m_textView.textCursor().hasSelection();
    m_textView.updateText(text);
    if (isAtEnd)
        m_textView.moveCursor(QTextCursor::End);
    if (m_preDictationBody)
        (void)correction.applyTo(*m_preDictationBody);
    followCorrection(m_place, correction);
    onText(m_preDictationBody.value_or(text));
    return true;
}

void CardDictation::applyLivePartial(const QString &transcript)
{
    if (!m_preDictationBody)
        return;
    const QString text = joined(*m_preDictationBody, transcript);
    const bool isShown = m_textView.fits(text);
    m_textView.setText(isShown ? text : *m_preDictationBody);
    if (!isShown)
        onRefused();
}

void CardDictation::applyFinalResult(const Spoken &spoken, const QString &transcript)
{
    const Correction correction{spoken.shown, joined(spoken.base, transcript)};
    if (spoken.isDropped || correction.after == correction.before ||
        !m_textView.fits(correction.after))
        return;
    if (spoken.place == m_place) {
        (void)correct(correction);
    } else if (const auto note = onLateText(*spoken.place, correction)) {
        *spoken.place = note;
        followCorrection(spoken.place, correction);
    }
}

/// What was spoken below it meanwhile stands on the corrected words.
void CardDictation::followCorrection(const Place &place, const Correction &correction)
{
    for (const auto &pending : m_spoken) {
        const auto later = pending.lock();
        if (!later || (later->place != place && !(*place && *later->place == *place)))
            continue;
        (void)correction.applyTo(later->base);
        (void)correction.applyTo(later->shown);
    }
}

} // namespace Brevio
