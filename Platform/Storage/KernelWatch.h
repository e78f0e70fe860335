#pragma once

#include "Platform/Core/Descriptor.h"
#include "Platform/Storage/FileWatcher.h"

#include <QByteArray>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace Platform {

/// What the kernel tells of a folder's entries and of the way to the folder, be it there, missing
/// or reached through symbolic links. The watch lives as long as the object. Main thread only.
class KernelWatch final
{
public:
    using NameFilter = FileWatcher::NameFilter;

    /// Watches the entries of the folder, an absolute path, whose names pass the filter.
    KernelWatch(const QString &folder, NameFilter filter);

    /// Can be read from when there is news. Negative when the kernel gives no more of these.
    [[nodiscard]] int descriptor() const { return m_kernel.get(); }
    /// Takes the news there is, without waiting for any; whether an entry may have changed.
    [[nodiscard]] bool takeNews();
    /// For when a file system was mounted or taken away somewhere: finds the way to the folder once
    /// more; whether it leads elsewhere.
    [[nodiscard]] bool lookAgain();
    /// False while some changes may go untold because the kernel watches no more.
    [[nodiscard]] bool tellsAll() const { return m_tellsAll; }
    /// The folder without symbolic links, or the last folder there is on the way to it.
    [[nodiscard]] const QByteArray &place() const { return m_place; }

private:
    /// Names in a watched folder that matter.
    struct Interest
    {
        int watch = -1;
        QByteArray name;        ///< empty: every name that passes the filter
        bool isArrival = false; ///< the name is the next step on the way
    };

    void begin();
    [[nodiscard]] bool follow();
    void watchLink(QByteArray folder, QByteArray name);
    void watchNames(const QByteArray &folder, std::uint32_t mask, const QByteArray &name);
    [[nodiscard]] int watch(const QByteArray &path, std::uint32_t mask);
    [[nodiscard]] bool matters(int number, const QByteArray &name) const;
    [[nodiscard]] bool turnsTheWay(int number, const QByteArray &name) const;

    QByteArray m_folder;
    NameFilter m_filter;
    Descriptor m_kernel;
    std::set<int> m_watches;
    std::vector<Interest> m_interests;
    QByteArray m_place;
    std::pair<quint64, quint64> m_placeNumbers; ///< its device and inode
    bool m_tellsAll = false;                    ///< since the watch began
};

} // namespace Platform
