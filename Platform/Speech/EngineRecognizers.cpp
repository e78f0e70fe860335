#include "Platform/Speech/EngineRecognizers.h"

#include "Platform/Speech/SpeechWorker.h"

#include <map>
#include <utility>

namespace Platform {

namespace {

class EngineRecognizer final : public SpeechRecognizer
{
public:
    EngineRecognizer(std::shared_ptr<SpeechModel> model, std::shared_ptr<SpeechWorker> worker)
        : m_model(std::move(model))
        , m_worker(std::move(worker))
    {}

    bool isAvailable() const override { return m_model->isUsable; }

    std::unique_ptr<SpeechTask> recognitionTask(std::shared_ptr<SpeechRequest> request,
                                                Handler handler) override
    {
        return m_worker->recognize(m_model, std::move(request), std::move(handler));
    }

private:
    std::shared_ptr<SpeechModel> m_model;
    std::shared_ptr<SpeechWorker> m_worker;
};

class EngineRecognizers final : public SpeechRecognizers
{
public:
    EngineRecognizers(std::vector<SpeechEngineKind> kinds, UserDefaults &defaults, MainQueue &queue)
        : m_kinds(std::move(kinds))
        , m_worker(std::make_shared<SpeechWorker>(defaults, queue))
    {}

    std::shared_ptr<SpeechRecognizer> recognizer(const QString &locale) override
    {
        std::shared_ptr<SpeechModel> best;
        for (const SpeechEngineKind &kind : m_kinds) {
            const auto model = modelOf(kind, locale);
            if (model && (!best || model->isUsable))
                best = model;
            if (best && best->isUsable)
                break;
        }
        return best ? std::make_shared<EngineRecognizer>(best, m_worker) : nullptr;
    }

private:
    /// The same one every time, by which the worker knows what it has loaded.
    std::shared_ptr<SpeechModel> modelOf(const SpeechEngineKind &kind, const QString &locale)
    {
        const std::pair key(kind.name, locale);
        const auto known = m_models.find(key);
        if (known != m_models.end())
            return known->second;
        if (!kind.make(locale))
            return nullptr;
        auto model = std::make_shared<SpeechModel>();
        model->engine = kind.name;
        model->make = [make = kind.make, locale] { return make(locale); };
        return m_models.emplace(key, std::move(model)).first->second;
    }

    std::vector<SpeechEngineKind> m_kinds;
    std::map<std::pair<QString, QString>, std::shared_ptr<SpeechModel>> m_models;
    std::shared_ptr<SpeechWorker> m_worker;
};

} // namespace

std::unique_ptr<SpeechRecognizers> createEngineRecognizers(std::vector<SpeechEngineKind> kinds,
                                                           UserDefaults &defaults, MainQueue &queue)
{
    return std::make_unique<EngineRecognizers>(std::move(kinds), defaults, queue);
}

} // namespace Platform
