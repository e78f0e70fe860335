#include "Platform/Screen/PanelWindow_x11.h"

#include "Platform/Screen/X11.h"

#include <QWidget>

namespace Platform {

namespace {

/// For displays where Qt's own means are all there is.
class PlainPanelWindow final : public PanelWindow
{
public:
    explicit PlainPanelWindow(QWidget &window)
        : m_window(window)
    {}

    void present() override
    {
        m_window.show();
        m_window.activateWindow();
    }
    void dismiss() override { m_window.hide(); }
    bool isKey() const override { return m_window.isVisible() && m_window.isActiveWindow(); }
    void setOpacity(double) override {}

private:
    QWidget &m_window;
};

} // namespace

std::unique_ptr<PanelWindow> PanelWindow::create(QWidget &window, double cornerRadius)
{
    // An ordinary window, not a tool: window managers keep tools above all windows of their
    // program, and the preferences have to be able to stand above the panel.
    window.setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window.setAttribute(Qt::WA_TranslucentBackground);
    if (X11::Server::current())
        return createPanelWindowOnX11(window, cornerRadius);
    return std::make_unique<PlainPanelWindow>(window);
}

} // namespace Platform
