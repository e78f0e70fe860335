#include "Brevio/Grid/ThumbText.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace Brevio {

namespace {

constexpr qsizetype firstPiece = 192;   ///< characters; more than a label of ordinary text holds
constexpr qsizetype longestText = 4096; ///< characters; nothing beyond is looked at
constexpr double tabDistance = 28.0;    ///< logical pixels
/// How far the last line may reach over the label's edge: room below its letters, not the letters.
constexpr double spareBelowLetters = 2.0; // logical pixels

bool endsParagraph(QChar character)
{
    return character == u'\n' || character == u'\r' || character == QChar::ParagraphSeparator;
}

qsizetype paragraphLength(QStringView text)
{
    return std::find_if(text.begin(), text.end(), endsParagraph) - text.begin();
}

/// Fonts show control characters as boxes; a joiner in the same place shows nothing.
QString withoutControls(QString text)
{
    constexpr QChar wordJoiner(0x2060);
    std::replace_if(
        text.begin(), text.end(),
        [](QChar character) {
            return character.category() == QChar::Other_Control && character != u'\t' &&
                   !endsParagraph(character);
        },
        wordJoiner);
    return text;
}

/// Not between the two halves of one character.
qsizetype cutBefore(QStringView text, qsizetype length)
{
    if (length >= text.size())
        return text.size();
    return text[length - 1].isHighSurrogate() ? length - 1 : length;
}

} // namespace

ThumbText::ThumbText(const QString &text, const QFont &font, QSizeF label)
    : m_font(font)
    , m_label(label)
{
    const QString beginning = withoutControls(text.left(longestText));
    QStringView rest = beginning;
    while (m_bottom < m_label.height()) {
        const qsizetype length = paragraphLength(rest);
        addParagraph(rest.left(length), m_bottom);
        if (length == rest.size())
            break;
        const bool isPair = rest.sliced(length).startsWith(u"\r\n");
        rest = rest.sliced(length + (isPair ? 2 : 1));
    }
}

ThumbText::~ThumbText() = default;

void ThumbText::addParagraph(QStringView text, double top)
{
    // Most of a long paragraph never shows, and laying it out would cost; but characters without
    // a width can make a line of any length, so a piece that leaves room is tried again, longer.
    for (qsizetype piece = firstPiece;; piece *= 2) {
        const qsizetype length = cutBefore(text, piece);
        auto layout = std::make_unique<QTextLayout>(text.left(length).toString(), m_font);
        const double bottom = wrap(*layout, top);
        const QTextLine last = layout->lineAt(layout->lineCount() - 1);
        const bool isFull =
            bottom >= m_label.height() && last.textStart() + last.textLength() < length;
        if (length < text.size() && !isFull)
            continue;
        m_paragraphs.push_back(std::move(layout));
        m_bottom = bottom;
        return;
    }
}

double ThumbText::wrap(QTextLayout &layout, double top) const
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTabStopDistance(tabDistance);
    if (layout.text().isRightToLeft())
        option.setAlignment(Qt::AlignRight);
    layout.setTextOption(option);
    layout.beginLayout();
    while (top < m_label.height()) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLeadingIncluded(true);
        line.setLineWidth(m_label.width());
        line.setPosition({0.0, top});
        top += line.height();
    }
    layout.endLayout();
    return top;
}

std::vector<ThumbText::Line> ThumbText::lines() const
{
    std::vector<Line> lines;
    for (const auto &paragraph : m_paragraphs) {
        for (int i = 0; i < paragraph->lineCount(); ++i) {
            const QTextLine line = paragraph->lineAt(i);
            lines.push_back({paragraph->text().mid(line.textStart(), line.textLength()),
                             line.naturalTextRect()});
        }
    }
    return lines;
}

void ThumbText::draw(QPainter &painter, const QColor &ink) const
{
    painter.save();
    painter.setClipRect(QRectF(QPointF(), m_label), Qt::IntersectClip);
    painter.setPen(ink);
    for (const auto &paragraph : m_paragraphs) {
        for (int i = 0; i < paragraph->lineCount(); ++i) {
            const QTextLine line = paragraph->lineAt(i);
            if (line.y() + line.height() <= m_label.height() + spareBelowLetters)
                line.draw(&painter, {});
        }
    }
    painter.restore();
}

} // namespace Brevio
