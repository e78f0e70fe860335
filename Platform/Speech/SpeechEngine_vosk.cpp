#include "Platform/Core/SharedLibrary.h"
#include "Platform/Speech/AudioEngine.h"
#include "Platform/Speech/SpeechEngine.h"
#include "Platform/Speech/Transcript.h"
#include "Platform/Speech/VoskModels.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <memory>
#include <optional>
#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(voskLog, "brevio.speech.vosk", QtCriticalMsg)

constexpr int logNothing = -1;

// Only pointers and numbers cross this interface.
struct VoskModel;
struct VoskRecognizer;

struct Vosk
{
    void (*setLogLevel)(int level);
    VoskModel *(*newModel)(const char *folder);
    void (*freeModel)(VoskModel *model);
    VoskRecognizer *(*newRecognizer)(VoskModel *model, float sampleRate);
    void (*freeRecognizer)(VoskRecognizer *recognizer);
    void (*reset)(VoskRecognizer *recognizer);
    /// 1 when a pause has ended a segment, negative when it failed.
    int (*accept)(VoskRecognizer *recognizer, const short *samples, int count);
    /// JSON that is the recogniser's own until its next call, here and below.
    const char *(*partialResult)(VoskRecognizer *recognizer);
    const char *(*result)(VoskRecognizer *recognizer);
    const char *(*finalResult)(VoskRecognizer *recognizer);

    [[nodiscard]] static std::optional<Vosk> open(const QString &folder)
    {
        const QByteArray own = QFile::encodeName(folder + QStringLiteral("/libvosk.so"));
        const auto library = SharedLibrary::open({own.constData(), "libvosk.so"});
        Vosk vosk{};
        if (library && library->resolve(vosk.setLogLevel, "vosk_set_log_level") &&
            library->resolve(vosk.newModel, "vosk_model_new") &&
            library->resolve(vosk.freeModel, "vosk_model_free") &&
            library->resolve(vosk.newRecognizer, "vosk_recognizer_new") &&
            library->resolve(vosk.freeRecognizer, "vosk_recognizer_free") &&
            library->resolve(vosk.reset, "vosk_recognizer_reset") &&
            library->resolve(vosk.accept, "vosk_recognizer_accept_waveform_s") &&
            library->resolve(vosk.partialResult, "vosk_recognizer_partial_result") &&
            library->resolve(vosk.result, "vosk_recognizer_result") &&
            library->resolve(vosk.finalResult, "vosk_recognizer_final_result"))
            return vosk;
        return std::nullopt;
    }
};

/// The words under this key, after a space; none when the answer is anything else.
QString wordsOf(const char *json, const char *key)
{
    const QJsonObject answer = QJsonDocument::fromJson(QByteArray(json)).object();
    return u' ' + answer.value(QLatin1String(key)).toString();
}

class VoskEngine final : public SpeechEngine
{
public:
    VoskEngine(const Vosk &vosk, VoskModelFolder folder)
        : m_vosk(vosk)
        , m_folder(std::move(folder))
        , m_model(nullptr, vosk.freeModel)
        , m_recognizer(nullptr, vosk.freeRecognizer)
    {}

    bool load() override
    {
        m_vosk.setLogLevel(logNothing);
        m_recognizer.reset();
        m_model.reset(m_vosk.newModel(QFile::encodeName(m_folder.path)));
        if (!m_model)
            qCInfo(voskLog) << "no usable model in" << m_folder.path;
        return m_model != nullptr;
    }

    bool start(const QByteArray &) override
    {
        m_finished.clear();
        if (m_recognizer)
            m_vosk.reset(m_recognizer.get());
        else if (m_model)
            m_recognizer.reset(m_vosk.newRecognizer(m_model.get(), AudioEngine::sampleRate));
        return m_recognizer != nullptr;
    }

    bool feed(std::span<const std::int16_t> samples) override
    {
        if (!m_recognizer)
            return false;
        const int state = m_vosk.accept(m_recognizer.get(), samples.data(), int(samples.size()));
        if (state > 0)
            m_finished += wordsOf(m_vosk.result(m_recognizer.get()), "text");
        if (state < 0)
            m_recognizer.reset(); // what it holds is unknown
        return state >= 0;
    }

    QString partial() override
    {
        QString words = m_finished;
        if (m_recognizer)
            words += wordsOf(m_vosk.partialResult(m_recognizer.get()), "partial");
        return noteText(words);
    }

    QString finish() override
    {
        if (m_recognizer)
            m_finished += wordsOf(m_vosk.finalResult(m_recognizer.get()), "text");
        return noteText(std::exchange(m_finished, {}));
    }

private:
    [[nodiscard]] QString noteText(const QString &words) const
    {
        using enum Transcript::Language;
        return Transcript::fromDecoder(words,
                                       m_folder.language == QStringLiteral("en") ? English : Other);
    }

    Vosk m_vosk;
    VoskModelFolder m_folder;
    QString m_finished; ///< the words of the segments that pauses have ended
    std::unique_ptr<VoskModel, void (*)(VoskModel *)> m_model;
    std::unique_ptr<VoskRecognizer, void (*)(VoskRecognizer *)> m_recognizer; ///< uses the model
};

} // namespace

std::unique_ptr<SpeechEngine> createVoskEngine(const QString &locale, const QString &folder)
{
    const VoskModelFolder model = findVoskModel(locale, folder);
    if (model.path.isEmpty())
        return nullptr;
    const auto vosk = Vosk::open(folder);
    if (!vosk) {
        qCInfo(voskLog) << "a model without a library:" << model.path;
        return nullptr;
    }
    return std::make_unique<VoskEngine>(*vosk, model);
}

} // namespace Platform
