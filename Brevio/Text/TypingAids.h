#pragma once

#include "Brevio/Text/Substitutions.h"

#include <optional>

namespace Brevio {

class BoundedTextView;

/// Makes the substitutions in the card's editor. Each is an edit and an undo step of its own, so
/// that Undo right after it brings back what was typed, and is not made a second time. One that
/// would make the text too tall is not made, and nothing shakes: the writer did not ask for it.
/// Owned by the view. Main thread only.
class TypingAids final
{
public:
    /// Does nothing before start().
    explicit TypingAids(BoundedTextView &view);

    void start(Substitutions substitutions);

    /// After a key press has changed the text. `typed` is the text of the key; only a character
    /// that now stands before the caret counts as typed.
    void keyWasTyped(const QString &typed);

private:
    BoundedTextView &m_view;
    std::optional<Substitutions> m_substitutions;
};

} // namespace Brevio
