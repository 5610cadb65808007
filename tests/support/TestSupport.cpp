#include "TestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>
#include <QStandardPaths>

namespace vzt {

ToolResult Run(const QString& program, const QStringList& args, const QString& workDir,
               int timeoutMs) {
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    if (!workDir.isEmpty())
        p.setWorkingDirectory(workDir);
    p.start(program, args);
    ToolResult r;
    if (!p.waitForStarted(10000)) {
        r.output = "cannot start " + program.toUtf8();
        return r;
    }
    p.closeWriteChannel();
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        r.output = p.readAll() + "\n(timed out)";
        return r;
    }
    r.output = p.readAll();
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return r;
}

ToolResult RunCli(const QStringList& args, const QString& configHome) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    p.setProcessEnvironment(env);
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(BinaryDir() + QStringLiteral("/velazip-cli"), args);
    p.closeWriteChannel();
    ToolResult r;
    if (!p.waitForFinished(60000))
        return r;
    r.output = p.readAll();
    r.exitCode = p.exitCode();
    return r;
}

ToolResult Shell(const QString& command, const QString& workDir, int timeoutMs) {
    return Run(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command}, workDir, timeoutMs);
}

bool HaveTool(const QString& program) {
    return !QStandardPaths::findExecutable(program).isEmpty();
}

bool WriteAll(const QString& path, const QByteArray& data) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return f.write(data) == data.size();
}

bool MakeTree(const QString& root, const QMap<QString, QByteArray>& files) {
    for (auto it = files.begin(); it != files.end(); ++it) {
        const QString path = root + QLatin1Char('/') + it.key();
        if (it.key().endsWith(QLatin1Char('/'))) {
            if (!QDir().mkpath(path))
                return false;
        } else if (!WriteAll(path, it.value())) {
            return false;
        }
    }
    return true;
}

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

QStringList ListTree(const QString& root) {
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    const QDir base(root);
    while (it.hasNext()) {
        it.next();
        const QFileInfo fi = it.fileInfo();
        QString rel = base.relativeFilePath(fi.filePath());
        if (fi.isDir() && !fi.isSymLink())
            rel += QLatin1Char('/');
        out << rel;
    }
    out.sort();
    return out;
}

QByteArray RandomBytes(int size, quint32 seed) {
    QByteArray b(size, Qt::Uninitialized);
    quint32 x = seed ? seed : 1;
    for (int i = 0; i < size; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b[i] = static_cast<char>(x & 0xFF);
    }
    return b;
}

QString SharedTestData() {
    const QString dir = qEnvironmentVariable("VZ_SHARED_TESTDATA");
    return (!dir.isEmpty() && QFileInfo(dir).isDir()) ? dir : QString();
}

QString BinaryDir() {
    return qEnvironmentVariable("VZ_BINARY_DIR");
}

void IsolateConfig(const QString& folder) {
    QDir().mkpath(folder);
    qputenv("XDG_CONFIG_HOME", folder.toUtf8());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
}

}  // namespace vzt
