#include "archive/ListWorker.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QElapsedTimer>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "archive/CArchiveUnpacker.h"
#include "archive/ToolChild.h"
#include "platform/FileSystem.h"

namespace vz {

namespace {

constexpr rlim_t kWorkerAddressSpace = rlim_t(768) << 20;
constexpr int kLimitsExit = 3;  // the worker ran out of memory
const char kLimitsText[] = "it could not be read within the program's limits (memory/time)";

// Frames from the worker: a 32-bit length, then the payload in QDataStream's form, which
// starts with one of these.
enum Frame : quint8 {
    Opened = 'S',
    OpenFailed = 'O',
    Entry = 'E',
    Bad = 'B',
    End = 'Z',
    Fatal = 'F'
};

QDataStream& operator<<(QDataStream& s, const RawHeader& h) {
    return s << h.path << h.pathUtf8 << h.symlink << h.symlinkUtf8 << h.hardlink << h.hardlinkUtf8
             << h.filetype << h.mode << h.size << h.mtime << h.sizeSet << h.mtimeSet << h.encrypted;
}
QDataStream& operator>>(QDataStream& s, RawHeader& h) {
    return s >> h.path >> h.pathUtf8 >> h.symlink >> h.symlinkUtf8 >> h.hardlink >>
           h.hardlinkUtf8 >> h.filetype >> h.mode >> h.size >> h.mtime >> h.sizeSet >> h.mtimeSet >>
           h.encrypted;
}

class FrameWriter {
public:
    FrameWriter() { m_sinceFlush.start(); }
    template <typename... T>
    void Send(Frame kind, const T&... fields) {
        QByteArray payload;
        {
            QDataStream s(&payload, QIODevice::WriteOnly);
            s << quint8(kind);
            if constexpr (sizeof...(fields) > 0)
                (s << ... << fields);
        }
        const quint32 size = static_cast<quint32>(payload.size());
        fwrite(&size, sizeof size, 1, stdout);
        fwrite(payload.constData(), 1, static_cast<size_t>(payload.size()), stdout);
        // The parent judges progress by what arrives: nothing waits long in the buffer.
        if (kind != Entry || m_sinceFlush.elapsed() > kPollMs) {
            fflush(stdout);
            m_sinceFlush.start();
        }
    }

private:
    QElapsedTimer m_sinceFlush;
};

// For tests of the bounds: a worker that allocates without end, or that hangs.
void MisbehaveWhenAsked() {
    const QByteArray how = qgetenv("VELAZIP_LIST_WORKER_TEST");
    if (how == "hog") {
        // Without the limit it ends by itself, the listing failing for another reason.
        constexpr size_t kBlock = 16 << 20;
        for (size_t total = 0; total < (size_t(4) << 30); total += kBlock) {
            char* block = static_cast<char*>(malloc(kBlock));
            if (!block)
                _exit(kLimitsExit);
            memset(block, 1, kBlock);
        }
        _exit(0);
    }
    if (how == "hang")
        for (;;)
            pause();
}

QString WorkerProgram() {
    const QByteArray named = qgetenv("VELAZIP_LIST_WORKER");
    if (qEnvironmentVariableIsSet("VELAZIP_LIST_WORKER"))
        return QString::fromLocal8Bit(named);
    if (!QCoreApplication::instance())
        return QString();
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/velazip-cli");
    return QFileInfo(beside).isExecutable() ? beside : QString();
}

// libarchive in this process.
class InProcessSource : public HeaderSource {
public:
    InProcessSource(const QStringList& volumes, const FamilyTraits& traits)
        : m_volumes(volumes), m_traits(traits) {}
    bool Open(QString* error) override {
        if (!m_session.Open(m_volumes, m_traits, nullptr, error))
            return false;
        m_reader = std::make_unique<HeaderReader>(m_session.Handle());
        return true;
    }
    Step Next(RawHeader* header) override {
        archive_entry* h = nullptr;
        const Step step = m_reader->Next(&h);
        if (step == Step::Entry)
            *header = ReadRawHeader(h);
        return step;
    }
    int FilterCode() const override { return archive_filter_code(m_session.Handle(), 0); }
    bool HasEncryptedEntries() const override {
        return archive_read_has_encrypted_entries(m_session.Handle()) > 0;
    }
    QString Error() const override {
        return QString::fromUtf8(archive_error_string(m_session.Handle()));
    }

private:
    QStringList m_volumes;
    FamilyTraits m_traits;
    LibarchiveSession m_session;
    std::unique_ptr<HeaderReader> m_reader;
};

// libarchive in a worker process.
class WorkerSource : public HeaderSource {
public:
    WorkerSource(QString program, QStringList args, std::function<bool()> stop)
        : m_program(std::move(program)), m_args(std::move(args)), m_stop(std::move(stop)) {}
    bool Open(QString* error) override {
        if (!m_child.Start(m_program.toLocal8Bit().constData(), m_args, QByteArray(), error))
            return false;
        NextFrame();
        QDataStream s(m_frame);
        if (m_kind == Opened)
            return true;
        *error = m_kind == OpenFailed ? ReadText(s) : m_error;
        return false;
    }
    Step Next(RawHeader* header) override {
        NextFrame();
        QDataStream s(m_frame);
        switch (m_kind) {
            case Entry: {
                qint32 filter = 0;
                s >> filter >> *header;
                if (!m_filterKnown) {
                    m_filterKnown = true;
                    m_filter = filter;
                }
                return s.status() == QDataStream::Ok ? Step::Entry : Broken();
            }
            case Bad:
                return Step::BadEntry;
            case End:
                return Step::End;
            case Fatal:
                s >> m_encrypted;
                m_error = ReadText(s);
                return Step::Fatal;
            default:
                return Step::Fatal;
        }
    }
    int FilterCode() const override { return m_filter; }
    bool HasEncryptedEntries() const override { return m_encrypted; }
    QString Error() const override { return m_error; }

private:
    static QString ReadText(QDataStream& s) {
        QByteArray text;
        s >> text;
        return QString::fromUtf8(text);
    }
    Step Broken() {
        m_error = QStringLiteral("the listing process sent a damaged record");
        return Step::Fatal;
    }
    // The next frame: its kind in m_kind, the rest in m_frame; kind 0 when the worker ended
    // without one, with the reason in m_error.
    void NextFrame() {
        m_kind = 0;
        for (;;) {
            if (m_buffer.size() - m_at >= 4) {
                quint32 size = 0;
                memcpy(&size, m_buffer.constData() + m_at, sizeof size);
                if (size > 0 && m_buffer.size() - m_at - 4 >= qsizetype(size)) {
                    m_kind = static_cast<quint8>(m_buffer.at(m_at + 4));
                    m_frame = m_buffer.mid(m_at + 5, size - 1);
                    m_at += 4 + qsizetype(size);
                    return;
                }
            }
            if (m_at > 0) {
                m_buffer.remove(0, m_at);
                m_at = 0;
            }
            char chunk[64 << 10];
            const qint64 n = m_child.Read(chunk, sizeof chunk, m_stop);
            if (n > 0) {
                m_buffer.append(chunk, static_cast<qsizetype>(n));
                continue;
            }
            if (n < 0 && !m_child.TimedOut()) {
                m_error = QStringLiteral("the listing was stopped");
            } else {
                const int code = n < 0 ? -1 : m_child.Finish(m_stop);
                m_error =
                    code == -1 || code == kLimitsExit
                        ? QString::fromLatin1(kLimitsText)
                        : QStringLiteral("the listing process failed (exit code %1)").arg(code);
            }
            m_frame.clear();
            return;
        }
    }

    QString m_program;
    QStringList m_args;
    std::function<bool()> m_stop;
    ToolChild m_child;
    QByteArray m_buffer, m_frame;
    qsizetype m_at = 0;
    quint8 m_kind = 0;
    int m_filter = 0;
    bool m_filterKnown = false;
    bool m_encrypted = false;
    QString m_error;
};

}  // namespace

int RunListWorker(int argc, char** argv) {
    const rlimit memory{kWorkerAddressSpace, kWorkerAddressSpace};
    setrlimit(RLIMIT_AS, &memory);
    EnsureUtf8Locale();
    MisbehaveWhenAsked();
    FrameWriter out;
    const FamilyTraits* traits = argc > 1 ? TraitsFor(atoi(argv[0])) : nullptr;
    if (!traits) {
        out.Send(OpenFailed, QByteArray("the listing process was called wrongly"));
        return 2;
    }
    QStringList volumes;
    for (int i = 1; i < argc; ++i)
        volumes << platform::DecodePath(argv[i]);
    try {
        LibarchiveSession session;
        QString error;
        if (!session.Open(volumes, *traits, nullptr, &error)) {
            out.Send(OpenFailed, error.toUtf8());
            return 0;
        }
        out.Send(Opened);
        archive* a = session.Handle();
        HeaderReader reader(a);
        for (;;) {
            archive_entry* h = nullptr;
            switch (reader.Next(&h)) {
                case HeaderReader::Step::Entry:
                    out.Send(Entry, qint32(archive_filter_code(a, 0)), ReadRawHeader(h));
                    break;
                case HeaderReader::Step::BadEntry:
                    out.Send(Bad);
                    break;
                case HeaderReader::Step::End:
                    out.Send(End);
                    return 0;
                case HeaderReader::Step::Fatal: {
                    if (archive_errno(a) == ENOMEM)
                        return kLimitsExit;
                    const char* e = archive_error_string(a);
                    out.Send(Fatal, archive_read_has_encrypted_entries(a) > 0,
                             e ? QByteArray(e) : QByteArray());
                    return 0;
                }
            }
        }
    } catch (const std::bad_alloc&) {
        return kLimitsExit;
    }
}

std::unique_ptr<HeaderSource> MakeHeaderSource(const QStringList& volumes,
                                               const FamilyTraits& traits,
                                               std::function<bool()> stop) {
    const QString program = WorkerProgram();
    // A table's own traits can be named by their family; variants are read here.
    if (program.isEmpty() || TraitsFor(traits.family) != &traits)
        return std::make_unique<InProcessSource>(volumes, traits);
    QStringList args{QLatin1String(kListWorkerSwitch), QString::number(traits.family)};
    args += volumes;
    return std::make_unique<WorkerSource>(program, args, std::move(stop));
}

}  // namespace vz
