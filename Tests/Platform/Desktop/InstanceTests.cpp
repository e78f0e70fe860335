#include "Platform/Core/MainQueue.h"
#include "Platform/Core/UserTime.h"
#include "Platform/Desktop/Instance.h"
#include "Platform/Storage/Files.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <list>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Platform::Instance;
using std::chrono::milliseconds;
namespace Files = Platform::Files;

namespace {

/// Each run of these tests has an id of its own, which its copies inherit.
constexpr const char *idVariable = "INSTANCE_TESTS_ID";
const QString applicationId = qEnvironmentVariable(
    idVariable, u"org.example.Tests.P%1"_s.arg(QCoreApplication::applicationPid()));
const QString busVariable = u"DBUS_SESSION_BUS_ADDRESS"_s;
const QString actionId = u"make-tea"_s;
constexpr const char *roleVariable = "INSTANCE_TESTS_FOLDER"; // set: be a copy on that folder
constexpr const char *busyVariable = "INSTANCE_TESTS_BUSY";   // set: be slow and impatient
constexpr const char *aloneVariable = "INSTANCE_TESTS_ALONE"; // set: all others are other users
constexpr const char *inVain = "InstanceTests is already running and does not answer.\nsecond\n";
constexpr auto shortPatience = milliseconds(300);
constexpr int howLong = 60000; // milliseconds that anything may take

/// One copy of a program that says what happens to it.
int runCopy(const QString &folder)
{
    const bool isBusy = qEnvironmentVariableIsSet(busyVariable);
    ::alarm(300); // whatever happens to the tests
    const auto instance = Instance::claim(applicationId, folder, {actionId},
                                          isBusy ? shortPatience : milliseconds(howLong));
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::puts(instance ? "first" : "second");
    if (!instance)
        return 0;
    if (isBusy)
        (void)std::getchar();
    Platform::MainQueue::main().post([&] {
        QByteArray line = "launched";
        for (const auto &request : instance->takePending())
            line += " by [" + request.action.toUtf8() + ']';
        std::puts(line.constData());
        instance->onRequest([](const auto &request) {
            std::printf("asked [%s] at %u\n", qPrintable(request.action),
                        Platform::UserTime::latest());
        });
    });
    return QApplication::exec();
}

class Copy final
{
public:
    explicit Copy(const QProcessEnvironment &environment,
                  const QString &program = QCoreApplication::applicationFilePath(),
                  const QStringList &arguments = {})
    {
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start(program, arguments);
    }
    ~Copy()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    QByteArray said()
    {
        m_said += m_process.readAll();
        return m_said;
    }
    bool says(const QByteArray &text)
    {
        return QTest::qWaitFor([&] { return said().contains(text); }, howLong);
    }
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    /// Ended by itself, with success, having said just this.
    bool endsSaying(const QByteArray &text)
    {
        return QTest::qWaitFor([&] { return !isRunning(); }, howLong) &&
               m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0 &&
               said() == text;
    }
    void wake() { m_process.write("\n"); }

private:
    QProcess m_process;
    QByteArray m_said;
};

/// Finds the abstract socket of the one copy that runs, as any stranger could, and stays on it.
constexpr const char *strangers = R"(
import contextlib, socket, sys
name = next(line.split('@')[1] for line in open('/proc/net/unix') if sys.argv[1] in line)
sockets = [socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) for _ in range(60)]
for number, each in enumerate(sockets):
    each.connect('\0' + name.strip())
    with contextlib.suppress(OSError):
        if number >= 20:
            each.send(b'hallo' if number < 40 else b'show ' * 5000)
print('connected', flush=True)
sys.stdin.read()
)";

} // namespace

/// Stands before the C library's, for the whole executable.
extern "C" int getsockopt(int socket, int level, int option, void *value, socklen_t *size) noexcept
{
    const auto result = ::syscall(SYS_getsockopt, socket, level, option, value, size);
    if (level == SOL_SOCKET && option == SO_PEERCRED && qEnvironmentVariableIsSet(aloneVariable))
        ++static_cast<ucred *>(value)->uid;
    return static_cast<int>(result);
}

class InstanceTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Copy> m_bus;
    QProcessEnvironment m_onBus;
    QProcessEnvironment m_offBus;

    [[nodiscard]] QString store() const { return m_folder->filePath(u"data/Brew"_s); }
    [[nodiscard]] QString log() const { return m_folder->filePath(u"log"_s); }
    [[nodiscard]] bool logSays(const QByteArray &text) const
    {
        const auto says = [&] { return Files::read(log()).value_or(""_ba).contains(text); };
        return QTest::qWaitFor(says, howLong);
    }

    /// Rows by who is on the bus.
    static void addRows()
    {
        QTest::addColumn<bool>("firstOnBus");
        QTest::addColumn<bool>("secondOnBus");
        for (const int who : {0, 1, 2, 3})
            QTest::addRow("on the bus: %d %d", who & 1, who >> 1) << bool(who & 1) << bool(who & 2);
    }
    [[nodiscard]] const QProcessEnvironment &environment(const char *column) const
    {
        const auto *onBus = QTest::qData(column, qMetaTypeId<bool>());
        return *static_cast<const bool *>(onBus) ? m_onBus : m_offBus;
    }

    static QProcessEnvironment with(QProcessEnvironment environment, const char *variable)
    {
        environment.insert(QLatin1String(variable), u"1"_s);
        return environment;
    }

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        const QString services = m_folder->filePath(u"dbus-1/services"_s);
        // The bus swallows what a program says that it starts; the shell stays, as its parent.
        const QString service = u"[D-BUS Service]\nName=%1\nExec=/bin/sh -c \"%2 > %3; :\"\n"_s.arg(
            applicationId, QCoreApplication::applicationFilePath(), log());
        QVERIFY(Files::makeFolder(services) &&
                Files::replaceAtomically(services + u"/tests.service"_s, service.toUtf8()));
        m_offBus = QProcessEnvironment::systemEnvironment();
        m_offBus.remove(busVariable);
        m_offBus.remove(u"XDG_ACTIVATION_TOKEN"_s);
        m_offBus.insert(u"XDG_RUNTIME_DIR"_s, m_folder->path());
        m_offBus.insert(u"XDG_DATA_HOME"_s, m_folder->path());
        m_offBus.insert(QLatin1String(roleVariable), store());
        m_bus = std::make_unique<Copy>(
            m_offBus, u"dbus-daemon"_s,
            QStringList{u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        QVERIFY(m_bus->says("guid="));
        const QByteArray said = m_bus->said(); // complaints may stand around the address
        const QByteArray address = said.mid(said.indexOf("unix:"));
        m_onBus = m_offBus;
        m_onBus.insert(busVariable, QString::fromLatin1(address.left(address.indexOf('\n'))));
    }

    void aSecondCopyAsksTheFirstToShowAndEnds_data() { addRows(); }
    void aSecondCopyAsksTheFirstToShowAndEnds()
    {
        Copy first(environment("firstOnBus"));
        QVERIFY(first.says("launched\n"));
        // The folder is made and reached by another name meanwhile.
        QVERIFY(QDir().mkpath(store()));
        QVERIFY(QFile::link(m_folder->filePath(u"data"_s), m_folder->filePath(u"link"_s)));
        auto later = environment("secondOnBus");
        later.insert(u"DESKTOP_STARTUP_ID"_s, u"shell_TIMEs-1_TIME4711"_s);
        later.insert(QLatin1String(roleVariable), m_folder->filePath(u"link/Brew/"_s));
        Copy second(later);
        QVERIFY(second.endsSaying("second\n"));
        QVERIFY(first.says("asked [] at 4711\n"));
        QCOMPARE(first.said().count("asked"), 1);
        QVERIFY(QDir(store()).isEmpty());
        // Another folder is another matter, unless they meet on a bus.
        later.insert(QLatin1String(roleVariable), m_folder->path());
        later.remove(busVariable);
        QVERIFY(Copy(later).says("launched\n"));
    }

    void ofCopiesThatStartTogetherOneStays_data() { addRows(); }
    void ofCopiesThatStartTogetherOneStays()
    {
        std::list<Copy> copies;
        for (int pair = 0; pair < 4; ++pair) {
            copies.emplace_back(environment("firstOnBus"));
            copies.emplace_back(environment("secondOnBus"));
        }
        const auto running = [&] {
            return std::count_if(copies.begin(), copies.end(),
                                 [](const Copy &copy) { return copy.isRunning(); });
        };
        QTRY_COMPARE_WITH_TIMEOUT(running(), 1, howLong);
        for (auto &copy : copies) {
            QVERIFY2(copy.isRunning() ? copy.says("first\nlaunched") : copy.endsSaying("second\n"),
                     copy.said().constData());
        }
    }

    void aBusyFirstCopyHearsOfItLater_data() { addRows(); }
    void aBusyFirstCopyHearsOfItLater()
    {
        Copy first(with(environment("firstOnBus"), busyVariable));
        QVERIFY(first.says("first\n"));
        QVERIFY(Copy(with(environment("secondOnBus"), busyVariable)).endsSaying(inVain));
        first.wake();
        QVERIFY(first.says("[]"));
    }

    void neitherStrangersNorALostBusDoHarm()
    {
        Copy first(m_onBus);
        QVERIFY(first.says("launched\n"));
        m_bus.reset();
        Copy others(m_onBus, u"python3"_s, {u"-c"_s, QLatin1String(strangers), applicationId});
        QVERIFY(others.says("connected"));
        QVERIFY(Copy(m_onBus).endsSaying("second\n"));
        QVERIFY(first.says("asked [] at 0\n"));
        QCOMPARE(first.said().count("asked"), 1);
    }

    void otherUsersAreNeitherHeardNorAsked()
    {
        Copy first(with(m_offBus, aloneVariable));
        QVERIFY(first.says("launched\n"));
        QVERIFY(Copy(with(m_offBus, busyVariable)).endsSaying(inVain));
        QVERIFY(Copy(with(m_offBus, aloneVariable)).says("first\nlaunched\n"));
        QCOMPARE(first.said(), "first\nlaunched\n"_ba);
    }

    void whatMadeTheDesktopStartItIsKnownAtTheLaunch()
    {
        const QString address = m_onBus.value(busVariable);
        auto bus = QDBusConnection::connectToBus(address, address);
        const auto act = [&](const QString &action) {
            auto message = QDBusMessage::createMethodCall(
                applicationId, u'/' + QString(applicationId).replace(u'.', u'/'),
                u"org.freedesktop.Application"_s, u"ActivateAction"_s);
            message << action << QVariantList{1, u"two"_s}
                    << QVariantMap{{u"desktop-startup-id"_s, u"x_TIME99"_s}};
            return bus.call(message).errorMessage();
        };
        // The bus starts the program for this one; the next finds it running.
        const QString complaint = act(actionId);
        const uint started = bus.interface()->servicePid(applicationId);
        const auto end = qScopeGuard([=] {
            if (started > 1)
                ::kill(static_cast<pid_t>(started), SIGKILL);
            QDBusConnection::disconnectFromBus(address);
        });
        QCOMPARE(complaint, QString());
        QVERIFY(logSays("first\nlaunched by [make-tea]\n"));
        QCOMPARE(act(u"make-coffee"_s), QString()); // unknown, so nothing comes of it
        QCOMPARE(act(actionId), QString());
        QVERIFY(logSays("asked [make-tea] at 99"));
        QVERIFY(!Files::read(log())->contains("coffee"));
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (const QString folder = qEnvironmentVariable(roleVariable); !folder.isEmpty())
        return runCopy(folder);
    qputenv(idVariable, applicationId.toUtf8());
    InstanceTests tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "InstanceTests.moc"
