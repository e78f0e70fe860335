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

} // namespace

class GridContentViewTests final : public QObject
{
    Q_OBJECT

    ManualQueue queue;
    FakeAppearance appearance;
    std::unique_ptr<GridContentView> grid;
    NoteList notes;

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
    }
    void cleanup()
    {
        delete QApplication::activePopupWidget();
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

    void aReloadKeepsTheScrollPositionWithinTheContent()
    {
        show(30);
        scroll({}, {0, -12000});
        const double bottom = grid->scrollBar().maximum();
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), bottom);
        notes.resize(9);
        grid->reload(notes, {});
        QCOMPARE(grid->scrollOffset(), 88.0);
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

        // A reload in the middle of one shows the new tiles whole.
        grid->animateDelete(notes[1].id);
        queue.advance(100ms);
        grid->reload({notes[3], notes[4]}, {});
        queue.advance(500ms);
        QCOMPARE(order(), u"34"_qs);
        QCOMPARE(grid->thumbs()[1]->frame(), QRectF(160, 12, 140, 80));
        QCOMPARE(grid->thumbs()[1]->alpha(), 1.0);
        QCOMPARE(queue.pendingJobs(), 0);
    }

    void aPressOpensTheTileUnderItAtOnce()
    {
        show(4);
        QList<QUuid> clicks;
        grid->onThumbClick = [&](const QUuid &id) {
            clicks << id;
            grid->reload({}, {}); // as if a merge had removed everything
        };
        QMouseEvent between(QEvent::MouseButtonPress, {156, 50}, {156, 50}, Qt::LeftButton,
                            Qt::LeftButton, {});
        QApplication::sendEvent(grid.get(), &between);
        QVERIFY2(!between.isAccepted(), "the panel is dragged by it");
        press({200, 50});
        QCOMPARE(clicks, QList{notes[1].id});

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
        grid->showTileMenu(1, {});
        const auto actions = qobject_cast<QMenu *>(QApplication::activePopupWidget())->actions();
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
            QTest::keyClick(grid.get(), key);
            QCOMPARE(grid->focusedTile(), tile);
        }
        press({2, 2});
        QCOMPARE(grid->focusedTile(), std::nullopt);

        // It starts in view, scrolls, and survives a deletion.
        show(12);
        grid->reload(notes, notes[1].id);
        scroll({0, -200}, {});
        QTest::keyClick(grid.get(), Qt::Key_Left);
        QCOMPARE(grid->focusedTile(), 6); // the first in view, for the active one is not
        QTest::keyClick(grid.get(), Qt::Key_Up);
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
    }
};

QTEST_MAIN(GridContentViewTests)
#include "GridContentViewTests.moc"
