#include "Brevio/Text/BoundedTextView.h"
#include "Brevio/Text/TextMeasure.h"
#include "Platform/Screen/Fonts.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/FakeSpellChecker.h"
#include "Tests/Support/ManualTime.h"

#include <QClipboard>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QInputMethodEvent>
#include <QJsonObject>
#include <QMenu>
#include <QMimeData>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTest>

#include <ctime>

using Brevio::BoundedTextView;
using namespace std::chrono_literals;

/// A view that holds three lines and not a fourth.
class BoundedTextViewTests final : public QObject
{
    Q_OBJECT

private:
    void compose(const QString &preedit, const QString &commit = {})
    {
        using Attribute = QInputMethodEvent::Attribute;
        QInputMethodEvent event(preedit, {Attribute(QInputMethodEvent::Cursor, 0, 0)}); // no caret
        event.setCommitString(commit);
        QCoreApplication::sendEvent(m_view.get(), &event);
    }
    void paste(const QString &text)
    {
        QGuiApplication::clipboard()->setText(text);
        m_view->paste();
    }
    /// From another program, which offers to delete its own copy.
    void drop(const QString &text)
    {
        QMimeData data;
        data.setText(text);
        QDropEvent event({1, 1}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        event.setDropAction(Qt::MoveAction);
        QDragEnterEvent entering({1, 1}, Qt::MoveAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(m_view->viewport(), &entering);
        QCoreApplication::sendEvent(m_view->viewport(), &event);
        QCOMPARE(event.dropAction(), Qt::CopyAction);
    }
    void type(const QString &text) { QTest::keyClicks(m_view.get(), text); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(m_view.get(), key, modifiers);
    }
    void select(int anchor, int caret)
    {
        QTextCursor cursor = m_view->textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(caret, QTextCursor::KeepAnchor);
        m_view->setTextCursor(cursor);
    }
    QMenu *openMenu()
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
        QCoreApplication::sendEvent(m_view->viewport(), &event);
        m_spelling.answer();
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }
    void choose(const QString &title)
    {
        QMenu *menu = openMenu();
        for (QAction *action : menu->actions())
            if (action->text() == title)
                action->trigger();
        menu->close();
    }
    QStringList marksAfterChecking()
    {
        m_queue.advance(1s);
        m_spelling.answer();
        return m_view->spelling().markedWords();
    }

    ManualQueue m_queue;
    FakeSpellChecker m_spelling;
    FakeAppearance m_appearance;
    std::unique_ptr<BoundedTextView> m_view;
    double m_line = 0; ///< the height of one
    int m_refusals = 0;
    QStringList m_reported;

private Q_SLOTS:
    void init()
    {
        m_view = std::make_unique<BoundedTextView>(m_appearance);
        m_view->setTextFont(
            Platform::Fonts::baskerville(17.0, Platform::Fonts::Slant::Upright, 16.0));
        m_view->resize(416, 236);
        m_line = Brevio::TextMeasure::lineHeight(m_view->font());
        m_view->maxVisibleHeight = 3.0 * m_line - 1.0;
        m_view->onRejectedEdit = [this] { ++m_refusals; };
        m_view->textDidChange = [this] { m_reported << m_view->text(); };
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_view->setFocus();
        m_refusals = 0;
        m_reported.clear();
        m_spelling = {};
        m_spelling.misspelled = QStringList{u"teh"_qs, u"wrnog"_qs};
    }

    void oneEditIsAcceptedOrRefusedAsAWhole()
    {
        const QString full = u"one\ntwo\nthree"_qs;
        const auto enter = [&] { press(Qt::Key_Return); };
        const auto remove = [&] { press(Qt::Key_Delete); };
        const auto commit = [&] {
            compose(QString(100, u'W')); // never refused before it is committed
            QVERIFY(m_refusals == 0 && m_reported.isEmpty());
            compose({}, u"a\nb"_qs);
        };
        // Without the space before its last part it breaks elsewhere, and stands taller.
        const int size = 160 / QFontMetrics(m_view->font()).horizontalAdvance(u'm');
        const QString part(size, u'm');
        const QString split = u"1\na "_qs + part + u' ' + part + part;
        // The text with the selection's anchor and caret, and what is accepted: null is refused.
        const std::initializer_list<
            std::tuple<QString, QString, int, int, std::function<void()>, QString>>
            cases{
                {u"a line more"_qs, full, 3, 3, enter, {}},
                {u"a last line"_qs, u"1\n"_qs, 2, 2, enter, u"1\n\n"_qs},
                {u"too tall already"_qs, QString(4, u'\n'), 4, 4, [&] { type(u"x"_qs); }, {}},
                {u"a paste that fits"_qs, full, 0, 8, [&] { paste(u"a\nb"_qs); }, u"a\nbthree"_qs},
                {u"a long paste"_qs, full, 5, 2, [&] { paste(QString(1 << 20, u'\n')); }, {}},
                {u"composed"_qs, full, 4, 7, commit, {}},
                {u"a space less"_qs, split, size + 4, size + 4, remove, {}},
                {u"dropped"_qs, full, 0, 0, [&] { drop(u"\n"_qs); }, {}}};
        for (const auto &[row, before, anchor, caret, edit, accepted] : cases) {
            m_refusals = 0;
            m_view->setText(before);
            m_reported.clear();
            select(anchor, caret);
            edit();
            m_view->redo(); // there is nothing, for what was refused has not happened

            const bool isRefused = accepted.isNull();
            QCOMPARE(row + m_view->text(), row + (isRefused ? before : accepted));
            QVERIFY2(m_refusals == (isRefused ? 1 : 0), qPrintable(row));
            QCOMPARE(m_reported.last(), m_view->text());
            QCOMPARE(m_view->document()->size().height(), m_view->usedHeight(m_view->text()));
            const auto cursor = m_view->textCursor();
            QVERIFY2(!isRefused || (cursor.anchor() == anchor && cursor.position() == caret),
                     qPrintable(row));
            for (int step = 0; step < 10; ++step)
                m_view->undo();
            QCOMPARE(row + m_view->text(), row + before);
        }
    }

    void everyTextIsAsTallAsItIsMeasured()
    {
        m_view->maxVisibleHeight = 10'000.0;
        QString text; // up to where the padding begins
        while (QFontMetricsF(m_view->font()).horizontalAdvance(text + u'i') <= 406.0)
            text += u'i';
        QCOMPARE(m_view->usedHeight(text), m_line);
        QCOMPARE(m_view->usedHeight(text + u'i'), 2.0 * m_line);

        const QStringList pieces =
            u"word| |\n|\u2028|\t|⌘⇧|漢字かな|שלום|\u00a0|😀👩‍👧|a-b/c|Ünïcödé|mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm"_qs
                .split(u'|');
        QRandomGenerator random(7);
        for (int round = 0; round < 200; ++round) {
            text.clear();
            for (int i = random.bounded(60); i > 0; --i)
                text += pieces[random.bounded(static_cast<int>(pieces.size()))];
            m_view->setText(text);
            QCOMPARE(m_view->usedHeight(text), m_view->document()->size().height());
        }

        // Once enough is known it stops: laying all of it out takes tens of seconds.
        m_view->maxVisibleHeight = 236.0;
        const auto start = std::clock(); // of this process alone, whatever else is running
        for (const auto &piece : {u"word "_qs, u"word\n"_qs})
            QVERIFY(!m_view->fits(piece.repeated(1 << 20)));
        const auto taken = std::clock() - start;
        QVERIFY2(taken < 5 * CLOCKS_PER_SEC, qPrintable(QString::number(taken)));
    }

    void undoAndRedoStepOverARefusedLetter()
    {
        m_view->setText(u"1\n2\n"_qs);
        QString accepted;
        while (m_refusals == 0 && accepted.size() < 200) {
            accepted = m_view->text();
            press(Qt::Key_W);
        }
        m_view->undo();
        QCOMPARE(m_view->text(), u"1\n2\n"_qs);
        m_view->redo();
        QCOMPARE(m_view->text(), accepted);
    }

    void anotherVersionLeavesTheCaretAndNothingToUndo()
    {
        using Selection = std::pair<int, int>; // anchor and caret
        const std::initializer_list<std::tuple<QString, Selection, QString, Selection>> changes{
            {u"1"_qs, {1, 1}, u"1\n2\n3\n4\n5"_qs, {1, 1}}, // behind it, too many lines
            {u"mine"_qs, {2, 2}, u"theirs\nmine"_qs, {9, 9}},
            {u"1 2"_qs, {2, 3}, u"1 2 3"_qs, {2, 3}},
            {u"1 2"_qs, {3, 2}, u"0 1 2"_qs, {5, 4}},
            {u"one two three"_qs, {7, 6}, u"one three"_qs, {5, 5}},
            {u"\U0001F600"_qs, {2, 2}, u"\U0001F601"_qs, {2, 2}}, // half a character differs
            {u"mine"_qs, {0, 4}, u"theirs!"_qs, {0, 7}}};
        for (const auto &[from, before, to, after] : changes) {
            type(u"another note's secret"_qs);
            m_reported.clear();
            m_view->setText(from);
            m_view->undo();
            QCOMPARE(m_view->text(), from);
            select(before.first, before.second);
            m_view->updateText(to);
            const auto cursor = m_view->textCursor();
            QVERIFY2(Selection(cursor.anchor(), cursor.position()) == after, qPrintable(to));
            m_view->undo();
            QCOMPARE(m_view->text(), to);
            QVERIFY2(m_reported.isEmpty(), qPrintable(to));
        }
    }

    void textIsPlainAndKeepsItsCharacters()
    {
        QMimeData html;
        html.setHtml(u"<b>bold</b>"_qs);
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &html, Qt::LeftButton, {});
        QCoreApplication::sendEvent(m_view->viewport(), &enter);
        QVERIFY(!enter.isAccepted());
        const QString foreign = u"a\r\nb\u2028c"_qs;
        m_view->setText(foreign); // and given back to the letter
        QCOMPARE(m_view->text(), foreign);
        press(Qt::Key_X, Qt::ShiftModifier);
        QCOMPARE(m_view->text(), u"a\nb\ncx"_qs);
        press(Qt::Key_Backspace);
        QCOMPARE(m_view->text(), foreign);

        m_view->setText({});
        type(u"x"_qs);
        paste(u"a\u00a0b\u2028c"_qs);
        type(u"y"_qs);
        m_view->undo(); // each a step of its own
        QCOMPARE(m_view->text(), u"xa\u00a0b\nc"_qs);
        m_view->selectAll();
        m_view->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), m_view->text());
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasHtml());
        m_view->undo();
        QCOMPARE(m_view->text(), u"x"_qs);
    }

    void aSubstitutionIsAnUndoStepAndMadeOnlyWhereItFitsOfWhatIsTyped()
    {
        m_view->typingAids().start({u"en"_qs, QJsonObject{{u"tall"_qs, QString(9, u'\n')}}});
        type(u"so--\""_qs);
        QCOMPARE(m_view->text(), u"so—“"_qs);
        QCOMPARE(m_reported.last(), m_view->text());
        for (const auto &[text, caret] : {std::pair(u"so—\""_qs, 4), {u"so--\""_qs, 5}}) {
            m_view->undo();
            QCOMPARE(m_view->text(), text);
            QCOMPARE(m_view->textCursor().position(), caret);
        }
        m_view->setText({});
        paste(u"\"(c) "_qs);
        compose(u"\""_qs);
        compose({}, u"\""_qs);
        type(u"tall "_qs);
        QCOMPARE(m_view->text(), u"\"(c) \"tall "_qs);
        QCOMPARE(m_refusals, 0);
        m_view->setText(u"1\nend--\n"_qs);
        press(Qt::Key_Return); // refused
        QCOMPARE(m_refusals, 1);
        QCOMPARE(m_view->text(), u"1\nend--\n"_qs);
    }

    void finishedWordsThatAreWrongAreMarkedWithoutAnEdit()
    {
        m_view->startSpelling(m_spelling, m_queue);
        m_view->setText(u"teh end"_qs);
        QCOMPARE(marksAfterChecking(), QStringList{u"teh"_qs});
        QVERIFY(!m_view->document()->isUndoAvailable() && m_reported.isEmpty());
        const int end = m_view->fontMetrics().horizontalAdvance(u"teh "_qs) + 5;
        const QImage seen = m_view->grab().toImage();
        const auto hasWave = [&](int from, int to) {
            for (int at = 30 * from; at < 30 * to; ++at)
                if (const QColor color = seen.pixelColor(at / 30, at % 30);
                    color.red() > 150 && color.green() < 140 && color.blue() < 140)
                    return true;
            return false;
        };
        QVERIFY(hasWave(5, end - 4) && !hasWave(end, 200));

        type(u" wrnog"_qs);
        press(Qt::Key_Left); // still in the word
        QCOMPARE(marksAfterChecking(), QStringList{u"teh"_qs});
        const QImage before = m_view->grab().toImage();
        press(Qt::Key_Home);
        QCOMPARE(marksAfterChecking(), m_spelling.misspelled);
        QVERIFY(m_view->grab().toImage() != before);
        m_view->undo();
        QCOMPARE(m_view->text(), u"teh end"_qs);
        QCOMPARE(m_spelling.asked.count(u"teh"_qs), 1);
        type(u" wrnog"_qs);
        m_view->clearFocus();
        QCOMPARE(m_view->spelling().markedWords(), m_spelling.misspelled);

        // What comes while a question is open is asked after its answer.
        m_view->setText(u"another"_qs);
        m_queue.advance(250ms);
        m_view->setText(u"thrid"_qs);
        m_spelling.misspelled << m_view->text();
        m_queue.advance(250ms);
        m_spelling.answer();
        QCOMPARE(marksAfterChecking(), QStringList{u"thrid"_qs});

        m_view->hide();
        QCOMPARE(m_spelling.releases, 1);
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void theMenuCorrectsAndLearnsAWord()
    {
        QVERIFY(openMenu()); // without a checker, too
        m_spelling.suggestions = QStringList{u"wrnog"_qs, QString(9, u'\n')};
        m_view->startSpelling(m_spelling, m_queue);
        const QString wrong = u"wrnog\nso teh"_qs;
        m_view->setText(wrong);
        (void)marksAfterChecking();
        choose(m_spelling.suggestions[1]); // too tall
        QCOMPARE(m_view->text(), wrong);
        QCOMPARE(m_refusals, 1);
        choose(m_spelling.suggestions[0]); // the word at the caret, from wrong to wrong
        QCOMPARE(m_view->text(), u"wrnog\nso wrnog"_qs);
        QCOMPARE(m_view->spelling().markedWords().size(), 2);
        m_view->undo();
        QCOMPARE(m_view->text(), wrong);
        choose(u"Learn Spelling"_qs);
        QCOMPARE(m_spelling.learned, QStringList{u"teh"_qs});
        QMenu *plain = openMenu(); // as for any word that is right
        QVERIFY(plain->actions()[0]->text() != m_spelling.suggestions[0]);
        plain->close();
        press(Qt::Key_Home, Qt::ControlModifier);
        QCOMPARE(marksAfterChecking(), QStringList{u"wrnog"_qs});

        // The menu does not wait for ever.
        press(Qt::Key_F10, Qt::ShiftModifier);
        m_queue.advance(399ms);
        QVERIFY(!QApplication::activePopupWidget());
        m_queue.advance(1ms);
        QCOMPARE(QApplication::activePopupWidget()->actions()[0]->text(), u"No Guesses Found"_qs);

        // No menu for a word of a note that has gone, be it open or still to come.
        m_view->setText(u"wrnog"_qs);
        QVERIFY(openMenu());
        m_view->setText(u"wrnog"_qs);
        QVERIFY(!QApplication::activePopupWidget());
        press(Qt::Key_F10, Qt::ShiftModifier);
        m_view->setText(u"other"_qs);
        (void)marksAfterChecking();
        QVERIFY(!QApplication::activePopupWidget());
    }

    void theCaretIsInTheInkAndOnlyWhereTheInputMethodHasNone()
    {
        const QColor ink(Qt::blue);
        m_view->setColors(ink, Qt::yellow);
        m_view->setText(u"aaa"_qs);
        select(0, 0);
        const int bottom = static_cast<int>(m_line) - 1;
        const auto color = [&] { return m_view->grab().toImage().pixelColor(5, bottom); };
        QCOMPARE(color(), ink);
        compose(u"a"_qs); // with no caret
        QVERIFY(color() != ink);
    }

    void aNoteThatIsTooTallDoesNotScrollAndCanBeShortened()
    {
        m_view->setText(u"1\n2\n3\n45"_qs);
        m_view->verticalScrollBar()->setValue(100);
        m_view->ensureCursorVisible();
        QCOMPARE(m_view->verticalScrollBar()->value(), 0);
        press(Qt::Key_Backspace); // as tall as before
        QCOMPARE(m_view->text(), u"1\n2\n3\n4"_qs);
        press(Qt::Key_Backspace);
        press(Qt::Key_Backspace);
        QCOMPARE(m_view->text(), u"1\n2\n3"_qs);
    }
};

QTEST_MAIN(BoundedTextViewTests)
#include "BoundedTextViewTests.moc"
