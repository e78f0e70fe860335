#include "Platform/Core/Portal.h"
#include "Platform/Speech/Permissions.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/ManualTime.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMessageBox>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr auto microphone = Permission::Microphone;
const auto key = u"brevio.microphoneAllowed"_s;

QMessageBox *question()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *sheet = qobject_cast<QMessageBox *>(widget); sheet && sheet->isVisible())
            return sheet;
    return nullptr;
}

} // namespace

/// Answers to the microphone's portal as the test says.
class DevicePortal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Device")

public:
    enum Manner { Grants, Refuses, TakesNoCalls, Dies };
    explicit DevicePortal(Manner manner)
        : m_manner(manner)
    {
        m_bus.registerObject(Portal::path, this, QDBusConnection::ExportAllSlots);
        m_bus.registerService(Portal::service);
    }
    ~DevicePortal() override { QDBusConnection::disconnectFromBus(m_bus.name()); }

    int calls = 0;

public Q_SLOTS:
    QDBusObjectPath AccessDevice(uint process, const QStringList &devices,
                                 const QVariantMap &options, const QDBusMessage &call)
    {
        ++calls;
        const QString request = Portal::path + u"/request/"_s +
                                call.service().mid(1).replace(u'.', u'_') + u'/' +
                                options[u"handle_token"_s].toString();
        auto answer = QDBusMessage::createTargetedSignal(
            call.service(), request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        answer << uint(m_manner) << QVariantMap();
        if (m_manner == TakesNoCalls || process != uint(QCoreApplication::applicationPid()) ||
            devices != QStringList(u"microphone"_s))
            m_bus.send(call.createErrorReply(QDBusError::AccessDenied, u"not from a sandbox"_s));
        else if (m_manner == Dies)
            m_bus.unregisterService(Portal::service);
        else
            m_bus.send(answer);
        return QDBusObjectPath(request);
    }

private:
    Manner m_manner;
    QDBusConnection m_bus = QDBusConnection::connectToBus(
        qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"portal"_s);
};

class PermissionsTests final : public QObject
{
    Q_OBJECT

    QProcess m_bus;
    QTemporaryDir m_folder;
    ManualQueue m_queue;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<Permissions> m_permissions;
    QString m_answers;

    /// What a later process would have.
    void begin(const QString &sandboxMark = u"/nowhere"_s)
    {
        m_permissions.reset();
        m_defaults = std::make_unique<UserDefaults>(m_folder.filePath(u"defaults.json"_s), m_queue);
        m_permissions = Permissions::createForDesktop(
            *m_defaults, [this] { return m_window.get(); }, sandboxMark);
        m_answers.clear();
    }
    void ask(Permission permission = microphone)
    {
        const auto before = m_answers;
        m_permissions->requestAccess(permission,
                                     [this](bool yes) { m_answers += yes ? u'+' : u'-'; });
        QCOMPARE(m_answers, before);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QTRY_VERIFY(m_bus.canReadLine());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
    }
    void cleanupTestCase()
    {
        m_bus.kill();
        QVERIFY(m_bus.waitForFinished());
    }

    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_window->show();
        QFile::remove(m_folder.filePath(u"defaults.json"_s));
        begin();
    }

    void everyCallerHearsAYesAndALaterProcessRemembersIt()
    {
        ask();
        const QPointer<QMessageBox> sheet = question();
        QVERIFY(sheet && sheet->parent() == m_window.get());
        QVERIFY(sheet->text().contains(u"microphone"));
        ask();
        QCOMPARE(m_window->findChildren<QMessageBox *>().size(), 1);
        // Dismissed and summoned again, unanswered.
        m_window->hide();
        m_window->show();
        QTRY_COMPARE(question(), sheet.data());
        sheet->buttons().at(1)->click();
        ask();
        QTRY_COMPARE(m_answers, u"+++"_s);
        ask(Permission::SpeechRecognition);
        QVERIFY(question()->text().contains(u"speech recognition"));
    }

    void onlyAYesThatWasMeantIsAYes()
    {
        const std::initializer_list<std::tuple<QJsonValue, QList<Qt::Key>, QString>> cases{
            {{}, {Qt::Key_Return}, u"--"_s},
            {1, {Qt::Key_Tab, Qt::Key_Escape}, u"--"_s},
            {false, {}, u"--"_s}, // closed
            {u"true"_s, {Qt::Key_Tab, Qt::Key_Space}, u"++"_s}};
        for (const auto &[stored, keys, answers] : cases) {
            begin();
            m_defaults->set(key, stored);
            ask();
            QMessageBox *sheet = question();
            QVERIFY(sheet && QTest::qWaitForWindowActive(sheet));
            for (const auto pressed : keys)
                QTest::keyClick(sheet->focusWidget(), pressed);
            if (keys.isEmpty())
                sheet->close();
            QTRY_COMPARE(m_answers, answers.first(1));
            ask();
            QVERIFY(!question());
            QTRY_COMPARE(m_answers, answers);
            // A later process is told of no refusal.
            begin();
            ask();
            QCOMPARE(question() == nullptr, answers == u"++");
        }
    }

    void theWindowTheObjectAndTheCallerMayGo()
    {
        ask();
        m_window.reset();
        QTRY_COMPARE(m_answers, u"-"_s);
        ask();
        const QPointer<QMessageBox> free = question();
        QVERIFY(free && !free->parent());
        begin();
        QVERIFY(!free);
        m_permissions->requestAccess(microphone, [this](bool) { m_permissions.reset(); });
        question()->buttons().at(0)->click();
        QTRY_VERIFY(!m_permissions);
        QCOMPARE(m_answers, QString());
    }

    void aSandboxAsksThePortal()
    {
        for (const auto &[manner, answers] : {std::pair(DevicePortal::Grants, u"+"_s),
                                              {DevicePortal::Refuses, u"-"_s},
                                              {DevicePortal::TakesNoCalls, QString()},
                                              {DevicePortal::Dies, QString()}}) {
            const DevicePortal portal(manner);
            begin(QCoreApplication::applicationFilePath());
            m_defaults->remove(key);
            ask();
            if (answers.isEmpty()) { // the user is asked
                QTRY_VERIFY(question());
                question()->buttons().at(1)->click();
            }
            QTRY_COMPARE(m_answers, answers.isEmpty() ? u"+"_s : answers);
            QCOMPARE(portal.calls, 1);
            // What the portal was told is the portal's to remember.
            QCOMPARE(m_defaults->contains(key), answers.isEmpty());
            m_permissions.reset();
        }
    }
};

QTEST_MAIN(PermissionsTests)
#include "PermissionsTests.moc"
