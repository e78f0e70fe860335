#include "Brevio/Text/TextDifference.h"

#include <QTextCursor>

#include <algorithm>

namespace Brevio {

TextDifference::TextDifference(const QString &from, const QString &to)
    : first(std::mismatch(from.begin(), from.end(), to.begin(), to.end()).first - from.begin())
{
    const auto same =
        std::mismatch(from.rbegin(), from.rend() - first, to.rbegin(), to.rend() - first).first -
        from.rbegin();
    fromSize = from.size() - same - first;
    toSize = to.size() - same - first;
}

qsizetype TextDifference::moved(qsizetype place) const
{
    if (place <= first)
        return place;
    return place < first + fromSize ? first + std::min(place - first, toSize)
                                    : place - fromSize + toSize;
}

TextDifference applyDifference(QTextDocument &document, const QString &from, const QString &to)
{
    const TextDifference difference(from, to);
    QTextCursor cursor(&document);
    cursor.setPosition(static_cast<int>(difference.first));
    cursor.setPosition(static_cast<int>(difference.first + difference.fromSize),
                       QTextCursor::KeepAnchor);
    cursor.insertText(to.mid(difference.first, difference.toSize));
    return difference;
}

} // namespace Brevio
