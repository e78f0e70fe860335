#include "Platform/Storage/Files.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Platform;
using namespace std::chrono;

class UserDefaultsTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    ManualQueue m_queue;
    const QString m_key = u"brevio.showInMenuBar"_s;

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
        m_path = m_folder->filePath(u"Brevio/defaults.json"_s);
    }

    void valuesKeepTheirTypeAcrossAStart()
    {
        for (const QJsonValue &value :
             {QJsonValue(false), QJsonValue(-12.25), QJsonValue(qint64(9007199254740993)),
              QJsonValue(u"{\"carbonKeyCode\":49}\n⌘"_s), QJsonValue(QJsonObject{{u"x"_s, 1.5}})}) {
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
            defaults.remove(m_key);
        }
        const auto ownOnly =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(m_path), ownOnly);
    }

    void aChangeIsWrittenOnTheNextTurnAndABurstFourTimesASecond()
    {
        UserDefaults defaults(m_path, m_queue);
        const auto set = [&](int value) { defaults.set(m_key, value); };
        set(1);
        QCOMPARE(bytes(), "none"_ba);
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
        QTest::newRow("damaged") << "{\"a\":"_ba << false;
        QTest::newRow("empty") << ""_ba << false;
        QTest::newRow("no object") << "[1]"_ba << false;
        QTest::newRow("behind a symbolic link") << "{"_ba << true;
    }
    void whatCannotBeReadIsSetAsideBeforeTheFirstWrite()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isLinked);
        QVERIFY(Files::makeFolder(QFileInfo(m_path).path()));
        if (isLinked)
            QVERIFY(QFile::link(u"real.json"_s, m_path));
        QVERIFY(Files::replaceAtomically(m_path, content));
        UserDefaults defaults(m_path, m_queue);
        QVERIFY(!defaults.contains(u"a"_s));
        m_queue.advance(1s);
        QCOMPARE(bytes(), content);

        defaults.set(m_key, true);
        m_queue.advance(1s);
        QCOMPARE(UserDefaults(m_path, m_queue).object(m_key), QJsonValue(true));
        QCOMPARE(QFileInfo(m_path).isSymbolicLink(), isLinked);
        const QStringList aside = entries().filter(u".json.unreadable-"_s);
        QCOMPARE(aside.size(), 1);
        QCOMPARE(Files::read(QFileInfo(m_path).dir().filePath(aside[0])), content);

        defaults.set(m_key, false);
        m_queue.advance(1s);
        QCOMPARE(entries().size(), isLinked ? 3 : 2);
    }

    void whatIsInTheWayIsLeftAloneAndTheNextChangeTriesAgain()
    {
        QVERIFY(QDir().mkpath(m_path + u"/inside"_s));
        UserDefaults defaults(m_path, m_queue);
        defaults.set(m_key, 1);
        m_queue.advance(1s);
        QCOMPARE(defaults.object(m_key), QJsonValue(1));
        QVERIFY(QFileInfo(m_path + u"/inside"_s).isDir());
        QVERIFY2(m_queue.pendingJobs() == 0, "nothing is tried again while nothing changes");

        QVERIFY(QDir(m_path).removeRecursively());
        defaults.set(u"other"_s, u"x"_s);
        m_queue.advance(1s);
        const UserDefaults again(m_path, m_queue);
        QCOMPARE(again.object(m_key), QJsonValue(1));
        QCOMPARE(again.object(u"other"_s), QJsonValue(u"x"_s));
        QCOMPARE(entries(), QStringList{u"defaults.json"_s});
    }
};

QTEST_GUILESS_MAIN(UserDefaultsTests)
#include "UserDefaultsTests.moc"
