#include "Brevio/Grid/TilePainting.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

constexpr double cornerRadius = 6.0;

double toDevicePixel(double value, double devicePixelRatio)
{
    return std::round(value * devicePixelRatio) / devicePixelRatio;
}

} // namespace

void placeTile(QPainter &painter, const QRectF &frame, double alpha, double devicePixelRatio)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(painter.opacity() * alpha);
    if (frame.size() == tileSize) {
        // Between pixels the letters would shift against their tile and the border would blur.
        painter.translate(toDevicePixel(frame.x(), devicePixelRatio),
                          toDevicePixel(frame.y(), devicePixelRatio));
        return;
    }
    painter.translate(frame.topLeft());
    painter.scale(frame.width() / tileSize.width(), frame.height() / tileSize.height());
}

void paintTileSurface(QPainter &painter, const QColor &fill, const QColor &border,
                      double borderWidth, double devicePixelRatio)
{
    const QRectF surface(QPointF(), tileSize);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(surface, cornerRadius, cornerRadius);

    const double width = std::max(borderWidth, 1.0 / devicePixelRatio);
    const double inset = width / 2.0;
    painter.setPen(QPen(border, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(surface.adjusted(inset, inset, -inset, -inset), cornerRadius - inset,
                            cornerRadius - inset);
}

} // namespace Brevio
