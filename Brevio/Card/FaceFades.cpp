#include "Brevio/Card/FaceFades.h"

#include "Brevio/Card/CardContentView.h"
#include "Brevio/Card/CardPanel.h"
#include "Brevio/Card/ToastView.h"

#include <cmath>
#include <utility>

namespace Brevio {

namespace {

using namespace std::chrono_literals;
using Platform::TimingCurve;

constexpr auto messageFadeIn = 140ms;
constexpr auto messageHold = 420ms;
constexpr auto messageFadeOut = 200ms;
constexpr auto crossFade = 200ms;

} // namespace

FaceFades::FaceFades(CardPanel &panel, RootContainer &root, CardContentView &card, ToastView &toast,
                     Platform::MainQueue &queue)
    : m_panel(panel)
    , m_root(root)
    , m_card(card)
    , m_toast(toast)
    , m_queue(queue)
{}

void FaceFades::reveal(Face face)
{
    m_root.setHidden(face, false);
    m_card.setMousePassesThrough(face == Face::Grid);
}

void FaceFades::crossFadeTo(Face face)
{
    const Face other = face == Face::Card ? Face::Grid : Face::Card;
    m_panel.setAlpha(1.0);
    run(
        crossFade, TimingCurve::EaseInEaseOut,
        [this, face, other, from = m_root.alpha(face), fromOther = m_root.alpha(other),
         fromToast = m_root.alpha(Face::Toast)](double progress) {
            m_root.setAlpha(face, std::lerp(from, 1.0, progress));
            m_root.setAlpha(other, std::lerp(fromOther, 0.0, progress));
            m_root.setAlpha(Face::Toast, std::lerp(fromToast, 0.0, progress));
        },
        [this, other] { m_root.setHidden(other, true); });
}

void FaceFades::showMessage(const QString &message, std::function<void()> completion)
{
    m_toast.setMessage(message);
    run(
        messageFadeIn, TimingCurve::EaseOut,
        [this, fromCard = m_root.alpha(Face::Card),
         fromToast = m_root.alpha(Face::Toast)](double progress) {
            m_root.setAlpha(Face::Card, std::lerp(fromCard, 0.0, progress));
            m_root.setAlpha(Face::Toast, std::lerp(fromToast, 1.0, progress));
        },
        [this, completion = std::move(completion)] {
            m_hold = m_queue.schedule(messageHold, [this, completion] { fadeOut(completion); });
        });
}

void FaceFades::fadeOut(const std::function<void()> &completion)
{
    run(
        messageFadeOut, TimingCurve::EaseIn,
        [this](double progress) {
            m_root.setAlpha(Face::Toast, 1.0 - progress);
            m_panel.setAlpha(1.0 - progress);
        },
        completion);
}

void FaceFades::run(Platform::MainQueue::Duration duration, TimingCurve curve,
                    std::function<void(double)> step, std::function<void()> completion)
{
    // What ran before is dropped with its handle: its completion would hide the face that now
    // shows.
    m_hold.reset();
    m_fade = Platform::animate(m_queue, duration, curve, std::move(step), std::move(completion));
}

void FaceFades::settle()
{
    // A fade that still ran would hide a card summoned meanwhile.
    m_fade.reset();
    m_hold.reset();
    reveal(Face::Card);
    m_root.setAlpha(Face::Card, 1.0);
    m_root.setAlpha(Face::Grid, 0.0);
    m_root.setHidden(Face::Grid, true);
    m_root.setAlpha(Face::Toast, 0.0);
    m_panel.setAlpha(1.0);
}

} // namespace Brevio
