#pragma once

#include "Platform/Screen/Screens.h"

#include <QWidget>

#include <utility>

/// Monitors that the test arranges, with the pointer on the first. Windows keep the origin they are
/// given exactly; the widget itself moves as on a primary screen of `primaryHeight`.
class FakeScreens final : public Platform::Screens
{
public:
    std::vector<Platform::Screen> list() const override { return screens; }
    QPointF mouseLocation() const override { return {100, 100}; }
    QPointF originOf(const QWidget &window) const override
    {
        return {double(window.x()), double(primaryHeight - window.y() - window.height())};
    }
    void setOrigin(QWidget &window, QPointF origin) const override
    {
        placements.push_back(origin);
        window.move(QPointF(origin.x(), primaryHeight - origin.y() - window.height()).toPoint());
    }

    static constexpr int primaryHeight = 800;
    std::vector<Platform::Screen> screens{
        {QRectF(0, 0, 1280, primaryHeight), QRectF(0, 0, 1280, 770)}};
    /// Every origin that a window was given, in order.
    mutable std::vector<QPointF> placements;
};
