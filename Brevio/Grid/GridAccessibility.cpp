#include "Brevio/Grid/GridAccessibility.h"

#include "Brevio/Grid/GridContentView.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>

#include <map>

namespace Brevio {

namespace {

/// One tile, by its number.
class TileInterface final : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    TileInterface(GridContentView *grid, int tile)
        : m_grid(grid)
        , m_tile(tile)
    {}

    bool isValid() const override { return m_grid && m_tile < m_grid->document().tileCount(); }
    QObject *object() const override { return nullptr; }
    QWindow *window() const override
    {
        return isValid() ? m_grid->window()->windowHandle() : nullptr;
    }
    QAccessibleInterface *parent() const override
    {
        return m_grid ? QAccessible::queryAccessibleInterface(m_grid) : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }

    QAccessible::Role role() const override
    {
        return isPlus() ? QAccessible::Button : QAccessible::ListItem;
    }
    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? m_grid->tileDescription(m_tile) : QString();
    }
    void setText(QAccessible::Text, const QString &) override {}
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect tile = m_grid->tileRect(m_tile).toAlignedRect();
        return {m_grid->mapToGlobal(tile.topLeft()), tile.size()};
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.focusable = true;
        state.focused = m_grid->hasFocus() && m_grid->focusedTile() == m_tile;
        state.invisible = !m_grid->isVisible();
        state.offscreen = !m_grid->tileRect(m_tile).intersects(QRectF(m_grid->rect()));
        if (!isPlus()) {
            state.selectable = true;
            state.selected = m_grid->thumbs()[static_cast<std::size_t>(m_tile)]->isActive();
        }
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList actionNames() const override
    {
        if (!isValid())
            return {};
        return isPlus() ? QStringList{pressAction()} : QStringList{pressAction(), showMenuAction()};
    }
    void doAction(const QString &name) override
    {
        if (!isValid())
            return;
        if (name == pressAction())
            m_grid->openTile(m_tile);
        else if (name == showMenuAction())
            m_grid->showTileMenu(m_tile, m_grid->tileRect(m_tile).center());
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    bool isPlus() const { return isValid() && m_tile == static_cast<int>(m_grid->thumbs().size()); }

    QPointer<GridContentView> m_grid;
    int m_tile;
};

class GridInterface final : public QAccessibleWidget
{
public:
    explicit GridInterface(GridContentView *grid)
        : QAccessibleWidget(grid, QAccessible::List, QStringLiteral("All cards"))
    {}
    ~GridInterface() override { dropItems(); }

    int childCount() const override { return grid()->document().tileCount(); }
    QAccessibleInterface *child(int tile) const override
    {
        if (tile < 0 || tile >= childCount())
            return nullptr;
        auto &id = m_items[tile];
        if (id == 0)
            id = QAccessible::registerAccessibleInterface(new TileInterface(grid(), tile));
        return QAccessible::accessibleInterface(id);
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        const auto tile = grid()->tileAt(QPointF(grid()->mapFromGlobal(QPoint(x, y))));
        return tile ? child(*tile) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface *item) const override
    {
        for (const auto &[tile, id] : m_items) {
            if (QAccessible::accessibleInterface(id) == item)
                return tile;
        }
        return -1;
    }
    QAccessibleInterface *focusChild() const override
    {
        const auto tile = grid()->focusedTile();
        return grid()->hasFocus() && tile ? child(*tile) : nullptr;
    }

    void dropItems()
    {
        for (const auto &[tile, id] : std::exchange(m_items, {}))
            QAccessible::deleteAccessibleInterface(id);
    }

private:
    GridContentView *grid() const { return static_cast<GridContentView *>(object()); }

    mutable std::map<int, QAccessible::Id> m_items;
};

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    auto *grid = qobject_cast<GridContentView *>(object);
    return grid ? new GridInterface(grid) : nullptr;
}

} // namespace

void GridAccessibility::install()
{
    QAccessible::installFactory(makeInterface);
}

void GridAccessibility::tilesChanged(GridContentView *grid)
{
    if (!QAccessible::isActive())
        return;
    if (auto *shown = dynamic_cast<GridInterface *>(QAccessible::queryAccessibleInterface(grid)))
        shown->dropItems();
    QAccessibleEvent event(grid, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&event);
}

void GridAccessibility::tileFocused(GridContentView *grid, int tile)
{
    QAccessibleEvent event(grid, QAccessible::Focus);
    event.setChild(tile);
    QAccessible::updateAccessibility(&event);
}

} // namespace Brevio
