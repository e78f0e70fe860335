#include "Platform/Storage/Files.h"
#include "Tests/Support/FaultInjection.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
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
        for (const mode_t mode : {0644, 0444}) {
            setMode(m_path, mode);
            put(newText);
            QCOMPARE(modeOf(m_path), mode);
            compareFile(newText);
        }
    }

    void aSymbolicLinkStaysAndItsTargetIsReplaced()
    {
        const QString target = in(u"sub/real.json"_s), outer = in(u"outer.json"_s);
        QVERIFY(Files::makeFolder(in(u"sub"_s)));
        QVERIFY(QFile::link(u"sub/real.json"_s, m_path) && QFile::link(m_path, outer));
        for (const QByteArray &bytes : {oldText, newText}) {
            QVERIFY(Files::replaceAtomically(outer, bytes));
            QVERIFY(QFileInfo(m_path).isSymbolicLink() && QFileInfo(outer).isSymbolicLink());
            QCOMPARE(Files::read(target), bytes);
            QCOMPARE(entries(u"sub"_s).size(), 1);
        }
    }

    void onlyTheFileThatIsKnownIsReplaced()
    {
        std::optional<Files::Identity> known;
        QCOMPARE(Files::replaceKnown(m_path, oldText, known), Files::Replacement::Done);
        QCOMPARE(known, Files::identity(m_path));
        QCOMPARE(Files::replaceKnown(m_path, newText, known), Files::Replacement::Done);
        QCOMPARE(known, Files::identity(m_path));
        put(oldText); // by another program, by renaming
        QCOMPARE(Files::replaceKnown(m_path, newText, known), Files::Replacement::Refused);
        known.reset(); // there was none when it was looked for
        QCOMPARE(Files::replaceKnown(m_path, newText, known), Files::Replacement::Refused);
        compareFile(oldText);
        known = Files::identity(m_path);
        QFile file(m_path); // in place
        QVERIFY(file.open(QFile::Append) && file.write("more") == 4 && file.flush());
        QCOMPARE(Files::replaceKnown(m_path, newText, known), Files::Replacement::Refused);
        compareFile(oldText + "more");
        QVERIFY(file.remove());
        QCOMPARE(Files::replaceKnown(m_path, newText, known), Files::Replacement::Refused);
        QVERIFY(entries().empty());
    }

    void anyCallMayFailOrBeTheLast()
    {
        const auto write = [&](int call, int error) {
            put(oldText);
            return FaultInjection::inChild([&] {
                FaultInjection::arm(call, error);
                return Files::replaceAtomically(m_path, newText) ? 0 : 1;
            });
        };
        FaultInjection::arm(0, 0);
        put(newText);
        // Open, truncate, write in pieces, mode, sync, move, and open and sync the folder.
        const int calls = FaultInjection::disarm();
        QVERIFY(calls >= 11);
        for (int call = 1; call <= calls; ++call) {
            QCOMPARE(WEXITSTATUS(write(call, ENOSPC)), 1);
            // At the last two the file is in its place already.
            compareFile(call > calls - 2 ? newText : oldText);
            QVERIFY(WIFSIGNALED(write(call, 0)));
            QCOMPARE(Files::read(m_path), call > calls - 2 ? newText : oldText);
            put("next");
            compareFile("next");
        }
        FaultInjection::arm(2, EIO); // the first read
        const auto bytes = Files::read(m_path);
        FaultInjection::disarm();
        QVERIFY(!bytes);
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
        const pid_t child = ::fork();
        for (int i = 0; i < 150; ++i) {
            (void)Files::replaceAtomically(m_path, child == 0 ? newText : oldText); // may lose
            const auto bytes = Files::read(m_path);
            if (child != 0)
                QVERIFY(bytes == oldText || bytes == newText);
        }
        if (child == 0)
            ::_exit(0);
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        put("next");
        compareFile("next");
    }

    void neitherACopyNorSettingAsideReplaces()
    {
        const QString copy = in(u"copy.json"_s);
        put(oldText);
        setMode(m_path, 0644);
        QVERIFY(Files::copy(m_path, copy));
        QCOMPARE(modeOf(copy), mode_t(0600));
        put(newText);
        QVERIFY(!Files::copy(m_path, copy));
        const Platform::Instant now = std::chrono::sys_days{2025y / 3 / 4} + 5h + 6min + 7s + 999ms;
        const QString aside = m_path + u".unreadable-20250304-050607"_s;
        QVERIFY(Files::setAsideUnreadable(m_path, now));
        QVERIFY(Files::setAsideUnreadable(copy, now));
        QCOMPARE(Files::read(aside), newText);
        put(oldText);
        QVERIFY(!Files::setAsideUnreadable(m_path, now));
        QCOMPARE(Files::read(aside), newText);
    }

    void whatIsNoFileIsLeftAloneAndHoldsNothingUp()
    {
        const QString folder = in(u"folder"_s), pipe = in(u"pipe"_s);
        QVERIFY(Files::makeFolder(folder));
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        for (const QString &path : {folder, pipe, u"/dev/zero"_s}) {
            QVERIFY2(!Files::read(path), qPrintable(path));
            QVERIFY2(!Files::replaceAtomically(path, newText), qPrintable(path));
        }
        QCOMPARE(entries().size(), 2);
        QVERIFY(QFileInfo(folder).isDir() && QFile::exists(pipe));
    }

    void onlyCertainAbsenceCountsAsAbsence()
    {
        put(oldText);
        const QString missing = in(u"missing"_s), link = in(u"link"_s);
        QVERIFY(QFile::link(missing, link));
        for (const QString &path : {m_path + u"/below a file"_s, missing, link})
            QVERIFY(!Files::exists(path));
        setMode(m_folder->path(), 0);
        const bool isThere =
            worksForNobody([&] { return Files::exists(m_path) && !Files::read(m_path); });
        setMode(m_folder->path(), 0700);
        QVERIFY(isThere);
    }
};

QTEST_GUILESS_MAIN(FilesTests)
#include "FilesTests.moc"
