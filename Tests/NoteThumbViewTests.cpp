#include "Brevio/NewCardThumbView.h"
#include "Brevio/NoteThumbView.h"

#include <QPainter>
#include <QTest>

using namespace Brevio;
using Platform::ColorScheme;

namespace {

constexpr int surround = 20; ///< pixels painted around a tile, to see what leaves it

NoteThumbView tileReading(const QString &body)
{
    NoteThumbView tile;
    tile.setNote(Note{.id = QUuid::createUuid(), .body = body});
    return tile;
}

template <class Tile>
QImage painted(const Tile &tile, ColorScheme scheme = ColorScheme::Light)
{
    QImage image(tileSize.toSize() + QSize(2 * surround, 2 * surround), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.translate(surround, surround);
    tile.paint(painter, {scheme, 1.0});
    return image;
}

QColor at(const QImage &image, int x, int y)
{
    return image.pixelColor(x + surround, y + surround);
}

} // namespace

class NoteThumbViewTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReturnEndsALine_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("nothing") << QString() << QStringList{u"(empty)"_qs};
        QTest::newRow("a space") << u" "_qs << QStringList{u" "_qs};
        QTest::newRow("returns") << u"a\nb\r\nc\n"_qs << QStringList{u"a"_qs, u"b"_qs, u"c"_qs, {}};
    }
    void aReturnEndsALine()
    {
        QFETCH(QString, body);
        QStringList lines;
        for (const auto &line : tileReading(body).laidOutText().lines())
            lines << line.text;
        QTEST(lines, "lines");
    }

    void linesBreakBetweenWordsAndStartAtTheirParagraphsSide()
    {
        const double width = NoteThumbView::labelRect().width();
        const auto lines = tileReading(u"שלום\nso ordinary "_qs + QString(20, u'm') + u" so"_qs)
                               .laidOutText()
                               .lines();
        QVERIFY(lines[0].rect.right() > width - 1.0);
        QCOMPARE(lines[1].rect.left(), 0.0);
        QCOMPARE(lines[1].text, u"so ordinary "_qs); // a word wider than the label is broken
        QVERIFY(lines.size() > 3 && lines.back().text.endsWith(u" so"_qs));
        for (const auto &line : lines)
            QVERIFY(line.rect.width() <= width);
    }

    void onlyTheLinesThatShowAreLaidOut_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("words") << u"word after "_qs.repeated(10'000);
        QTest::newRow("one word") << QString(100'000, u'i');
        QTest::newRow("nothing but joiners") << QString(100'000, QChar(0x200D));
    }
    void onlyTheLinesThatShowAreLaidOut()
    {
        QFETCH(QString, body);
        qsizetype laidOut = 0;
        const auto lines = tileReading(body).laidOutText().lines();
        for (const auto &line : lines) {
            laidOut += line.text.size();
            QVERIFY(line.rect.top() < NoteThumbView::labelRect().height());
        }
        QVERIFY(!lines.empty() && laidOut <= 4096);
    }

    void aTextThatIsLaidOutInPartBreaksLikeTheWhole()
    {
        // Spaces hang on the end of a line, so these put the end of the first piece into sight.
        const QString words = u"some ordinary words then follow "_qs.repeated(20);
        const auto cut = tileReading(QString(170, u' ') + words).laidOutText().lines();
        const auto plain = tileReading(words).laidOutText().lines();
        QCOMPARE(cut.size(), plain.size());
        for (std::size_t i = 1; i < plain.size(); ++i)
            QCOMPARE(cut[i].text, plain[i - 1].text);
    }

    void nothingIsDrawnOutsideTheTileOrBelowTheLabel_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("long") << u"gypsy jockey "_qs.repeated(100);
        QTest::newRow("stacked marks") << (u"Z"_qs + QString(60, QChar(0x0301))).repeated(30);
        QTest::newRow("controls") << u"\u0001\u001b[31m\u0007\u200f\u202e\ufffc\u2028x"_qs.repeated(
            50);
        QTest::newRow("tabs") << QString(40, u'\t') + u"x"_qs;
    }
    void nothingIsDrawnOutsideTheTileOrBelowTheLabel()
    {
        QFETCH(QString, body);
        const QImage full = painted(tileReading(body));
        const QImage blank = painted(tileReading(u" "_qs));
        const QRect label = NoteThumbView::labelRect().toRect().translated(surround, surround);
        for (int y = 0; y < full.height(); ++y) {
            for (int x = 0; x < full.width(); ++x) {
                if (!label.contains(x, y))
                    QCOMPARE(full.pixel(x, y), blank.pixel(x, y));
            }
        }
    }

    void aPinnedTileHasADotInItsCornerAndTheActiveOneARing()
    {
        auto tile = tileReading(u" "_qs);
        const QImage plain = painted(tile);
        QCOMPARE(at(plain, 132, 7).rgb(), NoteThumbView::thumbFill().light.rgb());

        Note note = *tile.note();
        note.isPinned = true;
        tile.setNote(note);
        QCOMPARE(at(painted(tile), 132, 7).rgb(), Platform::systemYellow().light.rgb());
        QCOMPARE(at(painted(tile, ColorScheme::Dark), 132, 7).rgb(),
                 Platform::systemYellow().dark.rgb());

        tile.setActive(true);
        QVERIFY(at(painted(tile), 70, 0).lightness() < at(plain, 70, 0).lightness() - 60);
    }

    void thePlusIsOneEvenShape()
    {
        const QImage image = painted(NewCardThumbView());
        QVERIFY(at(image, 70, 40).alpha() > at(image, 30, 40).alpha());
        // Where the strokes cross: the ink's 0.45 once over the paper's 0.45.
        QVERIFY(at(image, 70, 40).alphaF() < 0.71F);
    }
};

QTEST_MAIN(NoteThumbViewTests)
#include "NoteThumbViewTests.moc"
