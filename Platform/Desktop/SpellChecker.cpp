#include "Platform/Desktop/SpellChecker.h"

#include "Platform/Core/Languages.h"

#include <QCoreApplication>
#include <QLocale>
#include <QLoggingCategory>

#include <enchant.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(spellingLog, "brevio.spelling", QtCriticalMsg)

constexpr auto unusedDelay = 10min;
/// Each takes about 9 MB while it is loaded.
constexpr std::size_t mostDictionaries = 3;

constexpr std::array<std::pair<QLocale::Script, QChar::Script>, 8> scripts{{
    {QLocale::LatinScript, QChar::Script_Latin},
    {QLocale::CyrillicScript, QChar::Script_Cyrillic},
    {QLocale::GreekScript, QChar::Script_Greek},
    {QLocale::HebrewScript, QChar::Script_Hebrew},
    {QLocale::ArabicScript, QChar::Script_Arabic},
    {QLocale::ArmenianScript, QChar::Script_Armenian},
    {QLocale::GeorgianScript, QChar::Script_Georgian},
    {QLocale::KoreanScript, QChar::Script_Hangul},
}};

QChar::Script scriptOf(const QString &language)
{
    const auto script = QLocale(language).script();
    const auto known = std::find_if(scripts.begin(), scripts.end(),
                                    [&](const auto &pair) { return pair.first == script; });
    return known == scripts.end() ? QChar::Script_Unknown : known->second;
}

/// The user's dictionaries. Lives and dies on the worker's thread.
class Dictionaries final
{
public:
    explicit Dictionaries(const QStringList &languages)
    {
        for (const QString &language : languages) {
            // "de" after "de_AT" names what is there already.
            const auto covers = [&](const Dictionary &one) {
                return one.language == language || one.language.startsWith(language + u'_');
            };
            if (m_dictionaries.size() == mostDictionaries ||
                std::any_of(m_dictionaries.begin(), m_dictionaries.end(), covers))
                continue;
            if (auto *found = enchant_broker_request_dict(m_broker, qUtf8Printable(language)))
                m_dictionaries.push_back({found, language, scriptOf(language)});
        }
        if (m_dictionaries.empty())
            qCInfo(spellingLog) << "no dictionary for" << languages;
    }

    ~Dictionaries()
    {
        for (const Dictionary &one : m_dictionaries)
            enchant_broker_free_dict(m_broker, one.handle);
        enchant_broker_free(m_broker);
    }

    Dictionaries(const Dictionaries &) = delete;
    Dictionaries &operator=(const Dictionaries &) = delete;

    [[nodiscard]] bool isEmpty() const { return m_dictionaries.empty(); }

    [[nodiscard]] bool isWrong(const QString &word) const
    {
        bool isJudged = false;
        for (const Dictionary &one : m_dictionaries) {
            if (!judges(one, word))
                continue;
            isJudged = true;
            if (accepts(one, word))
                return false;
        }
        return isJudged;
    }

    [[nodiscard]] QStringList suggestions(const QString &word) const
    {
        QStringList all;
        const QByteArray text = stored(word);
        for (const Dictionary &one : m_dictionaries) {
            if (all.size() >= SpellChecker::mostSuggestions)
                break;
            if (!judges(one, word))
                continue;
            std::size_t count = 0;
            char **found = enchant_dict_suggest(one.handle, text, text.size(), &count);
            for (std::size_t i = 0; i < count; ++i)
                all << QString::fromUtf8(found[i]);
            if (found)
                enchant_dict_free_string_list(one.handle, found);
        }
        all.removeDuplicates();
        return all.mid(0, SpellChecker::mostSuggestions);
    }

    void learn(const QString &word)
    {
        // On the list of a dictionary that will be asked for it.
        const auto judge = std::find_if(m_dictionaries.begin(), m_dictionaries.end(),
                                        [&](const Dictionary &one) { return judges(one, word); });
        if (judge == m_dictionaries.end())
            return;
        const QByteArray text = stored(word);
        enchant_dict_add(judge->handle, text, text.size());
    }

private:
    struct Dictionary
    {
        EnchantDict *handle;
        QString language;
        QChar::Script script;
    };

    [[nodiscard]] static bool judges(const Dictionary &dictionary, const QString &word)
    {
        return !word.isEmpty() && dictionary.script == word.front().script();
    }

    /// As dictionaries have it.
    [[nodiscard]] static QByteArray stored(const QString &word)
    {
        return word.normalized(QString::NormalizationForm_C).toUtf8();
    }

    [[nodiscard]] static bool accepts(const Dictionary &dictionary, QString word)
    {
        const auto check = [&] {
            const QByteArray text = stored(word);
            // A dictionary that fails is not the writer's mistake.
            return enchant_dict_check(dictionary.handle, text, text.size()) <= 0;
        };
        if (check())
            return true;
        // Some dictionaries know one apostrophe only.
        if (!word.contains(u'\u2019'))
            return false;
        word.replace(u'\u2019', u'\'');
        return check();
    }

    EnchantBroker *m_broker = enchant_broker_init();
    std::vector<Dictionary> m_dictionaries;
};

/// Asks on a thread of its own, which exists only while dictionaries are loaded.
class EnchantChecker final : public SpellChecker
{
public:
    explicit EnchantChecker(MainQueue &queue)
        : m_queue(queue)
    {}

    /// Dropped questions cost nothing; a word that is to be learned is learned first.
    ~EnchantChecker() override { stop(); }

    bool isAvailable() const override { return m_isAvailable; }

    Request check(const QStringList &words, Answer wrong) override
    {
        return ask(std::move(wrong), [words](Dictionaries &dictionaries) {
            QStringList found;
            std::copy_if(words.begin(), words.end(), std::back_inserter(found),
                         [&](const QString &word) { return dictionaries.isWrong(word); });
            return found;
        });
    }

    Request suggest(const QString &word, Answer suggestions) override
    {
        return ask(std::move(suggestions),
                   [word](Dictionaries &dictionaries) { return dictionaries.suggestions(word); });
    }

    void learn(const QString &word) override
    {
        send([word](Dictionaries &dictionaries) { dictionaries.learn(word); });
    }

    void release() override
    {
        m_unused.reset();
        m_isAvailable = true;
        if (!m_worker.joinable())
            return;
        // The thread ends by itself after what it was asked; it is collected when it is needed
        // again, so that nobody waits for it.
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_wake.notify_one();
    }

private:
    using Job = std::function<void(Dictionaries &)>;

    template <typename Work>
    Request ask(Answer answer, Work work)
    {
        auto request = std::make_shared<Answer>(std::move(answer));
        send([this, work, open = std::weak_ptr(request)](Dictionaries &dictionaries) {
            if (open.expired())
                return;
            QMetaObject::invokeMethod(
                &m_mainThread,
                [this, open, words = work(dictionaries), isEmpty = dictionaries.isEmpty()] {
                    if (const auto asked = open.lock()) {
                        m_isAvailable = !isEmpty;
                        (*asked)(words);
                    }
                },
                Qt::QueuedConnection);
        });
        return request;
    }

    void send(Job job)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_jobs.push_back(std::move(job));
            if (!m_isRunning) {
                if (m_worker.joinable())
                    m_worker.join(); // it has done its last already
                m_isRunning = true;
                m_worker = std::thread(&EnchantChecker::run, this, userLanguages());
            }
            m_isStopping = false;
            m_wake.notify_one();
        }
        m_unused = m_queue.schedule(unusedDelay, [this] { release(); });
    }

    void run(const QStringList &languages)
    {
        {
            Dictionaries dictionaries(languages);
            std::unique_lock lock(m_mutex);
            while (true) {
                m_wake.wait(lock, [this] { return m_isStopping || !m_jobs.empty(); });
                if (m_jobs.empty())
                    break;
                const Job job = std::move(m_jobs.front());
                m_jobs.pop_front();
                lock.unlock();
                job(dictionaries);
                lock.lock();
            }
            m_isRunning = false;
        }
        malloc_trim(0); // what was freed would stay the program's
    }

    void stop()
    {
        if (!m_worker.joinable())
            return;
        {
            const std::lock_guard lock(m_mutex);
            m_isStopping = true;
            m_wake.notify_one();
        }
        m_worker.join();
    }

    MainQueue &m_queue;
    MainQueue::Pending m_unused;
    QObject m_mainThread; ///< answers are posted to it
    bool m_isAvailable = true;

    std::mutex m_mutex; ///< guards the four below
    std::condition_variable m_wake;
    std::deque<Job> m_jobs;
    bool m_isStopping = false;
    bool m_isRunning = false;
    std::thread m_worker;
};

} // namespace

std::unique_ptr<SpellChecker> SpellChecker::createForDesktop(MainQueue &queue)
{
    return std::make_unique<EnchantChecker>(queue);
}

} // namespace Platform
