#pragma once

#include <QStringList>

namespace Platform {

/// The languages the user reads, best first, as "de" or "de_CH", from the environment: LANGUAGE,
/// LC_ALL, LC_MESSAGES and LANG together, for who has messages in one language and dates in another
/// writes both. "C" and "POSIX" are no languages; "en_US" when nothing is left. Any thread that may
/// read the environment.
[[nodiscard]] QStringList userLanguages();

} // namespace Platform
