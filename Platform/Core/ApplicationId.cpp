#include "Platform/Core/ApplicationId.h"

namespace Platform {

QString applicationId()
{
    return QStringLiteral(APPLICATION_ID);
}

} // namespace Platform
