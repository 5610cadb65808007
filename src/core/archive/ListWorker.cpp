#include "archive/ListWorker.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "archive/CArchiveUnpacker.h"
#include "archive/ToolChild.h"
#include "platform/FileSystem.h"

namespace vz {

namespace {

// Smaller archives are read in-process: starting the worker (about 9 ms) would cost more
// than their whole listing.
constexpr qint64 kIsolateFrom = 1 << 20;
// The worker's resident memory is watched from here; its address space (where the build
// allows a limit) is bounded more loosely, as a second line.
constexpr qint64 kWorkerResident = qint64(512) << 20;
constexpr rlim_t kWorkerAddressSpace = rlim_t(768) << 20;
constexpr int kLimitsExit = 3;  // the worker ran out of memory
const char kLimitsText[] = "it could not be read within the program's limits (memory/time)";

// Frames from the worker: a 32-bit length, then one of these kinds and its fields in this
// machine's byte order; a name is a 32-bit length (-1 for none) and its bytes.
enum Frame : quint8 {
    Opened = 'S',
    OpenFailed = 'O',
    Entry = 'E',
    Bad = 'B',
    End = 'Z',
    Fatal = 'F'
};

class FrameWriter {
public:
    static constexpr size_t kFlushBytes = 256 << 10;
    FrameWriter() { m_sinceFlush.start(); }
    ~FrameWriter() { Flush(); }
    void Put(const QByteArray& bytes) {
        Put(bytes.isNull() ? qint32(-1) : qint32(bytes.size()));
        m_buffer.append(bytes.constData(), static_cast<size_t>(bytes.size()));
    }
    void Put(const RawHeader& h) {
        for (const QByteArray* b :
             {&h.path, &h.pathUtf8, &h.symlink, &h.symlinkUtf8, &h.hardlink, &h.hardlinkUtf8})
            Put(*b);
        Put(h.filetype), Put(h.mode), Put(h.size), Put(h.mtime);
        Put(quint8(h.sizeSet | h.mtimeSet << 1 | h.encrypted << 2));
    }
    template <typename T>
    void Put(T value) {
        static_assert(std::is_arithmetic_v<T>);
        m_buffer.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    template <typename... T>
    void Send(Frame kind, const T&... fields) {
        const size_t start = m_buffer.size();
        Put(quint32(0));
        Put(quint8(kind));
        (Put(fields), ...);
        const quint32 size = static_cast<quint32>(m_buffer.size() - start - sizeof size);
        memcpy(&m_buffer[start], &size, sizeof size);
        // The parent judges progress by what arrives: nothing waits long in the buffer.
        if (kind != Entry || m_buffer.size() > kFlushBytes || m_sinceFlush.elapsed() > kPollMs)
            Flush();
    }

private:
    void Flush() {
        for (size_t at = 0; at < m_buffer.size();) {
            const ssize_t n = write(STDOUT_FILENO, m_buffer.data() + at, m_buffer.size() - at);
            if (n < 0 && errno != EINTR)
                _exit(1);  // the parent is gone
            at += n > 0 ? static_cast<size_t>(n) : 0;
        }
        m_buffer.clear();
        m_sinceFlush.start();
    }
    std::string m_buffer;
    QElapsedTimer m_sinceFlush;
};

// The fields of one frame, read in the order they were put.
class FrameReader {
public:
    FrameReader(const char* at, const char* end) : m_at(at), m_end(end) {}
    bool Ok() const { return m_ok; }
    void Get(QByteArray& bytes) {
        qint32 size = 0;
        Get(size);
        if (size < 0 || !m_ok) {
            bytes = QByteArray();
        } else if (m_end - m_at < size) {
            m_ok = false;
        } else {
            bytes = QByteArray(m_at, size);
            m_at += size;
        }
    }
    void Get(RawHeader& h) {
        for (QByteArray* b :
             {&h.path, &h.pathUtf8, &h.symlink, &h.symlinkUtf8, &h.hardlink, &h.hardlinkUtf8})
            Get(*b);
        Get(h.filetype), Get(h.mode), Get(h.size), Get(h.mtime);
        quint8 flags = 0;
        Get(flags);
        h.sizeSet = flags & 1, h.mtimeSet = flags & 2, h.encrypted = flags & 4;
    }
    template <typename T>
    void Get(T& value) {
        static_assert(std::is_arithmetic_v<T>);
        if (m_end - m_at < qsizetype(sizeof value)) {
            m_ok = false;
            return;
        }
        memcpy(&value, m_at, sizeof value);
        m_at += sizeof value;
    }

private:
    const char* m_at;
    const char* m_end;
    bool m_ok = true;
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
        m_child.SetMemoryCap(kWorkerResident);
        if (!m_child.Start(m_program.toLocal8Bit().constData(), m_args, QByteArray(), error))
            return false;
        FrameReader r = NextFrame();
        if (m_kind == Opened)
            return true;
        *error = m_kind == OpenFailed ? ReadText(r) : m_error;
        return false;
    }
    Step Next(RawHeader* header) override {
        FrameReader r = NextFrame();
        switch (m_kind) {
            case Entry: {
                qint32 filter = 0;
                r.Get(filter);
                r.Get(*header);
                if (!m_filterKnown) {
                    m_filterKnown = true;
                    m_filter = filter;
                }
                return r.Ok() ? Step::Entry : Broken();
            }
            case Bad:
                return Step::BadEntry;
            case End:
                return Step::End;
            case Fatal:
                r.Get(m_encrypted);
                m_error = ReadText(r);
                return Step::Fatal;
            default:
                return Step::Fatal;
        }
    }
    int FilterCode() const override { return m_filter; }
    bool HasEncryptedEntries() const override { return m_encrypted; }
    QString Error() const override { return m_error; }

private:
    static QString ReadText(FrameReader& r) {
        QByteArray text;
        r.Get(text);
        return QString::fromUtf8(text);
    }
    Step Broken() {
        m_error = QStringLiteral("the listing process sent a damaged record");
        return Step::Fatal;
    }
    // The next frame's fields, its kind in m_kind; kind 0 when the worker ended without
    // one, with the reason in m_error.
    FrameReader NextFrame() {
        m_kind = 0;
        for (;;) {
            const char* at = m_buffer.constData() + m_at;
            const qsizetype left = m_buffer.size() - m_at;
            quint32 size = 0;
            if (left >= 4)
                memcpy(&size, at, sizeof size);
            if (left >= 4 && size > 0 && left - 4 >= qsizetype(size)) {
                m_kind = static_cast<quint8>(at[4]);
                m_at += 4 + qsizetype(size);
                return FrameReader(at + 5, at + 4 + size);
            }
            m_buffer.remove(0, m_at);
            m_at = 0;
            const qsizetype had = m_buffer.size();
            constexpr qsizetype kChunk = 256 << 10;
            m_buffer.resize(had + kChunk);
            const qint64 n = m_child.Read(m_buffer.data() + had, kChunk, m_stop);
            m_buffer.resize(had + std::max<qint64>(n, 0));
            if (n > 0)
                continue;
            if (n < 0 && !m_child.TimedOut() && !m_child.OverMemory()) {
                m_error = QStringLiteral("the listing was stopped");
            } else {
                const int code = n < 0 ? -1 : m_child.Finish(m_stop);
                m_error =
                    code == -1 || code == kLimitsExit
                        ? QString::fromLatin1(kLimitsText)
                        : QStringLiteral("the listing process failed (exit code %1)").arg(code);
            }
            return FrameReader(nullptr, nullptr);
        }
    }

    QString m_program;
    QStringList m_args;
    std::function<bool()> m_stop;
    ToolChild m_child;
    QByteArray m_buffer;
    qsizetype m_at = 0;
    quint8 m_kind = 0;
    int m_filter = 0;
    bool m_filterKnown = false;
    bool m_encrypted = false;
    QString m_error;
};

// Whether the worker can also limit its own address space. A build with AddressSanitizer
// cannot: its shadow memory alone reserves far more address space than any such limit allows.
bool WorkerMemoryLimited() {
#if defined(__SANITIZE_ADDRESS__)
    return false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return false;
#else
    return true;
#endif
#else
    return true;
#endif
}

}  // namespace

int RunListWorker(int argc, char** argv) {
    if (WorkerMemoryLimited()) {
        const rlimit memory{kWorkerAddressSpace, kWorkerAddressSpace};
        setrlimit(RLIMIT_AS, &memory);
    }
    // Fewer, larger writes: the parent is woken once per block.
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, int(FrameWriter::kFlushBytes) * 2);
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
        volumes << platform::DecodePath(QByteArray::fromHex(argv[i]));
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
    qint64 size = 0;
    for (const QString& volume : volumes)
        size += QFileInfo(volume).size();
    bool isSet = false;
    const qint64 isolateFrom = qEnvironmentVariableIntValue("VELAZIP_LIST_ISOLATE_FROM", &isSet);
    // A table's own traits can be named by their family; variants are read here.
    if (program.isEmpty() || TraitsFor(traits.family) != &traits ||
        size < (isSet ? isolateFrom : kIsolateFrom))
        return std::make_unique<InProcessSource>(volumes, traits);
    QStringList args{QLatin1String(kListWorkerSwitch), QString::number(traits.family)};
    // A path's bytes, whatever they are, cross as hexadecimal.
    for (const QString& volume : volumes)
        args << QString::fromLatin1(platform::EncodePath(volume).toHex());
    return std::make_unique<WorkerSource>(program, args, std::move(stop));
}

}  // namespace vz
