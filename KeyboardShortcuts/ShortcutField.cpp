#include "KeyboardShortcuts/ShortcutField.h"

#include "KeyboardShortcuts/Utilities.h"
#include "Platform/Screen/Symbols.h"

#include <QPainter>
#include <QToolButton>

#include <algorithm>

namespace KeyboardShortcuts {

namespace {

// clang-format off
constexpr int   leastWidth    = 130; // points, as all below
constexpr int   leastHeight   = 24;
constexpr int   sidePadding   = 10;  // the text keeps clear of the round ends
constexpr int   textPadding   = 3;   // above and below
constexpr int   buttonInset   = 4;
constexpr int   buttonGap     = 6;   // between the field and the button beside it
constexpr int   markSize      = 16;
constexpr qreal borderWidth   = 1;
constexpr qreal ringWidth     = 2;
constexpr float borderOpacity = 0.3F; // of the text's colour, as the cross's below
constexpr float restOpacity   = 0.4F;
constexpr float nearOpacity   = 0.6F;
constexpr float pressedOpacity = 0.8F;
// clang-format on

/// Draws its cross itself: the style would look through the desktop's icon themes for one, which
/// takes longer than the rest of the window.
class ClearButton final : public QToolButton
{
public:
    using QToolButton::QToolButton;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate((width() - markSize) / 2.0, (height() - markSize) / 2.0);
        auto ink = palette().color(QPalette::Text);
        ink.setAlphaF(isDown() ? pressedOpacity : underMouse() ? nearOpacity : restOpacity);
        painter.fillPath(Platform::Symbols::path(QStringLiteral("xmark.circle.fill"), markSize),
                         ink);
    }
};

template <class Kind>
Kind *addButton(QWidget *parent, Qt::FocusPolicy focus)
{
    auto *button = new Kind(parent);
    button->setFocusPolicy(focus);
    button->setCursor(Qt::ArrowCursor);
    button->hide();
    return button;
}

} // namespace

ShortcutField::ShortcutField(QWidget *parent)
    : QLineEdit(parent)
    , m_clearButton(addButton<ClearButton>(this, Qt::NoFocus)) // the keyboard has Delete for it
    , m_changeButton(addButton<QToolButton>(this, Qt::StrongFocus))
{
    setReadOnly(true);
    setFrame(false);
    setAlignment(Qt::AlignCenter);
    setCursor(Qt::ArrowCursor);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    m_clearButton->setAttribute(Qt::WA_Hover);
    m_clearButton->setAccessibleName(localized(u"clear_shortcut"));
    m_clearButton->setToolTip(localized(u"clear_shortcut"));
    connect(m_clearButton, &QToolButton::clicked, this, &ShortcutField::clearClicked);
    m_changeButton->setText(localized(u"change_shortcut"));
    connect(m_changeButton, &QToolButton::clicked, this, &ShortcutField::changeClicked);
}

QSize ShortcutField::sizeHint() const
{
    const auto metrics = fontMetrics();
    const int text = metrics.horizontalAdvance(this->text());
    return {std::max(leastWidth, text + 2 * sidePadding + trailingWidth()),
            std::max(leastHeight, metrics.height() + 2 * textPadding)};
}

void ShortcutField::display(const QString &text, Button button)
{
    setText(text);
    m_clearButton->setVisible(button == Button::Clear);
    m_changeButton->setVisible(button == Button::Change);
    updateGeometry();
    layOutButtons();
    update();
}

void ShortcutField::setListening(bool isListening)
{
    m_isListening = isListening;
    update();
}

int ShortcutField::trailingWidth() const
{
    if (!m_changeButton->isHidden())
        return m_changeButton->sizeHint().width() + buttonGap;
    // The text stays in the middle whether it can be cleared or not.
    return 2 * markSize;
}

void ShortcutField::layOutButtons()
{
    const int side = height() - 2 * buttonInset;
    m_clearButton->setGeometry(width() - side - buttonInset - 1, buttonInset, side, side);
    const int change = m_changeButton->sizeHint().width();
    m_changeButton->setGeometry(width() - change, 0, change, height());
}

void ShortcutField::resizeEvent(QResizeEvent *event)
{
    QLineEdit::resizeEvent(event);
    layOutButtons();
}

/// A search field's shape, which the style's own line edits do not have. They would hide the
/// placeholder of a centred field that has the focus, too.
void ShortcutField::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto &colours = palette();
    auto border = colours.color(QPalette::Text);
    border.setAlphaF(borderOpacity);
    if (hasFocus())
        border = colours.color(QPalette::Highlight);
    const qreal pen = m_isListening ? ringWidth : borderWidth;
    auto place = rect();
    if (!m_changeButton->isHidden())
        place.setRight(m_changeButton->x() - buttonGap);
    const auto frame = QRectF(place).adjusted(pen / 2, pen / 2, -pen / 2, -pen / 2);
    painter.setPen(QPen(border, pen));
    painter.setBrush(colours.base());
    painter.drawRoundedRect(frame, frame.height() / 2, frame.height() / 2);

    const bool isEmpty = text().isEmpty();
    place.adjust(sidePadding, 0, -sidePadding, 0);
    if (!m_clearButton->isHidden())
        place.adjust(markSize - buttonInset, 0, buttonInset - markSize, 0);
    painter.setPen(colours.color(isEmpty ? QPalette::PlaceholderText : QPalette::Text));
    const auto &shown = isEmpty ? placeholderText() : text();
    painter.drawText(place, Qt::AlignCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(shown, Qt::ElideRight, place.width()));
}

} // namespace KeyboardShortcuts
