// Expanding a large zip archive in the Archive Browser, against `7zz l` on the same archive.
//
// Builds (once, under /tmp/vz-bench-gui) a zip of about 100,000 entries in 1,000 folders, one
// of which holds 10,000 files. Then, in the real tree widget on the offscreen platform, times
// from the expand call until the rows are in the model and the pending events (the view's
// layout) have run: the archive's root, and the 10,000-file folder. A 2 ms timer runs all the
// while; the longest gap between its ticks tells how long the window went without painting.
//
// Usage: gui_expand_bench [runs]   (Release build: cmake -B build-release ...)

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

    CVelaArchiveTree tree;
    tree.SetArchiveExtensions({QStringLiteral("ZIP")});
    tree.resize(500, 800);
    tree.show();
    tree.Populate(QString::fromLatin1(kFolder));
    const QModelIndex archive = tree.Navigate(ArchivePath());
    CVelaTreeModel* model = tree.TreeModel();

    Gaps gaps;
    QTimer ticker;
    ticker.setInterval(2);
    QObject::connect(&ticker, &QTimer::timeout, [&gaps] { gaps.Tick(); });
    ticker.start();

    std::vector<double> rootTimes;
    std::vector<double> folderTimes;
    qint64 longestGap = 0;
    int rootRows = 0;
    int folderRows = 0;
    for (int r = 0; r < runs; ++r) {
        tree.collapse(archive);
        QCoreApplication::processEvents();

        gaps.Start();
        QElapsedTimer t;
        t.start();
        tree.expand(archive);
        QCoreApplication::processEvents();
        rootTimes.push_back(t.nsecsElapsed() / 1e6);
        longestGap = std::max(longestGap, gaps.Finish());
        rootRows = model->rowCount(archive);

        const QModelIndex big = model->FindChild(archive, QStringLiteral("big"));
        t.start();
        tree.expand(big);
        QCoreApplication::processEvents();
        folderTimes.push_back(t.nsecsElapsed() / 1e6);
        folderRows = model->rowCount(big);
    }

    const double root = Median(rootTimes);
    const double folder = Median(folderTimes);
    const double list = Median(peer);
    std::printf("archive: %s (%lld bytes)\n", qPrintable(ArchivePath()),
                static_cast<long long>(QFileInfo(ArchivePath()).size()));
    std::printf("median of %d runs\n", runs);
    std::printf("expand archive root (%d rows):      %8.1f ms   (target <= 300 ms)\n", rootRows,
                root);
    std::printf("expand folder 'big' (%d rows):    %8.1f ms   (target <= 150 ms)\n", folderRows,
                folder);
    std::printf("core open + list root level:        %8.1f ms\n", Median(core));
    std::printf("7zz l (whole archive, process):    %8.1f ms\n", list);
    std::printf("ratio expand root / 7zz l:          %8.2f\n", root / list);
    std::printf("ratio expand 'big' / 7zz l:         %8.2f\n", folder / list);
    std::printf("longest gap between 2 ms timer ticks while the root expanded: %lld ms\n",
                static_cast<long long>(longestGap));
    return 0;
}
