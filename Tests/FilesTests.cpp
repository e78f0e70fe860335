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
#include <sys/stat.h>

using namespace Qt::StringLiterals;
namespace Files = Platform::Files;

namespace {

const QByteArray oldText = "what was there before "_ba.repeated(2000);
const QByteArray newText = "what comes now "_ba.repeated(5000);
constexpr int nobody = 65534;

mode_t modeOf(const QString &path)
{
    struct stat info
    {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 07777 : 0;
}

void setMode(const QString &path, mode_t mode)
{
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

/// Does the work in a process with the rights of an ordinary user; whether it was done well.
bool worksForNobody(const std::function<bool()> &work)
{
    return FaultInjection::inChild(
               [&] { return (::geteuid() != 0 || ::seteuid(nobody) == 0) && work() ? 0 : 1; }) == 0;
}

} // namespace

class FilesTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;

    [[nodiscard]] QString in(const QString &name) const { return m_folder->filePath(name); }
    void put(const QByteArray &bytes) { QVERIFY(Files::replaceAtomically(m_path, bytes)); }
    [[nodiscard]] QStringList entries(const QString &folder = u"."_s) const
    {
        return QDir(in(folder))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    /// Nothing but the file itself, with these bytes.
    void compareFile(const QByteArray &bytes)
    {
        QCOMPARE(Files::read(m_path), bytes);
        QCOMPARE(entries(), QStringList{u"notes.json"_s});
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = in(u"notes.json"_s);
    }

    void newFilesArePrivateAndOldOnesKeepTheirMode()
    {
        put(oldText);
        QCOMPARE(modeOf(m_path), mode_t(0600));
        for (const mode_t mode : {0600, 0640, 0644, 0444}) {
            setMode(m_path, mode);
            put(newText);
            QCOMPARE(modeOf(m_path), mode);
            compareFile(newText);
        }
    }

    void aSymbolicLinkStaysAndItsTargetIsReplaced_data()
    {
        QTest::addColumn<QString>("target"); // relative to the folder of the link
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<bool>("isWritten");
        QTest::newRow("relative") << u"sub/real.json"_s << true << true;
        QTest::newRow("to nothing yet") << u"sub/real.json"_s << false << true;
        QTest::newRow("into a missing folder") << u"away/real.json"_s << false << false;
        QTest::newRow("to itself") << u"notes.json"_s << false << false;
        QTest::newRow("to a folder") << u"sub"_s << false << false;
    }
    void aSymbolicLinkStaysAndItsTargetIsReplaced()
    {
        QFETCH(QString, target);
        QFETCH(bool, isThere);
        QFETCH(bool, isWritten);
        QVERIFY(Files::makeFolder(in(u"sub"_s)));
        if (isThere)
            QVERIFY(Files::replaceAtomically(in(target), oldText));
        QVERIFY(QFile::link(target, m_path));
        // A link to the link, by its full name.
        const QString outer = in(u"outer.json"_s);
        QVERIFY(QFile::link(m_path, outer));

        QCOMPARE(Files::replaceAtomically(outer, newText), isWritten);
        QVERIFY(QFileInfo(m_path).isSymbolicLink() && QFileInfo(outer).isSymbolicLink());
        QCOMPARE(Files::read(outer), isWritten ? std::optional(newText) : std::nullopt);
        QCOMPARE(entries(u"sub"_s).size(), isWritten ? 1 : 0);
    }

    void whatIsNoFileIsLeftAloneAndNeverWaitedFor()
    {
        const QByteArray name = QFile::encodeName(m_path);
        for (const bool isFolder : {false, true}) {
            QCOMPARE(isFolder ? ::mkdir(name.constData(), 0700) : ::mkfifo(name.constData(), 0600),
                     0);
            QVERIFY(Files::exists(m_path));
            QCOMPARE(Files::read(m_path), std::nullopt);
            QVERIFY(!Files::replaceAtomically(m_path, newText));
            QVERIFY(!Files::setAside(m_path, u".old"_s));
            QCOMPARE(entries(), QStringList{u"notes.json"_s});
            QCOMPARE(std::remove(name.constData()), 0);
        }
        QCOMPARE(Files::read(u"/dev/zero"_s), std::nullopt);
    }

    void readsToTheEndUpToALimit()
    {
        QCOMPARE(Files::read(m_path), std::nullopt);
        for (const QByteArray &bytes : {""_ba, newText}) {
            put(bytes);
            QCOMPARE(Files::read(m_path), bytes);
        }
        // Files that do not know their own size.
        QVERIFY(Files::read(u"/proc/self/status"_s)->startsWith("Name:"));
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

    void anyFailingCallLeavesTheOldFileWholeAndNothingBesideIt()
    {
        const QString source = in(u"source"_s);
        QVERIFY(Files::replaceAtomically(source, newText));
        for (const bool copies : {false, true}) {
            const auto write = [&](int failingCall) {
                QFile::remove(m_path);
                if (!copies)
                    (void)Files::replaceAtomically(m_path, oldText);
                FaultInjection::arm({.atCall = failingCall, .error = ENOSPC});
                return copies ? Files::copy(source, m_path)
                              : Files::replaceAtomically(m_path, newText);
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
                QCOMPARE(entries().size(), copies && !isMoved ? 1 : 2);
            }
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
            QVERIFY(bytes == newText || (bytes == oldText && WIFSIGNALED(status)));
            put("next");
            compareFile("next");
            if (WIFEXITED(status)) {
                QCOMPARE(WEXITSTATUS(status), 0);
                QVERIFY(call > 8);
                break;
            }
        }
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
                                Files::read(m_path) == fits && entries().size() == 1 &&
                                Files::replaceAtomically(m_path, fits + fits);
            return isKept ? 0 : 1;
        });
        if (WIFEXITED(status) && WEXITSTATUS(status) == notAllowed)
            QSKIP("only the superuser can mount a small disk");
        QCOMPARE(status, 0);
    }

    void aFolderThatMayNotBeWrittenKeepsTheOldFile()
    {
        put(oldText);
        setMode(m_folder->path(), 0555);
        setMode(m_path, 0666);
        const bool isRefused =
            worksForNobody([&] { return !Files::replaceAtomically(m_path, newText); });
        setMode(m_folder->path(), 0700);
        QVERIFY(isRefused);
        compareFile(oldText);
    }

    void aLeftoverThatMayNotBeWrittenIsReplaced()
    {
        setMode(m_folder->path(), 0777);
        QVERIFY(worksForNobody([&] {
            const QByteArray leftover = QFile::encodeName(in(u".~notes.json.brevio"_s));
            return ::open(leftover.constData(), O_CREAT | O_WRONLY, 0444) >= 0 &&
                   Files::replaceAtomically(m_path, newText);
        }));
        compareFile(newText);
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
        compareFile("next");
    }

    void aCopyNeverReplaces()
    {
        const QString copy = in(u"copy.json"_s);
        QVERIFY(!Files::copy(m_path, copy));
        put(oldText);
        setMode(m_path, 0644);
        QVERIFY(Files::copy(m_path, copy));
        QCOMPARE(modeOf(copy), mode_t(0600));
        put(newText);
        QVERIFY(!Files::copy(m_path, copy));
        QCOMPARE(Files::read(copy), oldText);
    }

    void settingAsideMovesTheFileButNotTheLinkToIt()
    {
        put(oldText);
        const QString link = in(u"link"_s), aside = m_path + u".old"_s;
        QVERIFY(QFile::link(m_path, link));
        QVERIFY(Files::setAside(link, u".old"_s));
        QVERIFY(!Files::exists(m_path));
        QVERIFY(Files::replaceAtomically(link, newText));
        QVERIFY2(!Files::setAside(link, u".old"_s), "the name is taken");
        QCOMPARE(Files::read(m_path), newText);
        QCOMPARE(Files::read(aside), oldText);
    }

    void onlyCertainAbsenceCountsAsAbsence()
    {
        put(oldText);
        const QString missing = in(u"missing"_s), link = in(u"link"_s);
        QVERIFY(QFile::link(missing, link));
        QVERIFY(Files::exists(m_path));
        for (const QString &path : {m_path + u"/below a file"_s, missing, link})
            QVERIFY(!Files::exists(path));
        setMode(m_folder->path(), 0);
        const bool isThere =
            worksForNobody([&] { return Files::exists(m_path) && !Files::read(m_path); });
        setMode(m_folder->path(), 0700);
        QVERIFY(isThere);
    }

    void foldersAreMadePrivateAndExistingOnesLeftAsTheyAre()
    {
        setMode(m_folder->path(), 0755);
        QVERIFY(Files::makeFolder(in(u"a/b/"_s)));
        QCOMPARE(modeOf(m_folder->path()), mode_t(0755));
        QCOMPARE(modeOf(in(u"a"_s)), mode_t(0700));
        QCOMPARE(modeOf(in(u"a/b"_s)), mode_t(0700));
        QVERIFY(Files::makeFolder(in(u"a"_s)));
        put(oldText);
        QVERIFY(!Files::makeFolder(m_path));
        QVERIFY(!Files::makeFolder(m_path + u"/below a file"_s));
    }
};

QTEST_GUILESS_MAIN(FilesTests)
#include "FilesTests.moc"
