#include "Platform/Storage/CloudClients.h"
#include "Platform/Storage/CloudDrive.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform::CloudClients;
using Platform::CloudDrive;

namespace {

/// What each client leaves in a home, with "HOME" where the home's path belongs.
struct Trace
{
    const char *folder; ///< the one it names, below the home
    const char *file;
    QByteArray content;
};

// In the order in which they are preferred.
const std::vector<Trace> traces{
    {"Nextcloud", ".config/Nextcloud/nextcloud.cfg",
     "[Accounts]\n0\\Folders\\1\\localPath=HOME/Nextcloud/\n0\\url=https://cloud.example.com\n"},
    {"ownCloud", ".config/ownCloud/owncloud.cfg",
     "[Accounts]\r\n0\\Folders\\d6c2-4f\\localPath=\"HOME/ownCloud\"\r\n"},
    {"Dropbox", ".dropbox/info.json",
     R"({"personal": {"path": "HOME/Dropbox", "host": 4711, "subscription_type": "Basic"}})"},
    {"OldSync", ".config/syncthing/config.xml", // a place that Syncthing stays with
     "<configuration><folder path='HOME/OldSync'/></configuration>"},
    {"Sync", ".local/state/syncthing/config.xml",
     R"(<configuration version="37"><folder id="a" path="~/Sync" type="sendreceive"><device id="D"/>
        <paused>false</paused></folder><device><paused>true</paused></device></configuration>)"},
};

} // namespace

class CloudDriveTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    ManualQueue m_queue;
    std::unique_ptr<Platform::UserDefaults> m_defaults;
    CloudDrive::Places m_places;

    [[nodiscard]] QString in(const QString &name) const { return m_places.home + u'/' + name; }
    void write(const QString &name, QByteArray content)
    {
        QVERIFY(QDir().mkpath(QFileInfo(in(name)).path()));
        QFile file(in(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        content.replace("HOME", m_places.home.toUtf8());
        QCOMPARE(file.write(content), content.size());
    }
    void install(const Trace &trace)
    {
        write(QLatin1String(trace.file), trace.content);
        QVERIFY(QDir().mkpath(in(QLatin1String(trace.folder))));
    }
    /// The folder that a fresh drive finds, below the home; empty when there is none.
    [[nodiscard]] QString found() const
    {
        const auto drive = CloudDrive::create(m_places, *m_defaults);
        const auto root = drive->containerRoot(u"org.brevio.Brevio"_s);
        return root ? QDir(m_places.home).relativeFilePath(root->chopped(7)) : QString();
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("HOME", QFile::encodeName(m_folder->path()));
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
            qputenv(name, "relative");
        m_places = CloudDrive::Places::ofUser();
        m_defaults = std::make_unique<Platform::UserDefaults>(in(u"defaults.json"_s), m_queue);
    }

    void clientsAreAskedInTheirOrderAndOnlyAFolderThatIsThereCounts()
    {
        QCOMPARE(found(), QString());
        for (const Trace &trace : traces)
            install(trace);
        const auto asked = CloudDrive::create(m_places, *m_defaults);
        QVERIFY(asked->isSignedIn());
        for (const Trace &trace : traces) {
            QCOMPARE(found(), QLatin1String(trace.folder));
            QVERIFY(QDir().rmdir(in(found())));
        }
        QCOMPARE(found(), QString());
        QVERIFY2(asked->isSignedIn(), "an answer holds");
    }

    void theUsersOwnChoiceDecidesAlone()
    {
        install(traces.front());
        QVERIFY(QDir().mkpath(in(u"Chosen"_s)));
        const std::pair<QJsonValue, QString> rows[] = {{in(u"Chosen"_s), u"Chosen"_s},
                                                       {u"~/Chosen/"_s, u"Chosen"_s},
                                                       {u""_s, {}},
                                                       {in(u"Gone"_s), {}},
                                                       {7, u"Nextcloud"_s}};
        for (const auto &[value, folder] : rows) {
            m_defaults->set(u"brevio.cloudFolder"_s, value);
            QCOMPARE(found(), folder);
        }
    }

    void everyFolderThatAClientSyncsIsNamed()
    {
        const QString file = in(u"settings"_s);
        write(u"settings"_s,
              "\xEF\xBB\xBF[Accounts]\r\n 0\\Folders\\1\\localPath = /a \xC3\xBC/ \r\n"
              "0\\Folders\\localPath=/no\n0\\Multifolders\\2\\localPath=\"/b, c; \\\"d\\\" e=f\"\n"
              "abc-1\\FoldersWithPlaceholders\\Docs%2FWork\\localPath=/d\\xfc\n"
              "[Other]\n0\\Folders\\1\\localPath=/no\n");
        QCOMPARE(nextcloudFolders(file), u"/a ü/|/b, c; \"d\" e=f|/dü"_s.split(u'|'));
        write(u"settings"_s, R"({"business": {"path": "/b"}, "personal": {"path": "/a"}})");
        QCOMPARE(dropboxFolders(file), (QStringList{u"/a"_s, u"/b"_s}));
        // Only what comes and goes.
        write(u"settings"_s,
              "<?xml version='1.0'?><configuration><defaults><folder path='/no'/></defaults>"
              "<folder path='/no' type='receiveonly'/><folder path='/no' type='sendonly'/>"
              "<folder path='/no'><paused>true</paused></folder><folder path='~/A &amp; B'/>"
              "<folder path='/f' type='readwrite'/><folder path='/torn'><pau");
        QCOMPARE(syncthingFolders(file), (QStringList{u"~/A & B"_s, u"/f"_s}));
    }
};

QTEST_GUILESS_MAIN(CloudDriveTests)
#include "CloudDriveTests.moc"
