#include "Platform/Desktop/StatusItem.h"

#include "Platform/Desktop/StatusHosts.h"
#include "Platform/Screen/Symbols.h"

#include <QCursor>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>

#include <algorithm>
#include <array>

namespace Platform {

namespace {

/// What panels ask for at scales 1 and 2, in device pixels.
constexpr std::array pixelSizes = {16, 22, 24, 32, 44, 48, 64};
const QColor ink(0x24, 0x24, 0x24);
const QColor paper(0xFA, 0xFA, 0xFA);

double area(const QPolygonF &shape)
{
    const QRectF box = shape.boundingRect();
    return box.width() * box.height();
}

} // namespace

StatusItem::StatusItem(const QString &title, const QString &symbol, QMenu &menu)
    : m_title(title)
    , m_image(icon(symbol))
    , m_menu(menu)
    , m_hosts(std::make_unique<StatusHosts>())
{
    connect(m_hosts.get(), &StatusHosts::changed, this, &StatusItem::adoptHosts);
    adoptHosts();
}

StatusItem::~StatusItem() = default;

QIcon StatusItem::icon(const QString &symbol)
{
    // A panel does not say what colour it is, and no single grey stands out from all of them.
    // Dark lines on their own light ground do: a light panel shows the lines, a dark one the sheet.
    QIcon result;
    for (const int size : pixelSizes) {
        const QPainterPath lines = Symbols::path(symbol, size);
        const auto shapes = lines.toSubpathPolygons();
        const auto outline = std::max_element(
            shapes.begin(), shapes.end(),
            [](const QPolygonF &a, const QPolygonF &b) { return area(a) < area(b); });
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        if (outline != shapes.end()) {
            painter.setBrush(paper);
            painter.drawPolygon(*outline);
        }
        painter.fillPath(lines, ink);
        result.addPixmap(pixmap);
    }
    return result;
}

void StatusItem::adoptHosts()
{
    // Anew with every change: an icon made for a host that is gone would not reach the next.
    m_icon.reset();
    // The very first question to QSystemTrayIcon, were it only whether there is a tray, settles for
    // the whole process which kind of host it uses.
    if (!m_hosts->isAny())
        return;
    m_icon = std::make_unique<QSystemTrayIcon>(m_image);
    m_icon->setToolTip(m_title);
    m_icon->setContextMenu(&m_menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](auto reason) {
        // The right button's menu is Qt's or the host's doing. Two clicks in a hurry are two
        // clicks.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            openMenu();
    });
    m_icon->show();
}

void StatusItem::openMenu()
{
    m_menu.popup(QCursor::pos());
}

} // namespace Platform
