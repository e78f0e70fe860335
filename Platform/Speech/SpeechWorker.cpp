#include "Platform/Speech/SpeechWorker.h"

#include "Platform/Speech/SpeechRequest.h"

#include <QLoggingCategory>

#include <algorithm>
#include <exception>
#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(speechLog, "brevio.speech", QtCriticalMsg)

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

    /// Tells the listener; to be called on the main thread.
    IdleWorker::Reply report(const SpeechResult &result) const
    {
        return [result, open = listener] {
            const auto heard = open.lock();
            if (!heard)
                return;
            heard->isOver = result.isFinal;
            heard->handler(result); // may destroy the worker
        };
    }

    IdleWorker::Reply failure() const
    {
        request->endAudio(); // nobody takes what follows
        return report({{}, true, true});
    }
};

class SpeechWorker::Task final : public SpeechTask
{
public:
    Task(std::shared_ptr<Recognition> recognition, std::shared_ptr<Listener> listener)
        : m_recognition(std::move(recognition))
        , m_listener(std::move(listener))
    {}
    ~Task() override { cancel(); }

    void cancel() override
    {
        // What the handler owns goes last: it may own this.
        const auto listener = std::exchange(m_listener, nullptr);
        if (listener && !std::exchange(listener->isOver, true))
            m_recognition->cancel();
    }

private:
    std::shared_ptr<Recognition> m_recognition;
    std::shared_ptr<Listener> m_listener;
};

SpeechWorker::SpeechWorker(UserDefaults &defaults, MainQueue &queue)
    : m_adaptations(defaults)
    , m_worker(queue, [this] { unload(); })
{}

SpeechWorker::~SpeechWorker()
{
    for (const auto &each : m_recognitions) {
        if (const auto recognition = each.lock())
            recognition->cancel();
    }
}

std::unique_ptr<SpeechTask> SpeechWorker::recognize(const std::shared_ptr<SpeechModel> &model,
                                                    std::shared_ptr<SpeechRequest> request,
                                                    SpeechRecognizer::Handler handler)
{
    auto listener = std::make_shared<Listener>(Listener{std::move(handler)});
    auto recognition = std::make_shared<Recognition>();
    recognition->request = std::move(request);
    recognition->adaptations = m_adaptations.of(model->engine);
    recognition->model = model;
    recognition->listener = listener;
    std::erase_if(m_recognitions, [](const auto &each) { return each.expired(); });
    m_recognitions.push_back(recognition);
    if (!m_worker.run([this, recognition] { return perform(*recognition); }))
        m_worker.post(recognition->failure());
    return std::make_unique<Task>(std::move(recognition), std::move(listener));
}

IdleWorker::Reply SpeechWorker::perform(const Recognition &recognition)
{
    if (recognition.isCancelled)
        return {};
    try {
        QString transcript;
        if (prepare(recognition.model) && decode(recognition, transcript))
            return recognition.report({transcript, true, false});
    } catch (const std::exception &error) { // no memory, or what a library throws at us
        qCInfo(speechLog) << recognition.model->engine << "threw" << error.what();
        if (m_loaded != recognition.model)
            recognition.model->isUsable = false;
        unload(); // the engine's state is unknown
    }
    return recognition.failure();
}

bool SpeechWorker::prepare(const std::shared_ptr<SpeechModel> &model)
{
    if (m_loaded == model)
        return true;
    unload(); // two models at once would take twice the memory
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
            m_worker.post(recognition.report({words, false, false}));
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
    m_worker.post([this, engine = recognition.model->engine, microphone, adaptation] {
        m_adaptations.store(engine, microphone, adaptation);
    });
}

void SpeechWorker::unload()
{
    m_engine.reset();
    m_loaded.reset();
}

} // namespace Platform
