#include "Brevio/Card/ToastView.h"

#include "Brevio/CardColors.h"
#include "Platform/Screen/Fonts.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace Brevio {

namespace {

constexpr double messagePoints = 22.0;
constexpr double fallbackPoints = 20.0;
constexpr double inkAlpha = 0.6;

/// A label would be passed over; a notification that comes up is read out.
QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    auto *toast = qobject_cast<ToastView *>(object);
    return toast ? new QAccessibleWidget(toast, QAccessible::Notification) : nullptr;
}

} // namespace

ToastView::ToastView(Platform::Appearance &appearance, QWidget *parent)
    : QLabel(parent)
    , m_appearance(appearance)
{
    QAccessible::installFactory(makeInterface);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFont(Platform::Fonts::baskerville(messagePoints, Platform::Fonts::Slant::Italic,
                                         fallbackPoints));
    connect(&appearance, &Platform::Appearance::changed, this, &ToastView::applyColors);
    applyColors();
}

void ToastView::setMessage(const QString &message)
{
    setText(message);
    setAccessibleName(message);
}

void ToastView::applyColors()
{
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText,
                    CardColors::cardInk().resolved(m_appearance.scheme(), inkAlpha));
    setPalette(colors);
}

} // namespace Brevio
