#include "Brevio/Card/CardPanel.h"

#include "Brevio/Card/CardShape.h"

#include <QCloseEvent>
#include <QJsonObject>
#include <QMouseEvent>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cmath>

namespace Brevio {

namespace {

const auto originKey = QStringLiteral("brevio.card.lastOrigin");

/// How long after a showing a window manager may still be correcting the place.
constexpr auto settlingTime = std::chrono::milliseconds(300);

constexpr auto shakeDuration = std::chrono::milliseconds(220);
constexpr double shakeWidth = 6.0;
constexpr std::array shakeOffsets = {
    0.0, -shakeWidth, shakeWidth, -shakeWidth * 0.6, shakeWidth * 0.6, 0.0};

/// Where between the evenly spaced offsets the shake is.
double shakeOffset(double progress)
{
    constexpr double last = shakeOffsets.size() - 1;
    const double place = std::clamp(progress, 0.0, 1.0) * last;
    const double before = std::min(std::floor(place), last - 1.0);
    const auto index = static_cast<std::size_t>(before);
    return std::lerp(shakeOffsets[index], shakeOffsets[index + 1], place - before);
}

bool isOnSomeScreen(QPointF origin, const std::vector<Platform::Screen> &screens)
{
    const QRectF frame(origin, CardShape::size);
    return std::any_of(screens.begin(), screens.end(), [&](const Platform::Screen &screen) {
        return screen.visibleFrame.intersects(frame);
    });
}

} // namespace

CardPanel::CardPanel(Platform::UserDefaults &defaults, Platform::Screens &screens,
                     Platform::MainQueue &queue)
    : m_defaults(defaults)
    , m_screens(screens)
    , m_queue(queue)
    , m_window(Platform::PanelWindow::create(*this, CardShape::cornerRadius))
{
    setWindowTitle(QStringLiteral("Brevio"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(CardShape::size);
    restoreOrigin();
}

CardPanel::~CardPanel() = default;

void CardPanel::setContentView(QWidget *view)
{
    m_contentView = view;
    view->setParent(this);
    view->setGeometry(rect());
}

void CardPanel::restoreOrigin()
{
    stopShaking();
    const auto screens = m_screens.list();
    const auto saved = loadSavedOrigin();
    if (saved && isOnSomeScreen(*saved, screens))
        setOrigin(*saved);
    else if (!screens.empty())
        centerOnCursorScreen(screens);
}

void CardPanel::persistOrigin()
{
    m_defaults.set(originKey, QJsonObject{{QStringLiteral("x"), m_origin.x()},
                                          {QStringLiteral("y"), m_origin.y()}});
}

std::optional<QPointF> CardPanel::loadSavedOrigin() const
{
    const auto saved = m_defaults.object(originKey).toObject();
    if (!std::all_of(saved.begin(), saved.end(),
                     [](const auto &entry) { return entry.isDouble(); }))
        return {};
    const auto x = saved.value(u"x");
    const auto y = saved.value(u"y");
    if (!x.isDouble() || !y.isDouble())
        return {};
    return QPointF(x.toDouble(), y.toDouble());
}

void CardPanel::centerOnCursorScreen(const std::vector<Platform::Screen> &screens)
{
    auto chosen = screens.begin();
    // The pointer is a question to the server, and the answer is known when there is one screen.
    if (screens.size() > 1) {
        const QPointF mouse = m_screens.mouseLocation();
        const auto found = std::find_if(screens.begin(), screens.end(), [&](const auto &screen) {
            return Platform::containsPixel(screen.frame, mouse);
        });
        if (found != screens.end())
            chosen = found;
    }
    setOrigin(chosen->visibleFrame.center() - QRectF({}, CardShape::size).center());
}

void CardPanel::setOrigin(QPointF origin)
{
    m_origin = origin;
    placeAt(origin);
}

void CardPanel::placeAt(QPointF origin)
{
    m_placing = true;
    m_screens.setOrigin(*this, origin);
    m_placing = false;
    if (isVisible())
        m_expectedPositions.push_back(pos());
}

void CardPanel::shake()
{
    if (!isVisible())
        return;
    m_shake = Platform::animate(
        m_queue, shakeDuration, Platform::TimingCurve::EaseOut,
        [this](double progress) { placeAt(m_origin + QPointF(shakeOffset(progress), 0.0)); },
        [this] { m_shake.reset(); });
}

void CardPanel::stopShaking()
{
    if (std::exchange(m_shake, nullptr))
        placeAt(m_origin);
}

void CardPanel::makeKeyAndOrderFront()
{
    if (!isVisible()) {
        m_settlesAt = m_queue.now() + settlingTime;
        m_insisted = false;
    }
    m_window->present();
}

void CardPanel::makeFirstResponder(QWidget *widget)
{
    widget->setFocus(Qt::OtherFocusReason);
}

void CardPanel::orderOut()
{
    m_grip.reset();
    m_window->dismiss();
    stopShaking();
    m_expectedPositions.clear();
}

void CardPanel::setAlpha(double alpha)
{
    m_alpha = std::clamp(alpha, 0.0, 1.0);
    m_window->setOpacity(m_alpha);
}

void CardPanel::resizeEvent(QResizeEvent *)
{
    if (m_contentView)
        m_contentView->setGeometry(rect());
}

void CardPanel::moveEvent(QMoveEvent *event)
{
    // Hidden windows are moved by nobody else, and what happens during a shake is undone by it.
    if (m_placing || m_shake || !isVisible())
        return;
    // The server reports our own moves later, one by one, possibly when a newer one is under way.
    const bool echo = std::find(m_expectedPositions.begin(), m_expectedPositions.end(),
                                event->pos()) != m_expectedPositions.end();
    if (echo)
        return;
    m_expectedPositions.clear();
    // Before it is seen only a window manager can have moved it, however late that is.
    const bool settling = !windowHandle()->isExposed() || m_queue.now() < m_settlesAt;
    if (settling && !std::exchange(m_insisted, true)) {
        m_settlesAt = m_queue.now() + settlingTime; // for the answer to this
        placeAt(m_origin);
        return;
    }
    m_origin = m_screens.originOf(*this);
    if (windowDidMove && !settling)
        windowDidMove();
}

void CardPanel::closeEvent(QCloseEvent *)
{
    // Taken as it is: the text is in the store already, and refusing would stop a quit.
    orderOut();
}

void CardPanel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    stopShaking();
    m_grip = event->globalPosition().toPoint() - pos();
}

void CardPanel::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_grip)
        return;
    // Moved here and not by the window manager: it would grab the keyboard for the time of the
    // drag, and miss the release of a quick one.
    const QPoint target = event->globalPosition().toPoint() - *m_grip;
    if (target == pos())
        return;
    m_placing = true;
    move(target);
    m_placing = false;
    m_expectedPositions.push_back(target);
    m_origin = m_screens.originOf(*this);
    if (windowDidMove)
        windowDidMove();
}

void CardPanel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        m_grip.reset();
}

} // namespace Brevio
