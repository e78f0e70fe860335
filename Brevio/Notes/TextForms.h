#pragma once

#include "Platform/Core/Clock.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QUuid>

#include <optional>

/// The only texts that the store file takes for an identifier and for an instant. Pure functions.
namespace Brevio::TextForms {

/// "6F1C2A4E-8B3D-4C55-9E0A-2D7B1F3C4A90": 36 characters, upper case.
[[nodiscard]] QByteArray fromIdentifier(const QUuid &id);

/// Reads either case. Nothing for braces, missing hyphens and everything else.
[[nodiscard]] std::optional<QUuid> toIdentifier(QByteArrayView text);

/// "2025-03-14T09:26:53Z": UTC, the fraction of the second dropped, the years 1 to 9999; an
/// instant outside them becomes the first or the last second that can be written.
[[nodiscard]] QByteArray fromInstant(Platform::Instant time);

/// Reads that form, also with an offset such as "+01:00" in place of the "Z". Nothing for a
/// fraction, a missing designator, a date or time that does not exist, and everything else.
[[nodiscard]] std::optional<Platform::Instant> toInstant(QByteArrayView text);

} // namespace Brevio::TextForms
