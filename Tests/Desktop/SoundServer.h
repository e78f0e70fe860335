#pragma once

#include "Tests/Desktop/Process.h"

#include <QTemporaryDir>

#include <optional>

/// A PulseAudio daemon for one test, which neither hears nor disturbs the machine's own. Its one
/// microphone hears, in real time and unchanged, what the test plays, and silence otherwise. Needs
/// no display, no session bus and no sound card; runs as any user. Ends with this object.
///
///     SoundServer sound;
///     QCOMPARE(sound.problem(), QByteArray());
///     sound.putInto(desktop.environment()); // before the program starts
///     ... the program opens the microphone ...
///     QTRY_COMPARE(sound.recordStreams(), 1);
///     QVERIFY(sound.play(recording) && sound.waitForPlayed());
class SoundServer final
{
public:
    SoundServer();

    /// What kept the daemon from starting; empty when it runs.
    [[nodiscard]] QByteArray problem() const { return m_problem; }

    /// Makes this daemon the only one that a program started with the environment can find. Goes on
    /// doing so when the daemon has died.
    void putInto(QProcessEnvironment &environment) const;
    /// The same for the test's own process. No other thread may be running.
    void putIntoThisProcess() const;

    /// The microphone's name in the sound system.
    static constexpr const char *microphone = "brevio_microphone";
    /// The daemon's address, as PULSE_SERVER has it.
    [[nodiscard]] QString address() const { return QStringLiteral("unix:") + socketPath(); }

    /// Starts playing a file into the microphone, in place of one that is still playing: *.wav in
    /// any format, and anything else as raw 16-bit samples of the machine's byte order, one
    /// channel, 16,000 a second. The sound begins within 0.1 s. False when there is no such file.
    [[nodiscard]] bool play(const QString &path);
    /// Whether the file was played to its end. The test's event loop stands still meanwhile.
    [[nodiscard]] bool waitForPlayed();

    /// How many programs are recording; -1 when the daemon does not answer.
    [[nodiscard]] int recordStreams() const;

    /// One pactl command; whether it succeeded. E.g. {"suspend-source", microphone, "1"}, or
    /// {"unload-module", "module-remap-source"}: this moves whoever records to another source.
    bool control(const QStringList &command) const;
    /// Takes away every source of sound, as when the only microphone is unplugged; who opens it
    /// later finds none.
    bool removeMicrophone() const;
    /// The daemon dies without a farewell.
    void kill();

private:
    [[nodiscard]] QString socketPath() const { return m_home.filePath(QStringLiteral("native")); }
    /// What pactl prints; none when it fails.
    [[nodiscard]] std::optional<QByteArray> ask(const QStringList &command) const;

    QTemporaryDir m_home;
    QByteArray m_problem;
    std::unique_ptr<Process> m_daemon;
    std::unique_ptr<Process> m_player;
};
