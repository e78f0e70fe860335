#include "Brevio/Card/CardController.h"

#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/CardDictation.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Card/FaceFades.h"
#include "Brevio/Card/RootContainer.h"
#include "Brevio/Card/ToastView.h"
#include "Brevio/Grid/GridContentView.h"
#include "Brevio/Notes/NoteStore.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Platform/Storage/UserDefaults.h"

#include <QCoreApplication>

namespace Brevio {

namespace {

using Face = FaceFades::Face;

bool isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

/// The welcome note of a first run is offered once, whether or not it still exists.
std::optional<QUuid> takePendingWelcome(NoteStore &store)
{
    const auto id = store.pendingWelcomeID();
    store.setPendingWelcomeID(std::nullopt);
    return id;
}

} // namespace

CardController::CardController(NoteStore &store, Settings &, const Services &services)
    : m_store(store)
    , m_panel(std::make_unique<CardPanel>(services.defaults, services.screens, services.queue))
    , m_content(new CardContentView(services.appearance, services.queue))
    , m_grid(new GridContentView(services.appearance, services.queue))
    , m_dictation(std::make_unique<CardDictation>(
          *m_content->textView(), Dictation::Services{services.audioEngine, services.recognizers,
                                                      services.permissions, services.queue}))
{
    auto *toast = new ToastView(services.appearance);
    auto *root = new RootContainer(m_content, m_grid, toast, services.appearance);
    m_panel->setContentView(root);
    m_fades = std::make_unique<FaceFades>(*m_panel, *root, *m_content, *toast, services.queue);
    m_content->setWritingAids(services.spelling,
                              services.defaults.object(QStringLiteral("brevio.textReplacements")));
    installViewCallbacks();
    installKeyMonitor();
    registerSummonHotkey();
}

CardController::~CardController()
{
    // What is still being composed is committed as the panel goes, which outlives the dictation.
    m_content->textView()->textDidChange = nullptr;
}

void CardController::installViewCallbacks()
{
    // The views are ours and die before we do, so the callbacks need no guard.
    m_panel->windowDidMove = [this] { m_panel->persistOrigin(); };
    m_content->textView()->textDidChange = [this] {
        m_dictation->noteEdit();
        storeText(m_content->textView()->text());
    };
    m_content->textView()->onRejectedEdit = [this] { m_panel->shake(); };
    m_content->onGridButtonTapped = [this] {
        if (m_mode == CardMode::Card)
            enterGridMode();
        else
            exitGridMode(m_activeNoteID);
    };
    m_grid->onThumbClick = [this](const QUuid &id) { exitGridMode(id); };
    m_grid->onThumbPinToggle = [this](const QUuid &id) { toggleThumbPin(id); };
    m_grid->onThumbDelete = [this](const QUuid &id) { deleteFromGrid(id); };
    m_grid->onNewCardTapped = [this] { exitGridMode(std::nullopt); };
    m_dictation->onText = [this](const QString &text) {
        storeText(text);
        followStore(); // the grid may be open by now
    };
    m_dictation->onLateText = [this](const auto &note, const Correction &correction) {
        return storeLateText(note, correction);
    };
    m_dictation->onRefused = [this] { m_panel->shake(); };
    m_dictation->onAuthorizationSettled = [this] { takeKeyboardBack(); };
    m_mergeSubscription = m_store.onMerge([this] { followStore(); });
    // Whoever ends the program in the middle of a sentence keeps the first half.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            [this] { m_dictation->end(); });
}

void CardController::showFreshCard()
{
    m_dictation->end();
    loadFreshCard();
    presentCardFace();
}

void CardController::toggleSummon()
{
    if (!m_panel->isVisible()) {
        loadFreshCard();
        presentCardFace();
    } else if (!m_panel->isKeyWindow()) {
        takeKeyboardBack();
    } else if (m_mode == CardMode::Card) {
        commitAndDismiss();
    } else {
        exitGridMode(m_activeNoteID);
    }
}

void CardController::loadFreshCard()
{
    if (const auto welcome = takePendingWelcome(m_store))
        loadNote(*welcome);
    else
        beginNewNote();
}

void CardController::presentCardFace()
{
    m_mode = CardMode::Card;
    m_fades->settle();
    m_panel->restoreOrigin();
    m_panel->makeKeyAndOrderFront();
    focusFace();
}

void CardController::loadNote(const QUuid &id)
{
    const auto note = m_store.note(id);
    if (!note) {
        beginNewNote();
        return;
    }
    leaveNote();
    m_activeNoteID = id;
    m_openedNote = note;
    m_content->textView()->setText(note->body);
    showPinOf(*note);
}

void CardController::beginNewNote()
{
    discardActiveIfEmpty();
    leaveNote();
    m_content->textView()->setText({});
    m_content->setPinIndicatorHidden(true);
}

void CardController::leaveNote()
{
    m_dictation->leaveNote(m_activeNoteID);
    m_activeNoteID.reset();
    m_openedNote.reset();
}

void CardController::followStore()
{
    if (m_mode == CardMode::Grid)
        m_grid->reload(m_store.notes(), m_activeNoteID);
    const auto note = m_activeNoteID ? m_store.note(*m_activeNoteID) : std::nullopt;
    if (!note)
        return;
    showPinOf(*note);
    // A discard takes back what was written here, not what was written elsewhere.
    if (showTextOf(*note) && m_openedNote)
        m_openedNote = note;
}

bool CardController::showTextOf(const Note &note)
{
    if (m_dictation->isUnderWay())
        return m_dictation->followNote(note.body);
    BoundedTextView &textView = *m_content->textView();
    if (note.body == textView.text())
        return false;
    textView.updateText(note.body);
    return true;
}

void CardController::showPinOf(const Note &note)
{
    m_content->setPinIndicatorHidden(!note.isPinned);
}

void CardController::storeText(const QString &text)
{
    if (!m_activeNoteID) {
        if (isBlank(text))
            return;
        m_activeNoteID = m_store.newNote();
    }
    m_store.setBody(*m_activeNoteID, text);
}

std::optional<QUuid> CardController::storeLateText(const std::optional<QUuid> &id,
                                                   const Correction &correction)
{
    if (id && id == m_activeNoteID) {
        if (!m_dictation->correct(correction))
            return std::nullopt;
        // The words were kept before the card was opened again, which a discard goes back to.
        const auto note = m_store.note(*id);
        if (note && m_openedNote && correction.applyTo(m_openedNote->body))
            m_openedNote->lastEditedAt = note->lastEditedAt;
        return id;
    }
    QString body = correction.before;
    if (id) {
        const auto note = m_store.note(*id);
        if (!note)
            return std::nullopt;
        body = note->body;
    }
    if (!correction.applyTo(body))
        return std::nullopt;
    const QUuid stored = id ? *id : m_store.newNote();
    m_store.setBody(stored, body);
    followStore();
    return stored;
}

void CardController::discardActiveIfEmpty()
{
    if (!m_activeNoteID)
        return;
    const auto note = m_store.note(*m_activeNoteID);
    if (note && isBlank(note->body)) {
        m_store.deleteNote(*m_activeNoteID);
        m_activeNoteID.reset();
    }
}

void CardController::commitAndDismiss()
{
    m_dictation->end();
    const bool kept = m_activeNoteID && !isBlank(m_content->textView()->text());
    discardActiveIfEmpty();
    leaveNote();
    m_content->textView()->setText({});
    orderOut(kept ? tr("Note saved") : QString());
}

void CardController::discardAndDismiss()
{
    m_dictation->drop();
    const QString text = m_content->textView()->text();
    QString message;
    if (!m_openedNote) {
        if (m_activeNoteID)
            m_store.deleteNote(*m_activeNoteID);
        if (!isBlank(text))
            message = tr("Note discarded");
    } else if (text != m_openedNote->body) {
        m_store.revert(m_openedNote->id, m_openedNote->body, m_openedNote->lastEditedAt);
        message = tr("Changes discarded");
    }
    leaveNote();
    m_content->textView()->setText({});
    orderOut(message);
}

void CardController::togglePinOnActive()
{
    if (!m_activeNoteID)
        return;
    m_store.togglePin(*m_activeNoteID);
    if (const auto note = m_store.note(*m_activeNoteID))
        showPinOf(*note);
}

void CardController::enterGridMode()
{
    m_dictation->end();
    m_store.purgeExpired();
    m_fades->reveal(Face::Grid);
    m_grid->reload(m_store.notes(), m_activeNoteID);
    m_mode = CardMode::Grid;
    focusFace();
    m_fades->crossFadeTo(Face::Grid);
}

void CardController::hide()
{
    m_dictation->end();
    orderOut();
}

void CardController::exitGridMode(std::optional<QUuid> focusing)
{
    if (focusing != m_activeNoteID)
        discardActiveIfEmpty();
    if (focusing)
        loadNote(*focusing);
    else
        beginNewNote();
    m_fades->reveal(Face::Card);
    m_mode = CardMode::Card;
    // What is typed while the faces still fade belongs to the card already.
    focusFace();
    m_fades->crossFadeTo(Face::Card);
}

void CardController::toggleThumbPin(const QUuid &id)
{
    m_store.togglePin(id);
    if (const auto note = m_store.note(id))
        m_grid->setThumbNote(*note);
}

void CardController::deleteFromGrid(const QUuid &id)
{
    m_store.deleteNote(id);
    m_grid->animateDelete(id);
}

void CardController::orderOut(const QString &message)
{
    if (!message.isEmpty()) {
        m_fades->showMessage(message, [this] { orderOut(); });
        return;
    }
    m_dictation->end(); // begun while a message faded
    m_panel->orderOut();
    m_fades->settle();
}

void CardController::takeKeyboardBack()
{
    if (!m_panel->isVisible() || m_panel->isKeyWindow())
        return;
    m_panel->makeKeyAndOrderFront();
    focusFace();
}

void CardController::focusFace()
{
    if (m_mode == CardMode::Card)
        m_panel->makeFirstResponder(m_content->textView());
    else
        m_panel->makeFirstResponder(m_grid);
}

} // namespace Brevio
