#pragma once

#include "Platform/Speech/SpeechEngine.h"

#include <QStringList>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <semaphore>

/// What the test tells its engines and hears of them. Any thread; set the plain members before the
/// recognition starts.
struct FakeSpeechScript
{
    enum class Call { None, Load, Start, Feed, Finish };

    /// Where an engine waits until it is released, once.
    std::atomic<Call> blocksIn = Call::None;
    std::atomic<Call> fails = Call::None;
    std::atomic<bool> throws = false; ///< instead of saying that it has failed
    QByteArray teaches;               ///< adaptation of each finished utterance

    /// Waits until the engine is in the call that blocks; false when it does not get there.
    [[nodiscard]] bool waitForBlocked() { return m_blocked.try_acquire_for(patience); }
    void release() { m_released.release(); }

    /// The calls since the last question: "load start(adaptation) feed(count) partial finish
    /// gone", with the number of samples.
    [[nodiscard]] QString takeLog()
    {
        const std::scoped_lock lock(m_mutex);
        return std::exchange(m_log, {}).join(u' ');
    }

private:
    friend class FakeSpeechEngine;
    static constexpr std::chrono::seconds patience{10};

    void say(const QString &call)
    {
        const std::scoped_lock lock(m_mutex);
        m_log << call;
    }
    /// Whether the call succeeds.
    [[nodiscard]] bool enter(Call call, const QString &name)
    {
        say(name);
        Call expected = call;
        if (blocksIn.compare_exchange_strong(expected, Call::None)) {
            m_blocked.release();
            (void)m_released.try_acquire_for(patience);
        }
        if (fails == call && throws)
            throw std::bad_alloc();
        return fails != call;
    }

    std::mutex m_mutex;
    QStringList m_log;
    std::counting_semaphore<> m_blocked{0};
    std::counting_semaphore<> m_released{0};
};

/// Hears in each sample that is not zero one word: the words are their count.
class FakeSpeechEngine final : public Platform::SpeechEngine
{
public:
    using Call = FakeSpeechScript::Call;

    explicit FakeSpeechEngine(FakeSpeechScript &script)
        : m_script(script)
    {}
    ~FakeSpeechEngine() override
    {
        if (m_isLoaded)
            m_script.say(QStringLiteral("gone"));
    }

    bool load() override
    {
        m_isLoaded = m_script.enter(Call::Load, QStringLiteral("load"));
        return m_isLoaded;
    }
    bool start(const QByteArray &adaptation) override
    {
        m_words = 0;
        return m_script.enter(Call::Start, QLatin1String("start(" + adaptation + ')'));
    }
    bool feed(std::span<const std::int16_t> samples) override
    {
        m_words += static_cast<int>(samples.size() - std::count(samples.begin(), samples.end(), 0));
        return m_script.enter(Call::Feed, QStringLiteral("feed(%1)").arg(samples.size()));
    }
    QString partial() override
    {
        m_script.say(QStringLiteral("partial"));
        return m_words == 0 ? QString() : QString::number(m_words);
    }
    QString finish() override
    {
        (void)m_script.enter(Call::Finish, QStringLiteral("finish"));
        return m_words == 0 ? QString() : QString::number(m_words) + u'.';
    }
    QByteArray adaptation() const override { return m_script.teaches; }

private:
    FakeSpeechScript &m_script;
    bool m_isLoaded = false;
    int m_words = 0;
};
