#pragma once

#include "Platform/Core/MainQueue.h"

#include <QString>

#include <functional>
#include <memory>

namespace Platform {
class AudioEngine;
class Permissions;
class SpeechRecognizer;
class SpeechRecognizers;
class SpeechRequest;
class SpeechTask;
struct SpeechResult;
} // namespace Platform

namespace Brevio {

/// What the user has answered in this process.
enum class AuthState { Unknown, Granted, Denied };

/// Turns what is said while a key is held into text. Knows nothing of cards. Asks for the
/// microphone and for speech recognition before it first listens; what it is refused, or what is
/// missing on this machine, it does without silently. Main thread only.
class Dictation final
{
public:
    /// Each must outlive the dictation.
    struct Services
    {
        Platform::AudioEngine &audioEngine;
        Platform::SpeechRecognizers &recognizers;
        Platform::Permissions &permissions;
        Platform::MainQueue &queue;
    };

    explicit Dictation(const Services &services);
    ~Dictation();
    Dictation(const Dictation &) = delete;
    Dictation &operator=(const Dictation &) = delete;

    /// Begins a dictation; asks first when the user never was. Returns at once. One that is under
    /// way is dropped for the new one. The microphone opens a moment later, so that a passing tap
    /// of the key does not flicker the desktop's indicator; the question comes later still.
    void start();
    /// Calls off what start() has only announced, the question or the opening of the microphone:
    /// the key was part of a chord. A dictation that listens goes on.
    void callOff();
    /// Ends the dictation and closes the microphone; the latest transcript, which is the previous
    /// dictation's when this one could not begin. What the recogniser makes of the sound it still
    /// has comes through onFinalResult, unless another dictation begins first.
    QString stop();
    /// After stop(): nothing comes any more.
    void dropFinalResult();

    /// Whether start() would have to ask the user something.
    [[nodiscard]] bool asksFirst() const;
    [[nodiscard]] AuthState authState() const { return m_authState; }
    [[nodiscard]] const QString &transcript() const { return m_transcript; }

    /// The user has answered, if there was anything to ask; the questions had the keyboard.
    std::function<void()> onAuthorizationSettled;
    /// Each with the whole transcript so far, while the dictation lasts.
    std::function<void(const QString &transcript)> onPartialResult;
    /// The whole transcript once more, complete; once after stop(), not after a failure.
    std::function<void(const QString &transcript)> onFinalResult;

private:
    void requestAuthorization();
    void settleAuthorization(bool isGranted);
    void startInternal();
    void listen();
    void closeMicrophone();
    void handle(const Platform::SpeechResult &result);

    Services m_services;
    AuthState m_authState = AuthState::Unknown;
    QString m_transcript;
    bool m_isWanted = false; ///< between start() and stop()
    bool m_isAsking = false;
    Platform::MainQueue::Pending m_announced; ///< what callOff() calls off
    std::shared_ptr<Platform::SpeechRecognizer> m_recognizer;
    std::shared_ptr<Platform::SpeechRequest> m_request;
    std::unique_ptr<Platform::SpeechTask> m_task;
    std::unique_ptr<Platform::SpeechTask> m_finishingTask; ///< of the dictation before
    std::shared_ptr<void> m_life; ///< what answers that may come too late hold weakly
};

} // namespace Brevio
