#pragma once

#include "Platform/Storage/Files.h"

#include <functional>
#include <map>
#include <vector>

namespace Platform {

/// What a look at a folder tells of its files, to be compared with a later look. Symbolic links
/// count as what they lead to. Any thread.
class FolderState final
{
public:
    FolderState() = default;
    /// Looks at the entries whose names pass the filter.
    FolderState(const QString &folder, const std::function<bool(const QString &)> &filter);

    bool operator==(const FolderState &) const = default;

    /// The names of the entries that pass the filter, whatever they are. Empty when the folder
    /// cannot be listed.
    [[nodiscard]] static std::vector<QByteArray>
    entries(const QByteArray &folder, const std::function<bool(const QString &)> &filter);

    /// Whether the file system of this folder, which exists, may change without this machine's
    /// kernel knowing.
    [[nodiscard]] static bool changesElsewhere(const QByteArray &folder);

private:
    std::map<QByteArray, Files::Identity> m_files;
};

} // namespace Platform
