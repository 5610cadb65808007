// Packing against the peer tools, one run each, printed as ratios.
//
//  1. Adding a ~300 MB mixed folder (text, source-like files, random and already-compressed
//     data, a few large files) to a new zip at level 6: CZipPacker vs `zip -6 -r -q` and
//     `7zz a -tzip -mx5 -mmt=2`; throughput ratios and the size ratio against zip -6.
//  2. The same with AES-256 against CZipPacker's own unencrypted time (target <= 1.15), and
//     with BZIP2 against `7zz a -tzip -mm=BZip2 -mmt=2` (target <= 0.8).
//  3. Renaming one entry in a 100,000-entry zip: CZipPacker vs `7zz rn`.
//
// The data is built once under /tmp/vz_pack_bench (kept for later runs). Build in Release:
//   cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build build-release
//   -j2
//   ./build-release/bench/pack_bench [--threads N]

#include <zip.h>
#include <zlib.h>

#include <sys/resource.h>
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

#include <cstdio>

#include "archive/packer/CZipPacker.h"

namespace {

QString DataRoot() {
    const QString base = qEnvironmentVariableIsEmpty("BENCH_DATA")
                             ? QStringLiteral("/tmp/velazip-bench")
                             : qEnvironmentVariable("BENCH_DATA");
    return base + QStringLiteral("/pack");
}
const QString kRoot = DataRoot();

class Generator {
public:
    explicit Generator(quint32 seed) : m_random(seed) {}

    QByteArray Random(int size) {
        QByteArray out(size, '\0');
        m_random.fillRange(reinterpret_cast<quint32*>(out.data()), size / 4);
        return out;
    }
    QByteArray Text(int size) {
        static const char* words[] = {
            "archive", "folder", "the",   "of",   "compression", "level", "entry", "browser",
            "and",     "file",   "zip",   "data", "to",          "a",     "is",    "stored",
            "window",  "tree",   "drive", "copy", "user",        "name",  "time",  "size"};
        QByteArray out;
        out.reserve(size + 64);
        while (out.size() < size) {
            const int n = 4 + static_cast<int>(m_random.bounded(12));
            for (int i = 0; i < n; ++i) {
                out += words[m_random.bounded(static_cast<quint32>(std::size(words)))];
                out += ' ';
            }
            out += QByteArray::number(m_random.bounded(100000)) + ".\n";
        }
        out.truncate(size);
        return out;
    }
    QByteArray Source(int size) {
        QByteArray out;
        int line = 0;
        while (out.size() < size) {
            const quint32 k = m_random.bounded(6);
            const QByteArray id = "value" + QByteArray::number(m_random.bounded(400));
            if (k == 0)
                out += "static int " + id + "(int a, int b) {\n";
            if (k == 1)
                out += "    if (" + id + " > " + QByteArray::number(line) + ") return " + id +
                       " * 2;\n";
            if (k == 2)
                out += "    // " +
                       Text(40 + static_cast<int>(m_random.bounded(40))).replace('\n', ' ') + "\n";
            if (k == 3)
                out += "    for (int i = 0; i < " + id + "; ++i) total += table[i];\n";
            if (k == 4)
                out += "}\n\n";
            if (k == 5)
                out += "    " + id + " = std::max(" + id + ", other_" + id + ");\n";
            ++line;
        }
        out.truncate(size);
        return out;
    }
    quint32 Bounded(quint32 n) { return m_random.bounded(n); }

private:
    QRandomGenerator m_random;
};

bool Write(const QString& path, const QByteArray& data) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(data) == data.size();
}

QByteArray Gzip(const QByteArray& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    QByteArray out(static_cast<int>(size), '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size,
              reinterpret_cast<const Bytef*>(data.constData()), static_cast<uLong>(data.size()), 9);
    out.truncate(static_cast<int>(size));
    return out;
}

qint64 FolderBytes(const QString& folder) {
    qint64 total = 0;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        total += it.fileInfo().size();
    }
    return total;
}

// ~300 MB: text 60, source-like 40, random 60, already compressed 60, large 2 x 40.
QString MixedFolder() {
    const QString data = kRoot + QStringLiteral("/mixed");
    if (QFile::exists(kRoot + QStringLiteral("/mixed.done")))
        return data;
    QDir(data).removeRecursively();
    std::printf("building %s once ...\n", qPrintable(data));
    Generator g(2024);
    qint64 made = 0;
    for (int i = 0; made < 60ll << 20; ++i) {
        const int size = 1024 + static_cast<int>(g.Bounded(1 << 20));
        Write(data + QStringLiteral("/text/t%1/doc%2.txt").arg(i % 17).arg(i), g.Text(size));
        made += size;
    }
    made = 0;
    for (int i = 0; made < 40ll << 20; ++i) {
        const int size = 2048 + static_cast<int>(g.Bounded(30 * 1024));
        Write(data + QStringLiteral("/src/m%1/s%2/unit%3.cpp").arg(i % 11).arg(i % 7).arg(i),
              g.Source(size));
        made += size;
    }
    made = 0;
    for (int i = 0; made < 60ll << 20; ++i) {
        const int size = 4096 + static_cast<int>(g.Bounded(4 << 20));
        Write(data + QStringLiteral("/random/r%1.bin").arg(i), g.Random(size));
        made += size;
    }
    made = 0;
    for (int i = 0; made < 60ll << 20; ++i) {
        const QByteArray packed = Gzip(g.Text(64 * 1024 + static_cast<int>(g.Bounded(3 << 20))));
        Write(data + QStringLiteral("/packed/p%1.gz").arg(i), packed);
        made += packed.size();
    }
    Write(data + QStringLiteral("/large/server.log"), g.Text(40 << 20));
    QByteArray image = g.Random(20 << 20) + QByteArray(10 << 20, '\0') + g.Source(10 << 20);
    Write(data + QStringLiteral("/large/disk.img"), image);
    Write(kRoot + QStringLiteral("/mixed.done"), "1");
    return data;
}

// 100,000 small entries in 100 folders, written with libzip (stored, as small entries are).
QString ManyEntriesZip() {
    const QString path = kRoot + QStringLiteral("/many.zip");
    if (QFile::exists(path))
        return path;
    std::printf("building %s once ...\n", qPrintable(path));
    QDir().mkpath(kRoot);
    int code = 0;
    zip_t* za = zip_open(QFile::encodeName(path + QStringLiteral(".part")).constData(),
                         ZIP_CREATE | ZIP_TRUNCATE, &code);
    for (int i = 0; i < 100000; ++i) {
        const QByteArray name = QStringLiteral("d%1/f%2.txt")
                                    .arg(i / 1000, 3, 10, QLatin1Char('0'))
                                    .arg(i, 6, 10, QLatin1Char('0'))
                                    .toUtf8();
        const QByteArray body = "entry " + QByteArray::number(i) + " with a little text in it\n";
        char* copy = static_cast<char*>(malloc(static_cast<size_t>(body.size())));
        memcpy(copy, body.constData(), static_cast<size_t>(body.size()));
        zip_source_t* s = zip_source_buffer(za, copy, static_cast<zip_uint64_t>(body.size()), 1);
        const zip_int64_t idx = zip_file_add(za, name.constData(), s, 0);
        zip_set_file_compression(za, static_cast<zip_uint64_t>(idx), ZIP_CM_STORE, 0);
    }
    if (zip_close(za) != 0) {
        std::printf("cannot build %s\n", qPrintable(path));
        return QString();
    }
    QFile::rename(path + QStringLiteral(".part"), path);
    return path;
}

struct Timing {
    double wall = 0;
    double cpu = 0;  // user + system
    bool ok = true;
};

double CpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

QString LoadAverage() {
    QFile f(QStringLiteral("/proc/loadavg"));
    return f.open(QIODevice::ReadOnly)
               ? QString::fromLatin1(f.readAll()).section(QLatin1Char(' '), 0, 2)
               : QStringLiteral("?");
}

Timing Run(const QString& program, const QStringList& args, const QString& dir) {
    QProcess p;
    p.setWorkingDirectory(dir);
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const double cpu = CpuSeconds(RUSAGE_CHILDREN);
    QElapsedTimer t;
    t.start();
    p.start(program, args);
    p.waitForFinished(-1);
    Timing timing;
    timing.wall = static_cast<double>(t.nsecsElapsed()) / 1e9;
    timing.cpu = CpuSeconds(RUSAGE_CHILDREN) - cpu;
    timing.ok = p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    if (!timing.ok)
        std::printf("  %s failed (exit %d)\n", qPrintable(program), p.exitCode());
    return timing;
}

void WarmCache(const QString& folder) {
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile f(it.next());
        if (f.open(QIODevice::ReadOnly))
            while (!f.read(1 << 20).isEmpty()) {
            }
    }
}

// The best of `runs` tries; `once` times one try.
template <typename Try>
Timing Best(int runs, Try once) {
    Timing best;
    for (int i = 0; i < runs; ++i) {
        const Timing t = once();
        if (i == 0 || t.wall < best.wall)
            best = t;
    }
    return best;
}

// `encryption`: -1 none, else the INIPACK index (3 AES-256).
Timing PackWithPacker(const QString& data, const QString& archive, int threads, int method = 8,
                      int encryption = -1) {
    QFile::remove(archive);
    Timing timing;
    const double cpu = CpuSeconds(RUSAGE_SELF);
    QElapsedTimer t;
    t.start();
    CZipPacker packer;
    INIPACK ini;
    ini.CompressionLevel = 6;
    ini.CompressionMethod = method;
    ini.EncryptionOn = encryption >= 0;
    ini.EncryptionMethod = std::max(encryption, 0);
    ini.Password = encryption >= 0 ? QStringLiteral("bench") : QString();
    ini.PackFoldersWithoutPaths = true;
    ini.AskBeforeUpdating = false;
    packer.SetIni(ini);
    packer.SetCompressionThreads(threads);
    if (!packer.CreateArchive(archive) || !packer.AddFolderToArchive(data, data, true) ||
        !packer.CloseArchive())
        std::printf("  CZipPacker failed: %s\n", qPrintable(packer.LastError()));
    timing.wall = static_cast<double>(t.nsecsElapsed()) / 1e9;
    timing.cpu = CpuSeconds(RUSAGE_SELF) - cpu;
    return timing;
}

Timing RenameWithPacker(const QString& archive, const QString& from, const QString& to) {
    Timing timing;
    const double cpu = CpuSeconds(RUSAGE_SELF);
    QElapsedTimer t;
    t.start();
    CZipPacker packer;
    if (!packer.OpenArchive(archive) || !packer.RenameFile(from, to) || !packer.CloseArchive())
        std::printf("  CZipPacker failed: %s\n", qPrintable(packer.LastError()));
    timing.wall = static_cast<double>(t.nsecsElapsed()) / 1e9;
    timing.cpu = CpuSeconds(RUSAGE_SELF) - cpu;
    return timing;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    int threads = 0;
    for (int i = 1; i + 1 < argc; ++i)
        if (QByteArray(argv[i]) == "--threads")
            threads = QByteArray(argv[i + 1]).toInt();
    const int runs = qEnvironmentVariableIsEmpty("BENCH_RUNS")
                         ? 3
                         : std::max(1, qEnvironmentVariableIntValue("BENCH_RUNS"));

    const QString data = MixedFolder();
    const QString out = kRoot + QStringLiteral("/out");
    QDir(out).removeRecursively();
    QDir().mkpath(out);
    const qint64 bytes = FolderBytes(data);
    WarmCache(data);
    const double mb = static_cast<double>(bytes) / (1 << 20);
    std::printf("\nAdding %s (%.0f MiB) to a new zip, level 6, best of %d (load average %s)\n",
                qPrintable(data), mb, runs, qPrintable(LoadAverage()));

    const QString parent = QFileInfo(data).absolutePath();
    const QString name = QFileInfo(data).fileName();
    const QString oursZip = out + QStringLiteral("/ours.zip");
    const QString zipZip = out + QStringLiteral("/zip.zip");
    const QString sevenZip7 = out + QStringLiteral("/7zz.zip");
    const Timing ours = Best(runs, [&] { return PackWithPacker(data, oursZip, threads); });
    const Timing zip = Best(runs, [&] {
        QFile::remove(zipZip);  // zip would update an existing archive
        return Run(QStringLiteral("zip"),
                   {QStringLiteral("-6"), QStringLiteral("-r"), QStringLiteral("-q"), zipZip, name},
                   parent);
    });
    const Timing sevenZip = Best(runs, [&] {
        QFile::remove(sevenZip7);
        return Run(QStringLiteral("7zz"),
                   {QStringLiteral("a"), QStringLiteral("-tzip"), QStringLiteral("-mx5"),
                    QStringLiteral("-mmt=2"), QStringLiteral("-bd"), QStringLiteral("-bso0"),
                    sevenZip7, name},
                   parent);
    });
    const double oursSize = static_cast<double>(QFileInfo(oursZip).size());
    const double zipSize = static_cast<double>(QFileInfo(zipZip).size());
    const double sevenSize = static_cast<double>(QFileInfo(sevenZip7).size());
    const auto row = [mb](const char* label, const Timing& timing, double size) {
        std::printf("  %-18s %6.2f s  %6.1f MiB/s  cpu %6.2f s  %.1f MiB\n", label, timing.wall,
                    mb / timing.wall, timing.cpu, size / (1 << 20));
    };
    row("CZipPacker", ours, oursSize);
    row("zip -6 -r", zip, zipSize);
    row("7zz -mx5 -mmt=2", sevenZip, sevenSize);
    std::printf("  throughput vs zip -6: %.2fx (target >= 1.5)   vs 7zz: %.2fx (target >= 1.0)\n",
                zip.wall / ours.wall, sevenZip.wall / ours.wall);
    std::printf("  size vs zip -6: %.4f (target within 1%%)\n", oursSize / zipSize);
    const Timing check =
        Run(QStringLiteral("7zz"),
            {QStringLiteral("t"), QStringLiteral("-bd"), QStringLiteral("-bso0"), oursZip}, out);
    std::printf("  (7zz t on CZipPacker's archive: %s)\n",
                check.ok ? "everything is Ok" : "FAILED");

    // Encryption and BZIP2. Each archive is checked by 7zz.
    const QString aesZip = out + QStringLiteral("/aes.zip");
    const QString bzZip = out + QStringLiteral("/bzip2.zip");
    const QString bz7 = out + QStringLiteral("/7zz-bzip2.zip");
    std::printf("\nThe same with AES-256 and with BZIP2, best of %d (load average %s)\n", runs,
                qPrintable(LoadAverage()));
    const Timing aes = Best(runs, [&] { return PackWithPacker(data, aesZip, threads, 8, 3); });
    const Timing plain = Best(runs, [&] { return PackWithPacker(data, oursZip, threads); });
    const Timing bzip2 = Best(runs, [&] { return PackWithPacker(data, bzZip, threads, 12); });
    const Timing sevenBzip2 = Best(runs, [&] {
        QFile::remove(bz7);
        return Run(
            QStringLiteral("7zz"),
            {QStringLiteral("a"), QStringLiteral("-tzip"), QStringLiteral("-mm=BZip2"),
             QStringLiteral("-mmt=2"), QStringLiteral("-bd"), QStringLiteral("-bso0"), bz7, name},
            parent);
    });
    row("CZipPacker AES-256", aes, static_cast<double>(QFileInfo(aesZip).size()));
    row("CZipPacker", plain, static_cast<double>(QFileInfo(oursZip).size()));
    row("CZipPacker BZIP2", bzip2, static_cast<double>(QFileInfo(bzZip).size()));
    row("7zz BZip2 -mmt=2", sevenBzip2, static_cast<double>(QFileInfo(bz7).size()));
    std::printf("  AES-256 vs unencrypted: %.2fx (goal <= 1.15)\n", aes.wall / plain.wall);
    std::printf("  BZIP2 vs 7zz -mmt=2: %.2fx (goal <= 0.8)\n", bzip2.wall / sevenBzip2.wall);
    const auto tested = [&](const QString& archive, const QString& password) {
        QStringList args{QStringLiteral("t"), QStringLiteral("-bd"), QStringLiteral("-bso0")};
        if (!password.isEmpty())
            args << QStringLiteral("-p") + password;
        return Run(QStringLiteral("7zz"), args << archive, out).ok ? "everything is Ok" : "FAILED";
    };
    std::printf("  (7zz t: AES-256 %s, BZIP2 %s)\n", tested(aesZip, QStringLiteral("bench")),
                tested(bzZip, QString()));

    const QString many = ManyEntriesZip();
    if (many.isEmpty())
        return 1;
    const QString a = out + QStringLiteral("/many-ours.zip");
    const QString b = out + QStringLiteral("/many-7zz.zip");
    const QString entry = QStringLiteral("d050/f050000.txt");
    const QString renamed = QStringLiteral("d050/renamed.txt");
    std::printf("\nRenaming one entry in a 100,000-entry zip, best of %d (load average %s)\n", runs,
                qPrintable(LoadAverage()));
    const Timing oursRename = Best(runs, [&] {
        QFile::remove(a);
        QFile::copy(many, a);
        WarmCache(a);
        return RenameWithPacker(a, entry, renamed);
    });
    const Timing sevenRename = Best(runs, [&] {
        QFile::remove(b);
        QFile::copy(many, b);
        WarmCache(b);
        return Run(QStringLiteral("7zz"),
                   {QStringLiteral("rn"), QStringLiteral("-bd"), QStringLiteral("-bso0"), b, entry,
                    renamed},
                   out);
    });
    std::printf("  CZipPacker   %6.3f s  cpu %6.3f s\n  7zz rn       %6.3f s  cpu %6.3f s\n",
                oursRename.wall, oursRename.cpu, sevenRename.wall, sevenRename.cpu);
    std::printf("  time vs 7zz rn: %.2fx (target <= 1.0)\n", oursRename.wall / sevenRename.wall);
    QDir(out).removeRecursively();
    return 0;
}
