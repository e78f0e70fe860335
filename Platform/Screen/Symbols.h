#pragma once

#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QString>

/// The program's own small drawings: "note.text", "square.grid.3x3", "mic.fill" and
/// "xmark.circle.fill".
namespace Platform::Symbols {

enum class Weight { Regular, Semibold };

/// The filled outline of the drawing, in a square of `points` by `points` with its origin at the
/// top left. Empty for a name that is not known.
[[nodiscard]] QPainterPath path(const QString &name, double points,
                                Weight weight = Weight::Regular);

/// The drawing in one colour on a transparent square of `points` by `points` (logical pixels), with
/// the pixels of a display of that ratio. A null image for a name that is not known.
[[nodiscard]] QImage image(const QString &name, double points, const QColor &tint,
                           double devicePixelRatio = 1.0, Weight weight = Weight::Regular);

} // namespace Platform::Symbols
