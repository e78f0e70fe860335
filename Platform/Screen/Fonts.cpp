#include "Platform/Screen/Fonts.h"

#include "Platform/Core/SharedLibrary.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace Platform::Fonts {

namespace {

constexpr double pointsPerInch = 72.0;
constexpr double ordinaryDotsPerInch = 96.0;

/// The original and its revivals, the best likeness first. Empty when none is installed.
QString installedFamily()
{
    // Asked for one by one, each that is missing would be looked for under other names as well.
    const QStringList installed = QFontDatabase::families();
    for (const auto &family :
         {QStringLiteral("Baskerville"), QStringLiteral("Baskervville"),
          QStringLiteral("Libre Baskerville"), QStringLiteral("Baskervald ADF Std")}) {
        // Of several makers, one is named behind it.
        const auto isIt = [&](const QString &one) {
            return one == family || one.startsWith(family + QStringLiteral(" ["));
        };
        if (std::any_of(installed.begin(), installed.end(), isIt))
            return family;
    }
    return {};
}

} // namespace

QFont baskerville(double points, Slant slant, double fallbackPoints)
{
    // Every tile of a grid asks, and listing the installed fonts is slow.
    static const QString family = installedFamily();

    QFont font =
        family.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont) : QFont(family);
    setPoints(font, family.isEmpty() ? fallbackPoints : points);
    font.setWeight(QFont::Normal);
    font.setItalic(!family.isEmpty() && slant == Slant::Italic);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::PreferQuality |
                                               QFont::NoSubpixelAntialias));
    return font;
}

void readInstalled()
{
    // Qt asks the same library, and finds it ready.
    int (*initialize)() = nullptr;
    const auto library = SharedLibrary::open({"libfontconfig.so.1"});
    if (library && library->resolve(initialize, "FcInit"))
        initialize();
}

void setPoints(QFont &font, double points)
{
    if (points == std::floor(points)) {
        font.setPixelSize(static_cast<int>(points));
        return;
    }
    // Qt multiplies point sizes by the screen's stated resolution.
    const QScreen *screen = QGuiApplication::primaryScreen();
    font.setPointSizeF(points * pointsPerInch /
                       (screen ? screen->logicalDotsPerInchY() : ordinaryDotsPerInch));
}

double points(const QFont &font)
{
    if (font.pixelSize() > 0)
        return font.pixelSize();
    const QScreen *screen = QGuiApplication::primaryScreen();
    return font.pointSizeF() * (screen ? screen->logicalDotsPerInchY() : ordinaryDotsPerInch) /
           pointsPerInch;
}

} // namespace Platform::Fonts
