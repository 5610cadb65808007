#pragma once
// The GUI benchmarks' shared fixture: a zip of about 100,000 entries in 1,000 folders, one of
// which ("big") holds 10,000 files, built once under /tmp/vz-bench-gui with the zip tool; and
// the longest gap between the ticks of a timer, which tells how long the window went without
// painting.

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>

namespace vzbench {

inline const char kFolder[] = "/tmp/vz-bench-gui";
constexpr int kFolders = 1000;
constexpr int kFilesPerFolder = 90;
constexpr int kBigFolderFiles = 10000;

inline QString ArchivePath() {
    return QString::fromLatin1(kFolder) + QStringLiteral("/big100k.zip");
}

// Builds the archive unless it is there; says why on failure.
inline bool BuildArchive() {
    QDir().mkpath(QString::fromLatin1(kFolder));
    if (QFileInfo::exists(ArchivePath())) {
        return true;
    }
    std::printf("building %s (once) ...\n", qPrintable(ArchivePath()));
    std::fflush(stdout);
    const QString tree = QString::fromLatin1(kFolder) + QStringLiteral("/tree");
    QDir(tree).removeRecursively();
    for (int f = 0; f < kFolders; ++f) {
        const bool big = f == kFolders / 2;
        const QString folder =
            big ? QStringLiteral("big") : QStringLiteral("dir%1").arg(f, 4, 10, QLatin1Char('0'));
        QDir().mkpath(tree + '/' + folder);
        const int files = big ? kBigFolderFiles : kFilesPerFolder;
        for (int i = 0; i < files; ++i) {
            const QString name = tree + '/' + folder +
                                 QStringLiteral("/File %1.txt").arg(i, 5, 10, QLatin1Char('0'));
            std::ofstream(name.toStdString()) << i;
        }
    }
    QProcess zip;
    zip.setWorkingDirectory(tree);
    zip.start(QStringLiteral("zip"), {QStringLiteral("-qr"), ArchivePath(), QStringLiteral(".")});
    const bool ok = zip.waitForFinished(-1) && zip.exitCode() == 0;
    QDir(tree).removeRecursively();
    if (!ok) {
        std::fprintf(stderr, "could not build the archive with zip\n");
    }
    return ok;
}

inline double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Gaps {
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longest = 0;
    int ticks = 0;
    void Start() {
        clock.start();
        last = 0;
        longest = 0;
        ticks = 0;
    }
    void Tick() {
        const qint64 now = clock.elapsed();
        longest = std::max(longest, now - last);
        last = now;
        ++ticks;
    }
    qint64 Finish() {
        Tick();
        return longest;
    }
};

}  // namespace vzbench
