#pragma once

#include "Brevio/Text/EditorMenu.h"
#include "Brevio/Text/SpellMarks.h"
#include "Brevio/Text/TextMarks.h"
#include "Brevio/Text/TypingAids.h"
#include "Platform/Screen/Appearance.h"

#include <QTextEdit>

#include <functional>
#include <limits>

namespace Brevio {

/// The card's editor: plain text that never grows taller than the part of the card that can show
/// it. An edit that would is undone on the spot, as if it had never been made. It never scrolls.
/// Text that an input method is still composing is judged when it is committed. Main thread only.
class BoundedTextView final : public QTextEdit
{
    Q_OBJECT

public:
    /// The appearance chooses the microphone cursor and must outlive the view.
    explicit BoundedTextView(Platform::Appearance &appearance, QWidget *parent = nullptr);

    /// What is written, lines separated by single line feeds, every other character as it was
    /// typed; a text that was set and not edited since is given back to the letter. Text that is
    /// still being composed is not part of it.
    [[nodiscard]] QString text() const;
    /// Replaces the text, whatever its height, and puts the insertion point at its end, where a
    /// note is continued. Nothing can be undone afterwards: the text before may be another note's.
    /// A refused edit then returns to this text. No callback is called.
    void setText(const QString &text);
    /// The same for another version of the text shown: the insertion point and the selection stay
    /// with the characters around them, and what an input method is composing goes on.
    void updateText(const QString &text);

    /// The height of the text if this view showed it, in points.
    [[nodiscard]] double usedHeight(const QString &text) const;
    /// Whether the card can show all of the text, a tolerance of one point included.
    [[nodiscard]] bool fits(const QString &text) const;

    /// While true the pointer over the view is a microphone.
    [[nodiscard]] bool isDictating() const { return m_isDictating; }
    void setDictating(bool dictating);

    /// Marks misspelled words and offers to correct them. Both must outlive the view.
    void startSpelling(Platform::SpellChecker &checker, Platform::MainQueue &queue);
    [[nodiscard]] const SpellMarks &spelling() const { return m_spelling; }
    /// What typing substitutes, for whoever says by what. Off at first. Nothing is substituted in
    /// what is pasted, dropped, composed, or set.
    [[nodiscard]] TypingAids &typingAids() { return m_typingAids; }

    /// The text and the caret take the ink.
    void setColors(const QColor &ink, const QColor &selection);
    /// Also makes the lines as tall as the font asks.
    void setTextFont(const QFont &font);

    /// In points. Without a limit at first.
    double maxVisibleHeight = std::numeric_limits<double>::max();
    /// After every edit by the user, before its height is judged, and once more when the edit was
    /// refused and the text is again what it was.
    std::function<void()> textDidChange;
    /// After a refused edit, when everything is as it was before it.
    std::function<void()> onRejectedEdit;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void insertFromMimeData(const QMimeData *source) override;
    QMimeData *createMimeDataFromSelection() const override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QString shownText() const;
    void adopt(const QString &text);
    void recordValidState();
    void editDuring(const std::function<void()> &handleEvent);
    void noticeEdit();
    void judge();
    void rollBack();
    void rememberSelection();
    void clipToWholeLines(double height);
    [[nodiscard]] double bound() const;
    void updateCursor();

    Platform::Appearance &m_appearance;
    TextMarks m_marks{*this};
    SpellMarks m_spelling{*this};
    EditorMenu m_menu{*this, m_spelling};
    TypingAids m_typingAids{*this, [this](const QString &text) { return fits(text); }};
    bool m_isComposing = false;
    bool m_isDictating = false;

    QString m_given;      ///< what setText() was called with
    QString m_givenShown; ///< and what it looked like then
    QString m_seenText;   ///< what textDidChange was last called for
    QString m_validText;  ///< what a refused edit returns to, with the three below
    int m_validAnchor = 0;
    int m_validPosition = 0;
    int m_validUndoSteps = 0;
    int m_validRevision = 0; ///< the document's, so that selections made since are the text's own
    int m_eventDepth = 0;    ///< events being handled by the base class, which judge afterwards
    bool m_isReplacing = false;
};

} // namespace Brevio
