#include "Platform/Speech/CepstralMean.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <cmath>

namespace Platform {

namespace {

constexpr quint32 format = 0x42434D31; // "BCM1"
// Of 16-bit sound: silence lies near zero, the loudest sound below 100; the others are differences.
constexpr float lowestLoudness = -20.0F;
constexpr float highestLoudness = 150.0F;
constexpr float highestDifference = 100.0F;

/// How much each coefficient differs between microphones and voices.
constexpr Cepstrum spread{8.0F, 4.0F, 4.0F, 4.0F, 3.5F, 3.5F, 3.0F,
                          3.0F, 3.0F, 3.0F, 3.0F, 3.0F, 3.0F};

[[nodiscard]] bool isPlausible(const Cepstrum &mean)
{
    return std::ranges::all_of(mean, [](float value) { return std::isfinite(value); }) &&
           mean[0] > lowestLoudness && mean[0] < highestLoudness &&
           std::all_of(mean.begin() + 1, mean.end(),
                       [](float value) { return std::abs(value) < highestDifference; });
}

[[nodiscard]] QByteArray body(const Cepstrum &mean)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    stream << format;
    for (const float value : mean)
        stream << value;
    return bytes;
}

} // namespace

void CepstralMean::add(const Cepstrum &frame)
{
    for (std::size_t i = 0; i < frame.size(); ++i)
        m_sum[i] += frame[i];
    ++m_frames;
}

Cepstrum CepstralMean::value(const Cepstrum &known, float weight) const
{
    const float all = weight + static_cast<float>(m_frames);
    Cepstrum mean{};
    for (std::size_t i = 0; i < mean.size(); ++i)
        mean[i] = (m_sum[i] + weight * known[i]) / all;
    return mean;
}

float distance(const Cepstrum &one, const Cepstrum &other)
{
    float sum = 0.0F;
    for (std::size_t i = 0; i < one.size(); ++i) {
        const float difference = (one[i] - other[i]) / spread[i];
        sum += difference * difference;
    }
    return std::sqrt(sum);
}

QByteArray toBytes(const Cepstrum &mean)
{
    QByteArray bytes = body(mean);
    QDataStream(&bytes, QIODevice::Append) << qChecksum(bytes);
    return bytes;
}

std::optional<Cepstrum> meanFromBytes(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    quint32 found = 0;
    stream >> found;
    Cepstrum mean{};
    for (float &value : mean)
        stream >> value;
    quint16 checksum = 0;
    stream >> checksum;
    if (stream.status() != QDataStream::Ok || !stream.atEnd() || found != format ||
        checksum != qChecksum(body(mean)) || !isPlausible(mean))
        return std::nullopt;
    return mean;
}

} // namespace Platform
