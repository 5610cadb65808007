#include "app/CVelaZipApp.h"

#include <QApplication>
#include <QIcon>

#include "app/CMainFrame.h"
#include "app/CShellActions.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CItemIcons.h"
#include "filebrowser/CCloudDriveItem.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsStore.h"

#include <cstdio>

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
    // The command line is read before a display is needed: --help and a refused command line
    // work without one.
    QList<QByteArray> arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QByteArray(argv[i]);
    const CShellActions::Request request = CShellActions::Parse(arguments);
    if (request.kind == CShellActions::Request::Kind::Help) {
        std::fputs(CShellActions::Usage().toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (request.kind == CShellActions::Request::Kind::Usage) {
        std::fputs(
            (request.error + QLatin1Char('\n') + CShellActions::Usage()).toLocal8Bit().constData(),
            stderr);
        return 2;
    }

    QApplication app(argc, argv);
    Initialise(app);
    if (request.kind == CShellActions::Request::Kind::Action) {
        CSettingsRecord settings;
        CSettingsStore::Load(settings);
        CShellActions actions(request, settings);
        actions.Start([&app](bool ok) { app.exit(ok ? 0 : 1); });
        return app.exec();
    }
    // QApplication has taken its own options out of argv. The paths left are bytes; a name
    // that is not UTF-8 keeps them all.
    QStringList paths;
    for (int i = 1; i < argc; ++i)
        paths << vz::platform::DecodePath(argv[i]);
    CMainFrame frame(paths);
    frame.show();
    return app.exec();
}
