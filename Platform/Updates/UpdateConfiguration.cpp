#include "Platform/Updates/UpdateConfiguration.h"

namespace Platform {

UpdateConfiguration UpdateConfiguration::builtIn()
{
    // From the build; see the CMakeLists.txt of this library.
    return {QStringLiteral(UPDATE_PROGRAM), QStringLiteral(UPDATE_VERSION),
            QStringLiteral(UPDATE_FEED), QStringLiteral(UPDATE_KEY)};
}

} // namespace Platform
