#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Platform {

/// Tells whether somebody spoke: a decoder makes words of noise too. Looks for what every word has
/// and no fan, click or silence: a pitch for as long as a short vowel, louder than the quietest
/// moments. Whispering has no pitch and is not heard. One thread at a time.
class VoiceDetector final
{
public:
    /// One channel, 16,000 samples a second.
    void feed(std::span<const std::int16_t> samples);
    [[nodiscard]] bool hasHeardVoice() const { return m_hasHeardVoice; }

private:
    struct Frame
    {
        float level; ///< decibels below the loudest possible
        bool isPitched;
    };

    void judge(const std::int16_t *window);

    std::vector<std::int16_t> m_waiting; ///< not yet in a full window
    std::vector<Frame> m_frames;
    bool m_hasHeardVoice = false;
};

} // namespace Platform
