#pragma once

#include "Brevio/Card/RootContainer.h"
#include "Platform/Screen/Animation.h"

#include <functional>

namespace Brevio {

class CardPanel;

/// How the faces of the sheet come and go: the cross-fade between card and grid, and the message
/// that ends a card and takes the panel with it. One fade runs at a time, and a later one starts
/// from where the faces stand. Mouse and keys act during every fade. Owned by the controller. Main
/// thread only.
class FaceFades final
{
public:
    using Face = RootContainer::Face;

    /// What is passed must outlive the fades.
    FaceFades(CardPanel &panel, RootContainer &root, CardContentView &card, ToastView &toast,
              Platform::MainQueue &queue);

    /// Has the card or the grid ready beneath or above the other, as transparent as it was: it can
    /// be laid out, and it gets the mouse.
    void reveal(Face face);
    /// From what shows to the face, which was revealed; the other is hidden in the end. Calls off a
    /// message that shows: the user went on.
    void crossFadeTo(Face face);
    /// The message in the card's place, for as long as it takes to read it, then nothing: in the
    /// end the panel is transparent, for the completion to hide and settle().
    void showMessage(const QString &message, std::function<void()> completion);
    /// Ends a running fade and leaves every face as it stands when a card shows.
    void settle();

private:
    void run(Platform::MainQueue::Duration duration, Platform::TimingCurve curve,
             std::function<void(double progress)> step, std::function<void()> completion);
    void fadeOut(const std::function<void()> &completion);

    CardPanel &m_panel;
    RootContainer &m_root;
    CardContentView &m_card;
    ToastView &m_toast;
    Platform::MainQueue &m_queue;
    Platform::Animation m_fade;          ///< the one that runs
    Platform::MainQueue::Pending m_hold; ///< the pause in which the message can be read
};

} // namespace Brevio
