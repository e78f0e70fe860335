// The keys of the card and the grid, and the shortcut that summons them.

#include "Brevio/Card/CardController.h"

#include "Brevio/Card/CardDictation.h"
#include "Brevio/Card/CardPanel.h"
#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Keyboard/EventMonitor.h"

#include <QPointer>

#include <utility>

namespace Brevio {

namespace {

using KeyboardShortcuts::Key;
using Platform::EventVerdict;
using Platform::KeyEvent;
namespace Modifier = Platform::Modifier;

constexpr Platform::ModifierFlags otherThanOption =
    Modifier::Shift | Modifier::Control | Modifier::Command;

} // namespace

void CardController::installKeyMonitor()
{
    using namespace Platform::EventKind;
    m_keyMonitor = Platform::addLocalMonitor(
        KeyDown | FlagsChanged, [this](const Platform::MonitoredEvent &event) {
            if (event.kind == FlagsChanged) {
                handleFlagsChanged(event.key);
                return EventVerdict::Pass;
            }
            return m_panel->isKeyWindow() ? handleKeyDown(event.key) : EventVerdict::Pass;
        });
}

void CardController::registerSummonHotkey()
{
    // The module keeps the action for the life of the process.
    KeyboardShortcuts::onKeyDown(KeyboardShortcuts::Name::summon(), [self = QPointer(this)] {
        if (self)
            self->toggleSummon();
    });
}

EventVerdict CardController::handleKeyDown(const KeyEvent &event)
{
    const Key key{event.keyCode};
    const bool command = (event.modifiers & Modifier::Command) != 0;
    const bool shift = (event.modifiers & Modifier::Shift) != 0;
    const bool onCard = m_mode == CardMode::Card;

    if (m_optionHeld && !event.isRepeat)
        m_dictation->callOff();
    if (key == Key::escape) {
        onCard ? discardAndDismiss() : exitGridMode(m_activeNoteID);
        return EventVerdict::Swallow;
    }
    if (key == Key::return_ && command) {
        onCard ? commitAndDismiss() : exitGridMode(m_activeNoteID);
        return EventVerdict::Swallow;
    }
    if (key == Key::k && command && shift) {
        if (onCard)
            togglePinOnActive();
        return EventVerdict::Swallow;
    }
    return EventVerdict::Pass;
}

void CardController::handleFlagsChanged(const KeyEvent &event)
{
    const bool isHeld = (event.modifiers & Modifier::Option) != 0;
    const bool isAlone = (event.modifiers & otherThanOption) == 0;
    if (!isHeld) {
        // Also when the keyboard is elsewhere by now: nothing listens behind the user's back.
        if (std::exchange(m_optionHeld, false))
            m_dictation->end();
    } else if (m_optionHeld) {
        if (!isAlone && m_dictation->asksFirst())
            m_dictation->callOff();
    } else if (m_mode == CardMode::Card && m_panel->isKeyWindow()) {
        m_optionHeld = true;
        m_dictation->begin(isAlone);
    }
}

} // namespace Brevio
