#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

#include <memory>
#include <vector>

class QPainter;
class QTextLayout;

namespace Brevio {

/// The beginning of a text, wrapped by words into a small label, as many lines as show whole. A
/// word wider than the label breaks anywhere. Only as much of the text is laid out as can show, so
/// that its length costs nothing. A paragraph that begins right to left sits at the right. Sizes in
/// logical pixels. Main thread only.
class ThumbText final
{
public:
    struct Line
    {
        QString text;
        QRectF rect; ///< the part that glyphs cover, from the label's top left corner
    };

    ThumbText(const QString &text, const QFont &font, QSizeF label);
    ~ThumbText();

    /// Every line that begins inside the label, also a last one that is not drawn.
    [[nodiscard]] std::vector<Line> lines() const;

    /// Draws with the label's top left corner at the origin and nothing outside the label.
    void draw(QPainter &painter, const QColor &ink) const;

private:
    /// Wraps a paragraph from `top` down to the lower edge; returns where the next one begins.
    double wrap(QTextLayout &layout, double top) const;
    void addParagraph(QStringView text, double top);

    QFont m_font;
    QSizeF m_label;
    double m_bottom = 0; ///< of the lines laid out so far
    std::vector<std::unique_ptr<QTextLayout>> m_paragraphs;
};

} // namespace Brevio
