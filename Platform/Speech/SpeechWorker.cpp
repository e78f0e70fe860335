#include "Platform/Speech/SpeechWorker.h"

#include "Platform/Speech/SpeechRequest.h"

#include <QLoggingCategory>

#include <malloc.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

namespace Platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(speechLog, "brevio.speech", QtCriticalMsg)

constexpr auto unusedDelay = 10min;
/// Samples that are decoded between two looks at whether anybody still wants them.
constexpr std::size_t pieceSize = 1024;

} // namespace

/// Who hears of a recognition. Held by its task alone; the worker only passes on a weak handle,
/// so that what the handler owns is destroyed on the main thread.
struct SpeechWorker::Listener
{
    SpeechRecognizer::Handler handler;
    bool isOver = false;
};

struct SpeechWorker::Recognition
{
    std::shared_ptr<SpeechModel> model;
    std::shared_ptr<SpeechRequest> request;
    SpeechAdaptations::ByMicrophone adaptations;
    std::weak_ptr<Listener> listener; ///< looked at on the main thread only
    std::atomic<bool> isCancelled = false;

    void cancel()
    {
        isCancelled = true;
        request->endAudio(); // wakes the worker
    }
};

class SpeechWorker::Task final : public SpeechTask
{
public:
    Task(std::weak_ptr<SpeechWorker> worker, std::shared_ptr<Recognition> recognition,
         std::shared_ptr<Listener> listener)
        : m_worker(std::move(worker))
        , m_recognition(std::move(recognition))
        , m_listener(std::move(listener))
    {}
    ~Task() override { cancel(); }

    void cancel() override
    {
        // What the handler owns goes last: it may own this.
        const auto listener = std::exchange(m_listener, nullptr);
        if (!listener || std::exchange(listener->isOver, true))
            return;
        m_recognition->cancel();
        if (const auto worker = m_worker.lock())
            worker->releaseLater();
    }

private:
    std::weak_ptr<SpeechWorker> m_worker;
    std::shared_ptr<Recognition> m_recognition;
    std::shared_ptr<Listener> m_listener;
};

SpeechWorker::SpeechWorker(UserDefaults &defaults, MainQueue &queue)
    : m_queue(queue)
    , m_adaptations(defaults)
{}

SpeechWorker::~SpeechWorker()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_current)
            m_current->cancel();
        m_waiting.clear();
        m_isReleasing = true;
        m_wake.notify_one();
    }
    if (m_thread.joinable())
        m_thread.join();
}

std::unique_ptr<SpeechTask> SpeechWorker::recognize(std::shared_ptr<SpeechModel> model,
                                                    std::shared_ptr<SpeechRequest> request,
                                                    SpeechRecognizer::Handler handler)
{
    auto listener = std::make_shared<Listener>(Listener{std::move(handler)});
    auto recognition = std::make_shared<Recognition>();
    recognition->request = std::move(request);
    recognition->adaptations = m_adaptations.of(model->engine);
    recognition->model = std::move(model);
    recognition->listener = listener;
    if (!enqueue(recognition))
        fail(*recognition);
    return std::make_unique<Task>(weak_from_this(), std::move(recognition), std::move(listener));
}

bool SpeechWorker::enqueue(const std::shared_ptr<Recognition> &recognition)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isRunning) {
        if (m_thread.joinable())
            m_thread.join(); // it has done its last already
        try {
            m_thread = std::thread(&SpeechWorker::run, this);
        } catch (const std::system_error &error) {
            qCInfo(speechLog) << "no thread:" << error.what();
            return false;
        }
        m_isRunning = true;
    }
    m_waiting.push_back(recognition);
    m_isReleasing = false;
    m_wake.notify_one();
    return true;
}

void SpeechWorker::releaseLater()
{
    m_unused = m_queue.schedule(unusedDelay, [this] { release(); });
}

void SpeechWorker::release()
{
    const std::lock_guard lock(m_mutex);
    // Another task has begun since, whose end comes here again.
    if (m_current || !m_waiting.empty())
        return;
    m_isReleasing = true;
    m_wake.notify_one();
}

void SpeechWorker::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_wake.wait(lock, [this] { return m_isReleasing || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            lock.unlock();
            m_engine.reset();
            m_loaded.reset();
            malloc_trim(0); // what was freed would stay the program's
            lock.lock();
            if (m_waiting.empty())
                break;
        }
        m_current = std::move(m_waiting.front());
        m_waiting.pop_front();
        const auto current = m_current;
        lock.unlock();
        if (!current->isCancelled)
            perform(*current);
        lock.lock();
        m_current.reset();
    }
    m_isRunning = false;
}

void SpeechWorker::perform(const Recognition &recognition)
{
    QString transcript;
    bool isDone = false;
    try {
        isDone = prepare(recognition.model) && decode(recognition, transcript);
    } catch (const std::exception &error) { // no memory, or what a library throws at us
        qCInfo(speechLog) << recognition.model->engine << "threw" << error.what();
        if (m_loaded != recognition.model)
            recognition.model->isUsable = false;
        m_engine.reset(); // its state is unknown
        m_loaded.reset();
    }
    if (isDone)
        deliver(recognition, {transcript, true, false});
    else
        fail(recognition);
}

void SpeechWorker::fail(const Recognition &recognition)
{
    recognition.request->endAudio(); // nobody takes what follows
    deliver(recognition, {{}, true, true});
}

bool SpeechWorker::prepare(const std::shared_ptr<SpeechModel> &model)
{
    if (m_loaded == model)
        return true;
    m_engine.reset(); // two models at once would take twice the memory
    m_loaded.reset();
    if (!model->isUsable)
        return false;
    auto engine = model->make();
    if (!engine || !engine->load()) {
        qCInfo(speechLog) << "the model of" << model->engine << "cannot be loaded";
        model->isUsable = false;
        return false;
    }
    m_engine = std::move(engine);
    m_loaded = model;
    return true;
}

bool SpeechWorker::decode(const Recognition &recognition, QString &transcript)
{
    std::string microphone;
    bool hasStarted = false;
    bool isOver = false;
    while (!isOver) {
        const SpeechRequest::Sound sound = recognition.request->take();
        isOver = sound.isOver || recognition.isCancelled;
        if (sound.samples.empty() || recognition.isCancelled)
            continue;
        if (!hasStarted) {
            microphone = sound.microphone;
            const auto known = recognition.adaptations.find(microphone);
            hasStarted = m_engine->start(known == recognition.adaptations.end() ? QByteArray()
                                                                                : known->second);
        }
        if (!hasStarted || !feed(recognition, sound.samples)) {
            qCInfo(speechLog) << recognition.model->engine << "failed";
            return false;
        }
        // One look at the words for all that had queued, so that the worker catches up quickly.
        if (isOver || recognition.isCancelled)
            continue;
        const QString words = m_engine->partial();
        if (words != transcript)
            deliver(recognition, {words, false, false});
        transcript = words;
    }
    transcript.clear();
    if (!hasStarted || recognition.isCancelled)
        return true; // the next start drops what the engine holds
    transcript = m_engine->finish();
    learn(recognition, microphone);
    return true;
}

bool SpeechWorker::feed(const Recognition &recognition, std::span<const std::int16_t> samples)
{
    while (!samples.empty() && !recognition.isCancelled) {
        const auto piece = samples.first(std::min(samples.size(), pieceSize));
        if (!m_engine->feed(piece))
            return false;
        samples = samples.subspan(piece.size());
    }
    return true;
}

void SpeechWorker::learn(const Recognition &recognition, const std::string &microphone)
{
    const QByteArray adaptation = m_engine->adaptation();
    if (adaptation.isEmpty() || microphone.empty())
        return;
    QMetaObject::invokeMethod(
        &m_mainThread,
        [this, engine = recognition.model->engine, microphone, adaptation] {
            m_adaptations.store(engine, microphone, adaptation);
        },
        Qt::QueuedConnection);
}

void SpeechWorker::deliver(const Recognition &recognition, const SpeechResult &result)
{
    // Whoever hears of its end may release the model at once.
    if (const std::lock_guard lock(m_mutex); result.isFinal && m_current.get() == &recognition)
        m_current.reset();
    QMetaObject::invokeMethod(
        &m_mainThread,
        [this, result, open = recognition.listener] {
            const auto listener = open.lock();
            if (!listener)
                return;
            listener->isOver = result.isFinal;
            if (result.isFinal)
                releaseLater();
            listener->handler(result); // may destroy the worker
        },
        Qt::QueuedConnection);
}

} // namespace Platform
