#include "platform/Places.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStorageInfo>
#include <algorithm>

#include "common/Texts.h"

namespace vz::platform {

namespace {

const QString kRoot = QStringLiteral("/");

bool IsUnder(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

// The removable flag of a block device: /sys/class/block/<name> leads to the device; a
// partition's flag is that of the disk that holds it.
bool SysSaysRemovable(const QString& device, const QString& sysRoot) {
    if (!device.startsWith(QLatin1String("/dev/")))
        return false;
    // "/dev/disk/by-uuid/..." and "/dev/mapper/..." are links to the kernel's name.
    const QString resolved = QFileInfo(device).canonicalFilePath();
    const QString name = QFileInfo(resolved.isEmpty() ? device : resolved).fileName();
    if (name.isEmpty())
        return false;
    const auto readFlag = [](const QString& file) {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly))
            return -1;
        return f.read(8).trimmed() == "1" ? 1 : 0;
    };
    int flag = readFlag(sysRoot + QStringLiteral("/block/") + name + QStringLiteral("/removable"));
    if (flag >= 0)
        return flag == 1;
    const QString classDir =
        QFileInfo(sysRoot + QStringLiteral("/class/block/") + name).canonicalFilePath();
    if (classDir.isEmpty())
        return false;
    flag = readFlag(classDir + QStringLiteral("/removable"));
    if (flag < 0 && QFileInfo::exists(classDir + QStringLiteral("/partition")))
        flag = readFlag(QFileInfo(classDir).absolutePath() + QStringLiteral("/removable"));
    return flag == 1;
}

}  // namespace

bool IsPseudoFileSystem(const QString& fileSystemType, const QString& mountPoint) {
    static const QSet<QString> pseudo{
        QStringLiteral("proc"),          QStringLiteral("sysfs"),
        QStringLiteral("tmpfs"),         QStringLiteral("devtmpfs"),
        QStringLiteral("devpts"),        QStringLiteral("overlay"),
        QStringLiteral("cgroup"),        QStringLiteral("cgroup2"),
        QStringLiteral("squashfs"),      QStringLiteral("securityfs"),
        QStringLiteral("pstore"),        QStringLiteral("debugfs"),
        QStringLiteral("tracefs"),       QStringLiteral("configfs"),
        QStringLiteral("fusectl"),       QStringLiteral("mqueue"),
        QStringLiteral("hugetlbfs"),     QStringLiteral("bpf"),
        QStringLiteral("autofs"),        QStringLiteral("binfmt_misc"),
        QStringLiteral("efivarfs"),      QStringLiteral("ramfs"),
        QStringLiteral("nsfs"),          QStringLiteral("rpc_pipefs"),
        QStringLiteral("selinuxfs"),     QStringLiteral("rootfs"),
        QStringLiteral("nfsd"),          QStringLiteral("fuse.gvfsd-fuse"),
        QStringLiteral("fuse.portal"),   QStringLiteral("fuse.lxcfs"),
        QStringLiteral("fuse.snapfuse"),
    };
    if (pseudo.contains(fileSystemType) || fileSystemType.startsWith(QLatin1String("cgroup")))
        return true;
    // Kernel and run-time trees, whatever their type, and snap images.
    for (const char* folder :
         {"/proc", "/sys", "/dev", "/run/user", "/snap", "/var/lib/snapd", "/var/lib/docker"}) {
        if (IsUnder(mountPoint, QLatin1String(folder)))
            return true;
    }
    return false;
}

bool IsRemovableVolume(const QString& device, const QString& mountPoint, const QString& sysRoot) {
    if (IsUnder(mountPoint, QStringLiteral("/media")) ||
        IsUnder(mountPoint, QStringLiteral("/run/media")))
        return true;
    return SysSaysRemovable(device, sysRoot);
}

QString VolumeDisplayName(const QString& mountPoint, const QString& label) {
    if (mountPoint == kRoot)
        return QStringLiteral("File System (/)");
    const QString name = label.isEmpty() ? QDir(mountPoint).dirName() : label;
    return name + QStringLiteral(" (") + mountPoint + QLatin1Char(')');
}

QList<CPlace> PlacesFromVolumes(const QString& homePath, const QList<MountedVolume>& volumes,
                                const QString& sysRoot) {
    QList<CPlace> places;
    CPlace home;
    home.path = homePath;
    home.displayName = QStringLiteral("Home");
    home.home = true;
    places << home;

    // A mount point mounted over again shows what was mounted last.
    QList<MountedVolume> kept;
    for (const MountedVolume& v : volumes) {
        if (v.mountPoint.isEmpty() || !v.mountPointIsFolder)
            continue;
        // "/" is always a place, even when it is an overlay (as in a container).
        if (v.mountPoint != kRoot && IsPseudoFileSystem(v.fileSystemType, v.mountPoint))
            continue;
        kept.erase(
            std::remove_if(kept.begin(), kept.end(),
                           [&](const MountedVolume& k) { return k.mountPoint == v.mountPoint; }),
            kept.end());
        kept << v;
    }
    std::stable_sort(kept.begin(), kept.end(), [](const MountedVolume& a, const MountedVolume& b) {
        if (a.mountPoint == kRoot || b.mountPoint == kRoot)
            return a.mountPoint == kRoot && b.mountPoint != kRoot;
        return vz::CompareNoCase(a.mountPoint, b.mountPoint) < 0;
    });
    for (const MountedVolume& v : kept) {
        CPlace place;
        place.path = v.mountPoint;
        place.displayName = VolumeDisplayName(v.mountPoint, v.label);
        place.removable = IsRemovableVolume(v.device, v.mountPoint, sysRoot);
        places << place;
    }
    return places;
}

QList<CPlace> TopLevelPlaces() {
    QList<MountedVolume> volumes;
    bool haveRoot = false;
    for (const QStorageInfo& info : QStorageInfo::mountedVolumes()) {
        MountedVolume v;
        v.mountPoint = info.rootPath();
        v.fileSystemType = QString::fromUtf8(info.fileSystemType());
        v.device = QString::fromUtf8(info.device());
        v.label = info.name();
        v.mountPointIsFolder = QFileInfo(v.mountPoint).isDir();
        haveRoot = haveRoot || v.mountPoint == kRoot;
        volumes << v;
    }
    if (!haveRoot) {
        MountedVolume root;
        root.mountPoint = kRoot;
        volumes.prepend(root);
    }
    return PlacesFromVolumes(QDir::homePath(), volumes);
}

}  // namespace vz::platform
