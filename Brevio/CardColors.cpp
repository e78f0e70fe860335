#include "Brevio/CardColors.h"

namespace Brevio::CardColors {

const Platform::DynamicColor &cardCream()
{
    static const Platform::DynamicColor cream{QColor::fromRgbF(0.996F, 0.988F, 0.948F),
                                              QColor::fromRgbF(0.13F, 0.112F, 0.082F)};
    return cream;
}

const Platform::DynamicColor &cardInk()
{
    static const Platform::DynamicColor ink{QColor::fromRgbF(0.137F, 0.118F, 0.09F),
                                            QColor::fromRgbF(0.94F, 0.92F, 0.86F)};
    return ink;
}

const Platform::DynamicColor &thumbFill()
{
    static const Platform::DynamicColor fill{QColor::fromRgbF(0.984F, 0.964F, 0.9F),
                                             QColor::fromRgbF(0.165F, 0.142F, 0.105F)};
    return fill;
}

} // namespace Brevio::CardColors
