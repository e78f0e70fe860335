#include "Platform/Screen/Appearance.h"

namespace Platform {

const DynamicColor &systemYellow()
{
    static const DynamicColor yellow{QColor::fromRgbF(1.0F, 0.8F, 0.0F),
                                     QColor::fromRgbF(1.0F, 0.839F, 0.039F)};
    return yellow;
}

} // namespace Platform
