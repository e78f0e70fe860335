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

class GridContentViewTests final : public QObject
{
    Q_OBJECT

    ManualQueue queue;
    FakeAppearance appearance;
    std::unique_ptr<GridContentView> grid;
    NoteList notes;
    QList<QUuid> clicks;

    /// The first is the last edited.
    void show(int count)
    {
        notes.clear();
        for (int i = 0; i < count; ++i)
            notes.push_back({.id = QUuid::createUuid(),
                             .body = QString::number(i),
                             .lastEditedAt = Platform::Instant(std::chrono::seconds(1000 - i))});
        grid->reload(notes, {});
    }
    static QMenu *openMenu() { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }
    QString order() const
    {
        QString bodies;
        for (const auto &thumb : grid->thumbs())
            bodies += thumb->text();
        return bodies;
    }
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
        grid.reset(); // with its menu
        grid = std::make_unique<GridContentView>(appearance, queue);
        grid->resize(460, 280);
        grid->show();
        clicks.clear();
        grid->onThumbClick = [this](const QUuid &id) { clicks << id; };
    }

    void theLastEditedComesFirstAndEqualOnesKeepTheirOrder()
    {
        show(4);
        notes[1].lastEditedAt = notes[2].lastEditedAt;
        notes[3].isPinned = true;
        grid->reload({notes[3], notes[2], notes[0], notes[1]}, notes[1].id);
        QCOMPARE(order(), u"0213"_qs);
        for (const auto &thumb : grid->thumbs())
            QCOMPARE(thumb->isActive(), thumb->shows(notes[1].id));
    }

    void everyWayOfScrollingStaysWithinTheContent()
    {
        show(30); // 704 more than shows
        QList<double> offsets;
        // By three lines a notch; by pixels; by an angle in the place of pixels.
        for (const auto &[pixels, angle] : {std::pair(QPoint(), QPoint(0, -120)),
                                            {QPoint(0, -10), QPoint(0, -120)},
                                            {QPoint(0, -120), QPoint(0, -120)},
                                            {QPoint(), QPoint(0, -12000)}}) {
            scroll(pixels, angle);
            offsets << grid->scrollOffset();
        }
        for (const auto key : {Qt::Key_Home, Qt::Key_PageDown, Qt::Key_End, Qt::Key_PageUp})
            offsets << (takes(key) ? grid->scrollOffset() : -1.0);
        QCOMPARE(offsets, QList({54.0, 64.0, 118.0, 704.0, 0.0, 256.0, 704.0, 448.0}));
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
        scroll({0, -100}, {});
        queue.advance(120ms);
        QCOMPARE(bar->alpha(), 1.0);
        queue.advance(780ms);
        QCOMPARE(bar->alpha(), 1.0);
        queue.advance(300ms);
        QVERIFY(bar->alpha() == 0.0 && queue.pendingJobs() == 0);

        const QRectF thumb = bar->thumbRect();
        const QPoint grip(int(thumb.center().x()), int(std::ceil(thumb.top())));
        QTest::mousePress(bar, Qt::LeftButton, {}, grip);
        queue.advance(120ms);
        QMouseEvent move(QEvent::MouseMove, grip + QPoint(-9, 20), {}, {}, Qt::LeftButton, {});
        QApplication::sendEvent(bar, &move);
        QCOMPARE(bar->thumbRect(), thumb.translated(0, 20));
        bar->hide(); // with the grid, in the middle of it
        bar->show();
        QCOMPARE(bar->alpha(), 0.0);
        QMouseEvent later(QEvent::MouseMove, grip, {}, {}, {}, {});
        QApplication::sendEvent(bar, &later);
        QCOMPARE(bar->thumbRect(), thumb.translated(0, 20));
    }

    void deletionsMayOverlap()
    {
        show(5);
        grid->animateDelete(QUuid::createUuid()); // of a note that no tile shows
        grid->animateDelete(notes[0].id);
        queue.advance(100ms);
        grid->animateDelete(notes[2].id);
        grid->animateDelete(notes[2].id);
        queue.advance(100ms);
        QCOMPARE(order(), u"1234"_qs);
        queue.advance(350ms);
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

    void aMenuAndAnotherWindowLeaveTheRingWhereItIs()
    {
        show(2);
        for (const auto &[reason, stays] : {std::pair(Qt::PopupFocusReason, true),
                                            {Qt::ActiveWindowFocusReason, true},
                                            {Qt::OtherFocusReason, false}}) {
            takes(Qt::Key_Right);
            QFocusEvent away(QEvent::FocusOut, reason);
            QApplication::sendEvent(grid.get(), &away);
            QCOMPARE(grid->focusedTile().has_value(), stays);
        }
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
        for (const auto &[place, shape] :
             {std::pair(QPoint(20, 20), Qt::PointingHandCursor), {{5, 5}, Qt::ArrowCursor}}) {
            QTest::mouseMove(grid.get(), place);
            QCOMPARE(grid->cursor().shape(), shape);
        }

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
        QString way;
        for (const auto key : {Qt::Key_Down, Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down,
                               Qt::Key_Right, Qt::Key_Down, Qt::Key_Up})
            way += takes(key) ? QString::number(grid->focusedTile().value_or(9)) : u"-"_qs;
        QCOMPARE(way, u"00014574"_qs);
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
        for (int row = 0; row < 3; ++row)
            takes(Qt::Key_Down);
        QCOMPARE(grid->scrollOffset(), 88.0); // no farther than to show it
    }

    void aScreenReaderHearsAndUsesEveryTile()
    {
        show(2);
        notes[1].isPinned = true;
        grid->reload(notes, notes[1].id);
        auto *list = QAccessible::queryAccessibleInterface(grid.get());
        QString heard;
        for (int i = 0; i < list->childCount(); ++i)
            heard += list->child(i)->text(QAccessible::Name) + u'\n';
        QCOMPARE(heard, u"Card 1 of 2: 0\nCard 2 of 2, pinned: 1\nNew card\n"_qs);
        auto *tile = list->child(1);
        QVERIFY(tile->state().selected && tile->state().focusable);
        const QPoint centre = tile->rect().center();
        QCOMPARE(list->indexOfChild(list->childAt(centre.x(), centre.y())), 1);
        tile->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(clicks, QList{notes[1].id});
        tile->actionInterface()->doAction(QAccessibleActionInterface::showMenuAction());
        QVERIFY(openMenu());
    }
};

QTEST_MAIN(GridContentViewTests)
#include "GridContentViewTests.moc"
