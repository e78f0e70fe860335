#pragma once

#include "Platform/Speech/CepstralMean.h"
#include "Platform/Speech/SphinxModel.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct cmd_ln_s;
struct fe_s;
struct ps_decoder_s;

namespace Platform {

/// PocketSphinx's library with one model, in two steps: sound becomes frames of 10 ms, and frames
/// become words. So the frames can be decoded again, with another mean taken off them. After a call
/// in which the library failed, false, nothing and no words are all that the others give. One
/// thread at a time.
class SphinxDecoder final
{
public:
    /// Null when the library is not installed.
    [[nodiscard]] static std::unique_ptr<SphinxDecoder> open(SphinxModel files);
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder &) = delete;
    SphinxDecoder &operator=(const SphinxDecoder &) = delete;

    /// False when the model is damaged; the decoder is of no use then.
    [[nodiscard]] bool load();
    /// Loaded, and no call has failed.
    [[nodiscard]] bool isReady() const { return m_isWhole && !m_hasFailed; }

    /// What is fed from here on is another sound.
    void startSound();
    /// One channel of 16,000 samples a second. Frames without speech are left out.
    [[nodiscard]] std::vector<Cepstrum> frames(std::span<const std::int16_t> samples);
    /// What was left of the sound: one frame or none.
    [[nodiscard]] std::vector<Cepstrum> lastFrames();

    /// Begins an utterance; one that is open is dropped.
    [[nodiscard]] bool start();
    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    /// Of the open utterance, after `mean` was taken off.
    [[nodiscard]] bool decode(std::span<const Cepstrum> frames, const Cepstrum &mean);
    /// Of the open utterance so far, or of the last one after a second look, with the decoder's
    /// marks in them.
    [[nodiscard]] QByteArray words();
    [[nodiscard]] bool end();

private:
    struct Library;

    explicit SphinxDecoder(std::unique_ptr<const Library> library, SphinxModel files);

    template <class Calls>
    void guarded(const Calls &calls);

    std::unique_ptr<const Library> m_library;
    SphinxModel m_files;
    cmd_ln_s *m_configuration = nullptr;
    ps_decoder_s *m_decoder = nullptr;
    fe_s *m_frontEnd = nullptr;
    bool m_isWhole = false;   ///< the model
    bool m_hasFailed = false; ///< in the middle of a call
    bool m_isOpen = false;    ///< an utterance
};

} // namespace Platform
