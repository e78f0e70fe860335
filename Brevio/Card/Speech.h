#pragma once

#include "Platform/Core/MainQueue.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Platform {
class AudioEngine;
class Permissions;
class SpeechRecognizer;
class SpeechRecognizers;
class SpeechRequest;
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

    using Report = std::function<void(const QString &transcript)>;

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
    /// has goes to onFinalResult later, once, even when the next dictation is under way by then;
    /// not when nothing was recorded or the recogniser fails. Without one that sound is dropped.
    QString stop(Report onFinalResult = {});

    /// Whether start() would have to ask the user something.
    [[nodiscard]] bool asksFirst() const;
    [[nodiscard]] AuthState authState() const { return m_authState; }
    [[nodiscard]] const QString &transcript() const { return m_transcript; }

    /// The user has answered, if there was anything to ask; the questions had the keyboard.
    std::function<void()> onAuthorizationSettled;
    /// Each with the whole transcript so far, while the dictation lasts.
    Report onPartialResult;

private:
    struct Recording;

    void requestAuthorization();
    void settleAuthorization(bool isGranted);
    void startInternal();
    void listen();
    void closeMicrophone();
    void handle(Recording &recording, const Platform::SpeechResult &result);

    Services m_services;
    AuthState m_authState = AuthState::Unknown;
    QString m_transcript;
    bool m_isWanted = false; ///< between start() and stop()
    bool m_hasAsked = false;
    Platform::MainQueue::Pending m_announced; ///< what callOff() calls off
    std::shared_ptr<Platform::SpeechRecognizer> m_recognizer;
    std::shared_ptr<Platform::SpeechRequest> m_request;
    std::unique_ptr<Recording> m_recording;
    std::vector<std::unique_ptr<Recording>> m_finishing; ///< ended, but not yet recognised
    std::shared_ptr<void> m_life; ///< what answers that may come too late hold weakly
};

} // namespace Brevio
