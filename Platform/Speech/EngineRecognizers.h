#pragma once

#include "Platform/Speech/SpeechEngine.h"
#include "Platform/Speech/SpeechRecognizer.h"

#include <functional>
#include <memory>
#include <vector>

namespace Platform {

/// One kind of engine that may be installed here.
struct SpeechEngineKind
{
    /// Lasting: what the engine learns is kept under it.
    QString name;
    /// Null when the engine does not know the language. Called on any thread.
    std::function<std::unique_ptr<SpeechEngine>(const QString &locale)> make;
};

/// Recognisers on these kinds, the best first. One whose model could not be loaded is passed over
/// where another kind knows the language. Otherwise as SpeechRecognizers::createForDesktop().
[[nodiscard]] std::unique_ptr<SpeechRecognizers>
createEngineRecognizers(std::vector<SpeechEngineKind> kinds, UserDefaults &defaults,
                        MainQueue &queue);

} // namespace Platform
