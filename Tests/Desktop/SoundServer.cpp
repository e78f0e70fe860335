#include "Tests/Desktop/SoundServer.h"

#include <QFile>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

constexpr auto longestRecording = std::chrono::minutes(1);
constexpr const char *speaker = "brevio_speaker";
// Without "norewinds" the first program that records waits for two seconds of silence. The socket
// comes last, so that nobody connects before everything is there.
constexpr const char *modules = R"(
load-module module-null-sink sink_name=%1 rate=16000 channels=1 format=s16le norewinds=1
load-module module-remap-source source_name=%2 master=%1.monitor remix=no
set-default-sink %1
set-default-source %2
load-module module-native-protocol-unix socket=%3 auth-anonymous=1
)";

const QStringList daemonOptions{u"-n"_s,
                                u"--daemonize=no"_s,
                                u"--use-pid-file=no"_s,
                                u"--exit-idle-time=-1"_s,
                                u"--disallow-exit=yes"_s,
                                u"--realtime=no"_s,
                                u"--high-priority=no"_s,
                                u"--log-target=stderr"_s};
/// As much as keeps a player whole on a busy machine, and less than it would wait for at the end.
const QStringList playerOptions{u"--latency-msec=500"_s,
                                u"--device=%1"_s.arg(QLatin1String(speaker))};
const QStringList rawFormat{u"--raw"_s, u"--format=s16ne"_s, u"--rate=16000"_s, u"--channels=1"_s};

} // namespace

SoundServer::SoundServer()
{
    const auto script =
        QLatin1String(modules).arg(QLatin1String(speaker), QLatin1String(microphone), socketPath());
    const QString scriptPath = m_home.filePath(u"script.pa"_s);
    QFile file(scriptPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(script.toUtf8()) != script.size()) {
        m_problem = "cannot write " + scriptPath.toUtf8();
        return;
    }
    file.close();

    QProcessEnvironment environment;
    environment.insert(u"PATH"_s, qEnvironmentVariable("PATH"));
    environment.insert(u"HOME"_s, m_home.path());
    environment.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
    // Or it would take its name on the user's bus, or start one.
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
    m_daemon =
        std::make_unique<Process>(u"pulseaudio"_s, daemonOptions + QStringList{u"-F"_s, scriptPath},
                                  environment, m_home.filePath(u"log"_s));
    if (!waitUntil([this] { return !m_daemon->isRunning() || control({u"info"_s}); }) ||
        !m_daemon->isRunning())
        m_problem = "pulseaudio does not start: " + m_daemon->output();
}

void SoundServer::putInto(QProcessEnvironment &environment) const
{
    environment.insert(u"PULSE_SERVER"_s, address());
    environment.insert(u"PULSE_COOKIE"_s, m_home.filePath(u"cookie"_s));
    environment.remove(u"PULSE_SOURCE"_s);
    environment.remove(u"PULSE_SINK"_s);
}

void SoundServer::putIntoThisProcess() const
{
    qputenv("PULSE_SERVER", address().toUtf8());
    qputenv("PULSE_COOKIE", m_home.filePath(u"cookie"_s).toUtf8());
    qunsetenv("PULSE_SOURCE");
    qunsetenv("PULSE_SINK");
}

bool SoundServer::play(const QString &path)
{
    if (!QFile::exists(path))
        return false;
    QStringList arguments = playerOptions;
    if (!path.endsWith(u".wav"_s))
        arguments += rawFormat;
    auto environment = QProcessEnvironment::systemEnvironment();
    putInto(environment);
    m_player.reset();
    m_player = std::make_unique<Process>(u"paplay"_s, arguments << path, environment,
                                         m_home.filePath(u"player.log"_s));
    return m_player->isRunning();
}

bool SoundServer::waitForPlayed()
{
    return m_player && waitUntil([this] { return m_player->waitForEnd(); }, longestRecording) &&
           m_player->exitCode() == 0;
}

int SoundServer::recordStreams() const
{
    const auto list = ask({u"list"_s, u"short"_s, u"source-outputs"_s});
    if (!list)
        return -1;
    const auto lines = list->split('\n');
    // Number, source, client, driver, format. The microphone itself is a stream without a client.
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const QByteArray &line) {
        return !line.isEmpty() && line.split('\t').value(2) != "-";
    }));
}

bool SoundServer::control(const QStringList &command) const
{
    return ask(command).has_value();
}

bool SoundServer::removeMicrophone() const
{
    return control({u"unload-module"_s, u"module-null-sink"_s});
}

void SoundServer::kill()
{
    ::kill(static_cast<pid_t>(m_daemon->id()), SIGKILL);
    (void)m_daemon->waitForEnd();
}

std::optional<QByteArray> SoundServer::ask(const QStringList &command) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    putInto(environment);
    QProcess pactl;
    pactl.setProcessEnvironment(environment);
    pactl.start(u"pactl"_s, command);
    if (!pactl.waitForFinished() || pactl.exitStatus() != QProcess::NormalExit ||
        pactl.exitCode() != 0)
        return std::nullopt;
    return pactl.readAllStandardOutput();
}
