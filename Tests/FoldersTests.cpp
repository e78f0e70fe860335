#include "Platform/Storage/Folders.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform;

class FoldersTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyAbsolutePathsCount_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QString>("config");
        QTest::addColumn<QString>("data");
        const QString config = u"/home/ada/.config"_s;
        const QString data = u"/home/ada/.local/share"_s;
        QTest::newRow("unset") << QByteArray() << config << data;
        QTest::newRow("empty") << ""_ba << config << data;
        QTest::newRow("relative") << "here/below"_ba << config << data;
        QTest::newRow("absolute") << "/x/y z"_ba << u"/x/y z"_s << u"/x/y z"_s;
        QTest::newRow("slash at the end") << "/x/y/"_ba << u"/x/y"_s << u"/x/y"_s;
    }
    void onlyAbsolutePathsCount()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QString, config);
        QFETCH(QString, data);
        qputenv("HOME", "/home/ada");
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
            if (variable.isNull())
                qunsetenv(name);
            else
                qputenv(name, variable);
        }
        QCOMPARE(Folders::configHome(), config);
        QCOMPARE(Folders::dataHome(), data);
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
