#pragma once

#include "Platform/Core/MainQueue.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace Platform {

/// Says which words are spelled wrong. Dictionaries take a tenth of a second and 10 MB to load, and
/// a suggestion takes as long again, so every answer comes later, on a turn of the event loop, and
/// nothing is loaded before the first question. A word is right when one of the user's languages
/// has it, and when none of them is written in its script. Main thread only.
class SpellChecker
{
public:
    /// A question that is still open. Dropping it drops the answer. Null when nobody can be asked,
    /// as on a machine that has no thread to give: no answer comes, and a later question may have
    /// one.
    using Request = std::shared_ptr<void>;
    using Answer = std::function<void(const QStringList &words)>;

    static constexpr int mostSuggestions = 5;

    virtual ~SpellChecker() = default;

    /// False once it is known that no dictionary for the user's languages is installed; then every
    /// word is right. Looked at afresh after each release().
    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// Answers with those of the words that are wrong.
    [[nodiscard]] virtual Request check(const QStringList &words, Answer wrong) = 0;
    /// Answers with at most `mostSuggestions` words, the likeliest first.
    [[nodiscard]] virtual Request suggest(const QString &word, Answer suggestions) = 0;
    /// Puts the word on the user's personal list, which other programs share; it is right from
    /// then on. Silent when the list cannot be written.
    virtual void learn(const QString &word) = 0;
    /// Frees the dictionaries. The next question loads them again.
    virtual void release() = 0;

    /// The dictionaries that Enchant finds for userLanguages(); released by themselves after ten
    /// minutes without a question. The queue must outlive the checker. Never null.
    [[nodiscard]] static std::unique_ptr<SpellChecker> createForDesktop(MainQueue &queue);
};

} // namespace Platform
