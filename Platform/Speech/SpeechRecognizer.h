#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace Platform {

class MainQueue;
class SpeechRequest;
class UserDefaults;

/// One report of a running recognition.
struct SpeechResult
{
    QString transcript;     ///< everything heard so far, not only what is new
    bool isFinal = false;   ///< no report follows
    bool hasFailed = false; ///< final too; the transcript is empty
};

/// One running recognition. Dropping it cancels it.
class SpeechTask
{
public:
    virtual ~SpeechTask() = default;
    /// Ends it at once; no report follows, not even one that was on its way.
    virtual void cancel() = 0;
};

/// Turns sound into text on this machine. Main thread only: models load and sound is decoded on a
/// thread of its own.
class SpeechRecognizer
{
public:
    /// Called on turns of the event loop, with the transcript whenever it has changed and once more
    /// with the final one after the end of the sound.
    using Handler = std::function<void(const SpeechResult &)>;

    virtual ~SpeechRecognizer() = default;

    /// False once the model has turned out to be unusable.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// Starts recognising the request's sound, loading the model first if need be. An earlier task
    /// should be cancelled; if not, this one waits for its end.
    [[nodiscard]] virtual std::unique_ptr<SpeechTask>
    recognitionTask(std::shared_ptr<SpeechRequest> request, Handler handler) = 0;
};

/// Finds recognisers and keeps the one in use, whose model stays loaded until ten minutes have
/// passed without a task. Main thread only.
class SpeechRecognizers
{
public:
    virtual ~SpeechRecognizers() = default;

    /// One for the language, such as "de_CH" or "en-US"; null when no engine here knows it. Looks
    /// at the disk and loads nothing.
    [[nodiscard]] virtual std::shared_ptr<SpeechRecognizer> recognizer(const QString &locale) = 0;

    /// The engines of this machine, the best first. What an engine learns about a microphone is
    /// kept in the defaults. Both must outlive the object. Never null.
    [[nodiscard]] static std::unique_ptr<SpeechRecognizers> createForDesktop(UserDefaults &defaults,
                                                                             MainQueue &queue);
};

} // namespace Platform
