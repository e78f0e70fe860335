#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace Platform::Files {

/// The whole content of a regular file; nothing when it is missing, is no regular file, or could
/// not be read to its end.
[[nodiscard]] std::optional<QByteArray> read(const QString &path);

/// Replaces the file in one step: whoever looks sees the old content or the new, never a part of
/// either, also after a crash, a full disk or a power cut. The bytes and the folder are synced
/// before this returns true. An existing file keeps its mode, a symbolic link stays one and its
/// target is replaced; a new file is private to the user (0600). On false the old file is
/// untouched. Leaves no temporary file.
[[nodiscard]] bool replaceAtomically(const QString &path, const QByteArray &bytes);

[[nodiscard]] bool exists(const QString &path);

/// Makes the folder and those above it, private to the user (0700); existing ones keep their
/// mode. True when the folder is there afterwards.
[[nodiscard]] bool makeFolder(const QString &path);

} // namespace Platform::Files
