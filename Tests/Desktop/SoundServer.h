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
///     desktop.environment().insert(sound.variables()); // before the program starts
///     ... the program opens the microphone ...
///     QTRY_COMPARE(sound.recordStreams(), 1);
///     QVERIFY(sound.play(recording) && sound.waitForPlayed());
class SoundServer final
{
public:
    SoundServer();

    /// What kept the daemon from starting; empty when it runs.
    [[nodiscard]] QByteArray problem() const { return m_problem; }

    /// What makes this daemon the only one that a program started with them can find, also when it
    /// has died.
    [[nodiscard]] const QProcessEnvironment &variables() const { return m_variables; }

    /// The microphone's name in the sound system.
    static constexpr const char *microphone = "brevio_microphone";

    /// Starts playing a file into the microphone, in place of one that is still playing: raw 16-bit
    /// samples of the machine's byte order, one channel, 16,000 a second. The sound begins within
    /// 0.1 s. False when there is no such file.
    [[nodiscard]] bool play(const QString &path);
    /// Whether the file was played to its end. The test's event loop stands still meanwhile.
    [[nodiscard]] bool waitForPlayed() { return m_player && m_player->endsWell(); }

    /// How many programs are recording; -1 when the daemon does not answer.
    [[nodiscard]] int recordStreams() const;

    /// What one pactl command prints; none when it fails. E.g. {"suspend-source", microphone, "1"};
    /// {"unload-module", "module-remap-source"} moves whoever records to another source, and
    /// {"unload-module", "module-null-sink"} takes every source away, as when the only microphone
    /// is unplugged.
    std::optional<QByteArray> control(const QStringList &command) const;
    /// The daemon dies without a farewell.
    void kill();

private:
    [[nodiscard]] QString in(const char *name) const
    {
        return m_home.filePath(QLatin1String(name));
    }

    QTemporaryDir m_home;
    QByteArray m_problem;
    QProcessEnvironment m_variables;
    QProcessEnvironment m_own; ///< of the programs that are started here
    std::unique_ptr<Process> m_daemon;
    std::unique_ptr<Process> m_player;
};
