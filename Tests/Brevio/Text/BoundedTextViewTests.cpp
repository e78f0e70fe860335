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
#include <QScrollBar>
#include <QTest>

using Brevio::BoundedTextView;

namespace {

QFont cardFont()
{
    return Platform::Fonts::baskerville(17.0, Platform::Fonts::Slant::Upright, 16.0);
}

} // namespace

/// A view that holds three lines and not a fourth.
class BoundedTextViewTests final : public QObject
{
    Q_OBJECT

private:
    void compose(const QString &preedit, const QString &commit = {})
    {
        QInputMethodEvent event(preedit, {});
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

    void select(int anchor, int caret)
    {
        QTextCursor cursor = m_view->textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(caret, QTextCursor::KeepAnchor);
        m_view->setTextCursor(cursor);
    }

    QStringList marksAfterChecking()
    {
        m_queue.advance(std::chrono::seconds(1));
        m_spelling.answer();
        return m_view->spelling().markedWords();
    }

    ManualQueue m_queue;
    FakeSpellChecker m_spelling;
    FakeAppearance m_appearance;
    std::unique_ptr<BoundedTextView> m_view;
    int m_refusals = 0;
    QStringList m_reported;

private Q_SLOTS:
    void init()
    {
        m_view = std::make_unique<BoundedTextView>(m_appearance);
        m_view->setTextFont(cardFont());
        m_view->resize(416, 236);
        m_view->maxVisibleHeight = 3.0 * Brevio::TextMeasure::lineHeight(m_view->font()) - 1.0;
        m_view->onRejectedEdit = [this] { ++m_refusals; };
        m_view->textDidChange = [this] { m_reported << m_view->text(); };
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_view->setFocus();
        m_refusals = 0;
        m_reported.clear();
        m_spelling = {};
    }

    void oneEditIsAcceptedOrRefusedAsAWhole()
    {
        using Edit = std::function<void()>;
        const auto key = [this](Qt::Key code) -> Edit {
            return [this, code] { QTest::keyClick(m_view.get(), code); };
        };
        const auto pasted = [this](const QString &text) -> Edit {
            return [this, text] { paste(text); };
        };
        const Edit committed = [this] {
            compose(QString(100, u'W')); // never refused before it is committed
            QVERIFY(m_refusals == 0 && m_reported.isEmpty());
            compose({}, QStringLiteral("a\nb"));
        };
        const QString full = QStringLiteral("one\ntwo\nthree");
        // Deleting the space behind it makes the text break elsewhere, and taller.
        QString line;
        while (QFontMetricsF(cardFont()).horizontalAdvance(line + u'i') < 400.0)
            line += u'i';
        const QString start = QStringLiteral("1\na ") + line.left(line.size() / 2);
        const int end = static_cast<int>(start.size());
        // The text with the selection's anchor and caret, and what is accepted: null is refused.
        const std::initializer_list<std::tuple<QString, int, int, Edit, QString>> cases{
            {full, 3, 3, key(Qt::Key_Return), {}},
            {u"1\n"_qs, 2, 2, key(Qt::Key_Return), u"1\n\n"_qs},
            {QString(4, u'\n'), 4, 4, key(Qt::Key_X), {}}, // too tall already
            {full, 0, 8, pasted(u"a\nb"_qs), u"a\nbthree"_qs},
            {full, 5, 2, pasted(QString(1 << 20, u'\n')), {}},
            {full, 4, 7, committed, {}},
            {start + u' ' + line, end, end, key(Qt::Key_Delete), {}},
            {full, 0, 0, [this] { drop(QStringLiteral("\n")); }, {}}};
        for (const auto &[before, anchor, caret, edit, accepted] : cases) {
            m_refusals = 0;
            m_view->setText(before);
            m_reported.clear();
            select(anchor, caret);
            edit();

            const bool isRefused = accepted.isNull();
            QCOMPARE(m_view->text(), isRefused ? before : accepted);
            QCOMPARE(m_refusals, isRefused ? 1 : 0);
            QCOMPARE(m_reported.last(), m_view->text());
            QCOMPARE(m_view->document()->size().height(), m_view->usedHeight(m_view->text()));
            if (isRefused) {
                QCOMPARE(m_view->textCursor().anchor(), anchor);
                QCOMPARE(m_view->textCursor().position(), caret);
            }
            for (int step = 0; step < 10; ++step)
                m_view->undo();
            QCOMPARE(m_view->text(), before);
        }
    }

    void undoAndRedoStepOverARefusedLetter()
    {
        m_view->setText(QStringLiteral("1\n2\n"));
        QString accepted;
        while (m_refusals == 0) {
            accepted = m_view->text();
            QVERIFY(accepted.size() < 200);
            QTest::keyClick(m_view.get(), Qt::Key_W);
        }
        m_view->redo();
        QCOMPARE(m_view->text(), accepted);
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n"));
        m_view->redo();
        QCOMPARE(m_view->text(), accepted);
    }

    void anotherNotesTextNeverComesBack()
    {
        QTest::keyClicks(m_view.get(), QStringLiteral("secret"));
        m_reported.clear();
        m_view->setText(QStringLiteral("other"));
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("other"));
        QVERIFY(m_reported.isEmpty());
    }

    void anotherVersionLeavesTheCaretWhereItIs()
    {
        using Selection = std::pair<int, int>; // anchor and caret
        const std::initializer_list<std::tuple<const char *, Selection, const char *, Selection>>
            changes{{"1", {1, 1}, "1\n2\n3\n4\n5", {1, 1}}, // behind it, too many lines
                    {"mine", {2, 2}, "theirs\nmine", {9, 9}},
                    {"1 2", {2, 3}, "1 2 3", {2, 3}},
                    {"1 2", {3, 2}, "0 1 2", {5, 4}},
                    {"one two three", {7, 6}, "one three", {5, 5}},
                    {"\U0001F600", {2, 2}, "\U0001F601", {2, 2}}, // half a character differs
                    {"mine", {0, 4}, "theirs!", {0, 7}}};
        for (const auto &[from, before, to, after] : changes) {
            m_view->setText(QString::fromUtf8(from));
            select(before.first, before.second);
            m_view->updateText(QString::fromUtf8(to));
            const auto cursor = m_view->textCursor();
            QCOMPARE(Selection(cursor.anchor(), cursor.position()), after);
            m_view->undo();
            QCOMPARE(m_view->text(), QString::fromUtf8(to));
            QVERIFY(m_reported.isEmpty());
        }
    }

    void aNoteThatIsTooTallCanBeShortened()
    {
        m_view->setText(QStringLiteral("1\n2\n3\n4\n5"));
        QTest::keyClick(m_view.get(), Qt::Key_Backspace);
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n3\n4\n"));
    }

    void aTextThatNobodyEditedIsGivenBackToTheLetter()
    {
        const QString foreign = QStringLiteral("a\r\nb\u2028c");
        m_view->setText(foreign);
        QCOMPARE(m_view->text(), foreign);
        QTest::keyClick(m_view.get(), Qt::Key_X);
        QCOMPARE(m_view->text(), QStringLiteral("a\nb\ncx"));
        QTest::keyClick(m_view.get(), Qt::Key_Backspace);
        QCOMPARE(m_view->text(), foreign);
    }

    void textIsPlainAndKeepsItsCharacters()
    {
        auto *data = new QMimeData;
        data->setHtml(QStringLiteral("<b>bold</b>"));
        data->setText(QStringLiteral("a\u00a0b\u2028c"));
        QGuiApplication::clipboard()->setMimeData(data);
        m_view->paste();
        QCOMPARE(m_view->text(), QStringLiteral("a\u00a0b\nc"));
        QVERIFY(!m_view->textCursor().charFormat().font().bold());
        m_view->selectAll();
        m_view->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("a\u00a0b\nc"));
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasHtml());
    }

    void eachSubstitutionIsAnUndoStepOfItsOwn()
    {
        m_view->typingAids().start({QStringLiteral("en"), QJsonValue()});
        const auto caret = [&] { return m_view->textCursor().position(); };
        type(QStringLiteral("so--\""));
        QCOMPARE(m_view->text(), QStringLiteral("so—“"));
        QCOMPARE(m_reported.last(), m_view->text());
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("so—\""));
        QCOMPARE(caret(), 4);
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("so--\""));
        QCOMPARE(caret(), 5);
    }

    void onlyWhatIsTypedIsSubstitutedAndOnlyWhatFits()
    {
        m_view->typingAids().start(
            {QStringLiteral("en"), QJsonObject{{QStringLiteral("tall"), QString(9, u'\n')}}});
        paste(QStringLiteral("\"(c) "));
        compose(QStringLiteral("\""));
        compose({}, QStringLiteral("\""));
        QCOMPARE(m_view->text(), QStringLiteral("\"(c) \""));
        m_view->setText(QStringLiteral("\""));
        type(QStringLiteral("tall "));
        QCOMPARE(m_view->text(), QStringLiteral("\"tall "));
        QCOMPARE(m_refusals, 0);
        m_view->setText(QStringLiteral("1\nend--\n"));
        QTest::keyClick(m_view.get(), Qt::Key_Return); // refused
        QCOMPARE(m_refusals, 1);
        QCOMPARE(m_view->text(), QStringLiteral("1\nend--\n"));
    }

    void finishedWordsThatAreWrongAreMarkedWithoutAnEdit()
    {
        m_spelling.misspelled = QStringList{QStringLiteral("teh"), QStringLiteral("wrnog")};
        m_view->startSpelling(m_spelling, m_queue);
        m_view->setText(QStringLiteral("teh end"));
        QCOMPARE(marksAfterChecking(), QStringList{QStringLiteral("teh")});
        QVERIFY(!m_view->document()->isUndoAvailable() && m_reported.isEmpty());

        type(QStringLiteral(" wrnog"));
        QCOMPARE(marksAfterChecking(), QStringList{QStringLiteral("teh")});
        const QImage before = m_view->grab().toImage();
        type(QStringLiteral(" "));
        QCOMPARE(marksAfterChecking(), m_spelling.misspelled);
        QVERIFY(m_view->grab().toImage() != before);
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("teh end"));
        QCOMPARE(m_spelling.asked.count(QStringLiteral("teh")), 1);

        m_view->hide();
        QCOMPARE(m_spelling.releases, 1);
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void theMenuCorrectsAndLearnsTheWordAtTheCaret()
    {
        m_spelling.misspelled = QStringList{QStringLiteral("teh"), QStringLiteral("wrnog")};
        m_spelling.suggestions = QStringList{QStringLiteral("the"), QString(9, u'\n')};
        m_view->startSpelling(m_spelling, m_queue);
        m_view->setText(QStringLiteral("wrnog teh"));
        (void)marksAfterChecking();
        const auto choose = [&](const QString &title) {
            QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
            QCoreApplication::sendEvent(m_view.get(), &event);
            m_spelling.answer();
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu);
            for (QAction *action : menu->actions())
                if (action->text() == title)
                    action->trigger();
            menu->close();
        };
        choose(m_spelling.suggestions[1]); // too tall
        QCOMPARE(m_view->text(), QStringLiteral("wrnog teh"));
        QCOMPARE(m_refusals, 1);
        choose(QStringLiteral("the"));
        QCOMPARE(m_view->text(), QStringLiteral("wrnog the"));
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("wrnog teh"));
        choose(QStringLiteral("Learn Spelling"));
        QCOMPARE(m_spelling.learned, QStringList{QStringLiteral("teh")});
        QCOMPARE(marksAfterChecking(), QStringList{QStringLiteral("wrnog")});

        // No menu for a word of a note that has gone, be it open or still to come.
        for (const bool isOpen : {true, false}) {
            m_view->setText(QStringLiteral("wrnog"));
            QTest::keyClick(m_view.get(), Qt::Key_F10, Qt::ShiftModifier);
            if (isOpen)
                m_spelling.answer();
            QCOMPARE(QApplication::activePopupWidget() != nullptr, isOpen);
            m_view->setText(QStringLiteral("other"));
            (void)marksAfterChecking();
            QVERIFY(!QApplication::activePopupWidget());
        }
    }

    void thePointerIsAMicrophoneInTheInksColorWhileDictating()
    {
        const auto pointer = [this] { return m_view->viewport()->cursor(); };
        const auto tint = [&] {
            const QImage image = pointer().pixmap().toImage();
            return image.pixelColor(pointer().hotSpot() - QPoint(0, 4)); // in the capsule
        };
        QCOMPARE(pointer().shape(), Qt::IBeamCursor);
        m_view->setDictating(true);
        QCOMPARE(pointer().shape(), Qt::BitmapCursor);
        QCOMPARE(tint(), QColor(Qt::black));
        m_appearance.setScheme(Platform::ColorScheme::Dark);
        QCOMPARE(tint(), QColor(Qt::white));
        m_view->setDictating(false);
        QCOMPARE(pointer().shape(), Qt::IBeamCursor);
    }

    void nothingScrolls()
    {
        m_view->setText(QString(40, u'\n'));
        m_view->verticalScrollBar()->setValue(100);
        m_view->ensureCursorVisible();
        QCOMPARE(m_view->verticalScrollBar()->value(), 0);
        // Three lines and not a part of a fourth.
        const double line = Brevio::TextMeasure::lineHeight(m_view->font());
        QCOMPARE(m_view->viewport()->mask().boundingRect().height(), static_cast<int>(3.0 * line));
    }
};

QTEST_MAIN(BoundedTextViewTests)
#include "BoundedTextViewTests.moc"
