// Top-level places, file attributes, the temporary folder and replacing a file in one step.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"
#include "archive/ArchiveEntry.h"
#include "platform/AtomicReplace.h"
#include "platform/FileSystem.h"
#include "platform/Places.h"
#include "platform/TempFolder.h"

using namespace vz::platform;

class TestPlatform : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // A fresh folder below m_dir, and its entries as the file system names them.
    QByteArray NewFolder(const char* name) {
        const QByteArray folder = QFile::encodeName(m_dir.path()) + '/' + name;
        return mkdir(folder.constData(), 0700) == 0 ? folder : QByteArray();
    }
    static QList<QByteArray> Entries(const QByteArray& folder) {
        QList<QByteArray> names;
        if (DIR* d = opendir(folder.constData())) {
            while (dirent* e = readdir(d)) {
                if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0)
                    names << e->d_name;
            }
            closedir(d);
        }
        return names;
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void placesFromMountTable() {
        // A sysfs tree: sdb is removable, sda is not; the partitions lead to their disks.
        const QString sys = m_dir.path() + QStringLiteral("/sys");
        QVERIFY(vzt::MakeTree(sys, {{"block/sda/removable", "0\n"},
                                    {"block/sdb/removable", "1\n"},
                                    {"devices/pci0/block/sda/removable", "0\n"},
                                    {"devices/pci0/block/sda/sda3/partition", "3\n"},
                                    {"devices/pci0/block/sdb/removable", "1\n"},
                                    {"devices/pci0/block/sdb/sdb1/partition", "1\n"},
                                    {"class/block/", ""}}));
        QVERIFY(QFile::link(sys + QStringLiteral("/devices/pci0/block/sda/sda3"),
                            sys + QStringLiteral("/class/block/sda3")));
        QVERIFY(QFile::link(sys + QStringLiteral("/devices/pci0/block/sdb/sdb1"),
                            sys + QStringLiteral("/class/block/sdb1")));

        const auto vol = [](const char* mount, const char* type, const char* device,
                            const char* label = "", bool folder = true) {
            return MountedVolume{QString::fromUtf8(mount), QString::fromUtf8(type),
                                 QString::fromUtf8(device), QString::fromUtf8(label), folder};
        };
        const QList<MountedVolume> table{
            vol("/proc", "proc", "proc"),
            vol("/mnt/data", "ext4", "/dev/sda3", "Old"),
            vol("/sys", "sysfs", "sysfs"),
            vol("/dev/shm", "tmpfs", "tmpfs"),
            vol("/sys/fs/cgroup/cpu", "cgroup", "cgroup"),
            vol("/sys/fs/cgroup/unified", "cgroup2", "cgroup2"),
            vol("/snap/core22/1033", "squashfs", "/dev/loop0"),
            vol("/run", "tmpfs", "tmpfs"),
            vol("/var/lib/docker/overlay2/x/merged", "overlay", "overlay"),
            vol("/", "overlay", "overlay"),
            vol("/media/ann/USB STICK", "vfat", "/dev/sdc1", "USB STICK"),
            vol("/mnt/ext", "ext4", "/dev/sdb1", "Backup"),
            vol("/boot", "ext4", "/dev/sda1"),
            vol("/etc/hosts", "ext4", "/dev/vda", "", false),
            vol("/mnt/data", "ext4", "/dev/sda3", "data"),  // mounted over the first
            vol("/run/media/ann/CD", "iso9660", "/dev/sr0", "CD"),
        };
        const QList<CPlace> places = PlacesFromVolumes(QStringLiteral("/home/ann"), table, sys);
        QStringList shown;
        for (const CPlace& p : places)
            shown << p.displayName + QLatin1Char('|') + p.path +
                         (p.removable ? QStringLiteral("|removable") : QString()) +
                         (p.home ? QStringLiteral("|home") : QString());
        const QStringList expected{
            QStringLiteral("Home|/home/ann|home"),
            QStringLiteral("File System (/)|/"),
            QStringLiteral("boot (/boot)|/boot"),
            QStringLiteral("USB STICK (/media/ann/USB STICK)|/media/ann/USB STICK|removable"),
            QStringLiteral("data (/mnt/data)|/mnt/data"),
            QStringLiteral("Backup (/mnt/ext)|/mnt/ext|removable"),
            QStringLiteral("CD (/run/media/ann/CD)|/run/media/ann/CD|removable"),
        };
        QCOMPARE(shown, expected);
    }

    void removableVolume_data() {
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("mountPoint");
        QTest::addColumn<bool>("removable");
        QTest::newRow("whole removable disk") << "/dev/sdb"
                                              << "/mnt/x" << true;
        QTest::newRow("fixed disk") << "/dev/sda"
                                    << "/mnt/x" << false;
        QTest::newRow("partition of removable") << "/dev/sdb1"
                                                << "/mnt/x" << true;
        QTest::newRow("partition of fixed") << "/dev/sda3"
                                            << "/mnt/x" << false;
        QTest::newRow("unknown device") << "/dev/nvme9n1"
                                        << "/srv" << false;
        QTest::newRow("under /media") << "/dev/sda3"
                                      << "/media/usb" << true;
        QTest::newRow("under /run/media") << "server:/x"
                                          << "/run/media/a/b" << true;
        QTest::newRow("not /mediastore") << "/dev/sda3"
                                         << "/mediastore" << false;
    }
    void removableVolume() {
        QFETCH(QString, device);
        QFETCH(QString, mountPoint);
        QFETCH(bool, removable);
        QCOMPARE(IsRemovableVolume(device, mountPoint, m_dir.path() + QStringLiteral("/sys")),
                 removable);
    }

    void livePlacesStartWithHomeAndRoot() {
        const QList<CPlace> places = TopLevelPlaces();
        QVERIFY(places.size() >= 2);
        QCOMPARE(places[0].displayName, QStringLiteral("Home"));
        QCOMPARE(places[0].path, QDir::homePath());
        QVERIFY(places[0].home);
        QCOMPARE(places[1].displayName, QStringLiteral("File System (/)"));
        QCOMPARE(places[1].path, QStringLiteral("/"));
        for (const CPlace& p : places) {
            QVERIFY2(QFileInfo(p.path).isDir(), qPrintable(p.path));
            QVERIFY2(!p.path.startsWith(QLatin1String("/proc")) &&
                         !p.path.startsWith(QLatin1String("/sys")),
                     qPrintable(p.path));
        }
    }

    void attributesFromNameAndMode_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("mode");
        QTest::addColumn<uint>("attributes");
        QTest::newRow("ordinary") << "a.txt" << uint(S_IFREG | 0644) << 0u;
        QTest::newRow("group write only") << "a.txt" << uint(S_IFREG | 0464) << uint(kDosReadOnly);
        QTest::newRow("read-only") << "a.txt" << uint(S_IFREG | 0444) << uint(kDosReadOnly);
        QTest::newRow("hidden") << ".profile" << uint(S_IFREG | 0600) << uint(kDosHidden);
        QTest::newRow("hidden read-only")
            << ".x" << uint(S_IFREG | 0400) << uint(kDosHidden | kDosReadOnly);
        QTest::newRow("folder") << "docs" << uint(S_IFDIR | 0755) << uint(kDosDirectory);
        QTest::newRow("read-only folder")
            << "docs" << uint(S_IFDIR | 0555) << uint(kDosDirectory | kDosReadOnly);
    }
    void attributesFromNameAndMode() {
        QFETCH(QString, name);
        QFETCH(uint, mode);
        QFETCH(uint, attributes);
        QCOMPARE(uint(AttributesFor(name, mode)), attributes);
    }

    void factsOfRealItems() {
        const QString root = m_dir.path() + QStringLiteral("/facts");
        QVERIFY(vzt::MakeTree(root, {{"plain.txt", "12345"}, {".hidden", "x"}, {"sub/", ""}}));
        QVERIFY(QFile::setPermissions(root + QStringLiteral("/plain.txt"),
                                      QFileDevice::ReadOwner | QFileDevice::ReadGroup));
        QVERIFY(QFile::link(root + QStringLiteral("/sub"), root + QStringLiteral("/link")));

        FileFacts f = ReadFacts(root + QStringLiteral("/plain.txt"));
        QVERIFY(f.exists && f.isFile && !f.isFolder && !f.isSymlink);
        QCOMPARE(f.size, 5u);
        QCOMPARE(f.attributes, quint32(kDosReadOnly));
        QVERIFY(f.modified.known);
        QVERIFY(ClearReadOnly(root + QStringLiteral("/plain.txt")));
        QCOMPARE(ReadFacts(root + QStringLiteral("/plain.txt")).attributes, 0u);

        QCOMPARE(ReadFacts(root + QStringLiteral("/.hidden")).attributes, quint32(kDosHidden));
        f = ReadFacts(root + QStringLiteral("/link"));
        QVERIFY(f.isFolder && f.isSymlink);
        QVERIFY(!ReadFacts(root + QStringLiteral("/missing")).exists);
        // ClearReadOnly never goes through a link.
        QVERIFY(!ClearReadOnly(root + QStringLiteral("/link")));
    }

    void pathParts_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");
        QTest::newRow("file") << "/a/b.txt"
                              << "/a"
                              << "b.txt";
        QTest::newRow("top") << "/b"
                             << "/"
                             << "b";
        QTest::newRow("trailing slash") << "/a/b/"
                                        << "/a"
                                        << "b";
    }
    void pathParts() {
        QFETCH(QString, path);
        QFETCH(QString, folder);
        QFETCH(QString, name);
        QCOMPARE(FolderOf(path), folder);
        QCOMPARE(FileNameOf(path), name);
    }

    // Any bytes come back from a path as they were; only bytes outside valid UTF-8 escape.
    void pathBytes_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("display");
        QTest::newRow("ascii") << QByteArray("a b%.txt") << "a b%.txt";
        QTest::newRow("latin-1 byte") << QByteArray("caf\xE9.txt") << "caf\\xE9.txt";
        QTest::newRow("valid 2 bytes")
            << QByteArray("caf\xC3\xA9") << QString::fromUtf8("caf\xC3\xA9");
        // U+1F480: its second UTF-16 half, U+DC80, lies in the escape range.
        QTest::newRow("valid 4 bytes, then an escape")
            << QByteArray("\xF0\x9F\x92\x80\xE9") << QString::fromUtf8("\xF0\x9F\x92\x80\\xE9");
        QTest::newRow("overlong /") << QByteArray("\xC0\xAF") << "\\xC0\\xAF";
        QTest::newRow("overlong 3 bytes") << QByteArray("\xE0\x80\xAF") << "\\xE0\\x80\\xAF";
        QTest::newRow("lone continuation") << QByteArray("\x80x") << "\\x80x";
        QTest::newRow("cut sequence, then valid")
            << QByteArray("\xE2\x82\xC3\xA9") << QString::fromUtf8("\\xE2\\x82\xC3\xA9");
        QTest::newRow("encoded surrogate") << QByteArray("\xED\xA0\x80") << "\\xED\\xA0\\x80";
        QTest::newRow("above U+10FFFF") << QByteArray("\xF4\x90\x80\x80") << "\\xF4\\x90\\x80\\x80";
        QTest::newRow("0xFF at end") << QByteArray("a\xFF") << "a\\xFF";
    }
    void pathBytes() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, display);
        const QString path = DecodePath(bytes);
        QCOMPARE(EncodePath(path), bytes);
        QCOMPARE(DisplayPath(path), display);
        const QString absolute = QStringLiteral("/tmp/") + path;
        QCOMPARE(PathOfUrl(UrlOfPath(absolute)), absolute);
        // A URL made by QUrl itself from a valid path reads back as that path.
        if (!HoldsEscapedBytes(path))
            QCOMPARE(PathOfUrl(QUrl::fromLocalFile(absolute)), absolute);
    }
    void pathBytesOfRandomNames() {
        QRandomGenerator random(21);
        for (int round = 0; round < 20000; ++round) {
            QByteArray bytes(int(random.bounded(10)), '\0');
            for (char& c : bytes) {
                const quint32 pick = random.bounded(8);
                c = char(pick == 0  ? 'a'
                         : pick < 3 ? 0x80 + random.bounded(0x40)
                                    : random.bounded(0x80, 0x100));
            }
            const QString path = DecodePath(bytes);
            QCOMPARE(EncodePath(path), bytes);
            // Valid UTF-8 (as Qt judges it) reads as Qt reads it, anything else escapes.
            const bool valid = QString::fromUtf8(bytes).toUtf8() == bytes;
            QVERIFY2(HoldsEscapedBytes(path) != valid, bytes.toHex().constData());
            if (valid)
                QCOMPARE(path, QString::fromUtf8(bytes));
        }
    }

    void atomicReplace_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("oldMode");    // -1: no file there before
        QTest::addColumn<int>("givenMode");  // -1: none asked for
        QTest::addColumn<QString>("end");    // commit, abandon or destroy
        QTest::addColumn<int>("mode");       // the target's mode afterwards
        const mode_t mask = umask(0);
        umask(mask);
        const int fresh = int(0666 & ~mask);
        QTest::newRow("commit keeps the old mode")
            << QByteArray("a.txt") << 0640 << -1 << "commit" << 0640;
        QTest::newRow("commit gives the asked mode")
            << QByteArray("a.txt") << 0640 << 0751 << "commit" << 0751;
        QTest::newRow("new file: umask's mode")
            << QByteArray("a.txt") << -1 << -1 << "commit" << fresh;
        QTest::newRow("non-UTF-8 name")
            << QByteArray("caf\xe9\xff") << 0600 << -1 << "commit" << 0600;
        QTest::newRow("longest name")
            << QByteArray(NAME_MAX, 'n') << 0644 << -1 << "commit" << 0644;
        QTest::newRow("abandon") << QByteArray("a.txt") << 0640 << 0755 << "abandon" << 0640;
        QTest::newRow("destroyed uncommitted")
            << QByteArray("a.txt") << 0604 << -1 << "destroy" << 0604;
        QTest::newRow("abandon, nothing there")
            << QByteArray("a.txt") << -1 << -1 << "abandon" << -1;
    }
    void atomicReplace() {
        QFETCH(QByteArray, name);
        QFETCH(int, oldMode);
        QFETCH(int, givenMode);
        QFETCH(QString, end);
        QFETCH(int, mode);
        const QByteArray folder = NewFolder(QTest::currentDataTag());
        QVERIFY(!folder.isEmpty());
        const QByteArray target = folder + '/' + name;
        const QByteArray old = "old content\n";
        if (oldMode >= 0) {
            const int fd = open(target.constData(), O_WRONLY | O_CREAT | O_EXCL, 0600);
            QVERIFY(fd >= 0);
            QCOMPARE(write(fd, old.constData(), size_t(old.size())), ssize_t(old.size()));
            QCOMPARE(fchmod(fd, mode_t(oldMode)), 0);
            close(fd);
        }
        {
            const int folderFd = open(folder.constData(), O_RDONLY | O_DIRECTORY);
            QVERIFY(folderFd >= 0);
            AtomicReplace replace;
            QVERIFY2(replace.Begin(folderFd, name), qPrintable(replace.Reason()));
            close(folderFd);
            QCOMPARE(replace.Replaces(), oldMode >= 0);
            QCOMPARE(write(replace.Fd(), "new", 3), ssize_t(3));
            if (givenMode >= 0)
                replace.SetMode(mode_t(givenMode));
            replace.SetModified({1000000000, 0});
            if (end == QLatin1String("commit"))
                QVERIFY2(replace.Commit(), qPrintable(replace.Reason()));
            else if (end == QLatin1String("abandon"))
                replace.Abandon();
        }
        // No temporary file is left, whatever the end.
        QCOMPARE(Entries(folder), mode >= 0 ? QList<QByteArray>{name} : QList<QByteArray>());
        if (mode < 0)
            return;
        struct stat st {};
        QCOMPARE(stat(target.constData(), &st), 0);
        QCOMPARE(int(st.st_mode & 07777), mode);
        const bool committed = end == QLatin1String("commit");
        QCOMPARE(st.st_mtime == 1000000000, committed);
        const int fd = open(target.constData(), O_RDONLY);
        char data[64];
        const ssize_t n = read(fd, data, sizeof data);
        close(fd);
        QCOMPARE(QByteArray(data, int(n)), committed ? QByteArray("new") : old);
    }

    void atomicReplaceFailsAndNamesApart() {
        const QByteArray folder = NewFolder("apart");
        QVERIFY(!folder.isEmpty());
        const QString target = QFile::decodeName(folder) + QStringLiteral("/t.bin");
        QVERIFY(vzt::WriteAll(target, "old"));
        // Two at once on one target each get their own temporary file; the last commit wins.
        AtomicReplace first, second;
        QVERIFY(first.Begin(target) && second.Begin(target));
        QVERIFY(first.TempName() != second.TempName());
        // Listings know them for what they are, and take a user's look-alikes for files.
        QVERIFY(IsReplacementInProgress(QFile::decodeName(first.TempName())));
        for (const char* name : {".t.bin.vz-abc12", "t.bin.vz-abc123", ".t.bin.vz-abc12-"})
            QVERIFY2(!IsReplacementInProgress(QString::fromLatin1(name)), name);
        QCOMPARE(write(second.Fd(), "second", 6), ssize_t(6));
        QVERIFY(second.Commit());
        QCOMPARE(write(first.Fd(), "first", 5), ssize_t(5));
        QVERIFY(first.Commit());
        QCOMPARE(vzt::ReadAll(target), QByteArray("first"));

        AtomicReplace nowhere;
        QVERIFY(!nowhere.Begin(QFile::decodeName(folder) + QStringLiteral("/missing/t.bin")));
        QCOMPARE(nowhere.Reason(), QString::fromLocal8Bit(strerror(ENOENT)));

        // A folder without write permission: a failure with its reason, the target as it was.
        if (geteuid() == 0)
            QSKIP("root writes into any folder");
        QCOMPARE(chmod(folder.constData(), 0500), 0);
        AtomicReplace refused;
        QVERIFY(!refused.Begin(target));
        chmod(folder.constData(), 0700);
        QCOMPARE(refused.Error(), EACCES);
        QCOMPARE(refused.Reason(), QString::fromLocal8Bit(strerror(EACCES)));
        QCOMPARE(refused.Fd(), -1);
        QCOMPARE(vzt::ReadAll(target), QByteArray("first"));
        QCOMPARE(Entries(folder), QList<QByteArray>{"t.bin"});
    }

    void tempFolderIsPreparedAndEmptied_data() {
        QTest::addColumn<QString>("runtime");  // $XDG_RUNTIME_DIR, under the test's folder
        QTest::addColumn<bool>("inRuntime");   // else in the cache folder
        QTest::newRow("runtime folder") << "run" << true;
        QTest::newRow("no runtime folder") << "" << false;
        QTest::newRow("runtime folder missing") << "gone" << false;
        QTest::newRow("runtime folder is a link") << "link" << false;
    }

    void tempFolderIsPreparedAndEmptied() {
        QFETCH(QString, runtime);
        QFETCH(bool, inRuntime);
        const QString tmp = m_dir.path() + QStringLiteral("/tmp/") + QTest::currentDataTag();
        const QString run = tmp + QStringLiteral("/run");
        QVERIFY(QDir().mkpath(run) && QFile::link(run, tmp + QStringLiteral("/link")));
        qputenv("XDG_CACHE_HOME", (tmp + QStringLiteral("/cache")).toUtf8());
        qputenv("XDG_RUNTIME_DIR",
                runtime.isEmpty() ? QByteArray() : (tmp + '/' + runtime).toUtf8());
        const auto restore = qScopeGuard([] {
            qunsetenv("XDG_CACHE_HOME");
            qunsetenv("XDG_RUNTIME_DIR");
        });
        const QString folder = TempFolderPath();
        QCOMPARE(QFileInfo(folder).fileName(), QStringLiteral("Vela-ZIP.Temp"));
        QVERIFY(folder.startsWith(tmp + (inRuntime ? "/run/" : "/cache/")));

        // Missing: created, private to the user; made private again when others may enter.
        QVERIFY(PrepareTempFolder(true));
        QVERIFY(QFileInfo(folder).isDir());
        QCOMPARE(QFileInfo(folder).permissions() & 0x0077, QFileDevice::Permissions());
        QVERIFY(QFile::setPermissions(folder, QFileDevice::Permissions(0x7755)));
        QVERIFY(PrepareTempFolder(false));
        QCOMPARE(QFileInfo(folder).permissions() & 0x0077, QFileDevice::Permissions());

        // A read-only file, a sub-folder tree with read-only parts, and a link that leads
        // out of the folder.
        const QString outside = m_dir.path() + QStringLiteral("/outside");
        QVERIFY(vzt::MakeTree(outside, {{"keep.txt", "keep"}}));
        QVERIFY(vzt::MakeTree(
            folder, {{"ro.txt", "r"}, {"sub/deeper/file.bin", "data"}, {"sub/.hidden", "h"}}));
        QVERIFY(QFile::setPermissions(folder + QStringLiteral("/ro.txt"), QFileDevice::ReadOwner));
        QVERIFY(QFile::setPermissions(folder + QStringLiteral("/sub/deeper/file.bin"),
                                      QFileDevice::ReadOwner));
        QVERIFY(QFile::setPermissions(folder + QStringLiteral("/sub/deeper"),
                                      QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QVERIFY(QFile::link(outside, folder + QStringLiteral("/link-out")));

        // Without emptying nothing changes.
        QVERIFY(PrepareTempFolder(false));
        QCOMPARE(vzt::ListTree(folder).size(), 6);

        QVERIFY(PrepareTempFolder(true));
        QVERIFY(QFileInfo(folder).isDir());
        QCOMPARE(vzt::ListTree(folder), QStringList());
        QCOMPARE(vzt::ReadAll(outside + QStringLiteral("/keep.txt")), QByteArray("keep"));

        // A file in the folder's place is replaced by the folder.
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(vzt::WriteAll(folder, "not a folder"));
        QVERIFY(PrepareTempFolder(true));
        QVERIFY(QFileInfo(folder).isDir());
    }

    void tempFolderLinkIsNeverFollowed() {
        const QString tmp = m_dir.path() + QStringLiteral("/linktmp");
        QVERIFY(QDir().mkpath(tmp));
        qputenv("XDG_RUNTIME_DIR", tmp.toUtf8());
        const QString folder = TempFolderPath();
        const QString target = m_dir.path() + QStringLiteral("/link-target");
        QVERIFY(vzt::MakeTree(target, {{"keep.txt", "keep"}}));
        const QStringList kept{QStringLiteral("keep.txt")};
        const QByteArray link = QFile::encodeName(folder);

        // Our own link in the folder's place is replaced by a real folder; what it led to
        // stays as it was.
        QVERIFY(QFile::link(target, folder));
        QVERIFY(PrepareTempFolder(true));
        QVERIFY(!QFileInfo(folder).isSymLink());
        QVERIFY(QFileInfo(folder).isDir());
        QCOMPARE(vzt::ListTree(target), kept);

        // A link that is not ours (or that we may not replace) is refused, neither followed
        // nor emptied.
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(QFile::link(target, folder));
        if (geteuid() == 0) {
            QCOMPARE(lchown(link.constData(), 65534, 65534), 0);
        } else {
            QVERIFY(QFile::setPermissions(tmp, QFile::ReadOwner | QFile::ExeOwner));
        }
        QVERIFY(!PrepareTempFolder(true));
        QVERIFY(!PrepareTempFolder(false));
        QVERIFY(QFileInfo(folder).isSymLink());
        QCOMPARE(vzt::ListTree(target), kept);
        QFile::setPermissions(tmp, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(QFile::remove(folder));
        qunsetenv("XDG_RUNTIME_DIR");
    }
};

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
