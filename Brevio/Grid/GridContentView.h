#pragma once

#include "Brevio/Grid/GridDocument.h"
#include "Platform/Core/MainQueue.h"
#include "Platform/Screen/Appearance.h"

#include <QWidget>

#include <functional>
#include <optional>

namespace Brevio {

class OverlayScrollBar;

/// The grid face of the card: a scrolling sheet of tiles, one a note, last edited first, and a plus
/// tile. Transparent: what is behind it shows through. It changes no note; it reports what the user
/// asks for. Tiles are counted from 0 in their order on the sheet, the plus tile last. Lengths in
/// logical pixels. Main thread only.
class GridContentView final : public QWidget
{
    Q_OBJECT

public:
    /// The appearance and the queue must outlive the view.
    GridContentView(Platform::Appearance &appearance, Platform::MainQueue &queue,
                    QWidget *parent = nullptr);

    [[nodiscard]] const GridDocument::Thumbs &thumbs() const { return m_document.thumbs(); }
    [[nodiscard]] const GridDocument &document() const { return m_document; }
    [[nodiscard]] const OverlayScrollBar &scrollBar() const { return *m_scrollBar; }
    [[nodiscard]] double scrollOffset() const;
    /// The tile with the keyboard's ring; none until the keyboard was used.
    [[nodiscard]] std::optional<int> focusedTile() const { return m_focusedTile; }
    /// Where the tile shows, in this widget.
    [[nodiscard]] QRectF tileRect(int tile) const;
    /// The tile under a point of this widget, but never one that is being deleted.
    [[nodiscard]] std::optional<int> tileAt(QPointF position) const;
    /// What a screen reader says: "Card 3 of 12, pinned: text", "New card".
    [[nodiscard]] QString tileDescription(int tile) const;

    /// Makes all tiles anew, of the notes in any order. The scroll position stays as far as it can,
    /// and every tile is fully visible.
    void reload(const NoteList &notes, const std::optional<QUuid> &activeID);
    /// Replaces the note of the first tile that shows it, and nothing when none does.
    void setThumbNote(const Note &note);
    /// Removes the tile of a deleted note before the user's eyes; nothing when none shows it.
    void animateDelete(const QUuid &id);
    /// What a press of the primary button on the tile does.
    void openTile(int tile);
    /// Pops the tile's context menu up at a point of this widget; the plus tile has none.
    void showTileMenu(int tile, QPointF position);

    std::function<void(const QUuid &id)> onThumbClick;
    std::function<void(const QUuid &id)> onThumbPinToggle;
    std::function<void(const QUuid &id)> onThumbDelete;
    std::function<void()> onNewCardTapped;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void layoutThumbs();
    void followDocument();
    void tileRemoved(int tile);
    [[nodiscard]] std::shared_ptr<NoteThumbView> makeThumb(const Note &note);
    [[nodiscard]] std::optional<int> focusTarget(int key) const;
    [[nodiscard]] std::optional<int> activeTileInView() const;
    [[nodiscard]] bool scrollByKey(int key);
    void setFocusedTile(std::optional<int> tile);
    void showMenuOfFocusedTile();

    Platform::Appearance &m_appearance;
    GridDocument m_document;
    OverlayScrollBar *m_scrollBar; ///< a child
    double m_savedScrollOffsetY = 0;
    std::optional<int> m_focusedTile;
};

} // namespace Brevio
