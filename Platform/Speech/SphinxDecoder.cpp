#include "Platform/Speech/SphinxDecoder.h"

#include "Platform/Core/SharedLibrary.h"

#include <QLoggingCategory>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>
#include <sphinxbase/fe.h>
#include <sphinxbase/feat.h>

#include <malloc.h>

#include <array>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(speechLog, "brevio.speech", QtCriticalMsg)

constexpr const char *lateWord = "zoom"; // of the dictionary
constexpr std::size_t mostFrames = 64;   // that the front end gives at once

/// Where to go on when the library is about to end the process; null outside its calls.
thread_local std::jmp_buf *escape = nullptr;

void logFromLibrary(void *, err_lvl_t level, const char *format, ...)
{
    if (level >= ERR_WARN && speechLog().isWarningEnabled()) {
        char text[512];
        std::va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        qCWarning(speechLog).noquote() << QByteArray(text).trimmed();
    }
    if (level == ERR_FATAL && escape)
        std::longjmp(*escape, 1); // NOLINT(cert-err52-cpp): only the library's C is skipped
}

/// Runs calls of the library that a damaged model makes end the process. False when they would
/// have; what the calls had begun is lost then. Nothing in `calls` may need a destructor.
template <class Calls>
[[nodiscard]] bool survives(const Calls &calls)
{
    std::jmp_buf here;
    std::jmp_buf *const outer = escape;
    const bool isFirst = setjmp(here) == 0; // NOLINT(cert-err52-cpp)
    if (isFirst) {
        escape = &here;
        calls();
    }
    escape = outer;
    return isFirst;
}

} // namespace

/// The decoder's functions under their own names.
struct SphinxDecoder::Library
{
    decltype(::ps_args) *args = nullptr;
    decltype(::ps_init) *init = nullptr;
    decltype(::ps_free) *free = nullptr;
    decltype(::ps_get_feat) *feat = nullptr;
    decltype(::ps_lookup_word) *pronunciation = nullptr;
    decltype(::ps_start_utt) *start = nullptr;
    decltype(::ps_process_cep) *process = nullptr;
    decltype(::ps_end_utt) *end = nullptr;
    decltype(::ps_get_hyp) *hypothesis = nullptr;
    decltype(::cmd_ln_init) *configure = nullptr;
    decltype(::cmd_ln_free_r) *freeConfiguration = nullptr;
    decltype(::fe_init_auto_r) *makeFrontEnd = nullptr;
    decltype(::fe_free) *freeFrontEnd = nullptr;
    decltype(::fe_start_stream) *startStream = nullptr;
    decltype(::fe_start_utt) *startFrames = nullptr;
    decltype(::fe_process_frames) *frames = nullptr;
    decltype(::fe_end_utt) *lastFrame = nullptr;
    decltype(::fe_get_output_size) *frameSize = nullptr;
    decltype(::err_set_logfp) *setLogFile = nullptr;
    decltype(::err_set_callback) *setLog = nullptr;

    [[nodiscard]] bool load()
    {
        const auto base = SharedLibrary::open({"libsphinxbase.so.3"});
        const auto decoder = SharedLibrary::open({"libpocketsphinx.so.3"});
        return base && decoder && decoder->resolve(args, "ps_args") &&
               decoder->resolve(init, "ps_init") && decoder->resolve(free, "ps_free") &&
               decoder->resolve(feat, "ps_get_feat") &&
               decoder->resolve(pronunciation, "ps_lookup_word") &&
               decoder->resolve(start, "ps_start_utt") &&
               decoder->resolve(process, "ps_process_cep") && decoder->resolve(end, "ps_end_utt") &&
               decoder->resolve(hypothesis, "ps_get_hyp") &&
               base->resolve(configure, "cmd_ln_init") &&
               base->resolve(freeConfiguration, "cmd_ln_free_r") &&
               base->resolve(makeFrontEnd, "fe_init_auto_r") &&
               base->resolve(freeFrontEnd, "fe_free") &&
               base->resolve(startStream, "fe_start_stream") &&
               base->resolve(startFrames, "fe_start_utt") &&
               base->resolve(frames, "fe_process_frames") &&
               base->resolve(lastFrame, "fe_end_utt") &&
               base->resolve(frameSize, "fe_get_output_size") &&
               base->resolve(setLogFile, "err_set_logfp") &&
               base->resolve(setLog, "err_set_callback");
    }
};

std::unique_ptr<SphinxDecoder> SphinxDecoder::open(SphinxModel files)
{
    auto library = std::make_unique<Library>();
    if (!library->load())
        return nullptr;
    return std::unique_ptr<SphinxDecoder>(new SphinxDecoder(std::move(library), std::move(files)));
}

SphinxDecoder::SphinxDecoder(std::unique_ptr<const Library> library, SphinxModel files)
    : m_library(std::move(library))
    , m_files(std::move(files))
{}

SphinxDecoder::~SphinxDecoder()
{
    // A decoder that failed in the middle of a call cannot be taken apart.
    if (m_hasFailed)
        return;
    if (m_frontEnd)
        m_library->freeFrontEnd(m_frontEnd);
    if (m_decoder)
        m_library->free(m_decoder);
    if (m_configuration)
        m_library->freeConfiguration(m_configuration);
    malloc_trim(0); // what was freed would stay the program's
}

template <class Calls>
void SphinxDecoder::guarded(const Calls &calls)
{
    if (!m_hasFailed && !survives(calls)) {
        m_hasFailed = true;
        m_isOpen = false;
    }
}

bool SphinxDecoder::load()
{
    if (m_decoder)
        return isReady();
    if (!m_files.isWhole()) {
        qCWarning(speechLog) << "the model in" << m_files.acoustic << "is cut short";
        return false;
    }
    m_library->setLogFile(nullptr);
    m_library->setLog(logFromLibrary, nullptr);
    guarded([this] {
        m_configuration = m_library->configure(
            nullptr, m_library->args(), 1, "-hmm", m_files.acoustic.constData(), "-lm",
            m_files.language.constData(), "-dict", m_files.dictionary.constData(), "-fwdflat", "no",
            "-mmap", "no", nullptr);
        if (m_configuration)
            m_decoder = m_library->init(m_configuration);
        // A dictionary with no word in it, or cut short, is accepted by the library.
        char *last = m_decoder ? m_library->pronunciation(m_decoder, lateWord) : nullptr;
        if (last)
            m_frontEnd = m_library->makeFrontEnd(m_configuration);
        std::free(last);
    });
    m_isWhole = !m_hasFailed && m_frontEnd &&
                m_library->frameSize(m_frontEnd) == static_cast<int>(std::tuple_size_v<Cepstrum>);
    if (!m_isWhole) {
        qCWarning(speechLog) << "the model in" << m_files.acoustic << "is damaged";
        return false;
    }
    m_library->feat(m_decoder)->cmn = CMN_NONE;
    return true;
}

void SphinxDecoder::startSound()
{
    m_library->startStream(m_frontEnd);
    m_library->startFrames(m_frontEnd);
}

std::vector<Cepstrum> SphinxDecoder::frames(std::span<const std::int16_t> samples)
{
    std::array<Cepstrum, mostFrames> frames;
    std::array<mfcc_t *, mostFrames> rows;
    for (std::size_t i = 0; i < mostFrames; ++i)
        rows[i] = frames[i].data();
    std::vector<Cepstrum> all;
    const int16 *next = samples.data();
    std::size_t left = samples.size();
    int32 count = 0;
    do {
        count = mostFrames;
        int32 position = 0;
        m_library->frames(m_frontEnd, &next, &left, rows.data(), &count, &position);
        all.insert(all.end(), frames.begin(), frames.begin() + count);
    } while (left > 0 && count > 0);
    return all;
}

std::vector<Cepstrum> SphinxDecoder::lastFrames()
{
    Cepstrum frame{};
    int32 count = 0;
    m_library->lastFrame(m_frontEnd, frame.data(), &count);
    return {static_cast<std::size_t>(count > 0 ? 1 : 0), frame};
}

bool SphinxDecoder::start()
{
    int32 result = 0;
    guarded([this, &result] {
        if (m_isOpen)
            m_library->end(m_decoder);
        result = m_library->start(m_decoder);
    });
    m_isOpen = !m_hasFailed && result >= 0;
    return m_isOpen;
}

bool SphinxDecoder::decode(std::span<const Cepstrum> frames, const Cepstrum &mean)
{
    int32 result = 0;
    // One frame at a time: the decoder's queue wraps around wrongly with more.
    guarded([this, frames, &mean, &result] {
        for (std::size_t next = 0; next < frames.size() && result >= 0; ++next) {
            Cepstrum frame = frames[next];
            for (std::size_t i = 0; i < frame.size(); ++i)
                frame[i] -= mean[i];
            mfcc_t *row = frame.data();
            result = m_library->process(m_decoder, &row, 1, 0, 0);
        }
    });
    return !m_hasFailed && result >= 0;
}

QByteArray SphinxDecoder::words()
{
    const char *words = nullptr;
    guarded([this, &words] { words = m_library->hypothesis(m_decoder, nullptr); });
    return m_hasFailed ? QByteArray() : QByteArray(words);
}

bool SphinxDecoder::end()
{
    guarded([this] { m_library->end(m_decoder); });
    m_isOpen = false;
    return !m_hasFailed;
}

} // namespace Platform
