#pragma once

#include <QString>

namespace Platform {

struct VoskModelFolder
{
    QString path;     ///< empty: none
    QString language; ///< as in "en", of the locale that was asked for
};

/// The model in one of the folders in `folder` that suits the locale best: the same region before
/// none before another, then a large model before a small one, then the newest. A folder's name
/// tells its language, "vosk-model-small-en-us-0.15", or a file named "locale" in it does, which
/// then holds a tag such as "en-US". A folder without a model's files does not count. Any thread.
[[nodiscard]] VoskModelFolder findVoskModel(const QString &locale, const QString &folder);

} // namespace Platform
