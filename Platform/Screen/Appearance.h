#pragma once

#include <QColor>
#include <QObject>

#include <memory>

namespace Platform {

enum class ColorScheme { Light, Dark };

/// A colour with one value for each colour scheme. Views resolve it when they paint.
struct DynamicColor
{
    QColor light;
    QColor dark;

    [[nodiscard]] QColor resolved(ColorScheme scheme) const
    {
        return scheme == ColorScheme::Dark ? dark : light;
    }
    /// The same colour with another alpha, 0 to 1.
    [[nodiscard]] QColor resolved(ColorScheme scheme, double alpha) const
    {
        QColor color = resolved(scheme);
        color.setAlphaF(static_cast<float>(alpha));
        return color;
    }
};

/// The yellow of pins and marks.
[[nodiscard]] const DynamicColor &systemYellow();

/// Whether the desktop asks for light or dark. Main thread only.
class Appearance : public QObject
{
    Q_OBJECT

public:
    [[nodiscard]] virtual ColorScheme scheme() const = 0;

    /// Follows the desktop: its stated preference, else whether its palette is dark. Where the two
    /// differ the program's palette is made to match, so that menus and ordinary windows look as
    /// the cards do. Never null.
    [[nodiscard]] static std::unique_ptr<Appearance> createForDesktop();

Q_SIGNALS:
    /// After the scheme changed; not emitted when a report says what was known.
    void changed(Platform::ColorScheme scheme);
};

} // namespace Platform
