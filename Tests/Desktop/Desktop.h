#pragma once

#include "Tests/Desktop/Process.h"
#include "Tests/Desktop/Seat.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLocalServer>
#include <QTemporaryDir>

enum class WindowManager { None, Openbox, Xfwm4 };
/// Silent: takes connections and says nothing.
enum class SessionBus { None, Private, Silent };

struct DesktopOptions
{
    WindowManager windowManager = WindowManager::Openbox;
    bool isComposed = false;
    SessionBus sessionBus = SessionBus::Private;
    QSize size{1280, 800};
    /// As xrandr writes them; two at most, the first is the primary one. Empty: one, as large as
    /// the screen.
    QStringList monitors{};
};

/// A whole desktop for one test: its own X server, window manager, session bus and home folder,
/// none of which knows of the machine's. All of it ends with this object.
class Desktop final
{
public:
    explicit Desktop(const DesktopOptions &options = {});
    ~Desktop();

    /// What kept the desktop from starting; empty when it runs.
    [[nodiscard]] QByteArray problem() const { return m_problem; }
    [[nodiscard]] Seat &seat() { return *m_seat; }

    /// Set before a program starts to change what it sees.
    [[nodiscard]] QProcessEnvironment &environment() { return m_environment; }
    [[nodiscard]] QString home() const { return m_home.path(); }
    /// Where Brevio keeps its text and its settings.
    [[nodiscard]] QString notesPath() const { return pathOf("XDG_DATA_HOME/Brevio/notes.json"); }
    [[nodiscard]] QString defaultsPath() const;
    /// Writes the file, with the folders above it, before a program starts.
    static void write(const QString &path, const QByteArray &content);

    /// The notes and the settings as they are in the files now; empty without a file.
    [[nodiscard]] QJsonArray notes() const { return read(notesPath())[u"notes"].toArray(); }
    [[nodiscard]] QStringList noteBodies() const { return noteBodies(notesPath()); }
    [[nodiscard]] static QStringList noteBodies(const QString &path);
    [[nodiscard]] QJsonObject defaults() const { return read(defaultsPath()); }

    std::unique_ptr<Process> start(const QString &program, const QStringList &arguments = {});
    std::unique_ptr<Process> startBrevio() { return start(QStringLiteral(BREVIO_PROGRAM)); }
    std::unique_ptr<Process> startVictim() { return start(QStringLiteral(VICTIM_PROGRAM)); }
    void startCompositor();
    void stopCompositor() { m_compositor.reset(); }

    /// Waits for a visible window with the title; 0 when none comes.
    [[nodiscard]] Seat::Window waitForWindow(const QString &title);
    [[nodiscard]] bool waitForFocus(Seat::Window window);

private:
    [[nodiscard]] QString pathOf(const char *name) const
    {
        return m_home.filePath(QLatin1String(name));
    }
    [[nodiscard]] static QJsonObject read(const QString &path);
    /// Starts a part of the desktop that prints its address, as a number or a bus has it.
    [[nodiscard]] QString startAndRead(std::unique_ptr<Process> &process, const QString &program,
                                       const QStringList &arguments);
    void startBus(SessionBus bus);
    void startWindowManager(WindowManager manager);
    void fail(const char *what);

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    QByteArray m_problem;
    int m_logs = 0;
    // In the order of their start; they end the other way round.
    std::unique_ptr<Process> m_server;
    QLocalServer m_silentBus;
    std::unique_ptr<Process> m_bus;
    std::unique_ptr<Seat> m_seat;
    std::unique_ptr<Process> m_windowManager;
    std::unique_ptr<Process> m_compositor;
};
