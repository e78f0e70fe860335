#include "Platform/Speech/AudioEngine.h"
#include "Tests/Desktop/SoundServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QTemporaryFile>
#include <QTest>
#include <QThread>

#include <atomic>
#include <mutex>
#include <random>

using namespace Qt::StringLiterals;
using Platform::AudioBuffer;
using Platform::AudioEngine;

namespace {

constexpr std::size_t pieceSize = 1000; // PulseAudio never delivers as many
constexpr int silenceLimit = 3000;      // milliseconds that the engine waits for any sound
constexpr int howLong = std::chrono::milliseconds(patience).count();

qsizetype entries(const QString &folder)
{
    return QDir(u"/proc/self/"_s + folder).entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

class AudioEngineTests final : public QObject
{
    Q_OBJECT

    std::unique_ptr<SoundServer> m_sound;
    std::unique_ptr<AudioEngine> m_engine;
    int m_interruptions = 0;
    qsizetype m_threads = 0; ///< while no engine runs

    // Written by the tap.
    std::mutex m_mutex;
    std::vector<std::int16_t> m_samples;
    int m_oddPieces = 0;
    QByteArray m_microphone;

    void startServer()
    {
        m_sound = std::make_unique<SoundServer>();
        QCOMPARE(m_sound->problem(), QByteArray());
        qunsetenv("PULSE_SOURCE"); // of the machine
        for (const auto &name : m_sound->variables().keys())
            qputenv(qPrintable(name), m_sound->variables().value(name).toUtf8());
    }
    void installTap()
    {
        m_engine->installTap(pieceSize, [this](const AudioBuffer &buffer) {
            const std::lock_guard lock(m_mutex);
            m_samples.insert(m_samples.end(), buffer.samples.begin(), buffer.samples.end());
            m_oddPieces += buffer.samples.size() != pieceSize;
            m_microphone = QByteArray(buffer.microphone.data(), int(buffer.microphone.size()));
        });
    }
    template <class Value>
    Value read(const Value &value)
    {
        const std::lock_guard lock(m_mutex);
        return value;
    }
    bool soundArrives()
    {
        const auto before = read(m_samples).size();
        return waitUntil([&] { return read(m_samples).size() > before; });
    }

private Q_SLOTS:
    void initTestCase() { m_threads = entries(u"task"_s); }
    void init()
    {
        startServer();
        m_interruptions = 0;
        m_engine = AudioEngine::createForDesktop();
        m_engine->onInterruption = [this] {
            QCOMPARE(QThread::currentThread(), thread());
            QVERIFY(!m_engine->isRunning());
            ++m_interruptions;
        };
        installTap();
    }
    void cleanup() { m_engine.reset(); }

    void hearsExactlyWhatIsPlayedWhileItRuns()
    {
        std::vector<std::int16_t> played(AudioEngine::sampleRate / 2); // noise matches itself only
        std::minstd_rand noise;
        for (auto &sample : played)
            sample = static_cast<std::int16_t>(noise() % 16384);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(reinterpret_cast<const char *>(played.data()), qint64(2 * played.size()));
        QVERIFY(file.flush());

        m_engine->prepare();
        QCOMPARE(m_sound->recordStreams(), 0);
        QVERIFY(m_engine->start());
        QVERIFY(m_engine->start() && m_engine->isRunning());
        QTRY_COMPARE_WITH_TIMEOUT(m_sound->recordStreams(), 1, howLong);
        QVERIFY(m_sound->play(file.fileName()) && m_sound->waitForPlayed());
        QVERIFY(waitUntil([&] {
            const auto heard = read(m_samples);
            return !std::ranges::search(heard, played).empty();
        }));
        QCOMPARE(read(m_oddPieces), 0);
        QCOMPARE(read(m_microphone), QByteArray(SoundServer::microphone));

        // Another source takes over and the sound goes on.
        QVERIFY(m_sound->control({u"unload-module"_s, u"module-remap-source"_s}));
        QVERIFY(waitUntil([&] { return read(m_microphone).endsWith(".monitor"); }));
        QCOMPARE(m_interruptions, 0);
    }

    void noTapIsCalledOnceItIsRemoved()
    {
        QVERIFY(m_engine->start() && soundArrives());
        std::atomic<int> calls = 0;
        std::atomic<bool> isInside = false;
        for (int i = 0; i < 20; ++i) {
            m_engine->installTap(1, [&](const AudioBuffer &) {
                isInside = true;
                QElapsedTimer timer; // a fragment keeps it busy for milliseconds
                for (timer.start(); timer.nsecsElapsed() < 20'000;)
                    ++calls;
                isInside = false;
            });
            QVERIFY(waitUntil([&] { return calls.exchange(0) > 0; }));
            m_engine->removeTap();
            QVERIFY(!isInside);
        }
        installTap();
        QVERIFY(soundArrives());
        QCOMPARE(read(m_oddPieces), 0);
    }

    void leavesNothingBehind()
    {
        QTRY_COMPARE(entries(u"task"_s), m_threads); // lists a joined one for a moment
        const auto descriptors = entries(u"fd"_s);
        for (int i = 0; i < 20; ++i) {
            QVERIFY(m_engine->start());
            QCOMPARE(entries(u"task"_s), m_threads + 1);
            QVERIFY(i % 4 != 0 || soundArrives());
            m_engine->stop();
            QTRY_COMPARE(entries(u"task"_s), m_threads);
            QTRY_COMPARE(entries(u"fd"_s), descriptors);
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_sound->recordStreams(), 0, howLong);
    }

    void saysOnceThatTheMicrophoneIsGone()
    {
        QVERIFY(m_engine->start() && soundArrives());
        QVERIFY(m_sound->control({u"unload-module"_s, u"module-null-sink"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(m_interruptions, 1, howLong);
        QVERIFY(m_engine->start()); // and there is none
        QTRY_COMPARE_WITH_TIMEOUT(m_interruptions, 2, howLong);
        m_sound->kill();
        QVERIFY(!m_engine->start());

        startServer();
        QVERIFY(m_engine->start() && soundArrives());
        m_engine->onInterruption = [this] {
            m_engine.reset();
            ++m_interruptions;
        };
        m_sound->kill();
        QTRY_COMPARE_WITH_TIMEOUT(m_interruptions, 3, howLong);
    }

    void neitherWaitsForASilentDaemonNorListensForEver()
    {
        QVERIFY(m_engine->start() && soundArrives());
        QTemporaryDir folder;
        QLocalServer silent;
        QVERIFY(silent.listen(folder.filePath(u"silent"_s)));
        qputenv("PULSE_SERVER", "unix:" + silent.fullServerName().toUtf8());
        const auto toSilent = AudioEngine::createForDesktop();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(toSilent->start());
        toSilent->stop();
        QVERIFY(toSilent->start());
        QVERIFY2(timer.elapsed() < silenceLimit, qPrintable(QString::number(timer.elapsed())));
        QTRY_VERIFY_WITH_TIMEOUT(!toSilent->isRunning(), howLong);
        // One that hears something, if only silence, goes on all the time.
        QVERIFY(m_engine->isRunning() && soundArrives());
        // Until nothing comes any more.
        QVERIFY(m_sound->control(
            {u"suspend-source"_s, QLatin1String(SoundServer::microphone), u"1"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!m_engine->isRunning(), howLong);
    }
};

QTEST_GUILESS_MAIN(AudioEngineTests)
#include "AudioEngineTests.moc"
