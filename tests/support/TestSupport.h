#pragma once
// Helpers for the test suite: temporary trees, running the fixture tools (zip, 7zz, gcab,
// genisoimage, tar, ...) and reading results.

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

namespace vzt {

struct ToolResult {
    int exitCode = -1;
    QByteArray output;  // standard output and error together
    bool Ok() const { return exitCode == 0; }
};

// Runs a program and waits for it (at most `timeoutMs`).
ToolResult Run(const QString& program, const QStringList& args, const QString& workDir = {},
               int timeoutMs = 120000);
// Runs the built velazip-cli with its settings under `configHome` (no terminal).
ToolResult RunCli(const QStringList& args, const QString& configHome);
// Runs "sh -c <command>" in `workDir`.
ToolResult Shell(const QString& command, const QString& workDir = {}, int timeoutMs = 120000);
bool HaveTool(const QString& program);

// Writes files below `root`: keys are relative paths ("a/b/c.txt"); a key ending in "/"
// makes an empty folder. Returns false on any failure.
bool MakeTree(const QString& root, const QMap<QString, QByteArray>& files);
QByteArray ReadAll(const QString& path);
bool WriteAll(const QString& path, const QByteArray& data);
// Every file and folder below `root` as sorted relative paths, folders with a trailing "/".
QStringList ListTree(const QString& root);
// Deterministic pseudo-random bytes.
QByteArray RandomBytes(int size, quint32 seed);

// ../shared/testdata beside the project, or empty when it is not there.
QString SharedTestData();
// The build folder (for the programs that tests start).
QString BinaryDir();

// Points XDG_CONFIG_HOME (and the layout profile) at a fresh folder for this process.
void IsolateConfig(const QString& folder);

}  // namespace vzt
