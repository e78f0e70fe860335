#include "Brevio/Grid/NewCardThumbView.h"

#include "Brevio/CardColors.h"

#include <QPainter>
#include <QPainterPath>

namespace Brevio {

namespace {

constexpr double fillAlpha = 0.45;
constexpr double borderAlpha = 0.14;
constexpr double borderWidth = 0.5;
constexpr double plusAlpha = 0.45;
constexpr double plusWidth = 1.6;
constexpr double plusArm = 9.0; ///< from the centre to each end

} // namespace

void NewCardThumbView::paint(QPainter &painter, const TileSurroundings &surroundings) const
{
    const auto scheme = surroundings.scheme;
    const auto &ink = CardColors::cardInk();
    painter.save();
    placeTile(painter, m_frame, 1.0, surroundings.devicePixelRatio);
    paintTileSurface(painter, CardColors::thumbFill().resolved(scheme, fillAlpha),
                     ink.resolved(scheme, borderAlpha), borderWidth, surroundings.devicePixelRatio);

    // One path, so that the translucent strokes do not add up where they cross.
    const QPointF centre = QRectF(QPointF(), tileSize).center();
    QPainterPath plus;
    plus.moveTo(centre - QPointF(plusArm, 0));
    plus.lineTo(centre + QPointF(plusArm, 0));
    plus.moveTo(centre - QPointF(0, plusArm));
    plus.lineTo(centre + QPointF(0, plusArm));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ink.resolved(scheme, plusAlpha), plusWidth, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(plus);
    painter.restore();
}

void NewCardThumbView::mouseDown() const
{
    if (const auto callback = onClick)
        callback();
}

} // namespace Brevio
