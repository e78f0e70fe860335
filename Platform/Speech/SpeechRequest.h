#pragma once

#include "Platform/Speech/AudioEngine.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace Platform {

/// The sound of one dictation on its way from the microphone to the recogniser. Holds what the
/// recogniser has not taken yet, however long its model takes to load, but of one that never comes
/// to it no more than five minutes: what is said after that is lost. Any thread.
class SpeechRequest final
{
public:
    struct Sound
    {
        std::vector<std::int16_t> samples; ///< since the last take; may be empty
        std::string microphone;            ///< of the latest buffer
        bool isOver = false;               ///< nothing comes after these samples
    };

    /// Nothing after endAudio().
    void append(const AudioBuffer &buffer);
    void endAudio();

    /// Waits until there is sound, or its end, and takes it.
    [[nodiscard]] Sound take();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Sound m_sound;
};

} // namespace Platform
