#include "Brevio/GridContentView.h"
#include "Brevio/OverlayScrollBar.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/ManualTime.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QTest>
#include <QWheelEvent>

using namespace Brevio;
using namespace std::chrono_literals;

namespace {

/// The first is the last edited.
NoteList notesReading(int count)
{
    NoteList notes;
    for (int i = 0; i < count; ++i)
        notes.push_back({.id = QUuid::createUuid(),
                         .body = QString::number(i),
                         .lastEditedAt = Platform::Instant(std::chrono::seconds(1000 - i))});
    return notes;
}

} // namespace

class GridContentViewTests final : public QObject
{
    Q_OBJECT

    ManualQueue queue;
    FakeAppearance appearance;
    std::unique_ptr<GridContentView> grid;
    NoteList notes;

    void show(int count, std::optional<std::size_t> active = {})
    {
        notes = notesReading(count);
        grid->reload(notes, active ? std::optional(notes[*active].id) : std::nullopt);
    }
    QString order() const
    {
        QString bodies;
        for (const auto &thumb : grid->thumbs())
            bodies += thumb->text();
        return bodies;
    }
    QPointF plusPosition() const { return grid->document().newCardTile()->frame().topLeft(); }
    void press(QPoint position) { QTest::mousePress(grid.get(), Qt::LeftButton, {}, position); }
    void scroll(QPoint pixels, QPoint angle)
    {
        QWheelEvent event({100, 100}, {100, 100}, pixels, angle, {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(grid.get(), &event);
    }
    QList<QAction *> menuAt(int tile)
    {
        delete QApplication::activePopupWidget();
        grid->showTileMenu(tile, {});
        const auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        return menu ? menu->actions() : QList<QAction *>();
    }

private Q_SLOTS:
    void init()
    {
        grid = std::make_unique<GridContentView>(appearance, queue);
        grid->resize(460, 280);
        grid->show();
    }
    void cleanup()
    {
        delete QApplication::activePopupWidget();
        grid.reset();
    }

    void tilesFillThreeColumnsAndThePlusIsLast_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QPointF>("plus");
        QTest::addColumn<double>("height");
        QTest::newRow("row not full") << 2 << QPointF(308, 12) << 280.0;
        QTest::newRow("row full") << 3 << QPointF(12, 100) << 280.0;
        QTest::newRow("just fits") << 6 << QPointF(12, 188) << 280.0;
        QTest::newRow("scrolls") << 9 << QPointF(12, 276) << 368.0;
    }
    void tilesFillThreeColumnsAndThePlusIsLast()
    {
        QFETCH(int, count);
        show(count);
        QTEST(plusPosition(), "plus");
        QTEST(grid->document().height(), "height");
        QCOMPARE(grid->scrollBar().isVisible(), count == 9);
        if (count > 1)
            QCOMPARE(grid->thumbs()[1]->frame(), QRectF(160, 12, 140, 80));
    }

    void theLastEditedComesFirstAndEqualOnesKeepTheirOrder()
    {
        NoteList mixed = notesReading(4);
        mixed[1].lastEditedAt = mixed[2].lastEditedAt;
        mixed[3].isPinned = true;
        grid->reload({mixed[3], mixed[2], mixed[0], mixed[1]}, mixed[1].id);
        QCOMPARE(order(), u"0213"_qs);
        for (const auto &thumb : grid->thumbs())
            QCOMPARE(thumb->isActive(), thumb->shows(mixed[1].id));
    }

    void aReloadKeepsTheScrollPositionWithinTheContent()
    {
        show(30);
        scroll({}, {0, -12000});
        const double bottom = grid->scrollBar().maximum();
        QCOMPARE(grid->scrollOffset(), bottom);
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), bottom);
        notes.resize(9);
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), 88.0);
    }

    void aDeletedTileShrinksAndTheOthersCloseTheGap_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("deleted");
        QTest::addColumn<QString>("left");
        QTest::addColumn<QPointF>("plus");
        QTest::newRow("the only one") << 1 << 0 << QString() << QPointF(12, 12);
        QTest::newRow("the first") << 4 << 0 << u"123"_qs << QPointF(12, 100);
        QTest::newRow("a row disappears") << 9 << 4 << u"01235678"_qs << QPointF(308, 188);
    }
    void aDeletedTileShrinksAndTheOthersCloseTheGap()
    {
        QFETCH(int, count);
        QFETCH(int, deleted);
        show(count, std::size_t(deleted));
        scroll({}, {0, -12000});
        const auto thumb = grid->thumbs()[std::size_t(deleted)];
        const QPointF centre = thumb->frame().center();
        const QPointF plusBefore = plusPosition();

        grid->animateDelete(notes[std::size_t(deleted)].id);
        queue.advance(100ms);
        QCOMPARE(thumb->frame().center(), centre);
        QVERIFY(thumb->frame().width() > 70.0 && thumb->frame().width() < 140.0); // eases in
        QCOMPARE(thumb->alpha(), thumb->frame().width() / 140.0);
        QCOMPARE(grid->thumbs().size(), std::size_t(count));
        QCOMPARE(plusPosition(), plusBefore);

        queue.advance(100ms);
        QTEST(order(), "left");
        QCOMPARE(plusPosition(), plusBefore);
        queue.advance(120ms);
        QCOMPARE(grid->scrollOffset(), grid->document().height() - 280.0);
        queue.advance(120ms);
        QTEST(plusPosition(), "plus");
        QCOMPARE(grid->document().height(), 280.0);
        QCOMPARE(grid->scrollOffset(), 0.0);
        queue.advance(10s);
        grid->animateDelete(QUuid::createUuid()); // which no tile shows
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void deletionsMayOverlap()
    {
        show(5);
        grid->animateDelete(notes[0].id);
        queue.advance(100ms);
        const QPointF centre = grid->thumbs()[2]->frame().center();
        grid->animateDelete(notes[2].id);
        grid->animateDelete(notes[2].id);
        queue.advance(150ms);
        QCOMPARE(order(), u"1234"_qs);
        QCOMPARE(grid->thumbs()[1]->frame().center(), centre); // the others slide already
        QVERIFY(grid->thumbs()[0]->frame().left() < 160.0);
        queue.advance(300ms);
        QCOMPARE(order(), u"134"_qs);
        for (int tile = 0; tile < 3; ++tile)
            QCOMPARE(grid->document().tileFrame(tile), QRectF(12 + 148 * tile, 12, 140, 80));
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void aReloadInTheMiddleOfADeletionShowsTheNewTilesWhole()
    {
        show(3);
        grid->animateDelete(notes[1].id);
        queue.advance(100ms);
        grid->reload({notes[0], notes[2]}, {});
        QCOMPARE(order(), u"02"_qs);
        queue.advance(500ms);
        QCOMPARE(order(), u"02"_qs);
        QCOMPARE(grid->thumbs()[1]->frame(), QRectF(160, 12, 140, 80));
        QCOMPARE(grid->thumbs()[1]->alpha(), 1.0);

        grid->animateDelete(notes[0].id);
        queue.advance(100ms);
        grid.reset();
        queue.advance(1s); // nobody is left to move
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void aPressOpensTheTileUnderItAtOnce()
    {
        show(4);
        QList<QUuid> clicks;
        int newCards = 0;
        grid->onNewCardTapped = [&] { ++newCards; };
        grid->onThumbClick = [&](const QUuid &id) {
            clicks << id;
            grid->reload({}, {}); // as if a merge had removed everything
        };
        QMouseEvent between(QEvent::MouseButtonPress, {156, 50}, {156, 50}, Qt::LeftButton,
                            Qt::LeftButton, {});
        QApplication::sendEvent(grid.get(), &between);
        QVERIFY2(!between.isAccepted(), "the panel is dragged by it");
        QCOMPARE(clicks.size(), 0);
        press({200, 50});
        QCOMPARE(clicks, QList{notes[1].id});
        QTest::mouseRelease(grid.get(), Qt::LeftButton, {}, {200, 50});
        press({50, 50});
        QCOMPARE(newCards, 1);
        QCOMPARE(clicks.size(), 1);

        show(2);
        grid->animateDelete(notes[0].id);
        press({82, 52});
        QCOMPARE(clicks.size(), 1);

        for (const auto &[x, shape] :
             {std::pair(400, Qt::PointingHandCursor), {200, Qt::ArrowCursor}}) {
            QMouseEvent move(QEvent::MouseMove, QPointF(x, 50), QPointF(x, 50), Qt::NoButton, {},
                             {});
            QApplication::sendEvent(grid.get(), &move);
            QVERIFY(!move.isAccepted());
            QCOMPARE(grid->cursor().shape(), shape);
        }
    }

    void theContextMenuPinsUnpinsAndDeletes()
    {
        show(2);
        QStringList told;
        grid->onThumbPinToggle = [&](const QUuid &id) { told << u"pin "_qs + id.toString(); };
        grid->onThumbDelete = [&](const QUuid &id) { told << u"delete "_qs + id.toString(); };
        QCOMPARE(menuAt(1).value(0)->text(), u"Pin"_qs);
        QApplication::activePopupWidget()->close();

        Note pinned = notes[1];
        pinned.isPinned = true;
        grid->setThumbNote(pinned);
        const auto actions = menuAt(1);
        QCOMPARE(actions.size(), 3);
        QCOMPARE(actions[0]->text(), u"Unpin"_qs);
        QVERIFY(actions[1]->isSeparator());
        QCOMPARE(actions[2]->text(), u"Delete"_qs);
        grid->reload({}, {}); // the tile goes while its menu is open
        actions[0]->trigger();
        actions[2]->trigger();
        const QString id = notes[1].id.toString();
        QCOMPARE(told, QStringList({u"pin "_qs + id, u"delete "_qs + id}));
        QVERIFY(menuAt(0).isEmpty()); // the plus tile
    }

    void theArrowKeysMoveARingThatTheMouseHides()
    {
        show(7);
        QCOMPARE(grid->focusedTile(), std::nullopt);
        QTest::keyClick(grid.get(), Qt::Key_Return);
        const QList<std::pair<Qt::Key, int>> way{
            {Qt::Key_Down, 0}, {Qt::Key_Left, 0},  {Qt::Key_Up, 0},    {Qt::Key_Right, 1},
            {Qt::Key_Down, 4}, {Qt::Key_Home, 4},  {Qt::Key_Right, 5}, {Qt::Key_Down, 7},
            {Qt::Key_Down, 7}, {Qt::Key_Right, 7}, {Qt::Key_Up, 4}};
        for (const auto &[key, tile] : way) {
            QTest::keyClick(grid.get(), key);
            QCOMPARE(grid->focusedTile(), tile);
        }
        QUuid clicked;
        grid->onThumbClick = [&](const QUuid &id) { clicked = id; };
        QTest::keyClick(grid.get(), Qt::Key_Space);
        QCOMPARE(clicked, notes[4].id);
        QTest::keyClick(grid.get(), Qt::Key_F10, Qt::ShiftModifier);
        QVERIFY(QApplication::activePopupWidget());
        QApplication::activePopupWidget()->close();
        press({2, 2});
        QCOMPARE(grid->focusedTile(), std::nullopt);
    }

    void theRingStartsFromTheActiveTileScrollsIntoViewAndSurvivesADeletion()
    {
        show(12, 1);
        scroll({0, -200}, {});
        QTest::keyClick(grid.get(), Qt::Key_Left);
        QCOMPARE(grid->focusedTile(), 6); // the first in view, for the active one is not
        QTest::keyClick(grid.get(), Qt::Key_Up);
        QCOMPARE(grid->focusedTile(), 3);
        QCOMPARE(grid->tileRect(3).top(), 12.0);
        for (int i = 0; i < 2; ++i)
            QTest::keyClick(grid.get(), Qt::Key_Down);
        QCOMPARE(grid->focusedTile(), 9);
        QCOMPARE(grid->tileRect(9).bottom(), 268.0);
        grid->animateDelete(notes[0].id);
        queue.advance(1s);
        QCOMPARE(grid->focusedTile(), 8);

        show(5, 1);
        QTest::keyClick(grid.get(), Qt::Key_Right);
        QCOMPARE(grid->focusedTile(), 2);
    }

    void theScrollBarShowsWhileScrollingAndRestsWithoutATimer()
    {
        show(60);
        const auto &bar = grid->scrollBar();
        QCOMPARE(bar.alpha(), 0.0);
        scroll({0, -30}, {0, -240});
        QCOMPARE(grid->scrollOffset(), 30.0);
        queue.advance(300ms);
        QCOMPARE(bar.alpha(), 1.0);
        queue.advance(2s);
        QCOMPARE(bar.alpha(), 0.0);
        QCOMPARE(queue.pendingJobs(), 0);

        QTest::keyClick(grid.get(), Qt::Key_End);
        QCOMPARE(grid->scrollOffset(), bar.maximum());
        QTest::keyClick(grid.get(), Qt::Key_PageUp);
        QCOMPARE(grid->scrollOffset(), bar.maximum() - 256.0);
        QTest::keyClick(grid.get(), Qt::Key_Home);
        QCOMPARE(grid->scrollOffset(), 0.0);

        auto *thumb = grid->findChild<OverlayScrollBar *>();
        const QPoint grip = bar.thumbRect().center().toPoint();
        QTest::mousePress(thumb, Qt::LeftButton, {}, grip);
        QTest::mouseMove(thumb, grip + QPoint(0, 40));
        QCOMPARE(bar.thumbRect().center().toPoint(), grip + QPoint(0, 40));
    }

    void tilesFollowTheColourSchemeWithoutAReload()
    {
        show(1);
        QImage image(460, 280, QImage::Format_ARGB32_Premultiplied);
        for (const auto scheme : {Platform::ColorScheme::Light, Platform::ColorScheme::Dark}) {
            appearance.setScheme(scheme);
            image.fill(Qt::transparent);
            grid->render(&image, {}, {}, QWidget::DrawChildren);
            QCOMPARE(image.pixel(100, 80), NoteThumbView::thumbFill().resolved(scheme).rgb());
            QCOMPARE(image.pixelColor(4, 4).alpha(), 0); // the paper behind shows through
        }
        appearance.setScheme(Platform::ColorScheme::Light);
    }

    void aScreenReaderHearsEveryTile()
    {
        show(2);
        notes[1].isPinned = true;
        grid->setThumbNote(notes[1]);
        auto *list = QAccessible::queryAccessibleInterface(grid.get());
        QCOMPARE(list->childCount(), 3);
        QStringList heard;
        for (int i = 0; i < 3; ++i)
            heard << list->child(i)->text(QAccessible::Name);
        QCOMPARE(heard,
                 QStringList({u"Card 1 of 2: 0"_qs, u"Card 2 of 2, pinned: 1"_qs, u"New card"_qs}));
        QCOMPARE(list->indexOfChild(list->child(1)), 1);
        QCOMPARE(list->child(1)->parent(), list);
        QCOMPARE(list->child(1)->rect().size(), QSize(140, 80));
        const QPoint inside = list->child(1)->rect().center();
        QCOMPARE(list->childAt(inside.x(), inside.y()), list->child(1));

        QUuid clicked;
        grid->onThumbClick = [&](const QUuid &id) { clicked = id; };
        list->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(clicked, notes[1].id);

        auto *last = list->child(2);
        grid->reload({}, {});
        QVERIFY(list->childCount() == 1 && (!list->child(0) || list->child(0) != last));
        QCOMPARE(list->child(0)->text(QAccessible::Name), u"New card"_qs);
    }
};

QTEST_MAIN(GridContentViewTests)
#include "GridContentViewTests.moc"
