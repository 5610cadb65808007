#include "CSendFileTo.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

bool CSendFileTo::Send(const QString& path, const QString& subject) const {
    if (path.isEmpty()) {
        return false;
    }
    const QString program = QStandardPaths::findExecutable(QStringLiteral("xdg-email"));
    if (program.isEmpty()) {
        return false;
    }
    QStringList arguments;
    if (!subject.isEmpty()) {
        arguments << QStringLiteral("--subject") << subject;
    }
    // A relative name is attached under that same name, found from our own folder.
    arguments << QStringLiteral("--attach") << QFileInfo(path).absoluteFilePath();
    return QProcess::startDetached(program, arguments);
}
