// How the controller's faces and its panel come and go: the fades between card and grid, and the
// toast that ends a card.

#include "Brevio/Card/CardController.h"

#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/CardDictation.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Card/RootContainer.h"
#include "Brevio/Card/ToastView.h"

namespace Brevio {

namespace {

using namespace std::chrono_literals;
using Face = RootContainer::Face;
using Platform::TimingCurve;

constexpr auto toastFadeIn = 140ms;
constexpr auto toastHold = 420ms;
constexpr auto toastFadeOut = 200ms;
constexpr auto gridCrossFade = 200ms;

double between(double from, double to, double progress)
{
    return from + (to - from) * progress;
}

} // namespace

void CardController::crossFade(double cardAlpha, double gridAlpha, std::function<void()> completion)
{
    // Starting from where the faces stand lets a transition overtake an earlier one, whose
    // completion would hide the face that now shows: assigning the handle drops it. A dismissal
    // that was under way is called off: the user went on.
    m_hold.reset();
    m_panel->setAlpha(1.0);
    m_fade = Platform::animate(
        m_queue, gridCrossFade, TimingCurve::EaseInEaseOut,
        [this, cardAlpha, gridAlpha, fromCard = m_root->alpha(Face::Card),
         fromGrid = m_root->alpha(Face::Grid),
         fromToast = m_root->alpha(Face::Toast)](double progress) {
            m_root->setAlpha(Face::Card, between(fromCard, cardAlpha, progress));
            m_root->setAlpha(Face::Grid, between(fromGrid, gridAlpha, progress));
            m_root->setAlpha(Face::Toast, between(fromToast, 0.0, progress));
        },
        std::move(completion));
}

void CardController::showToastAndDismiss(const QString &message)
{
    m_toast->setMessage(message);
    m_hold.reset();
    m_fade = Platform::animate(
        m_queue, toastFadeIn, TimingCurve::EaseOut,
        [this, fromCard = m_root->alpha(Face::Card),
         fromToast = m_root->alpha(Face::Toast)](double progress) {
            m_root->setAlpha(Face::Card, between(fromCard, 0.0, progress));
            m_root->setAlpha(Face::Toast, between(fromToast, 1.0, progress));
        },
        [this] { m_hold = m_queue.schedule(toastHold, [this] { fadeOutWithToast(); }); });
}

void CardController::fadeOutWithToast()
{
    m_fade = Platform::animate(
        m_queue, toastFadeOut, TimingCurve::EaseIn,
        [this](double progress) {
            m_root->setAlpha(Face::Toast, between(1.0, 0.0, progress));
            m_panel->setAlpha(between(1.0, 0.0, progress));
        },
        [this] { orderOut(); });
}

void CardController::orderOut()
{
    m_dictation->end(); // begun while a toast faded
    m_panel->orderOut();
    settleFaces();
}

void CardController::settleFaces()
{
    // A fade that still ran would hide a card summoned meanwhile.
    m_fade.reset();
    m_hold.reset();
    m_content->setMousePassesThrough(false);
    m_root->setHidden(Face::Card, false);
    m_root->setAlpha(Face::Card, 1.0);
    m_root->setAlpha(Face::Grid, 0.0);
    m_root->setHidden(Face::Grid, true);
    m_root->setAlpha(Face::Toast, 0.0);
    m_panel->setAlpha(1.0);
}

} // namespace Brevio
