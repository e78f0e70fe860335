#pragma once

#include <QString>

class QTextDocument;

namespace Brevio {

/// The one stretch in which two versions of a text differ, in UTF-16 code units. Main thread only
/// where a document is concerned.
struct TextDifference
{
    TextDifference(const QString &from, const QString &to);

    /// Where a place in the one version is in the other: what was added at it comes behind it.
    [[nodiscard]] qsizetype moved(qsizetype place) const;

    qsizetype first;    ///< in both
    qsizetype fromSize; ///< of the stretch in the one
    qsizetype toSize;   ///< and in the other
};

/// Turns the document's text into another by one edit that touches only where they differ.
TextDifference applyDifference(QTextDocument &document, const QString &from, const QString &to);

} // namespace Brevio
