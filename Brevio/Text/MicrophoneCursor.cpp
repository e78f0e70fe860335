#include "Brevio/Text/MicrophoneCursor.h"

#include "Platform/Screen/Symbols.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPixmap>

namespace Brevio {

namespace {

constexpr double microphonePoints = 18.0;

QCursor makeMicrophoneCursor(const QColor &tint)
{
    QPixmap image = QPixmap::fromImage(
        Platform::Symbols::image(QStringLiteral("mic.fill"), microphonePoints, tint,
                                 qGuiApp->devicePixelRatio(), Platform::Symbols::Weight::Semibold));
    // The display takes image and hot spot by its own pixels; Qt would give it a hot spot in ours.
    image.setDevicePixelRatio(1.0);
    return QCursor(image, image.width() / 2, image.height() / 2);
}

} // namespace

const QCursor &microphoneCursor(Platform::ColorScheme scheme)
{
    static const QCursor light = makeMicrophoneCursor(Qt::black);
    static const QCursor dark = makeMicrophoneCursor(Qt::white);
    return scheme == Platform::ColorScheme::Dark ? dark : light;
}

} // namespace Brevio
