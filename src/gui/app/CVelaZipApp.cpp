#include "app/CVelaZipApp.h"

#include <QApplication>
#include <QIcon>

#include "app/CMainFrame.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CItemIcons.h"
#include "filebrowser/CCloudDriveItem.h"
#include "platform/FileSystem.h"

void CVelaZipApp::Initialise(QApplication& app) {
    app.setApplicationName(QString::fromLatin1(kProductName));
    app.setApplicationVersion(QString::fromLatin1(kVersion));
    app.setOrganizationName(QStringLiteral("Vela Systems"));
    app.setDesktopFileName(QStringLiteral("velazip"));
    vz::EnsureUtf8Locale();
    CItemIcons::SelectIconTheme();
    app.setWindowIcon(QIcon::fromTheme(QStringLiteral("package-x-generic"),
                                       QIcon::fromTheme(QStringLiteral("application-zip"))));
}

int CVelaZipApp::Run(int argc, char** argv) {
    QApplication app(argc, argv);
    Initialise(app);
    // QApplication has taken its own options out of argv. The paths left are bytes; a name
    // that is not UTF-8 keeps them all.
    QStringList paths;
    for (int i = 1; i < argc; ++i)
        paths << vz::platform::DecodePath(argv[i]);
    CMainFrame frame(paths);
    frame.show();
    return app.exec();
}
