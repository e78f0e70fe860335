#include "Platform/Storage/CloudClients.h"
#include "Platform/Storage/CloudDrive.h"
#include "Platform/Storage/Files.h"
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

using Reader = QStringList (*)(const QString &);

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
     "[General]\nclientVersion=3.7.3\n\n[Accounts]\n0\\Folders\\1\\localPath=HOME/Nextcloud/\n"
     "0\\url=https://cloud.example.com\n\n[Settings]\ngeometry=@ByteArray(\\x1\\xd9)\n"},
    {"ownCloud", ".config/ownCloud/owncloud.cfg",
     "[Accounts]\r\n0\\Folders\\d6c2-4f\\localPath=\"HOME/ownCloud\"\r\n"},
    {"Dropbox", ".dropbox/info.json",
     R"({"personal": {"path": "HOME/Dropbox", "host": 4711, "subscription_type": "Basic"}})"},
    {"Sync", ".local/state/syncthing/config.xml",
     R"(<configuration version="37"><folder id="a" label="Default" path="~/Sync" type="sendreceive">
            <device id="D"><encryptionPassword></encryptionPassword></device><paused>false</paused>
        </folder><device id="D"><paused>true</paused></device></configuration>)"},
};

} // namespace

Q_DECLARE_METATYPE(Reader)

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
        if (root.has_value() != drive->isSignedIn() || (root && !root->endsWith(u"/Brevio"_s)))
            return u"an impossible answer"_s;
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
    void cleanup() { qunsetenv("STHOMEDIR"); }

    void clientsAreAskedInTheirOrderAndOnlyAFolderThatIsThereCounts()
    {
        QCOMPARE(found(), QString());
        for (const Trace &trace : traces)
            install(trace);
        const auto asked = CloudDrive::create(m_places, *m_defaults);
        QVERIFY(asked->isSignedIn());
        for (const Trace &trace : traces) {
            const QString folder = QLatin1String(trace.folder), file = QLatin1String(trace.file);
            QCOMPARE(found(), folder);
            write(file, trace.content + QByteArray(1024 * 1024, '\n')); // too large to be true
            QVERIFY(found() != folder);
            write(file, trace.content);
            QVERIFY(QDir().rmdir(in(folder)));
            write(folder, "a file in its place");
            QVERIFY(QFile::setPermissions(in(folder), QFile::ReadUser | QFile::ExeUser));
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
                                                       {u"~somebody/Chosen"_s, u"Nextcloud"_s},
                                                       {7, u"Nextcloud"_s}};
        for (const auto &[value, folder] : rows) {
            m_defaults->set(u"brevio.cloudFolder"_s, value);
            QCOMPARE(found(), folder);
        }
    }

    void syncthingIsFoundWhereItKeepsItsSettings()
    {
        qputenv("STHOMEDIR", "~/told");
        m_places = CloudDrive::Places::ofUser();
        // Syncthing itself stays with an old place that it finds.
        for (const auto place : {".local/state/syncthing"_L1, ".config/syncthing"_L1, "told"_L1}) {
            write(place + "/config.xml"_L1, "<configuration><folder path='HOME/" +
                                                QByteArray(place.data()) + "'/></configuration>");
            QCOMPARE(found(), place);
        }
    }

    void namedFolders_data()
    {
        QTest::addColumn<Reader>("read");
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QStringList>("folders");
        Reader reader = nextcloudFolders;
        const auto row = [&](const char *name, const QByteArray &settings, const QString &folders) {
            QTest::newRow(name) << reader << settings << folders.split(u'|', Qt::SkipEmptyParts);
        };
        row("several accounts and kinds, one paused, quotes, escapes, UTF-8 with its mark",
            "\xEF\xBB\xBF[Accounts]\r\n 0\\Folders\\1\\localPath = /a \xC3\xBC/ \r\n"
            "0\\Folders\\1\\paused=true\n0\\Folders\\2\\localPath=/B\\xfc\" \"c/\\xd83d\\xde00\n"
            "0\\Multifolders\\2\\localPath=\"/b, c; \\\"d\\\" \\\\ e=f\"\n"
            "1\\FoldersWithPlaceholders\\1\\localPath=/tab\\tend\\101\n"
            "abc-1\\Folders\\Docs%2FWork\\localPath=/d\n",
            u"/a \u00FC/|/B\u00FC c/\U0001F600|/b, c; \"d\" \\ e=f|/tab\tendA|/d"_s);
        row("comments, other sections, other keys",
            "0\\Folders\\1\\localPath=/a\n[Accounts]\n;0\\Folders\\1\\localPath=/b\n"
            "; 0\\Folders\\1\\localPath=/c\n#0\\Folders\\1\\localPath=/d\n"
            "0\\Folders\\localPath=/e\n0\\Folders\\1\\localPath\n0\\Folders\\1\\localPath=\n"
            "0\\Folders\\1\\localPaths=/f\n[Other]\n0\\Folders\\1\\localPath=/g\n",
            {});

        reader = dropboxFolders;
        row("both accounts, personal first",
            "\xEF\xBB\xBF{\"business\":{\"path\":\"/b\"},\"personal\":{\"path\":\"/\\u00fc\"}}",
            u"/\u00FC|/b"_s);

        reader = syncthingFolders;
        row("only what comes and goes",
            "\xEF\xBB\xBF<?xml version='1.0'?><configuration><!-- <folder path='/0'/> -->"
            "<defaults><folder path='/pattern'/></defaults><folder path='/a' type='receiveonly'/>"
            "<folder path='/b' type='receiveencrypted'/><folder path='/c' type='sendonly'/>"
            "<folder path='/d'><paused> true </paused></folder><folder path='/e' paused='true'/>"
            "<folder path='~/A &amp; &#34;B&#34; &#xfc;'><paused>false</paused></folder>"
            "<folder/><folder path='/f' type='readwrite'/><folder path='/torn'><pau",
            u"~/A & \"B\" \u00FC|/f"_s);
    }
    void namedFolders()
    {
        QFETCH(Reader, read);
        QFETCH(QByteArray, settings);
        write(u"settings"_s, settings);
        QTEST(read(in(u"settings"_s)), "folders");
        QCOMPARE(Platform::Files::read(in(u"settings"_s)), settings);
    }
};

QTEST_GUILESS_MAIN(CloudDriveTests)
#include "CloudDriveTests.moc"
