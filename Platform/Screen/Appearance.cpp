#include "Platform/Screen/Appearance.h"

#include "Platform/Core/PendingCall.h"
#include "Platform/Core/Portal.h"
#include "Platform/Core/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
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

const QString settingsInterface = Portal::interfaceNamed(QStringLiteral("Settings"));
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

/// A neutral palette for a desktop that states a scheme and has no palette to go with it.
QPalette neutralPalette(ColorScheme scheme)
{
    const bool dark = scheme == ColorScheme::Dark;
    const QColor window = dark ? QColor(0x24, 0x24, 0x26) : QColor(0xf2, 0xf2, 0xf3);
    const QColor text = dark ? QColor(0xf0, 0xf0, 0xf0) : QColor(0x1e, 0x1e, 0x1e);
    QPalette palette(dark ? QColor(0x3c, 0x3c, 0x3f) : QColor(0xfa, 0xfa, 0xfb), window);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, dark ? QColor(0x88, 0x88, 0x88) : Qt::gray);
    }
    QColor placeholder = text;
    placeholder.setAlphaF(0.5F);
    palette.setColor(QPalette::PlaceholderText, placeholder);
    palette.setColor(QPalette::Base, dark ? QColor(0x1c, 0x1c, 0x1e) : QColor(Qt::white));
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, palette.color(QPalette::Base));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x7c, 0xd8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, dark ? QColor(0x6c, 0xb0, 0xff) : QColor(0x1a, 0x5f, 0xb4));
    return palette;
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
        if (!bus.connect(QString(), Portal::path, settingsInterface,
                         QStringLiteral("SettingChanged"), this,
                         SLOT(settingChanged(QDBusMessage))))
            qCInfo(log) << "changes of the stated preference will go unnoticed";
        QDBusMessage question = QDBusMessage::createMethodCall(
            Portal::service, Portal::path, settingsInterface, QStringLiteral("Read"));
        question << settingsGroup << settingsKey;
        callBus(bus, question, this, [this](const QDBusReply<QDBusVariant> &reply) {
            if (reply.isValid())
                setStated(statedScheme(reply.value().variant()));
            else
                qCInfo(log) << "no stated preference:" << reply.error().message();
        });
    }

    void setStated(std::optional<ColorScheme> stated)
    {
        m_stated = stated;
        matchPalette();
        update();
    }

    void matchPalette()
    {
        // The desktop's own palette comes back first: it may suit the new scheme.
        QGuiApplication::setPalette(QPalette());
        if (m_stated && *m_stated != paletteScheme())
            QGuiApplication::setPalette(neutralPalette(*m_stated));
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
