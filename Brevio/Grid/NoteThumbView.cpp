#include "Brevio/Grid/NoteThumbView.h"

#include "Brevio/CardColors.h"
#include "Platform/Screen/Fonts.h"

#include <QPainter>

namespace Brevio {

namespace {

constexpr double fontSize = 10.5;
constexpr double labelInset = 6.0;
constexpr double pinDotSize = 5.0;
constexpr double pinDotInset = 5.0; ///< from the top and right edges
constexpr double borderWidth = 0.5;
constexpr double borderAlpha = 0.18;
constexpr double ringWidth = 1.0;
constexpr double ringAlpha = 0.65;

} // namespace

QRectF NoteThumbView::labelRect()
{
    return QRectF(QPointF(), tileSize).adjusted(labelInset, labelInset, -labelInset, -labelInset);
}

QString NoteThumbView::text() const
{
    return m_note && !m_note->body.isEmpty() ? m_note->body : QStringLiteral("(empty)");
}

ThumbText NoteThumbView::laidOutText() const
{
    static const QFont font =
        Platform::Fonts::baskerville(fontSize, Platform::Fonts::Slant::Upright, fontSize);
    return {text(), font, labelRect().size()};
}

void NoteThumbView::paint(QPainter &painter, const TileSurroundings &surroundings) const
{
    const auto scheme = surroundings.scheme;
    const auto &ink = CardColors::cardInk();
    painter.save();
    placeTile(painter, m_frame, m_alpha, surroundings.devicePixelRatio);
    paintTileSurface(painter, CardColors::thumbFill().resolved(scheme),
                     ink.resolved(scheme, borderAlpha), borderWidth, surroundings.devicePixelRatio);

    painter.translate(labelRect().topLeft());
    laidOutText().draw(painter, ink.resolved(scheme));
    painter.translate(-labelRect().topLeft());

    if (m_note && m_note->isPinned) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Platform::systemYellow().resolved(scheme));
        painter.drawEllipse(QRectF(tileSize.width() - pinDotInset - pinDotSize, pinDotInset,
                                   pinDotSize, pinDotSize));
    }
    if (m_isActive)
        paintTileSurface(painter, Qt::transparent, ink.resolved(scheme, ringAlpha), ringWidth,
                         surroundings.devicePixelRatio);
    painter.restore();
}

void NoteThumbView::report(Callback callback) const
{
    if (!m_note || !callback)
        return;
    const QUuid id = m_note->id;
    callback(id);
}

} // namespace Brevio
