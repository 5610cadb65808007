#include "common/OpenWithDefault.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QMimeDatabase>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <utility>

#include "platform/FileSystem.h"

namespace vz {

namespace {
OpenHook& Hook() {
    static OpenHook hook;
    return hook;
}

QString NoApplicationReason(const QString& path) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    const QString name = type.comment().isEmpty()
                             ? type.name()
                             : QStringLiteral("%1 (%2)").arg(type.comment(), type.name());
    return QStringLiteral("No application is set to open files of type %1.").arg(name);
}
}  // namespace

OpenHook SetOpenHook(OpenHook hook) {
    return std::exchange(Hook(), std::move(hook));
}

void OpenWithDefaultApplication(const QString& path, QObject* context,
                                std::function<void(const QString& reason)> failed) {
    if (Hook()) {
        if (!Hook()(path))
            failed(NoApplicationReason(path));
        return;
    }
    // The desktop's launcher says by its exit status whether an application took the file;
    // Qt's own opener starts it detached and never hears of a failure.
    const QString launcher = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (launcher.isEmpty()) {
        if (!QDesktopServices::openUrl(vz::platform::UrlOfPath(path)))
            failed(NoApplicationReason(path));
        return;
    }
    // The launcher may run as long as the application it started; it belongs to the program,
    // not to the window that asked.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setProcessChannelMode(QProcess::MergedChannels);
    const QPointer<QObject> asker(context);
    auto fail = [process, asker, path, failed](const QString& output) {
        if (asker) {
            QString reason = NoApplicationReason(path);
            if (!output.isEmpty())
                reason += QLatin1Char('\n') + output;
            failed(reason);
        }
        process->deleteLater();
    };
    QObject::connect(process, &QProcess::finished, process,
                     [process, fail](int code, QProcess::ExitStatus status) {
                         if (status == QProcess::NormalExit && code == 0) {
                             process->deleteLater();
                             return;
                         }
                         fail(QString::fromLocal8Bit(process->readAll()).trimmed());
                     });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, fail](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             fail(process->errorString());
                     });
    // A name that is not UTF-8 goes as a file URL: as an argument it would lose its bytes.
    process->start(launcher, {platform::HoldsEscapedBytes(path)
                                  ? platform::UrlOfPath(path).toString(QUrl::FullyEncoded)
                                  : path});
}

}  // namespace vz
