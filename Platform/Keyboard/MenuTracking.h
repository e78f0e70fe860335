#pragma once

#include "Platform/Core/NotificationCenter.h"

#include <QObject>

#include <set>

namespace Platform {

/// Tells when the program's own menus take the keyboard: posts didBeginTracking just before the
/// first QMenu is shown and didEndTracking once the last one is hidden. Create one, after the
/// application and for as long as it runs. Main thread only.
class MenuTracking final : public QObject
{
public:
    static const QString didBeginTracking;
    static const QString didEndTracking;

    /// `center` must outlive the object.
    explicit MenuTracking(NotificationCenter &center);

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    NotificationCenter &m_center;
    std::set<QObject *> m_open;
};

} // namespace Platform
