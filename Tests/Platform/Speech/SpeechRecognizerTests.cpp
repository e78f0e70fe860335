#include "Platform/Speech/EngineRecognizers.h"
#include "Platform/Speech/SpeechAdaptations.h"
#include "Platform/Speech/SpeechRequest.h"
#include "Platform/Storage/UserDefaults.h"

#include "Tests/Support/FakeSpeechEngine.h"
#include "Tests/Support/ManualTime.h"
#include "Tests/Support/ThreadShortage.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Call = FakeSpeechScript::Call;
using Platform::SpeechRequest;

/// With engines that hear and fail as the test says.
class SpeechRecognizerTests final : public QObject
{
    Q_OBJECT

private:
    using Task = std::unique_ptr<Platform::SpeechTask>;

    [[nodiscard]] auto speaks(const QString &language)
    {
        return [this, language](const QString &locale) -> std::unique_ptr<Platform::SpeechEngine> {
            return locale.startsWith(language) ? std::make_unique<FakeSpeechEngine>(*m_script)
                                               : nullptr;
        };
    }
    [[nodiscard]] Task recognize(const std::shared_ptr<SpeechRequest> &request)
    {
        return m_recognizer->recognitionTask(request, [this](const auto &result) {
            const char *end = result.hasFailed ? "!" : result.isFinal ? "#" : "";
            m_results << result.transcript + QLatin1String(end);
        });
    }
    /// Sound of so many words and, if longer, silence after them.
    static void say(SpeechRequest &request, std::size_t words, std::size_t length = 0)
    {
        std::vector<std::int16_t> samples(std::max(words, length));
        std::fill_n(samples.begin(), words, std::int16_t(1));
        request.append({samples, "headset"});
    }
    [[nodiscard]] static std::shared_ptr<SpeechRequest> spoken(std::size_t words)
    {
        const auto request = std::make_shared<SpeechRequest>();
        say(*request, words);
        request->endAudio();
        return request;
    }
    /// How a whole recognition ends; empty when it does not.
    [[nodiscard]] QString recognizeAll()
    {
        m_results.clear();
        const auto task = recognize(spoken(1));
        return waitForEnd() ? m_results.last() : QString();
    }
    [[nodiscard]] bool waitForEnd()
    {
        return QTest::qWaitFor([this] {
            return !m_results.isEmpty() && u"#!"_s.contains(m_results.last().right(1).front());
        });
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<ManualQueue> m_queue;
    std::unique_ptr<FakeSpeechScript> m_script;
    std::unique_ptr<Platform::UserDefaults> m_defaults;
    std::unique_ptr<Platform::SpeechRecognizers> m_recognizers;
    std::shared_ptr<Platform::SpeechRecognizer> m_recognizer;
    std::shared_ptr<SpeechRequest> m_request;
    QStringList m_results; ///< "#" after the final one, "!" for a failure

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_queue = std::make_unique<ManualQueue>();
        m_script = std::make_unique<FakeSpeechScript>();
        m_defaults = std::make_unique<Platform::UserDefaults>(m_home->filePath(u"defaults.json"_s),
                                                              *m_queue);
        m_recognizers = Platform::createEngineRecognizers(
            {{u"best"_s, speaks(u"de"_s)}, {u"other"_s, speaks(u"d"_s)}}, *m_defaults, *m_queue);
        m_recognizer = m_recognizers->recognizer(u"de"_s);
        m_request = std::make_shared<SpeechRequest>();
        m_results.clear();
    }
    void cleanup()
    {
        m_script->release();
        m_recognizer.reset();
        m_recognizers.reset();
        m_defaults.reset();
    }

    void soundWaitsForTheModelAndWordsAreReportedWhenTheyChange()
    {
        m_script->blocksIn = Call::Load;
        const auto task = recognize(m_request);
        for (int i = 0; i < 5; ++i)
            say(*m_request, 700);
        QVERIFY(m_script->waitForBlocked());
        m_script->release();
        QTRY_COMPARE(m_results, QStringList(u"3500"_s));
        // Catching up, it looks at the words once.
        QCOMPARE(m_script->takeLog(),
                 u"load start() feed(1024) feed(1024) feed(1024) feed(428) partial"_s);
        m_script->blocksIn = Call::Feed;
        say(*m_request, 0, 1024); // changes nothing
        QVERIFY(m_script->waitForBlocked());
        say(*m_request, 2);
        m_script->release();
        QTRY_COMPARE(m_results.last(), u"3502"_s);
        m_request->endAudio();
        QVERIFY(waitForEnd());
        QCOMPARE(m_results, u"3500 3502 3502.#"_s.split(u' '));
    }

    void aCancelledTaskIsSilent()
    {
        m_script->blocksIn = Call::Load;
        const auto loading = recognize(spoken(1));
        QVERIFY(m_script->waitForBlocked());
        loading->cancel(); // returns while the engine is busy
        m_script->blocksIn = Call::Start;
        auto ending = recognize(m_request);
        say(*m_request, 1);
        m_script->release();
        QVERIFY(m_script->waitForBlocked());
        m_script->blocksIn = Call::Finish; // when the first word's report is on its way
        say(*m_request, 1);
        m_request->endAudio();
        m_script->release();
        QVERIFY(m_script->waitForBlocked());
        ending.reset();
        const auto next = recognize(spoken(2));
        m_script->release();
        QVERIFY(waitForEnd());
        QCOMPARE(m_results, QStringList(u"2.#"_s));
        QCOMPARE(m_script->takeLog(),
                 u"load start() feed(1) partial feed(1) finish start() feed(2) finish"_s);
    }

    void aHandlerMayEndEverything()
    {
        Task task;
        const auto alive = std::make_shared<int>();
        task = m_recognizer->recognitionTask(m_request, [&, alive](const auto &) {
            m_recognizer.reset();
            m_recognizers.reset();
            task.reset();
            m_results << QString::number(alive.use_count());
        });
        say(*m_request, 1);
        QTRY_COMPARE(m_results, QStringList(u"2"_s)); // what it owns lived on
        QCOMPARE(alive.use_count(), 1);
    }

    void failuresEndTheTask()
    {
        const std::pair<Call, bool> rows[] = {
            {Call::Load, false}, {Call::Load, true}, {Call::Feed, false}, {Call::Finish, true}};
        for (const auto &[call, throws] : rows) {
            cleanup();
            init();
            const bool isLoad = call == Call::Load;
            m_script->fails = call;
            m_script->throws = throws;
            const auto task = recognize(m_request);
            say(*m_request, 1);
            if (call == Call::Finish)
                m_request->endAudio();
            QVERIFY(waitForEnd());
            QCOMPARE(m_results.last(), u"!"_s);
            QVERIFY(m_request->take().isOver); // it does not grow any more
            QCOMPARE(m_recognizer->isAvailable(), !isLoad);
            m_script->fails = Call::None;
            QCOMPARE(recognizeAll(), isLoad ? u"!"_s : u"1.#"_s);
            (void)m_script->takeLog();
            // Another engine takes over.
            m_recognizer = m_recognizers->recognizer(u"de"_s);
            QCOMPARE(recognizeAll(), u"1.#"_s);
            QCOMPARE(m_script->takeLog().contains(u"load"_s), isLoad);
        }
    }

    void withoutAThreadATaskFailsAndTheNextTriesAgain()
    {
        ThreadShortage::isOn = true;
        const auto task = recognize(m_request);
        QVERIFY(waitForEnd());
        QCOMPARE(m_results, QStringList(u"!"_s));
        QVERIFY(m_request->take().isOver); // what is said is not kept
        ThreadShortage::isOn = false;
        QVERIFY(m_recognizer->isAvailable());
        QCOMPARE(recognizeAll(), u"1.#"_s);
    }

    void anUnusedModelIsReleasedAndLoadedAgain()
    {
        QCOMPARE(recognizeAll(), u"1.#"_s);
        auto task = recognize(m_request);
        say(*m_request, 1);
        QTRY_COMPARE(m_results.last(), u"1"_s);
        m_queue->advance(30min); // somebody thinks
        task.reset();            // nothing else wakes the worker
        QTRY_COMPARE(m_queue->pendingJobs(), 1);
        m_queue->advance(9min);
        QCOMPARE(recognizeAll(), u"1.#"_s);
        QCOMPARE(m_script->takeLog().count(u"load"_s), 1);
        m_queue->advance(10min - 1us);
        QCOMPARE(m_queue->pendingJobs(), 1);
        m_queue->advance(1us);
        QVERIFY(QTest::qWaitFor([this] { return m_script->takeLog() == u"gone"; }));
        QCOMPARE(m_queue->pendingJobs(), 0);
        QCOMPARE(recognizeAll(), u"1.#"_s);
    }

    void oneModelAtATimeIsLoaded()
    {
        QVERIFY(!m_recognizers->recognizer(u"fr"_s));
        QCOMPARE(recognizeAll(), u"1.#"_s);
        m_recognizer = m_recognizers->recognizer(u"de_AT"_s);
        QCOMPARE(recognizeAll(), u"1.#"_s);
        QVERIFY(m_script->takeLog().contains(u"gone load"_s));
    }

    void whatIsLearnedAboutAMicrophoneIsGivenBack()
    {
        Platform::SpeechAdaptations adaptations(*m_defaults);
        m_defaults->set(u"brevio.speechAdaptations"_s, QJsonArray{5, u"best/headset"_s});
        adaptations.store(u"other"_s, "headset", "not ours");
        // Learning nothing takes nothing away.
        for (const auto &[known, taught] : {std::pair("", "mean"), std::pair("mean", "")}) {
            m_script->teaches = taught;
            QCOMPARE(recognizeAll(), u"1.#"_s);
            QVERIFY(m_script->takeLog().contains(u"start(%1) "_s.arg(QLatin1String(known))));
            QCOMPARE(adaptations.of(u"best"_s).at("headset"), QByteArray("mean"));
        }
    }

    void destructionWithARunningTaskWaitsForOneCall()
    {
        m_script->blocksIn = Call::Feed;
        say(*m_request, 2048);
        const auto task = recognize(m_request);
        const auto waiting = recognize(m_request);
        QVERIFY(m_script->waitForBlocked());
        std::thread engine([this] {
            while (!m_request->take().isOver) {
            }
            m_script->release(); // once the destruction has begun
        });
        m_recognizer.reset();
        m_recognizers.reset();
        engine.join();
        QCOMPARE(m_script->takeLog(), u"load start() feed(1024) gone"_s);
        QCoreApplication::processEvents();
        task->cancel();
        QCOMPARE(m_results, QStringList());
    }
};

QTEST_GUILESS_MAIN(SpeechRecognizerTests)
#include "SpeechRecognizerTests.moc"
