#pragma once

#include "Brevio/Text/SpellMarks.h"

#include <QPoint>
#include <QPointer>

#include <optional>

class QMenu;

namespace Brevio {

/// The editor's context menu: Undo, Cut, Paste and the like, and before them, for a word that is
/// spelled wrong, its corrections. Such a menu waits a moment for them and shows as soon as they
/// are known. It closes with the text that it is for, and with the view. Owned by the view, which
/// says when it is asked for. Main thread only.
class EditorMenu final : public QObject
{
public:
    /// Knows no corrections before start(). The marks must outlive the menu.
    EditorMenu(QTextEdit &view, SpellMarks &marks);

    /// Both must outlive the view.
    void start(Platform::SpellChecker &checker, Platform::MainQueue &queue);

    /// For a place in the viewport; shown there, too.
    void showAt(QPoint place);
    /// For the word that the caret touches, also while it is being written.
    void showAtCaret();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Mark = SpellMarks::Mark;

    void request(const std::optional<Mark> &mark, QPoint place);
    void popUp(const std::optional<Mark> &mark, const QStringList &suggestions, QPoint place);
    void addCorrections(QMenu &menu, const Mark &mark, const QStringList &suggestions);
    void correct(const Mark &mark, const QString &correction);
    void learn(const QString &word);
    void drop();

    QTextEdit &m_view;
    SpellMarks &m_marks;
    Platform::SpellChecker *m_checker = nullptr;
    Platform::MainQueue *m_queue = nullptr;
    Platform::SpellChecker::Request m_suggest;
    Platform::MainQueue::Pending m_patience;
    QPointer<QMenu> m_menu;
};

} // namespace Brevio
