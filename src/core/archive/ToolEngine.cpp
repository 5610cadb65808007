#include "archive/ToolEngine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <string_view>

#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "archive/DestinationWriter.h"
#include "archive/ToolChild.h"
#include "common/InnerPath.h"

namespace vz {

namespace {

constexpr qint64 kListingCap = qint64(512) << 20;  // bytes of listing output
constexpr qint64 kChunk = 1 << 20;

// The passwords to try in turn for one archive or entry: those already known first, then
// what the user answers.
class PasswordTries {
public:
    explicit PasswordTries(PasswordBook& book) : m_book(book), m_known(book.Known()) {}
    // False when there is none left: the user cancelled or gave up (see Failure).
    bool Next(std::string* password) {
        if (!m_known.empty()) {
            *password = m_known.front();
            m_known.pop_front();
            return true;
        }
        const char* answer = m_book.Ask();
        if (!answer)
            return false;
        *password = answer;
        return true;
    }
    ToolStatus Failure() const {
        return m_book.Cancelled() ? ToolStatus::Cancelled : ToolStatus::WrongPassword;
    }

private:
    PasswordBook& m_book;
    std::deque<std::string> m_known;
};

QString SilenceError(const char* program) {
    return QStringLiteral(
               "%1 stopped working (it wrote and read nothing for %2 seconds) and was "
               "ended")
        .arg(QLatin1String(program))
        .arg(kIdleLimitMs / 1000);
}

// Hands all of a child's output to `sink`, reading on to the end when the sink refused so
// that the child is never left blocked. Ok with the bytes read and the exit code; Cancelled
// when `stop` said so; Failed with `error` (empty when the sink refused) otherwise.
ToolStatus PumpOutput(ToolChild& child, const char* program, const std::function<bool()>& stop,
                      const std::function<bool(const char*, size_t)>& sink, quint64* got, int* code,
                      QString* error) {
    std::vector<char> buffer(kChunk);
    bool sinkFailed = false;
    for (;;) {
        const qint64 n = child.Read(buffer.data(), kChunk, stop);
        if (n < 0)
            return child.TimedOut() ? (*error = SilenceError(program), ToolStatus::Failed)
                                    : ToolStatus::Cancelled;
        if (n == 0)
            break;
        *got += static_cast<quint64>(n);
        if (!sinkFailed && !sink(buffer.data(), static_cast<size_t>(n)))
            sinkFailed = true;
    }
    *code = child.Finish(stop);
    if (*code < 0 && !child.TimedOut())
        return ToolStatus::Cancelled;
    if (sinkFailed) {
        error->clear();
        return ToolStatus::Failed;
    }
    return ToolStatus::Ok;
}

// 7zz's word for a password that does not open the archive or its data.
bool SaysWrongPassword(const QString& errors) {
    return errors.contains(QLatin1String("Wrong password"), Qt::CaseInsensitive) ||
           errors.contains(QLatin1String("Cannot open encrypted archive"));
}

quint32 UnixModeOf(const QString& text) {
    // "drwxr-xr-x", "-rw-r--r--", "lrwxrwxrwx"
    if (text.size() != 10)
        return 0;
    quint32 mode = 0;
    switch (text[0].toLatin1()) {
        case 'd':
            mode = S_IFDIR;
            break;
        case 'l':
            mode = S_IFLNK;
            break;
        case '-':
            mode = S_IFREG;
            break;
        default:
            return 0;
    }
    for (int i = 0; i < 9; ++i)
        if (text[1 + i] != QLatin1Char('-'))
            mode |= 0400u >> i;
    return mode;
}

// The fields of one "-slt" record of 7zz ("Key = Value" lines) that the listing uses; they
// point into the text read, which outlives the record.
struct SltRecord {
    QByteArray path, attributes, folder, size, packed, crc, modified, encrypted, method;
    bool empty = true;
    void Set(std::string_view key, std::string_view value) {
        static constexpr std::pair<std::string_view, QByteArray SltRecord::*> kKeys[] = {
            {"Path", &SltRecord::path},          {"Attributes", &SltRecord::attributes},
            {"Folder", &SltRecord::folder},      {"Size", &SltRecord::size},
            {"Packed Size", &SltRecord::packed}, {"CRC", &SltRecord::crc},
            {"Modified", &SltRecord::modified},  {"Encrypted", &SltRecord::encrypted},
            {"Method", &SltRecord::method},
        };
        for (const auto& [name, field] : kKeys)
            if (key == name) {
                this->*field =
                    QByteArray::fromRawData(value.data(), static_cast<qsizetype>(value.size()));
                empty = false;
                return;
            }
    }
};

// "2024-03-22 17:59:09.1234567" (UTC) as seconds since 1970.
bool ParseSltTime(const QByteArray& t, qint64* seconds) {
    if (t.size() < 19)
        return false;
    auto num = [&](int at, int len) {
        int v = 0;
        for (int i = at; i < at + len; ++i) {
            if (t[i] < '0' || t[i] > '9')
                return -1;
            v = v * 10 + (t[i] - '0');
        }
        return v;
    };
    const QDate date(num(0, 4), num(5, 2), num(8, 2));
    const int h = num(11, 2), m = num(14, 2), sec = num(17, 2);
    if (!date.isValid() || h < 0 || m < 0 || sec < 0)
        return false;
    *seconds = (date.toJulianDay() - 2440588) * 86400 + h * 3600 + m * 60 + sec;
    return true;
}

ListedEntry EntryOf7zRecord(const SltRecord& r, quint64 order) {
    ListedEntry e;
    ARCHIVEFILEFULLINFO& info = e.info;
    const QString raw = QString::fromUtf8(r.path);
    const NormalisedName n = NormaliseEntryName(raw);
    info.path = n.path;
    e.skip = n.Unsafe() || n.path.isEmpty();
    if (n.Unsafe())
        e.refusedName = raw;
    const int space = r.attributes.indexOf(' ');
    const QByteArray dos = space < 0 ? r.attributes : r.attributes.left(space);
    info.unixMode = space < 0 ? 0 : UnixModeOf(QString::fromLatin1(r.attributes.mid(space + 1)));
    info.isFolder = dos.contains('D') || r.folder == "+" || n.trailingSlash ||
                    (info.unixMode & S_IFMT) == S_IFDIR;
    info.isSymlink = !info.isFolder && (info.unixMode & S_IFMT) == S_IFLNK;
    const struct {
        char letter;
        quint32 bit;
    } kBits[] = {{'R', kDosReadOnly}, {'H', kDosHidden}, {'S', kDosSystem}, {'A', kDosArchive}};
    for (const auto& b : kBits)
        if (dos.contains(b.letter))
            info.attributes |= b.bit;
    if (info.isFolder)
        info.attributes |= kDosDirectory;
    bool ok = false;
    info.size = r.size.toULongLong(&ok);
    info.sizeKnown = ok || info.isFolder;
    info.packedSize = r.packed.toULongLong(&ok);
    info.packedSizeKnown = ok;
    info.crc = r.crc.toUInt(&ok, 16);
    info.crcKnown = ok;
    qint64 seconds = 0;
    if (ParseSltTime(r.modified, &seconds))
        info.modified = FileTime::FromUnix(seconds);
    info.encrypted = r.encrypted == "+";
    if (info.encrypted && r.method.contains("7zAES"))
        info.encryption = QStringLiteral("AES-256");
    if (!info.isFolder)
        info.method = QString::fromUtf8(r.method);
    e.passOrder = order;
    return e;
}

// One entry of lsar's JSON listing.
ListedEntry EntryOfLsarRecord(const QJsonObject& o, quint64 order) {
    auto number = [&o](const char* key, bool* known = nullptr) {
        const QJsonValue v = o.value(QLatin1String(key));
        if (known)
            *known = v.isDouble();
        return static_cast<quint64>(v.toDouble());
    };
    ListedEntry e;
    ARCHIVEFILEFULLINFO& info = e.info;
    const QString raw = o.value(QStringLiteral("XADFileName")).toString();
    const NormalisedName n = NormaliseEntryName(raw);
    info.path = n.path;
    e.skip = n.Unsafe() || n.path.isEmpty();
    if (n.Unsafe())
        e.refusedName = raw;
    info.isFolder = number("XADIsDirectory") != 0 || n.trailingSlash;
    info.isSymlink = !info.isFolder && number("XADIsLink") != 0;
    info.attributes = static_cast<quint32>(number("XADWindowsFileAttributes")) &
                      (kDosReadOnly | kDosHidden | kDosSystem | kDosArchive);
    if (info.isFolder)
        info.attributes |= kDosDirectory;
    bool known = false;
    const quint32 permissions = static_cast<quint32>(number("XADPosixPermissions", &known));
    if (known)
        info.unixMode = (permissions & 07777) | (info.isFolder    ? S_IFDIR
                                                 : info.isSymlink ? S_IFLNK
                                                                  : S_IFREG);
    info.size = number("XADFileSize", &info.sizeKnown);
    info.sizeKnown = info.sizeKnown || info.isFolder;
    info.packedSize = number("XADCompressedSize", &info.packedSizeKnown);
    info.crc = static_cast<quint32>(number("RAR5CRC32", &info.crcKnown));
    if (!info.crcKnown)
        info.crc = static_cast<quint32>(number("RARCRC32", &info.crcKnown));
    // "2024-03-22 17:59:09 +0000": lsar runs in UTC.
    qint64 seconds = 0;
    if (ParseSltTime(o.value(QStringLiteral("XADLastModificationDate")).toString().toLatin1(),
                     &seconds))
        info.modified = FileTime::FromUnix(seconds);
    info.encrypted = number("XADIsEncrypted") != 0;
    if (info.encrypted && o.contains(QStringLiteral("RAR5EncryptionSalt")))
        info.encryption = QStringLiteral("AES-256");
    if (!info.isFolder)
        info.method = o.value(QStringLiteral("XADCompressionName")).toString();
    e.passOrder = order;
    return e;
}

// 7zz reads only a 7z archive (it would read an ELF program, an image ... as well), or a
// set of them by its ".001" volume.
QString TypeSwitch(const QString& path) {
    return path.endsWith(QLatin1String(".001")) ? QStringLiteral("-t7z.split")
                                                : QStringLiteral("-t7z");
}

// The steps of one entry that every engine shares: folders made, names refused, files
// begun and finished through the destination writer.

void MakeFolderEntry(ToolUnpackJob& job, const ListedEntry& e,
                     const std::function<void(const QString&)>& report) {
    if (e.skip || !job.writer)
        return;
    const QStringList comps = job.map(e);
    if (comps.isEmpty())
        return;
    if (job.writer->MakeFolder(comps, e.info.unixMode, e.info.modified) !=
        DestinationWriter::Result::Ok)
        report(job.writer->Error());
    else if (job.listener)
        job.listener->ItemAdded(job.writer->FullPath(comps));
}

QString RefusalText(const ListedEntry& e, const QString& archive) {
    return QStringLiteral("Refused %1 in %2: %3.")
        .arg(e.refusedName, archive,
             NormaliseEntryName(e.refusedName).control
                 ? QStringLiteral("the name holds a control character")
                 : QStringLiteral("the name leads outside the destination"));
}

// Whether a selected file is taken, and where it goes (`comps`); begins writing it.
enum class Begun { Take, Leave, Cancelled };
Begun BeginEntry(ToolUnpackJob& job, const ListedEntry& e, const QString& archive,
                 QStringList* comps, bool* writing,
                 const std::function<void(const QString&)>& report) {
    *writing = false;
    if (e.skip) {
        if (!e.refusedName.isEmpty())
            report(RefusalText(e, archive));
        return Begun::Leave;
    }
    *comps = job.writer ? job.map(e) : QStringList();
    if (job.writer && comps->isEmpty())
        return Begun::Leave;
    if (job.madeFiles && job.madeFiles->contains(e.info.path.toLower()))
        return Begun::Leave;  // an earlier engine of this unpack wrote it
    if (!job.writer || e.info.isSymlink)
        return Begun::Take;
    switch (job.writer->BeginFile(*comps, IncomingFacts(e.info))) {
        case DestinationWriter::Result::Ok:
            *writing = true;
            return Begun::Take;
        case DestinationWriter::Result::Skipped:
            return Begun::Leave;
        case DestinationWriter::Result::Cancelled:
            job.cancelled = true;
            return Begun::Cancelled;
        case DestinationWriter::Result::Failed:
            report(job.writer->Error());
            return Begun::Leave;
    }
    return Begun::Leave;
}

// Commits a file whose data checked out, or makes the link; false when the user cancelled.
bool FinishEntry(ToolUnpackJob& job, const ListedEntry& e, const QStringList& comps,
                 const QByteArray& linkTarget, const std::function<void(const QString&)>& report) {
    if (!job.writer)
        return true;
    if (e.info.isSymlink) {
        const auto res =
            job.writer->MakeSymlink(comps, QString::fromUtf8(linkTarget), e.info.modified);
        if (res == DestinationWriter::Result::Cancelled) {
            job.cancelled = true;
            return false;
        }
        if (res == DestinationWriter::Result::Failed)
            report(job.writer->Error());
        else if (res == DestinationWriter::Result::Ok && job.listener)
            job.listener->ItemAdded(job.writer->FullPath(comps));
        return true;
    }
    if (job.writer->CommitFile(e.info.unixMode, e.info.modified) != DestinationWriter::Result::Ok) {
        report(job.writer->Error());
        return true;
    }
    if (job.madeFiles)
        job.madeFiles->insert(e.info.path.toLower(), comps);
    if (job.listener)
        job.listener->ItemAdded(job.writer->FullPath(comps));
    return true;
}

}  // namespace

QString MissingTool(const char* program) {
    if (!QStandardPaths::findExecutable(QLatin1String(program)).isEmpty())
        return QString();
    const char* package = qstrcmp(program, "7zz") == 0 ? "7zip" : "unar";
    return QStringLiteral("the program %1 is not installed (it comes with the package \"%2\")")
        .arg(QLatin1String(program), QLatin1String(package));
}

// ---- 7z through 7zz ----

bool SevenZipHeadersEncrypted(const QString& path) {
    // The signature header: signature, version, its CRC, then where the next header lies
    // (after these 32 bytes) and its size.
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    const QByteArray start = f.read(32);
    if (start.size() != 32 || !start.startsWith(QByteArray("7z\xBC\xAF\x27\x1C", 6)))
        return false;
    auto le64 = [&start](int at) {
        quint64 v = 0;
        for (int i = 7; i >= 0; --i)
            v = (v << 8) | static_cast<uchar>(start[at + i]);
        return v;
    };
    const quint64 offset = le64(12), size = le64(20);
    // An encoded header is small: the description of the stream that holds the real one.
    constexpr quint64 kMaxEncodedHeader = 4096;
    if (size == 0 || size > kMaxEncodedHeader || offset > quint64(f.size()) ||
        !f.seek(32 + qint64(offset)))
        return false;
    const QByteArray next = f.read(qint64(size));
    // kEncodedHeader, whose coders include 7-Zip's AES-256 (method ID 06 F1 07 01).
    return next.startsWith('\x17') && next.contains(QByteArray("\x06\xF1\x07\x01", 4));
}

SevenZipTool::Outcome SevenZipTool::RunListing(const QByteArray& password,
                                               const std::function<bool()>& stop) {
    m_entries.clear();
    m_listed = false;
    ToolChild child;
    // Without a password on its input 7zz meets the end of it and gives up on encrypted
    // headers; with one it never shows it anywhere.
    if (!child.Start("7zz", {"l", "-slt", "-ba", "-sccUTF-8", TypeSwitch(m_path), "--", m_path},
                     password.isNull() ? QByteArray() : password + '\n', &m_error))
        return Outcome::Failed;
    // The records are parsed while 7zz is still reading the archive, whole records at a
    // time: their fields point into `pending` until the record is made an entry.
    SltRecord record;
    auto flush = [&] {
        if (!record.empty)
            m_entries.push_back(EntryOf7zRecord(record, m_entries.size()));
        record = SltRecord();
    };
    auto parse = [&](const char* text, qsizetype size) {
        for (std::string_view rest(text, static_cast<size_t>(size)); !rest.empty();) {
            const size_t end = std::min(rest.find('\n'), rest.size());
            std::string_view line = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            const size_t eq = line.find(" = ");
            if (eq == std::string_view::npos || eq == 0)
                continue;
            const std::string_view key = line.substr(0, eq);
            if (key == "Path")
                flush();
            record.Set(key, line.substr(eq + 3));
        }
        flush();
    };
    QByteArray pending;  // a record not ended yet
    qint64 total = 0;
    bool asksPassword = false;
    for (;;) {
        const qsizetype kept = pending.size();
        pending.resize(kept + kChunk);
        const qint64 n = child.Read(pending.data() + kept, kChunk, stop);
        if (n < 0) {
            if (child.TimedOut()) {
                m_error = SilenceError("7zz");
                return Outcome::Failed;
            }
            m_entries.clear();
            m_cancelled = true;
            m_error = QStringLiteral("The listing was stopped.");
            return Outcome::Stopped;
        }
        pending.resize(kept + n);
        if (n == 0)
            break;
        if ((total += n) > kListingCap) {
            m_entries.clear();
            m_error = QStringLiteral("its listing is larger than %1 MB").arg(kListingCap >> 20);
            return Outcome::Failed;
        }
        asksPassword = asksPassword || pending.contains("Enter password");
        // A record ends with an empty line.
        const qsizetype whole = pending.lastIndexOf("\n\n");
        if (whole >= 0) {
            parse(pending.constData(), whole);
            pending.remove(0, whole + 2);
        }
    }
    parse(pending.constData(), pending.size());
    const int code = child.Finish(stop);
    if (code != 0) {
        m_entries.clear();
        // Without a password 7zz asks for one and meets the end of its input.
        if (SaysWrongPassword(child.Errors()) || asksPassword)
            return Outcome::WrongPassword;
        m_error = child.Complaint();
        if (m_error.isEmpty())
            m_error = QStringLiteral("7zz failed (exit code %1)").arg(code);
        return Outcome::Failed;
    }
    m_listed = true;
    return Outcome::Ok;
}

SevenZipTool::Probe SevenZipTool::Open(PasswordBook& passwords, const std::function<bool()>& stop) {
    const QByteArray given = passwords.Known().empty()
                                 ? QByteArray()
                                 : QByteArray::fromStdString(passwords.Known().back());
    switch (RunListing(given, stop)) {
        case Outcome::Ok:
            return Probe::Readable;
        case Outcome::WrongPassword:
            m_needsPassword = true;
            return Probe::HeadersEncrypted;
        default:
            return Probe::NotReadable;
    }
}

bool SevenZipTool::List(PasswordBook& passwords, const std::function<bool()>& stop) {
    m_cancelled = false;
    if (m_listed)
        return true;
    // Those known beforehand first, then what the user answers.
    std::deque<std::string> tries = passwords.Known();
    for (;;) {
        QByteArray password;
        if (!tries.empty()) {
            password = QByteArray::fromStdString(tries.front());
            tries.pop_front();
        } else if (m_needsPassword) {
            const char* answer = passwords.Ask();
            if (!answer) {
                m_cancelled = passwords.Cancelled();
                m_error = m_cancelled ? QStringLiteral("The listing was cancelled.")
                                      : QStringLiteral(
                                            "its headers are encrypted, and a "
                                            "password is required");
                return false;
            }
            password = answer;
        }
        switch (RunListing(password, stop)) {
            case Outcome::Ok:
                passwords.Remember(QString::fromStdString(password.toStdString()));
                return true;
            case Outcome::WrongPassword:
                if (!password.isNull())
                    passwords.Forget();
                m_needsPassword = true;
                continue;
            case Outcome::Stopped:
            case Outcome::Failed:
                return false;
        }
    }
}

bool SevenZipTool::Unpack(ToolUnpackJob& job) {
    const std::vector<ListedEntry>& entries = *job.entries;
    PasswordBook& passwords = *job.passwords;
    bool failed = false;
    auto report = [&](const QString& message) {
        failed = true;
        job.report(message);
    };
    auto stop = [&job] {
        if (!job.cancelled && job.observer && job.observer->StopRequested())
            job.cancelled = true;
        return job.cancelled;
    };
    quint64 total = 0;
    const ListedEntry* firstEncrypted = nullptr;
    for (size_t i = static_cast<size_t>(job.resumeAt); i < entries.size(); ++i) {
        const ListedEntry& e = entries[i];
        if (e.skip || e.info.isFolder || !job.selects(e))
            continue;
        total += e.info.size;
        if (e.info.encrypted && !firstEncrypted)
            firstEncrypted = &e;
    }
    int resumeAt = job.resumeAt;
    quint64 done = 0;
    std::vector<char> buffer(kChunk);
    for (;;) {  // one run of 7zz per password tried
        QByteArray password;
        if (firstEncrypted) {
            if (passwords.Known().empty()) {
                passwords.SetCurrentEntry(firstEncrypted->info.path);
                if (!passwords.Ask()) {
                    if (passwords.Cancelled()) {
                        job.cancelled = true;
                    } else {
                        report(QStringLiteral("Cannot unpack %1 from %2: a password is required.")
                                   .arg(firstEncrypted->info.path, m_path));
                    }
                    return false;
                }
            }
            password = QByteArray::fromStdString(passwords.Known().back());
        }
        ToolChild child;
        QString err;
        if (!child.Start("7zz", {"x", "-so", "-bd", "-sccUTF-8", TypeSwitch(m_path), "--", m_path},
                         password.isNull() ? QByteArray() : password + '\n', &err)) {
            report(QStringLiteral("Cannot unpack %1: %2.").arg(m_path, err));
            return false;
        }
        bool retry = false;
        bool streamEnded = false;
        bool toolFailureReported = false;  // an entry cut short by the tool's end told why
        for (size_t i = 0; i < entries.size() && !streamEnded && !retry; ++i) {
            const ListedEntry& e = entries[i];
            const ARCHIVEFILEFULLINFO& info = e.info;
            if (info.isFolder) {
                if (static_cast<int>(i) >= resumeAt && job.selects(e))
                    MakeFolderEntry(job, e, report);
                continue;
            }
            // Every file's data passes through the stream; only the selected ones are kept.
            bool take = static_cast<int>(i) >= resumeAt && job.selects(e);
            QStringList comps;
            bool writing = false;
            if (take) {
                const Begun begun = BeginEntry(job, e, m_path, &comps, &writing, report);
                if (begun == Begun::Cancelled)
                    return false;
                take = begun == Begun::Take;
            }
            if (take && job.observer)
                job.observer->Progress(total ? static_cast<int>(done * 100 / total) : 0, info.path);
            QByteArray linkTarget;
            uLong crc = crc32(0L, Z_NULL, 0);
            quint64 left = info.size;
            while (left > 0) {
                const qint64 n = child.Read(
                    buffer.data(), static_cast<qint64>(std::min<quint64>(left, kChunk)), stop);
                if (n <= 0) {
                    streamEnded = true;
                    break;
                }
                left -= static_cast<quint64>(n);
                if (stop())
                    break;
                if (!take)
                    continue;
                crc = crc32_z(crc, reinterpret_cast<const Bytef*>(buffer.data()),
                              static_cast<size_t>(n));
                done += static_cast<quint64>(n);
                if (info.isSymlink && linkTarget.size() < 65536)
                    linkTarget.append(buffer.data(), static_cast<int>(n));
                if (writing && !job.writer->Write(buffer.data(), static_cast<size_t>(n),
                                                  static_cast<qint64>(info.size - left) - n)) {
                    job.writer->AbortFile();
                    report(job.writer->Error());
                    return false;  // a full disk fails every further file as well
                }
            }
            if (job.cancelled) {
                if (writing)
                    job.writer->AbortFile();
                return false;
            }
            if (!take)
                continue;
            const bool complete = left == 0;
            const bool crcGood = !info.crcKnown || static_cast<quint32>(crc) == info.crc;
            if (!complete || !crcGood) {
                if (writing)
                    job.writer->AbortFile();
                // Encrypted data that does not check out: the password was wrong (7-Zip's AES
                // has no other test of it). Ask again and go on from this entry.
                if (info.encrypted && !password.isNull() &&
                    (crcGood ? SaysWrongPassword(child.Errors()) : true) && !child.TimedOut()) {
                    passwords.Forget();
                    passwords.SetCurrentEntry(info.path);
                    if (!passwords.Exhausted()) {
                        resumeAt = static_cast<int>(i);
                        retry = true;
                        continue;
                    }
                }
                QString why = child.TimedOut() ? SilenceError("7zz")
                              : info.encrypted ? QStringLiteral("the password is wrong")
                              : complete       ? QStringLiteral("its data is damaged (CRC error)")
                                               : child.Complaint();
                if (why.isEmpty())
                    why = QStringLiteral("its data ends too soon");
                report(QStringLiteral("Cannot unpack %1 from %2: %3.").arg(info.path, m_path, why));
                toolFailureReported = toolFailureReported || !complete;
                continue;
            }
            if (info.encrypted)
                passwords.Remember(QString::fromUtf8(password));
            if (!FinishEntry(job, e, comps, linkTarget, report))
                return false;
        }
        if (retry)
            continue;
        if (job.cancelled)
            return false;
        const int code = child.Finish(stop);
        if (job.cancelled)
            return false;
        if ((code != 0 || streamEnded) && !toolFailureReported) {
            QString why = child.TimedOut() ? SilenceError("7zz") : child.Complaint();
            report(QStringLiteral("Cannot unpack %1: %2.")
                       .arg(m_path,
                            why.isEmpty() ? QStringLiteral("7zz's output ended too soon") : why));
        }
        if (job.observer)
            job.observer->Progress(100, QString());
        return !failed;
    }
}

// ---- zip entries through 7zz ----

ToolStatus ReadZipEntryWithSevenZip(const QString& archivePath, const QString& innerPath,
                                    quint64 size, PasswordBook& passwords,
                                    IOperationObserver* observer,
                                    const std::function<bool(const char*, size_t)>& sink,
                                    QString* error) {
    auto stop = [observer] { return observer && observer->StopRequested(); };
    passwords.SetCurrentEntry(innerPath);
    PasswordTries tries(passwords);
    for (;;) {
        std::string password;
        if (!tries.Next(&password))
            return tries.Failure();
        ToolChild child;
        // -spd: the name is a name, not a wildcard.
        if (!child.Start(
                "7zz",
                {"x", "-so", "-bd", "-sccUTF-8", "-tzip", "-spd", "--", archivePath, innerPath},
                QByteArray::fromStdString(password) + '\n', error))
            return ToolStatus::Failed;
        quint64 got = 0;
        int code = 0;
        const ToolStatus pumped = PumpOutput(child, "7zz", stop, sink, &got, &code, error);
        if (pumped != ToolStatus::Ok)
            return pumped;
        if (code == 0 && got == size) {
            passwords.Remember(QString::fromStdString(password));
            return ToolStatus::Ok;
        }
        // 7zz tests the password before it writes anything.
        if (got > 0 || !SaysWrongPassword(child.Errors())) {
            *error = child.TimedOut() ? SilenceError("7zz") : child.Complaint();
            if (error->isEmpty())
                *error = got == 0 && code == 0 ? QStringLiteral("7zz does not find it by its name")
                                               : QStringLiteral("its data is damaged");
            return ToolStatus::Failed;
        }
        passwords.Forget();
        if (passwords.Exhausted())
            return ToolStatus::WrongPassword;
    }
}

// ---- encrypted RAR entries through unar ----

UnarEntryReader::~UnarEntryReader() {
    if (!m_folder.isEmpty())
        QDir(m_folder).removeRecursively();
}

bool UnarEntryReader::MakeLink() {
    if (!m_link.isEmpty())
        return true;
    // unar takes a name with a number in it ("rar5_x.rar") for one volume of a set and
    // looks for its siblings ("rar4_x.rar" beside it becomes the first volume, and parsing
    // fails). It is handed a link of a neutral name in a private empty folder instead.
    QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/vz-unar-XXXXXX"));
    if (!dir.isValid()) {
        m_error = QStringLiteral("cannot make a private folder: %1").arg(dir.errorString());
        return false;
    }
    dir.setAutoRemove(false);
    m_folder = dir.path();
    const QString link = m_folder + QStringLiteral("/archive.rar");
    if (!QFile::link(QFileInfo(m_path).absoluteFilePath(), link)) {
        m_error = QStringLiteral("cannot make a link in %1").arg(m_folder);
        return false;
    }
    m_link = link;
    return true;
}

UnarEntryReader::Status UnarEntryReader::RunLsar(const std::string* password,
                                                 const std::function<bool()>& stop,
                                                 QJsonArray* contents) {
    if (!MakeLink())
        return Status::Failed;
    ToolChild child;
    QStringList args{"-j"};
    if (password)  // lsar takes it only as an argument
        args << "-p" << QString::fromStdString(*password);
    if (!child.Start("lsar", args << "--" << m_link, QByteArray(), &m_error))
        return Status::Failed;
    QByteArray out;
    std::vector<char> buffer(kChunk);
    for (qint64 n; (n = child.Read(buffer.data(), kChunk, stop)) != 0;) {
        if (n < 0)
            return child.TimedOut() ? (m_error = SilenceError("lsar"), Status::Failed)
                                    : Status::Cancelled;
        out.append(buffer.data(), static_cast<int>(n));
        if (out.size() > kListingCap) {
            m_error = QStringLiteral("its listing is larger than %1 MB").arg(kListingCap >> 20);
            return Status::Failed;
        }
    }
    const int code = child.Finish(stop);
    if (code < 0 && !child.TimedOut())
        return Status::Cancelled;
    const QJsonObject listing = QJsonDocument::fromJson(out).object();
    // Error 15 is a wrong password; without one lsar says that it needs one.
    constexpr int kLsarPasswordError = 15;
    if (listing.value(QStringLiteral("lsarError")).toInt() == kLsarPasswordError ||
        child.Errors().contains(QLatin1String("requires a password")))
        return Status::WrongPassword;
    if (code != 0) {
        m_error = child.TimedOut() ? SilenceError("lsar") : child.Complaint();
        if (m_error.isEmpty())
            m_error = QStringLiteral("lsar failed (exit code %1)").arg(code);
        return Status::Failed;
    }
    *contents = listing.value(QStringLiteral("lsarContents")).toArray();
    m_names.clear();
    for (const QJsonValue& v : *contents) {
        const QJsonObject o = v.toObject();
        m_names.emplace_back(
            NormaliseEntryName(o.value(QStringLiteral("XADFileName")).toString()).path,
            o.value(QStringLiteral("XADIndex")).toInt(-1));
    }
    m_indexed = true;
    return Status::Ok;
}

bool UnarEntryReader::Index() {
    QJsonArray contents;
    return m_indexed || RunLsar(nullptr, nullptr, &contents) == Status::Ok;
}

UnarEntryReader::Status UnarEntryReader::List(PasswordBook& passwords,
                                              const std::function<bool()>& stop,
                                              std::vector<ListedEntry>* entries) {
    // Those known beforehand first, then what the user answers.
    PasswordTries tries(passwords);
    for (;;) {
        std::string password;
        if (!tries.Next(&password))
            return tries.Failure();
        QJsonArray contents;
        const Status status = RunLsar(&password, stop, &contents);
        if (status == Status::WrongPassword) {
            passwords.Forget();
            continue;
        }
        if (status != Status::Ok)
            return status;
        passwords.Remember(QString::fromStdString(password));
        entries->clear();
        for (const QJsonValue& v : contents)
            entries->push_back(EntryOfLsarRecord(v.toObject(), entries->size()));
        return Status::Ok;
    }
}

bool UnarEntryReader::Unpack(ToolUnpackJob& job) {
    const std::vector<ListedEntry>& entries = *job.entries;
    bool failed = false;
    auto report = [&](const QString& message) {
        failed = true;
        job.report(message);
    };
    quint64 total = 0, done = 0;
    for (const ListedEntry& e : entries)
        if (!e.info.isFolder && job.selects(e))
            total += e.info.size;
    QHash<QString, int> seen;  // how often each name came before: unar knows entries by index
    for (size_t i = 0; i < entries.size(); ++i) {
        const ListedEntry& e = entries[i];
        const int occurrence = seen[e.info.path]++;
        if (static_cast<int>(i) < job.resumeAt || !job.selects(e))
            continue;
        if (e.info.isFolder) {
            MakeFolderEntry(job, e, report);
            continue;
        }
        QStringList comps;
        bool writing = false;
        const Begun begun = BeginEntry(job, e, m_path, &comps, &writing, report);
        if (begun == Begun::Cancelled)
            return false;
        if (begun == Begun::Leave)
            continue;
        if (job.observer)
            job.observer->Progress(total ? static_cast<int>(done * 100 / total) : 0, e.info.path);
        QByteArray linkTarget;
        qint64 offset = 0;
        bool writeFailed = false;
        const Status status = Read(e.info.path, occurrence, e.info.size, *job.passwords,
                                   job.observer, [&](const char* data, size_t n) {
                                       if (e.info.isSymlink && linkTarget.size() < 65536)
                                           linkTarget.append(data, static_cast<int>(n));
                                       if (writing && !job.writer->Write(data, n, offset))
                                           return !(writeFailed = true);
                                       offset += static_cast<qint64>(n);
                                       return true;
                                   });
        done += e.info.size;
        if (status != Status::Ok && writing)
            job.writer->AbortFile();
        if (status == Status::Cancelled) {
            job.cancelled = true;
            return false;
        }
        if (writeFailed) {
            report(job.writer->Error());
            return false;  // a full disk fails every further file as well
        }
        if (status != Status::Ok) {
            report(QStringLiteral("Cannot unpack %1 from %2: %3.")
                       .arg(e.info.path, m_path,
                            status == Status::WrongPassword
                                ? QStringLiteral("the password is wrong")
                                : m_error));
            continue;
        }
        if (!FinishEntry(job, e, comps, linkTarget, report))
            return false;
    }
    if (job.observer)
        job.observer->Progress(100, QString());
    return !failed;
}

UnarEntryReader::Status UnarEntryReader::Read(
    const QString& innerPath, int occurrence, quint64 size, PasswordBook& passwords,
    IOperationObserver* observer, const std::function<bool(const char*, size_t)>& sink) {
    if (!Index())
        return Status::Failed;
    int index = -1;
    for (const auto& [name, i] : m_names)
        if (name == innerPath && occurrence-- == 0) {
            index = i;
            break;
        }
    if (index < 0) {
        m_error = QStringLiteral("unar does not list it");
        return Status::Failed;
    }
    auto stop = [observer] { return observer && observer->StopRequested(); };
    // RAR 5 entries may each have a password of their own: one that fails here is asked
    // again; those known are tried first.
    PasswordTries tries(passwords);
    for (;;) {
        std::string password;
        if (!tries.Next(&password))
            return tries.Failure();
        // unar takes the password only as an argument.
        ToolChild child;
        if (!child.Start("unar",
                         {"-q", "-o", "-", "-i", "-p", QString::fromStdString(password), "--",
                          m_link, QString::number(index)},
                         QByteArray(), &m_error))
            return Status::Failed;
        // unar writes nothing at all for a wrong password: the entry's whole size, and an
        // exit code of 0, tell that the password fits.
        quint64 got = 0;
        int code = 0;
        const ToolStatus pumped = PumpOutput(child, "unar", stop, sink, &got, &code, &m_error);
        if (pumped != ToolStatus::Ok)
            return pumped;
        if (code == 0 && got == size) {
            passwords.Remember(QString::fromStdString(password));
            return Status::Ok;
        }
        if (got > 0 || (code != 0 && !child.Complaint().isEmpty() &&
                        !child.Errors().contains(QLatin1String("password"), Qt::CaseInsensitive))) {
            m_error = child.TimedOut() ? SilenceError("unar") : child.Complaint();
            if (m_error.isEmpty())
                m_error = QStringLiteral("its data is damaged");
            return Status::Failed;
        }
        if (passwords.Exhausted())
            return Status::WrongPassword;
    }
}

}  // namespace vz
