#pragma once

#include <QPainterPath>
#include <QSize>

/// What every card measures, for the panel, the sheet on it and the faces on that. In logical
/// pixels.
namespace Brevio::CardShape {

// clang-format off
inline constexpr QSize  size{460, 280};
inline constexpr double cornerRadius = 14.0;
/// How far along the edges a corner begins to bend.
inline constexpr double cornerReach  = 1.528 * cornerRadius;
// clang-format on

/// A sheet that fills the rectangle: its corners bend gradually and pass the middle where circles
/// of the radius would.
[[nodiscard]] QPainterPath outline(const QRectF &rect);

} // namespace Brevio::CardShape
