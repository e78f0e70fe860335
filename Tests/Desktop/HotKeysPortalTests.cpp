#include "Platform/Core/Portal.h"
#include "Platform/Keyboard/HotKeys.h"
#include "Tests/Desktop/Desktop.h"
#include "Tests/Support/FakeKeyboardLayout.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;
using Platform::HotKeys;
using Platform::Portal;

namespace {

constexpr Platform::HotKeyId id{1, 7};
constexpr std::uint32_t spaceKey = 49;
constexpr std::uint32_t letterKey = 41;
constexpr auto modifiers = Platform::Modifier::Shift | Platform::Modifier::Command;
const auto proposed = u"Press CTRL+SHIFT+space"_s;
constexpr int howLong = std::chrono::milliseconds(patience).count(); // until a portal is there

} // namespace

class HotKeysPortalTests final : public QObject
{
    Q_OBJECT

    Desktop m_desktop{{.windowManager = WindowManager::None}};
    FakeKeyboardLayout m_layout;
    std::unique_ptr<Process> m_portal;
    std::unique_ptr<HotKeys> m_hotKeys;

    void startPortal(const QStringList &arguments)
    {
        m_portal = m_desktop.start(QStringLiteral(SCRIPTS "/shortcuts-portal.py"), arguments);
    }
    void startHotKeys()
    {
        m_hotKeys = HotKeys::create(m_layout, {u"org.example.App"_s, u"go"_s, u"Go there"_s});
        QCOMPARE(m_hotKeys->registerHotKey(id, spaceKey, modifiers), HotKeys::success);
    }
    /// What the portal was asked, in order.
    QStringList calls() const
    {
        QStringList calls;
        for (const auto &line : m_portal->output().trimmed().split('\n'))
            calls << QJsonDocument::fromJson(line)[u"call"].toString();
        return calls;
    }
    QString trigger() const { return m_hotKeys->triggerDescription(id); }

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(m_desktop.problem(), QByteArray());
        qputenv("XDG_SESSION_TYPE", "wayland");
        qputenv("DBUS_SESSION_BUS_ADDRESS",
                m_desktop.environment().value(u"DBUS_SESSION_BUS_ADDRESS"_s).toLatin1());
    }
    void cleanup()
    {
        m_hotKeys.reset();
        m_portal.reset();
    }

    void bindsOnceAndFollowsThePortal()
    {
        // The portal comes late.
        startHotKeys();
        QVERIFY(!m_hotKeys->isSupported());
        startPortal({u"2"_s});
        QTRY_COMPARE_WITH_TIMEOUT(trigger(), proposed, howLong);
        QVERIFY(m_hotKeys->isSupported() && m_hotKeys->isDecidedByDesktop());
        const QStringList setUp{u"Register"_s, u"CreateSession"_s, u"ListShortcuts"_s,
                                u"BindShortcuts"_s};
        QTRY_COMPARE(calls(), setUp); // it answers first and prints then
        QVERIFY(m_portal->output().contains(R"("arguments": ["org.example.App")"));
        QVERIFY(m_portal->output().contains("Go there"));

        QString log;
        const auto events = m_hotKeys->onEvent([&](const Platform::HotKeyEvent &event) {
            log += event.kind == Platform::HotKeyEvent::Kind::Pressed ? u'+' : u'-';
            QCOMPARE(event.id, id);
        });
        const auto changes = m_hotKeys->onTriggerChange([&] { log += u'!'; });
        // Another program's session is none of ours.
        auto bus = QDBusConnection::sessionBus();
        auto stray = QDBusMessage::createSignal(
            Portal::path, Portal::interfaceNamed(u"GlobalShortcuts"_s), u"Activated"_s);
        stray << QVariant::fromValue(QDBusObjectPath(u"/other"_s)) << u"go"_s << quint64(0)
              << QVariantMap();
        QVERIFY(bus.send(stray) && bus.interface()->isServiceRegistered(Portal::service));
        m_portal->write("press\nrelease\ntrigger F9\n");
        QTRY_COMPARE(log, u"+-!"_s);
        QCOMPARE(trigger(), u"F9"_s);

        // Withdrawn, as while a menu is open, and back: the user is not asked again.
        m_hotKeys->unregisterHotKey(id);
        m_portal->write("press\nrelease\ntrigger F8\n");
        QTRY_COMPARE(log, u"+-!!"_s);
        QCOMPARE(m_hotKeys->registerHotKey(id, spaceKey, modifiers), HotKeys::success);
        m_hotKeys->configure();
        QTRY_COMPARE(calls(), setUp + QStringList{u"ConfigureShortcuts"_s});

        // One that has died serves nothing; the next one is told everything.
        m_portal.reset();
        QTRY_VERIFY(!m_hotKeys->isSupported());
        QVERIFY(trigger().isEmpty());
        startPortal({u"2"_s});
        QTRY_COMPARE_WITH_TIMEOUT(trigger(), proposed, howLong);
        QTRY_COMPARE(calls(), setUp);
    }

    void aRefusalHoldsUntilTheUserAsksForAChange()
    {
        startPortal({u"1"_s, u"refuse"_s});
        // There before us, for once.
        auto *bus = QDBusConnection::sessionBus().interface();
        QTRY_VERIFY_WITH_TIMEOUT(bus->isServiceRegistered(Portal::service), howLong);
        startHotKeys();
        QTRY_COMPARE_WITH_TIMEOUT(calls().size(), 4, howLong);
        m_hotKeys->unregisterHotKey(id);
        m_layout.characters = {{letterKey, u"ö"_s}};
        QCOMPARE(m_hotKeys->registerHotKey(id, letterKey, Platform::Modifier::Control),
                 HotKeys::success);
        // The same user in a portal that has started anew.
        startPortal({u"1"_s});
        QTRY_COMPARE_WITH_TIMEOUT(calls().size(), 3, howLong);
        QCOMPARE(calls().last(), u"ListShortcuts"_s);
        QVERIFY(m_hotKeys->canConfigure());
        m_hotKeys->configure();
        QTRY_COMPARE(trigger(), u"Press LOGO+odiaeresis"_s);
        QTRY_COMPARE(calls().sliced(3),
                     QStringList({u"Close"_s, u"CreateSession"_s, u"BindShortcuts"_s}));
    }
};

QTEST_GUILESS_MAIN(HotKeysPortalTests)
#include "HotKeysPortalTests.moc"
