#include "CliSupport.h"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <iostream>
#include <string>

#include "platform/FileSystem.h"
#include "settings/CSettingsStore.h"

namespace cli {

bool Args::Flag(const QString& name) {
    return m_args.removeAll(name) > 0;
}

QString Args::Value(const QString& name, const QString& fallback, bool* ok) {
    *ok = true;
    for (int i = 0; i < m_args.size(); ++i) {
        const QString& a = m_args.at(i);
        if (a == name) {
            if (i + 1 >= m_args.size()) {
                *ok = false;
                m_args.removeAt(i);
                return fallback;
            }
            const QString v = m_args.at(i + 1);
            m_args.remove(i, 2);
            return v;
        }
        if (a.startsWith(name + QLatin1Char('='))) {
            const QString v = a.mid(name.size() + 1);
            m_args.removeAt(i);
            return v;
        }
    }
    return fallback;
}

QString Args::Unknown() const {
    for (const QString& a : m_args)
        if (a.startsWith(QLatin1String("--")))
            return a;
    return QString();
}

QString Absolute(const QString& path) {
    QString p = vz::platform::AbsolutePath(path);
    while (p.size() > 1 && p.endsWith(QLatin1Char('/')))
        p.chop(1);
    return p;
}

void Print(const QString& line) {
    const QByteArray b = vz::platform::DisplayPath(line).toUtf8() + '\n';
    fwrite(b.constData(), 1, static_cast<size_t>(b.size()), stdout);
}

void PrintError(const QString& line) {
    fflush(stdout);
    const QByteArray b = "velazip-cli: " + vz::platform::DisplayPath(line).toUtf8() + '\n';
    fwrite(b.constData(), 1, static_cast<size_t>(b.size()), stderr);
}

bool StdinIsTerminal() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

QString Prompt(const QString& question, bool hidden) {
    std::cerr << question.toStdString() << std::flush;
    termios old{};
    const bool restore = hidden && tcgetattr(STDIN_FILENO, &old) == 0;
    if (restore) {
        termios quiet = old;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string line;
    std::getline(std::cin, line);
    if (restore) {
        tcsetattr(STDIN_FILENO, TCSANOW, &old);
        std::cerr << '\n';
    }
    return QString::fromStdString(line);
}

const CSettingsRecord& Settings() {
    static CSettingsRecord record = [] {
        CSettingsRecord r;
        CSettingsStore::Load(r);
        return r;
    }();
    return record;
}

bool ParseOverwriteMode(const QString& text, OverwriteMode* mode) {
    if (text == QLatin1String("ask"))
        *mode = OverwriteMode::Ask;
    else if (text == QLatin1String("always"))
        *mode = OverwriteMode::Always;
    else if (text == QLatin1String("never"))
        *mode = OverwriteMode::Never;
    else
        return false;
    return true;
}

namespace {
std::atomic<bool> g_interrupted{false};
void OnInterrupt(int) {
    g_interrupted = true;
}
}  // namespace

void InstallInterruptHandler() {
    struct sigaction sa {};
    sa.sa_handler = OnInterrupt;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

void Observer::Progress(int percent, const QString& currentName) {
    if (!m_showProgress || percent == m_lastPercent)
        return;
    m_lastPercent = percent;
    std::cerr << '\r' << percent << "% " << currentName.left(70).toStdString() << "\x1b[K"
              << std::flush;
    if (percent >= 100)
        std::cerr << '\n';
}

bool Observer::StopRequested() {
    return g_interrupted;
}

ReplaceAnswer Observer::AskOverwrite(const OverwriteQuestion& q) {
    if (m_yesToAll || m_mode == OverwriteMode::Always)
        return ReplaceAnswer::Yes;
    if (m_mode == OverwriteMode::Ask && StdinIsTerminal()) {
        for (;;) {
            const QString a = Prompt(QStringLiteral("Replace %1? [y]es, [n]o, [a]ll, [c]ancel: ")
                                         .arg(q.existing.path),
                                     false)
                                  .trimmed()
                                  .toLower();
            if (a == QLatin1String("y") || a == QLatin1String("yes"))
                return ReplaceAnswer::Yes;
            if (a == QLatin1String("n") || a == QLatin1String("no"))
                return ReplaceAnswer::No;
            if (a == QLatin1String("a") || a == QLatin1String("all")) {
                m_yesToAll = true;
                return ReplaceAnswer::YesToAll;
            }
            if (a == QLatin1String("c") || a == QLatin1String("cancel") || std::cin.eof())
                return ReplaceAnswer::Cancel;
        }
    }
    Report(QStringLiteral("Skipped %1: it exists.").arg(q.existing.path));
    return ReplaceAnswer::No;
}

bool Observer::AskPassword(const QString& archivePath, const QString& entryPath, bool retry,
                           QString* password) {
    if (!StdinIsTerminal()) {
        m_declinedPassword = true;
        return false;
    }
    *password = Prompt(
        QStringLiteral("%1password for %2 in %3: ")
            .arg(retry ? QStringLiteral("Wrong password. ") : QString(), entryPath, archivePath),
        true);
    return !std::cin.eof();
}

void Observer::Report(const QString& message) {
    ++m_reports;
    Flush();
    if (m_holdLast)
        m_held = message;
    else
        PrintError(message);
}

void Observer::Flush() {
    if (!m_held.isEmpty())
        PrintError(TakeHeld());
}

QString Observer::TakeHeld() {
    QString held;
    held.swap(m_held);
    return held;
}

QString FailureLine(const QString& path, const QString& destination, const QString& password,
                    Observer& observer, bool cancelled, const QString& lastError) {
    if (observer.DeclinedPassword()) {
        // A lone report says the same as this line.
        if (observer.Reports() == 1)
            observer.TakeHeld();
        observer.Flush();
        return password.isEmpty()
                   ? QStringLiteral("%1: a password is required (give it with --password)")
                         .arg(path)
                   : QStringLiteral("%1: the password is wrong").arg(path);
    }
    if (cancelled) {
        observer.Flush();
        return destination.isEmpty() ? QStringLiteral("%1: stopped").arg(path)
                                     : QStringLiteral("%1: stopped; what was finished stays in %2")
                                           .arg(path, destination);
    }
    if (observer.Reports() == 1) {
        const QString only = observer.TakeHeld();
        if (!only.isEmpty())
            return only;
    }
    observer.Flush();
    if (observer.Reports() > 1)
        return QStringLiteral("%1: %2 entries failed (see above)")
            .arg(path)
            .arg(observer.Reports());
    return QStringLiteral("%1: %2").arg(path, lastError);
}

}  // namespace cli
