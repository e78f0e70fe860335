#pragma once

#include <QColor>

class QPalette;
class QWidget;

/// The colours of a grouped form, taken from the desktop's palette so that it is at home there,
/// light and dark.
namespace Brevio::FormColors {

/// From the first colour at 0 to the second at 1.
[[nodiscard]] QColor mixed(const QColor &from, const QColor &to, double part);

/// A section's sheet, its edge, and the lines between its rows.
[[nodiscard]] QColor sheet(const QPalette &palette);
[[nodiscard]] QColor edge(const QPalette &palette);
[[nodiscard]] QColor separator(const QPalette &palette);
/// Captions and headers.
[[nodiscard]] QColor secondaryText(const QPalette &palette);

[[nodiscard]] QColor accent(const QPalette &palette);
[[nodiscard]] QColor focusRing(const QPalette &palette);
/// Whether the widget has the focus and the user moves it by keyboard; a click needs no ring.
[[nodiscard]] bool showsFocus(const QWidget &widget);

enum class Press { None, Near, Down };
[[nodiscard]] QColor buttonFill(const QPalette &palette, Press press);
[[nodiscard]] QColor switchOff(const QPalette &palette);
[[nodiscard]] QColor knobShadow();

} // namespace Brevio::FormColors
