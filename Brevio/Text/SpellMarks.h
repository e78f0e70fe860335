#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Desktop/SpellChecker.h"

#include <QList>
#include <QObject>
#include <QSet>

#include <functional>
#include <optional>

class QPainter;
class QTextBlock;
class QTextEdit;

namespace Brevio {

/// The wavy lines under the words that are spelled wrong. They are painted over the text and are no
/// part of the document, so nothing here can be undone, saved or mistaken for an edit. A word being
/// written is left alone until the caret leaves it. What the checker said of a word is remembered,
/// so that only new words are asked for, a moment after they were written, and answers never come
/// too late. Owned by the view, which paints it. Main thread only.
class SpellMarks final : public QObject
{
public:
    /// A word and where it stands in the document.
    struct Mark
    {
        int position;
        QString word;
    };

    /// Does nothing before start(). The view lays out one paragraph a block and does not scroll.
    explicit SpellMarks(QTextEdit &view);

    /// Both must outlive the view.
    void start(Platform::SpellChecker &checker, Platform::MainQueue &queue);

    /// Over the text.
    void paint(QPainter &painter) const;
    /// The words that are marked in the text now, in order.
    [[nodiscard]] QStringList markedWords() const;
    /// The marked word at a place in the viewport.
    [[nodiscard]] std::optional<Mark> markAt(QPoint place) const;
    /// The wrong word that the caret touches, marked or still being written.
    [[nodiscard]] std::optional<Mark> wrongWordAtCaret() const;

    /// The word that was edited last is written, wherever the caret stands.
    void finishWord();
    /// The word is right from now on.
    void accept(const QString &word);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void noticeMove();
    void checkLater();
    void checkNewWords();
    void forEachWord(const std::function<void(const QTextBlock &, const Mark &)> &visit) const;
    [[nodiscard]] bool isMarked(const Mark &mark) const;
    [[nodiscard]] QList<QRectF> lines(const QTextBlock &block, const Mark &mark) const;

    QTextEdit &m_view;
    Platform::SpellChecker *m_checker = nullptr;
    Platform::MainQueue *m_queue = nullptr;
    QSet<QString> m_right;
    QSet<QString> m_wrong;
    int m_revision = 0;   ///< of the document, to tell an edit from a move of the caret
    int m_writtenAt = -1; ///< where the word being written starts; negative for none
    Platform::SpellChecker::Request m_check;
    Platform::MainQueue::Pending m_soon;
};

} // namespace Brevio
