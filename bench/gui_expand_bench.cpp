// Expanding a large zip archive in the Archive Browser, against `7zz l` on the same archive.
//
// Builds (once, under /tmp/vz-bench-gui) a zip of about 100,000 entries in 1,000 folders, one
// of which holds 10,000 files. Then, in the real tree widget on the offscreen platform, times
// from the expand call until the rows are in the model and the pending events (the view's
// layout) have run: the archive's root, and the 10,000-file folder. A 2 ms timer runs all the
// while; the longest gap between its ticks tells how long the window went without painting.
//
// With a second argument, the same for that archive of 1,000,000 entries (bench/common.sh
// make_million_zip): its root, the first time (its directory read) and again, and one of its
// 1,000-file folders.
//
// Usage: gui_expand_bench [runs [million.zip]]   (Release build: cmake -B build-release ...)

#include <fcntl.h>
#include <sys/stat.h>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

#include "BigZipFixture.h"
#include "app/CVelaZipApp.h"
#include "archive/CArchiveUnpacker.h"
#include "archivebrowser/CVelaArchiveTree.h"

using namespace vzbench;

namespace {

struct Expansion {
    double firstRoot = 0;  // the first expansion: the archive's directory is read
    double root = 0;       // the median of all
    double folder = 0;
    qint64 firstGap = 0;    // the longest gap while the first expansions ran
    qint64 longestGap = 0;  // ... while the others ran
    int rootRows = 0;
    int folderRows = 0;
};

// Expands the archive's root and then `folder` in it, `runs` times, in the real tree widget:
// each time from the expand call until the rows are in the model and the pending events
// (the view's layout) have run. A 2 ms timer runs all the while; the longest gap between its
// ticks tells how long the window went without painting.
Expansion Expand(const QString& archivePath, const QString& folder, int runs) {
    CVelaArchiveTree tree;
    tree.SetArchiveExtensions({QStringLiteral("ZIP")});
    tree.resize(500, 800);
    tree.show();
    tree.Populate(QFileInfo(archivePath).absolutePath());
    const QModelIndex archive = tree.Navigate(archivePath);
    CVelaTreeModel* model = tree.TreeModel();

    Gaps gaps;
    QTimer ticker;
    ticker.setInterval(2);
    QObject::connect(&ticker, &QTimer::timeout, [&gaps] { gaps.Tick(); });
    ticker.start();

    // Selecting the archive (above) read its directory for the status bar: touched, it is
    // read again by the first expansion.
    utimensat(AT_FDCWD, QFile::encodeName(archivePath).constData(), nullptr, 0);

    Expansion result;
    std::vector<double> rootTimes;
    std::vector<double> folderTimes;
    for (int r = 0; r < runs; ++r) {
        tree.collapse(archive);
        QCoreApplication::processEvents();

        gaps.Start();
        QElapsedTimer t;
        t.start();
        tree.expand(archive);
        QCoreApplication::processEvents();
        rootTimes.push_back(t.nsecsElapsed() / 1e6);
        result.rootRows = model->rowCount(archive);

        const QModelIndex below = model->FindChild(archive, folder);
        t.start();
        tree.expand(below);
        QCoreApplication::processEvents();
        folderTimes.push_back(t.nsecsElapsed() / 1e6);
        result.folderRows = model->rowCount(below);
        const qint64 gap = gaps.Finish();
        if (r == 0)
            result.firstGap = gap;
        else
            result.longestGap = std::max(result.longestGap, gap);
    }
    result.firstRoot = rootTimes.front();
    result.root = Median(rootTimes);
    result.folder = Median(folderTimes);
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    CVelaZipApp::Initialise(app);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    if (!BuildArchive()) {
        return 1;
    }

    // The peer: listing the whole archive on the command line.
    std::vector<double> peer;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        QProcess p;
        p.start(QStringLiteral("7zz"), {QStringLiteral("l"), ArchivePath()});
        p.waitForFinished(-1);
        p.readAllStandardOutput();
        peer.push_back(t.nsecsElapsed() / 1e6);
    }

    // The core's part alone: open the archive and list its root level.
    std::vector<double> core;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(ArchiveFamily::Zip);
        ArchiveLevel level;
        if (vz::OpenForFamily(*unpacker, ArchivePath())) {
            unpacker->ListLevel(QString(), level);
        }
        unpacker->CloseArchive();
        core.push_back(t.nsecsElapsed() / 1e6);
    }

    const Expansion big = Expand(ArchivePath(), QStringLiteral("big"), runs);
    const double list = Median(peer);
    std::printf("archive: %s (%lld bytes)\n", qPrintable(ArchivePath()),
                static_cast<long long>(QFileInfo(ArchivePath()).size()));
    std::printf("median of %d runs\n", runs);
    std::printf("expand archive root (%d rows):      %8.1f ms   (target <= 300 ms)\n", big.rootRows,
                big.root);
    std::printf("expand folder 'big' (%d rows):    %8.1f ms   (target <= 150 ms)\n", big.folderRows,
                big.folder);
    std::printf("core open + list root level:        %8.1f ms\n", Median(core));
    std::printf("7zz l (whole archive, process):    %8.1f ms\n", list);
    std::printf("ratio expand root / 7zz l:          %8.2f\n", big.root / list);
    std::printf("ratio expand 'big' / 7zz l:         %8.2f\n", big.folder / list);
    std::printf("longest gap between 2 ms timer ticks while expanding: %lld ms\n",
                static_cast<long long>(std::max(big.firstGap, big.longestGap)));

    // A million entries (1,000 folders of 1,000 files), made by bench/common.sh.
    if (argc > 2) {
        const QString million = QString::fromLocal8Bit(argv[2]);
        const Expansion m = Expand(million, QStringLiteral("folder500"), runs);
        std::printf("== %s, 1,000,000 entries\n", qPrintable(QFileInfo(million).fileName()));
        std::printf("expand archive root (%d rows), first:  %8.1f ms   (target <= 300 ms)\n",
                    m.rootRows, m.firstRoot);
        std::printf("expand archive root again (median):     %8.1f ms   (target <= 300 ms)\n",
                    m.root);
        std::printf("expand 'folder500' (%d rows):          %8.1f ms   (target <= 100 ms)\n",
                    m.folderRows, m.folder);
        std::printf(
            "longest gap between 2 ms timer ticks, first expansions: %lld ms, the "
            "others: %lld ms   (target < 50 ms)\n",
            static_cast<long long>(m.firstGap), static_cast<long long>(m.longestGap));
    }
    return 0;
}
