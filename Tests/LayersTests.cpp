// The walls of the house: which folder may include which, and where native headers may stand. Reads
// the sources as text; the compiler would find every header from everywhere.

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A folder, or a single unit beside folders, and what it may include apart from itself. What it
/// does not name is above it, or beside it and none of its business.
struct Room
{
    QString place;
    QStringList mayInclude;
};

// clang-format off
const QList<Room> rooms = {
    {u"Platform/Core"_s,      {}},
    {u"Platform/Storage"_s,   {u"Platform/Core"_s}},
    {u"Platform/Screen"_s,    {u"Platform/Core"_s}},
    {u"Platform/Keyboard"_s,  {u"Platform/Core"_s, u"Platform/Storage"_s}},
    {u"Platform/Desktop"_s,   {u"Platform/Core"_s, u"Platform/Storage"_s, u"Platform/Screen"_s}},
    {u"Platform/Speech"_s,    {u"Platform/Core"_s, u"Platform/Storage"_s, u"Platform/Screen"_s}},
    {u"Platform/Updates"_s,   {u"Platform/Core"_s, u"Platform/Storage"_s, u"Platform/Screen"_s}},
    {u"KeyboardShortcuts"_s,  {u"Platform"_s}},
    {u"Brevio/CardColors"_s,  {u"Platform"_s}},
    {u"Brevio/Notes"_s,       {u"Platform"_s}},
    {u"Brevio/Preferences"_s, {u"Platform"_s, u"KeyboardShortcuts"_s}},
    {u"Brevio/Text"_s,        {u"Platform"_s, u"Brevio/CardColors"_s}},
    {u"Brevio/Grid"_s,        {u"Platform"_s, u"Brevio/CardColors"_s, u"Brevio/Notes"_s, u"Brevio/Text"_s}},
    {u"Brevio/Card"_s,        {u"Platform"_s, u"Brevio/CardColors"_s, u"Brevio/Notes"_s, u"Brevio/Text"_s,
                               u"Brevio/Grid"_s, u"KeyboardShortcuts"_s}},
    {u"Brevio/App"_s,         {u"Platform"_s, u"KeyboardShortcuts"_s, u"Brevio"_s}},
};
// clang-format on

bool isIn(const QString &path, const QString &place)
{
    return path.startsWith(place + u'/') || path.startsWith(place + u'.');
}

/// What is wrong with this line of that file; empty when nothing is.
QString complaint(const QString &file, const QString &line)
{
    static const QRegularExpression includeForm(u"^\\s*#\\s*include\\s*([\"<])([^\">]+)[\">]"_s);
    // Of Qt's classes and of the standard library, neither of which ends in .h. Qt's bus is native.
    static const QRegularExpression portableForm(u"^(?!QDBus|QtDBus)(Q[A-Za-z]+|[a-z_]+)$"_s);
    const auto include = includeForm.match(line);
    if (!include.hasMatch())
        return {};
    const QString what = include.captured(2);
    if (include.captured(1) == u"<") {
        const bool isPlatformSource = isIn(file, u"Platform"_s) && file.endsWith(u".cpp");
        return isPlatformSource || portableForm.match(what).hasMatch()
                   ? QString()
                   : u"a native header belongs in a source of Platform"_s;
    }
    for (const Room &room : rooms) {
        if (!isIn(file, room.place))
            continue;
        const auto holds = [&](const QString &place) { return isIn(what, place); };
        return holds(room.place) || what.endsWith(u".moc") ||
                       std::any_of(room.mayInclude.begin(), room.mayInclude.end(), holds)
                   ? QString()
                   : room.place + u" stands below or apart from it"_s;
    }
    return u"no room is known there"_s;
}

} // namespace

class LayersTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWallIsSeen_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("mayStand");
        // clang-format off
        QTest::newRow("down a floor")            << u"Brevio/Card/A.cpp"_s    << u"#include \"Platform/Core/Clock.h\""_s   << true;
        QTest::newRow("down a room")             << u"Brevio/Card/A.h"_s      << u"#include \"Brevio/Text/B.h\""_s         << true;
        QTest::newRow("the room itself")         << u"Brevio/Notes/A.cpp"_s   << u"#include \"Brevio/Notes/B.h\""_s        << true;
        QTest::newRow("a unit beside rooms")     << u"Brevio/Grid/A.cpp"_s    << u"#include \"Brevio/CardColors.h\""_s     << true;
        QTest::newRow("up a floor")              << u"Platform/Core/A.cpp"_s  << u"#include \"Brevio/Notes/Note.h\""_s     << false;
        QTest::newRow("up from the middle")      << u"KeyboardShortcuts/A.h"_s << u"#include \"Brevio/App/App.h\""_s       << false;
        QTest::newRow("up a room")               << u"Brevio/Grid/A.cpp"_s    << u" # include \"Brevio/Card/B.h\""_s       << false;
        QTest::newRow("next door")               << u"Brevio/Notes/A.h"_s     << u"#include \"Brevio/Text/B.h\""_s         << false;
        QTest::newRow("up within Platform")      << u"Platform/Core/A.cpp"_s  << u"#include \"Platform/Screen/B.h\""_s     << false;
        QTest::newRow("a name without a path")   << u"Brevio/Text/A.cpp"_s    << u"#include \"TextMarks.h\""_s             << false;
        QTest::newRow("in no room")              << u"Brevio/New/A.cpp"_s     << u"#include \"Brevio/Notes/Note.h\""_s     << false;
        QTest::newRow("native in a source")      << u"Platform/Screen/A.cpp"_s << u"#include <xcb/xcb.h>"_s                << true;
        QTest::newRow("native in a header")      << u"Platform/Screen/A.h"_s  << u"#include <xcb/xcb.h>"_s                 << false;
        QTest::newRow("native on another floor") << u"Brevio/App/A.cpp"_s     << u"#include <unistd.h>"_s                  << false;
        QTest::newRow("the bus in a header")     << u"Platform/Core/A.h"_s    << u"#include <QDBusConnection>"_s           << false;
        QTest::newRow("portable in a header")    << u"Platform/Core/A.h"_s    << u"#include <string_view>"_s               << true;
        // clang-format on
    }
    void aWallIsSeen()
    {
        QFETCH(QString, file);
        QFETCH(QString, line);
        QTEST(complaint(file, line).isEmpty(), "mayStand");
    }

    void everyIncludeKeepsToTheWalls()
    {
        QStringList complaints;
        int sources = 0;
        const QString root = QStringLiteral(SOURCE_FOLDER) + u'/';
        for (const auto &floor : {u"Platform"_s, u"KeyboardShortcuts"_s, u"Brevio"_s}) {
            QDirIterator files(root + floor, {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                               QDirIterator::Subdirectories);
            while (files.hasNext()) {
                QFile file(files.next());
                QVERIFY2(file.open(QIODevice::ReadOnly | QIODevice::Text),
                         qPrintable(file.fileName()));
                ++sources;
                const QString name = file.fileName().mid(root.size());
                const auto lines = QString::fromUtf8(file.readAll()).split(u'\n');
                for (const QString &line : lines) {
                    if (const QString what = complaint(name, line); !what.isEmpty())
                        complaints << name + u": "_s + line + u": "_s + what;
                }
            }
        }
        QVERIFY2(complaints.isEmpty(), qPrintable(u'\n' + complaints.join(u'\n')));
        QVERIFY(sources > 0);
    }
};

QTEST_APPLESS_MAIN(LayersTests)
#include "LayersTests.moc"
