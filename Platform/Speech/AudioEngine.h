#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace Platform {

/// A piece of captured sound. Valid during the call that hands it over.
struct AudioBuffer
{
    /// One channel, AudioEngine::sampleRate.
    std::span<const std::int16_t> samples;
    /// The system's lasting name of the microphone; may be empty.
    std::string_view microphone;
};

/// The user's microphone. It is open exactly while the engine runs, so that the desktop's own
/// microphone indicator tells the truth. Main thread only, but for the tap.
class AudioEngine
{
public:
    static constexpr int sampleRate = 16'000; // hertz; what speech models are trained on

    /// Called on the audio thread, one call at a time. Must return soon, never wait for the main
    /// thread (which may be waiting for the call to end) and call nothing of the engine.
    using Tap = std::function<void(const AudioBuffer &)>;

    virtual ~AudioEngine() = default;

    /// Hands all sound captured from now on to the tap, in pieces of exactly `bufferSize` samples
    /// (at least 1), in place of an earlier tap, which is not called again once this returns. Sound
    /// that the system has lost arrives as silence; a piece that stop() or another tap leaves
    /// incomplete is dropped.
    virtual void installTap(std::size_t bufferSize, Tap tap) = 0;
    /// After this returns no call of a tap is in progress and none follows. Nothing happens without
    /// one.
    virtual void removeTap() = 0;

    /// Begins to load, on another thread, what the first start() would otherwise load itself.
    virtual void prepare() {}
    /// Opens the microphone without waiting for it. False when there is certainly none: no sound
    /// system. Whether or not there is a tap. Nothing happens while it is open.
    [[nodiscard]] virtual bool start() = 0;
    /// Closes the microphone, without waiting for the sound system's answer: the thread, the
    /// connection and their memory are gone when this returns. Nothing happens while it is closed.
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isRunning() const = 0;

    /// Called on a turn of the event loop, once, when a running engine has closed by itself: the
    /// system refused the microphone, the sound system or the microphone went away, or three
    /// seconds passed without any sound, not even silence. Never after stop(). May start the engine
    /// again or destroy it. A microphone that another one replaces is no interruption.
    std::function<void()> onInterruption;

    /// The default microphone of PulseAudio, or of what serves in its place. Never null.
    [[nodiscard]] static std::unique_ptr<AudioEngine> createForDesktop();
};

} // namespace Platform
