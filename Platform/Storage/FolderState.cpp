#include "Platform/Storage/FolderState.h"

#include <QFile>

#include <algorithm>
#include <memory>

#include <dirent.h>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace Platform {

namespace {

// What the kernel's header leaves out.
constexpr quint32 gfs2Magic = 0x01161970;
constexpr quint32 lustreMagic = 0x0BD00BD0;
constexpr quint32 ncpMagic = 0x564C;
constexpr quint32 virtualBoxMagic = 0x786F4256;

constexpr quint32 sharedFileSystems[] = {
    NFS_SUPER_MAGIC,   SMB_SUPER_MAGIC, CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC, FUSE_SUPER_MAGIC,
    V9FS_MAGIC,        AFS_SUPER_MAGIC, AFS_FS_MAGIC,     CODA_SUPER_MAGIC, CEPH_SUPER_MAGIC,
    OCFS2_SUPER_MAGIC, gfs2Magic,       lustreMagic,      ncpMagic,         virtualBoxMagic,
};

struct CloseFolder
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};

} // namespace

FolderState::FolderState(const QString &folder, const std::function<bool(const QString &)> &filter)
{
    for (const QByteArray &name : entries(QFile::encodeName(folder), filter)) {
        if (const auto identity = Files::identity(folder + u'/' + QFile::decodeName(name)))
            m_files.emplace(name, *identity);
    }
}

std::vector<QByteArray> FolderState::entries(const QByteArray &folder,
                                             const std::function<bool(const QString &)> &filter)
{
    std::vector<QByteArray> names;
    const std::unique_ptr<DIR, CloseFolder> open(::opendir(folder.constData()));
    while (const dirent *entry = open ? ::readdir(open.get()) : nullptr) {
        if (filter(QFile::decodeName(entry->d_name)))
            names.emplace_back(entry->d_name);
    }
    return names;
}

bool FolderState::changesElsewhere(const QByteArray &folder)
{
    struct statfs info
    {};
    return ::statfs(folder.constData(), &info) == 0 &&
           std::ranges::find(sharedFileSystems, static_cast<quint32>(info.f_type)) !=
               std::end(sharedFileSystems);
}

} // namespace Platform
