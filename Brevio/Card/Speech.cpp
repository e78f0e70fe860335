#include "Brevio/Card/Speech.h"

#include "Platform/Core/Languages.h"
#include "Platform/Speech/AudioEngine.h"
#include "Platform/Speech/Permissions.h"
#include "Platform/Speech/SpeechRecognizer.h"
#include "Platform/Speech/SpeechRequest.h"

#include <algorithm>
#include <utility>

namespace Brevio {

namespace {

using namespace std::chrono_literals;
using Platform::Permission;

// clang-format off
constexpr auto        questionDelay   = 300ms; // Alt+Tab and Alt+drag are shorter
constexpr auto        microphoneDelay = 150ms; // nobody speaks sooner after pressing a key
constexpr std::size_t tapBufferSize   = 1024;  // samples, 64 ms
// clang-format on

} // namespace

/// One stretch of sound on its way to becoming text.
struct Dictation::Recording
{
    Report onFinalResult;
    std::unique_ptr<Platform::SpeechTask> task; ///< its handler refers to this
};

Dictation::Dictation(const Services &services)
    : m_services(services)
    , m_life(std::make_shared<char>())
{
    m_services.audioEngine.onInterruption = [this] {
        closeMicrophone();
        if (m_request)
            m_request->endAudio(); // what was heard before is still worth recognising
    };
}

Dictation::~Dictation()
{
    m_services.audioEngine.onInterruption = {};
    closeMicrophone();
}

bool Dictation::asksFirst() const
{
    return m_authState == AuthState::Unknown &&
           (m_services.permissions.asksFor(Permission::Microphone) ||
            m_services.permissions.asksFor(Permission::SpeechRecognition));
}

void Dictation::start()
{
    m_isWanted = true;
    switch (m_authState) {
    case AuthState::Denied:
        break;
    case AuthState::Granted:
        startInternal();
        break;
    case AuthState::Unknown:
        if (asksFirst())
            m_announced =
                m_services.queue.schedule(questionDelay, [this] { requestAuthorization(); });
        else
            requestAuthorization();
        break;
    }
}

void Dictation::callOff()
{
    m_announced.reset();
}

void Dictation::requestAuthorization()
{
    if (std::exchange(m_hasAsked, true))
        return;
    // The answers come when the user gives them, who may have ended the program instead.
    const auto whileAlive = [life = std::weak_ptr(m_life)](auto job) {
        return [life, job = std::move(job)](bool isGranted) {
            if (!life.expired())
                job(isGranted);
        };
    };
    const auto settle = whileAlive([this](bool isGranted) { settleAuthorization(isGranted); });
    m_services.permissions.requestAccess(
        Permission::Microphone, whileAlive([this, settle](bool isGranted) {
            if (isGranted)
                m_services.permissions.requestAccess(Permission::SpeechRecognition, settle);
            else
                settle(false);
        }));
}

void Dictation::settleAuthorization(bool isGranted)
{
    m_authState = isGranted ? AuthState::Granted : AuthState::Denied;
    if (onAuthorizationSettled)
        onAuthorizationSettled();
    // Who has let go of the key to answer is not listened to before it is pressed again.
    if (isGranted && m_isWanted)
        startInternal();
}

void Dictation::startInternal()
{
    m_recording.reset();
    auto recognizer = m_services.recognizers.recognizer(Platform::userLanguages().constFirst());
    if (!recognizer)
        recognizer = m_services.recognizers.recognizer(QStringLiteral("en-US"));
    if (!recognizer || !recognizer->isAvailable())
        return;
    m_recognizer = std::move(recognizer);
    m_request = std::make_shared<Platform::SpeechRequest>();
    m_transcript.clear();
    m_services.audioEngine.prepare();
    if (m_services.audioEngine.isRunning())
        listen();
    else
        m_announced = m_services.queue.schedule(microphoneDelay, [this] { listen(); });
}

void Dictation::listen()
{
    m_services.audioEngine.installTap(
        tapBufferSize, [request = std::weak_ptr(m_request)](const Platform::AudioBuffer &buffer) {
            if (const auto held = request.lock())
                held->append(buffer);
        });
    if (!m_services.audioEngine.start()) {
        m_request.reset();
        return;
    }
    m_recording = std::make_unique<Recording>();
    m_recording->task = m_recognizer->recognitionTask(
        m_request, [this, recording = m_recording.get()](const Platform::SpeechResult &result) {
            handle(*recording, result);
        });
}

void Dictation::handle(Recording &recording, const Platform::SpeechResult &result)
{
    const bool isOver = result.isFinal || result.hasFailed;
    if (&recording == m_recording.get()) {
        if (!result.hasFailed) {
            m_transcript = result.transcript;
            if (onPartialResult)
                onPartialResult(m_transcript);
        }
        if (isOver) {
            closeMicrophone();
            m_recording.reset();
        }
    } else if (isOver) {
        const Report report = std::move(recording.onFinalResult);
        std::erase_if(m_finishing, [&](const auto &other) { return other.get() == &recording; });
        if (!result.hasFailed)
            report(result.transcript);
    }
}

QString Dictation::stop(Report onFinalResult)
{
    m_isWanted = false;
    m_announced.reset();
    closeMicrophone();
    if (m_request)
        m_request->endAudio();
    m_request.reset();
    if (m_recording && onFinalResult) {
        m_recording->onFinalResult = std::move(onFinalResult);
        m_finishing.push_back(std::move(m_recording));
    }
    m_recording.reset();
    return m_transcript;
}

void Dictation::closeMicrophone()
{
    m_services.audioEngine.stop();
    m_services.audioEngine.removeTap();
}

} // namespace Brevio
