#pragma once

#include "Platform/Speech/AudioEngine.h"
#include "Platform/Speech/Permissions.h"
#include "Platform/Speech/SpeechRecognizer.h"
#include "Platform/Speech/SpeechRequest.h"

#include <QStringList>

#include <map>
#include <utility>
#include <vector>

/// A microphone that the test speaks into.
class FakeAudioEngine final : public Platform::AudioEngine
{
public:
    void installTap(std::size_t, Tap tap) override { m_tap = std::move(tap); }
    void removeTap() override { m_tap = nullptr; }
    bool start() override
    {
        ++starts;
        m_isRunning = canStart;
        return m_isRunning;
    }
    void stop() override { m_isRunning = false; }
    bool isRunning() const override { return m_isRunning; }

    // The inspection side.

    [[nodiscard]] bool hasTap() const { return bool(m_tap); }
    /// Hands samples to the tap, as a microphone does while it is open.
    void feed(const std::vector<std::int16_t> &samples)
    {
        if (const Tap tap = m_tap; tap && m_isRunning)
            tap({samples, "fake"});
    }
    /// Closes by itself.
    void interrupt()
    {
        const auto report = onInterruption; // it may replace itself
        if (std::exchange(m_isRunning, false) && report)
            report();
    }

    bool canStart = true;
    int starts = 0; ///< how often it was opened, or was to be

private:
    Tap m_tap;
    bool m_isRunning = false;
};

/// Hands out tasks whose reports the test gives; each report is made at once.
class FakeSpeechRecognizer final : public Platform::SpeechRecognizer
{
public:
    struct Recognition
    {
        std::shared_ptr<Platform::SpeechRequest> request;
        Handler handler; ///< none once cancelled or final
    };

    bool isAvailable() const override { return available; }
    std::unique_ptr<Platform::SpeechTask>
    recognitionTask(std::shared_ptr<Platform::SpeechRequest> request, Handler handler) override
    {
        tasks.push_back(
            std::make_shared<Recognition>(Recognition{std::move(request), std::move(handler)}));
        return std::make_unique<Task>(tasks.back());
    }

    // The inspection side. The latest task reports, or one before it; nothing when it is over.

    void report(const QString &transcript) { send({transcript}); }
    void finish(const QString &transcript, int before = 0) { send({transcript, true}, before); }
    void fail() { send({{}, true, true}); }

    bool available = true;
    std::vector<std::shared_ptr<Recognition>> tasks; ///< all that were ever handed out

private:
    class Task final : public Platform::SpeechTask
    {
    public:
        explicit Task(std::shared_ptr<Recognition> recognition)
            : m_recognition(std::move(recognition))
        {}
        ~Task() override { m_recognition->handler = nullptr; }
        void cancel() override { m_recognition->handler = nullptr; }

    private:
        std::shared_ptr<Recognition> m_recognition;
    };

    void send(const Platform::SpeechResult &result, int before = 0)
    {
        const auto task = *(tasks.rbegin() + before);
        const Handler handler = task->handler; // it may cancel the task
        if (result.isFinal)
            task->handler = nullptr;
        if (handler)
            handler(result);
    }
};

/// A machine that has the languages the test gives it, and one recogniser for all of them.
class FakeSpeechRecognizers final : public Platform::SpeechRecognizers
{
public:
    std::shared_ptr<Platform::SpeechRecognizer> recognizer(const QString &locale) override
    {
        asked << locale;
        return supported.contains(locale) ? shared : nullptr;
    }

    QStringList supported{QStringLiteral("en-US")}; ///< exactly these
    QStringList asked;                              ///< every locale, in order
    std::shared_ptr<FakeSpeechRecognizer> shared = std::make_shared<FakeSpeechRecognizer>();
};

/// A user who answers when the test says so.
class FakePermissions final : public Platform::Permissions
{
public:
    bool asksFor(Platform::Permission) const override { return !isRemembered; }
    void requestAccess(Platform::Permission permission,
                       std::function<void(bool granted)> answered) override
    {
        asked.push_back(permission);
        m_open.emplace(permission, std::move(answered));
    }

    /// Answers what is open, the microphone's question before the one that follows it.
    void answer(bool microphone, bool speech)
    {
        while (auto question = m_open.extract(Platform::Permission::Microphone))
            question.mapped()(microphone);
        while (auto question = m_open.extract(Platform::Permission::SpeechRecognition))
            question.mapped()(speech);
    }

    bool isRemembered = false;               ///< the user has answered long ago
    std::vector<Platform::Permission> asked; ///< in order

private:
    std::multimap<Platform::Permission, std::function<void(bool)>> m_open;
};
