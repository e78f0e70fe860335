#include "Brevio/Grid/NoteThumbView.h"

#include "Brevio/CardColors.h"
#include "Brevio/Grid/NewCardThumbView.h"

#include <QPainter>
#include <QTest>

using namespace Brevio;

namespace {

NoteThumbView tileReading(const QString &body)
{
    NoteThumbView tile;
    tile.setNote(Note{.id = QUuid::createUuid(), .body = body});
    return tile;
}

} // namespace

class NoteThumbViewTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTileIsInkOnPaperWithADotWhenItIsPinned()
    {
        const auto dark = Platform::ColorScheme::Dark;
        const QColor ink = CardColors::cardInk().resolved(dark);
        for (const bool isPinned : {false, true}) {
            NoteThumbView tile;
            tile.setNote(Note{QUuid::createUuid(), u"mmmm"_qs, {}, {}, isPinned});
            const auto painted = [&] {
                QImage image(tileSize.toSize(), QImage::Format_ARGB32_Premultiplied);
                image.fill(Qt::transparent);
                QPainter painter(&image);
                tile.paint(painter, {dark, 1.0});
                return image;
            };
            const QImage image = painted();
            QCOMPARE(image.pixelColor(70, 60).rgb(), CardColors::thumbFill().resolved(dark).rgb());
            QCOMPARE(image.pixelColor(132, 7).rgb() == Platform::systemYellow().dark.rgb(),
                     isPinned);
            int brightest = 0;
            for (int at = 0; at < 40 * 20; ++at)
                brightest = std::max(brightest, image.pixelColor(6 + at % 40, 6 + at / 40).red());
            QVERIFY2(brightest > ink.red() / 2, "the letters are not in ink");
            tile.setAlpha(0.5);
            QVERIFY(std::abs(painted().pixelColor(70, 60).alpha() - 128) <= 1);
        }
    }

    void thePlusTileIsFilledOnce()
    {
        QImage image(tileSize.toSize(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        NewCardThumbView().paint(painter, {Platform::ColorScheme::Light, 1.0});
        QVERIFY(std::abs(image.pixelColor(20, 60).alphaF() - 0.45F) < 0.01F);
    }

    void aReturnEndsALine()
    {
        QStringList lines;
        for (const auto &line : tileReading(u"a\nb\r\nc\n"_qs).laidOutText().lines())
            lines << line.text;
        QCOMPARE(lines.join(u'|'), u"a|b|c|"_qs);
        QCOMPARE(tileReading({}).laidOutText().lines().front().text, u"(empty)"_qs);
    }

    void linesBreakBetweenWordsIfTheyCan()
    {
        const QString body = u"so ordinary "_qs + QString(20, u'm') + u" so"_qs;
        const auto lines = tileReading(body).laidOutText().lines();
        QCOMPARE(lines[0].text, u"so ordinary "_qs);
        QVERIFY(lines.size() > 2 && lines.back().text.endsWith(u" so"_qs));
        for (const auto &line : lines)
            QVERIFY(line.rect.width() <= NoteThumbView::labelRect().width());
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
};

QTEST_MAIN(NoteThumbViewTests)
#include "NoteThumbViewTests.moc"
