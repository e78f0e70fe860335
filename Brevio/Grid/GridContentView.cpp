#include "Brevio/Grid/GridContentView.h"

#include "Brevio/CardColors.h"
#include "Brevio/Grid/GridAccessibility.h"
#include "Brevio/Grid/OverlayScrollBar.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Brevio {

namespace {

constexpr double wheelLine = 18.0; ///< one of the lines that a wheel's notch is worth
constexpr double wheelNotch = 120.0;
constexpr double pageOverlap = 24.0;  ///< of what was visible before a page key
constexpr double revealMargin = 12.0; ///< kept around a tile that is scrolled into view
constexpr double focusRingGap = 1.5;
constexpr double focusRingWidth = 2.0;
constexpr double focusRingRadius = 8.5;
constexpr double focusRingAlpha = 0.85;
constexpr int longestSpoken = 1000; ///< characters of a note's text

} // namespace

GridContentView::GridContentView(Platform::Appearance &appearance, Platform::MainQueue &queue,
                                 QWidget *parent)
    : QWidget(parent)
    , m_appearance(appearance)
    , m_document(queue)
    , m_scrollBar(new OverlayScrollBar(appearance, queue, this))
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    GridAccessibility::install();
    m_document.onChange = [this] { followDocument(); };
    m_document.onTileRemoved = [this](int tile) { tileRemoved(tile); };
    m_scrollBar->onScroll = [this] { update(); };
    connect(&appearance, &Platform::Appearance::changed, this, qOverload<>(&QWidget::update));
}

double GridContentView::scrollOffset() const
{
    return m_scrollBar->offset();
}

QRectF GridContentView::tileRect(int tile) const
{
    return m_document.tileFrame(tile).translated(0.0, -scrollOffset());
}

std::optional<int> GridContentView::tileAt(QPointF position) const
{
    return m_document.tileAt(position + QPointF(0.0, scrollOffset()));
}

QString GridContentView::tileDescription(int tile) const
{
    const auto index = static_cast<std::size_t>(tile);
    if (index >= thumbs().size())
        return QStringLiteral("New card");
    const auto &thumb = *thumbs()[index];
    const bool isPinned = thumb.note() && thumb.note()->isPinned;
    return QStringLiteral("Card %1 of %2%3: ")
               .arg(tile + 1)
               .arg(thumbs().size())
               .arg(isPinned ? QStringLiteral(", pinned") : QString()) +
           thumb.text().left(longestSpoken);
}

void GridContentView::reload(const NoteList &notes, const std::optional<QUuid> &activeID)
{
    if (!thumbs().empty())
        m_savedScrollOffsetY = scrollOffset();

    std::vector<const Note *> ordered;
    ordered.reserve(notes.size());
    for (const Note &note : notes)
        ordered.push_back(&note);
    std::stable_sort(ordered.begin(), ordered.end(), [](const Note *one, const Note *other) {
        return one->lastEditedAt > other->lastEditedAt;
    });

    // The ring stays with its note, or on the plus behind the last.
    std::optional<Note> ringed;
    if (m_focusedTile && *m_focusedTile < static_cast<int>(thumbs().size()))
        ringed = thumbs()[static_cast<std::size_t>(*m_focusedTile)]->note();
    const bool isOnPlus = m_focusedTile && !ringed;
    m_focusedTile = isOnPlus ? std::optional(static_cast<int>(ordered.size())) : std::nullopt;

    GridDocument::Thumbs made;
    made.reserve(ordered.size());
    for (const Note *note : ordered) {
        if (ringed && ringed->id == note->id)
            m_focusedTile = static_cast<int>(made.size());
        auto thumb = makeThumb(*note);
        thumb->setActive(activeID && *activeID == note->id);
        made.push_back(std::move(thumb));
    }
    NewCardThumbView newCard;
    newCard.onClick = [this] {
        if (const auto callback = onNewCardTapped)
            callback();
    };
    m_document.setTiles(std::move(made), std::move(newCard));
    layoutThumbs();
    m_scrollBar->setOffset(m_savedScrollOffsetY);
    GridAccessibility::tilesChanged(this);
}

std::shared_ptr<NoteThumbView> GridContentView::makeThumb(const Note &note)
{
    // The tiles do not outlive the view: they are the document's, and the menus are our children.
    auto thumb = std::make_shared<NoteThumbView>();
    thumb->setNote(note);
    const auto forwardingTo = [this](NoteThumbView::Callback GridContentView::*callback) {
        return [this, callback](const QUuid &id) {
            if (const auto installed = this->*callback)
                installed(id);
        };
    };
    thumb->onClick = forwardingTo(&GridContentView::onThumbClick);
    thumb->onPinToggle = forwardingTo(&GridContentView::onThumbPinToggle);
    thumb->onDelete = forwardingTo(&GridContentView::onThumbDelete);
    return thumb;
}

void GridContentView::setThumbNote(const Note &note)
{
    if (const auto thumb = m_document.thumbShowing(note.id)) {
        thumb->setNote(note);
        update();
        GridAccessibility::tilesChanged(this);
    }
}

void GridContentView::animateDelete(const QUuid &id)
{
    m_document.animateDelete(id);
}

void GridContentView::tileRemoved(int tile)
{
    if (m_focusedTile && *m_focusedTile > tile)
        --*m_focusedTile;
    GridAccessibility::tilesChanged(this);
}

void GridContentView::layoutThumbs()
{
    m_document.layoutThumbs(height());
}

void GridContentView::followDocument()
{
    m_scrollBar->setExtents(m_document.height(), height());
    update();
}

void GridContentView::resizeEvent(QResizeEvent *)
{
    const int breadth = OverlayScrollBar::breadth();
    m_scrollBar->setGeometry(width() - breadth, 0, breadth, height());
    layoutThumbs();
}

void GridContentView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    // Whole pixels of the screen keep letters and borders sharp while scrolling.
    const double ratio = devicePixelRatioF();
    const double offset = std::round(scrollOffset() * ratio) / ratio;
    painter.translate(0.0, -offset);
    const auto scheme = m_appearance.scheme();
    m_document.paint(painter, QRectF(event->rect()).translated(0.0, offset), {scheme, ratio});

    if (!m_focusedTile || m_document.isBeingDeleted(*m_focusedTile))
        return;
    const double outset = focusRingGap + focusRingWidth / 2.0;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(CardColors::cardInk().resolved(scheme, focusRingAlpha), focusRingWidth));
    painter.drawRoundedRect(
        m_document.tileFrame(*m_focusedTile).adjusted(-outset, -outset, outset, outset),
        focusRingRadius, focusRingRadius);
}

void GridContentView::wheelEvent(QWheelEvent *event)
{
    // Some drivers give a wheel's angle for its pixels.
    const bool hasPixels =
        !event->pixelDelta().isNull() && event->pixelDelta() != event->angleDelta();
    const double distance = hasPixels ? event->pixelDelta().y()
                                      : event->angleDelta().y() / wheelNotch *
                                            QApplication::wheelScrollLines() * wheelLine;
    m_scrollBar->scrollBy(-distance);
    event->accept();
}

void GridContentView::mousePressEvent(QMouseEvent *event)
{
    setFocusedTile(std::nullopt);
    const auto tile = tileAt(event->position());
    if (event->button() == Qt::LeftButton && tile)
        openTile(*tile);
    else
        event->ignore(); // the panel is dragged by the room between the tiles
}

void GridContentView::mouseMoveEvent(QMouseEvent *event)
{
    const bool isOverPlus = tileAt(event->position()) == static_cast<int>(thumbs().size());
    setCursor(isOverPlus ? Qt::PointingHandCursor : Qt::ArrowCursor);
    event->ignore(); // perhaps it drags
}

void GridContentView::openTile(int tile)
{
    if (tile < 0 || tile >= m_document.tileCount() || m_document.isBeingDeleted(tile))
        return;
    const auto index = static_cast<std::size_t>(tile);
    // The callback may reload the grid, which drops the tiles.
    if (index < thumbs().size())
        std::shared_ptr(thumbs()[index])->mouseDown();
    else
        NewCardThumbView(*m_document.newCardTile()).mouseDown();
}

void GridContentView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        showMenuOfFocusedTile();
    else if (const auto tile = tileAt(event->pos()))
        showTileMenu(*tile, event->pos());
}

void GridContentView::showMenuOfFocusedTile()
{
    if (!m_focusedTile)
        return;
    const int tile = *m_focusedTile;
    setFocusedTile(tile); // brings it into view
    showTileMenu(tile, tileRect(tile).center());
}

void GridContentView::showTileMenu(int tile, QPointF position)
{
    const auto index = static_cast<std::size_t>(tile);
    if (index >= thumbs().size() || m_document.isBeingDeleted(tile))
        return;
    const auto thumb = thumbs()[index];
    if (!thumb->note())
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(thumb->note()->isPinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"),
                    [thumb] { thumb->handlePinToggle(); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Delete"), [thumb] { thumb->handleDelete(); });
    menu->popup(mapToGlobal(position).toPoint());
}

void GridContentView::keyPressEvent(QKeyEvent *event)
{
    const int key = event->key();
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (key == Qt::Key_Menu || (key == Qt::Key_F10 && modifiers == Qt::ShiftModifier)) {
        showMenuOfFocusedTile();
    } else if (modifiers != Qt::NoModifier) {
        event->ignore();
    } else if (const auto target = focusTarget(key)) {
        setFocusedTile(target);
    } else if (m_focusedTile &&
               (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space)) {
        if (!event->isAutoRepeat())
            openTile(*m_focusedTile);
    } else if (!scrollByKey(key)) {
        event->ignore();
    }
}

std::optional<int> GridContentView::focusTarget(int key) const
{
    int step = 0;
    // clang-format off
    switch (key) {
    case Qt::Key_Left: step = -1; break;
    case Qt::Key_Right: step = 1; break;
    case Qt::Key_Up: step = -GridDocument::columns; break;
    case Qt::Key_Down: step = GridDocument::columns; break;
    default: return std::nullopt;
    }
    // clang-format on
    if (m_document.tileCount() == 0)
        return std::nullopt;
    // Unless it is shown, the ring starts from the active note, which looks chosen already.
    const auto current = m_focusedTile ? m_focusedTile : activeTileInView();
    return current ? m_document.tileBeside(*current, step)
                   : m_document.firstTileFrom(scrollOffset());
}

std::optional<int> GridContentView::activeTileInView() const
{
    const auto active = std::find_if(thumbs().begin(), thumbs().end(),
                                     [](const auto &thumb) { return thumb->isActive(); });
    if (active == thumbs().end())
        return std::nullopt;
    const int tile = static_cast<int>(active - thumbs().begin());
    return QRectF(rect()).contains(tileRect(tile)) ? std::optional(tile) : std::nullopt;
}

bool GridContentView::scrollByKey(int key)
{
    // clang-format off
    switch (key) {
    case Qt::Key_PageUp: m_scrollBar->scrollBy(pageOverlap - height()); return true;
    case Qt::Key_PageDown: m_scrollBar->scrollBy(height() - pageOverlap); return true;
    case Qt::Key_Home: m_scrollBar->scrollTo(0.0); return true;
    case Qt::Key_End: m_scrollBar->scrollTo(m_scrollBar->maximum()); return true;
    default: return false;
    }
    // clang-format on
}

void GridContentView::setFocusedTile(std::optional<int> tile)
{
    m_focusedTile = tile;
    update();
    if (!tile)
        return;
    const QRectF frame = m_document.tileFrame(*tile);
    const double top = frame.top() - revealMargin;
    const double bottom = frame.bottom() + revealMargin - height();
    if (top < scrollOffset())
        m_scrollBar->scrollTo(top);
    else if (bottom > scrollOffset())
        m_scrollBar->scrollTo(bottom);
    GridAccessibility::tileFocused(this, *tile);
}

void GridContentView::focusOutEvent(QFocusEvent *event)
{
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        setFocusedTile(std::nullopt);
}

} // namespace Brevio
