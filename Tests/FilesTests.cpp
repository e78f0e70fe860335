#include "Platform/Storage/Files.h"
#include "Tests/Support/FaultInjection.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace Files = Platform::Files;

namespace {

const QByteArray oldText = QByteArray("what was there before ").repeated(2000);
const QByteArray newText = QByteArray("what comes now ").repeated(5000);
constexpr int nobody = 65534;

mode_t modeOf(const QString &path)
{
    struct stat info
    {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 0;
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

/// Everything a process may and a superuser may not.
void becomeNobody()
{
    if (::geteuid() == 0 && ::seteuid(nobody) != 0)
        ::_exit(99);
}

} // namespace

class FilesTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;

    void put(const QByteArray &bytes) { QVERIFY(Files::replaceAtomically(m_path, bytes)); }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("notes.json"));
    }

    void newFilesArePrivateAndOldOnesKeepTheirMode_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("private") << 0600;
        QTest::newRow("readable by the group") << 0640;
        QTest::newRow("readable by all") << 0644;
        QTest::newRow("read-only") << 0444;
    }
    void newFilesArePrivateAndOldOnesKeepTheirMode()
    {
        QFETCH(int, mode);
        put(oldText);
        QCOMPARE(modeOf(m_path), mode_t(0600));
        QCOMPARE(::chmod(QFile::encodeName(m_path).constData(), mode_t(mode)), 0);
        put(newText);
        QCOMPARE(modeOf(m_path), mode_t(mode));
        QCOMPARE(Files::read(m_path), newText);
        QCOMPARE(entries(m_folder->path()), QStringList{QStringLiteral("notes.json")});
    }

    void aSymbolicLinkStaysAndItsTargetIsReplaced_data()
    {
        QTest::addColumn<QByteArray>("target"); // relative to the folder of the link
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<bool>("isWritten");
        QTest::newRow("relative") << QByteArray("sub/real.json") << true << true;
        QTest::newRow("to nothing yet") << QByteArray("sub/real.json") << false << true;
        QTest::newRow("into a missing folder") << QByteArray("away/real.json") << false << false;
        QTest::newRow("to itself") << QByteArray("notes.json") << false << false;
        QTest::newRow("to a folder") << QByteArray("sub") << false << false;
    }
    void aSymbolicLinkStaysAndItsTargetIsReplaced()
    {
        QFETCH(QByteArray, target);
        QFETCH(bool, isThere);
        QFETCH(bool, isWritten);
        const QString real = m_folder->filePath(QFile::decodeName(target));
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("sub")));
        if (isThere)
            QVERIFY(Files::replaceAtomically(real, oldText));
        QCOMPARE(::symlink(target.constData(), QFile::encodeName(m_path).constData()), 0);
        // A link to the link, by its full name.
        const QString outer = m_folder->filePath(QStringLiteral("outer.json"));
        QVERIFY(QFile::link(m_path, outer));

        QCOMPARE(Files::replaceAtomically(outer, newText), isWritten);
        QVERIFY(QFileInfo(m_path).isSymbolicLink());
        QVERIFY(QFileInfo(outer).isSymbolicLink());
        QCOMPARE(Files::read(outer), isWritten ? std::optional(newText) : std::nullopt);
        QCOMPARE(entries(m_folder->filePath(QStringLiteral("sub"))).size(), isWritten ? 1 : 0);
    }

    void whatIsNoFileIsLeftAloneAndNeverWaitedFor_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("folder") << S_IFDIR;
        QTest::newRow("pipe") << S_IFIFO;
    }
    void whatIsNoFileIsLeftAloneAndNeverWaitedFor()
    {
        QFETCH(int, type);
        const QByteArray name = QFile::encodeName(m_path);
        QCOMPARE(type == S_IFDIR ? ::mkdir(name.constData(), 0700)
                                 : ::mkfifo(name.constData(), 0600),
                 0);
        QVERIFY(Files::exists(m_path));
        QCOMPARE(Files::read(m_path), std::nullopt);
        QVERIFY(!Files::replaceAtomically(m_path, newText));
        QVERIFY(!Files::setAside(m_path, QStringLiteral(".old")));
        QCOMPARE(entries(m_folder->path()), QStringList{QStringLiteral("notes.json")});
        QCOMPARE(Files::read(QStringLiteral("/dev/zero")), std::nullopt);
    }

    void readsToTheEndUpToALimit()
    {
        QCOMPARE(Files::read(m_path), std::nullopt);
        put({});
        QCOMPARE(Files::read(m_path), QByteArray(""));
        put(newText);
        QCOMPARE(Files::read(m_path), newText);
        // Files that do not know their own size.
        QVERIFY(Files::read(QStringLiteral("/proc/self/status"))->startsWith("Name:"));
        QVERIFY(QFile::resize(m_path, 64 * 1024 * 1024 + 1));
        QCOMPARE(Files::read(m_path), std::nullopt);
    }

    void aReadThatFailsHalfwayGivesNothing()
    {
        put(newText);
        for (int call = 1;; ++call) {
            FaultInjection::arm({.atCall = call, .error = EIO});
            const auto bytes = Files::read(m_path);
            if (FaultInjection::disarm() < call) {
                QCOMPARE(bytes, newText);
                QVERIFY(call > 2);
                break;
            }
            QCOMPARE(bytes, std::nullopt);
        }
    }

    void shortWritesAreContinued()
    {
        FaultInjection::arm({.shortWrites = true});
        const bool isWritten = Files::replaceAtomically(m_path, oldText);
        QVERIFY(FaultInjection::disarm() > oldText.size() / 7);
        QVERIFY(isWritten);
        QCOMPARE(Files::read(m_path), oldText);
    }

    void anyFailingCallLeavesTheOldFileWholeAndNothingBesideIt_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<bool>("copies");
        for (const int error : {ENOSPC, EDQUOT, EFBIG, EIO}) {
            QTest::addRow("write, %s", strerrorname_np(error)) << error << false;
            QTest::addRow("copy, %s", strerrorname_np(error)) << error << true;
        }
    }
    void anyFailingCallLeavesTheOldFileWholeAndNothingBesideIt()
    {
        QFETCH(int, error);
        QFETCH(bool, copies);
        const QString source = m_folder->filePath(QStringLiteral("source"));
        QVERIFY(Files::replaceAtomically(source, newText));
        const auto write = [&](int failingCall) {
            QFile::remove(m_path);
            if (!copies)
                (void)Files::replaceAtomically(m_path, oldText);
            FaultInjection::arm({.atCall = failingCall, .error = error});
            return copies ? Files::copy(source, m_path) : Files::replaceAtomically(m_path, newText);
        };
        QVERIFY(write(0));
        const int calls = FaultInjection::disarm();
        // Open, truncate, write, mode, sync, move, and open and sync the folder.
        QVERIFY(calls >= 8);
        for (int call = 1; call <= calls; ++call) {
            QVERIFY(!write(call));
            FaultInjection::disarm();
            // The last two open and sync the folder, when the file is in its place already.
            const bool isMoved = call > calls - 2;
            const auto old = copies ? std::nullopt : std::optional(oldText);
            QCOMPARE(Files::read(m_path), isMoved ? newText : old);
            QCOMPARE(entries(m_folder->path()).size(), copies && !isMoved ? 1 : 2);
        }
    }

    void aKillAtAnyCallLeavesTheOldFileOrTheNewAndTheNextWriteCleansUp()
    {
        for (int call = 1;; ++call) {
            put(oldText);
            const int status = FaultInjection::inChild([&] {
                FaultInjection::arm({.atCall = call});
                return Files::replaceAtomically(m_path, newText) ? 0 : 1;
            });
            const auto bytes = Files::read(m_path);
            QVERIFY(bytes == oldText || bytes == newText);
            if (WIFEXITED(status)) {
                QCOMPARE(WEXITSTATUS(status), 0);
                QCOMPARE(bytes, newText);
                QVERIFY(call > 8);
                break;
            }
            put("next");
            QCOMPARE(Files::read(m_path), QByteArray("next"));
            QCOMPARE(entries(m_folder->path()).size(), 1);
        }
    }

    void aSizeLimitKeepsTheOldFile()
    {
        put(oldText);
        const int status = FaultInjection::inChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{4096, 4096};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            return Files::replaceAtomically(m_path, newText) ? 1 : 0;
        });
        QCOMPARE(status, 0);
        QCOMPARE(Files::read(m_path), oldText);
        QCOMPARE(entries(m_folder->path()).size(), 1);
    }

    void aFullDiskKeepsTheOldFile()
    {
        constexpr int notAllowed = 2;
        const int status = FaultInjection::inChild([&] {
            if (::unshare(CLONE_NEWNS) != 0 ||
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                ::mount("tmpfs", QFile::encodeName(m_folder->path()).constData(), "tmpfs", 0,
                        "size=64k") != 0)
                return notAllowed;
            const QByteArray fits(20'000, 'x');
            const bool isKept = Files::replaceAtomically(m_path, fits) &&
                                !Files::replaceAtomically(m_path, QByteArray(100'000, 'y')) &&
                                Files::read(m_path) == fits &&
                                entries(m_folder->path()).size() == 1 &&
                                Files::replaceAtomically(m_path, fits + fits);
            return isKept ? 0 : 1;
        });
        if (WIFEXITED(status) && WEXITSTATUS(status) == notAllowed)
            QSKIP("only the superuser can mount a small disk");
        QCOMPARE(status, 0);
    }

    void aReadOnlyFolderKeepsTheOldFile()
    {
        put(oldText);
        const QByteArray folder = QFile::encodeName(m_folder->path());
        QCOMPARE(::chmod(folder.constData(), 0555), 0);
        QCOMPARE(::chmod(QFile::encodeName(m_path).constData(), 0666), 0);
        const int status = FaultInjection::inChild([&] {
            becomeNobody();
            return Files::replaceAtomically(m_path, newText) ? 1 : 0;
        });
        QCOMPARE(::chmod(folder.constData(), 0700), 0);
        QCOMPARE(status, 0);
        QCOMPARE(Files::read(m_path), oldText);
    }

    void aLeftoverThatMayNotBeWrittenIsReplaced()
    {
        QCOMPARE(::chmod(QFile::encodeName(m_folder->path()).constData(), 0777), 0);
        const int status = FaultInjection::inChild([&] {
            becomeNobody();
            const int leftover =
                ::open(QFile::encodeName(m_folder->filePath(QStringLiteral(".~notes.json.brevio")))
                           .constData(),
                       O_CREAT | O_WRONLY, 0444);
            return leftover >= 0 && Files::replaceAtomically(m_path, newText) ? 0 : 1;
        });
        QCOMPARE(status, 0);
        QCOMPARE(Files::read(m_path), newText);
        QCOMPARE(entries(m_folder->path()).size(), 1);
    }

    void twoProcessesNeverMixTheirContents()
    {
        put(oldText);
        std::vector<pid_t> children;
        for (const QByteArray &text : {oldText, newText}) {
            const pid_t child = ::fork();
            if (child == 0) {
                for (int i = 0; i < 150; ++i)
                    (void)Files::replaceAtomically(m_path, text); // may lose to the other
                ::_exit(0);
            }
            children.push_back(child);
        }
        while (!children.empty()) {
            const auto bytes = Files::read(m_path);
            QVERIFY(bytes == oldText || bytes == newText);
            if (::waitpid(children.back(), nullptr, WNOHANG) != 0)
                children.pop_back();
        }
        put("next");
        QCOMPARE(entries(m_folder->path()).size(), 1);
    }

    void aCopyNeverReplaces()
    {
        const QString copy = m_folder->filePath(QStringLiteral("copy.json"));
        QVERIFY(!Files::copy(m_path, copy));
        put(oldText);
        QCOMPARE(::chmod(QFile::encodeName(m_path).constData(), 0644), 0);
        QVERIFY(Files::copy(m_path, copy));
        QCOMPARE(Files::read(copy), oldText);
        QCOMPARE(modeOf(copy), mode_t(0600));
        put(newText);
        QVERIFY(!Files::copy(m_path, copy));
        QCOMPARE(Files::read(copy), oldText);
    }

    void settingAsideMovesTheFileButNotTheLinkToIt()
    {
        put(oldText);
        const QString link = m_folder->filePath(QStringLiteral("link"));
        const QString suffix = QStringLiteral(".old");
        QVERIFY(QFile::link(m_path, link));
        QVERIFY(Files::setAside(link, suffix));
        QCOMPARE(Files::read(m_path + suffix), oldText);
        QVERIFY(!Files::exists(m_path));
        QVERIFY(Files::replaceAtomically(link, newText));
        QVERIFY2(!Files::setAside(link, suffix), "the name is taken");
        QCOMPARE(Files::read(m_path), newText);
        QCOMPARE(Files::read(m_path + suffix), oldText);
    }

    void onlyCertainAbsenceCountsAsAbsence()
    {
        put(oldText);
        QVERIFY(Files::exists(m_path));
        QVERIFY(!Files::exists(m_path + QStringLiteral("/below a file")));
        QVERIFY(!Files::exists(m_folder->filePath(QStringLiteral("missing"))));
        const QString link = m_folder->filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("missing")), link));
        QVERIFY(!Files::exists(link));
        QCOMPARE(::chmod(QFile::encodeName(m_folder->path()).constData(), 0), 0);
        const int status = FaultInjection::inChild([&] {
            becomeNobody();
            return Files::exists(m_path) && !Files::read(m_path) ? 0 : 1;
        });
        QCOMPARE(::chmod(QFile::encodeName(m_folder->path()).constData(), 0700), 0);
        QCOMPARE(status, 0);
    }

    void foldersAreMadePrivateAndExistingOnesLeftAsTheyAre()
    {
        const QString outer = m_folder->filePath(QStringLiteral("outer"));
        QCOMPARE(::mkdir(QFile::encodeName(outer).constData(), 0755), 0);
        QVERIFY(Files::makeFolder(outer + QStringLiteral("/a/b/")));
        QCOMPARE(modeOf(outer), mode_t(0755));
        QCOMPARE(modeOf(outer + QStringLiteral("/a")), mode_t(0700));
        QCOMPARE(modeOf(outer + QStringLiteral("/a/b")), mode_t(0700));
        QVERIFY(Files::makeFolder(outer));
        put(oldText);
        QVERIFY(!Files::makeFolder(m_path));
        QVERIFY(!Files::makeFolder(m_path + QStringLiteral("/below a file")));
    }
};

QTEST_GUILESS_MAIN(FilesTests)
#include "FilesTests.moc"
