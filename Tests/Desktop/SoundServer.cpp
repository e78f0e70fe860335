#include "Tests/Desktop/SoundServer.h"

#include "Platform/Storage/Files.h"

#include <QFile>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

// Without "norewinds" the first program that records waits for two seconds of silence. The socket
// comes last, so that nobody connects before everything is there.
constexpr const char *modules = R"(
load-module module-null-sink sink_name=brevio_speaker rate=16000 channels=1 format=s16le norewinds=1
load-module module-remap-source source_name=%1 master=brevio_speaker.monitor remix=no
set-default-sink brevio_speaker
set-default-source %1
load-module module-native-protocol-unix socket=%2 auth-anonymous=1
)";

const auto daemonOptions =
    u"-n --daemonize=no --use-pid-file=no --exit-idle-time=-1 --disallow-exit=yes --realtime=no "
    "--high-priority=no --log-target=stderr"_s.split(u' ');
/// The latency is as much as keeps a player whole on a busy machine, and less than it would wait
/// for at the end.
const auto playerOptions =
    u"--device=brevio_speaker --latency-msec=500 --raw --format=s16ne --rate=16000 --channels=1"_s
        .split(u' ');

} // namespace

SoundServer::SoundServer()
{
    const QString script = in("script.pa");
    (void)Platform::Files::replaceAtomically(
        script, QLatin1String(modules).arg(QLatin1String(microphone), in("native")).toUtf8());

    m_own.insert(u"PATH"_s, qEnvironmentVariable("PATH"));
    m_own.insert(u"HOME"_s, m_home.path());
    m_own.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
    // Or it would take its name on the user's bus, or start one.
    m_own.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
    m_daemon = std::make_unique<Process>(
        u"pulseaudio"_s, daemonOptions + QStringList{u"-F"_s, script}, m_own, in("log"));
    m_variables.insert(u"PULSE_SERVER"_s, u"unix:"_s + in("native"));
    m_variables.insert(u"PULSE_COOKIE"_s, in("cookie"));
    m_own.insert(m_variables);
    if (!waitUntil([this] { return !m_daemon->isRunning() || control({u"info"_s}); }) ||
        !m_daemon->isRunning())
        m_problem = "pulseaudio does not start: " + m_daemon->output();
}

bool SoundServer::play(const QString &path)
{
    m_player.reset();
    m_player = std::make_unique<Process>(u"paplay"_s, playerOptions + QStringList{path}, m_own,
                                         in("player"));
    return QFile::exists(path) && m_player->isRunning();
}

int SoundServer::recordStreams() const
{
    const auto list = control({u"list"_s, u"short"_s, u"source-outputs"_s});
    if (!list)
        return -1;
    const auto lines = list->split('\n');
    // Number, source, client, driver, format. The microphone itself is a stream without a client.
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const QByteArray &line) {
        return !line.isEmpty() && line.split('\t').value(2) != "-";
    }));
}

std::optional<QByteArray> SoundServer::control(const QStringList &command) const
{
    Process pactl(u"pactl"_s, command, m_own, in("pactl"));
    return pactl.endsWell() ? std::optional(pactl.output()) : std::nullopt;
}

void SoundServer::kill()
{
    ::kill(static_cast<pid_t>(m_daemon->id()), SIGKILL);
    (void)m_daemon->endsWell();
}
