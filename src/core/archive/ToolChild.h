#pragma once
// The one runner of child processes: a program read through QProcess's blocking calls on the
// calling thread, killed when the caller stops it, when it is idle for too long (no output
// and no input read), or when it holds more memory than its cap.

#include <fcntl.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "archive/ToolEngine.h"

namespace vz {

constexpr int kPollMs = 100;             // Stop is noticed within this
constexpr qint64 kIdleLimitMs = 10'000;  // a child that neither writes nor reads for so long
// ... is hung. Where its reading cannot be seen, only silence this long counts.
constexpr qint64 kSilenceLimitMs = 120'000;
constexpr int kErrorCap = 64 << 10;  // bytes of error output kept

// A child process read through QProcess's blocking calls on the calling thread.
class ToolChild {
public:
    ~ToolChild() { Kill(); }

    // Kills the child when its resident memory exceeds `bytes` (checked every poll, whatever
    // the child's own limits; a build with AddressSanitizer can set no other).
    void SetMemoryCap(qint64 bytes) { m_memoryCap = bytes; }

    bool Start(const char* program, const QStringList& args, const QByteArray& input,
               QString* error) {
        // A program named by its path is one of ours; a bare name is looked up.
        const bool ours = strchr(program, '/') != nullptr;
        const QString missing = ours ? QString() : MissingTool(program);
        if (!missing.isEmpty()) {
            *error = missing;
            return false;
        }
        // Times in UTC, names in UTF-8, whatever the user's settings.
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        m_process.setProcessEnvironment(env);
        // A pipe of 1 MiB instead of 64 KiB: the child blocks less often on its output while
        // this side is busy (7zz writes its listing in pieces of 4 KiB). Where the system
        // refuses, the pipe stays as it is.
        m_process.setChildProcessModifier([] { fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 1 << 20); });
        m_process.start(ours ? QString::fromLocal8Bit(program)
                             : QStandardPaths::findExecutable(QLatin1String(program)),
                        args);
        if (!m_process.waitForStarted(10'000)) {
            *error = QStringLiteral("%1 did not start: %2")
                         .arg(QLatin1String(program), m_process.errorString());
            return false;
        }
        if (!input.isEmpty()) {
            m_process.write(input);
            m_process.waitForBytesWritten(10'000);
        }
        m_process.closeWriteChannel();
        return true;
    }

    // Up to `max` bytes of standard output: their count, 0 at its end, -1 when `stop` said
    // so or the child was silent for too long (it is killed then).
    qint64 Read(char* buffer, qint64 max, const std::function<bool()>& stop) {
        QElapsedTimer silent;
        silent.start();
        for (;;) {
            const qint64 n = m_process.read(buffer, max);
            if (OverMemoryCap())
                return -1;
            if (n > 0)
                return n;
            KeepErrors();
            if (m_process.state() == QProcess::NotRunning)
                return 0;
            if (stop && stop()) {
                Kill();
                return -1;
            }
            if (Hung(silent)) {
                m_timedOut = true;
                Kill();
                return -1;
            }
            m_process.waitForReadyRead(kPollMs);
        }
    }

    // Waits for the end: the exit code, -1 for a crash or a kill.
    int Finish(const std::function<bool()>& stop) {
        QElapsedTimer silent;
        silent.start();
        while (m_process.state() != QProcess::NotRunning) {
            const bool stopped = stop && stop();
            if (stopped || OverMemoryCap() || Hung(silent)) {
                m_timedOut = !stopped && !m_overMemory;
                Kill();
                return -1;
            }
            m_process.waitForFinished(kPollMs);
            m_process.readAllStandardOutput();  // what nobody asked for
            KeepErrors();
        }
        KeepErrors();
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    void Kill() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(2'000);
        }
    }

    bool TimedOut() const { return m_timedOut; }
    bool OverMemory() const { return m_overMemory; }
    QString Errors() {
        KeepErrors();
        return QString::fromUtf8(m_errors);
    }
    // The tool's own error line ("ERROR: ..."), else its last non-empty line of errors.
    QString Complaint() {
        const QStringList lines = Errors().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString& line : lines)
            if (line.startsWith(QLatin1String("ERROR: ")))
                return line.mid(7).trimmed();
        for (auto it = lines.crbegin(); it != lines.crend(); ++it)
            if (!it->trimmed().isEmpty())
                return it->trimmed();
        return QString();
    }

private:
    // A number from the child's /proc file (`file`, the line starting with `key`), -1 when
    // it cannot be read.
    qint64 ProcField(const char* file, const char* key) const {
        const qint64 pid = m_process.processId();
        if (pid <= 0)
            return -1;
        char path[64];
        snprintf(path, sizeof path, "/proc/%lld/%s", static_cast<long long>(pid), file);
        const int fd = open(path, O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return -1;
        char text[2048];
        const ssize_t n = read(fd, text, sizeof text - 1);
        close(fd);
        if (n <= 0)
            return -1;
        text[n] = 0;
        const char* at = strstr(text, key);
        return at ? strtoll(at + strlen(key), nullptr, 10) : -1;
    }
    // Checked once per poll interval: over the cap, the child is killed.
    bool OverMemoryCap() {
        if (m_memoryCap <= 0 || m_overMemory)
            return m_overMemory;
        if (m_memoryChecked.isValid() && m_memoryChecked.elapsed() < kPollMs)
            return false;
        m_memoryChecked.start();
        const qint64 residentKiB = ProcField("status", "VmRSS:");
        if (residentKiB > m_memoryCap / 1024) {
            m_overMemory = true;
            Kill();
        }
        return m_overMemory;
    }
    // Silent since `silent` started and reading nothing either: a child that still reads its
    // input is working (a long entry skipped, a big block decoded) and its silence restarts.
    bool Hung(QElapsedTimer& silent) {
        const qint64 readBytes = ProcField("io", "rchar:");
        if (readBytes < 0)
            return silent.elapsed() > kSilenceLimitMs;
        if (readBytes != m_readBytes) {
            m_readBytes = readBytes;
            silent.restart();
        }
        return silent.elapsed() > kIdleLimitMs;
    }
    void KeepErrors() {
        const QByteArray more = m_process.readAllStandardError();
        if (m_errors.size() < kErrorCap)
            m_errors += more.left(kErrorCap - m_errors.size());
    }
    QProcess m_process;
    QByteArray m_errors;
    bool m_timedOut = false;
    qint64 m_memoryCap = 0;
    bool m_overMemory = false;
    QElapsedTimer m_memoryChecked;
    qint64 m_readBytes = -1;
};

}  // namespace vz
