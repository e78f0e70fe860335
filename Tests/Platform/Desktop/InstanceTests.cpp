#include "Platform/Core/MainQueue.h"
#include "Platform/Core/UserTime.h"
#include "Platform/Desktop/Instance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QProcess>
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

namespace {

const QString applicationId = u"org.example.Tests"_s;
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
    QProcessEnvironment m_first; ///< of the first copy, on the bus or not
    QProcessEnvironment m_later; ///< of the others

    [[nodiscard]] QString store() const { return m_folder->filePath(u"data/Brew"_s); }
    static QProcessEnvironment with(QProcessEnvironment environment, const char *variable)
    {
        environment.insert(QLatin1String(variable), u"1"_s);
        return environment;
    }

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("firstOnBus");
        QTest::addColumn<bool>("laterOnBus");
        for (const int who : {0, 1, 2, 3})
            QTest::addRow("on the bus: %d %d", who & 1, who >> 1) << bool(who & 1) << bool(who & 2);
    }
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_offBus = QProcessEnvironment::systemEnvironment();
        m_offBus.remove(busVariable);
        m_offBus.remove(u"XDG_ACTIVATION_TOKEN"_s);
        m_offBus.insert(u"XDG_RUNTIME_DIR"_s, m_folder->path());
        m_offBus.insert(QLatin1String(roleVariable), store());
        const QString address = u"unix:path="_s + m_folder->filePath(u"session"_s);
        m_bus =
            std::make_unique<Copy>(m_offBus, u"dbus-daemon"_s,
                                   QStringList{u"--session"_s, u"--nofork"_s,
                                               u"--print-address=1"_s, u"--address="_s + address});
        QVERIFY(m_bus->says("guid="));
        m_onBus = m_offBus;
        m_onBus.insert(busVariable, address);
        QFETCH_GLOBAL(bool, firstOnBus);
        QFETCH_GLOBAL(bool, laterOnBus);
        m_first = firstOnBus ? m_onBus : m_offBus;
        m_later = laterOnBus ? m_onBus : m_offBus;
    }

    void aSecondCopyAsksTheFirstToShowAndEnds()
    {
        Copy first(m_first);
        QVERIFY(first.says("launched\n"));
        // The folder is made and reached by another name meanwhile.
        QVERIFY(QDir().mkpath(store()));
        QVERIFY(QFile::link(m_folder->filePath(u"data"_s), m_folder->filePath(u"link"_s)));
        auto later = m_later;
        later.insert(u"DESKTOP_STARTUP_ID"_s, u"shell_TIMEs-1_TIME4711"_s);
        later.insert(QLatin1String(roleVariable), m_folder->filePath(u"link/Brew/"_s));
        Copy second(later);
        QVERIFY(second.endsSaying("second\n"));
        QVERIFY(first.says("asked [] at 4711\n"));
        QCOMPARE(first.said().count("asked"), 1);
        QVERIFY(QDir(store()).isEmpty());
    }

    void ofCopiesThatStartTogetherOneStays()
    {
        std::list<Copy> copies;
        for (int pair = 0; pair < 4; ++pair) {
            copies.emplace_back(m_first);
            copies.emplace_back(m_later);
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

    void aBusyFirstCopyHearsOfItLater()
    {
        Copy first(with(m_first, busyVariable));
        QVERIFY(first.says("first\n"));
        QVERIFY(Copy(with(m_later, busyVariable)).endsSaying(inVain));
        first.wake();
        QVERIFY(first.says("[]"));
    }

    void otherUsersAreNeitherHeardNorAsked()
    {
        Copy first(with(m_offBus, aloneVariable));
        QVERIFY(first.says("launched\n"));
        QVERIFY(Copy(with(m_offBus, busyVariable)).endsSaying(inVain));
        QVERIFY(Copy(with(m_offBus, aloneVariable)).says("first\nlaunched\n"));
        QCOMPARE(first.said(), "first\nlaunched\n"_ba);
    }

    void onlyKnownActionsAreTaken()
    {
        Copy first(m_onBus);
        QVERIFY(first.says("launched\n"));
        const QString address = m_onBus.value(busVariable);
        auto bus = QDBusConnection::connectToBus(address, address);
        for (const QString &action : {u"make-coffee"_s, actionId}) {
            auto message = QDBusMessage::createMethodCall(
                applicationId, u'/' + QString(applicationId).replace(u'.', u'/'),
                u"org.freedesktop.Application"_s, u"ActivateAction"_s);
            message << action << QVariantList{1, u"two"_s}
                    << QVariantMap{{u"desktop-startup-id"_s, u"x_TIME99"_s}};
            QCOMPARE(bus.call(message).errorMessage(), QString());
        }
        QDBusConnection::disconnectFromBus(address);
        QVERIFY(first.says("asked [make-tea] at 99\n"));
        QVERIFY(!first.said().contains("coffee"));
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (const QString folder = qEnvironmentVariable(roleVariable); !folder.isEmpty())
        return runCopy(folder);
    InstanceTests tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "InstanceTests.moc"
