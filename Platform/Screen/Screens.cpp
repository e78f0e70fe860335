#include "Platform/Screen/Screens.h"

#include "Platform/Screen/WorkArea.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace Platform {

namespace {

/// Qt's coordinates have y growing downwards from the top-left corner of the whole desktop.
class QtScreens final : public Screens
{
public:
    std::vector<Screen> list() const override
    {
        std::vector<Screen> screens;
        const auto present = QGuiApplication::screens();
        const auto areas = WorkArea::of(present);
        for (std::size_t i = 0; i < areas.size(); ++i)
            screens.push_back({flipped(present[qsizetype(i)]->geometry()), flipped(areas[i])});
        return screens;
    }

    QPointF mouseLocation() const override
    {
        return flipped(QRectF(QCursor::pos(), QSizeF(1, 1))).topLeft();
    }

    QPointF originOf(const QWidget &window) const override
    {
        return flipped(QRectF(window.pos(), QSizeF(window.size()))).topLeft();
    }

    void setOrigin(QWidget &window, QPointF origin) const override
    {
        const QPointF corner = reference();
        window.move(
            QPointF(corner.x() + origin.x(), corner.y() - origin.y() - window.height()).toPoint());
    }

private:
    /// The bottom-left corner of the primary screen, in Qt's coordinates.
    static QPointF reference()
    {
        const QScreen *primary = QGuiApplication::primaryScreen();
        return primary ? QRectF(primary->geometry()).bottomLeft() : QPointF();
    }

    static QRectF flipped(const QRectF &rectangle)
    {
        const QPointF corner = reference();
        return {rectangle.x() - corner.x(), corner.y() - rectangle.bottom(), rectangle.width(),
                rectangle.height()};
    }
};

} // namespace

std::unique_ptr<Screens> Screens::createForDesktop()
{
    return std::make_unique<QtScreens>();
}

} // namespace Platform
