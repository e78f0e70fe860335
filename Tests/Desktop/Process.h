#pragma once

#include <QProcess>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

/// How long anything on the virtual desktop may take before a test calls it a failure: far longer
/// than on any machine, however slow or busy, because only failures take so long.
constexpr std::chrono::milliseconds patience = std::chrono::seconds(60);

/// Asks again and again until the condition holds; false when it does not in time.
[[nodiscard]] bool waitUntil(const std::function<bool()> &condition,
                             std::chrono::milliseconds limit = patience);

/// One program started by a test. It ends with this object, and with the test program however
/// that ends. Its output and its complaints are kept in one log file.
class Process final
{
public:
    Process(const QString &program, const QStringList &arguments,
            const QProcessEnvironment &environment, const QString &logPath);
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    [[nodiscard]] bool isRunning()
    {
        return !m_process.waitForFinished(0) && m_process.state() != QProcess::NotRunning;
    }
    [[nodiscard]] qint64 id() const { return m_process.processId(); }
    /// Everything it has printed so far.
    [[nodiscard]] QByteArray output() const;

    /// Hands it a piece of input.
    void write(const QByteArray &input);

    /// Asks it to end, without waiting.
    void terminate() { m_process.terminate(); }
    /// Waits for the program to end by itself. False when it does not in time, ends with a
    /// failure, or could not even be started.
    [[nodiscard]] bool endsWell();

private:
    QProcess m_process;
    QString m_logPath;
};
