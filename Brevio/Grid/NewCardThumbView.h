#pragma once

#include "Brevio/Grid/TilePainting.h"

#include <functional>

namespace Brevio {

/// The plus tile after the last note of the grid. A plain object that its GridDocument places and
/// paints. Sizes in logical pixels of the document. Main thread only.
class NewCardThumbView final
{
public:
    [[nodiscard]] QRectF frame() const { return m_frame; }
    void setFrame(const QRectF &frame) { m_frame = frame; }

    void paint(QPainter &painter, const TileSurroundings &surroundings) const;

    /// A press of the primary button. The callback may destroy the tile.
    void mouseDown() const;

    std::function<void()> onClick;

private:
    QRectF m_frame{QPointF(), tileSize};
};

} // namespace Brevio
