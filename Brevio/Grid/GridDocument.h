#pragma once

#include "Brevio/Grid/NewCardThumbView.h"
#include "Brevio/Grid/NoteThumbView.h"
#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Animation.h"

#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace Brevio {

/// The sheet that GridContentView scrolls: the tiles in three columns, the plus tile last, and
/// their movements when one is deleted. Tiles are counted from 0 in that order, so the plus tile's
/// number is that of the notes. Lengths in logical pixels from the sheet's top left corner, y
/// downwards. Main thread only.
class GridDocument final
{
public:
    /// Shared with the animation that makes a deleted one disappear.
    using Thumbs = std::vector<std::shared_ptr<NoteThumbView>>;

    static constexpr int columns = 3;

    /// The queue must outlive the document.
    explicit GridDocument(Platform::MainQueue &queue)
        : m_queue(queue)
    {}

    [[nodiscard]] const Thumbs &thumbs() const { return m_thumbs; }
    /// None before the first reload.
    [[nodiscard]] const std::optional<NewCardThumbView> &newCardTile() const { return m_newCard; }
    [[nodiscard]] int tileCount() const;
    /// Where the tile is now, on its way perhaps.
    [[nodiscard]] QRectF tileFrame(int tile) const;
    /// The tile at the point, but never one that is being deleted.
    [[nodiscard]] std::optional<int> tileAt(QPointF point) const;
    [[nodiscard]] bool isBeingDeleted(int tile) const;
    /// The tile that many places on (one row is `columns`), or the nearest in that direction; the
    /// same one where there is none.
    [[nodiscard]] int tileBeside(int tile, int step) const;
    /// The first tile that begins at this height or below, else the last. There must be one.
    [[nodiscard]] int firstTileFrom(double top) const;
    /// Never less than the visible part's.
    [[nodiscard]] double height() const { return m_height; }

    /// The first tile that shows the note; none when there is none.
    [[nodiscard]] std::shared_ptr<NoteThumbView> thumbShowing(const QUuid &id) const;

    /// Takes new tiles in the place of the old. layoutThumbs() must follow at once: it places them.
    void setTiles(Thumbs thumbs, NewCardThumbView newCard);
    /// Puts every tile in its place at once, a slide under way included.
    void layoutThumbs(double visibleHeight);
    /// Shrinks the note's tile into its centre, then slides the others together. Nothing happens
    /// when no tile shows the note, or when it is going already.
    void animateDelete(const QUuid &id);

    /// Paints the tiles that touch `exposed`.
    void paint(QPainter &painter, const QRectF &exposed,
               const TileSurroundings &surroundings) const;

    /// Something looks different now.
    std::function<void()> onChange;
    /// The tile of that number is gone; those after it have moved up by one.
    std::function<void(int tile)> onTileRemoved;

private:
    struct Deletion
    {
        QUuid id;
        std::shared_ptr<NoteThumbView> thumb;
        Platform::Animation shrink;
    };
    using Deletions = std::list<Deletion>;

    [[nodiscard]] double restingHeight() const;
    [[nodiscard]] bool isBeingDeleted(const NoteThumbView &thumb) const;
    void finishDeletion(Deletions::iterator deletion);
    void layoutThumbsAnimated();
    void announceChange() const;

    Platform::MainQueue &m_queue;
    Thumbs m_thumbs;
    std::optional<NewCardThumbView> m_newCard;
    double m_visibleHeight = 0;
    double m_height = 0;
    Deletions m_deletions;
    Platform::Animation m_slide;
};

} // namespace Brevio
