#include "Platform/Speech/SpeechRecognizer.h"

#include "Platform/Speech/EngineRecognizers.h"
#include "Platform/Storage/Folders.h"

namespace Platform {

std::unique_ptr<SpeechRecognizers> SpeechRecognizers::createForDesktop(UserDefaults &defaults,
                                                                       MainQueue &queue)
{
    const auto vosk = [folder = Folders::dataHome() + QStringLiteral("/Brevio/speech")](
                          const QString &locale) { return createVoskEngine(locale, folder); };
    return createEngineRecognizers({{QStringLiteral("vosk"), vosk},
                                    {QStringLiteral("pocketsphinx"), createPocketSphinxEngine}},
                                   defaults, queue);
}

} // namespace Platform
