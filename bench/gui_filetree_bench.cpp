// Expanding a folder of 20,000 files in the File Browser, against `ls -1` on the same folder.
//
// Builds (once) /tmp/vz-bench-filetree/files20k with 20,000 small files (and 20 folders), then
// in the real tree widget on the offscreen platform times from the expand call until the
// rows are in the model and the pending events (the view's layout, the first paint of the
// icons) have run. The core's folder reading alone is timed too.
//
// Usage: gui_filetree_bench [runs]   (Release build: cmake -B build-release ...)
// Target: the expansion within 300 ms.

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>

#include "app/CVelaZipApp.h"
#include "filebrowser/CVelaFileTree.h"
#include "fileops/FolderReader.h"

namespace {

const char kBase[] = "/tmp/vz-bench-filetree";
constexpr int kFiles = 20000;
constexpr int kFolders = 20;

QString Folder() {
    return QString::fromLatin1(kBase) + QStringLiteral("/files20k");
}

bool BuildFolder() {
    const QString folder = Folder();
    if (QFileInfo::exists(folder + QStringLiteral("/.complete"))) {
        return true;
    }
    std::printf("building %s (once) ...\n", qPrintable(folder));
    std::fflush(stdout);
    QDir(folder).removeRecursively();
    if (!QDir().mkpath(folder)) {
        return false;
    }
    static const char* kExtensions[] = {".txt", ".jpg", ".pdf", ".zip", ".cpp", ""};
    for (int i = 0; i < kFiles; ++i) {
        const QString name = folder + QStringLiteral("/Document %1%2")
                                          .arg(i * 7919 % kFiles, 5, 10, QLatin1Char('0'))
                                          .arg(QLatin1String(kExtensions[i % 6]));
        std::ofstream(name.toStdString()) << i;
    }
    for (int i = 0; i < kFolders; ++i) {
        QDir().mkpath(folder + QStringLiteral("/Folder %1/inner").arg(i));
    }
    std::ofstream((folder + QStringLiteral("/.complete")).toStdString()) << 1;
    return true;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    CVelaZipApp::Initialise(app);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 7;
    if (!BuildFolder()) {
        std::fprintf(stderr, "could not build the folder\n");
        return 1;
    }

    // The peer: listing the folder, sorted, on the command line.
    std::vector<double> peer;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        QProcess p;
        p.start(QStringLiteral("ls"), {QStringLiteral("-1a"), Folder()});
        p.waitForFinished(-1);
        p.readAllStandardOutput();
        peer.push_back(t.nsecsElapsed() / 1e6);
    }

    std::vector<double> core;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        const vz::fileops::FolderListing listing = vz::fileops::ReadFolder(Folder(), true);
        core.push_back(t.nsecsElapsed() / 1e6);
        if (listing.files.size() < kFiles) {
            std::fprintf(stderr, "listing too short\n");
            return 1;
        }
    }

    CVelaFileTree tree;
    tree.resize(500, 800);
    tree.show();
    vz::platform::CPlace place;
    place.path = QString::fromLatin1(kBase);
    place.displayName = QStringLiteral("Bench");
    place.home = true;
    tree.FillRoots({place});
    const QModelIndex item = tree.Navigate(Folder());
    QCoreApplication::processEvents();

    std::vector<double> times;
    int rows = 0;
    for (int r = 0; r < runs; ++r) {
        tree.collapse(item);
        QCoreApplication::processEvents();
        QElapsedTimer t;
        t.start();
        tree.expand(item);
        QCoreApplication::processEvents();
        times.push_back(t.nsecsElapsed() / 1e6);
        rows = tree.TreeModel()->rowCount(item);
    }

    const double expand = Median(times);
    const double ls = Median(peer);
    std::printf("folder: %s\n", qPrintable(Folder()));
    std::printf("median of %d runs\n", runs);
    std::printf("expand in the File Browser (%d rows): %8.1f ms   (target <= 300 ms)\n", rows,
                expand);
    std::printf("core folder reading alone:            %8.1f ms\n", Median(core));
    std::printf("ls -1a (process):                     %8.1f ms\n", ls);
    std::printf("ratio expand / ls -1a:                %8.2f\n", expand / ls);
    return 0;
}
