#pragma once

#include "Platform/Core/IdleWorker.h"
#include "Platform/Speech/SpeechAdaptations.h"
#include "Platform/Speech/SpeechEngine.h"
#include "Platform/Speech/SpeechRecognizer.h"

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Platform {

/// One engine with the model of one language, before it is loaded.
struct SpeechModel
{
    QString engine; ///< its name, which tells apart what engines learn
    std::function<std::unique_ptr<SpeechEngine>()> make; ///< called on the worker's thread
    std::atomic<bool> isUsable = true; ///< false once it could not be loaded; any thread
};

/// Runs recognitions one after the other on a thread of its own, which exists only while a model
/// is loaded: one model at a time, that of the latest recognition, released after ten minutes
/// without one. Owned by the recognisers. Main thread only, but for what says otherwise.
class SpeechWorker final
{
public:
    /// Both must outlive the object.
    SpeechWorker(UserDefaults &defaults, MainQueue &queue);
    /// Drops what is running, as if cancelled, and waits for at most one call of the engine, which
    /// may be the loading of its model.
    ~SpeechWorker();
    SpeechWorker(const SpeechWorker &) = delete;
    SpeechWorker &operator=(const SpeechWorker &) = delete;

    /// As SpeechRecognizer::recognitionTask(). The task may outlive the worker.
    [[nodiscard]] std::unique_ptr<SpeechTask> recognize(const std::shared_ptr<SpeechModel> &model,
                                                        std::shared_ptr<SpeechRequest> request,
                                                        SpeechRecognizer::Handler handler);

private:
    struct Listener;
    struct Recognition;
    class Task;

    // On the worker's thread.
    [[nodiscard]] IdleWorker::Reply perform(const Recognition &recognition);
    [[nodiscard]] bool decode(const Recognition &recognition, QString &transcript);
    [[nodiscard]] bool feed(const Recognition &recognition, std::span<const std::int16_t> samples);
    [[nodiscard]] bool prepare(const std::shared_ptr<SpeechModel> &model);
    void learn(const Recognition &recognition, const std::string &microphone);
    void unload();

    SpeechAdaptations m_adaptations;
    std::vector<std::weak_ptr<Recognition>> m_recognitions; ///< those not over, and perhaps others

    std::unique_ptr<SpeechEngine> m_engine; ///< the worker thread's, as the next
    std::shared_ptr<SpeechModel> m_loaded;  ///< what the engine was made from
    IdleWorker m_worker;                    ///< last, as its jobs use the above
};

} // namespace Platform
