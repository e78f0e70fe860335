#include "Platform/Speech/AudioEngine.h"

#include "Platform/Core/ApplicationId.h"
#include "Platform/Core/SharedLibrary.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(microphoneLog, "brevio.microphone", QtCriticalMsg)

constexpr const char *libraryName = "libpulse.so.0";
// What the desktop shows beside its microphone indicator and in its volume control. Without a media
// role: the level and the device that the user chooses there would count for all programs with it.
constexpr const char *programName = "Brevio";
constexpr const char *streamName = "Dictation";
constexpr pa_sample_spec format{PA_SAMPLE_S16NE, AudioEngine::sampleRate, 1};
constexpr std::uint32_t fragmentBytes = 2048; // 64 ms
/// Microseconds without any sound after which the microphone counts as gone. Ample, for a headset
/// may have to change its profile first.
constexpr pa_usec_t longestPause = 3'000'000;

/// What is used of the library, without its prefix.
// clang-format off
#define PULSE_FUNCTIONS(use) \
    use(threaded_mainloop_new) use(threaded_mainloop_free) use(threaded_mainloop_start) \
    use(threaded_mainloop_stop) use(threaded_mainloop_get_api) use(proplist_new) \
    use(proplist_free) use(proplist_sets) use(context_new_with_proplist) use(context_unref) \
    use(context_set_state_callback) use(context_connect) use(context_disconnect) \
    use(context_get_state) use(context_errno) use(context_rttime_new) \
    use(context_rttime_restart) use(stream_new) use(stream_unref) use(stream_set_state_callback) \
    use(stream_set_moved_callback) use(stream_set_read_callback) use(stream_connect_record) \
    use(stream_get_state) use(stream_get_device_name) use(stream_readable_size) use(stream_peek) \
    use(stream_drop) use(rtclock_now) use(strerror)
// clang-format on

struct Pulse
{
#define DECLARE(name) decltype(&pa_##name) name = nullptr;
    PULSE_FUNCTIONS(DECLARE)
#undef DECLARE

    [[nodiscard]] bool resolve(const SharedLibrary &library)
    {
#define RESOLVE(name) library.resolve(name, "pa_" #name) &&
        return PULSE_FUNCTIONS(RESOLVE) true;
#undef RESOLVE
    }
};

/// Filled before the first handle exists and never changed after that.
Pulse pulse;

/// Whether the library is there. Any thread; waits for one that is at it already.
[[nodiscard]] bool loadPulse()
{
    static const bool isLoaded = [] {
        const auto library = SharedLibrary::open({libraryName});
        return library && pulse.resolve(*library);
    }();
    return isLoaded;
}

struct LoopDeleter
{
    void operator()(pa_threaded_mainloop *loop) const { pulse.threaded_mainloop_free(loop); }
};
struct PropertiesDeleter
{
    void operator()(pa_proplist *properties) const { pulse.proplist_free(properties); }
};
struct ContextDeleter
{
    void operator()(pa_context *context) const { pulse.context_unref(context); }
};
struct StreamDeleter
{
    void operator()(pa_stream *stream) const { pulse.stream_unref(stream); }
};

/// Cuts the sound into the tap's pieces. Any thread.
class TapFeed final
{
public:
    /// Waits for a call of the earlier tap to return. An empty tap takes nothing.
    void setTap(std::size_t bufferSize, AudioEngine::Tap tap)
    {
        const std::lock_guard lock(m_mutex);
        m_tap.swap(tap);
        m_piece.assign(std::max<std::size_t>(bufferSize, 1), 0);
        m_filledBytes = 0;
    }

    /// Forgets a piece that has begun.
    void clear()
    {
        const std::lock_guard lock(m_mutex);
        m_filledBytes = 0;
    }

    /// Null sound is silence.
    void add(const std::byte *sound, std::size_t bytes, std::string_view microphone)
    {
        const std::lock_guard lock(m_mutex);
        while (m_tap && bytes > 0) {
            const auto piece = std::as_writable_bytes(std::span(m_piece));
            const auto room = piece.subspan(m_filledBytes);
            const std::size_t part = std::min(bytes, room.size());
            if (sound)
                std::memcpy(room.data(), std::exchange(sound, sound + part), part);
            else
                std::memset(room.data(), 0, part);
            bytes -= part;
            m_filledBytes += part;
            if (m_filledBytes == piece.size()) {
                m_filledBytes = 0;
                m_tap({m_piece, microphone});
            }
        }
    }

private:
    std::mutex m_mutex;
    AudioEngine::Tap m_tap;
    std::vector<std::int16_t> m_piece;
    std::size_t m_filledBytes = 0;
};

/// One opening of the microphone, on a thread of its own, which ends with it.
class Capture final
{
public:
    /// A failure is told once, on a later turn of the event loop, and never after the end.
    Capture(TapFeed &feed, std::function<void()> onFailure)
        : m_feed(feed)
        , m_onFailure(std::make_shared<std::function<void()>>(std::move(onFailure)))
    {}

    ~Capture()
    {
        if (m_loop)
            pulse.threaded_mainloop_stop(m_loop.get());
        // From here on nothing else runs; what disconnecting calls back is no failure.
        m_isOver = true;
        if (m_context)
            pulse.context_disconnect(m_context.get());
    }

    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

    /// Begins to connect. Everything after that happens on the thread.
    [[nodiscard]] bool open()
    {
        m_loop.reset(pulse.threaded_mainloop_new());
        const std::unique_ptr<pa_proplist, PropertiesDeleter> properties(pulse.proplist_new());
        if (!m_loop || !properties)
            return false;
        const QByteArray id = applicationId().toUtf8(); // and its icon's name
        pulse.proplist_sets(properties.get(), PA_PROP_APPLICATION_ID, id.constData());
        pulse.proplist_sets(properties.get(), PA_PROP_APPLICATION_ICON_NAME, id.constData());
        m_context.reset(pulse.context_new_with_proplist(
            pulse.threaded_mainloop_get_api(m_loop.get()), programName, properties.get()));
        if (!m_context)
            return false;
        pulse.context_set_state_callback(
            m_context.get(), [](pa_context *, void *self) { of(self).followContext(); }, this);
        if (pulse.context_connect(m_context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
            return false;
        // Belongs to the loop and ends with it.
        m_pauseTimer = pulse.context_rttime_new(
            m_context.get(), pulse.rtclock_now() + longestPause,
            [](pa_mainloop_api *, pa_time_event *, const timeval *, void *self) {
                of(self).fail("no sound arrives");
            },
            this);
        return m_pauseTimer && pulse.threaded_mainloop_start(m_loop.get()) >= 0;
    }

private:
    [[nodiscard]] static Capture &of(void *self) { return *static_cast<Capture *>(self); }

    void followContext()
    {
        switch (pulse.context_get_state(m_context.get())) {
        case PA_CONTEXT_READY:
            openStream();
            break;
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            failWithError();
            break;
        default:
            break;
        }
    }

    void openStream()
    {
        m_stream.reset(pulse.stream_new(m_context.get(), streamName, &format, nullptr));
        if (!m_stream)
            return failWithError();
        pulse.stream_set_state_callback(
            m_stream.get(), [](pa_stream *, void *self) { of(self).followStream(); }, this);
        pulse.stream_set_moved_callback(
            m_stream.get(), [](pa_stream *, void *self) { of(self).readName(); }, this);
        pulse.stream_set_read_callback(
            m_stream.get(), [](pa_stream *, std::size_t, void *self) { of(self).readSound(); },
            this);
        constexpr auto automatic = static_cast<std::uint32_t>(-1);
        const pa_buffer_attr sizes{automatic, automatic, automatic, automatic, fragmentBytes};
        if (pulse.stream_connect_record(m_stream.get(), nullptr, &sizes, PA_STREAM_ADJUST_LATENCY) <
            0)
            failWithError();
    }

    void followStream()
    {
        switch (pulse.stream_get_state(m_stream.get())) {
        case PA_STREAM_READY:
            readName();
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            failWithError();
            break;
        default:
            break;
        }
    }

    void readName()
    {
        const char *name = pulse.stream_get_device_name(m_stream.get());
        m_microphone = name ? name : "";
    }

    void readSound()
    {
        while (pulse.stream_readable_size(m_stream.get()) > 0) {
            const void *sound = nullptr;
            std::size_t bytes = 0;
            if (pulse.stream_peek(m_stream.get(), &sound, &bytes) < 0)
                return failWithError();
            if (bytes == 0)
                return;
            m_feed.add(static_cast<const std::byte *>(sound), bytes, m_microphone);
            pulse.stream_drop(m_stream.get());
        }
        pulse.context_rttime_restart(m_context.get(), m_pauseTimer,
                                     pulse.rtclock_now() + longestPause);
    }

    void failWithError() { fail(pulse.strerror(pulse.context_errno(m_context.get()))); }

    void fail(const char *reason)
    {
        if (std::exchange(m_isOver, true))
            return;
        qCInfo(microphoneLog) << "no microphone:" << reason;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [weak = std::weak_ptr(m_onFailure)] {
                if (const auto onFailure = weak.lock())
                    (*onFailure)();
            },
            Qt::QueuedConnection);
    }

    TapFeed &m_feed;
    /// Taken and dropped on the main thread only.
    std::shared_ptr<std::function<void()>> m_onFailure;
    std::string m_microphone;
    bool m_isOver = false;
    // Later ones depend on earlier ones.
    std::unique_ptr<pa_threaded_mainloop, LoopDeleter> m_loop;
    std::unique_ptr<pa_context, ContextDeleter> m_context;
    pa_time_event *m_pauseTimer = nullptr;
    std::unique_ptr<pa_stream, StreamDeleter> m_stream;
};

class PulseAudioEngine final : public AudioEngine
{
public:
    void installTap(std::size_t bufferSize, Tap tap) override
    {
        m_feed.setTap(bufferSize, std::move(tap));
    }

    void removeTap() override { m_feed.setTap(0, {}); }

    void prepare() override
    {
        if (!m_loading.valid())
            m_loading = std::async(loadPulse); // without a thread to spare start() does it
    }

    bool start() override
    {
        if (m_capture)
            return true;
        if (!loadPulse()) {
            qCInfo(microphoneLog) << "cannot load" << libraryName;
            return false;
        }
        m_feed.clear();
        auto capture = std::make_unique<Capture>(m_feed, [this] { interrupt(); });
        if (!capture->open())
            return false;
        m_capture = std::move(capture);
        return true;
    }

    void stop() override { m_capture.reset(); }

    bool isRunning() const override { return m_capture != nullptr; }

private:
    void interrupt()
    {
        stop();
        // It may destroy this object, and with it the function.
        if (const auto report = onInterruption)
            report();
    }

    std::future<bool> m_loading;
    TapFeed m_feed;
    std::unique_ptr<Capture> m_capture;
};

} // namespace

std::unique_ptr<AudioEngine> AudioEngine::createForDesktop()
{
    return std::make_unique<PulseAudioEngine>();
}

} // namespace Platform
