#include "Brevio/Preferences/FormColors.h"

#include <QPalette>
#include <QWidget>

namespace Brevio::FormColors {

namespace {

// Parts of the text colour in a mix with what lies under it.
constexpr double darkSheet = 0.06;
constexpr double edgePart = 0.10;
constexpr double separatorPart = 0.10;
constexpr double secondaryPart = 0.64;
constexpr double switchOffPart = 0.26;
constexpr double buttonPart = 0.09;
constexpr double buttonNearPart = 0.13;
constexpr double buttonDownPart = 0.20;
constexpr double ringAlpha = 0.45;

QColor text(const QPalette &palette)
{
    return palette.color(QPalette::WindowText);
}

QColor window(const QPalette &palette)
{
    return palette.color(QPalette::Window);
}

bool isDark(const QPalette &palette)
{
    return window(palette).lightness() < text(palette).lightness();
}

} // namespace

QColor mixed(const QColor &from, const QColor &to, double part)
{
    const auto channel = [part](int a, int b) { return qRound(a + (b - a) * part); };
    return {channel(from.red(), to.red()), channel(from.green(), to.green()),
            channel(from.blue(), to.blue())};
}

QColor sheet(const QPalette &palette)
{
    // In the dark a palette's base lies below the window; a sheet lies on it.
    return isDark(palette) ? mixed(window(palette), text(palette), darkSheet)
                           : palette.color(QPalette::Base);
}

QColor edge(const QPalette &palette)
{
    return mixed(window(palette), text(palette), edgePart);
}

QColor separator(const QPalette &palette)
{
    return mixed(sheet(palette), text(palette), separatorPart);
}

QColor secondaryText(const QPalette &palette)
{
    return mixed(window(palette), text(palette), secondaryPart);
}

QColor accent(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::Highlight);
}

QColor focusRing(const QPalette &palette)
{
    QColor ring = accent(palette);
    ring.setAlphaF(static_cast<float>(ringAlpha));
    return ring;
}

bool showsFocus(const QWidget &widget)
{
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

QColor buttonFill(const QPalette &palette, Press press)
{
    const double part = press == Press::Down   ? buttonDownPart
                        : press == Press::Near ? buttonNearPart
                                               : buttonPart;
    return mixed(sheet(palette), text(palette), part);
}

QColor switchOff(const QPalette &palette)
{
    return mixed(sheet(palette), text(palette), switchOffPart);
}

QColor knobShadow()
{
    return {0, 0, 0, 40};
}

} // namespace Brevio::FormColors
