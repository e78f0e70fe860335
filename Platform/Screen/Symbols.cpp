#include "Platform/Screen/Symbols.h"

#include <QPainter>
#include <QPainterPathStroker>
#include <QTransform>

#include <cmath>

namespace Platform::Symbols {

namespace {

/// The drawings are made in a square of this many units.
constexpr double unitsAcross = 24.0;
/// Outlines of strokes are made of pieces about a unit long, so they are made this much larger.
constexpr double strokeScale = 40.0;
constexpr double regularStroke = 1.6;
constexpr double semiboldStroke = 2.1;

QPainterPath stroked(const QPainterPath &line, double width)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width * strokeScale);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    const auto larger = QTransform::fromScale(strokeScale, strokeScale);
    auto outline = larger.inverted().map(stroker.createStroke(larger.map(line)));
    outline.setFillRule(Qt::WindingFill); // it crosses itself
    return outline;
}

/// A sheet with three lines of writing, the last one short.
QPainterPath noteText(double stroke)
{
    QPainterPath lines;
    lines.addRoundedRect(QRectF(3.2, 4.2, 17.6, 15.6), 3.4, 3.4);
    for (const auto &[y, end] : {std::pair{8.6, 16.6}, {12.0, 16.6}, {15.4, 12.6}}) {
        lines.moveTo(7.4, y);
        lines.lineTo(end, y);
    }
    return stroked(lines, stroke);
}

QPainterPath grid(double stroke)
{
    // At 18 points every edge falls between two pixels.
    constexpr double side = 4.0;
    constexpr double pitch = 8.0;
    constexpr double first = (unitsAcross - 2.0 * pitch - side) / 2.0;
    QPainterPath squares;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column)
            squares.addRoundedRect(QRectF(first + pitch * column, first + pitch * row, side, side),
                                   1.0, 1.0);
    }
    // Nine outlines at the full weight would run together.
    return stroked(squares, stroke / 1.2);
}

QPainterPath microphone(double stroke)
{
    QPainterPath capsule;
    capsule.addRoundedRect(QRectF(8.6, 2.0, 6.8, 12.6), 3.4, 3.4);

    QPainterPath stand;
    stand.moveTo(5.4, 10.8);
    stand.lineTo(5.4, 11.4);
    stand.arcTo(QRectF(5.4, 4.8, 13.2, 13.2), 180.0, 180.0);
    stand.lineTo(18.6, 10.8);
    stand.moveTo(12.0, 18.0);
    stand.lineTo(12.0, 21.6);
    stand.moveTo(8.6, 21.6);
    stand.lineTo(15.4, 21.6);
    capsule.addPath(stroked(stand, stroke));
    capsule.setFillRule(Qt::WindingFill);
    return capsule;
}

/// A disc with a cross cut out of it.
QPainterPath clearMark(double stroke)
{
    QPainterPath disc;
    disc.addEllipse(QRectF(2.0, 2.0, 20.0, 20.0));
    QPainterPath cross;
    for (const double side : {-1.0, 1.0}) {
        cross.moveTo(12.0 - 3.6 * side, 8.4);
        cross.lineTo(12.0 + 3.6 * side, 15.6);
    }
    return disc.subtracted(stroked(cross, stroke));
}

} // namespace

QPainterPath path(const QString &name, double points, Weight weight)
{
    const double stroke = weight == Weight::Semibold ? semiboldStroke : regularStroke;
    QPainterPath drawing;
    if (name == QLatin1String("note.text"))
        drawing = noteText(stroke);
    else if (name == QLatin1String("square.grid.3x3"))
        drawing = grid(stroke);
    else if (name == QLatin1String("mic.fill"))
        drawing = microphone(stroke);
    else if (name == QLatin1String("xmark.circle.fill"))
        drawing = clearMark(stroke);
    return QTransform::fromScale(points / unitsAcross, points / unitsAcross).map(drawing);
}

QImage image(const QString &name, double points, const QColor &tint, double devicePixelRatio,
             Weight weight)
{
    const QPainterPath drawing = path(name, points, weight);
    if (drawing.isEmpty())
        return {};
    const int side = static_cast<int>(std::ceil(points * devicePixelRatio));
    QImage result(side, side, QImage::Format_ARGB32_Premultiplied);
    result.setDevicePixelRatio(devicePixelRatio);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(drawing, tint);
    return result;
}

} // namespace Platform::Symbols
