#include "Platform/Speech/SpeechEngine_pocketsphinx.h"

#include "Platform/Speech/CepstralMean.h"
#include "Platform/Speech/SphinxDecoder.h"
#include "Platform/Speech/Transcript.h"
#include "Platform/Speech/VoiceDetector.h"

#include <QLoggingCategory>

#include <utility>
#include <vector>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(speechLog, "brevio.speech", QtCriticalMsg)

/// Of the packaged model's training; what a microphone is taken for before it is known.
constexpr Cepstrum commonMean{41.00F, -5.29F, -0.12F, 5.09F,  2.48F,  -4.07F, -1.37F,
                              -1.78F, -5.08F, -2.05F, -6.45F, -1.42F, 1.17F};
constexpr float commonWeight = 50.0F;   // frames of 10 ms that the common mean counts for
constexpr float learntWeight = 200.0F;  // frames that a remembered mean counts for
constexpr float noWeight = 0.1F;        // frames
constexpr std::size_t leastFrames = 30; // of speech that teach anything
// The sound heard so far is decoded anew when it has taught something about the microphone. Each
// time, it has grown by so much that all the decoding together stays bounded.
constexpr float worthDecodingAnew = 1.0F; // distance of the mean in use from the one heard
constexpr std::size_t leastGrowth = 20;   // frames of speech
constexpr double leastGrowthShare = 0.4;  // of all frames
// A remembered mean is used as it is, unless the sound is another's: a new voice or loudness.
constexpr float strangeness = 8.0F;         // distance of the remembered mean from the one heard
constexpr std::size_t leastStranger = 100;  // frames of speech that show it
constexpr std::size_t latestLesson = 1'200; // frames; later ones would hold the words up too long
constexpr int windowFrames = 3;             // what a frame's features need of the future

class PocketSphinxEngine final : public SpeechEngine
{
public:
    explicit PocketSphinxEngine(std::unique_ptr<SphinxDecoder> decoder)
        : m_decoder(std::move(decoder))
    {}

    bool load() override { return m_decoder->load(); }

    bool start(const QByteArray &adaptation) override
    {
        if (!m_decoder->isReady())
            return false;
        const auto known = meanFromBytes(adaptation);
        m_isKnown = known.has_value();
        m_known = known.value_or(commonMean);
        m_heard = CepstralMean();
        m_mean = m_known;
        m_frames.clear();
        m_lessonFrames = 0;
        m_voice = VoiceDetector();
        m_decoder->startSound();
        return restart();
    }

    bool feed(std::span<const std::int16_t> samples) override
    {
        if (!m_decoder->isOpen())
            return false;
        m_voice.feed(samples);
        take(m_decoder->frames(samples));
        if (m_isKnown && m_heard.frames() >= leastStranger &&
            distance(m_heard.value(m_known, noWeight), m_known) > strangeness)
            m_isKnown = false;
        if (isWorthDecodingAnew()) {
            m_mean = m_heard.value(commonMean, commonWeight);
            m_lessonFrames = m_frames.size();
            return restart() && decode();
        }
        return decode();
    }

    QString partial() override { return m_decoder->isOpen() ? text() : QString(); }

    QString finish() override
    {
        if (!m_decoder->isOpen())
            return {};
        take(m_decoder->lastFrames());
        // The decoder would leave the last frames waiting for the ones that follow them.
        for (int i = 0; i < windowFrames && !m_frames.empty(); ++i)
            m_frames.push_back(m_frames.back());
        if (!decode() || !m_decoder->end())
            return {};
        if (m_voice.hasHeardVoice() && m_heard.frames() >= leastFrames)
            m_adaptation = toBytes(m_heard.value(m_known, m_isKnown ? learntWeight : noWeight));
        return text();
    }

    QByteArray adaptation() const override { return m_adaptation; }

private:
    /// What is decoded from here on begins with the first frame of the utterance.
    bool restart()
    {
        m_decodedCount = 0;
        return m_decoder->start();
    }

    void take(const std::vector<Cepstrum> &frames)
    {
        for (const Cepstrum &frame : frames) {
            m_frames.push_back(frame);
            if (frame[0] >= 0.0F)
                m_heard.add(frame);
        }
    }

    [[nodiscard]] bool isWorthDecodingAnew() const
    {
        const std::size_t count = m_frames.size();
        const auto growth = static_cast<double>(count - m_lessonFrames);
        return !m_isKnown && m_voice.hasHeardVoice() && count >= leastFrames &&
               count <= latestLesson && growth >= leastGrowthShare * static_cast<double>(count) &&
               growth >= leastGrowth &&
               distance(m_heard.value(commonMean, commonWeight), m_mean) > worthDecodingAnew;
    }

    /// Nothing until somebody speaks.
    bool decode()
    {
        if (!m_voice.hasHeardVoice())
            return true;
        const auto frames = std::span<const Cepstrum>(m_frames).subspan(m_decodedCount);
        m_decodedCount = m_frames.size();
        return m_decoder->decode(frames, m_mean);
    }

    [[nodiscard]] QString text()
    {
        if (!m_voice.hasHeardVoice())
            return {};
        return Transcript::fromDecoder(QString::fromUtf8(m_decoder->words()));
    }

    const std::unique_ptr<SphinxDecoder> m_decoder;

    VoiceDetector m_voice;
    std::vector<Cepstrum> m_frames; ///< of the whole utterance
    std::size_t m_decodedCount = 0; ///< of them
    std::size_t m_lessonFrames = 0; ///< when they were last decoded anew
    bool m_isKnown = false;         ///< the microphone
    Cepstrum m_known = commonMean;
    Cepstrum m_mean = commonMean; ///< what is taken off
    CepstralMean m_heard;
    QByteArray m_adaptation;
};

[[nodiscard]] bool isEnglish(const QString &locale)
{
    const QString tag = locale.toLower();
    return tag == u"en" || tag.startsWith(u"en_") || tag.startsWith(u"en-");
}

} // namespace

std::unique_ptr<SpeechEngine> createPocketSphinxEngine(const QString &locale,
                                                       const QStringList &modelFolders)
{
    if (!isEnglish(locale))
        return nullptr;
    auto files = SphinxModel::find(modelFolders);
    auto decoder = files ? SphinxDecoder::open(*files) : nullptr;
    if (!decoder) {
        qCInfo(speechLog) << (files ? "PocketSphinx is not installed" : "no model of PocketSphinx");
        return nullptr;
    }
    return std::make_unique<PocketSphinxEngine>(std::move(decoder));
}

std::unique_ptr<SpeechEngine> createPocketSphinxEngine(const QString &locale)
{
    return createPocketSphinxEngine(locale, SphinxModel::usualFolders());
}

} // namespace Platform
