#include "Brevio/BoundedTextView.h"
#include "Brevio/TextMeasure.h"
#include "Platform/Screen/Fonts.h"
#include "Tests/Support/FakeAppearance.h"

#include <QClipboard>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTest>

using Brevio::BoundedTextView;

namespace {

const QString threeLines = QStringLiteral("one\ntwo\nthree");

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

    void select(int anchor, int position)
    {
        QTextCursor cursor = m_view->textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        m_view->setTextCursor(cursor);
    }

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
    }

    void oneEditIsAcceptedOrRefusedAsAWhole_data()
    {
        using Edit = std::function<void(BoundedTextViewTests &)>;
        QTest::addColumn<QString>("before");
        QTest::addColumn<int>("anchor");
        QTest::addColumn<int>("caret");
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("accepted"); // null: refused

        const auto key = [](int code) -> Edit {
            return [code](auto &t) { QTest::keyClick(t.m_view.get(), static_cast<Qt::Key>(code)); };
        };
        const auto pasted = [](const QString &text) -> Edit {
            return [text](auto &t) { t.paste(text); };
        };
        const QString two = QStringLiteral("one\ntwo");
        const QString full = threeLines;
        QTest::newRow("fourth line") << full << 3 << 3 << key(Qt::Key_Return) << QString();
        QTest::newRow("letter that fits") << full << 13 << 13 << key(Qt::Key_X) << full + u'x';
        QTest::newRow("paste over a selection that makes room")
            << full << 0 << 8 << pasted(QStringLiteral("a\nb")) << QStringLiteral("a\nbthree");
        QTest::newRow("paste over a backward selection")
            << full << 9 << 2 << pasted(QStringLiteral("a\nb\nc\nd")) << QString();
        QTest::newRow("a megabyte of lines")
            << two << 2 << 2 << pasted(QString(1 << 20, u'\n')) << QString();
        QTest::newRow("commit of two lines over a selection")
            << full << 4 << 7 << Edit([](auto &t) {
                   t.compose(QString(100, u'W')); // never refused before it is committed
                   QVERIFY(t.m_refusals == 0 && t.m_reported.isEmpty());
                   t.compose({}, QStringLiteral("a\nb"));
               })
            << QString();
        QTest::newRow("commit of two lines that fits") << two << 7 << 7 << Edit([](auto &t) {
            t.compose(QString(100, u'W'));
            t.compose({}, QStringLiteral("a\nb"));
        }) << two + QStringLiteral("a\nb");
        QTest::newRow("deletion") << full << 3 << 4 << key(Qt::Key_Backspace)
                                  << QStringLiteral("onetwo\nthree");
        QString line;
        while (QFontMetricsF(cardFont()).horizontalAdvance(line + u'i') < 400.0)
            line += u'i';
        const QString twoOnALine = QStringLiteral("1\na ") + line.left(line.size() / 2);
        QTest::newRow("deletion of the space that a taller text breaks at")
            << twoOnALine + u' ' + line << int(twoOnALine.size()) << int(twoOnALine.size())
            << key(Qt::Key_Delete) << QString();
        QTest::newRow("drop") << full << 0 << 0
                              << Edit([](auto &t) { t.drop(QStringLiteral("\n")); }) << QString();
    }

    void oneEditIsAcceptedOrRefusedAsAWhole()
    {
        QFETCH(QString, before);
        QFETCH(int, anchor);
        QFETCH(int, caret);
        QFETCH(std::function<void(BoundedTextViewTests &)>, edit);
        QFETCH(QString, accepted);
        m_view->setText(before);
        select(anchor, caret);

        edit(*this);

        const bool isRefused = accepted.isNull();
        QCOMPARE(m_view->text(), isRefused ? before : accepted);
        QCOMPARE(m_refusals, isRefused ? 1 : 0);
        QCOMPARE(m_reported.last(), m_view->text());
        QCOMPARE(m_view->document()->size().height(), m_view->usedHeight(m_view->text()));
        QVERIFY(!m_view->document()->isRedoAvailable());
        if (isRefused) {
            QVERIFY(m_reported.first() != before);
            QCOMPARE(m_view->textCursor().anchor(), anchor);
            QCOMPARE(m_view->textCursor().position(), caret);
            m_view->undo();
            QCOMPARE(m_view->text(), before);
        } else {
            while (m_view->document()->isUndoAvailable())
                m_view->undo();
            QCOMPARE(m_view->text(), before);
        }
    }

    void undoAndRedoStepOverARefusedLetter()
    {
        m_view->setText(QStringLiteral("1\n2\n"));
        QString widest;
        while (m_refusals == 0 && widest.size() < 200) {
            QTest::keyClicks(m_view.get(), QStringLiteral("w"));
            widest += u'w';
        }
        widest.chop(1);
        QCOMPARE(m_refusals, 1);
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n") + widest);

        m_view->redo();
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n") + widest);
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n"));
        m_view->redo();
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n") + widest);
        QCOMPARE(m_refusals, 1);
    }

    void anotherNotesTextNeverComesBack()
    {
        QTest::keyClicks(m_view.get(), QStringLiteral("secret"));
        m_reported.clear();
        m_view->setText(QStringLiteral("other"));
        m_view->undo();
        QCOMPARE(m_view->text(), QStringLiteral("other"));
        QVERIFY(m_reported.isEmpty());
        paste(QStringLiteral("\n\n\n\n"));
        QCOMPARE(m_view->text(), QStringLiteral("other"));
        QCOMPARE(m_view->textCursor().position(), 5);
    }

    void aNoteThatIsTooTallCanBeShortenedAndNotLengthened()
    {
        const QString tooTall = QStringLiteral("1\n2\n3\n4\n5");
        m_view->setText(tooTall);
        QTest::keyClick(m_view.get(), Qt::Key_X);
        QCOMPARE(m_view->text(), tooTall);
        QTest::keyClick(m_view.get(), Qt::Key_Backspace);
        QCOMPARE(m_view->text(), QStringLiteral("1\n2\n3\n4\n"));
        QCOMPARE(m_refusals, 1);
    }

    void aTextThatNobodyEditedIsGivenBackToTheLetter()
    {
        const QString foreign = QStringLiteral("a\r\nb\u2028c");
        m_view->setText(foreign);
        QCOMPARE(m_view->text(), foreign);
        QTest::keyClick(m_view.get(), Qt::Key_X);
        QCOMPARE(m_view->text(), QStringLiteral("a\nb\ncx"));
        QTest::keyClick(m_view.get(), Qt::Key_Return);
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

    void theMicrophoneFollowsTheAppearance()
    {
        const auto hotPixels = [this] { return m_view->viewport()->cursor().pixmap().toImage(); };
        m_view->setDictating(true);
        const QImage black = hotPixels();
        QVERIFY(!black.isNull());
        m_appearance.setScheme(Platform::ColorScheme::Dark);
        QCOMPARE(hotPixels().pixelColor(9, 6), QColor(Qt::white));
        m_view->setDictating(false);
        QCOMPARE(m_view->viewport()->cursor().shape(), Qt::IBeamCursor);
    }
};

QTEST_MAIN(BoundedTextViewTests)
#include "BoundedTextViewTests.moc"
