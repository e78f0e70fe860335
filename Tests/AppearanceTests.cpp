#include "Platform/Screen/Appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using Platform::Appearance;
using Platform::ColorScheme;

/// The part of the desktop portal that tells settings.
class FakePortal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    uint colorScheme = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key)
    {
        if (group != QLatin1String("org.freedesktop.appearance") ||
            key != QLatin1String("color-scheme"))
            return QDBusVariant(QString());
        return QDBusVariant(QVariant::fromValue(QDBusVariant(colorScheme)));
    }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};

class AppearanceTests final : public QObject
{
    Q_OBJECT

private:
    static void setPaletteDark(bool dark)
    {
        QGuiApplication::setPalette(QPalette(dark ? Qt::black : Qt::white));
    }

    QProcess m_bus;
    FakePortal m_portal;

private Q_SLOTS:
    void initTestCase()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    }

    void withoutABusOrAPortalThePaletteDecides()
    {
        for (const bool hasBus : {false, true}) {
            if (hasBus) {
                m_bus.start(QStringLiteral("dbus-daemon"),
                            {QStringLiteral("--session"), QStringLiteral("--nofork"),
                             QStringLiteral("--print-address")});
                QVERIFY(m_bus.waitForReadyRead());
                qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
            }
            setPaletteDark(false);
            const auto appearance = Appearance::createForDesktop();
            QSignalSpy changes(appearance.get(), &Appearance::changed);
            QCOMPARE(appearance->scheme(), ColorScheme::Light);
            setPaletteDark(true);
            QTRY_COMPARE(changes.count(), 1);
            QCOMPARE(appearance->scheme(), ColorScheme::Dark);
        }
        setPaletteDark(false);
    }

    void thePortalOverrulesThePalette()
    {
        QDBusConnection desktop = QDBusConnection::connectToBus(
            qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("portal"));
        QVERIFY(desktop.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &m_portal,
                                       QDBusConnection::ExportAllContents));
        QVERIFY(desktop.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
        m_portal.colorScheme = 1;

        const auto appearance = Appearance::createForDesktop();
        QSignalSpy changes(appearance.get(), &Appearance::changed);
        // The answer is still on its way, and nobody waited for it.
        QCOMPARE(appearance->scheme(), ColorScheme::Light);
        QTRY_COMPARE(appearance->scheme(), ColorScheme::Dark);
        QCOMPARE(changes.count(), 1);

        const auto report = [this](const char *key, uint value) {
            Q_EMIT m_portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"),
                                           QString::fromLatin1(key), QDBusVariant(value));
        };
        report("contrast", 2);
        report("color-scheme", 1);
        report("color-scheme", 2);
        QTRY_COMPARE(appearance->scheme(), ColorScheme::Light);
        QCOMPARE(changes.count(), 2);

        setPaletteDark(true);
        QCOMPARE(appearance->scheme(), ColorScheme::Light);
        report("color-scheme", 0);
        QTRY_COMPARE(appearance->scheme(), ColorScheme::Dark);
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        m_bus.terminate();
        m_bus.waitForFinished();
    }
};

QTEST_MAIN(AppearanceTests)
#include "AppearanceTests.moc"
