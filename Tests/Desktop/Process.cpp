#include "Tests/Desktop/Process.h"

#include <QFile>

#include <csignal>
#include <sys/prctl.h>
#include <thread>

namespace {

constexpr auto pollPeriod = std::chrono::milliseconds(5);
constexpr int millisecondsToEnd = 3000;
constexpr int millisecondsOfPatience = patience.count();

} // namespace

bool waitUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(pollPeriod);
    }
    return true;
}

Process::Process(const QString &program, const QStringList &arguments,
                 const QProcessEnvironment &environment, const QString &logPath)
    : m_logPath(logPath)
{
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardOutputFile(logPath);
    m_process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process.start(program, arguments);
    m_process.waitForStarted(millisecondsOfPatience);
}

Process::~Process()
{
    terminate();
    if (!m_process.waitForFinished(millisecondsToEnd)) {
        m_process.kill();
        m_process.waitForFinished(millisecondsToEnd);
    }
}

QByteArray Process::output() const
{
    QFile log(m_logPath);
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

void Process::write(const QByteArray &input)
{
    m_process.write(input);
    m_process.waitForBytesWritten(millisecondsOfPatience);
}

bool Process::endsWell()
{
    return (m_process.state() == QProcess::NotRunning ||
            m_process.waitForFinished(millisecondsOfPatience)) &&
           m_process.error() != QProcess::FailedToStart &&
           m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}
