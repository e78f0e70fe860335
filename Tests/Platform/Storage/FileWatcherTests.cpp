#include "Platform/Storage/FileWatcher.h"
#include "Platform/Storage/Files.h"
#include "Tests/Support/ManualTime.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Platform::FileWatcher;
namespace Files = Platform::Files;

/// Real files; the event loop runs only for the kernel's word to arrive, and the delays are moved
/// by hand.
class FileWatcherTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString m_folder;
    QString m_path;
    ManualQueue m_queue;
    int m_reports = 0;
    std::unique_ptr<FileWatcher> m_watcher;

    [[nodiscard]] QString in(const QString &name) const { return m_home->filePath(name); }

    static bool isNotes(const QString &name) { return name == u"notes.json"; }
    void watch()
    {
        m_watcher.reset();
        m_watcher = FileWatcher::create(m_folder, &isNotes, m_queue, [this] { ++m_reports; });
        m_queue.advance(1s);
        m_reports = 0;
    }
    /// The reports of what has happened since the last time, up to a second after it.
    int reports()
    {
        // What the kernel has to say is there already.
        QCoreApplication::processEvents();
        m_queue.advance(1s);
        return std::exchange(m_reports, 0);
    }
    void put(const QByteArray &bytes, const QString &path = {})
    {
        QVERIFY(Files::replaceAtomically(path.isEmpty() ? m_path : path, bytes));
    }
    static void makeFolder(const QString &path) { QVERIFY(Files::makeFolder(path)); }
    static void move(const QString &from, const QString &to)
    {
        QCOMPARE(::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()),
                 0);
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_folder = in(u"Cloud/Brevio/Documents"_s);
        m_path = m_folder + u"/notes.json"_s;
        makeFolder(m_folder);
        put("first");
        watch();
    }
    void cleanup() { m_watcher.reset(); }

    void everyKindOfChangeIsReportedOnce()
    {
        const QString other = m_folder + u"/other"_s;
        QFile file(m_path);
        const std::vector<std::function<void()>> changes{
            [&] { put("replaced"); },
            [&] { QVERIFY(file.open(QIODevice::ReadWrite) && file.write("open") && file.flush()); },
            [&] { file.close(); },
            [&] { QVERIFY(QFile::remove(m_path)); },
            [&] { put("again"); },
            [&] { move(m_path, other); },
            [&] { move(other, m_path); },
            [&] { QVERIFY(QFile::setPermissions(m_path, QFile::ReadOwner)); },
        };
        for (const auto &change : changes) {
            change();
            QCOMPARE(reports(), 1);
        }
        put("other", other);
        QCOMPARE(Files::read(m_path), "again");
        QVERIFY2(reports() == 0, "of other names, and of reading");
    }

    void aBurstIsReportedOnceItIsOverOrLastsTooLong()
    {
        for (int i = 0; i < 50; ++i)
            put(QByteArray::number(i));
        QCoreApplication::processEvents();
        m_queue.advance(49ms);
        QCOMPARE(m_reports, 0);
        m_queue.advance(1ms);
        QCOMPARE(std::exchange(m_reports, 0), 1);
        // Ten changes that never leave 50 ms of peace.
        for (int i = 0; i < 10; ++i) {
            put(QByteArray::number(i));
            QCoreApplication::processEvents();
            m_queue.advance(40ms);
        }
        QCOMPARE(m_reports, 2);
    }

    void foldersOnTheWayMayComeAndGo()
    {
        const QString away = in(u"away"_s);
        for (const auto name : {"Cloud"_L1, "Cloud/Brevio"_L1, "Cloud/Brevio/Documents"_L1}) {
            const QString folder = in(name);
            move(folder, away);
            QCOMPARE(reports(), 1);
            put("out of sight", away + m_path.mid(folder.size()));
            QCOMPARE(reports(), 0);
            move(away, folder);
            QCOMPARE(reports(), 1);
            QVERIFY(QDir(folder).removeRecursively());
            QVERIFY(reports() >= 1);
            put("a file in its place", folder);
            QVERIFY(reports() >= 1);
            QVERIFY(QFile::remove(folder));
            makeFolder(m_folder);
            QVERIFY(reports() >= 1);
            put("a folder once more");
            QCOMPARE(reports(), 1);
        }
    }

    void linksAreFollowedToTheFolderAndToTheFile()
    {
        const QString real = in(u"elsewhere/real.json"_s), hop = in(u"hop"_s);
        move(in(u"Cloud"_s), in(u"one"_s));
        QVERIFY(QFile::link(u"./one"_s, in(u"Cloud"_s)));
        QVERIFY(reports() >= 1);
        put("changed", in(u"one/Brevio/Documents/notes.json"_s));
        QCOMPARE(reports(), 1);
        makeFolder(in(u"elsewhere"_s));
        QVERIFY(QFile::remove(m_path) && QFile::link(real, hop) && QFile::link(hop, m_path));
        QCOMPARE(reports(), 1);
        put("behind its back", real);
        QCOMPARE(reports(), 1);
        put("other", in(u"elsewhere/notes.json"_s));
        QCOMPARE(reports(), 0);
    }

    void whatIsMountedOverTheFolderIsSeen()
    {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            QSKIP("only the superuser can mount");
        watch(); // in the name space that was just made
        const QByteArray cloud = QFile::encodeName(in(u"Cloud"_s));
        QCOMPARE(::mount("tmpfs", cloud.constData(), "tmpfs", 0, nullptr), 0);
        QCOMPARE(reports(), 1);
        makeFolder(m_folder);
        QCOMPARE(reports(), 1);
        put("on the other file system");
        QCOMPARE(reports(), 1);
        QCOMPARE(::umount2(cloud.constData(), MNT_DETACH), 0);
        QCOMPARE(reports(), 1);
    }

    void whereTheKernelDoesNotTellTheFolderIsLookedAt()
    {
        rlimit limit{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
        const rlimit none{0, limit.rlim_max}; // descriptors
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        watch();
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        put("second");
        m_queue.advance(10s);
        QCOMPARE(std::exchange(m_reports, 0), 1);
        put("other", m_folder + u"/other"_s);
        m_queue.advance(10s);
        QCOMPARE(m_reports, 0);
    }

    void nothingComesAfterTheEndWhichTheReportItselfMayBe()
    {
        put("second");
        QCoreApplication::processEvents();
        m_watcher.reset();
        QCOMPARE(reports(), 0);
        m_watcher = FileWatcher::create(m_folder, &isNotes, m_queue,
                                        [this] { ++m_reports, m_watcher.reset(); });
        put("third");
        QCOMPARE(reports(), 1);
        QCOMPARE(m_queue.pendingJobs(), 0);
    }
};

QTEST_GUILESS_MAIN(FileWatcherTests)
#include "FileWatcherTests.moc"
