#include "Brevio/Grid/GridDocument.h"

#include <QPainter>

#include <algorithm>

using namespace std::chrono_literals;

namespace Brevio {

namespace {

constexpr double margin = 12.0;
constexpr double gap = 8.0;
constexpr auto shrinkTime = 200ms;
constexpr auto slideTime = 240ms;

QRectF slotFrame(int tile)
{
    const int column = tile % GridDocument::columns;
    const int row = tile / GridDocument::columns;
    return {QPointF(margin + (tileSize.width() + gap) * column,
                    margin + (tileSize.height() + gap) * row),
            tileSize};
}

double between(double from, double to, double progress)
{
    return from + (to - from) * progress;
}

/// The ends exact: a tile at rest has its size to the last bit.
QRectF between(const QRectF &from, const QRectF &to, double progress)
{
    if (progress >= 1.0)
        return to;
    return {between(from.x(), to.x(), progress), between(from.y(), to.y(), progress),
            between(from.width(), to.width(), progress),
            between(from.height(), to.height(), progress)};
}

} // namespace

int GridDocument::tileCount() const
{
    return static_cast<int>(m_thumbs.size()) + (m_newCard ? 1 : 0);
}

QRectF GridDocument::tileFrame(int tile) const
{
    const auto index = static_cast<std::size_t>(tile);
    return index < m_thumbs.size() ? m_thumbs[index]->frame() : m_newCard->frame();
}

std::optional<int> GridDocument::tileAt(QPointF point) const
{
    for (int tile = 0; tile < tileCount(); ++tile) {
        if (tileFrame(tile).contains(point) && !isBeingDeleted(tile))
            return tile;
    }
    return std::nullopt;
}

bool GridDocument::isBeingDeleted(int tile) const
{
    const auto index = static_cast<std::size_t>(tile);
    return index < m_thumbs.size() && isBeingDeleted(*m_thumbs[index]);
}

int GridDocument::tileBeside(int tile, int step) const
{
    const int last = tileCount() - 1;
    const int target = tile + step;
    if (target < 0)
        return tile;
    // From the last row but one a step down reaches a tile even where the last row has ended.
    const bool isInLastRow = tile / columns == last / columns;
    return target > last && isInLastRow ? tile : std::min(target, last);
}

int GridDocument::firstTileFrom(double top) const
{
    int tile = 0;
    while (tile < tileCount() - 1 && tileFrame(tile).top() < top)
        ++tile;
    return tile;
}

bool GridDocument::isBeingDeleted(const NoteThumbView &thumb) const
{
    return std::any_of(m_deletions.begin(), m_deletions.end(),
                       [&](const Deletion &deletion) { return deletion.thumb.get() == &thumb; });
}

std::shared_ptr<NoteThumbView> GridDocument::thumbShowing(const QUuid &id) const
{
    const auto found = std::find_if(m_thumbs.begin(), m_thumbs.end(),
                                    [&](const auto &thumb) { return thumb->shows(id); });
    return found == m_thumbs.end() ? nullptr : *found;
}

double GridDocument::restingHeight() const
{
    const int rows = (tileCount() + columns - 1) / columns;
    const double content = 2.0 * margin + tileSize.height() * rows + gap * std::max(0, rows - 1);
    return std::max(content, m_visibleHeight);
}

void GridDocument::setTiles(Thumbs thumbs, NewCardThumbView newCard)
{
    m_thumbs = std::move(thumbs);
    m_newCard = std::move(newCard);
}

void GridDocument::layoutThumbs(double visibleHeight)
{
    m_slide.reset();
    m_visibleHeight = visibleHeight;
    int tile = 0;
    for (const auto &thumb : m_thumbs) {
        if (!isBeingDeleted(*thumb))
            thumb->setFrame(slotFrame(tile));
        ++tile;
    }
    if (m_newCard)
        m_newCard->setFrame(slotFrame(tile));
    m_height = restingHeight();
    announceChange();
}

void GridDocument::animateDelete(const QUuid &id)
{
    const auto thumb = thumbShowing(id);
    if (!thumb || isBeingDeleted(*thumb))
        return;
    const auto deletion = m_deletions.insert(m_deletions.end(), {id, thumb, {}});
    const QRectF full = thumb->frame();
    const QRectF centre(full.center(), QSizeF(0.0, 0.0));
    const double fullAlpha = thumb->alpha();
    deletion->shrink = Platform::animate(
        m_queue, shrinkTime, Platform::TimingCurve::EaseIn,
        [=, this](double progress) {
            thumb->setFrame(between(full, centre, progress));
            thumb->setAlpha(between(fullAlpha, 0.0, progress));
            announceChange();
        },
        [=, this] { finishDeletion(deletion); });
}

void GridDocument::finishDeletion(Deletions::iterator deletion)
{
    const QUuid id = deletion->id;
    m_deletions.erase(deletion);
    // A reload may have replaced the tile by another that shows the note: that one goes too.
    for (std::size_t i = 0; i < m_thumbs.size();) {
        if (!m_thumbs[i]->shows(id)) {
            ++i;
            continue;
        }
        m_thumbs.erase(m_thumbs.begin() + static_cast<std::ptrdiff_t>(i));
        if (onTileRemoved)
            onTileRemoved(static_cast<int>(i));
    }
    layoutThumbsAnimated();
}

void GridDocument::layoutThumbsAnimated()
{
    std::vector<QRectF> starts;
    starts.reserve(static_cast<std::size_t>(tileCount()));
    for (int tile = 0; tile < tileCount(); ++tile)
        starts.push_back(tileFrame(tile));
    m_slide = Platform::animate(
        m_queue, slideTime, Platform::TimingCurve::EaseInEaseOut,
        [this, starts = std::move(starts), startHeight = m_height](double progress) {
            int tile = 0;
            for (const auto &thumb : m_thumbs) {
                // One that shrinks stays where it is, and keeps its place until it is gone.
                if (!isBeingDeleted(*thumb))
                    thumb->setFrame(
                        between(starts[static_cast<std::size_t>(tile)], slotFrame(tile), progress));
                ++tile;
            }
            if (m_newCard)
                m_newCard->setFrame(between(starts.back(), slotFrame(tile), progress));
            m_height = between(startHeight, restingHeight(), progress);
            announceChange();
        });
}

void GridDocument::paint(QPainter &painter, const QRectF &exposed,
                         const TileSurroundings &surroundings) const
{
    for (const auto &thumb : m_thumbs) {
        if (thumb->frame().intersects(exposed))
            thumb->paint(painter, surroundings);
    }
    if (m_newCard && m_newCard->frame().intersects(exposed))
        m_newCard->paint(painter, surroundings);
}

void GridDocument::announceChange() const
{
    if (onChange)
        onChange();
}

} // namespace Brevio
