#pragma once

#include <QFont>
#include <QStringView>

#include <limits>

class QTextDocument;

namespace Brevio {

/// How the card lays out its text: the editor and every measurement share these, so that what was
/// measured is what is shown. All lengths are in points.
namespace TextMeasure {

constexpr double containerWidth = 416.0;
/// Left free at both ends of a line, inside the container's width.
constexpr double lineFragmentPadding = 5.0;

/// Every line of a text in this font is exactly this tall: the font's own height, held between 1.2
/// and 1.4 times its size. A whole number of points. Signs taken from other fonts do not stretch
/// their line, so the lines stand evenly and a card holds as many whatever is written on it.
[[nodiscard]] double lineHeight(const QFont &font);

/// The height of all lines of the text, wrapped in a container of the given width; an empty text
/// has one line, and so has the emptiness after a final line feed. Once the height has passed
/// `enough` the rest may be left unmeasured, and some height above `enough` is returned.
[[nodiscard]] double usedHeight(QStringView text, const QFont &font, double width = containerWidth,
                                double enough = std::numeric_limits<double>::max());

/// Gives the document, whatever it holds, the layout that usedHeight() measures, for a view that
/// is a container's width wide. Not undoable: call it with undo disabled.
void applyLayout(QTextDocument &document, const QFont &font);

} // namespace TextMeasure
} // namespace Brevio
