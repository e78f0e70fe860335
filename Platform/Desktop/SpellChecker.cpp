#include "Platform/Desktop/SpellChecker.h"

#include "Platform/Core/IdleWorker.h"
#include "Platform/Core/Languages.h"

#include <QLocale>
#include <QLoggingCategory>

#include <enchant.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(spellingLog, "brevio.spelling", QtCriticalMsg)

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
        : m_worker(queue, [this] { m_dictionaries.reset(); })
    {}

    bool isAvailable() const override { return m_isAvailable; }

    Request check(const QStringList &words, Answer wrong) override
    {
        return ask(std::move(wrong), [words](const Dictionaries &dictionaries) {
            QStringList found;
            std::copy_if(words.begin(), words.end(), std::back_inserter(found),
                         [&](const QString &word) { return dictionaries.isWrong(word); });
            return found;
        });
    }

    Request suggest(const QString &word, Answer suggestions) override
    {
        return ask(std::move(suggestions), [word](const Dictionaries &dictionaries) {
            return dictionaries.suggestions(word);
        });
    }

    void learn(const QString &word) override
    {
        const auto job = [this, word]() -> IdleWorker::Reply {
            dictionaries().learn(word);
            return {};
        };
        (void)m_worker.run(job, IdleWorker::AtEnd::Done);
    }

    void release() override
    {
        m_isAvailable = true;
        m_worker.release();
    }

private:
    template <typename Work>
    Request ask(Answer answer, Work work)
    {
        auto request = std::make_shared<Answer>(std::move(answer));
        const auto job = [this, work, open = std::weak_ptr(request)]() -> IdleWorker::Reply {
            if (open.expired())
                return {};
            return [this, open, words = work(dictionaries()), isEmpty = dictionaries().isEmpty()] {
                if (const auto asked = open.lock()) {
                    m_isAvailable = !isEmpty;
                    (*asked)(words);
                }
            };
        };
        return m_worker.run(job) ? request : nullptr;
    }

    /// On the worker's thread.
    Dictionaries &dictionaries()
    {
        if (!m_dictionaries)
            m_dictionaries.emplace(m_languages);
        return *m_dictionaries;
    }

    const QStringList m_languages = userLanguages();
    bool m_isAvailable = true;
    std::optional<Dictionaries> m_dictionaries; ///< the worker's thread's
    IdleWorker m_worker;                        ///< last, as its jobs use the above
};

} // namespace

std::unique_ptr<SpellChecker> SpellChecker::createForDesktop(MainQueue &queue)
{
    return std::make_unique<EnchantChecker>(queue);
}

} // namespace Platform
