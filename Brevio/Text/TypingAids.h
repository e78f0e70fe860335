#pragma once

#include "Brevio/Text/Substitutions.h"

#include <functional>
#include <optional>

class QTextEdit;

namespace Brevio {

/// Makes the substitutions in the card's editor. Each is an edit and an undo step of its own, so
/// that Undo right after it brings back what was typed, and is not made a second time. One that
/// would make the text too tall is not made, and nothing shakes: the writer did not ask for it.
/// Owned by the view. Main thread only.
class TypingAids final
{
public:
    /// Does nothing before start(). `fits` says whether the view can show the whole of a text.
    TypingAids(QTextEdit &view, std::function<bool(const QString &text)> fits);

    void start(Substitutions substitutions);

    /// After a key press has changed the text. `typed` is the text of the key; only a character
    /// that now stands before the caret counts as typed.
    void keyWasTyped(const QString &typed);

private:
    QTextEdit &m_view;
    std::function<bool(const QString &text)> m_fits;
    std::optional<Substitutions> m_substitutions;
};

} // namespace Brevio
