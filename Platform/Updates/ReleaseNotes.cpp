#include "Platform/Updates/ReleaseNotes.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace Platform {

namespace {

const auto listItem = QStringLiteral("li");
const QSet<QString> lines = {QStringLiteral("br"),    QStringLiteral("p"),   QStringLiteral("div"),
                             QStringLiteral("ul"),    QStringLiteral("ol"),  QStringLiteral("tr"),
                             QStringLiteral("table"), QStringLiteral("pre"), QStringLiteral("h1"),
                             QStringLiteral("h2"),    QStringLiteral("h3"),  QStringLiteral("h4"),
                             QStringLiteral("h5"),    QStringLiteral("h6"),  listItem};
const QSet<QString> unseen = {QStringLiteral("script"), QStringLiteral("style"),
                              QStringLiteral("head")};
const QHash<QString, QChar> entities = {
    {QStringLiteral("lt"), u'<'},   {QStringLiteral("gt"), u'>'},    {QStringLiteral("amp"), u'&'},
    {QStringLiteral("quot"), u'"'}, {QStringLiteral("apos"), u'\''}, {QStringLiteral("nbsp"), u' '},
};

/// A comment, a tag, an entity or a run of blanks.
const QRegularExpression &markUp()
{
    static const QRegularExpression expression(QStringLiteral(
        "<!--|<(/?)([a-zA-Z][a-zA-Z0-9]{0,19})(?![a-zA-Z0-9])[^<>]*>|&([a-z]{2,4});|\\s+"));
    return expression;
}

void breakLine(QString &text)
{
    while (text.endsWith(u' '))
        text.chop(1);
    if (!text.isEmpty() && !text.endsWith(u'\n'))
        text += u'\n';
}

} // namespace

QString releaseNotesText(const QString &notes)
{
    static const QRegularExpression anyTag(QStringLiteral("</?[a-zA-Z][^<>]*>"));
    if (!notes.contains(anyTag))
        return notes;
    QString text;
    qsizetype at = 0;
    for (;;) {
        const auto found = markUp().match(notes, at);
        text += QStringView(notes).mid(at, found.hasMatch() ? found.capturedStart() - at : -1);
        if (!found.hasMatch())
            return text.trimmed();
        at = found.capturedEnd();
        const QString tag = found.captured(2).toLower();
        const QString entity = found.captured(3);
        const bool isStart = found.captured(1).isEmpty();
        QString end; // of what is not shown at all
        if (found.capturedView() == u"<!--")
            end = QStringLiteral("-->");
        else if (unseen.contains(tag) && isStart)
            end = QStringLiteral("</") + tag;
        else if (lines.contains(tag))
            breakLine(text);
        else if (!entity.isEmpty())
            text += entities.contains(entity) ? QString(entities[entity]) : found.captured();
        else if (tag.isEmpty() && !text.isEmpty() && !text.back().isSpace())
            text += u' ';
        if (tag == listItem && isStart)
            text += QStringLiteral("• ");
        if (!end.isEmpty()) {
            const qsizetype next = notes.indexOf(end, at, Qt::CaseInsensitive);
            at = next < 0 ? notes.size() : next + (tag.isEmpty() ? end.size() : 0);
        }
    }
}

} // namespace Platform
