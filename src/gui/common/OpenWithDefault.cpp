#include "common/OpenWithDefault.h"

#include <QDesktopServices>
#include <QMimeDatabase>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <utility>

namespace vz {

namespace {
OpenHook& Hook() {
    static OpenHook hook;
    return hook;
}

QMimeType TypeOf(const QString& path) {
    return QMimeDatabase().mimeTypeForFile(path);
}

// Whether the desktop has an application for `path`: its launcher (xdg-open) is installed
// and, where the desktop can be asked (xdg-mime), a default application is set for the type.
bool HasDefaultApplication(const QString& path) {
    if (QStandardPaths::findExecutable(QStringLiteral("xdg-open")).isEmpty())
        return false;
    const QString query = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
    if (query.isEmpty())
        return true;  // the launcher decides alone
    QProcess process;
    process.start(query, {QStringLiteral("query"), QStringLiteral("default"), TypeOf(path).name()});
    if (!process.waitForFinished(5000))
        return true;
    return !process.readAllStandardOutput().trimmed().isEmpty();
}

QString NoApplicationReason(const QString& path) {
    const QMimeType type = TypeOf(path);
    const QString name = type.comment().isEmpty()
                             ? type.name()
                             : QStringLiteral("%1 (%2)").arg(type.comment(), type.name());
    return QStringLiteral("No application is set to open files of type %1.").arg(name);
}
}  // namespace

OpenHook SetOpenHook(OpenHook hook) {
    return std::exchange(Hook(), std::move(hook));
}

bool OpenWithDefaultApplication(const QString& path, QString* reason) {
    const bool opened = Hook() ? Hook()(path)
                               : HasDefaultApplication(path) &&
                                     QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    if (!opened && reason != nullptr)
        *reason = NoApplicationReason(path);
    return opened;
}

}  // namespace vz
