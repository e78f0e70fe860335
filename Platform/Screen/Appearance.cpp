#include "Platform/Screen/Appearance.h"

#include "Platform/Core/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPalette>

#include <optional>
#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(log, "brevio.appearance", QtWarningMsg)

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString portalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString settingsGroup = QStringLiteral("org.freedesktop.appearance");
const QString settingsKey = QStringLiteral("color-scheme");

/// What a portal's answer, wrapped in any number of variants, asks for; empty for no preference.
std::optional<ColorScheme> statedScheme(QVariant value)
{
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    switch (value.toUInt()) {
    case 1:
        return ColorScheme::Dark;
    case 2:
        return ColorScheme::Light;
    default:
        return std::nullopt;
    }
}

ColorScheme paletteScheme()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() <
                   palette.color(QPalette::WindowText).lightness()
               ? ColorScheme::Dark
               : ColorScheme::Light;
}

class DesktopAppearance final : public Appearance
{
    Q_OBJECT

public:
    DesktopAppearance()
        : m_scheme(paletteScheme())
    {
        qGuiApp->installEventFilter(this);
        if (hasSessionBus())
            askPortal();
    }

    [[nodiscard]] ColorScheme scheme() const override { return m_scheme; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp)
            update();
        return false;
    }

private Q_SLOTS:
    /// Takes the whole message: Qt 6.4 refuses to connect a slot with a QDBusVariant.
    void settingChanged(const QDBusMessage &message)
    {
        const QVariantList arguments = message.arguments();
        if (arguments.size() == 3 && arguments[0] == settingsGroup && arguments[1] == settingsKey)
            setStated(statedScheme(arguments[2]));
    }

private:
    void askPortal()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            return;
        // Naming the service here would make Qt wait for the bus to say who owns it.
        if (!bus.connect(QString(), portalPath, portalInterface, QStringLiteral("SettingChanged"),
                         this, SLOT(settingChanged(QDBusMessage))))
            qCInfo(log) << "changes of the stated preference will go unnoticed";
        QDBusMessage question = QDBusMessage::createMethodCall(
            portalService, portalPath, portalInterface, QStringLiteral("Read"));
        question << settingsGroup << settingsKey;
        auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            watcher->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            if (reply.isError())
                qCInfo(log) << "no stated preference:" << reply.error().message();
            else
                setStated(statedScheme(reply.value().variant()));
        });
    }

    void setStated(std::optional<ColorScheme> stated)
    {
        m_stated = stated;
        update();
    }

    void update()
    {
        const ColorScheme scheme = m_stated.value_or(paletteScheme());
        if (std::exchange(m_scheme, scheme) != scheme)
            Q_EMIT changed(scheme);
    }

    std::optional<ColorScheme> m_stated; ///< empty while no portal has said anything
    ColorScheme m_scheme;
};

} // namespace

const DynamicColor &systemYellow()
{
    static const DynamicColor yellow{QColor::fromRgbF(1.0F, 0.8F, 0.0F),
                                     QColor::fromRgbF(1.0F, 0.839F, 0.039F)};
    return yellow;
}

std::unique_ptr<Appearance> Appearance::createForDesktop()
{
    return std::make_unique<DesktopAppearance>();
}

} // namespace Platform

#include "Appearance.moc"
