#pragma once
// Turning the disk files and folders to add into the list of entries to write: names by the
// "without paths" settings, kinds (file, folder, symbolic link), sizes, modes and times.
// Folders are walked depth first, each folder before its contents, names in byte order.

#include <sys/types.h>
#include <QByteArray>
#include <QString>
#include <functional>
#include <vector>

namespace vz {

struct PackItem {
    enum Kind { File, Folder, Link };
    Kind kind = File;
    QByteArray nativePath;  // for reading
    QString displayPath;    // the disk path in texts
    QString entryName;      // inner path, without a trailing "/"
    quint64 size = 0;
    quint32 mode = 0;  // st_mode
    qint64 mtime = 0;
    QByteArray linkTarget;
};

struct PackRequest {
    enum Expect { AnyKind, FileOnly, FolderOnly };
    QString diskPath;
    Expect expect = AnyKind;
    QString folderBase;  // where stored folder paths begin without paths (see CZipPacker.h)
    bool recurse = true;
};

class DiskScanner {
public:
    struct Settings {
        bool filesWithoutPaths = true;
        bool foldersWithoutPaths = false;
        QString innerFolder;  // "" for the root
        // The archive being written, never added into itself.
        dev_t archiveDevice = 0;
        ino_t archiveInode = 0;
    };
    explicit DiskScanner(const Settings& settings) : m_settings(settings) {}

    // Called every few hundred entries; true stops the scan (Scan returns false, no error).
    std::function<bool()> poll;
    // Told of each item that is skipped (a socket, a pipe, a device, the archive itself, a
    // name that holds "\" and so would not come back as itself).
    std::function<void(const QString&)> report;

    // Appends the entries of one request. False with `error` set when a path cannot be read.
    bool Scan(const PackRequest& request, std::vector<PackItem>& out, QString* error);
    bool Stopped() const { return m_stopped; }

private:
    bool Walk(const QByteArray& folder, const QString& display, const QString& entry, bool recurse,
              std::vector<PackItem>& out, QString* error);
    // Fills `item` from lstat/stat results; false for kinds that are not stored.
    bool Describe(const QByteArray& path, const QString& display, bool follow, PackItem& item,
                  QString* error, bool* skipped);

    Settings m_settings;
    int m_sincePoll = 0;
    bool m_stopped = false;
};

}  // namespace vz
