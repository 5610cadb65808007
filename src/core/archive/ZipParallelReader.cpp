#include "archive/ZipParallelReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>

#include "platform/FileSystem.h"

namespace vz {
namespace {

constexpr qint64 kPiece = 1 << 20;         // the most data handed out at once
constexpr qint64 kInFlight = 64 << 20;     // data inflated ahead of the pass
constexpr qint64 kWantedAhead = 8 << 20;   // of the entry the pass wants, waiting for it
constexpr size_t kInputBlock = 256 << 10;  // compressed data read at once
constexpr quint64 kLocalHeaderSize = 30;

quint16 U16(const unsigned char* p) {
    return static_cast<quint16>(p[0] | (p[1] << 8));
}

bool ReadAt(int fd, char* out, size_t size, quint64 offset) {
    while (size > 0) {
        const ssize_t n = pread(fd, out, size, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        out += n;
        size -= static_cast<size_t>(n);
        offset += static_cast<quint64>(n);
    }
    return true;
}

}  // namespace

struct ZipParallelReader::State {
    struct JobState {
        std::deque<QByteArray> pieces;
        qint64 queued = 0;
        enum class Status { Waiting, Done, Failed } status = Status::Waiting;
    };
    std::mutex mutex;
    std::condition_variable produced;  // the pass waits for data
    std::condition_variable room;      // workers wait for memory
    std::vector<JobState> jobs;
    size_t nextJob = 0;   // the next job a worker takes
    size_t frontier = 0;  // the job the pass wants; earlier ones are dropped
    qint64 inFlight = 0;
    bool stop = false;
    int fd = -1;
    qint64 fileSize = 0;

    void Drop(JobState& job) {
        for (const QByteArray& p : job.pieces)
            inFlight -= p.size();
        job.pieces.clear();
        job.queued = 0;
    }
};

ZipParallelReader::ZipParallelReader(const QString& path, std::vector<Job> jobs)
    : m_jobs(std::move(jobs)), m_state(std::make_unique<State>()) {
    State& s = *m_state;
    s.jobs.resize(m_jobs.size());
    s.fd = open(platform::EncodePath(path).constData(), O_RDONLY | O_CLOEXEC);
    struct stat st;
    if (s.fd < 0 || fstat(s.fd, &st) != 0) {
        s.stop = true;  // every job is Unavailable: the pass reads them itself
        return;
    }
    s.fileSize = st.st_size;
    const unsigned cores = std::max(1u, std::min(4u, std::thread::hardware_concurrency()));
    const size_t workers = std::min<size_t>(cores, m_jobs.size());
    for (size_t i = 0; i < workers; ++i)
        m_workers.emplace_back([this] { Work(); });
}

ZipParallelReader::~ZipParallelReader() {
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->stop = true;
    }
    m_state->room.notify_all();
    for (std::thread& t : m_workers)
        t.join();
    if (m_state->fd >= 0)
        close(m_state->fd);
}

void ZipParallelReader::Work() {
    State& s = *m_state;
    z_stream z{};
    const bool zOk = inflateInit2(&z, -MAX_WBITS) == Z_OK;
    QByteArray input;
    for (;;) {
        size_t index;
        {
            std::lock_guard<std::mutex> lock(s.mutex);
            while (s.nextJob < s.frontier)
                s.jobs[s.nextJob++].status = State::JobState::Status::Failed;
            if (s.stop || s.nextJob >= m_jobs.size())
                break;
            index = s.nextJob++;
        }
        const bool ok = zOk && Produce(index, s.fd, s.fileSize, &z, input);
        {
            std::lock_guard<std::mutex> lock(s.mutex);
            State::JobState& job = s.jobs[index];
            job.status = ok ? State::JobState::Status::Done : State::JobState::Status::Failed;
            if (!ok)
                s.Drop(job);
        }
        s.produced.notify_all();
        s.room.notify_all();
    }
    if (zOk)
        inflateEnd(&z);
    s.produced.notify_all();
}

// Hands a piece of job `index`'s data to the pass, waiting while too much is in flight.
// False when the job is not wanted any more.
bool ZipParallelReader::Push(size_t index, QByteArray piece) {
    State& s = *m_state;
    std::unique_lock<std::mutex> lock(s.mutex);
    State::JobState& job = s.jobs[index];
    s.room.wait(lock, [&] {
        if (s.stop || index < s.frontier)
            return true;
        return index == s.frontier ? job.queued < kWantedAhead : s.inFlight < kInFlight;
    });
    if (s.stop || index < s.frontier)
        return false;
    job.queued += piece.size();
    s.inFlight += piece.size();
    job.pieces.push_back(std::move(piece));
    lock.unlock();
    s.produced.notify_all();
    return true;
}

bool ZipParallelReader::Produce(size_t index, int fd, qint64 fileSize, void* zstream,
                                QByteArray& input) {
    const Job& job = m_jobs[index];
    const quint64 end = static_cast<quint64>(fileSize);
    // The local header: its signature, no encryption, the method of the central directory,
    // and data that lies inside the file.
    unsigned char h[kLocalHeaderSize];
    if (job.localHeader > end || end - job.localHeader < kLocalHeaderSize ||
        !ReadAt(fd, reinterpret_cast<char*>(h), sizeof h, job.localHeader))
        return false;
    if (h[0] != 'P' || h[1] != 'K' || h[2] != 3 || h[3] != 4 || (U16(h + 6) & 1) ||
        U16(h + 8) != (job.deflated ? 8 : 0))
        return false;
    const quint64 dataAt = job.localHeader + kLocalHeaderSize + U16(h + 26) + U16(h + 28);
    if (dataAt > end || end - dataAt < job.packedSize ||
        (!job.deflated && job.packedSize != job.size))
        return false;

    auto* z = static_cast<z_stream*>(zstream);
    if (job.deflated && inflateReset(z) != Z_OK)
        return false;
    uLong crc = crc32(0L, Z_NULL, 0);
    quint64 readIn = 0, madeOut = 0;
    bool streamEnd = !job.deflated;
    auto feed = [&] {
        const size_t n =
            static_cast<size_t>(std::min<quint64>(kInputBlock, job.packedSize - readIn));
        input.resize(static_cast<qsizetype>(n));
        if (!ReadAt(fd, input.data(), n, dataAt + readIn))
            return false;
        readIn += n;
        z->next_in = reinterpret_cast<Bytef*>(input.data());
        z->avail_in = static_cast<uInt>(n);
        return true;
    };
    while (madeOut < job.size) {
        QByteArray piece(static_cast<qsizetype>(std::min<quint64>(kPiece, job.size - madeOut)),
                         Qt::Uninitialized);
        if (!job.deflated) {
            if (!ReadAt(fd, piece.data(), static_cast<size_t>(piece.size()), dataAt + madeOut))
                return false;
        } else {
            z->next_out = reinterpret_cast<Bytef*>(piece.data());
            z->avail_out = static_cast<uInt>(piece.size());
            while (z->avail_out > 0) {
                if (z->avail_in == 0 && (readIn == job.packedSize || !feed()))
                    return false;  // the data ends before the size it declares
                const int r = inflate(z, Z_NO_FLUSH);
                if (r == Z_STREAM_END) {
                    streamEnd = true;
                    break;
                }
                if (r != Z_OK && r != Z_BUF_ERROR)
                    return false;
            }
            if (z->avail_out > 0)
                return false;  // the stream ended too soon
        }
        crc = crc32_z(crc, reinterpret_cast<const Bytef*>(piece.constData()),
                      static_cast<size_t>(piece.size()));
        madeOut += static_cast<quint64>(piece.size());
        if (madeOut == job.size) {
            // The stream must end here, with no byte more.
            while (!streamEnd) {
                Bytef extra;
                z->next_out = &extra;
                z->avail_out = 1;
                if (z->avail_in == 0 && (readIn == job.packedSize || !feed()))
                    return false;
                const int r = inflate(z, Z_NO_FLUSH);
                if (z->avail_out == 0 || (r != Z_OK && r != Z_BUF_ERROR && r != Z_STREAM_END))
                    return false;
                streamEnd = r == Z_STREAM_END;
            }
            if (static_cast<quint32>(crc) != job.crc)
                return false;
        }
        if (!Push(index, std::move(piece)))
            return false;
    }
    return true;
}

ZipParallelReader::Piece ZipParallelReader::Next(size_t index, QByteArray* data) {
    State& s = *m_state;
    std::unique_lock<std::mutex> lock(s.mutex);
    if (index >= s.jobs.size() || index < s.frontier || s.fd < 0)
        return Piece::Unavailable;
    if (index > s.frontier) {
        for (size_t i = s.frontier; i < index; ++i)
            s.Drop(s.jobs[i]);
        s.frontier = index;
        s.room.notify_all();
    }
    State::JobState& job = s.jobs[index];
    s.produced.wait(lock, [&] {
        return !job.pieces.empty() || job.status != State::JobState::Status::Waiting ||
               m_workers.empty();
    });
    if (!job.pieces.empty()) {
        *data = std::move(job.pieces.front());
        job.pieces.pop_front();
        job.queued -= data->size();
        s.inFlight -= data->size();
        lock.unlock();
        s.room.notify_all();
        return Piece::Data;
    }
    return job.status == State::JobState::Status::Done ? Piece::End : Piece::Unavailable;
}

}  // namespace vz
