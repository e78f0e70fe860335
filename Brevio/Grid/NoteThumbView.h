#pragma once

#include "Brevio/Grid/ThumbText.h"
#include "Brevio/Grid/TilePainting.h"
#include "Brevio/Notes/Note.h"

#include <functional>
#include <optional>

namespace Brevio {

/// The tile of one note in the grid: its text on paper, a dot when it is pinned, a ring when it
/// is the active one. A plain object that its GridDocument places and paints, for there may be
/// thousands. Holds a copy of the note, and changes no note itself. Sizes in logical pixels of
/// the document. Main thread only.
class NoteThumbView final
{
public:
    using Callback = std::function<void(const QUuid &)>;

    /// Empty until one is set: such a tile reads "(empty)" and ignores clicks.
    [[nodiscard]] const std::optional<Note> &note() const { return m_note; }
    void setNote(std::optional<Note> note) { m_note = std::move(note); }
    [[nodiscard]] bool shows(const QUuid &id) const { return m_note && m_note->id == id; }

    [[nodiscard]] bool isActive() const { return m_isActive; }
    void setActive(bool isActive) { m_isActive = isActive; }

    [[nodiscard]] QRectF frame() const { return m_frame; }
    void setFrame(const QRectF &frame) { m_frame = frame; }

    [[nodiscard]] double alpha() const { return m_alpha; }
    void setAlpha(double alpha) { m_alpha = alpha; }

    /// The body, or "(empty)".
    [[nodiscard]] QString text() const;
    /// The text as it is laid out inside `labelRect`.
    [[nodiscard]] ThumbText laidOutText() const;
    /// Where the text shows, from the tile's top left corner.
    [[nodiscard]] static QRectF labelRect();

    void paint(QPainter &painter, const TileSurroundings &surroundings) const;

    /// A press of the primary button; the context menu's two items. Each calls its callback with
    /// the note's identifier, if there is a note. The callback may destroy the tile.
    void mouseDown() const { report(onClick); }
    void handlePinToggle() const { report(onPinToggle); }
    void handleDelete() const { report(onDelete); }

    Callback onClick;
    Callback onPinToggle;
    Callback onDelete;

private:
    void report(Callback callback) const;

    std::optional<Note> m_note;
    bool m_isActive = false;
    QRectF m_frame{QPointF(), tileSize};
    double m_alpha = 1.0;
};

} // namespace Brevio
