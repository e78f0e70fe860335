#pragma once

#include "Platform/Speech/SpeechEngine.h"

#include <QStringList>

namespace Platform {

/// The same with models from the first of these folders that has one for the language.
[[nodiscard]] std::unique_ptr<SpeechEngine>
createPocketSphinxEngine(const QString &locale, const QStringList &modelFolders);

} // namespace Platform
