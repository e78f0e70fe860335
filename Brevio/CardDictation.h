#pragma once

#include "Brevio/Speech.h"

#include <QUuid>

#include <optional>

namespace Brevio {

class BoundedTextView;

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

    /// Keeps what was heard. Nothing happens outside a dictation.
    void end();
    /// Drops what was heard since Option went down, and the last words still missing on this card.
    void drop();

    /// The user has edited the card: what is there now stays as it is, and what is heard from here
    /// on goes below it.
    void noteEdit();
    /// Another machine has changed the text: shows it, above what was heard. False, and nothing
    /// happens, when that is what the card has already.
    [[nodiscard]] bool followNote(const QString &body);
    /// The card is about to show something else; none when its text has no note.
    void leaveNote(const std::optional<QUuid> &id);

    /// The card has a text to be stored: the whole of it, but for what is still being heard.
    std::function<void(const QString &text)> onText;
    /// The last words for a text that has left the card. The note holds the old text, unless it
    /// was edited since; none when the old text was blank and has no note.
    std::function<void(const std::optional<QUuid> &note, const QString &oldText,
                       const QString &newText)>
        onLateText;
    /// What was heard does not fit on the card.
    std::function<void()> onRefused;
    /// The user has answered a question, which had the keyboard.
    std::function<void()> onAuthorizationSettled;

private:
    /// Words that were spoken, as far as the recogniser was when the key came up.
    struct Spoken
    {
        QString base;              ///< the text when Option went down
        QString shown;             ///< and when it came up
        bool isOnCard = true;      ///< the card has not changed to another note since
        bool isSettled = false;    ///< somebody has written since: the words stay as shown
        std::optional<QUuid> note; ///< once it has left the card; see leaveNote()
    };

    void applyLivePartial(const QString &transcript);
    void applyFinalResult(const Spoken &spoken, const QString &transcript);
    void settleOnCard();
    [[nodiscard]] bool fits(const QString &text) const;

    BoundedTextView &m_textView;
    std::optional<QString> m_preDictationBody;   ///< the card's text when Option went down
    std::vector<std::weak_ptr<Spoken>> m_spoken; ///< oldest first; each lives until its last words
    Dictation m_dictation;
};

} // namespace Brevio
