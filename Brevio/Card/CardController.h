#pragma once

#include "Brevio/Notes/Note.h"
#include "Platform/Core/Observable.h"

#include <QObject>

#include <memory>
#include <optional>

namespace Platform {
class Appearance;
class AudioEngine;
class MainQueue;
class Permissions;
class Screens;
class SpeechRecognizers;
class SpellChecker;
class UserDefaults;
struct KeyEvent;
enum class EventVerdict;
} // namespace Platform

namespace Brevio {

class CardContentView;
class CardDictation;
class CardPanel;
class FaceFades;
class GridContentView;
class NoteStore;
class Settings;
struct Correction;

/// Which face the panel shows.
enum class CardMode { Card, Grid };

/// The hub: owns the panel and its views, knows which note the card is editing, and turns every
/// gesture (shortcut, menu command, key, click) into store operations and view changes. Every user
/// edit is in the store before the event that made it ends; keeping a card means leaving it there,
/// discarding it means undoing that. One per process, owned by the application delegate, which
/// outlives it. Main thread only.
class CardController final : public QObject
{
    Q_OBJECT

public:
    /// What the desktop provides; each must outlive the controller.
    struct Services
    {
        Platform::Appearance &appearance;
        Platform::MainQueue &queue;
        Platform::Screens &screens;
        Platform::UserDefaults &defaults;
        Platform::AudioEngine &audioEngine;
        Platform::SpeechRecognizers &recognizers;
        Platform::Permissions &permissions;
        Platform::SpellChecker *spelling = nullptr; ///< without one nothing is marked
    };

    /// Builds everything and registers the summon shortcut's action. Shows nothing.
    CardController(NoteStore &store, Settings &settings, const Services &services);
    ~CardController() override;

    [[nodiscard]] CardPanel &panel() const { return *m_panel; }
    [[nodiscard]] GridContentView &grid() const { return *m_grid; }
    [[nodiscard]] NoteStore &store() const { return m_store; }
    [[nodiscard]] CardMode mode() const { return m_mode; }
    /// The note the card edits; none while a new card has no text yet and after a dismissal. The
    /// note may have been deleted since.
    [[nodiscard]] const std::optional<QUuid> &activeNoteID() const { return m_activeNoteID; }

    /// Shows the card with the pending welcome note, else with a new note.
    void showFreshCard();
    /// Hidden: shows a fresh card. Not key: takes the keyboard. Key: keeps the card and hides, or
    /// returns from the grid.
    void toggleSummon();
    /// Keeps the card and hides the panel, "Note saved" when there is something to keep.
    void commitAndDismiss();
    /// Undoes the card's edits, or deletes a card begun here, and hides the panel.
    void discardAndDismiss();
    /// Pins or unpins the active note; nothing on a blank new card.
    void togglePinOnActive();
    void enterGridMode();
    /// Takes the panel away without a word and keeps what is on the card.
    void hide();

private:
    void installViewCallbacks();
    void installKeyMonitor();
    void registerSummonHotkey();

    Platform::EventVerdict handleKeyDown(const Platform::KeyEvent &event);
    void handleFlagsChanged(const Platform::KeyEvent &event);

    /// The active note gets the text; the first that is not blank creates it. Called in every edit,
    /// so that nothing is ever left to be stored.
    void storeText(const QString &text);
    /// Puts words that were recognised late into the note that the card has left, or a new one,
    /// which is returned; none when there is no place for them any more.
    std::optional<QUuid> storeLateText(const std::optional<QUuid> &id,
                                       const Correction &correction);
    void discardActiveIfEmpty();
    void loadNote(const QUuid &id);
    void beginNewNote();
    void loadFreshCard();
    void presentCardFace();
    /// From here on the card edits no note; the next text on it makes a new one.
    void leaveNote();
    /// Shows what has changed in the store but not on the card, without taking anything from under
    /// the user's hands.
    void followStore();
    /// False, and nothing happens, when the card has that text already.
    [[nodiscard]] bool showTextOf(const Note &note);
    void showPinOf(const Note &note);
    /// Leaves the grid for the note, or for a blank card when there is none.
    void exitGridMode(std::optional<QUuid> focusing);
    void toggleThumbPin(const QUuid &id);
    void deleteFromGrid(const QUuid &id);

    /// Takes the panel away, at once or after the message.
    void orderOut(const QString &message = {});
    void focusFace();
    /// Nothing happens while the panel is hidden or has it.
    void takeKeyboardBack();

    NoteStore &m_store;
    std::unique_ptr<CardPanel> m_panel;
    // Children of the panel.
    CardContentView *m_content;
    GridContentView *m_grid;
    std::unique_ptr<FaceFades> m_fades;

    CardMode m_mode = CardMode::Card;
    std::optional<QUuid> m_activeNoteID;
    /// What a discard goes back to; none for a note begun on this card, also once it has a record.
    std::optional<Note> m_openedNote;

    bool m_optionHeld = false;
    std::unique_ptr<CardDictation> m_dictation;

    Platform::Subscription m_keyMonitor;
    Platform::Subscription m_mergeSubscription;
};

} // namespace Brevio
