#include "Brevio/Card/CardContentView.h"

#include "Brevio/Card/CardShape.h"
#include "Brevio/CardColors.h"
#include "Brevio/Text/BoundedTextView.h"
#include "Platform/Core/Languages.h"
#include "Platform/Screen/Fonts.h"
#include "Platform/Screen/Symbols.h"

#include <QJsonValue>
#include <QMouseEvent>
#include <QPainter>

#include <utility>

namespace Brevio {

namespace {

using namespace std::chrono_literals;

constexpr int textInset = 22;
constexpr double maxTextHeight = CardShape::size.height() - 2 * textInset;
constexpr double textPoints = 17.0;
constexpr double fallbackPoints = 16.0;

constexpr QSize buttonSize(20, 20);
constexpr int buttonMargin = 8; ///< from the right and bottom edges
constexpr double symbolPoints = 18.0;
constexpr double symbolInkAlpha = 0.55;

constexpr QSize pinSize(8, 8);
constexpr int pinMargin = 10; ///< from the right and top edges
constexpr double pinCornerRadius = 3.0;

constexpr auto fadeDuration = 180ms;
constexpr auto idleDelay = 1s;

/// Warm like a highlighter on paper; legible under the ink of either scheme.
const Platform::DynamicColor selectionColor{QColor(0xf8, 0xdf, 0x9c), QColor(0x5c, 0x4a, 0x22)};

} // namespace

/// Opens the grid. Paints itself at an alpha of its own, and is there even when that is 0.
class CardContentView::GridButton final : public QAbstractButton
{
public:
    GridButton(Platform::Appearance &appearance, QWidget *parent)
        : QAbstractButton(parent)
        , m_appearance(appearance)
    {
        setToolTip(QStringLiteral("Show all cards"));
        setAccessibleName(QStringLiteral("Show all cards"));
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::NoFocus);
        setMouseTracking(true);
    }

    [[nodiscard]] double alpha() const { return m_alpha; }
    void setAlpha(double alpha)
    {
        m_alpha = alpha;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        if (m_alpha <= 0.0)
            return;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate((width() - symbolPoints) / 2.0, (height() - symbolPoints) / 2.0);
        const double alpha = isDown() ? m_alpha : m_alpha * symbolInkAlpha;
        painter.fillPath(Platform::Symbols::path(QStringLiteral("square.grid.3x3"), symbolPoints),
                         CardColors::cardInk().resolved(m_appearance.scheme(), alpha));
    }

private:
    Platform::Appearance &m_appearance;
    double m_alpha = 0.0;
};

/// The yellow mark of a pinned note: a rounded square.
class CardContentView::PinMark final : public QWidget
{
public:
    PinMark(Platform::Appearance &appearance, QWidget *parent)
        : QWidget(parent)
        , m_appearance(appearance)
    {
        setAccessibleName(QStringLiteral("Pinned"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Platform::systemYellow().resolved(m_appearance.scheme()));
        painter.drawRoundedRect(rect(), pinCornerRadius, pinCornerRadius);
    }

private:
    Platform::Appearance &m_appearance;
};

CardContentView::CardContentView(Platform::Appearance &appearance, Platform::MainQueue &queue,
                                 QWidget *parent)
    : QWidget(parent)
    , m_appearance(appearance)
    , m_queue(queue)
    , m_textView(new BoundedTextView(appearance, this))
    , m_pinIndicator(new PinMark(appearance, this))
    , m_gridButton(new GridButton(appearance, this))
{
    m_textView->setTextFont(
        Platform::Fonts::baskerville(textPoints, Platform::Fonts::Slant::Upright, fallbackPoints));
    m_textView->maxVisibleHeight = maxTextHeight;
    m_pinIndicator->hide();

    // The editor keeps the pointer's movements to itself.
    setMouseTracking(true);
    m_textView->viewport()->setMouseTracking(true);
    m_textView->viewport()->installEventFilter(this);
    m_gridButton->installEventFilter(this);

    connect(m_gridButton, &QAbstractButton::clicked, this, [this] {
        if (onGridButtonTapped)
            onGridButtonTapped();
    });
    connect(&appearance, &Platform::Appearance::changed, this, &CardContentView::applyColors);
    applyColors();
    resize(CardShape::size);
}

void CardContentView::setWritingAids(Platform::SpellChecker *checker,
                                     const QJsonValue &replacements)
{
    if (checker)
        m_textView->startSpelling(*checker, m_queue);
    m_textView->typingAids().start(
        Substitutions(Platform::userLanguages().constFirst(), replacements));
}

QAbstractButton *CardContentView::gridButton() const
{
    return m_gridButton;
}

double CardContentView::gridButtonAlpha() const
{
    return m_gridButton->alpha();
}

bool CardContentView::isPinIndicatorHidden() const
{
    return m_pinIndicator->isHidden();
}

void CardContentView::setPinIndicatorHidden(bool hidden)
{
    m_pinIndicator->setHidden(hidden);
}

void CardContentView::applyColors()
{
    m_textView->setColors(CardColors::cardInk().resolved(m_appearance.scheme()),
                          selectionColor.resolved(m_appearance.scheme()));
    update();
}

void CardContentView::setMousePassesThrough(bool passes)
{
    if (passes)
        setMask(m_gridButton->geometry());
    else
        clearMask();
}

void CardContentView::resizeEvent(QResizeEvent *)
{
    m_textView->setGeometry(rect().adjusted(textInset, textInset, -textInset, -textInset));
    const QPoint buttonOrigin(width() - buttonSize.width() - buttonMargin,
                              height() - buttonSize.height() - buttonMargin);
    m_gridButton->setGeometry({buttonOrigin, buttonSize});
    m_pinIndicator->setGeometry({{width() - pinSize.width() - pinMargin, pinMargin}, pinSize});
}

bool CardContentView::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::MouseMove)
        pointerMoved();
    return false;
}

void CardContentView::enterEvent(QEnterEvent *)
{
    pointerMoved();
}

void CardContentView::mouseMoveEvent(QMouseEvent *event)
{
    pointerMoved();
    // The container behind drags the card.
    QWidget::mouseMoveEvent(event);
}

void CardContentView::leaveEvent(QEvent *)
{
    fadeGridButton(0.0);
    m_idle.reset();
}

void CardContentView::hideEvent(QHideEvent *)
{
    m_idle.reset(); // hidden, the program has nothing to do
    m_fade.reset();
    m_gridButtonTarget = 0.0;
    m_gridButton->setAlpha(0.0);
}

void CardContentView::pointerMoved()
{
    fadeGridButton(1.0);
    m_idle = m_queue.schedule(idleDelay, [this] { fadeGridButton(0.0); });
}

void CardContentView::fadeGridButton(double alpha)
{
    if (std::exchange(m_gridButtonTarget, alpha) == alpha)
        return;
    m_fade = Platform::animate(
        m_queue, fadeDuration, Platform::TimingCurve::Default,
        [button = m_gridButton, from = m_gridButton->alpha(), alpha](double progress) {
            button->setAlpha(from + (alpha - from) * progress);
        });
}

} // namespace Brevio
