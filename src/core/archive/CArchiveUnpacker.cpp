#include "archive/CArchiveUnpacker.h"

#include <archive.h>
#include <archive_entry.h>
#include <langinfo.h>
#include <locale.h>
#include <string.h>

#include <zlib.h>

#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <atomic>
#include <cstring>
#include <functional>
#include <future>

#include "archive/ArchiveClassifier.h"
#include "archive/DestinationWriter.h"
#include "archive/EntryList.h"
#include "archive/IsoImageCheck.h"
#include "archive/LibarchiveSession.h"
#include "archive/ListWorker.h"
#include "archive/NameEncoding.h"
#include "archive/SevenZipHeaders.h"
#include "archive/ToolEngine.h"
#include "archive/ZipDirectory.h"
#include "archive/ZipEntryData.h"
#include "archive/ZipParallelReader.h"
#include "platform/FileSystem.h"

namespace vz {

void EnsureUtf8Locale() {
    const char* codeset = nl_langinfo(CODESET);
    if (codeset && strcmp(codeset, "UTF-8") == 0)
        return;
    if (setlocale(LC_CTYPE, "") && strcmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    setlocale(LC_CTYPE, "C.UTF-8");
}

namespace {

constexpr size_t kMaxEntries = 50'000'000;  // beyond this an archive is not listed
constexpr qint64 kPollBytes = 1 << 20;      // progress and Stop between such amounts

// The name of the one stream of a gzip or bzip2 file: the file name without its compression
// suffix; "backup.tgz" and "backup.tar.gz" both give "backup.tar".
QString StreamName(const QString& archivePath) {
    const QString name = platform::FileNameOf(archivePath);
    const QString upper = name.toUpper();
    for (const char* ext : {".TGZ", ".TBZ2", ".TBZ"}) {
        if (upper.endsWith(QLatin1String(ext)))
            return name.left(name.size() - static_cast<int>(strlen(ext))) + QStringLiteral(".tar");
    }
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.left(dot) : name + QStringLiteral(".out");
}

// The uncompressed size that a gzip member records in its last four bytes (modulo 4 GiB).
bool GzipTrailerSize(const QString& path, quint64* size) {
    QFile f;
    if (!platform::OpenForReading(f, path) || f.size() < 18 || !f.seek(f.size() - 4))
        return false;
    const QByteArray t = f.read(4);
    if (t.size() != 4)
        return false;
    *size = static_cast<quint8>(t[0]) | (static_cast<quint32>(static_cast<quint8>(t[1])) << 8) |
            (static_cast<quint32>(static_cast<quint8>(t[2])) << 16) |
            (static_cast<quint32>(static_cast<quint8>(t[3])) << 24);
    return true;
}

// Reads every member of a gzip file through zlib, which checks each member's CRC and size
// (libarchive's gzip reader does not). Empty when they check out, else what is wrong;
// `stop` ends it early with no verdict.
QString CheckGzipMembers(const QString& path, const std::function<bool()>& stop) {
    QFile f;
    if (!platform::OpenForReading(f, path))
        return QString::fromLocal8Bit(std::strerror(errno));
    z_stream z{};
    if (inflateInit2(&z, 15 + 16) != Z_OK)
        return QStringLiteral("out of memory");
    QByteArray in;
    std::vector<Bytef> out(1 << 18);
    QString verdict;
    bool inMember = true;
    for (;;) {
        if (z.avail_in == 0) {
            if (stop && stop())
                break;
            in = f.read(1 << 18);
            if (in.isEmpty()) {
                if (inMember)
                    verdict = QStringLiteral("it ends too soon");
                break;
            }
            z.next_in = reinterpret_cast<Bytef*>(in.data());
            z.avail_in = static_cast<uInt>(in.size());
        }
        if (!inMember) {
            // Another member follows only where the gzip magic does; anything else (zeros
            // that pad a tape block, say) ends the file.
            if (z.next_in[0] != 0x1f)
                break;
            inflateReset(&z);
            inMember = true;
        }
        z.next_out = out.data();
        z.avail_out = static_cast<uInt>(out.size());
        const int r = inflate(&z, Z_NO_FLUSH);
        if (r == Z_STREAM_END) {
            inMember = false;
        } else if (r != Z_OK && r != Z_BUF_ERROR) {
            const QLatin1String why(z.msg ? z.msg : "");
            verdict = why == QLatin1String("incorrect data check") ? QStringLiteral("CRC error")
                      : why == QLatin1String("incorrect length check")
                          ? QStringLiteral("size error")
                          : QString(why);
            if (verdict.isEmpty())
                verdict = QStringLiteral("damaged data");
            break;
        }
    }
    inflateEnd(&z);
    return verdict;
}

QString LibarchiveError(archive* a, const char* fallback) {
    const char* e = archive_error_string(a);
    return QString::fromUtf8(e ? e : fallback);
}

// libarchive decrypts only zip entries; encrypted 7z archives and RAR 5 entries go through
// external programs (ToolEngine.h), when they are installed. RAR 4 encryption (and RAR 5
// encrypted headers) no free decoder here reads.
QString CannotDecrypt(int family, const char* what) {
    const QString missing = MissingTool(family == ArchiveFamily::Rar ? "unar" : "7zz");
    return QStringLiteral("encrypted %1 %2 cannot be read: %3")
        .arg(
            ArchiveFamily::DisplayName(family), QLatin1String(what),
            missing.isEmpty() ? QStringLiteral("no free decoder reads their encryption") : missing);
}

bool IsPasswordError(archive* a) {
    const char* e = archive_error_string(a);
    return e && (strcasestr(e, "passphrase") || strcasestr(e, "password"));
}

// Which entries an unpack takes and where below the destination each one goes.
struct Selection {
    enum class Kind { Archive, Folder, File, Test } kind;
    QString inner;
    bool withoutPaths = false;
    QString virtualPrefix;      // the tar level of a compressed tar ("backup.tar"), else empty
    int filesBeforeWinner = 0;  // File: entries of that name passed over before the last one

    bool Selects(const QString& path, bool isFolder) const {
        switch (kind) {
            case Kind::Archive:
            case Kind::Test:
                return true;
            case Kind::Folder:
                return IsAtOrBelow(path, inner);
            case Kind::File:
                return !isFolder && EqualsNoCase(path, inner);
        }
        return false;
    }
    // Components below the destination; empty when the entry makes nothing there.
    QStringList Map(const QString& path, bool isFolder) const {
        auto split = [](const QString& p) {
            return p.isEmpty() ? QStringList() : p.split(QLatin1Char('/'));
        };
        switch (kind) {
            case Kind::Test:
                return {};
            case Kind::Archive: {
                QString p = path;
                if (!virtualPrefix.isEmpty()) {
                    if (EqualsNoCase(p, virtualPrefix))
                        return {};
                    p = p.mid(virtualPrefix.size() + 1);
                }
                if (withoutPaths)
                    return isFolder ? QStringList() : QStringList{LastComponent(p)};
                return split(p);
            }
            case Kind::Folder: {
                if (!withoutPaths)
                    return split(path);
                QStringList out{LastComponent(inner)};
                if (path.size() > inner.size())
                    out += split(path.mid(inner.size() + 1));
                return out;
            }
            case Kind::File:
                return withoutPaths ? QStringList{LastComponent(path)} : split(path);
        }
        return {};
    }
};

}  // namespace
}  // namespace vz

using namespace vz;

struct CArchiveUnpacker::Impl {
    CArchiveUnpacker* q;
    const FamilyTraits* traits = nullptr;
    // A zip read from its local headers: the family's traits with that reader.
    FamilyTraits localHeaders;
    INIUNPACK ini;
    IOperationObserver* observer = nullptr;
    IItemListener* listener = nullptr;
    bool open = false;
    QStringList volumes;
    qint64 compressedTotal = 0;
    // Gzip and bzip2: whether the stream holds a tar, and the name of its level.
    bool tarInside = false;
    QString streamName;
    // RAR 5: which entries are encrypted (libarchive does not flag them).
    Rar5Encryption rar5;
    // The listing, read on first need.
    bool listed = false;
    std::vector<ListedEntry> entries;
    int cursor = -1;
    PasswordBook passwords;
    // A 7z archive that libarchive cannot read or decrypt is read through 7zz; encrypted
    // RAR 5 entries through unar.
    std::unique_ptr<SevenZipTool> sevenZip;
    std::unique_ptr<UnarEntryReader> unar;
    bool headersEncrypted = false;  // libarchive's first header failed on encryption
    // A 7z whose headers our own reader lists (SevenZipHeaders.h); libarchive or 7zz take over
    // when it cannot.
    bool ownHeaders = false;
    bool listedByLsar = false;  // a RAR archive whose headers are encrypted
    // How the names were decoded, and the count of the user's choices then: a new choice for
    // this archive lists it again.
    EntryNameDecoding names;
    quint64 choicesSeen = 0;
    // A zip's entry paths, while its listing is not read: enough for levels and folders.
    std::shared_ptr<const ZipPathIndex> zipIndex;

    explicit Impl(CArchiveUnpacker* owner) : q(owner) {}

    bool Fail(const QString& message) {
        q->m_error = message;
        return false;
    }
    // Polled while an archive is listed: the user may stop a long listing.
    bool StopNow() {
        if (!stopped && observer && observer->StopRequested()) {
            stopped = true;
            q->m_cancelled = true;
        }
        return stopped;
    }
    std::function<bool()> StopPoll() {
        return [this] { return StopNow(); };
    }
    bool stopped = false;
    QString Where() const { return q->m_path; }

    // Why reading a header failed: encrypted headers, or encrypted entries in the way (the
    // data of a solid block), are named as such; anything else gives libarchive's reason.
    QString HeaderFailure(archive* a, bool atStart, const char* fallback) const {
        return HeaderFailure(archive_read_has_encrypted_entries(a) > 0,
                             LibarchiveError(a, fallback), atStart);
    }
    QString HeaderFailure(bool encrypted, const QString& reason, bool atStart) const {
        const int family = traits->family;
        if (!ArchiveFamily::IsZipFamily(family)) {
            if (rar5.headers || (atStart && encrypted))
                return QStringLiteral("its headers are encrypted, and ") +
                       CannotDecrypt(family, "archives");
            if (encrypted)
                return QStringLiteral("it holds encrypted entries, and ") +
                       CannotDecrypt(family, "entries");
        }
        return reason;
    }
    // The entry at this position of a pass is encrypted although libarchive does not say so.
    void MarkEncrypted(size_t headerIndex, ARCHIVEFILEFULLINFO& info) const {
        if (headerIndex < rar5.entries.size() && rar5.entries[headerIndex])
            info.encrypted = true;
    }

    bool IsStream() const {
        return traits && traits->formats == FamilyTraits::Formats::CompressedStream;
    }

    // The display path of a header: a compressed tar's entries lie below its level.
    QString DisplayPath(const QString& path) const {
        return tarInside && !path.isEmpty() ? JoinPath(streamName, path) : path;
    }

    // Reads the first header: proves that the file is of the family and, for a compressed
    // stream, tells whether a tar is inside.
    bool Probe() {
        LibarchiveSession s;
        QString err;
        if (!s.Open(volumes, *traits, nullptr, &err))
            return Fail(QStringLiteral("Cannot open the archive %1: %2.").arg(Where(), err));
        archive_entry* h = nullptr;
        int r = ARCHIVE_RETRY;
        for (int i = 0; i < kMaxRetries && r == ARCHIVE_RETRY; ++i)
            r = archive_read_next_header(s.Handle(), &h);
        if (r != ARCHIVE_OK && r != ARCHIVE_WARN && r != ARCHIVE_EOF) {
            headersEncrypted = archive_read_has_encrypted_entries(s.Handle()) > 0;
            return Fail(QStringLiteral("Cannot open the archive %1: %2.")
                            .arg(Where(), HeaderFailure(s.Handle(), true, "not an archive")));
        }
        if (IsStream()) {
            const int format = archive_format(s.Handle()) & ARCHIVE_FORMAT_BASE_MASK;
            tarInside = format == ARCHIVE_FORMAT_TAR;
            streamName = StreamName(q->m_path);
            // Deflate makes at most 1 032 bytes of one byte: a gzip whose last member
            // records more than its whole file could hold has a damaged trailer (or is made
            // to catch readers out, as one that holds a gzip that holds a gzip ...).
            constexpr quint64 kMaxDeflateRatio = 1032;
            quint64 recorded = 0;
            if (traits->family == ArchiveFamily::GZip &&
                GzipTrailerSize(volumes.last(), &recorded) &&
                recorded > kMaxDeflateRatio * static_cast<quint64>(compressedTotal))
                return Fail(QStringLiteral("Cannot open the archive %1: it is damaged (it records "
                                           "%2 bytes of data, more than %3 bytes can hold).")
                                .arg(Where(), GroupDigits(recorded),
                                     GroupDigits(static_cast<quint64>(compressedTotal))));
        }
        return true;
    }

    // A zip whose end record cannot be found is read from its local headers, as long as
    // they hold at least one entry; the first failure stands otherwise.
    bool ProbeLocalHeaders() {
        if (traits->formats != FamilyTraits::Formats::Zip || volumes.size() != 1 || stopped)
            return false;
        const FamilyTraits* whole = traits;
        const QString failure = q->m_error;
        localHeaders = *whole;
        localHeaders.formats = FamilyTraits::Formats::ZipLocalHeaders;
        localHeaders.listWithLibzip = false;
        traits = &localHeaders;
        if (Probe() && EnsureListed() && !entries.empty()) {
            q->m_note = QStringLiteral(
                            "The archive %1 is damaged: its central directory was not "
                            "found, and its entries were read from their local "
                            "headers.")
                            .arg(Where());
            q->m_error.clear();
            return true;
        }
        traits = whole;
        listed = false;
        entries.clear();
        return Fail(failure);
    }

    bool EnsureListed() {
        if (listed && choicesSeen != NameEncodings::ChoiceSerial()) {
            choicesSeen = NameEncodings::ChoiceSerial();
            QString now;
            if (NameEncodings::Known(q->m_path, &now) && now != names.encoding) {
                listed = false;
                entries.clear();
            }
        }
        if (listed)
            return true;
        if (!open)
            return Fail(QStringLiteral("No archive is open."));
        choicesSeen = NameEncodings::ChoiceSerial();
        if (ownHeaders) {
            entries.clear();
            const OwnListing r = ListWithOwnReader([this](ListedEntry& e) {
                entries.push_back(std::move(e));
                return true;
            });
            if (r != OwnListing::NotRead)
                return listed = r == OwnListing::Ok;
            entries.clear();
            if (!OpenSevenZipAsBefore())
                return false;
            if (listed)
                return true;
        }
        if (sevenZip)
            return ListWithSevenZipTool();
        if (listedByLsar)
            return ListWithUnar();
        if (traits->listWithLibzip && volumes.size() == 1) {
            QString err;
            if (ListZipDirectory(volumes.first(), &entries, &err, StopPoll(), &names))
                return listed = true;
            if (stopped)
                return Fail(QStringLiteral("The listing was stopped."));
        }
        return listed = ListWithLibarchive();
    }

    bool Is7z() const {
        return traits->family == ArchiveFamily::SevenZip ||
               traits->family == ArchiveFamily::SevenZipVolumes;
    }
    // A 7z as it was opened before our own header reader: 7zz for encrypted headers, else
    // libarchive's first header, else 7zz.
    bool OpenSevenZipAsBefore() {
        ownHeaders = false;
        return (headersEncrypted && OpenWithSevenZipTool()) || Probe() || OpenWithSevenZipTool();
    }
    // Reads a 7z's headers with our own reader, asking for the password of encrypted ones as
    // 7zz's listing does (those known first, then the user, again after a wrong one).
    enum class OwnListing { Ok, Failed, NotRead };
    OwnListing ListWithOwnReader(const std::function<bool(ListedEntry&)>& visit) {
        passwords.SetObserver(observer, q->m_path);
        std::deque<std::string> tries = passwords.Known();
        QString err;
        for (;;) {
            QByteArray password;
            if (headersEncrypted) {
                if (!tries.empty()) {
                    password = QByteArray::fromStdString(tries.front());
                    tries.pop_front();
                } else if (const char* answer = passwords.Ask()) {
                    password = answer;
                } else {
                    q->m_cancelled = passwords.Cancelled();
                    Fail(q->m_cancelled ? QStringLiteral("The listing was cancelled.")
                                        : QStringLiteral("Cannot open the archive %1: its headers "
                                                         "are encrypted, and a password is "
                                                         "required.")
                                              .arg(Where()));
                    return OwnListing::Failed;
                }
            }
            switch (ReadSevenZipHeaders(volumes.first(), headersEncrypted ? &password : nullptr,
                                        visit, StopPoll(), &err)) {
                case SevenZipHeaderStatus::Ok:
                    if (headersEncrypted)
                        passwords.Remember(QString::fromUtf8(password));
                    return OwnListing::Ok;
                case SevenZipHeaderStatus::NeedsPassword:
                    headersEncrypted = true;
                    continue;
                case SevenZipHeaderStatus::WrongPassword:
                    passwords.Forget();
                    continue;
                case SevenZipHeaderStatus::Stopped:
                    Fail(QStringLiteral("The listing was stopped."));
                    return OwnListing::Failed;
                case SevenZipHeaderStatus::NotRead:
                    return OwnListing::NotRead;
            }
        }
    }
    // Opens a 7z archive that libarchive did not open (encrypted headers, a layout or a
    // codec it does not know) through 7zz, when 7zz reads it.
    bool OpenWithSevenZipTool() {
        if (!Is7z() || stopped || !MissingTool("7zz").isEmpty())
            return false;
        auto tool = std::make_unique<SevenZipTool>(volumes.first());
        passwords.SetObserver(observer, q->m_path);
        // libarchive knew the 7z by its headers and found them encrypted: the listing asks.
        if (headersEncrypted)
            tool->ExpectPassword();
        else if (tool->Open(passwords, StopPoll()) == SevenZipTool::Probe::NotReadable)
            return false;
        if (tool->Listed()) {
            entries = std::move(tool->Listing());
            listed = true;
        }
        sevenZip = std::move(tool);
        q->m_error.clear();
        return true;
    }
    // Opens a RAR 5 archive whose headers are encrypted: lsar lists it once the password is
    // known (asked on the first listing), unar unpacks it.
    bool OpenWithUnar() {
        if (traits->family != ArchiveFamily::Rar || !rar5.headers || stopped ||
            !MissingTool("lsar").isEmpty() || !MissingTool("unar").isEmpty())
            return false;
        unar = std::make_unique<UnarEntryReader>(volumes.first());
        listedByLsar = true;
        q->m_error.clear();
        return true;
    }
    bool ListWithUnar() {
        passwords.SetObserver(observer, q->m_path);
        switch (unar->List(passwords, StopPoll(), &entries)) {
            case UnarEntryReader::Status::Ok:
                return listed = true;
            case UnarEntryReader::Status::Cancelled:
                q->m_cancelled = true;
                return Fail(QStringLiteral("The listing was cancelled."));
            case UnarEntryReader::Status::WrongPassword:
                return Fail(QStringLiteral("Cannot open the archive %1: its headers are "
                                           "encrypted, and a password is required.")
                                .arg(Where()));
            case UnarEntryReader::Status::Failed:
                break;
        }
        return Fail(QStringLiteral("Cannot open the archive %1: %2.").arg(Where(), unar->Error()));
    }
    // Turns an open 7z archive over to 7zz (libarchive listed it but cannot decrypt or
    // decode its data); false when 7zz is not there.
    bool SwitchToSevenZipTool() {
        if (sevenZip)
            return true;
        if (!Is7z() || !MissingTool("7zz").isEmpty())
            return false;
        sevenZip = std::make_unique<SevenZipTool>(volumes.first());
        // Our own reader's listing is 7zz's, in 7zz's order; libarchive's is read again.
        listed = listed && ownHeaders;
        return true;
    }
    bool ListWithSevenZipTool() {
        passwords.SetObserver(observer, q->m_path);
        if (!sevenZip->List(passwords, StopPoll())) {
            q->m_cancelled = sevenZip->Cancelled();
            return Fail(q->m_cancelled ? sevenZip->Error()
                                       : QStringLiteral("Cannot open the archive %1: %2.")
                                             .arg(Where(), sevenZip->Error()));
        }
        entries = std::move(sevenZip->Listing());
        return listed = true;
    }
    // Names that are not valid UTF-8 are decoded by the archive's code page; when that is not
    // decided yet, they are all read first and the listing is read again once it is.
    bool ListWithLibarchive(bool decideNames = true) {
        entries.clear();
        QString known;
        const bool decided = NameEncodings::Known(q->m_path, &known);
        if (decided)
            names.encoding = known;
        QSet<QByteArray> undecided;
        // The headers are parsed in a worker process where one can be run (ListWorker.h).
        const std::unique_ptr<HeaderSource> source = MakeHeaderSource(volumes, *traits, StopPoll());
        QString err;
        if (!source->Open(&err)) {
            if (StopNow())
                return Fail(QStringLiteral("The listing was stopped."));
            return Fail(QStringLiteral("Cannot open the archive %1: %2.").arg(Where(), err));
        }
        if (IsStream() && tarInside) {
            ListedEntry level;
            level.info.path = streamName;
            level.info.isFolder = true;
            level.info.attributes = kDosDirectory;
            level.info.sizeKnown = level.info.packedSizeKnown = true;
            entries.push_back(level);
        }
        // The compression of every entry, where the format tells it once for the archive: a
        // filter around a tar, a cabinet's folders.
        QString archiveMethod;
        bool archiveMethodRead = false;
        size_t headerIndex = 0;
        constexpr size_t kStopPollHeaders = 256;
        RawHeader h;
        for (;; ++headerIndex) {
            if (headerIndex % kStopPollHeaders == 0 && StopNow()) {
                entries.clear();
                return Fail(QStringLiteral("The listing was stopped."));
            }
            const HeaderReader::Step step = source->Next(&h);
            if (step == HeaderReader::Step::End)
                break;
            if (step == HeaderReader::Step::BadEntry)
                continue;
            if (step == HeaderReader::Step::Fatal) {
                if (StopNow()) {
                    entries.clear();
                    return Fail(QStringLiteral("The listing was stopped."));
                }
                const QString reason = source->Error();
                return Fail(QStringLiteral("Cannot read the archive %1: %2.")
                                .arg(Where(), HeaderFailure(source->HasEncryptedEntries(),
                                                            reason.isEmpty()
                                                                ? QStringLiteral("damaged archive")
                                                                : reason,
                                                            entries.empty())));
            }
            if (!archiveMethodRead) {
                archiveMethodRead = true;
                archiveMethod = FilterMethodName(source->FilterCode());
                if (archiveMethod.isEmpty() && traits->formats == FamilyTraits::Formats::Cab)
                    archiveMethod = CabinetMethod(volumes.first());
            }
            ConvertedHeader c = ConvertHeader(h, *traits, names);
            if (c.undecided && !decided)
                undecided.insert(h.path);
            MarkEncrypted(headerIndex, c.entry.info);
            if (!c.entry.info.isFolder && !archiveMethod.isEmpty())
                c.entry.info.method = archiveMethod;
            if (IsStream() && !tarInside) {
                // A plain compressed file: one entry named after the archive.
                c.entry.info.path = streamName;
                c.entry.skip = false;
                c.entry.refusedName.clear();
                c.entry.info.method = QString::fromLatin1(traits->streamMethod);
                quint64 size = 0;
                c.entry.info.sizeKnown =
                    traits->family == ArchiveFamily::GZip && GzipTrailerSize(volumes.last(), &size);
                c.entry.info.size = size;
                c.entry.info.packedSize = static_cast<quint64>(compressedTotal);
                c.entry.info.packedSizeKnown = true;
                c.entry.info.modified = platform::ReadFacts(q->m_path).modified;
                entries.push_back(c.entry);
                break;
            }
            c.entry.info.path = DisplayPath(c.entry.info.path);
            c.entry.passOrder = entries.size();
            entries.push_back(std::move(c.entry));
            if (entries.size() > kMaxEntries)
                return Fail(QStringLiteral("The archive %1 holds too many entries.").arg(Where()));
        }
        if (!decided) {
            names.encoding = NameEncodings::Resolve(q->m_path, undecided.values());
            if (!undecided.isEmpty() && decideNames)
                return ListWithLibarchive(false);
        }
        return true;
    }

    // A pass decodes names as the listing does: the listing decides them when nothing else
    // has (and, for a zip, tells which names lack the UTF-8 flag).
    void DecideNames() {
        QString known;
        if (listed || traits->listWithLibzip || !NameEncodings::Known(q->m_path, &known))
            EnsureListed();
        else
            names.encoding = known;
        q->m_error.clear();
    }

    // Several entries may carry the same name (without regard to case): the one that a
    // reading pass meets last wins, for descriptions and for unpacking one file alike.
    const ListedEntry* FindEntry(const QString& inner) const {
        const ListedEntry* found = nullptr;
        for (const ListedEntry& e : entries)
            if (!e.skip && EqualsNoCase(e.info.path, inner) &&
                (!found || e.passOrder >= found->passOrder))
                found = &e;
        return found;
    }
    // How many files of that name a pass meets before the one that wins.
    int FilesBeforeWinner(const QString& inner) const {
        int matches = 0;
        for (const ListedEntry& e : entries)
            if (!e.skip && !e.info.isFolder && EqualsNoCase(e.info.path, inner))
                ++matches;
        return std::max(0, matches - 1);
    }

    // What the central directory says of each zip entry's data: its CRC, and whether
    // libzip must read it (an encrypted entry that libarchive cannot decrypt). Kept per
    // name, for every entry of that name in the order a pass meets them, since names may
    // repeat.
    struct ZipFacts {
        quint64 passOrder = 0;
        qint64 directoryIndex = -1;
        quint32 crc = 0;
        bool crcKnown = false;
        bool viaLibzip = false;
        bool methodChecksData = false;  // BZIP2 checks every block of its data itself
    };
    using ZipFactBook = QHash<QString, std::vector<ZipFacts>>;
    ZipFactBook ExpectedZipFacts() const {
        ZipFactBook facts;
        if (!listed || !ArchiveFamily::IsZipFamily(traits->family))
            return facts;
        facts.reserve(static_cast<qsizetype>(entries.size()));
        for (const ListedEntry& e : entries) {
            ZipFacts f;
            f.passOrder = e.passOrder;
            f.directoryIndex = e.directoryIndex;
            if (!e.skip && !e.info.isFolder && !e.info.isSymlink) {
                const bool libarchiveDecrypts = e.info.method == QLatin1String("Store") ||
                                                e.info.method == QLatin1String("Deflate");
                f.crc = e.info.crc;
                f.crcKnown = e.info.crcKnown;
                f.viaLibzip = e.info.encrypted && !libarchiveDecrypts;
                f.methodChecksData = e.info.method == QLatin1String("BZip2");
            }
            facts[e.info.path].push_back(f);
        }
        for (auto it = facts.begin(); it != facts.end(); ++it)
            if (it->size() > 1)
                std::stable_sort(it->begin(), it->end(), [](const ZipFacts& a, const ZipFacts& b) {
                    return a.passOrder < b.passOrder;
                });
        return facts;
    }

    // The total bytes an unpack writes, for its percentage; 0 when not known cheaply.
    quint64 SelectedBytes(const Selection& sel) const {
        if (!listed)
            return 0;
        quint64 total = 0;
        for (const ListedEntry& e : entries) {
            if (e.skip || e.info.isFolder || !sel.Selects(e.info.path, false))
                continue;
            if (!e.info.sizeKnown)
                return 0;
            total += e.info.size;
        }
        return total;
    }

    enum class PassEnd { Done, Restart };
    struct PassState {
        bool failed = false;
        bool cancelled = false;
        bool useSevenZipTool = false;  // libarchive cannot read the data: 7zz goes on
        int resumeAt = 0;              // headers before this index were finished in an earlier pass
        quint64 bytesDone = 0;
        QHash<QString, QStringList> madeFiles;  // lower-case inner path -> components
    };

    void Report(PassState& st, const QString& message) {
        if (!st.failed)
            q->m_error = message;
        st.failed = true;
        if (observer)
            observer->Report(message);
    }

    // An unpack or a test through 7zz (or, for a RAR archive listed by lsar, unar), from the
    // entry `st.resumeAt` on.
    void RunWithTool(const Selection& sel, DestinationWriter* writer, PassState& st) {
        if (!EnsureListed()) {
            st.cancelled = q->m_cancelled;
            if (!st.cancelled)
                Report(st, q->m_error);
            return;
        }
        const ListedEntry* winner =
            sel.kind == Selection::Kind::File ? FindEntry(sel.inner) : nullptr;
        if (sel.kind == Selection::Kind::File && !winner) {
            Report(st, QStringLiteral("The archive %1 holds no file %2.").arg(Where(), sel.inner));
            return;
        }
        ToolUnpackJob job;
        job.entries = &entries;
        job.selects = [&](const ListedEntry& e) {
            return sel.Selects(e.info.path, e.info.isFolder) && (!winner || &e == winner);
        };
        job.map = [&](const ListedEntry& e) { return sel.Map(e.info.path, e.info.isFolder); };
        job.resumeAt = st.resumeAt;
        job.writer = writer;
        job.observer = observer;
        job.listener = listener;
        job.passwords = &passwords;
        job.report = [&](const QString& message) { Report(st, message); };
        job.madeFiles = &st.madeFiles;
        if (sevenZip)
            sevenZip->Unpack(job);
        else
            unar->Unpack(job);
        st.cancelled = st.cancelled || job.cancelled;
    }

    // The reader that inflates the selected plain entries of a zip listed from its central
    // directory ahead of the pass (null when there is nothing for it), with the job of each
    // entry by its central directory index. A single file is read by the pass alone, and so
    // is a pass that resumes after a password was asked again.
    std::unique_ptr<ZipParallelReader> ReadAhead(const Selection& sel, const PassState& st,
                                                 QHash<qint64, size_t>* jobOf) const {
        if (!listed || !traits->listWithLibzip || volumes.size() != 1 ||
            sel.kind == Selection::Kind::File || st.resumeAt > 0)
            return nullptr;
        std::vector<const ListedEntry*> chosen;
        for (const ListedEntry& e : entries) {
            const ARCHIVEFILEFULLINFO& i = e.info;
            if (!e.skip && !i.isFolder && !i.isSymlink && !i.encrypted && e.directoryIndex >= 0 &&
                i.sizeKnown && i.size > 0 && i.packedSizeKnown && i.crcKnown &&
                (i.method == QLatin1String("Store") || i.method == QLatin1String("Deflate")) &&
                sel.Selects(i.path, false))
                chosen.push_back(&e);
        }
        if (chosen.empty())
            return nullptr;
        std::stable_sort(
            chosen.begin(), chosen.end(),
            [](const ListedEntry* a, const ListedEntry* b) { return a->passOrder < b->passOrder; });
        std::vector<ZipParallelReader::Job> jobs;
        jobs.reserve(chosen.size());
        for (const ListedEntry* e : chosen) {
            jobOf->insert(e->directoryIndex, jobs.size());
            jobs.push_back({e->passOrder, e->info.packedSize, e->info.size, e->info.crc,
                            e->info.method == QLatin1String("Deflate")});
        }
        return std::make_unique<ZipParallelReader>(volumes.first(), std::move(jobs));
    }

    // One pass over the archive: unpacks (or, without a writer, tests) the selected entries.
    PassEnd RunPass(const Selection& sel, DestinationWriter* writer, PassState& st) {
        LibarchiveSession s;
        QString err;
        if (!s.Open(volumes, *traits, &passwords, &err)) {
            Report(st, QStringLiteral("Cannot open the archive %1: %2.").arg(Where(), err));
            return PassEnd::Done;
        }
        archive* a = s.Handle();
        const quint64 total = SelectedBytes(sel);
        QElapsedTimer sinceProgress;
        sinceProgress.start();
        auto progress = [&](const QString& name) {
            if (!observer)
                return;
            int percent = 0;
            if (total > 0)
                percent = static_cast<int>(st.bytesDone * 100 / total);
            else if (compressedTotal > 0)
                percent = static_cast<int>(s.Consumed() * 100 / compressedTotal);
            observer->Progress(std::min(100, std::max(0, percent)), name);
        };
        auto stopNow = [&]() {
            if (observer && observer->StopRequested())
                st.cancelled = true;
            return st.cancelled;
        };

        const ZipFactBook zipFacts = ExpectedZipFacts();
        // Plain zip entries are inflated ahead on every core; the pass takes their data in
        // its order and decides everything else as for any entry.
        QHash<qint64, size_t> jobOf;  // central directory index -> job
        const std::unique_ptr<ZipParallelReader> ahead = ReadAhead(sel, st, &jobOf);
        QByteArray piece;
        QHash<QString, int> seen;  // entries of each name met so far
        int fileMatches = 0;       // entries met so far that carry the one file's name
        ZipEntryData viaLibzip;
        QByteArray libzipBuffer;
        int index = -1;
        bool foundFile = false;
        HeaderReader headers(a);
        for (;;) {
            archive_entry* h = nullptr;
            const HeaderReader::Step step = headers.Next(&h);
            if (step == HeaderReader::Step::End)
                break;
            if (step == HeaderReader::Step::BadEntry) {
                ++index;
                Report(st, QStringLiteral("Cannot read an entry of %1: %2.")
                               .arg(Where(), HeaderFailure(a, index == 0, "damaged header")));
                continue;
            }
            if (step == HeaderReader::Step::Fatal) {
                Report(st, QStringLiteral("Cannot read the archive %1: %2.")
                               .arg(Where(), HeaderFailure(a, index < 0, "damaged archive")));
                break;
            }
            ++index;
            ConvertedHeader c = ConvertHeader(h, *traits, names);
            ARCHIVEFILEFULLINFO& info = c.entry.info;
            MarkEncrypted(static_cast<size_t>(index), info);
            if (IsStream() && !tarInside) {
                info.path = streamName;
                c.unsafe = false;
                info.sizeKnown = false;
            }
            info.path = DisplayPath(info.path);
            const int occurrence = zipFacts.isEmpty() ? 0 : seen[info.path]++;
            const bool selected = sel.Selects(info.path, info.isFolder);
            // One file asked for by a name that several entries carry: only the last counts.
            if (selected && sel.kind == Selection::Kind::File && !c.unsafe &&
                !info.path.isEmpty() && fileMatches++ < sel.filesBeforeWinner)
                continue;
            if (index < st.resumeAt || !selected)
                continue;
            if (c.unsafe || info.path.isEmpty()) {
                if (!c.rawName.isEmpty() && c.rawName != QLatin1String(".") &&
                    c.rawName != QLatin1String("./"))
                    Report(
                        st,
                        QStringLiteral("Refused %1 in %2: %3.")
                            .arg(c.rawName, Where(),
                                 NormaliseEntryName(c.rawName).control
                                     ? QStringLiteral("the name holds a control character")
                                     : QStringLiteral("the name leads outside the destination")));
                continue;
            }
            if (stopNow())
                break;
            progress(info.path);

            const QStringList comps = sel.Map(info.path, info.isFolder);
            if (writer && comps.isEmpty())
                continue;
            passwords.SetCurrentEntry(info.path);

            if (writer && info.isFolder) {
                if (writer->MakeFolder(comps, info.unixMode, info.modified) !=
                    DestinationWriter::Result::Ok)
                    Report(st, writer->Error());
                else if (listener)
                    listener->ItemAdded(writer->FullPath(comps));
                continue;
            }
            if (info.isFolder)
                continue;
            if (writer && info.isSymlink) {
                const auto res = writer->MakeSymlink(comps, info.linkTarget, info.modified);
                if (res == DestinationWriter::Result::Cancelled) {
                    st.cancelled = true;
                    break;
                }
                if (res == DestinationWriter::Result::Failed)
                    Report(st, writer->Error());
                if (res == DestinationWriter::Result::Ok && listener)
                    listener->ItemAdded(writer->FullPath(comps));
                continue;
            }
            if (!c.hardlinkTarget.isEmpty() && (!info.sizeKnown || info.size == 0)) {
                if (!writer)
                    continue;
                const QString target = DisplayPath(c.hardlinkTarget);
                const auto made = st.madeFiles.constFind(target.toLower());
                if (c.hardlinkUnsafe || made == st.madeFiles.constEnd()) {
                    Report(st,
                           QStringLiteral("Refused the hard link %1 in %2: it leads to %3, which "
                                          "this unpack did not write.")
                               .arg(info.path, Where(), c.hardlinkTarget));
                    continue;
                }
                const auto res = writer->MakeHardlink(comps, made.value());
                if (res == DestinationWriter::Result::Cancelled) {
                    st.cancelled = true;
                    break;
                }
                if (res == DestinationWriter::Result::Failed)
                    Report(st, writer->Error());
                continue;
            }

            // Encrypted data of a family whose encryption libarchive cannot undo (RAR, 7z).
            // (libarchive's "capabilities" tell that a format can carry encryption, not that
            // it can decrypt it.) unar reads RAR 5 entries.
            const bool viaUnar = info.encrypted && traits->family == ArchiveFamily::Rar &&
                                 static_cast<size_t>(index) < rar5.entries.size() &&
                                 MissingTool("unar").isEmpty();
            if (info.encrypted && !ArchiveFamily::IsZipFamily(traits->family) && !viaUnar) {
                Report(st, QStringLiteral("Cannot unpack %1 from %2: it is encrypted, and %3.")
                               .arg(info.path, Where(), CannotDecrypt(traits->family, "entries")));
                continue;
            }

            // A file with data.
            if (writer) {
                const ItemFacts incoming = IncomingFacts(info);
                const auto res = writer->BeginFile(comps, incoming);
                if (res == DestinationWriter::Result::Skipped) {
                    // The user kept the file that is there: the one file asked for was found.
                    if (sel.kind == Selection::Kind::File) {
                        foundFile = true;
                        break;
                    }
                    continue;
                }
                if (res == DestinationWriter::Result::Cancelled) {
                    st.cancelled = true;
                    break;
                }
                if (res == DestinationWriter::Result::Failed) {
                    Report(st, writer->Error());
                    continue;
                }
            }
            qint64 written = 0, sincePoll = 0;
            bool dataFailed = false, fatal = false, crcMismatch = false;
            // libarchive does not always check the CRC of a zip entry (a stored entry with a
            // data descriptor, decrypted under a password that passed the header check by
            // chance): check it against the central directory.
            const auto book = zipFacts.constFind(info.path);
            const ZipFacts* facts =
                book != zipFacts.constEnd() && occurrence < static_cast<int>(book->size())
                    ? &(*book)[static_cast<size_t>(occurrence)]
                    : nullptr;
            const bool checkCrc = facts && facts->crcKnown;
            const bool fromLibzip = facts && facts->viaLibzip;
            const auto job =
                ahead && facts ? jobOf.constFind(facts->directoryIndex) : jobOf.constEnd();
            bool fromAhead = job != jobOf.constEnd();
            uLong crc = crc32(0L, Z_NULL, 0);
            bool wrongPassword = false;
            bool libzipOpenFailed = false;  // not for the password: the method, say
            bool viaSevenZip = false;
            QString libzipError;
            if (fromLibzip) {
                switch (
                    viaLibzip.Begin(volumes.first(), facts->directoryIndex, info.path, passwords)) {
                    case ZipEntryData::Status::Ok:
                        break;
                    case ZipEntryData::Status::Cancelled:
                        st.cancelled = true;
                        break;
                    case ZipEntryData::Status::WrongPassword:
                        dataFailed = wrongPassword = true;
                        break;
                    case ZipEntryData::Status::Failed:
                        // A method libzip cannot decode under encryption: 7zz reads it.
                        viaSevenZip = viaLibzip.MethodUnsupported() && MissingTool("7zz").isEmpty();
                        dataFailed = libzipOpenFailed = !viaSevenZip;
                        libzipError = viaLibzip.Error();
                        break;
                }
                libzipBuffer.resize(1 << 18);
            }
            if (viaUnar || viaSevenZip) {
                auto sink = [&](const char* data, size_t size) {
                    if (writer && !writer->Write(data, size, written))
                        return false;
                    written += static_cast<qint64>(size);
                    st.bytesDone += size;
                    if (checkCrc)
                        crc = crc32_z(crc, reinterpret_cast<const Bytef*>(data), size);
                    return true;
                };
                QString toolError;
                if (viaUnar && !unar)
                    unar = std::make_unique<UnarEntryReader>(volumes.first());
                const ToolStatus status =
                    viaUnar ? unar->Read(info.path, 0, info.size, passwords, observer, sink)
                            : ReadZipEntryWithSevenZip(volumes.first(), info.path, info.size,
                                                       passwords, observer, sink, &toolError);
                if (viaUnar)
                    toolError = unar->Error();
                st.cancelled = status == ToolStatus::Cancelled;
                wrongPassword = status == ToolStatus::WrongPassword;
                // 7zz tested the password: its failure is the data's.
                libzipOpenFailed = viaSevenZip && status == ToolStatus::Failed;
                dataFailed = status != ToolStatus::Ok;
                libzipError = toolError.isEmpty() && writer ? writer->Error() : toolError;
            }
            while (!viaUnar && !viaSevenZip && !dataFailed && !st.cancelled) {
                const void* buffer = nullptr;
                size_t size = 0;
                la_int64_t offset = 0;
                if (fromAhead) {
                    const auto got = ahead->Next(job.value(), &piece);
                    if (got == ZipParallelReader::Piece::End) {
                        crc = facts->crc;  // the reader checked it
                        break;
                    }
                    if (got == ZipParallelReader::Piece::Unavailable) {
                        // Read it here, from its start, with the checks and messages of
                        // every entry.
                        fromAhead = false;
                        if (writer && written > 0 && !writer->Rewind()) {
                            writer->AbortFile();
                            Report(st, writer->Error());
                            return PassEnd::Done;
                        }
                        st.bytesDone -= static_cast<quint64>(written);
                        written = 0;
                        continue;
                    }
                    buffer = piece.constData();
                    size = static_cast<size_t>(piece.size());
                    offset = written;
                } else if (fromLibzip) {
                    const qint64 n = viaLibzip.Read(libzipBuffer.data(), libzipBuffer.size());
                    if (n == 0)
                        break;
                    // An AES entry of the second kind records no CRC, and libzip checks the
                    // empty one at the end all the same; BZIP2 has checked every block.
                    if (n < 0 && viaLibzip.CrcError() && !checkCrc && info.sizeKnown &&
                        written == static_cast<qint64>(info.size) && facts->methodChecksData)
                        break;
                    if (n < 0) {
                        dataFailed = true;
                        libzipError = viaLibzip.Error();
                        break;
                    }
                    buffer = libzipBuffer.constData();
                    size = static_cast<size_t>(n);
                    offset = written;
                } else {
                    const int dr = archive_read_data_block(a, &buffer, &size, &offset);
                    if (dr == ARCHIVE_EOF) {
                        // A sparse entry may end in a hole: the end's offset is its length.
                        // An image's reader ends a zisofs file after its last block that is
                        // not all zeros: the rest of its recorded length is a hole too.
                        qint64 end = offset;
                        if (traits->formats == FamilyTraits::Formats::Iso && info.sizeKnown)
                            end = std::max(end, static_cast<qint64>(info.size));
                        if (end > written) {
                            if (writer && !writer->Write(nullptr, 0, end)) {
                                writer->AbortFile();
                                Report(st, writer->Error());
                                return PassEnd::Done;
                            }
                            written = end;
                        }
                        break;
                    }
                    if (dr != ARCHIVE_OK && dr != ARCHIVE_WARN) {
                        dataFailed = true;
                        fatal = dr == ARCHIVE_FATAL;
                        break;
                    }
                }
                if (writer && !writer->Write(static_cast<const char*>(buffer), size, offset)) {
                    writer->AbortFile();
                    Report(st, writer->Error());
                    // A full disk or an unwritable folder fails every further file as well.
                    return PassEnd::Done;
                }
                if (checkCrc && size > 0 && !fromAhead)  // zlib answers 0 for a null buffer
                    crc = crc32_z(crc, static_cast<const Bytef*>(buffer), size);
                written = std::max<qint64>(written, offset + static_cast<qint64>(size));
                st.bytesDone += size;
                sincePoll += static_cast<qint64>(size);
                if (sincePoll >= kPollBytes) {
                    sincePoll = 0;
                    if (stopNow())
                        break;
                    if (sinceProgress.elapsed() > 100) {
                        progress(info.path);
                        sinceProgress.restart();
                    }
                }
            }
            if (st.cancelled) {
                if (writer)
                    writer->AbortFile();
                break;
            }
            viaLibzip.End();
            if (!dataFailed && checkCrc && static_cast<quint32>(crc) != facts->crc)
                dataFailed = crcMismatch = true;
            if (dataFailed) {
                if (writer)
                    writer->AbortFile();
                // Data that libarchive cannot decode (a filter or codec it does not know):
                // 7zz goes on from here.
                if (Is7z() && !wrongPassword && SwitchToSevenZipTool()) {
                    st.resumeAt = index;
                    st.useSevenZipTool = true;
                    return PassEnd::Done;
                }
                if (passwords.Cancelled()) {
                    st.cancelled = true;
                    break;
                }
                const bool passwordProblem =
                    wrongPassword || (!crcMismatch && !fromLibzip && IsPasswordError(a));
                if (info.encrypted && !passwordProblem && !libzipOpenFailed && observer &&
                    !passwords.Exhausted() && ArchiveFamily::IsZipFamily(traits->family)) {
                    // Data that does not check out under a password that passed the header
                    // check: the password was wrong after all. Ask again and resume here.
                    passwords.Forget();
                    passwords.CountFailure();
                    st.resumeAt = index;
                    return PassEnd::Restart;
                }
                if (passwordProblem)
                    Report(st, QStringLiteral("Cannot unpack %1 from %2: %3.")
                                   .arg(info.path, Where(),
                                        passwords.Known().empty()
                                            ? QStringLiteral("a password is required")
                                            : QStringLiteral("the password is wrong")));
                else
                    Report(st,
                           QStringLiteral("Cannot unpack %1 from %2: %3.")
                               .arg(info.path, Where(),
                                    crcMismatch ? QStringLiteral("its data is damaged (CRC error)")
                                    : fromLibzip || viaUnar ? libzipError
                                                            : LibarchiveError(a, "damaged data")));
                if (fatal)
                    break;
                continue;
            }
            if (info.sizeKnown && static_cast<quint64>(written) != info.size) {
                if (writer)
                    writer->AbortFile();
                const bool longer = static_cast<quint64>(written) > info.size;
                const QString what =
                    longer ? QStringLiteral(
                                 "its data is longer than its header declares (%1 "
                                 "bytes, not %2)")
                           : QStringLiteral(
                                 "its data is incomplete (%1 of %2 bytes; is a volume "
                                 "missing?)");
                Report(st, QStringLiteral("Cannot unpack %1 from %2: %3.")
                               .arg(info.path, Where(),
                                    what.arg(GroupDigits(static_cast<quint64>(written)),
                                             GroupDigits(info.size))));
                continue;
            }
            if (writer) {
                const auto res = writer->CommitFile(info.unixMode, info.modified);
                if (res != DestinationWriter::Result::Ok) {
                    Report(st, writer->Error());
                    continue;
                }
                st.madeFiles.insert(info.path.toLower(), comps);
                if (listener)
                    listener->ItemAdded(writer->FullPath(comps));
            }
            if (sel.kind == Selection::Kind::File) {
                foundFile = true;
                break;
            }
        }
        if (sel.kind == Selection::Kind::File && !foundFile && !st.failed && !st.cancelled)
            Report(st, QStringLiteral("The archive %1 holds no file %2.").arg(Where(), sel.inner));
        if (!st.cancelled && observer)
            progress(QString());
        return PassEnd::Done;
    }

    bool Run(Selection sel, const QString& destination) {
        q->m_error.clear();
        q->m_cancelled = false;
        if (!open)
            return Fail(QStringLiteral("No archive is open."));
        sel.virtualPrefix = tarInside ? streamName : QString();
        DecideNames();
        if (sel.kind == Selection::Kind::File) {
            if (EnsureListed())
                sel.filesBeforeWinner = FilesBeforeWinner(sel.inner);
            q->m_error.clear();
        }
        std::unique_ptr<DestinationWriter> writer;
        if (sel.kind != Selection::Kind::Test) {
            writer = std::make_unique<DestinationWriter>();
            QString err;
            if (!writer->Open(destination, &err))
                return Fail(err);
            writer->SetAskBeforeOverwriting(ini.AskBeforeOverwriting, observer);
        }
        passwords.SetObserver(observer, q->m_path);
        // An archive known to be empty has nothing to read (libarchive does not even
        // recognise an empty zip).
        if (listed && entries.empty() &&
            (sel.kind == Selection::Kind::Archive || sel.kind == Selection::Kind::Test))
            return true;
        // libarchive's gzip reader skips the CRC and size of each member: zlib checks them on
        // the other core while the pass runs (for the whole file: an unpack of all, a test).
        std::atomic<bool> endCheck{false};
        std::future<QString> gzipCheck;
        if (traits->family == ArchiveFamily::GZip &&
            (sel.kind == Selection::Kind::Archive || sel.kind == Selection::Kind::Test))
            gzipCheck = std::async(std::launch::async, CheckGzipMembers, volumes.first(),
                                   [&endCheck] { return endCheck.load(); });
        // 7z headers or entries that libarchive cannot decrypt: 7zz reads the archive.
        if (Is7z() && !sevenZip && EnsureListed() &&
            (headersEncrypted ||
             std::any_of(entries.begin(), entries.end(),
                         [](const ListedEntry& e) { return e.info.encrypted; })))
            SwitchToSevenZipTool();
        q->m_error.clear();
        PassState st;
        if (sevenZip || listedByLsar) {
            RunWithTool(sel, writer.get(), st);
        } else {
            while (RunPass(sel, writer.get(), st) == PassEnd::Restart) {
            }
            if (st.useSevenZipTool)
                RunWithTool(sel, writer.get(), st);
        }
        if (gzipCheck.valid()) {
            endCheck = st.cancelled || st.failed;  // its verdict no longer matters
            const QString damage = gzipCheck.get();
            if (!endCheck && !damage.isEmpty())
                Report(st, QStringLiteral("Cannot unpack %1 from %2: its data is damaged (%3).")
                               .arg(streamName, Where(), damage));
        }
        if (writer)
            writer->FinishFolders();
        q->m_cancelled = st.cancelled;
        if (st.cancelled && q->m_error.isEmpty())
            q->m_error = QStringLiteral("Stopped by the user.");
        if (!st.failed && !st.cancelled && !passwords.Known().empty())
            passwords.Remember(QString::fromStdString(passwords.Known().back()));
        return !st.failed && !st.cancelled;
    }
};

CArchiveUnpacker::CArchiveUnpacker(int family) : d(std::make_unique<Impl>(this)), m_family(family) {
    EnsureUtf8Locale();
    d->traits = TraitsFor(family);
}

CArchiveUnpacker::~CArchiveUnpacker() = default;

void CArchiveUnpacker::SetIni(const INIUNPACK& ini) {
    d->ini = ini;
}
void CArchiveUnpacker::SetHandleDialogProgress(IOperationObserver* o) {
    d->observer = o;
}
void CArchiveUnpacker::SetWndFileTree(IItemListener* l) {
    d->listener = l;
}
void CArchiveUnpacker::SetPassword(const QString& password) {
    d->passwords.Add(password);
}

bool CArchiveUnpacker::OpenArchive(const QString& path) {
    return Open(path, false);
}

bool CArchiveUnpacker::OpenMultiVolumeArchive(const QString& firstVolumePath) {
    return Open(firstVolumePath, true);
}

bool CArchiveUnpacker::Open(const QString& path, bool numberedVolumes) {
    CloseArchive();
    m_error.clear();
    m_note.clear();
    m_path = path;
    d->traits = TraitsFor(m_family);
    if (!d->traits)
        return d->Fail(QStringLiteral("No unpacker reads the archive %1.").arg(path));
    if (!platform::ReadFacts(path).isFile)
        return d->Fail(QStringLiteral("Cannot open the archive %1: no such file.").arg(path));
    QString err;
    if (!(numberedVolumes ? CollectNumberedVolumes(path, &d->volumes, &err)
                          : CollectVolumes(path, m_family, &d->volumes, &err)))
        return d->Fail(err);
    // libarchive would spin for ever on an image whose continuation entries loop.
    if (m_family == ArchiveFamily::Iso && !CheckRockRidgeContinuations(path, &err))
        return d->Fail(
            QStringLiteral("Cannot open the archive %1: it is damaged (%2).").arg(path, err));
    d->rar5 = m_family == ArchiveFamily::Rar ? ScanRar5Encryption(d->volumes) : Rar5Encryption{};
    d->compressedTotal = 0;
    for (const QString& v : d->volumes)
        d->compressedTotal += platform::ReadFacts(v).size;
    d->open = true;
    // A zip archive's central directory is read at once; that also proves it is one. Its
    // paths are enough for the levels (the listing is read on first need); names in a code
    // page are decided by the listing. Other families (and zips that libzip rejects) read
    // their first header.
    d->stopped = false;
    d->names = EntryNameDecoding{};
    d->choicesSeen = NameEncodings::ChoiceSerial();
    bool ok = false;
    if (d->traits->listWithLibzip && d->volumes.size() == 1) {
        d->zipIndex = ZipPathIndexOf(path, &err, d->StopPoll());
        ok = d->zipIndex ||
             (!d->stopped && ListZipDirectory(path, &d->entries, &err, d->StopPoll(), &d->names));
        d->listed = ok && !d->zipIndex;
    }
    if (!ok && d->stopped) {
        d->Fail(QStringLiteral("The listing was stopped."));
    } else if (!ok) {
        // A 7z is listed by our own header reader (its headers are read on first need); one
        // whose headers are encrypted goes to 7zz when that reader cannot read it, since
        // libarchive cannot either.
        d->ownHeaders = d->Is7z() && d->volumes.size() == 1 &&
                        ProbeSevenZipHeaders(d->volumes.first(), &d->headersEncrypted);
        if (!d->ownHeaders && d->Is7z() && d->volumes.size() == 1)
            d->headersEncrypted = SevenZipHeadersEncrypted(d->volumes.first());
        ok = d->ownHeaders || (d->headersEncrypted && d->OpenWithSevenZipTool()) || d->Probe() ||
             d->ProbeLocalHeaders() || d->OpenWithSevenZipTool() || d->OpenWithUnar();
    }
    if (!ok) {
        d->open = false;
        d->volumes.clear();
    }
    return ok;
}

bool CArchiveUnpacker::FindFile() {
    d->cursor = -1;
    return d->EnsureListed();
}

bool CArchiveUnpacker::FindNextFileW() {
    if (!d->listed)
        return false;
    return ++d->cursor < static_cast<int>(d->entries.size());
}

bool CArchiveUnpacker::GetFileShortInfo(ARCHIVEFILESHORTINFO& info) const {
    if (!d->listed || d->cursor < 0 || d->cursor >= static_cast<int>(d->entries.size()))
        return false;
    const ListedEntry& e = d->entries[static_cast<size_t>(d->cursor)];
    info.path = e.info.path;
    info.isFolder = e.info.isFolder;
    info.isFolderAttr = (e.info.attributes & kDosDirectory) != 0;
    info.skip = e.skip;
    return true;
}

bool CArchiveUnpacker::GetFileFullInfo(ARCHIVEFILEFULLINFO& info) const {
    if (!d->listed || d->cursor < 0 || d->cursor >= static_cast<int>(d->entries.size()))
        return false;
    info = d->entries[static_cast<size_t>(d->cursor)].info;
    return true;
}

bool CArchiveUnpacker::IsFolder(const QString& innerPath) {
    if (!d->listed && d->zipIndex)
        return d->zipIndex->IsFolder(innerPath);
    return d->EnsureListed() && IsFolderPath(d->entries, innerPath);
}

// The totals come from a visit of the entries: a huge zip is not listed whole for them.
static bool VisitTotals(CArchiveUnpacker& u, const QString& folder, ArchiveTotals* totals) {
    vz::TotalsBuilder builder(folder);
    if (!u.VisitEntries([&](const ARCHIVEFILEFULLINFO& e) {
            if (!e.refused)
                builder.Add(e);
            return true;
        }))
        return false;
    *totals = builder.Take();
    return true;
}

QString CArchiveUnpacker::GetArchiveOutputInfo() {
    ArchiveTotals totals;
    if (!VisitTotals(*this, QString(), &totals))
        return QStringLiteral("Invalid archive");
    return DescribeArchive(ArchiveFamily::DisplayName(m_family), totals,
                           static_cast<quint64>(d->compressedTotal));
}

QString CArchiveUnpacker::GetFolderOutputInfo(const QString& innerPath) {
    ArchiveTotals totals;
    if (!VisitTotals(*this, innerPath, &totals))
        return QStringLiteral("Invalid archive");
    return DescribeFolder(totals);
}

QString CArchiveUnpacker::GetFileOutputInfo(const QString& innerPath) {
    if (!d->EnsureListed())
        return QStringLiteral("Invalid archive");
    const ListedEntry* e = d->FindEntry(innerPath);
    return e ? DescribeFile(e->info) : QString();
}

bool CArchiveUnpacker::GetEntryInfo(const QString& innerPath, ARCHIVEFILEFULLINFO& info) {
    if (!d->EnsureListed())
        return false;
    const ListedEntry* e = d->FindEntry(innerPath);
    if (!e)
        return false;
    info = e->info;
    return true;
}

bool CArchiveUnpacker::UnpackArchive(const QString& destinationFolder) {
    return d->Run({Selection::Kind::Archive, QString(), d->ini.UnpackArchivesWithoutPaths, {}},
                  destinationFolder);
}

bool CArchiveUnpacker::UnpackFolder(const QString& innerPath, const QString& destinationFolder) {
    return d->Run({Selection::Kind::Folder, innerPath, d->ini.UnpackFoldersWithoutPaths, {}},
                  destinationFolder);
}

bool CArchiveUnpacker::UnpackFile(const QString& innerPath, const QString& destinationFolder) {
    return d->Run({Selection::Kind::File, innerPath, d->ini.UnpackFilesWithoutPaths, {}},
                  destinationFolder);
}

bool CArchiveUnpacker::Test() {
    return d->Run({Selection::Kind::Test, QString(), false, {}}, QString());
}

bool CArchiveUnpacker::IsTarInside() {
    return d->open && d->IsStream() && d->tarInside;
}

bool CArchiveUnpacker::InitScan() {
    return d->open && m_family == ArchiveFamily::Cab;
}

bool CArchiveUnpacker::CloseArchive() {
    const bool wasOpen = d->open;
    d->open = d->listed = d->tarInside = false;
    d->sevenZip.reset();
    d->unar.reset();
    d->headersEncrypted = false;
    d->ownHeaders = false;
    d->listedByLsar = false;
    d->entries.clear();
    d->entries.shrink_to_fit();
    d->zipIndex.reset();
    d->volumes.clear();
    d->cursor = -1;
    return wasOpen;
}

bool CArchiveUnpacker::ListLevel(const QString& innerFolder, ArchiveLevel& level) {
    if (!d->listed && d->zipIndex) {
        if (d->StopNow())
            return d->Fail(QStringLiteral("The listing was stopped."));
        level = d->zipIndex->Level(innerFolder);
        return true;
    }
    // A 7z not listed yet: the level is built as the headers are read, nothing else is kept.
    if (!d->listed && d->ownHeaders) {
        LevelBuilder builder(innerFolder);
        const auto r = d->ListWithOwnReader([&builder](ListedEntry& e) {
            if (!e.skip)
                builder.Add(e.info.path, e.info.isFolder);
            return true;
        });
        if (r == Impl::OwnListing::Ok) {
            level = builder.Take();
            return true;
        }
        if (r == Impl::OwnListing::Failed)
            return false;
    }
    if (!d->EnsureListed())
        return false;
    // A Stop pressed while the entries were read ends the listing before its level is made.
    if (d->StopNow())
        return d->Fail(QStringLiteral("The listing was stopped."));
    level = vz::ListLevel(d->entries, innerFolder);
    return true;
}

bool CArchiveUnpacker::HasEntriesBelow(const QString& innerFolder) {
    if (!d->listed && d->zipIndex)
        return d->zipIndex->HasEntriesBelow(innerFolder);
    return d->EnsureListed() && vz::HasEntriesBelow(d->entries, innerFolder);
}

bool CArchiveUnpacker::VisitEntries(const std::function<bool(const ARCHIVEFILEFULLINFO&)>& visit) {
    ARCHIVEFILEFULLINFO refused;
    auto visitOne = [&](const ListedEntry& e) {
        if (!e.skip)
            return visit(e.info);
        if (e.refusedName.isEmpty())
            return true;
        refused = e.info;
        refused.path = e.refusedName;
        refused.refused = true;
        return visit(refused);
    };
    // A zip not listed yet is read from its central directory as it is visited.
    if (!d->listed && d->zipIndex) {
        QString err;
        bool visited = false;
        const auto visitNoted = [&](const ListedEntry& e) {
            visited = true;
            return visitOne(e);
        };
        if (VisitZipDirectory(d->volumes.first(), visitNoted, &err, d->StopPoll()))
            return true;
        if (d->stopped)
            return d->Fail(QStringLiteral("The listing was stopped."));
        if (visited)  // the entries met are not passed twice
            return d->Fail(QStringLiteral("Cannot read the archive %1: %2.").arg(d->Where(), err));
        d->zipIndex.reset();  // changed on disk since: the listing tells what it holds now
    }
    // A 7z not listed yet: its entries are visited as its headers are read, and not kept.
    if (!d->listed && d->ownHeaders) {
        const auto r = d->ListWithOwnReader(visitOne);
        if (r != Impl::OwnListing::NotRead)
            return r == Impl::OwnListing::Ok;
    }
    if (!d->EnsureListed())
        return false;
    for (const ListedEntry& e : d->entries)
        if (!visitOne(e))
            break;
    return true;
}

bool CArchiveUnpacker::AllEntries(const std::vector<ARCHIVEFILEFULLINFO>*& entries) {
    m_allEntries.clear();
    if (!VisitEntries([this](const ARCHIVEFILEFULLINFO& e) {
            m_allEntries.push_back(e);
            return true;
        }))
        return false;
    entries = &m_allEntries;
    return true;
}

CZipUnpacker::CZipUnpacker(const QString&) : CArchiveUnpacker(ArchiveFamily::Zip) {}

namespace vz {

std::unique_ptr<CArchiveUnpacker> CreateUnpacker(int family) {
    switch (family) {
        case ArchiveFamily::Zip:
        case ArchiveFamily::Jar:
        case ArchiveFamily::Xap:
        case ArchiveFamily::SelfExtractingZip:
        case ArchiveFamily::Cab:
        case ArchiveFamily::Rar:
        case ArchiveFamily::SevenZip:
        case ArchiveFamily::SevenZipVolumes:
        case ArchiveFamily::GZip:
        case ArchiveFamily::Tar:
        case ArchiveFamily::BZip2:
        case ArchiveFamily::Iso:
            return std::make_unique<CArchiveUnpacker>(family);
        default:
            return nullptr;
    }
}

QString NoUnpackerReason(int family) {
    if (family == ArchiveFamily::Ace)
        return QStringLiteral("ACE archives cannot be read");
    return QStringLiteral("it is not an archive");
}

bool OpenForFamily(CArchiveUnpacker& unpacker, const QString& archivePath) {
    if (unpacker.Family() == ArchiveFamily::SevenZipVolumes)
        return unpacker.OpenMultiVolumeArchive(archivePath);
    return unpacker.OpenArchive(archivePath);
}

QString DescribeArchivePath(const QString& path, const QStringList& recognisedExtensions,
                            IOperationObserver* observer) {
    const int family = ClassifyPath(path, recognisedExtensions);
    const ArchivePathParts parts = SplitArchivePath(path);
    std::unique_ptr<CArchiveUnpacker> unpacker = CreateUnpacker(family);
    if (unpacker)
        unpacker->SetHandleDialogProgress(observer);
    if (!unpacker || parts.archivePath.isEmpty() || !OpenForFamily(*unpacker, parts.archivePath))
        return QStringLiteral("Invalid archive");
    QString text;
    if (parts.innerPath.isEmpty())
        text = unpacker->GetArchiveOutputInfo();
    else if (unpacker->IsFolder(parts.innerPath))
        text = unpacker->GetFolderOutputInfo(parts.innerPath);
    else
        text = unpacker->GetFileOutputInfo(parts.innerPath);
    unpacker->CloseArchive();
    return text;
}

}  // namespace vz
