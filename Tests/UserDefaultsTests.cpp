#include "Platform/Storage/Files.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Platform;
using namespace std::chrono;

class UserDefaultsTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    ManualQueue m_queue;
    const QString m_key = QStringLiteral("brevio.showInMenuBar");

    QStringList entries() const
    {
        return QFileInfo(m_path).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                                 QDir::NoDotAndDotDot);
    }
    QByteArray bytes() const { return Files::read(m_path).value_or("none"); }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("Brevio/defaults.json"));
    }

    void valuesKeepTheirTypeAcrossAStart_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("false") << QJsonValue(false);
        QTest::newRow("number") << QJsonValue(-12.25);
        QTest::newRow("large number") << QJsonValue(qint64(9007199254740993));
        QTest::newRow("string") << QJsonValue(QStringLiteral("{\"carbonKeyCode\":49}\n⌘"));
        QTest::newRow("dictionary") << QJsonValue(QJsonObject{{QStringLiteral("x"), 1.5}});
        QTest::newRow("long string") << QJsonValue(QString(1'000'000, u'x'));
    }
    void valuesKeepTheirTypeAcrossAStart()
    {
        QFETCH(QJsonValue, value);
        {
            UserDefaults defaults(m_path, m_queue);
            QVERIFY(!defaults.contains(m_key));
            QVERIFY(defaults.object(m_key).isUndefined());
            defaults.set(m_key, value);
            QCOMPARE(defaults.object(m_key), value);
        }
        UserDefaults defaults(m_path, m_queue);
        QCOMPARE(defaults.object(m_key), value);
        QCOMPARE(defaults.object(m_key).type(), value.type());
        const auto ownOnly =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(m_path), ownOnly);
        defaults.remove(m_key);
        defaults.flush();
        QVERIFY(!UserDefaults(m_path, m_queue).contains(m_key));
    }

    void aChangeIsWrittenOnTheNextTurnAndABurstFourTimesASecond()
    {
        UserDefaults defaults(m_path, m_queue);
        const auto set = [&](int value) { defaults.set(m_key, value); };
        set(1);
        QCOMPARE(bytes(), QByteArray("none"));
        m_queue.runPosted();
        QVERIFY(bytes().contains("1"));
        set(2);
        m_queue.advance(200ms);
        set(3);
        m_queue.advance(49ms);
        QVERIFY(bytes().contains("1"));
        m_queue.advance(1ms);
        QVERIFY(bytes().contains("3"));
        set(3);
        QVERIFY2(m_queue.pendingJobs() == 0, "the value did not change");
        set(4);
        defaults.flush();
        QVERIFY(bytes().contains("4"));
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void whatCannotBeReadIsSetAsideBeforeTheFirstWrite_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isLinked");
        QTest::newRow("damaged") << QByteArray("{\"a\":") << false;
        QTest::newRow("empty") << QByteArray("") << false;
        QTest::newRow("no object") << QByteArray("[1]") << false;
        QTest::newRow("too deep") << QByteArray("{\"a\":" + QByteArray(100'000, '[')) << false;
        QTest::newRow("not UTF-8") << QByteArray("{\"a\":\"\xff\"}") << false;
        QTest::newRow("behind a symbolic link") << QByteArray("{") << true;
    }
    void whatCannotBeReadIsSetAsideBeforeTheFirstWrite()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isLinked);
        QVERIFY(Files::makeFolder(QFileInfo(m_path).path()));
        if (isLinked)
            QVERIFY(QFile::link(QStringLiteral("real.json"), m_path));
        QVERIFY(Files::replaceAtomically(m_path, content));
        UserDefaults defaults(m_path, m_queue);
        QVERIFY(!defaults.contains(QStringLiteral("a")));
        m_queue.advance(1s);
        QCOMPARE(bytes(), content);

        defaults.set(m_key, true);
        m_queue.advance(1s);
        QCOMPARE(UserDefaults(m_path, m_queue).object(m_key), QJsonValue(true));
        QCOMPARE(QFileInfo(m_path).isSymbolicLink(), isLinked);
        const QStringList aside = entries().filter(QStringLiteral(".json.unreadable-"));
        QCOMPARE(aside.size(), 1);
        QCOMPARE(Files::read(QFileInfo(m_path).dir().filePath(aside[0])), content);

        defaults.set(m_key, false);
        m_queue.advance(1s);
        QCOMPARE(entries().size(), isLinked ? 3 : 2);
    }

    void whatIsInTheWayIsLeftAloneAndTheNextChangeTriesAgain()
    {
        QVERIFY(QDir().mkpath(m_path + QStringLiteral("/inside")));
        UserDefaults defaults(m_path, m_queue);
        defaults.set(m_key, 1);
        m_queue.advance(1s);
        QCOMPARE(defaults.object(m_key), QJsonValue(1));
        QVERIFY(QFileInfo(m_path + QStringLiteral("/inside")).isDir());
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing is tried again while nothing changes");

        QVERIFY(QDir(m_path).removeRecursively());
        defaults.set(QStringLiteral("other"), QStringLiteral("x"));
        m_queue.advance(1s);
        const UserDefaults again(m_path, m_queue);
        QCOMPARE(again.object(m_key), QJsonValue(1));
        QCOMPARE(again.object(QStringLiteral("other")), QJsonValue(QStringLiteral("x")));
        QCOMPARE(entries(), QStringList{QStringLiteral("defaults.json")});
    }
};

QTEST_GUILESS_MAIN(UserDefaultsTests)
#include "UserDefaultsTests.moc"
