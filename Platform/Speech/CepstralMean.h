#pragma once

#include <QByteArray>

#include <array>
#include <cstddef>
#include <optional>

namespace Platform {

/// The average spectral shape of sound, as cepstral coefficients: what a microphone, a room and a
/// loudness add to every voice. Decoders take it off before they compare sounds. Any thread.
using Cepstrum = std::array<float, 13>;

/// The average over the sound so far.
class CepstralMean final
{
public:
    void add(const Cepstrum &frame);
    [[nodiscard]] std::size_t frames() const { return m_frames; }
    /// Leans on what was known before, which counts like `weight` frames of 10 ms; more than none.
    [[nodiscard]] Cepstrum value(const Cepstrum &known, float weight) const;

private:
    Cepstrum m_sum{};
    std::size_t m_frames = 0;
};

/// How far apart two of them are. Two sentences of one voice lie 5 apart, different voices through
/// different microphones 9.
[[nodiscard]] float distance(const Cepstrum &one, const Cepstrum &other);

/// For keeping it. A few dozen bytes with a version and a checksum.
[[nodiscard]] QByteArray toBytes(const Cepstrum &mean);
/// None of bytes that toBytes() did not make or whose numbers no microphone gives.
[[nodiscard]] std::optional<Cepstrum> meanFromBytes(const QByteArray &bytes);

} // namespace Platform
