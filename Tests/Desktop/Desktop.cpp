#include "Tests/Desktop/Desktop.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *compositorSelection = "_NET_WM_CM_S0";

/// A bus that starts nothing by itself: no portal, no accessibility bus, no settings daemon of
/// this machine gets into a test.
constexpr const char *busConfiguration = R"(<busconfig>
  <listen>unix:dir=%1</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

/// What the machine may tell the programs; everything else is the private desktop's.
constexpr std::array passedOn = {
    "PATH",         "LANG",          "LC_ALL",       "LD_LIBRARY_PATH",
    "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "QT_LOGGING_RULES"};

} // namespace

Desktop::Desktop(const DesktopOptions &options)
{
    const auto machine = QProcessEnvironment::systemEnvironment();
    for (const char *name : passedOn) {
        if (machine.contains(QLatin1String(name)))
            m_environment.insert(QLatin1String(name), machine.value(QLatin1String(name)));
    }
    m_environment.insert(u"HOME"_s, home());
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    m_environment.insert(u"XDG_SESSION_TYPE"_s, u"x11"_s);
    m_environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    for (const char *name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
                             "XDG_RUNTIME_DIR", "TMPDIR"}) {
        QDir().mkpath(pathOf(name));
        QFile::setPermissions(pathOf(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment.insert(QLatin1String(name), pathOf(name));
    }

    const QString mode = u"%1x%2x24"_s.arg(options.size.width()).arg(options.size.height());
    const QString display = u':' + startAndRead(m_server, u"Xvfb"_s,
                                                {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s,
                                                 mode, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
    m_environment.insert(u"DISPLAY"_s, display);
    m_seat = std::make_unique<Seat>(display.toLatin1());
    if (m_seat->root() == 0) {
        fail("Xvfb");
        return;
    }
    // The server's only output, "screen", goes to the first.
    QStringList names{u"*first"_s, u"screen"_s, u"second"_s, u"none"_s};
    for (const auto &monitor : options.monitors) {
        if (!start(u"xrandr"_s, {u"--setmonitor"_s, names.takeFirst(), monitor, names.takeFirst()})
                 ->endsWell())
            fail("xrandr");
    }
    startBus(options.sessionBus);
    startWindowManager(options.windowManager);
    if (options.isComposed)
        startCompositor();
}

Desktop::~Desktop()
{
    // All at once first; what remains is waiting for each.
    for (auto *process : {m_compositor.get(), m_windowManager.get(), m_bus.get(), m_server.get()}) {
        if (process)
            process->terminate();
    }
}

void Desktop::fail(const char *what)
{
    if (m_problem.isEmpty())
        m_problem = QByteArray(what) + " does not start (is it installed?)";
}

QString Desktop::defaultsPath() const
{
    return pathOf("XDG_CONFIG_HOME/Brevio/defaults.json");
}

void Desktop::write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(content);
}

QJsonObject Desktop::read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

QStringList Desktop::noteBodies(const QString &path)
{
    QStringList bodies;
    for (const auto note : read(path)[u"notes"].toArray())
        bodies.append(note[u"body"].toString());
    return bodies;
}

std::unique_ptr<Process> Desktop::start(const QString &program, const QStringList &arguments)
{
    const QString log = u"log%1-%2"_s.arg(++m_logs).arg(QFileInfo(program).baseName());
    return std::make_unique<Process>(program, arguments, m_environment, m_home.filePath(log));
}

QString Desktop::startAndRead(std::unique_ptr<Process> &process, const QString &program,
                              const QStringList &arguments)
{
    process = start(program, arguments);
    // Complaints may come first; the address is a whole line.
    const QRegularExpression line(u"^(\\d+|unix:.+)\\n"_s, QRegularExpression::MultilineOption);
    QString address;
    (void)waitUntil([&] {
        address = line.match(QString::fromUtf8(process->output())).captured(1);
        return !address.isEmpty() || !process->isRunning();
    });
    return address;
}

void Desktop::startBus(SessionBus bus)
{
    QString address = u"unix:path=/nonexistent"_s;
    if (bus == SessionBus::Private) {
        const QString file = pathOf("bus.conf");
        write(file, QString::fromLatin1(busConfiguration).arg(pathOf("XDG_RUNTIME_DIR")).toUtf8());
        address = startAndRead(m_bus, u"dbus-daemon"_s,
                               {u"--config-file="_s + file, u"--nofork"_s, u"--print-address=1"_s});
        if (address.isEmpty())
            fail("dbus-daemon");
    } else if (bus == SessionBus::Silent) {
        address = u"unix:path="_s + pathOf("silent-bus");
        if (!m_silentBus.listen(pathOf("silent-bus")))
            fail("a silent bus");
    }
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
}

void Desktop::startWindowManager(WindowManager manager)
{
    if (manager == WindowManager::None)
        return;
    const bool isOpenbox = manager == WindowManager::Openbox;
    m_windowManager = isOpenbox ? start(u"openbox"_s, {u"--sm-disable"_s})
                                : start(u"xfwm4"_s, {u"--compositor=off"_s});
    if (!waitUntil([&] { return !m_seat->property(m_seat->root(), "_NET_WORKAREA").empty(); }))
        fail(isOpenbox ? "openbox" : "xfwm4");
}

void Desktop::startCompositor()
{
    m_compositor = start(u"picom"_s, {u"--backend"_s, u"xrender"_s, u"--config"_s, u"/dev/null"_s});
    if (!waitUntil([&] { return m_seat->selectionOwner(compositorSelection) != 0; }))
        fail("picom");
}

Seat::Window Desktop::waitForWindow(const QString &title)
{
    Seat::Window window = 0;
    (void)waitUntil([&] { return (window = m_seat->find(title)) != 0; });
    return window;
}

bool Desktop::waitForFocus(Seat::Window window)
{
    return window != 0 && waitUntil([&] { return m_seat->focus() == window; });
}
