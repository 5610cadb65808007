#include "archive/packer/ZipCompressionPipeline.h"

#include "archive/packer/WinZipAesEncoder.h"

#include <bzlib.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace vz {
namespace {

constexpr size_t kDictionary = 32 * 1024;        // deflate's window
constexpr size_t kOutputPiece = 256 * 1024;      // compressed bytes handed over at once
constexpr size_t kQueueLimit = 4 * 1024 * 1024;  // output of one unit waiting for the writer
// A bzip2 block holds 100,000 x level - 19 bytes after the first run-length pass, which
// turns 4 equal bytes into 5 at worst: a chunk of 4/5 of that is always one block.
quint64 Bzip2Chunk(int level) {
    return static_cast<quint64>(100000 * level - 19) / 5 * 4;
}
constexpr uint32_t kBlockMagicHigh = 0x314159, kBlockMagicLow = 0x265359;
constexpr uint32_t kEndMagicHigh = 0x177245, kEndMagicLow = 0x385090;

uint32_t BitsAt(const unsigned char* data, quint64 bit, int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i, ++bit)
        value = (value << 1) | ((data[bit / 8] >> (7 - bit % 8)) & 1u);
    return value;
}

// The length in bits of the block in a one-block bzip2 stream of `size` bytes: the stream is
// the header (32 bits), the block (from its magic), the end magic (48 bits), the stream CRC
// (equal to the block's CRC, the 32 bits after the block's magic) and zero bits to a byte.
// 0 when the stream is not so made.
quint64 OneBlockBits(const unsigned char* data, size_t size) {
    if (size < 24 || std::memcmp(data, "BZh", 3) != 0 || BitsAt(data, 32, 24) != kBlockMagicHigh ||
        BitsAt(data, 56, 24) != kBlockMagicLow)
        return 0;
    const uint32_t crc = BitsAt(data, 80, 32);
    for (int pad = 0; pad < 8; ++pad) {
        const quint64 end = static_cast<quint64>(size) * 8 - static_cast<quint64>(pad);
        if (BitsAt(data, end, pad) == 0 && BitsAt(data, end - 32, 16) == crc >> 16 &&
            BitsAt(data, end - 16, 16) == (crc & 0xffff) &&
            BitsAt(data, end - 80, 24) == kEndMagicHigh &&
            BitsAt(data, end - 56, 24) == kEndMagicLow)
            return end - 80 - 32;
    }
    return 0;
}
constexpr size_t kSample = 16 * 1024;  // probed at three places of a chunk

QString ReadError(const QString& path, int error) {
    return QStringLiteral("Cannot read the file %1: %2.")
        .arg(path, QString::fromLocal8Bit(std::strerror(error)));
}

QString ShrankError(const QString& path) {
    return QStringLiteral("Cannot read the file %1: it became shorter while it was being added.")
        .arg(path);
}

// Reads exactly `size` bytes at `offset`; false with errno set, or errno 0 at an early end.
bool ReadAt(int fd, char* buffer, size_t size, quint64 offset) {
    while (size > 0) {
        const ssize_t n = ::pread(fd, buffer, size, static_cast<off_t>(offset));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        if (n == 0) {
            errno = 0;
            return false;
        }
        buffer += n;
        size -= static_cast<size_t>(n);
        offset += static_cast<quint64>(n);
    }
    return true;
}

class Descriptor {
public:
    explicit Descriptor(const QByteArray& path)
        : m_fd(::open(path.constData(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

}  // namespace

// One raw deflate stream, made on first use and reset for each unit.
struct RawDeflate {
    z_stream zs{};
    bool ready = false;
    ~RawDeflate() {
        if (ready)
            deflateEnd(&zs);
    }
    bool Reset(int level) {
        if (ready)
            return deflateReset(&zs) == Z_OK;
        ready = deflateInit2(&zs, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) == Z_OK;
        return ready;
    }
};

struct ZipCompressionPipeline::Worker {
    RawDeflate main;    // at the chosen level
    RawDeflate stored;  // level 0: stored blocks, for data that does not compress
    RawDeflate probe;   // level 1, for the samples
    std::vector<char> input;
    std::vector<char> output = std::vector<char>(kOutputPiece);
    std::vector<char> packed;  // a bzip2 chunk's stream
    std::vector<char> scratch = std::vector<char>(compressBound(kSample) + 64);

    // Already compressed or random data costs deflate the most time for no gain: when
    // samples from the start, middle and end of a chunk do not shrink at level 1, the chunk
    // is written as stored blocks (still one valid deflate stream).
    bool Incompressible(const Bytef* data, size_t length) {
        if (length < 4 * kSample)
            return false;
        const size_t at[3] = {0, (length - kSample) / 2, length - kSample};
        for (size_t offset : at) {
            if (!probe.Reset(1))
                return false;
            probe.zs.next_in = const_cast<Bytef*>(data + offset);
            probe.zs.avail_in = static_cast<uInt>(kSample);
            probe.zs.next_out = reinterpret_cast<Bytef*>(scratch.data());
            probe.zs.avail_out = static_cast<uInt>(scratch.size());
            if (deflate(&probe.zs, Z_FINISH) != Z_STREAM_END)
                return false;
            if (probe.zs.total_out < kSample * 98 / 100)
                return false;
        }
        return true;
    }
};

ZipCompressionPipeline::ZipCompressionPipeline(const Options& options) : m_options(options) {
    m_options.level = std::clamp(m_options.level, 1, 9);
    if (m_options.chunkSize < 64 * 1024)
        m_options.chunkSize = 64 * 1024;
    if (m_options.memoryBudget <= 0)
        m_options.memoryBudget = 32 << 20;
}

ZipCompressionPipeline::~ZipCompressionPipeline() {
    Cancel();
    for (std::thread& t : m_threads)
        t.join();
}

int ZipCompressionPipeline::AddFile(const QByteArray& nativePath, const QString& displayPath,
                                    quint64 size) {
    File file;
    file.path = nativePath;
    file.displayPath = displayPath;
    file.size = size;
    file.firstUnit = file.currentUnit = m_units.size();
    const int id = static_cast<int>(m_files.size());
    const quint64 chunk = m_options.method == 8 ? static_cast<quint64>(m_options.chunkSize)
                                                : Bzip2Chunk(m_options.level);
    quint64 offset = 0;
    do {
        Unit unit;
        unit.file = id;
        unit.offset = offset;
        unit.length = std::min(chunk, size - offset);
        offset += unit.length;
        unit.last = offset >= size;
        // A deflate chunk holds its data and dictionary and streams its output; a bzip2 chunk
        // holds its data and its whole output.
        unit.charge = static_cast<qint64>(m_options.method == 8 ? unit.length + kDictionary
                                                                : 2 * unit.length);
        m_units.push_back(std::move(unit));
    } while (offset < size);
    m_files.push_back(std::move(file));
    return id;
}

void ZipCompressionPipeline::Start() {
    if (m_started)
        return;
    m_started = true;
    int threads = m_options.threads;
    if (threads <= 0)
        threads = static_cast<int>(std::thread::hardware_concurrency());
    threads = std::max(1, std::min<int>(threads, static_cast<int>(m_units.size())));
    for (int i = 0; i < threads && !m_units.empty(); ++i)
        m_threads.emplace_back([this] { WorkerLoop(); });
}

void ZipCompressionPipeline::Cancel() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_cancel.store(true);
    }
    m_workCv.notify_all();
    m_spaceCv.notify_all();
    m_readCv.notify_all();
}

void ZipCompressionPipeline::WorkerLoop() {
    Worker worker;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (Cancelled() || m_next >= m_units.size())
            return;
        Unit& unit = m_units[m_next];
        if (m_unitsInFlight > 0 && m_charged + unit.charge > m_options.memoryBudget) {
            m_workCv.wait(lock);
            continue;
        }
        ++m_next;
        m_charged += unit.charge;
        ++m_unitsInFlight;
        lock.unlock();
        File& file = m_files[static_cast<size_t>(unit.file)];
        if (unit.offset == 0 && m_options.aesStrength > 0 && !StartEncryption(file))
            Finish(unit, QStringLiteral("Cannot encrypt the file %1.").arg(file.displayPath), 0);
        else if (m_options.method == 12)
            CompressBzip2(worker, unit);
        else
            CompressDeflate(worker, unit);
        lock.lock();
    }
}

void ZipCompressionPipeline::CompressDeflate(Worker& worker, Unit& unit) {
    const File& file = m_files[static_cast<size_t>(unit.file)];
    const size_t dictionary = static_cast<size_t>(std::min<quint64>(unit.offset, kDictionary));
    const size_t length = static_cast<size_t>(unit.length);
    worker.input.resize(dictionary + length);
    {
        Descriptor fd(file.path);
        if (fd.get() < 0)
            return Finish(unit, ReadError(file.displayPath, errno), 0);
        if (!ReadAt(fd.get(), worker.input.data(), dictionary + length, unit.offset - dictionary))
            return Finish(
                unit, errno ? ReadError(file.displayPath, errno) : ShrankError(file.displayPath),
                0);
    }
    Bytef* data = reinterpret_cast<Bytef*>(worker.input.data());
    const uint32_t crc =
        static_cast<uint32_t>(crc32(0, data + dictionary, static_cast<uInt>(length)));

    const bool store = worker.Incompressible(data + dictionary, length);
    RawDeflate& stream = store ? worker.stored : worker.main;
    if (!stream.Reset(store ? 0 : m_options.level))
        return Finish(
            unit,
            QStringLiteral("Cannot compress the file %1: out of memory.").arg(file.displayPath), 0);
    z_stream& zs = stream.zs;
    if (dictionary > 0 && !store)
        deflateSetDictionary(&zs, data, static_cast<uInt>(dictionary));
    zs.next_in = data + dictionary;
    zs.avail_in = static_cast<uInt>(length);
    const int flush = unit.last ? Z_FINISH : Z_SYNC_FLUSH;
    for (;;) {
        zs.next_out = reinterpret_cast<Bytef*>(worker.output.data());
        zs.avail_out = static_cast<uInt>(worker.output.size());
        const int ret = deflate(&zs, flush);
        if (ret == Z_STREAM_ERROR)
            return Finish(unit,
                          QStringLiteral("Cannot compress the file %1.").arg(file.displayPath), 0);
        const size_t produced = worker.output.size() - zs.avail_out;
        if (produced > 0 && !Emit(unit, worker.output.data(), produced))
            return;
        if (unit.last ? ret == Z_STREAM_END : (zs.avail_in == 0 && zs.avail_out != 0))
            break;
        if (Cancelled())
            return;
    }
    Finish(unit, QString(), crc);
}

void ZipCompressionPipeline::CompressBzip2(Worker& worker, Unit& unit) {
    const File& file = m_files[static_cast<size_t>(unit.file)];
    const size_t length = static_cast<size_t>(unit.length);
    worker.input.resize(length);
    {
        Descriptor fd(file.path);
        if (fd.get() < 0)
            return Finish(unit, ReadError(file.displayPath, errno), 0);
        if (!ReadAt(fd.get(), worker.input.data(), length, unit.offset))
            return Finish(
                unit, errno ? ReadError(file.displayPath, errno) : ShrankError(file.displayPath),
                0);
    }
    const uint32_t crc = static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(worker.input.data()), static_cast<uInt>(length)));
    // bzip2's bound: 1% more and 600 bytes.
    worker.packed.resize(length + length / 100 + 601);
    unsigned packed = static_cast<unsigned>(worker.packed.size());
    if (BZ2_bzBuffToBuffCompress(worker.packed.data(), &packed, worker.input.data(),
                                 static_cast<unsigned>(length), m_options.level, 0, 0) != BZ_OK)
        return Finish(unit, QStringLiteral("Cannot compress the file %1.").arg(file.displayPath),
                      0);
    const auto* bytes = reinterpret_cast<const unsigned char*>(worker.packed.data());
    const quint64 bits = OneBlockBits(bytes, packed);
    if (bits == 0)
        return Finish(unit, QStringLiteral("Cannot compress the file %1.").arg(file.displayPath),
                      0);
    unit.blockBits = bits;
    unit.blockCrc = BitsAt(bytes, 80, 32);
    if (Emit(unit, worker.packed.data() + 4, static_cast<size_t>((bits + 7) / 8)))
        Finish(unit, QString(), crc);
}

void ZipCompressionPipeline::BitJoiner::Put(char*& out, uint32_t value, int bits) {
    carry = (carry << bits) | (value & ((1u << bits) - 1));
    count += bits;
    while (count >= 8) {
        count -= 8;
        *out++ = static_cast<char>(carry >> count);
    }
    carry &= (1u << count) - 1;
}

void ZipCompressionPipeline::BitJoiner::PutBits(char*& out, const unsigned char* data,
                                                quint64 bits) {
    const size_t whole = static_cast<size_t>(bits / 8);
    if (count == 0) {
        std::memcpy(out, data, whole);
        out += whole;
    } else {
        const int keep = 8 - count;
        for (size_t i = 0; i < whole; ++i) {
            *out++ = static_cast<char>((carry << keep) | (data[i] >> count));
            carry = data[i] & ((1u << count) - 1);
        }
    }
    const int rest = static_cast<int>(bits % 8);
    if (rest > 0)
        Put(out, static_cast<uint32_t>(data[whole] >> (8 - rest)), rest);
}

void ZipCompressionPipeline::BitJoiner::Flush(char*& out) {
    if (count > 0)
        *out++ = static_cast<char>(carry << (8 - count));
    carry = 0;
    count = 0;
}

void ZipCompressionPipeline::JoinBlock(File& file, Unit& unit) {
    QByteArray& piece = unit.output.front();
    QByteArray joined(piece.size() + 32, Qt::Uninitialized);
    char* out = joined.data();
    BitJoiner& joiner = file.joiner;
    if (unit.offset == 0) {
        const char header[4] = {'B', 'Z', 'h', static_cast<char>('0' + m_options.level)};
        std::memcpy(out, header, sizeof(header));
        out += sizeof(header);
    }
    joiner.PutBits(out, reinterpret_cast<const unsigned char*>(piece.constData()), unit.blockBits);
    file.streamCrc = ((file.streamCrc << 1) | (file.streamCrc >> 31)) ^ unit.blockCrc;
    if (unit.last) {
        joiner.Put(out, kEndMagicHigh, 24);
        joiner.Put(out, kEndMagicLow, 24);
        joiner.Put(out, file.streamCrc >> 16, 16);
        joiner.Put(out, file.streamCrc & 0xffff, 16);
        joiner.Flush(out);
    }
    joined.truncate(out - joined.constData());
    unit.queued =
        unit.queued - static_cast<size_t>(piece.size()) + static_cast<size_t>(joined.size());
    piece = std::move(joined);
    unit.joined = true;
}

bool ZipCompressionPipeline::StartEncryption(File& file) {
    auto aes = std::make_shared<WinZipAesEncoder>();
    if (!aes->Init(m_options.password, m_options.aesStrength))
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    file.prefix = aes->Header();
    file.aes = std::move(aes);
    return true;
}

bool ZipCompressionPipeline::Emit(Unit& unit, const char* data, size_t size) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_spaceCv.wait(lock, [&] { return Cancelled() || unit.queued < kQueueLimit; });
    if (Cancelled())
        return false;
    unit.output.emplace_back(data, static_cast<qsizetype>(size));
    unit.queued += size;
    m_readCv.notify_all();
    return true;
}

void ZipCompressionPipeline::Finish(Unit& unit, const QString& error, uint32_t crc) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        unit.done = true;
        unit.error = error;
        unit.crc = crc;
    }
    m_readCv.notify_all();
}

qint64 ZipCompressionPipeline::Read(int id, char* out, size_t len,
                                    const std::function<bool()>& poll) {
    std::unique_lock<std::mutex> lock(m_mutex);
    File& file = m_files[static_cast<size_t>(id)];
    if (file.finished)
        return 0;
    for (;;) {
        if (!file.prefix.isEmpty()) {
            const size_t n = std::min(len, static_cast<size_t>(file.prefix.size()));
            std::memcpy(out, file.prefix.constData(), n);
            file.prefix.remove(0, static_cast<qsizetype>(n));
            file.compressed += n;
            return static_cast<qint64>(n);
        }
        if (file.drained) {
            file.finished = true;
            return 0;
        }
        Unit& unit = m_units[file.currentUnit];
        if (m_options.method == 12 && !unit.joined && !unit.output.empty())
            JoinBlock(file, unit);
        if (!unit.output.empty()) {
            QByteArray& front = unit.output.front();
            const size_t n = std::min(len, static_cast<size_t>(front.size()) - unit.frontPos);
            std::memcpy(out, front.constData() + unit.frontPos, n);
            unit.frontPos += n;
            unit.queued -= n;
            file.compressed += n;
            if (unit.frontPos == static_cast<size_t>(front.size())) {
                unit.output.pop_front();
                unit.frontPos = 0;
                m_spaceCv.notify_all();
            }
            // Only this thread uses the encoder once it is set.
            if (WinZipAesEncoder* aes = file.aes.get()) {
                lock.unlock();
                aes->Encrypt(out, n);
            }
            return static_cast<qint64>(n);
        }
        if (unit.done) {
            if (!unit.error.isEmpty()) {
                if (m_error.isEmpty())
                    m_error = unit.error;
                return -1;
            }
            file.crc = static_cast<uint32_t>(
                crc32_combine(file.crc, unit.crc, static_cast<z_off_t>(unit.length)));
            file.read += unit.length;
            m_consumed += unit.length;
            m_charged -= unit.charge;
            --m_unitsInFlight;
            m_workCv.notify_all();
            if (unit.last) {
                file.drained = true;
                if (file.aes)
                    file.prefix = file.aes->Trailer();
                continue;
            }
            ++file.currentUnit;
            continue;
        }
        if (Cancelled())
            return -1;
        if (m_readCv.wait_for(lock, std::chrono::milliseconds(20)) == std::cv_status::timeout &&
            poll) {
            lock.unlock();
            const bool stop = poll();
            lock.lock();
            if (stop)
                return -1;
        }
    }
}

uint32_t ZipCompressionPipeline::Crc(int id) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_files[static_cast<size_t>(id)].crc;
}

quint64 ZipCompressionPipeline::DataSize(int id) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_files[static_cast<size_t>(id)].read;
}

quint64 ZipCompressionPipeline::CompressedSize(int id) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_files[static_cast<size_t>(id)].compressed;
}

quint64 ZipCompressionPipeline::BytesConsumed() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_consumed;
}

QString ZipCompressionPipeline::ErrorText() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

}  // namespace vz
