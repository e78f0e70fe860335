#pragma once

#include "Platform/Core/MainQueue.h"

#include <QString>

#include <functional>
#include <memory>

namespace Platform {

/// Reports that a file of a folder may have changed, been made, replaced, moved or removed, by
/// whatever program, this one included. The watch lives as long as the object. Main thread only.
///
/// The kernel tells of changes, and nothing wakes up while there are none. On file systems where
/// changes come from other machines, which the kernel does not hear of, and where it can take no
/// more watches, the folder is looked at every two seconds instead.
class FileWatcher
{
public:
    using NameFilter = std::function<bool(const QString &fileName)>;

    virtual ~FileWatcher() = default;

    /// Watches the entries of the folder, an absolute path, whose names pass the filter. Reports on
    /// turns of the event loop: once soon after the watch begins, then some 50 ms after each burst
    /// of changes and at least every 150 ms in a long one. What changes after this returns is not
    /// missed.
    ///
    /// The folder need not exist, may come, go, be renamed and be replaced, and may be reached
    /// through symbolic links; file systems may be mounted over it and taken away. An entry that is
    /// a symbolic link is watched where it leads as well. What is inside subfolders is not watched.
    /// Needs the application object. The callback may drop the watcher. The queue must outlive it.
    /// Never null.
    [[nodiscard]] static std::unique_ptr<FileWatcher> create(const QString &folder,
                                                             NameFilter filter, MainQueue &queue,
                                                             std::function<void()> onChange);
};

} // namespace Platform
