#pragma once

#include "Platform/Screen/Appearance.h"

#include <QWidget>

#include <array>

namespace Brevio {

class CardContentView;
class ToastView;

/// The sheet that the panel shows: cream paper with rounded corners, and on it three faces of its
/// own size, the grid at the bottom, the card above it and the toast on top. Each has an alpha and
/// a hidden flag, which are independent: a transparent face still takes mouse and keys, a hidden
/// one does not (the toast never does). Owns the faces. Main thread only.
class RootContainer final : public QWidget
{
    Q_OBJECT

public:
    enum class Face { Grid, Card, Toast };

    /// At first the card shows; grid and toast have alpha 0 and nothing is hidden. The appearance
    /// must outlive the container.
    RootContainer(CardContentView *card, QWidget *grid, ToastView *toast,
                  Platform::Appearance &appearance, QWidget *parent = nullptr);

    /// 0 to 1. Two faces whose alphas add up to 1 mix exactly.
    [[nodiscard]] double alpha(Face face) const { return state(face).alpha; }
    void setAlpha(Face face, double alpha);

    [[nodiscard]] bool isHidden(Face face) const { return state(face).isHidden; }
    void setHidden(Face face, bool hidden);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    class Veil;
    struct FaceState
    {
        QWidget *widget = nullptr;
        double alpha = 1.0;
        bool isHidden = false;
    };

    [[nodiscard]] const FaceState &state(Face face) const
    {
        return m_faces[static_cast<std::size_t>(face)];
    }
    [[nodiscard]] FaceState &state(Face face) { return m_faces[static_cast<std::size_t>(face)]; }
    void updateFaces();

    Platform::Appearance &m_appearance;
    std::array<FaceState, 3> m_faces; ///< from the bottom to the top
    Veil *m_veil;
};

} // namespace Brevio
