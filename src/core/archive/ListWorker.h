#pragma once
// Listing in a child process. libarchive parses an untrusted archive's headers in a worker
// (the hidden mode "velazip-cli --list-worker FAMILY HEX-VOLUME..."), under a memory limit,
// and streams each header back; the parent reads them through the one child runner
// (ToolChild.h), which kills a worker that holds more than 512 MiB, that neither writes nor
// reads for 10 s, or that the user stops. A worker that dies on a limit ends the listing
// with an error and nothing listed. Where no
// worker program is found beside the running program (VELAZIP_LIST_WORKER names another;
// an empty value keeps the parsing in this process), and for archives smaller than 1 MiB
// (VELAZIP_LIST_ISOLATE_FROM sets another size in bytes), the headers are read in-process.

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "archive/LibarchiveSession.h"

namespace vz {

constexpr char kListWorkerSwitch[] = "--list-worker";
// The worker's main: `argv` holds the family code and the volumes' path bytes in
// hexadecimal. Its exit code.
int RunListWorker(int argc, char** argv);

// The headers of one listing pass, in archive order, from wherever they are parsed.
class HeaderSource {
public:
    using Step = HeaderReader::Step;
    virtual ~HeaderSource() = default;
    virtual bool Open(QString* error) = 0;
    virtual Step Next(RawHeader* header) = 0;
    // The outermost filter's libarchive code, known once a header was read.
    virtual int FilterCode() const = 0;
    // After Fatal: whether encrypted entries were met, and the reason (empty when unknown).
    virtual bool HasEncryptedEntries() const = 0;
    virtual QString Error() const = 0;
};
// `stop` is polled while a worker is waited for.
std::unique_ptr<HeaderSource> MakeHeaderSource(const QStringList& volumes,
                                               const FamilyTraits& traits,
                                               std::function<bool()> stop);

}  // namespace vz
