#pragma once
// The second reading engine: external programs for what libarchive cannot read.
//  - 7z archives whose headers or entries are encrypted, and 7z archives whose codecs or
//    filters libarchive does not know (ARM64, RISC-V, ...): 7-Zip's `7zz` (Debian package
//    "7zip") lists them and writes the files' data to its standard output.
//  - Encrypted RAR 5 entries: `unar` (Debian package "unar") writes one entry's data to its
//    standard output; `lsar` lists a RAR archive whose headers are encrypted.
// A program never writes to disk here: its output is cut into entries that go through the
// one DestinationWriter, under the same name, link and overwrite rules as libarchive's.
// Every child runs under bounds: it is killed when the user stops, when it is silent for
// too long, and when a listing grows past a cap. 7zz takes the password on its standard
// input; unar only takes it as an argument.

#include <QHash>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "archive/EntryList.h"
#include "archive/LibarchiveSession.h"
#include "common/OperationObserver.h"

namespace vz {

class DestinationWriter;

// Why a tool cannot run, naming the Debian package that brings it; empty when it can.
QString MissingTool(const char* program);

// Whether a 7z archive's headers are encrypted, from its first bytes and its encoded
// header (cheaper than a failed open by libarchive). False for a ".001" volume set, whose
// header lies in the last volume, and for anything that is not such a 7z.
bool SevenZipHeadersEncrypted(const QString& path);

// An unpack (or, without a writer, a test) that an engine runs for the unpacker.
struct ToolUnpackJob {
    const std::vector<ListedEntry>* entries = nullptr;  // in archive order
    std::function<bool(const ListedEntry&)> selects;
    std::function<QStringList(const ListedEntry&)> map;  // components below the destination
    int resumeAt = 0;  // entries before this index were handled already
    DestinationWriter* writer = nullptr;
    IOperationObserver* observer = nullptr;
    IItemListener* listener = nullptr;
    PasswordBook* passwords = nullptr;
    std::function<void(const QString&)> report;        // a failure of one item; the unpack goes on
    QHash<QString, QStringList>* madeFiles = nullptr;  // lower-case inner path -> components
    bool cancelled = false;                            // out: the user stopped or cancelled
};

// A 7z archive (or a ".001" set) read through 7zz.
class SevenZipTool {
public:
    enum class Probe { Readable, HeadersEncrypted, NotReadable };
    explicit SevenZipTool(const QString& firstVolume) : m_path(firstVolume) {}

    // Whether 7zz reads the archive, without asking for a password (a remembered or given
    // one is tried). A readable archive is listed at once (see Listing).
    Probe Open(PasswordBook& passwords, const std::function<bool()>& stop);
    // Instead of Open, for an archive known to have encrypted headers.
    void ExpectPassword() { m_needsPassword = true; }
    // Lists the archive, asking for a password when its headers are encrypted. False with
    // Error() (and Cancelled()) otherwise.
    bool List(PasswordBook& passwords, const std::function<bool()>& stop);
    std::vector<ListedEntry>& Listing() { return m_entries; }
    bool Listed() const { return m_listed; }
    // Unpacks or tests the job's selection; false when anything failed or was stopped.
    bool Unpack(ToolUnpackJob& job);

    QString Error() const { return m_error; }
    bool Cancelled() const { return m_cancelled; }

private:
    enum class Outcome { Ok, WrongPassword, Failed, Stopped };
    Outcome RunListing(const QByteArray& password, const std::function<bool()>& stop);
    QString m_path;
    std::vector<ListedEntry> m_entries;
    bool m_listed = false;
    bool m_needsPassword = false;  // its headers are encrypted
    QString m_error;
    bool m_cancelled = false;
};

// How reading one entry through a tool ended.
enum class ToolStatus { Ok, WrongPassword, Failed, Cancelled };

// One encrypted zip entry's data through 7zz, for a method that libzip cannot decode under
// encryption (LZMA, PPMd, XZ, Zstandard under AES). The password goes on 7zz's standard
// input; a wrong one is asked again. The entry's whole size must come out.
ToolStatus ReadZipEntryWithSevenZip(const QString& archivePath, const QString& innerPath,
                                    quint64 size, PasswordBook& passwords,
                                    IOperationObserver* observer,
                                    const std::function<bool(const char*, size_t)>& sink,
                                    QString* error);

// Encrypted RAR entries' data through unar, and the listing of a RAR archive whose headers
// are encrypted through lsar. An entry is named by its position among the archive's
// entries as lsar lists them (found by name on first use).
class UnarEntryReader {
public:
    explicit UnarEntryReader(const QString& archivePath) : m_path(archivePath) {}
    ~UnarEntryReader();
    using Status = ToolStatus;
    // Lists an archive whose headers are encrypted, asking for the password until lsar
    // reads them with it.
    Status List(PasswordBook& passwords, const std::function<bool()>& stop,
                std::vector<ListedEntry>* entries);
    // Writes the data of the `occurrence`-th entry named `innerPath` to `sink` (false from
    // the sink ends it), asking for passwords until its size comes out right.
    Status Read(const QString& innerPath, int occurrence, quint64 size, PasswordBook& passwords,
                IOperationObserver* observer, const std::function<bool(const char*, size_t)>& sink);
    // Unpacks or tests the job's selection one entry per run of unar; false when anything
    // failed or was stopped.
    bool Unpack(ToolUnpackJob& job);
    QString Error() const { return m_error; }

private:
    bool MakeLink();
    // lsar's listing with that password (none: null), which also indexes the names.
    Status RunLsar(const std::string* password, const std::function<bool()>& stop,
                   QJsonArray* contents);
    bool Index();
    QString m_path;
    QString m_folder;  // a private folder that holds the link that unar is handed
    QString m_link;
    bool m_indexed = false;
    std::vector<std::pair<QString, int>> m_names;  // inner path, lsar index
    QString m_error;
};

}  // namespace vz
