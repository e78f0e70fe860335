#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Desktop/SpellChecker.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>

class QMenu;
class QPainter;
class QTextBlock;
class QTextEdit;

namespace Brevio {

/// The wavy lines under the words that are spelled wrong, and the corrections in the editor's
/// menu. The lines are painted over the text and are no part of the document, so nothing here can
/// be undone, saved or mistaken for an edit. A word being written is left alone until the caret
/// leaves it. What the checker said of a word is remembered, so that only new words are asked for,
/// a moment after they were written, and answers never come too late. Owned by the view, which
/// paints it and shows its menu. Main thread only.
class SpellMarks final : public QObject
{
public:
    /// Does nothing before start(). The view lays out one paragraph a block and does not scroll.
    explicit SpellMarks(QTextEdit &view);

    /// Both must outlive the view.
    void start(Platform::SpellChecker &checker, Platform::MainQueue &queue);

    /// Over the text.
    void paint(QPainter &painter) const;
    /// The words that are marked in the text now, in order.
    [[nodiscard]] QStringList markedWords() const;

    /// Shows the editor's menu for a place in the viewport: for a marked word its corrections come
    /// first, and the menu as soon as they are known.
    void showMenu(QPoint place, QPoint globalPlace);
    /// The same for the word that the caret touches, also while it is being written.
    void showMenuAtCaret();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// A word and where it stands.
    struct Mark
    {
        int position = -1; ///< in the document; negative for none
        QString word{};
    };

    void noticeMove();
    void checkLater();
    void checkNewWords();
    void forEachWord(const std::function<void(const QTextBlock &, const Mark &)> &visit) const;
    [[nodiscard]] bool isMarked(const Mark &mark) const;
    [[nodiscard]] QList<QRectF> lines(const QTextBlock &block, const Mark &mark) const;
    void requestMenu(const Mark &mark, QPoint globalPlace);
    void popUp(const Mark &mark, const QStringList &suggestions, QPoint globalPlace);
    void correct(const Mark &mark, const QString &correction);
    void learn(const QString &word);
    void dropMenu();

    QTextEdit &m_view;
    Platform::SpellChecker *m_checker = nullptr;
    Platform::MainQueue *m_queue = nullptr;
    QSet<QString> m_right;
    QSet<QString> m_wrong;
    int m_revision = 0;   ///< of the document, to tell an edit from a move of the caret
    int m_writtenAt = -1; ///< where the word being written starts; negative for none
    Platform::SpellChecker::Request m_check;
    Platform::SpellChecker::Request m_suggest;
    Platform::MainQueue::Pending m_soon;
    Platform::MainQueue::Pending m_patience;
    QPointer<QMenu> m_menu; ///< closed with the text that it is for
};

} // namespace Brevio
