#pragma once

#include "Platform/Desktop/SpellChecker.h"

#include <deque>

/// A dictionary that the test writes. Answers when the test says so.
class FakeSpellChecker final : public Platform::SpellChecker
{
public:
    bool isAvailable() const override { return true; }
    Request check(const QStringList &words, Answer wrong) override
    {
        asked << words;
        QStringList found;
        for (const QString &word : words)
            if (misspelled.contains(word))
                found << word;
        return keep(std::move(wrong), found);
    }
    Request suggest(const QString &, Answer answer) override
    {
        return keep(std::move(answer), suggestions);
    }
    void learn(const QString &word) override { learned << word; }
    void release() override { ++releases; }

    /// Gives the open answers.
    void answer()
    {
        for (const auto open = std::exchange(m_open, {}); const auto &[answer, words] : open)
            if (const auto asker = answer.lock())
                (*asker)(words);
    }

    QStringList misspelled;
    QStringList suggestions;
    QStringList asked; ///< every word ever asked for
    QStringList learned;
    int releases = 0;

private:
    Request keep(Answer answer, const QStringList &words)
    {
        auto request = std::make_shared<Answer>(std::move(answer));
        m_open.push_back({request, words});
        return request;
    }

    std::deque<std::pair<std::weak_ptr<Answer>, QStringList>> m_open;
};
