#pragma once

#include "Brevio/Card/Speech.h"

#include <QUuid>

#include <optional>

namespace Brevio {

class BoundedTextView;

/// What the last words make of the text they were spoken into.
struct Correction
{
    QString before;
    QString after;

    /// Also of a text that has got more lines below. False, and nothing happens, when it does not
    /// start with those lines: somebody has written there since.
    [[nodiscard]] bool applyTo(QString &text) const;
};

/// What is spoken into the card while Option is held. Shows it live, below the text that was
/// there, and hands the text over to be stored when the key comes up. The recogniser's last words
/// come a moment later and find their way to where they were spoken, whatever the card shows by
/// then. Owns the dictation; knows no notes but by their identifiers. Main thread only.
class CardDictation final
{
public:
    /// The view must outlive this, and so must the services.
    CardDictation(BoundedTextView &textView, const Dictation::Services &services);
    CardDictation(const CardDictation &) = delete;
    CardDictation &operator=(const CardDictation &) = delete;

    /// Option went down on the card. Unless it may ask, nothing is recorded where the user would
    /// have to be asked first.
    void begin(bool mayAsk);
    /// Another key joined Option: no question and no microphone that has not opened yet.
    void callOff() { m_dictation.callOff(); }
    [[nodiscard]] bool asksFirst() const { return m_dictation.asksFirst(); }

    /// Between begin() and end() or drop(). Then what is heard stands below the card's own text.
    [[nodiscard]] bool isUnderWay() const { return m_preDictationBody.has_value(); }
    /// Keeps what was heard. Nothing happens outside a dictation.
    void end();
    /// Drops what was heard since Option went down, and the last words still missing on this card.
    void drop();

    /// The user has edited the card: what is there now stays as it is, and what is heard from here
    /// on goes below it.
    void noteEdit();
    /// Only while it is under way: another machine has changed the text. Shows it, above what was
    /// heard. False, and nothing happens, when that is what was there already.
    [[nodiscard]] bool followNote(const QString &body);
    /// The card is about to show something else; none when its text has no note.
    void leaveNote(const std::optional<QUuid> &id);
    /// Corrects the text on the card and has it stored. False, and nothing happens, when the text
    /// is another by now or would not fit.
    bool correct(const Correction &correction);

    /// The card has a text to be stored: the whole of it, but for what is still being heard.
    std::function<void(const QString &text)> onText;
    /// The last words for a text that has left the card; no note when it was blank. The note that
    /// holds them now; none when they came to nothing.
    std::function<std::optional<QUuid>(const std::optional<QUuid> &note, const Correction &)>
        onLateText;
    /// What was heard does not fit on the card.
    std::function<void()> onRefused;
    /// The user has answered a question, which had the keyboard.
    std::function<void()> onAuthorizationSettled;

private:
    /// The note of a text that has left the card; see leaveNote().
    using Place = std::shared_ptr<std::optional<QUuid>>;

    /// Words that were spoken, as far as the recogniser was when the key came up.
    struct Spoken
    {
        Place place;
        QString base;           ///< the text when Option went down
        QString shown;          ///< and when it came up
        bool isDropped = false; ///< with the card
    };

    void applyLivePartial(const QString &transcript);
    void applyFinalResult(const Spoken &spoken, const QString &transcript);
    void followCorrection(const Place &place, const Correction &correction);

    BoundedTextView &m_textView;
    Place m_place;                               ///< of the text on the card
    std::optional<QString> m_preDictationBody;   ///< the card's text when Option went down
    std::vector<std::weak_ptr<Spoken>> m_spoken; ///< oldest first; each lives until its last words
    Dictation m_dictation;
};

} // namespace Brevio
