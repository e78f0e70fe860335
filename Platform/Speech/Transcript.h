#pragma once

#include <QString>

namespace Platform::Transcript {

enum class Language { English, Other };

/// The words of a decoder that knows neither capitals nor punctuation, as a note would have them:
/// without marks for silence, noise and alternative pronunciations, one space between words, a
/// capital for the first letter and for the English "I". No punctuation is made up. Empty when no
/// word is left. Any thread.
[[nodiscard]] QString fromDecoder(const QString &heard, Language language = Language::English);

} // namespace Platform::Transcript
