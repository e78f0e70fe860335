#include "Platform/Screen/Appearance.h"

#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>
#include <QTest>

using Platform::Appearance;
using Platform::ColorScheme;

/// What the desktop portal says is tried with the whole program.
class AppearanceTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutABusThePaletteDecides()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", "/nonexistent");
        QGuiApplication::setPalette(QPalette(Qt::white));
        const auto appearance = Appearance::createForDesktop();
        QSignalSpy changes(appearance.get(), &Appearance::changed);
        QCOMPARE(appearance->scheme(), ColorScheme::Light);
        QGuiApplication::setPalette(QPalette(Qt::black));
        QTRY_COMPARE(changes.count(), 1);
        QCOMPARE(appearance->scheme(), ColorScheme::Dark);
    }
};

QTEST_MAIN(AppearanceTests)
#include "AppearanceTests.moc"
