#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <span>

namespace Platform {

/// One speech decoder with the model of one language: the seam behind which recognition engines
/// are plugged in. Making one only looks whether its library and its model are there; the model,
/// tens of megabytes, is loaded by load() and freed with the engine. One thread at a time, which
/// may block for as long as a call takes and is never the main thread.
class SpeechEngine
{
public:
    virtual ~SpeechEngine() = default;

    /// Loads the model. False when it is damaged or too new; the engine is of no use then.
    [[nodiscard]] virtual bool load() = 0;

    /// Begins an utterance, dropping an unfinished one. `adaptation` is what adaptation() gave
    /// after an earlier utterance through the same microphone; empty, or from another engine, means
    /// that nothing is known about it. False when the decoder failed, here and below.
    [[nodiscard]] virtual bool start(const QByteArray &adaptation) = 0;
    /// Decodes more sound: one channel of 16,000 samples a second.
    [[nodiscard]] virtual bool feed(std::span<const std::int16_t> samples) = 0;
    /// The words heard so far, as a note would have them; every call may rewrite earlier words.
    [[nodiscard]] virtual QString partial() = 0;
    /// Ends the utterance: its words after a second look. Empty when nothing was said.
    [[nodiscard]] virtual QString finish() = 0;
    /// What the last finished utterance taught about its microphone; empty when nothing.
    [[nodiscard]] virtual QByteArray adaptation() const { return {}; }
};

/// PocketSphinx with the model of the language, a language tag such as "en_US" or "en-US"; the one
/// packaged model serves all kinds of English. Null when the library or the model is missing.
[[nodiscard]] std::unique_ptr<SpeechEngine> createPocketSphinxEngine(const QString &locale);

/// Vosk with a model folder for the language, as its makers name them ("vosk-model-small-de-0.15"),
/// that the user has put into `folder`; its library may lie there too. Null when either is missing.
[[nodiscard]] std::unique_ptr<SpeechEngine> createVoskEngine(const QString &locale,
                                                             const QString &folder);

} // namespace Platform
