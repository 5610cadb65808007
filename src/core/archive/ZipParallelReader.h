#pragma once
// Reads the data of plain zip entries ahead of a reading pass, on one thread per core.
//
// The pass (CArchiveUnpacker) still meets every entry in archive order through libarchive
// and decides everything about it; for an entry given here it takes the data from this
// reader instead: the entry is found by its local header (every offset and length checked
// against the file, since archives are never trusted), inflated with zlib and checked against
// the central directory's size and CRC. Only data that passed these checks is handed out;
// anything unusual (a damaged local header, an encrypted flag, data that does not inflate,
// is too short or too long, a CRC error) makes the entry Unavailable, and the pass reads it
// as it reads any other entry, with the same checks and the same messages.
//
// Memory stays bounded: the entries ahead of the one the pass wants wait while their data in
// flight exceeds a limit; the entry the pass wants is streamed to it in pieces.

#include <QByteArray>
#include <QString>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vz {

class ZipParallelReader {
public:
    struct Job {
        quint64 localHeader = 0;
        quint64 packedSize = 0;
        quint64 size = 0;
        quint32 crc = 0;
        bool deflated = false;  // else stored
    };
    enum class Piece { Data, End, Unavailable };

    // Starts reading `jobs` (in the order the pass will want them) from `path`.
    ZipParallelReader(const QString& path, std::vector<Job> jobs);
    // Stops the workers; data not taken is dropped.
    ~ZipParallelReader();
    ZipParallelReader(const ZipParallelReader&) = delete;
    ZipParallelReader& operator=(const ZipParallelReader&) = delete;

    // The next piece of job `index`'s data, waiting for it. Wanting a job drops every
    // earlier one not taken (their data is not needed any more). Data: `*data` holds the
    // piece. End: all of the data was handed out and checked. Unavailable: the job was
    // dropped, or its data did not check out (pieces handed out before are to be discarded).
    Piece Next(size_t index, QByteArray* data);

private:
    struct State;
    void Work();
    bool Produce(size_t index, int fd, qint64 fileSize, void* zstream, QByteArray& input);
    bool Push(size_t index, QByteArray piece);

    std::vector<Job> m_jobs;
    std::unique_ptr<State> m_state;
    std::vector<std::thread> m_workers;
};

}  // namespace vz
