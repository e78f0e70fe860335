#include "Brevio/CardColors.h"
#include "Brevio/Grid/GridContentView.h"
#include "Brevio/Grid/OverlayScrollBar.h"
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

QMenu *openMenu()
{
    return qobject_cast<QMenu *>(QApplication::activePopupWidget());
}

} // namespace

class GridContentViewTests final : public QObject
{
    Q_OBJECT

    ManualQueue queue;
    FakeAppearance appearance;
    std::unique_ptr<GridContentView> grid;
    NoteList notes;
    QList<QUuid> clicks;

    void show(int count)
    {
        notes = notesReading(count);
        grid->reload(notes, {});
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
    /// Whether the grid had a use for the key.
    bool takes(Qt::Key key, Qt::KeyboardModifiers modifiers = {}, bool isHeld = false)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, {}, isHeld);
        QApplication::sendEvent(grid.get(), &event);
        return event.isAccepted();
    }
    void scroll(QPoint pixels, QPoint angle)
    {
        QWheelEvent event({100, 100}, {100, 100}, pixels, angle, {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(grid.get(), &event);
    }

private Q_SLOTS:
    void init()
    {
        grid = std::make_unique<GridContentView>(appearance, queue);
        grid->resize(460, 280);
        grid->show();
        clicks.clear();
        grid->onThumbClick = [this](const QUuid &id) { clicks << id; };
    }
    void cleanup()
    {
        delete openMenu();
        grid.reset();
    }

    void tilesFillThreeColumnsAndThePlusIsLast()
    {
        for (const auto &[count, plus, height] : {std::tuple(2, QPointF(308, 12), 280.0),
                                                  {6, QPointF(12, 188), 280.0},
                                                  {9, QPointF(12, 276), 368.0}}) {
            show(count);
            QCOMPARE(plusPosition(), plus);
            QCOMPARE(grid->document().height(), height);
            QCOMPARE(grid->scrollBar().isVisible(), height > 280.0);
        }
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

    void whatShowsIsPainted()
    {
        const QRgb fill = CardColors::thumbFill().light.rgb();
        show(9);
        scroll({0, -80}, {});
        const auto at = [this](int x, int y) { return grid->grab().toImage().pixel(x, y); };
        for (const auto &[x, y, isFill] :
             {std::tuple(140, 22, true), {140, 98, true}, {140, 104, false}, {440, 150, true}})
            QVERIFY2((at(x, y) == fill) == isFill, qPrintable(u"%1, %2"_qs.arg(x).arg(y)));
        const QPoint plus = grid->tileRect(9).center().toPoint();
        for (const QPoint arm : {QPoint(-7, 0), {7, 0}, {0, -7}, {0, 7}})
            QVERIFY(at(plus.x() + arm.x(), plus.y() + arm.y()) != at(plus.x() + 7, plus.y() + 7));
        const QRgb besideTheTile = at(82, 17);
        takes(Qt::Key_Right);
        QVERIFY(at(82, 17) != besideTheTile);
    }

    void everyWayOfScrollingStaysWithinTheContent()
    {
        show(30); // 704 more than shows
        for (const auto &[pixels, angle, offset] :
             {std::tuple(QPoint(), QPoint(0, -120), 54.0), // three lines a notch
              {QPoint(0, -10), QPoint(0, -120), 64.0},
              {QPoint(0, -120), QPoint(0, -120), 118.0}, // an angle in the place of pixels
              {QPoint(), QPoint(0, -12000), 704.0}}) {
            scroll(pixels, angle);
            QCOMPARE(grid->scrollOffset(), offset);
        }
        for (const auto &[key, offset] : {std::pair(Qt::Key_Home, 0.0),
                                          {Qt::Key_PageDown, 256.0},
                                          {Qt::Key_End, 704.0},
                                          {Qt::Key_PageUp, 448.0}}) {
            QVERIFY2(takes(key), qPrintable(QString::number(offset)));
            QCOMPARE(grid->scrollOffset(), offset);
        }
        QVERIFY(!takes(Qt::Key_Escape) && !takes(Qt::Key_Home, Qt::ControlModifier));
        takes(Qt::Key_End);
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), 704.0);
        notes.resize(9);
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), 88.0);
    }

    void theScrollBarShowsWhileItIsUsed()
    {
        show(30);
        auto *bar = grid->findChild<OverlayScrollBar *>();
        const auto alphaAfter = [&](std::chrono::milliseconds time) {
            queue.advance(time);
            return bar->alpha();
        };
        QCOMPARE(bar->alpha(), 0.0);
        scroll({0, -100}, {});
        QCOMPARE(alphaAfter(120ms), 1.0);
        QCOMPARE(alphaAfter(770ms), 1.0);
        const double fading = alphaAfter(100ms);
        QVERIFY(fading > 0.0 && fading < 1.0);
        QCOMPARE(alphaAfter(300ms), 0.0);
        QCOMPARE(queue.pendingJobs(), 0);

        // Beside the thumb a page; held, the thumb follows and stays.
        QTest::mousePress(bar, Qt::LeftButton, {}, {6, 270});
        QCOMPARE(grid->scrollOffset(), 380.0);
        QTest::mouseRelease(bar, Qt::LeftButton);
        QTest::mousePress(bar, Qt::LeftButton, {}, {6, 7});
        QCOMPARE(grid->scrollOffset(), 100.0);
        QTest::mouseRelease(bar, Qt::LeftButton);
        const QRectF thumb = bar->thumbRect();
        QTest::mousePress(bar, Qt::LeftButton, {}, thumb.center().toPoint());
        const QPointF place = QPointF(thumb.center().toPoint()) + QPointF(-100, 20);
        QMouseEvent move(QEvent::MouseMove, place, place, Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(bar, &move);
        QCOMPARE(bar->thumbRect(), thumb.translated(0, 20));
        QCOMPARE(alphaAfter(5s), 1.0);
        QTest::mouseRelease(bar, Qt::LeftButton);
        QApplication::sendEvent(bar, &move);
        QCOMPARE(bar->thumbRect(), thumb.translated(0, 20));
        QCOMPARE(alphaAfter(5s), 0.0);

        QEnterEvent enter(place, place, place);
        QApplication::sendEvent(bar, &enter);
        QCOMPARE(alphaAfter(5s), 1.0);
        show(2);
        QCOMPARE(bar->alpha(), 0.0);
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void aDeletedTileShrinksAndTheOthersCloseTheGap()
    {
        show(9);
        scroll({}, {0, -12000});
        const auto thumb = grid->thumbs()[4];
        const QPointF centre = thumb->frame().center();
        grid->animateDelete(notes[4].id);
        queue.advance(100ms);
        QCOMPARE(thumb->frame().center(), centre);
        QVERIFY(thumb->frame().width() > 70.0 && thumb->frame().width() < 140.0); // eases in
        QCOMPARE(thumb->alpha(), thumb->frame().width() / 140.0);
        queue.advance(100ms);
        QCOMPARE(order(), u"01235678"_qs);
        QCOMPARE(plusPosition(), QPointF(12, 276));
        queue.advance(240ms);
        QCOMPARE(plusPosition(), QPointF(308, 188));
        QCOMPARE(grid->scrollOffset(), 0.0);
        grid->animateDelete(QUuid::createUuid()); // which no tile shows
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void deletionsMayOverlap()
    {
        show(5);
        grid->animateDelete(notes[0].id);
        queue.advance(100ms);
        grid->animateDelete(notes[2].id);
        grid->animateDelete(notes[2].id);
        queue.advance(150ms);
        QCOMPARE(order(), u"1234"_qs);
        queue.advance(300ms);
        QCOMPARE(order(), u"134"_qs);
        for (int tile = 0; tile < 3; ++tile)
            QCOMPARE(grid->document().tileFrame(tile), QRectF(12 + 148 * tile, 12, 140, 80));

        // A reload in the middle of one shows the new tiles whole, and ends a slide.
        grid->animateDelete(notes[1].id);
        queue.advance(100ms);
        grid->reload({notes[3], notes[4]}, {});
        QCOMPARE(grid->thumbs()[1]->alpha(), 1.0);
        queue.advance(150ms);
        grid->reload({notes[3], notes[4]}, {});
        QCOMPARE(order(), u"34"_qs);
        QCOMPARE(grid->thumbs()[1]->frame(), QRectF(160, 12, 140, 80));
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void aPressOpensTheTileUnderItAtOnce()
    {
        show(4);
        grid->onThumbClick = [&](const QUuid &id) {
            clicks << id;
            grid->reload({}, {}); // as if a merge had removed everything
        };
        int newCards = 0;
        grid->onNewCardTapped = [&] { ++newCards; };
        QMouseEvent between(QEvent::MouseButtonPress, {156, 50}, {156, 50}, Qt::LeftButton,
                            Qt::LeftButton, {});
        QApplication::sendEvent(grid.get(), &between);
        QVERIFY2(!between.isAccepted(), "the panel is dragged by it");
        press({200, 50});
        QCOMPARE(clicks, QList{notes[1].id});
        press({20, 20}); // the plus is alone now
        QCOMPARE(newCards, 1);

        show(2);
        grid->animateDelete(notes[0].id);
        press({82, 52});
        QCOMPARE(clicks.size(), 1);
    }

    void theContextMenuOutlivesItsTile()
    {
        show(2);
        notes[1].isPinned = true;
        grid->setThumbNote(notes[1]);
        QList<QUuid> told;
        grid->onThumbPinToggle = grid->onThumbDelete = [&](const QUuid &id) { told << id; };
        QContextMenuEvent click(QContextMenuEvent::Mouse, {200, 50}, {});
        QApplication::sendEvent(grid.get(), &click);
        const auto actions = openMenu()->actions();
        QCOMPARE(actions[0]->text(), u"Unpin"_qs);
        grid->reload({}, {}); // the tile goes while its menu is open
        actions[0]->trigger();
        actions[2]->trigger();
        QCOMPARE(told, QList({notes[1].id, notes[1].id}));
    }

    void theArrowKeysMoveARingThatTheMouseHides()
    {
        show(7);
        QCOMPARE(grid->focusedTile(), std::nullopt);
        const QList<std::pair<Qt::Key, int>> way{
            {Qt::Key_Down, 0}, {Qt::Key_Left, 0},  {Qt::Key_Up, 0},   {Qt::Key_Right, 1},
            {Qt::Key_Down, 4}, {Qt::Key_Right, 5}, {Qt::Key_Down, 7}, {Qt::Key_Up, 4}};
        for (const auto &[key, tile] : way) {
            QVERIFY(takes(key));
            QCOMPARE(grid->focusedTile(), tile);
        }
        press({2, 2});
        QCOMPARE(grid->focusedTile(), std::nullopt);

        // It starts in view, at the active one if that shows; it scrolls, and survives a deletion.
        show(12);
        grid->reload(notes, notes[1].id);
        takes(Qt::Key_Right);
        QCOMPARE(grid->focusedTile(), 2);
        press({2, 2});
        scroll({0, -200}, {});
        takes(Qt::Key_Left);
        QCOMPARE(grid->focusedTile(), 6);
        takes(Qt::Key_Up);
        QCOMPARE(grid->tileRect(3).top(), 12.0);
        grid->animateDelete(notes[0].id);
        queue.advance(1s);
        QCOMPARE(grid->focusedTile(), 2);
        // A note from another machine comes before it; then its own goes.
        grid->reload(notes, {});
        QCOMPARE(grid->focusedTile(), 3);
        notes.erase(notes.begin() + 3);
        grid->reload(notes, {});
        QCOMPARE(grid->focusedTile(), std::nullopt);
    }

    void aKeyOpensTheTileWithTheRingOnceHoweverLongItIsHeld()
    {
        show(12);
        QVERIFY(!takes(Qt::Key_Return) && clicks.isEmpty());
        takes(Qt::Key_Down);
        for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            clicks.clear();
            QVERIFY(takes(key, Qt::KeypadModifier));
            QVERIFY(takes(key, {}, true));
            QCOMPARE(clicks, QList{notes[0].id});
        }
        scroll({0, -200}, {});
        QVERIFY(takes(Qt::Key_Menu) && openMenu());
        QCOMPARE(grid->scrollOffset(), 0.0); // where the menu is for
    }

    void aScreenReaderHearsAndUsesEveryTile()
    {
        show(2);
        notes[1].isPinned = true;
        grid->reload(notes, notes[1].id);
        auto *list = QAccessible::queryAccessibleInterface(grid.get());
        QCOMPARE(list->childCount(), 3);
        QStringList heard;
        for (int i = 0; i < 3; ++i)
            heard << list->child(i)->text(QAccessible::Name);
        QCOMPARE(heard,
                 QStringList({u"Card 1 of 2: 0"_qs, u"Card 2 of 2, pinned: 1"_qs, u"New card"_qs}));
        auto *tile = list->child(1);
        QVERIFY(!list->child(3) && tile->state().selected && !list->child(0)->state().selected);
        const QPoint centre = tile->rect().center();
        QCOMPARE(list->indexOfChild(list->childAt(centre.x(), centre.y())), 1);
        QVERIFY(!list->childAt(centre.x(), centre.y() - 45));
        tile->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(clicks, QList{notes[1].id});
        tile->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
        QVERIFY(openMenu());
        QCOMPARE(list->child(2)->actionInterface()->actionNames().size(), 1);
    }
};

QTEST_MAIN(GridContentViewTests)
#include "GridContentViewTests.moc"
