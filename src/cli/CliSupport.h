#pragma once
// What every velazip-cli command shares: the settings, the terminal, the observer that
// answers questions without waiting when no one is there to answer, and error output.

#include <QString>
#include <QStringList>

#include "common/OperationObserver.h"
#include "settings/CSettingsRecord.h"

namespace cli {

enum ExitCode { kOk = 0, kFailed = 1, kUsage = 2 };

// Arguments after the command name, with options taken out as they are read.
class Args {
public:
    explicit Args(QStringList args) : m_args(std::move(args)) {}
    // "--name" present (removed).
    bool Flag(const QString& name);
    // "--name VALUE" or "--name=VALUE" (removed); `ok` false when the value is missing.
    QString Value(const QString& name, const QString& fallback, bool* ok);
    // An option that is still there and starts with "--" (unknown), or empty.
    QString Unknown() const;
    const QStringList& Rest() const { return m_args; }

private:
    QStringList m_args;
};

// An absolute path without trailing "/".
QString Absolute(const QString& path);

void Print(const QString& line);       // standard output, one line
void PrintError(const QString& line);  // standard error, prefixed "velazip-cli: "
bool StdinIsTerminal();
// Reads one line from the terminal; with `hidden` the typing is not echoed.
QString Prompt(const QString& question, bool hidden);

// The settings file of the GUI (created with its defaults when missing).
const CSettingsRecord& Settings();

// How an overwrite question is answered.
enum class OverwriteMode { Ask, Always, Never };
bool ParseOverwriteMode(const QString& text, OverwriteMode* mode);

// The observer of a command: reports go to standard error; questions are asked on the
// terminal when there is one and the mode says "ask", else answered by the mode
// (without a terminal "ask" skips the item and reports it). Ctrl+C stops the operation
// cleanly. With SetHoldLastReport the latest report is held back until the next one or the
// end, so that an operation that fails with one report prints that report as its one
// failure line (FailureLine).
class Observer : public IOperationObserver {
public:
    explicit Observer(OverwriteMode mode) : m_mode(mode) {}
    ~Observer() override { Flush(); }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    void Progress(int percent, const QString& currentName) override;
    bool StopRequested() override;
    ReplaceAnswer AskOverwrite(const OverwriteQuestion& question) override;
    bool AskPassword(const QString& archivePath, const QString& entryPath, bool retry,
                     QString* password) override;
    void Report(const QString& message) override;
    void SetShowProgress(bool on) { m_showProgress = on; }
    void SetHoldLastReport(bool on) { m_holdLast = on; }
    // Whether a password question went unanswered because no terminal was there.
    bool DeclinedPassword() const { return m_declinedPassword; }
    int Reports() const { return m_reports; }
    // Prints the report held back, if any.
    void Flush();
    // The report held back (and no longer held).
    QString TakeHeld();

private:
    OverwriteMode m_mode;
    bool m_yesToAll = false;
    bool m_showProgress = false;
    int m_lastPercent = -1;
    bool m_declinedPassword = false;
    int m_reports = 0;
    bool m_holdLast = false;
    QString m_held;
};

// The one line that ends a failed unpack or test: the one report when there was one (it
// names the entry and the archive), else "PATH: reason".
QString FailureLine(const QString& path, const QString& destination, const QString& password,
                    Observer& observer, bool cancelled, const QString& lastError);

// Installs the Ctrl+C handler that Observer::StopRequested reads.
void InstallInterruptHandler();

}  // namespace cli
