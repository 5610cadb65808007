// Fuzz target: classification and listing of every archive family, the description texts,
// and reading every entry's data. The first input byte picks the family's extension; the
// rest is the archive.

#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cstdint>
#include <cstdlib>

#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/IsoImageCheck.h"
#include "archive/LibarchiveSession.h"
#include "archive/ZipDirectory.h"

namespace {

const char* const kExtensions[] = {"zip", "cab",  "rar", "7z",  "gz",  "bz2", "tar",
                                   "tgz", "tbz2", "iso", "jar", "exe", "001"};
const QStringList kRecognised = {"ZIP", "CAB", "RAR", "JAR", "XAP",  "7Z",  "001",
                                 "GZ",  "BZ2", "TAR", "TGZ", "TBZ2", "ISO", "EXE"};

QString WorkFolder() {
    static const QString folder = [] {
        const QString f = QStringLiteral("/dev/shm/vz-fuzz-%1").arg(getpid());
        QDir().mkpath(f);
        return f;
    }();
    return folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication* app = new QCoreApplication(argc, argv);
    (void)app;
    const char* ext = kExtensions[data[0] % (sizeof kExtensions / sizeof *kExtensions)];
    const QString path = WorkFolder() + QStringLiteral("/input.") + QLatin1String(ext);
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            abort();
        f.write(reinterpret_cast<const char*>(data + 1), static_cast<qint64>(size - 1));
    }
    std::vector<vz::ListedEntry> zipEntries;
    QString error;
    vz::ListZipDirectory(path, &zipEntries, &error);
    // The header scanners of our own beside libarchive: RAR 5 encryption, cabinet folders,
    // an image's continuation chains.
    vz::ScanRar5Encryption({path});
    vz::CabinetMethod(path);
    vz::CheckRockRidgeContinuations(path, &error);

    const int family = vz::ClassifyPath(path + QStringLiteral("/inner/x"), kRecognised);
    std::unique_ptr<CArchiveUnpacker> u = vz::CreateUnpacker(family);
    if (!u || !vz::OpenForFamily(*u, path))
        return 0;
    ArchiveLevel level;
    if (u->ListLevel(QString(), level)) {
        for (const ArchiveLevelFolder& f : level.folders) {
            ArchiveLevel below;
            u->ListLevel(f.name, below);
            u->GetFolderOutputInfo(f.name);
        }
        for (const QString& f : level.files)
            u->GetFileOutputInfo(f);
    }
    u->GetArchiveOutputInfo();
    u->IsTarInside();
    u->Test();
    u->CloseArchive();
    return 0;
}
