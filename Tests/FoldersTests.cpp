#include "Platform/Storage/Folders.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform;

class FoldersTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyAbsolutePathsCount()
    {
        qputenv("HOME", "/home/ada");
        const auto folders = [](const char *value) {
            for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
                value ? qputenv(name, value) : qunsetenv(name);
            return Folders::configHome() + u' ' + Folders::dataHome();
        };
        for (const char *value : {static_cast<const char *>(nullptr), "", "here/below"})
            QCOMPARE(folders(value), u"/home/ada/.config /home/ada/.local/share"_s);
        QCOMPARE(folders("/x/y z/"), u"/x/y z /x/y z"_s);
    }

    void aMissingHomeIsLookedUp()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        const QString data = Folders::dataHome();
        QVERIFY(data.startsWith(u'/') && data.endsWith(u"/.local/share"_s));
        QVERIFY(data != u"/.local/share"_s);
    }
};

QTEST_GUILESS_MAIN(FoldersTests)
#include "FoldersTests.moc"
