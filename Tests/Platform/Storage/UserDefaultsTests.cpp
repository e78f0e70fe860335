#include "Platform/Storage/Files.h"
#include "Platform/Storage/Folders.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
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
             {QJsonValue(false), QJsonValue(-12.25), QJsonValue(u"{\"carbonKeyCode\":49}\n⌘"_s)}) {
            UserDefaults(m_path, m_queue).set(m_key, value);
            UserDefaults defaults(m_path, m_queue);
            QCOMPARE(defaults.object(m_key), value);
            defaults.remove(m_key);
        }
        QVERIFY(!UserDefaults(m_path, m_queue).contains(m_key));
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
        set(4);
        defaults.flush();
        QVERIFY(bytes().contains("4"));
        QCOMPARE(m_queue.pendingJobs(), 0);
    }

    void whatCannotBeReadIsSetAsideBeforeTheFirstWrite()
    {
        QVERIFY(Files::makeFolder(QFileInfo(m_path).path()));
        QVERIFY(QFile::link(u"real.json"_s, m_path));
        QVERIFY(Files::replaceAtomically(m_path, "{"));
        UserDefaults defaults(m_path, m_queue);
        m_queue.advance(1s);
        QCOMPARE(bytes(), "{"_ba);
        for (const bool value : {true, false}) {
            defaults.set(m_key, value);
            m_queue.advance(1s);
            QCOMPARE(UserDefaults(m_path, m_queue).object(m_key), QJsonValue(value));
            QVERIFY(QFileInfo(m_path).isSymbolicLink());
            const QDir folder = QFileInfo(m_path).dir();
            const QStringList aside = folder.entryList({u"real.json.unreadable-*"_s});
            QCOMPARE(aside.size(), 1);
            QCOMPARE(Files::read(folder.filePath(aside[0])), "{"_ba);
        }
    }

    void onlyAbsolutePathsNameTheFolders()
    {
        qputenv("HOME", "/home/ada");
        const auto folders = [](const char *value) {
            for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
                qputenv(name, value);
            return Folders::configHome() + u' ' + Folders::dataHome();
        };
        for (const char *value : {"", "here/below"})
            QCOMPARE(folders(value), u"/home/ada/.config /home/ada/.local/share"_s);
        QCOMPARE(folders("/x/y z/"), u"/x/y z /x/y z"_s);
    }
};

QTEST_GUILESS_MAIN(UserDefaultsTests)
#include "UserDefaultsTests.moc"
