#pragma once

#include "Platform/Screen/Appearance.h"

#include <QRectF>
#include <QSizeF>

class QPainter;

namespace Brevio {

/// The size of every tile of the grid, in logical pixels.
inline constexpr QSizeF tileSize{140, 80};

/// What a tile has to know about the screen that it is painted on.
struct TileSurroundings
{
    Platform::ColorScheme scheme = Platform::ColorScheme::Light;
    double devicePixelRatio = 1.0;
};

/// Sets the painter up for a tile that is shown in `frame`: its top left corner becomes the
/// origin and its full size `tileSize`, however small it is shown. Between save and restore.
void placeTile(QPainter &painter, const QRectF &frame, double alpha, double devicePixelRatio);

/// A rounded rectangle of the tile's size, filled, then bordered on the inside. A border that is
/// thinner than a pixel of the screen is one pixel wide.
void paintTileSurface(QPainter &painter, const QColor &fill, const QColor &border,
                      double borderWidth, double devicePixelRatio);

} // namespace Brevio
