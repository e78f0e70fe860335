#include "Brevio/PreferencesWindow.h"

#include "Platform/Screen/OrdinaryWindow.h"

#include <QAction>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

namespace Brevio {

PreferencesWindow::PreferencesWindow(QWidget *content)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                           Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint)
{
    setWindowTitle(tr("Brevio Preferences"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(content);

    // Nothing is chosen before the user reaches for it.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();

    auto *close = new QAction(this);
    close->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_W), QKeySequence(Qt::Key_Escape)});
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);

    center();
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &PreferencesWindow::stayAbove);
}

void PreferencesWindow::present()
{
    Platform::OrdinaryWindow::bringToFront(*this);
}

void PreferencesWindow::center()
{
    const QSize size = sizeHint();
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - QPoint(size.width() / 2, size.height() / 2));
}

/// The card stands above ordinary windows as well, and window managers raise what gets the
/// keyboard.
void PreferencesWindow::stayAbove(const QWindow *focused)
{
    if (focused == nullptr || !isVisible() || isMinimized())
        return;
    if (focused != windowHandle() && focused->transientParent() != windowHandle())
        raise();
}

} // namespace Brevio
