#pragma once
// The top-level places of the File Browser and the Archive Browser: the user's home folder
// ("Home") first, then every mounted real file system, "/" first among them. Pseudo file
// systems (proc, sysfs, tmpfs, cgroup, overlay layers, snap images, ...) are left out.
// Nothing here touches a medium: whether a place is removable comes from
// /sys/block/<disk>/removable and from where it is mounted.

#include <QList>
#include <QString>

namespace vz::platform {

struct CPlace {
    QString path;         // the real path, used as the item's data
    QString displayName;  // "Home", "File System (/)", "data (/mnt/data)"
    bool removable = false;
    bool home = false;  // the default place to select (the first fixed drive of old)
};

// What the mount table tells of one mounted volume.
struct MountedVolume {
    QString mountPoint;
    QString fileSystemType;
    QString device;  // "/dev/sdb1", "tmpfs", ...
    QString label;   // the volume label, empty when there is none
    bool mountPointIsFolder = true;
};

// Every place of this machine, Home first.
QList<CPlace> TopLevelPlaces();

// The places for a given home folder and mount table. `sysRoot` is the sysfs mount
// ("/sys"), a parameter so that the removable test can be checked.
QList<CPlace> PlacesFromVolumes(const QString& homePath, const QList<MountedVolume>& volumes,
                                const QString& sysRoot = QStringLiteral("/sys"));

// True for file systems that hold no user files of their own.
bool IsPseudoFileSystem(const QString& fileSystemType, const QString& mountPoint);
// True when the disk of `device` says it is removable, or the volume is mounted under
// /media or /run/media.
bool IsRemovableVolume(const QString& device, const QString& mountPoint,
                       const QString& sysRoot = QStringLiteral("/sys"));
// "File System (/)", "<label> (<mount point>)", or the mount point's last component
// instead of the label when there is none.
QString VolumeDisplayName(const QString& mountPoint, const QString& label);

}  // namespace vz::platform
