#include "Platform/Storage/Folders.h"

#include <QTest>

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
        const QString config = QStringLiteral("/home/ada/.config");
        const QString data = QStringLiteral("/home/ada/.local/share");
        QTest::newRow("unset") << QByteArray() << config << data;
        QTest::newRow("empty") << QByteArray("") << config << data;
        QTest::newRow("relative") << QByteArray("here/below") << config << data;
        QTest::newRow("absolute") << QByteArray("/x/y z") << QStringLiteral("/x/y z")
                                  << QStringLiteral("/x/y z");
        QTest::newRow("slash at the end")
            << QByteArray("/x/y/") << QStringLiteral("/x/y") << QStringLiteral("/x/y");
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
        QVERIFY(data.startsWith(u'/') && data.endsWith(QStringLiteral("/.local/share")));
        QVERIFY(data != QStringLiteral("/.local/share"));
    }
};

QTEST_GUILESS_MAIN(FoldersTests)
#include "FoldersTests.moc"
