#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Animation.h"
#include "Platform/Screen/PanelWindow.h"
#include "Platform/Screen/Screens.h"
#include "Platform/Storage/UserDefaults.h"

#include <QWidget>

#include <optional>
#include <vector>

namespace Brevio {

/// The floating window that the card and the grid appear in: of a card's size, frameless,
/// translucent, above other windows on every workspace, moved by any point of its background. It
/// remembers where the user left it. Created once, shown and hidden, owned by the controller. A
/// window manager's request to close it hides it. Origins are bottom-left corners, as in
/// Platform::Screens. Main thread only.
class CardPanel final : public QWidget
{
public:
    /// Placed by restoreOrigin(), not yet visible. What is passed must outlive the panel.
    CardPanel(Platform::UserDefaults &defaults, Platform::Screens &screens,
              Platform::MainQueue &queue);
    ~CardPanel() override;

    /// After the user or the window manager moved the panel. Not for the panel's own placing and
    /// shaking.
    std::function<void()> windowDidMove;

    /// Fills the panel with the view and owns it.
    void setContentView(QWidget *view);

    [[nodiscard]] QPointF origin() const { return m_origin; }
    /// Moves the panel to the saved origin when some part of it would be visible there, else to
    /// the middle of the screen under the pointer. Without any screen it stays where it is.
    void restoreOrigin();
    /// Saves where the panel is.
    void persistOrigin();

    /// Says no. Ends exactly where it began. Without effect on a hidden panel.
    void shake();

    /// Whether keys typed now reach the panel.
    [[nodiscard]] bool isKeyWindow() const { return m_window->isKey(); }
    void makeKeyAndOrderFront();
    /// Makes the widget the one in the panel that gets the keys, now or once the panel is key.
    void makeFirstResponder(QWidget *widget);
    /// Hides the panel and gives the keyboard back.
    void orderOut();

    /// How opaque the whole panel is, from 0 to 1; remembered also where it cannot be shown.
    [[nodiscard]] double alpha() const { return m_alpha; }
    void setAlpha(double alpha);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    [[nodiscard]] std::optional<QPointF> loadSavedOrigin() const;
    void centerOnCursorScreen(const std::vector<Platform::Screen> &screens);
    void setOrigin(QPointF origin);
    void placeAt(QPointF origin);
    void stopShaking();

    Platform::UserDefaults &m_defaults;
    Platform::Screens &m_screens;
    Platform::MainQueue &m_queue;
    std::unique_ptr<Platform::PanelWindow> m_window;
    QWidget *m_contentView = nullptr;
    /// Where the panel rests: unrounded, and unmoved by a shake.
    QPointF m_origin;
    double m_alpha = 1.0;
    Platform::Animation m_shake;
    /// Positions asked for whose echo is still to come from the window manager.
    std::vector<QPoint> m_expectedPositions;
    bool m_placing = false;
    /// Until then a move is the window manager's idea of where a new window should be.
    Platform::MainQueue::Moment m_settlesAt{};
    bool m_insisted = false;
    /// The point of the panel that the user holds while dragging.
    std::optional<QPoint> m_grip;
};

} // namespace Brevio
