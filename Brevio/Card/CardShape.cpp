#include "Brevio/Card/CardShape.h"

#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Brevio::CardShape {

namespace {

/// The exponent of the superellipse that a corner follows, chosen for its reach.
constexpr double cornerPower = 3.26;
constexpr int cornerSteps = 24;

} // namespace

QPainterPath outline(const QRectF &rect)
{
    const double reach = std::min({cornerReach, rect.width() / 2.0, rect.height() / 2.0});
    QPolygonF polygon;
    const auto addCorner = [&](const QPointF &corner, int xSign, int ySign, bool isReversed) {
        for (int i = 0; i <= cornerSteps; ++i) {
            const int step = isReversed ? cornerSteps - i : i;
            const double angle = std::numbers::pi / 2.0 * step / cornerSteps;
            // From the vertical edge (step 0) to the horizontal one.
            const double x = 1.0 - std::pow(std::max(std::cos(angle), 0.0), 2.0 / cornerPower);
            const double y = 1.0 - std::pow(std::max(std::sin(angle), 0.0), 2.0 / cornerPower);
            polygon << corner + QPointF(xSign * reach * x, ySign * reach * y);
        }
    };
    addCorner(rect.topLeft(), 1, 1, false);
    addCorner(rect.topRight(), -1, 1, true);
    addCorner(rect.bottomRight(), -1, -1, false);
    addCorner(rect.bottomLeft(), 1, -1, true);
    QPainterPath path;
    path.addPolygon(polygon);
    path.closeSubpath();
    return path;
}

} // namespace Brevio::CardShape
