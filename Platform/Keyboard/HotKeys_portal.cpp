#include "Platform/Keyboard/HotKeysBackends.h"

#include "Platform/Core/Portal.h"
#include "Platform/Core/UserTime.h"
#include "Platform/Keyboard/KeyboardLayout.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QLoggingCategory>

#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <set>

namespace Platform {

namespace {

/// A shortcut's name and what the portal says of it, or is to know of it.
using PortalShortcut = std::pair<QString, QVariantMap>;
using PortalShortcuts = QList<PortalShortcut>;

Q_LOGGING_CATEGORY(portalKeysLog, "brevio.hotkeys.portal", QtWarningMsg)

const QString shortcutsInterface = Portal::interfaceNamed(QStringLiteral("GlobalShortcuts"));
const QString sessionInterface = Portal::interfaceNamed(QStringLiteral("Session"));
/// The first that lets the user change the keys of a session.
constexpr uint configurableVersion = 2;
/// A press is this much older, at the most, than our clock when we hear of it.
constexpr std::chrono::milliseconds pressAge(10);

constexpr std::array<std::pair<ModifierFlags, const char *>, 4> modifierNames{{
    {Modifier::Command, "CTRL"},
    {Modifier::Option, "ALT"},
    {Modifier::Shift, "SHIFT"},
    {Modifier::Control, "LOGO"},
}};

/// What a US keyboard has on the key, for the keys that have no character of their own.
xkb_keysym_t usSymbol(std::uint32_t evdevCode)
{
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
    const xkb_rule_names us{nullptr, nullptr, "us", nullptr, nullptr};
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        context ? xkb_keymap_new_from_names(context.get(), &us, XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr,
        xkb_keymap_unref);
    const xkb_keysym_t *symbols = nullptr;
    const bool hasOne =
        keymap && xkb_keymap_key_get_syms_by_level(keymap.get(), evdevCode + xKeycodeOffset, 0, 0,
                                                   &symbols) == 1;
    return hasOne ? *symbols : xkb_keysym_t(XKB_KEY_NoSymbol);
}

/// The combination as portals write it, "CTRL+SHIFT+space"; empty when it cannot be written.
QString triggerOf(std::uint32_t keyCode, ModifierFlags modifiers, const KeyboardLayout &layout)
{
    const auto evdev = evdevOfKeyCode(static_cast<int>(keyCode));
    if (!evdev)
        return {};
    const auto characters = layout.character(static_cast<int>(keyCode)).toUcs4();
    const auto symbol =
        characters.isEmpty() ? usSymbol(*evdev) : xkb_utf32_to_keysym(characters.first());
    std::array<char, 64> name{};
    if (symbol == XKB_KEY_NoSymbol || xkb_keysym_get_name(symbol, name.data(), name.size()) <= 0)
        return {};
    QString trigger;
    for (const auto &[flag, text] : modifierNames) {
        if ((modifiers & flag) != 0)
            trigger += QLatin1String(text) + u'+';
    }
    return trigger + QLatin1String(name.data());
}

/// One shortcut of the desktop's for whatever is registered. It is bound when the first id is
/// registered and stays bound while none is, as when a menu of ours is open: each binding may be a
/// question to the user. A refusal holds for the run, until the user asks for a change.
class PortalHotKeys final : public QObject, public HotKeys
{
    Q_OBJECT

public:
    PortalHotKeys(KeyboardLayout &layout, const HotKeyLabel &label)
        : m_layout(layout)
        , m_label(label)
        , m_portal(label.applicationId)
    {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<PortalShortcuts>();
        for (const auto &[signal, slot] :
             {std::pair{"Activated", SLOT(pressed(QDBusMessage))},
              std::pair{"Deactivated", SLOT(released(QDBusMessage))},
              std::pair{"ShortcutsChanged", SLOT(shortcutsChanged(QDBusMessage))}})
            // Naming the service here would make Qt wait for the bus to say who owns it.
            m_portal.bus().connect(QString(), Portal::path, shortcutsInterface,
                                   QLatin1String(signal), this, slot);
        connect(&m_portal, &Portal::replaced, this, [this](bool isRunning) {
            m_version.reset();
            forgetSession();
            if (isRunning)
                askPortal();
        });
        askPortal();
    }

    [[nodiscard]] bool isConnected() const { return m_portal.isConnected(); }

    bool isSupported() const override { return m_version.has_value(); }
    bool isDecidedByDesktop() const override { return isSupported(); }
    bool canConfigure() const override { return isSupported() && !m_proposal.isEmpty(); }
    QString triggerDescription(HotKeyId) const override { return m_trigger; }

    Status registerHotKey(HotKeyId id, std::uint32_t keyCode, ModifierFlags modifiers) override
    {
        const QString trigger = triggerOf(keyCode, modifiers, m_layout);
        if (trigger.isEmpty())
            return noSuchKey;
        m_ids.insert(id);
        m_proposal = trigger;
        startSession(Binding::IfMissing);
        return success;
    }

    void unregisterHotKey(HotKeyId id) override
    {
        m_ids.erase(id);
        m_held.erase(id);
    }

    void configure() override
    {
        if (!canConfigure())
            return;
        if (m_isBound && *m_version >= configurableVersion) {
            m_portal.tell(
                Portal::path, shortcutsInterface, QStringLiteral("ConfigureShortcuts"),
                {QVariant::fromValue(QDBusObjectPath(m_session)), QString(), QVariantMap()});
            return;
        }
        // A session binds but once.
        if (!m_session.isEmpty())
            m_portal.tell(m_session, sessionInterface, QStringLiteral("Close"), {});
        forgetSession();
        m_isRefused = false;
        startSession(Binding::Always);
    }

private Q_SLOTS:
    void pressed(const QDBusMessage &message)
    {
        if (!isOurs(message))
            return;
        release();
        // The portal's time has no known beginning, but X servers count as this clock does; a time
        // in their future would be refused.
        const auto now = std::chrono::steady_clock::now().time_since_epoch() - pressAge;
        UserTime::note(static_cast<std::uint32_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(now).count()));
        m_held = m_ids;
        for (const auto id : std::set(m_held))
            announce({id, HotKeyEvent::Kind::Pressed});
    }

    void released(const QDBusMessage &message)
    {
        if (isOurs(message))
            release();
    }

    void shortcutsChanged(const QDBusMessage &message)
    {
        const auto arguments = message.arguments();
        if (arguments.size() == 2 && isOurSession(arguments[0]))
            adopt(arguments[1]);
    }

    void sessionClosed(const QDBusMessage &message)
    {
        if (message.path() == m_session)
            forgetSession();
    }

private:
    enum class Binding { IfMissing, Always };

    [[nodiscard]] bool isOurSession(const QVariant &session) const
    {
        return !m_session.isEmpty() && session.value<QDBusObjectPath>().path() == m_session;
    }

    [[nodiscard]] bool isOurs(const QDBusMessage &message) const
    {
        const auto arguments = message.arguments();
        return arguments.size() >= 2 && isOurSession(arguments[0]) && arguments[1] == m_label.name;
    }

    void askPortal()
    {
        m_portal.askVersion(shortcutsInterface, [this](std::optional<uint> version) {
            qCInfo(portalKeysLog) << "version of the portal's shortcuts:" << version.value_or(0);
            m_version = version;
            announceTriggerChange();
            startSession(Binding::IfMissing);
        });
    }

    void startSession(Binding binding)
    {
        if (!isSupported() || m_proposal.isEmpty() || m_isStarted)
            return;
        m_isStarted = true;
        m_portal.request(shortcutsInterface, QStringLiteral("CreateSession"), {},
                         {{QStringLiteral("session_handle_token"), m_portal.newToken()}},
                         [this, binding](Portal::Outcome outcome, const QVariantMap &results) {
                             m_session = results.value(QStringLiteral("session_handle")).toString();
                             if (outcome != Portal::Outcome::Granted || m_session.isEmpty())
                                 return;
                             m_portal.bus().connect(QString(), m_session, sessionInterface,
                                                    QStringLiteral("Closed"), this,
                                                    SLOT(sessionClosed(QDBusMessage)));
                             binding == Binding::Always ? bind() : listShortcuts();
                         });
    }

    void listShortcuts()
    {
        m_portal.request(shortcutsInterface, QStringLiteral("ListShortcuts"),
                         {QVariant::fromValue(QDBusObjectPath(m_session))}, {},
                         [this](Portal::Outcome, const QVariantMap &results) {
                             adopt(results.value(QStringLiteral("shortcuts")));
                             if (!m_isBound && !m_isRefused)
                                 bind();
                         });
    }

    void bind()
    {
        const PortalShortcuts wanted{{m_label.name,
                                      {{QStringLiteral("description"), m_label.description},
                                       {QStringLiteral("preferred_trigger"), m_proposal}}}};
        m_portal.request(shortcutsInterface, QStringLiteral("BindShortcuts"),
                         {QVariant::fromValue(QDBusObjectPath(m_session)),
                          QVariant::fromValue(wanted), QString()},
                         {}, [this](Portal::Outcome outcome, const QVariantMap &results) {
                             m_isRefused = outcome != Portal::Outcome::Granted;
                             adopt(results.value(QStringLiteral("shortcuts")));
                             if (m_isRefused)
                                 qCInfo(portalKeysLog) << "the shortcut was refused";
                         });
    }

    void adopt(const QVariant &shortcuts)
    {
        const auto all = qdbus_cast<PortalShortcuts>(shortcuts);
        const auto found = std::find_if(all.begin(), all.end(), [this](const auto &each) {
            return each.first == m_label.name;
        });
        m_isBound = found != all.end();
        m_trigger = m_isBound
                        ? found->second.value(QStringLiteral("trigger_description")).toString()
                        : QString();
        announceTriggerChange();
    }

    void forgetSession()
    {
        m_portal.dropRequests();
        release();
        m_session.clear();
        m_isStarted = false;
        adopt({});
    }

    void release()
    {
        for (const auto id : std::exchange(m_held, {}))
            announce({id, HotKeyEvent::Kind::Released});
    }

    KeyboardLayout &m_layout;
    HotKeyLabel m_label;
    Portal m_portal;
    std::optional<uint> m_version; ///< Empty without a portal, or while it has not answered.
    std::set<HotKeyId> m_ids;
    std::set<HotKeyId> m_held; ///< Whose release is still owed.
    QString m_proposal;        ///< Of the latest registration.
    QString m_session;         ///< Its object path; empty while there is none.
    bool m_isStarted = false;  ///< A session was asked for.
    bool m_isBound = false;
    bool m_isRefused = false;
    QString m_trigger;
};

} // namespace

std::unique_ptr<HotKeys> createPortalHotKeys(KeyboardLayout &layout, const HotKeyLabel &label)
{
    auto portal = std::make_unique<PortalHotKeys>(layout, label);
    return portal->isConnected() ? std::move(portal) : nullptr;
}

} // namespace Platform

#include "HotKeys_portal.moc"
