#pragma once

#include <QFont>

namespace Platform::Fonts {

enum class Slant { Upright, Italic };

/// "Baskerville", or the first installed of its revivals, at a size in points (logical pixels). A
/// fraction such as 10.5 is kept in the font, but Qt draws and measures it at the nearest whole
/// pixel; painting at twice the size under a scale of one half shows it exactly. With none of them
/// installed, the desktop's own font, upright, at `fallbackPoints`. Glyphs keep their drawn shapes
/// and widths at every size and grey edges on every background, so a text wraps alike on every
/// display and looks alike while it fades.
[[nodiscard]] QFont baskerville(double points, Slant slant, double fallbackPoints);

/// Reads what fonts there are, which the first text would wait for. To be begun on another thread
/// before there is an application, and waited for before there is a text: two at once would both do
/// all of it.
void readInstalled();

/// Gives the font a size in logical pixels, fractions kept, which Qt's own pixel sizes do not.
void setPoints(QFont &font, double points);

/// The size of the font in logical pixels.
[[nodiscard]] double points(const QFont &font);

} // namespace Platform::Fonts
