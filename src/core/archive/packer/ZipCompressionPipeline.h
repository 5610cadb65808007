#pragma once
// Compressing the data of added files ahead of the zip writer, on a pool of threads.
//
// The writer (libzip, inside zip_close) reads the files one after the other; the pool works
// on the same sequence a little ahead of it. Work is cut into units taken strictly in order:
//  - DEFLATE: a file is cut into chunks (1 MiB); each chunk is compressed on its own as raw
//    deflate, primed with the 32 KiB of data before it as dictionary and ended with a sync
//    flush (the last with the final block), so that the chunks joined are one deflate stream
//    of nearly the size a single pass gives, and one large file uses every core.
//  - BZIP2: a file is cut into chunks small enough to make exactly one bzip2 block each
//    (a block holds 100,000 x level bytes after a run-length pass that can grow data by a
//    quarter); each chunk is compressed on its own as a one-block stream, and the writer joins
//    the blocks bit by bit into one stream under one header, with the end marker and the
//    stream CRC (folded from the blocks' CRCs) after the last, so one large file uses every
//    core too.
// Each unit also computes the CRC-32 of its data; the writer joins them (crc32_combine).
//
// With WinZip AES encryption, the worker that starts a file's first unit derives the file's
// keys (the costly part: a key derivation per file); the writer's Read encrypts the bytes as
// it hands them over, in order, with the salt and verifier before them and the
// authentication code after them.
//
// Memory stays bounded: a unit is started only while the units started and not yet read by
// the writer charge less than the budget (one unit at a time may exceed it), and a unit whose
// compressed output waiting to be read reaches 4 MiB waits for the writer. Units are started
// in order, so the writer's unit is always started and the pipeline never deadlocks.

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vz {

class WinZipAesEncoder;

class ZipCompressionPipeline {
public:
    struct Options {
        int method = 8;   // 8 DEFLATE or 12 BZIP2
        int level = 6;    // 1 to 9
        int threads = 0;  // 0: one per core
        qint64 memoryBudget = 32 << 20;
        int chunkSize = 1 << 20;
        int aesStrength = 0;  // 1, 2, 3: WinZip AES-128, -192, -256 with `password`
        QByteArray password;
    };
    explicit ZipCompressionPipeline(const Options& options);
    ~ZipCompressionPipeline();  // cancels what still runs and joins the threads
    ZipCompressionPipeline(const ZipCompressionPipeline&) = delete;
    ZipCompressionPipeline& operator=(const ZipCompressionPipeline&) = delete;

    // Before Start: a file of `size` bytes (more than 0) to compress; `displayPath` names it in
    // errors. Returns its number; the writer must read files in the order of their numbers.
    int AddFile(const QByteArray& nativePath, const QString& displayPath, quint64 size);
    void Start();
    // Stops the threads at the next block; waiting reads return -1.
    void Cancel();

    // The writer's side. Copies up to `len` bytes of file `id`'s compressed stream into `out`;
    // returns the number of bytes, 0 at the end of the stream, -1 on failure (ErrorText) or
    // when `poll`, called about every 20 ms while the data is not ready, returned true.
    qint64 Read(int id, char* out, size_t len, const std::function<bool()>& poll);
    // After Read returned 0 for file `id`: the CRC-32 and the number of data bytes read.
    uint32_t Crc(int id) const;
    quint64 DataSize(int id) const;
    quint64 CompressedSize(int id) const;
    // Uncompressed bytes of every unit that the writer has read completely.
    quint64 BytesConsumed() const;
    QString ErrorText() const;

private:
    struct Unit {
        int file = 0;
        quint64 offset = 0;
        quint64 length = 0;
        bool last = false;
        qint64 charge = 0;
        // Guarded by m_mutex.
        std::deque<QByteArray> output;
        size_t frontPos = 0;
        size_t queued = 0;
        bool done = false;
        QString error;
        uint32_t crc = 0;
        // BZIP2: the block's bits (from the first byte of the output), its CRC, and whether
        // the writer has joined the output to the file's stream.
        quint64 blockBits = 0;
        uint32_t blockCrc = 0;
        bool joined = false;
    };
    // The bits of a bzip2 stream not yet making a whole byte.
    struct BitJoiner {
        uint32_t carry = 0;  // `count` bits in the low bits
        int count = 0;
        void Put(char*& out, uint32_t value, int bits);  // at most 24 bits
        void PutBits(char*& out, const unsigned char* data, quint64 bits);
        void Flush(char*& out);
    };
    struct File {
        QByteArray path;
        QString displayPath;
        quint64 size = 0;
        size_t firstUnit = 0;
        size_t currentUnit = 0;  // the writer's unit
        uint32_t crc = 0;
        quint64 read = 0;  // data bytes of the units read completely
        quint64 compressed = 0;
        bool finished = false;
        std::shared_ptr<WinZipAesEncoder> aes;  // set before the first unit's output
        QByteArray prefix;                      // still to hand over before the next bytes
        bool drained = false;                   // the last unit was read
        BitJoiner joiner;                       // BZIP2
        uint32_t streamCrc = 0;
    };
    struct Worker;

    void WorkerLoop();
    void CompressDeflate(Worker& worker, Unit& unit);
    void CompressBzip2(Worker& worker, Unit& unit);
    // Hands a piece of output to the writer; waits while the unit's queue is full. False
    // when cancelled.
    bool Emit(Unit& unit, const char* data, size_t size);
    void Finish(Unit& unit, const QString& error, uint32_t crc);
    // Before the first unit of an encrypted file: derives its keys. False on failure.
    bool StartEncryption(File& file);
    // BZIP2, the writer's side: turns the unit's one-block output into the next bytes of the
    // file's stream.
    void JoinBlock(File& file, Unit& unit);
    bool Cancelled() const { return m_cancel.load(std::memory_order_relaxed); }

    Options m_options;
    std::vector<File> m_files;
    std::deque<Unit> m_units;  // stable addresses
    std::vector<std::thread> m_threads;

    mutable std::mutex m_mutex;
    std::condition_variable m_workCv;   // workers: a unit may start
    std::condition_variable m_readCv;   // writer: output or an end is there
    std::condition_variable m_spaceCv;  // workers: the writer took output
    size_t m_next = 0;                  // the next unit to start
    qint64 m_charged = 0;
    int m_unitsInFlight = 0;
    quint64 m_consumed = 0;
    QString m_error;
    std::atomic<bool> m_cancel{false};
    bool m_started = false;
};

}  // namespace vz
