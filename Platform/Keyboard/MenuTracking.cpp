#include "Platform/Keyboard/MenuTracking.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMenu>

namespace Platform {

const QString MenuTracking::didBeginTracking = QStringLiteral("Platform_menuDidBeginTracking");
const QString MenuTracking::didEndTracking = QStringLiteral("Platform_menuDidEndTracking");

MenuTracking::MenuTracking(NotificationCenter &center)
    : m_center(center)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool MenuTracking::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::Show && qobject_cast<QMenu *>(object)) {
        if (m_open.insert(object).second && m_open.size() == 1)
            m_center.post(didBeginTracking);
    } else if (event->type() == QEvent::Hide && m_open.erase(object) != 0) {
        // No cast here: a menu that is deleted while it is open is hidden when it is a menu no
        // more.
        if (m_open.empty())
            m_center.post(didEndTracking);
    }
    return false;
}

} // namespace Platform
