#include "Brevio/Text/TextMeasure.h"
#include "Platform/Screen/Fonts.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextDocument>

#include <ctime>

using namespace Brevio;

class TextMeasureTests final : public QObject
{
    Q_OBJECT

private:
    const QFont m_font = Platform::Fonts::baskerville(17.0, Platform::Fonts::Slant::Upright, 16.0);
    const double m_line = TextMeasure::lineHeight(m_font);

    double heightInADocument(const QString &text) const
    {
        QTextDocument document;
        document.setDefaultFont(m_font);
        document.setPlainText(text);
        TextMeasure::applyLayout(document, m_font);
        document.setTextWidth(TextMeasure::containerWidth);
        return document.size().height();
    }

private Q_SLOTS:
    void everyLineIsAsTallAsTheNext()
    {
        for (const auto &[text, lines] :
             {std::pair("", 1), {"a\n", 2}, {"a\u2028b", 2}, {"⌘⇧↩⌥\n漢字\n→", 3}})
            QCOMPARE(TextMeasure::usedHeight(QString::fromUtf8(text), m_font), lines * m_line);
    }

    void aLineBreaksWhereItsPaddingBegins()
    {
        QString text;
        while (QFontMetricsF(m_font).horizontalAdvance(text + u'i') <= 406.0)
            text += u'i';
        QCOMPARE(TextMeasure::usedHeight(text, m_font), m_line);
        QCOMPARE(TextMeasure::usedHeight(text + u'i', m_font), 2.0 * m_line);
    }

    void everyTextIsAsTallAsTheEditorLaysItOut()
    {
        const QStringList pieces{
            QStringLiteral("word"),  QStringLiteral(" "),       QStringLiteral("\n"),
            QStringLiteral("\t"),    QStringLiteral("⌘⇧"),      QStringLiteral("漢字かな"),
            QStringLiteral("שלום"),  QStringLiteral("\u00a0"),  QStringLiteral("😀👩‍👧"),
            QStringLiteral("a-b/c"), QStringLiteral("Ünïcödé"), QString(70, u'm')};
        QRandomGenerator random(7);
        for (int round = 0; round < 200; ++round) {
            QString text;
            for (int i = random.bounded(60); i > 0; --i)
                text += pieces[random.bounded(static_cast<int>(pieces.size()))];
            QCOMPARE(TextMeasure::usedHeight(text, m_font), heightInADocument(text));
        }
    }

    void measuringStopsOnceEnoughIsKnown()
    {
        const auto start = std::clock(); // of this process alone, whatever else is running
        for (const auto &piece : {QStringLiteral("word "), QStringLiteral("word\n")})
            QVERIFY(TextMeasure::usedHeight(piece.repeated(1 << 20), m_font,
                                            TextMeasure::containerWidth, 237.0) > 237.0);
        // Laying all of it out takes tens of seconds.
        const auto taken = std::clock() - start;
        QVERIFY2(taken < 5 * CLOCKS_PER_SEC, qPrintable(QString::number(taken)));
    }
};

QTEST_MAIN(TextMeasureTests)
#include "TextMeasureTests.moc"
