#include "Brevio/CardColors.h"
#include "Brevio/Grid/NoteThumbView.h"

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

QImage painted(const NoteThumbView &tile, ColorScheme scheme = ColorScheme::Light)
{
    QImage image(tileSize.toSize() + QSize(2 * surround, 2 * surround), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.translate(surround, surround);
    tile.paint(painter, {scheme, 1.0});
    return image;
}

} // namespace

class NoteThumbViewTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReturnEndsALine()
    {
        QStringList lines;
        for (const auto &line : tileReading(u"a\nb\r\nc\n"_qs).laidOutText().lines())
            lines << line.text;
        QCOMPARE(lines.join(u'|'), u"a|b|c|"_qs);
        QCOMPARE(tileReading({}).laidOutText().lines().front().text, u"(empty)"_qs);
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

    void onlyTheLinesThatShowAreLaidOut()
    {
        for (const auto &body :
             {u"word after "_qs.repeated(10'000), QString(100'000, QChar(0x200D))}) {
            qsizetype laidOut = 0;
            for (const auto &line : tileReading(body).laidOutText().lines())
                laidOut += line.text.size();
            QVERIFY(laidOut > 0 && laidOut <= 4096);
        }
    }

    void nothingIsDrawnOutsideTheLabel()
    {
        const QImage blank = painted(tileReading(u" "_qs));
        const QRect label = NoteThumbView::labelRect().toRect().translated(surround, surround);
        for (const auto &body : {(u"Z"_qs + QString(60, QChar(0x0301))).repeated(30),
                                 u"\u0001\u001b[31m\u0007\u200f\u202e\ufffc\u2028x"_qs.repeated(50),
                                 QString(40, u'\t') + u"x"_qs}) {
            const QImage full = painted(tileReading(body));
            for (int y = 0; y < full.height(); ++y) {
                for (int x = 0; x < full.width(); ++x)
                    QVERIFY(label.contains(x, y) || full.pixel(x, y) == blank.pixel(x, y));
            }
        }
    }

    void aPinnedTileHasADotInItsCornerAndTheActiveOneARing()
    {
        auto tile = tileReading(u" "_qs);
        const QImage plain = painted(tile, ColorScheme::Dark);
        tile.setNote(Note{.id = QUuid::createUuid(), .body = u" "_qs, .isPinned = true});
        tile.setActive(true);
        const QImage marked = painted(tile, ColorScheme::Dark);
        const QPoint dot(surround + 132, surround + 7);
        QCOMPARE(plain.pixel(dot), CardColors::thumbFill().dark.rgb());
        QCOMPARE(marked.pixel(dot), Platform::systemYellow().dark.rgb());
        QVERIFY(marked.pixel(surround + 70, surround) != plain.pixel(surround + 70, surround));
    }
};

QTEST_MAIN(NoteThumbViewTests)
#include "NoteThumbViewTests.moc"
