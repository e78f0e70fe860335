#include "Platform/Speech/SpeechRequest.h"

#include <utility>

namespace Platform {

namespace {

constexpr std::size_t mostWaiting = 5 * 60 * AudioEngine::sampleRate;

} // namespace

void SpeechRequest::append(const AudioBuffer &buffer)
{
    {
        const std::scoped_lock lock(m_mutex);
        if (m_sound.isOver || m_sound.samples.size() + buffer.samples.size() > mostWaiting)
            return;
        m_sound.samples.insert(m_sound.samples.end(), buffer.samples.begin(), buffer.samples.end());
        m_sound.microphone = buffer.microphone;
    }
    m_changed.notify_one();
}

void SpeechRequest::endAudio()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_sound.isOver = true;
    }
    m_changed.notify_one();
}

SpeechRequest::Sound SpeechRequest::take()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_sound.isOver || !m_sound.samples.empty(); });
    return {std::exchange(m_sound.samples, {}), m_sound.microphone, m_sound.isOver};
}

} // namespace Platform
