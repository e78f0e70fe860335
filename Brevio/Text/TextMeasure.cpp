#include "Brevio/Text/TextMeasure.h"

#include "Platform/Screen/Fonts.h"

#include <QFontMetricsF>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace Brevio::TextMeasure {

namespace {

constexpr double tightestLine = 1.2;
constexpr double loosestLine = 1.4;
constexpr auto wrapMode = QTextOption::WrapAtWordBoundaryOrAnywhere;
/// Laying out starts with an analysis of the whole paragraph, so a paragraph longer than this is
/// first judged by its beginning alone.
constexpr qsizetype longParagraph = 8192;

/// The number of lines of one paragraph; more than `enough` means only that.
double lineCount(QStringView paragraph, const QFont &font, double width, double enough)
{
    QTextLayout layout(paragraph.toString(), font);
    QTextOption option;
    option.setWrapMode(wrapMode);
    layout.setTextOption(option);
    layout.beginLayout();
    double count = 0.0;
    while (count <= enough) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        ++count;
    }
    layout.endLayout();
    return std::max(count, 1.0);
}

bool endsLine(QChar c)
{
    return c == u'\n' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

} // namespace

double lineHeight(const QFont &font)
{
    const QFontMetricsF metrics(font);
    const double points = Platform::Fonts::points(font);
    const double natural = metrics.ascent() + metrics.descent() + std::max(metrics.leading(), 0.0);
    return std::clamp(std::ceil(natural), std::ceil(points * tightestLine),
                      std::floor(points * loosestLine));
}

double usedHeight(QStringView text, const QFont &font, double width, double enough)
{
    const double height = lineHeight(font);
    const double wrapWidth = width - 2.0 * lineFragmentPadding;
    const double enoughLines = enough / height;
    double lines = 0.0;
    for (qsizetype start = 0; lines <= enoughLines;) {
        const auto end = std::find_if(text.begin() + start, text.end(), endsLine);
        const QStringView paragraph = text.mid(start, end - text.begin() - start);
        const double left = enoughLines - lines;
        double count = 0.0;
        if (paragraph.size() > longParagraph)
            count = lineCount(paragraph.first(longParagraph), font, wrapWidth, left);
        // A beginning that is too long decides; one that fits does not.
        if (count <= left)
            count = lineCount(paragraph, font, wrapWidth, left);
        lines += count;
        if (end == text.end())
            break;
        start += paragraph.size() + 1;
    }
    return lines * height;
}

void applyLayout(QTextDocument &document, const QFont &font)
{
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(wrapMode);
    document.setDefaultTextOption(option);
    document.setDocumentMargin(0.0);

    QTextFrameFormat frame = document.rootFrame()->frameFormat();
    frame.setMargin(0.0);
    frame.setLeftMargin(lineFragmentPadding);
    frame.setRightMargin(lineFragmentPadding);
    document.rootFrame()->setFrameFormat(frame);

    QTextBlockFormat block;
    block.setLineHeight(lineHeight(font), QTextBlockFormat::FixedHeight);
    QTextCursor everything(&document);
    everything.select(QTextCursor::Document);
    everything.setBlockFormat(block);
}

} // namespace Brevio::TextMeasure
