#pragma once

#include "Platform/Screen/Appearance.h"

#include <QFont>
#include <QGuiApplication>
#include <QScreen>

namespace Brevio::GridPalette {

/// The ink of text, borders and rings.
[[nodiscard]] inline const Platform::DynamicColor &cardInk()
{
    static const Platform::DynamicColor ink{QColor::fromRgbF(0.137F, 0.118F, 0.09F),
                                            QColor::fromRgbF(0.94F, 0.92F, 0.86F)};
    return ink;
}

/// Baskerville or its substitute, its size in logical pixels, which need not be whole.
[[nodiscard]] inline QFont baskerville(double pixels)
{
    constexpr double pointsPerInch = 72.0;
    QFont::insertSubstitution(QStringLiteral("Baskerville"), QStringLiteral("Baskervald ADF Std"));
    QFont font(QStringLiteral("Baskerville"));
    font.setPointSizeF(pixels * pointsPerInch /
                       QGuiApplication::primaryScreen()->logicalDotsPerInchY());
    return font;
}

} // namespace Brevio::GridPalette
