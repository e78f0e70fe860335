#include "KeyboardShortcuts/NSMenuItem++.h"

#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Core/MainQueue.h"
#include "Platform/Core/NotificationCenter.h"

#include <QAction>
#include <QPointer>

namespace KeyboardShortcuts {

namespace {

/// One item's following of one name. The item owns it.
class Binding final : public QObject
{
public:
    Binding(QAction &item, Name name)
        : QObject(&item)
        , m_item(item)
        , m_name(std::move(name))
    {
        m_observation = environment().notificationCenter.addObserver(
            shortcutByNameDidChange, [this](const QVariantMap &userInfo) {
                if (userInfo.value(QStringLiteral("name")).value<Name>() != m_name)
                    return;
                environment().mainQueue.post([self = QPointer<Binding>(this)] {
                    if (self)
                        self->apply();
                });
            });
        apply();
    }

    static void end(const QAction &item)
    {
        for (auto *child : item.children()) {
            if (auto *binding = dynamic_cast<Binding *>(child))
                delete binding;
        }
    }

private:
    void apply() { setShortcut(m_item, getShortcut(m_name)); }

    QAction &m_item;
    Name m_name;
    Platform::Subscription m_observation;
};

} // namespace

void setShortcut(QAction &item, const std::optional<Shortcut> &shortcut)
{
    item.setShortcut(shortcut ? shortcut->keySequence() : QKeySequence());
}

void setShortcutFor(QAction &item, const std::optional<Name> &name)
{
    Binding::end(item);
    if (name)
        new Binding(item, *name);
    else
        setShortcut(item, std::nullopt);
}

} // namespace KeyboardShortcuts
