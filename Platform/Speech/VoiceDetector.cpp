#include "Platform/Speech/VoiceDetector.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Platform {

namespace {

constexpr std::size_t frameStep = 160;  // samples; 10 ms
constexpr std::size_t windowSize = 640; // samples; two periods of the deepest voice
constexpr std::size_t shortestLag = 40; // samples; 400 Hz
constexpr std::size_t longestLag = 230; // samples; 70 Hz
constexpr std::size_t stride = 2;       // samples; a voice's pitch needs no finer look
constexpr float leastLikeness = 0.6F;   // of a window to itself one period later
constexpr float leastLevel = -60.0F;    // decibels; quieter than any speech into a microphone
constexpr float leastRise = 6.0F;       // decibels above the quietest moments; a hum has none
constexpr std::size_t quietShare = 10;  // the quietest moments are one in so many
constexpr std::size_t leastFrames = 10; // to know what is quiet
constexpr std::size_t leastPitched = 7; // frames on end; a short vowel, and no click
constexpr float nothing = -200.0F;      // decibels; digital silence

[[nodiscard]] float square(float value)
{
    return value * value;
}

[[nodiscard]] bool isPitched(const std::int16_t *window)
{
    constexpr std::size_t length = windowSize - longestLag;
    float mean = 0.0F;
    for (std::size_t i = 0; i < windowSize; ++i)
        mean += static_cast<float>(window[i]);
    mean /= static_cast<float>(windowSize);
    for (std::size_t lag = shortestLag; lag <= longestLag; ++lag) {
        float product = 0.0F;
        float here = 0.0F;
        float there = 0.0F;
        for (std::size_t i = 0; i < length; i += stride) {
            const float one = static_cast<float>(window[i]) - mean;
            const float other = static_cast<float>(window[i + lag]) - mean;
            product += one * other;
            here += square(one);
            there += square(other);
        }
        if (product > leastLikeness * std::sqrt(here * there))
            return true;
    }
    return false;
}

[[nodiscard]] float levelOf(const std::int16_t *window)
{
    constexpr auto loudest = static_cast<float>(std::numeric_limits<std::int16_t>::max());
    float power = 0.0F;
    for (std::size_t i = 0; i < windowSize; ++i)
        power += square(static_cast<float>(window[i]) / loudest);
    power /= static_cast<float>(windowSize);
    return power > 0.0F ? 10.0F * std::log10(power) : nothing;
}

} // namespace

void VoiceDetector::feed(std::span<const std::int16_t> samples)
{
    if (m_hasHeardVoice)
        return;
    m_waiting.insert(m_waiting.end(), samples.begin(), samples.end());
    std::size_t start = 0;
    for (; start + windowSize <= m_waiting.size(); start += frameStep)
        judge(m_waiting.data() + start);
    m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(start));

    // A microphone that opens gives digital silence first, which says nothing about its noise.
    std::vector<float> levels;
    for (const Frame &frame : m_frames) {
        if (frame.level > nothing)
            levels.push_back(frame.level);
    }
    if (levels.size() < leastFrames)
        return;
    const auto quiet = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / quietShare);
    std::ranges::nth_element(levels, quiet);
    const float least = std::max(leastLevel, *quiet + leastRise);
    std::size_t run = 0;
    for (const Frame &frame : m_frames) {
        run = frame.isPitched && frame.level > least ? run + 1 : 0;
        m_hasHeardVoice = m_hasHeardVoice || run >= leastPitched;
    }
}

void VoiceDetector::judge(const std::int16_t *window)
{
    const float level = levelOf(window);
    m_frames.push_back({.level = level, .isPitched = level > leastLevel && isPitched(window)});
}

} // namespace Platform
