#include "Brevio/Text/EditorMenu.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMenu>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

namespace Brevio {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 400ms; ///< the longest that the menu waits for corrections

QString translated(const char *source)
{
    return QCoreApplication::translate("Spelling", source);
}

} // namespace

EditorMenu::EditorMenu(QTextEdit &view, SpellMarks &marks)
    : m_view(view)
    , m_marks(marks)
{
    view.installEventFilter(this);
    connect(view.document(), &QTextDocument::contentsChanged, this, &EditorMenu::drop);
}

void EditorMenu::start(Platform::SpellChecker &checker, Platform::MainQueue &queue)
{
    m_checker = &checker;
    m_queue = &queue;
}

bool EditorMenu::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::Hide)
        drop();
    return false;
}

void EditorMenu::showAt(QPoint place)
{
    request(m_marks.markAt(place), place);
}

void EditorMenu::showAtCaret()
{
    request(m_marks.wrongWordAtCaret(), m_view.cursorRect().bottomLeft());
}

void EditorMenu::request(const std::optional<Mark> &mark, QPoint place)
{
    if (!mark) {
        popUp(mark, {}, place);
        return;
    }
    m_suggest = m_checker->suggest(
        mark->word, [=, this](const QStringList &suggestions) { popUp(mark, suggestions, place); });
    m_patience = m_queue->schedule(patience, [=, this] { popUp(mark, {}, place); });
}

void EditorMenu::popUp(const std::optional<Mark> &mark, const QStringList &suggestions,
                       QPoint place)
{
    m_suggest.reset();
    m_patience.reset();
    if (!m_view.isVisible())
        return;
    m_menu = m_view.createStandardContextMenu();
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    if (mark)
        addCorrections(*m_menu, *mark, suggestions);
    m_menu->popup(m_view.viewport()->mapToGlobal(place));
}

void EditorMenu::addCorrections(QMenu &menu, const Mark &mark, const QStringList &suggestions)
{
    QAction *first = menu.actions().value(0);
    const auto add = [&](const QString &title) {
        auto *action = new QAction(title, &menu);
        menu.insertAction(first, action);
        return action;
    };
    for (const QString &suggestion : suggestions) {
        QString title = suggestion;
        title.replace(u'&', QStringLiteral("&&"));
        QAction *action = add(title);
        QFont font = action->font();
        font.setBold(true);
        action->setFont(font);
        connect(action, &QAction::triggered, this, [=, this] { correct(mark, suggestion); });
    }
    if (suggestions.isEmpty())
        add(translated("No Guesses Found"))->setEnabled(false);
    connect(add(translated("Learn Spelling")), &QAction::triggered, this,
            [=, this] { learn(mark.word); });
    menu.insertSeparator(first);
}

void EditorMenu::correct(const Mark &mark, const QString &correction)
{
    QTextCursor cursor = m_view.textCursor();
    const int end = mark.position + static_cast<int>(mark.word.size());
    if (end >= m_view.document()->characterCount())
        return;
    // Undo puts the caret back to where the editing began.
    cursor.beginEditBlock();
    cursor.setPosition(mark.position);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    if (cursor.selectedText() == mark.word)
        cursor.insertText(correction);
    cursor.endEditBlock();
    m_marks.finishWord();
    m_view.document()->setModified(false); // what is typed next is a step of its own
}

void EditorMenu::learn(const QString &word)
{
    m_checker->learn(word);
    m_marks.accept(word);
}

void EditorMenu::drop()
{
    m_suggest.reset();
    m_patience.reset();
    if (m_menu)
        m_menu->close();
}

} // namespace Brevio
