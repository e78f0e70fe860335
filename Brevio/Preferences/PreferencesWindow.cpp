#include "Brevio/Preferences/PreferencesWindow.h"

#include "Platform/Screen/OrdinaryWindow.h"

#include <QAction>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

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
    // The card stands above ordinary windows as well.
    m_foreground = Platform::OrdinaryWindow::keepInFrontOfOwn(*this);
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

} // namespace Brevio
