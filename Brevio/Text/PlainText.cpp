#include "Brevio/Text/PlainText.h"

#include <QTextCursor>
#include <QTextDocument>

namespace Brevio::PlainText {

namespace {

QString withLineFeeds(QString text)
{
    text.replace(QChar::ParagraphSeparator, u'\n');
    text.replace(QChar::LineSeparator, u'\n');
    return text;
}

} // namespace

QString of(const QTextDocument &document)
{
    // The document's own plain text would turn every no-break space into a space.
    return withLineFeeds(document.toRawText());
}

QString of(const QTextCursor &selection)
{
    return withLineFeeds(selection.selectedText());
}

} // namespace Brevio::PlainText
