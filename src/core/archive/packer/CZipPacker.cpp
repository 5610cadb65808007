#include "archive/packer/CZipPacker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/ZipDirectory.h"
#include "archive/packer/DiskScanner.h"
#include "archive/packer/ZipArchiveFile.h"
#include "archive/packer/ZipCompressionPipeline.h"
#include "archive/packer/ZipEntrySource.h"
#include "archive/packer/ZipNameIndex.h"
#include "common/InnerPath.h"
#include "platform/FileSystem.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr zip_uint16_t kExtendedTimestamp = 0x5455;  // "UT": modification time, seconds
constexpr quint32 kUnixFolderMode = S_IFDIR | 0755;

// Why the packer never writes an archive of this name, or empty when it may (by the
// extension alone: zip, jar and xap).
QString FamilyRefusal(const QString& path) {
    const int family = ArchiveFamily::ForExtension(vz::UpperExtension(path));
    if (family == ArchiveFamily::SelfExtractingZip)
        return QStringLiteral(
            "a self-extracting archive (.exe) is never changed; only .zip, .jar and .xap archives "
            "are written");
    if (family == ArchiveFamily::None)
        return QStringLiteral("only zip archives (.zip, .jar, .xap) are written");
    if (family == ArchiveFamily::Ace)  // the family is known, but nothing handles it
        return QStringLiteral(
            "ACE archives cannot be read or written; only zip archives (.zip, .jar, .xap) are "
            "written");
    if (!ArchiveFamily::IsWritableZip(family))
        return QStringLiteral(
                   "%1 archives are only read; only zip archives (.zip, .jar, .xap) are "
                   "written")
            .arg(ArchiveFamily::DisplayName(family));
    return QString();
}

// libzip converts every entry's MS-DOS time with mktime, and glibc checks /etc/localtime
// again on each call while TZ is unset: a system call per entry. Naming the same zone in TZ
// makes glibc read it once.
void CacheLocalTimeZone() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (!qEnvironmentVariableIsSet("TZ") &&
            QFileInfo::exists(QStringLiteral("/etc/localtime"))) {
            qputenv("TZ", ":/etc/localtime");
            ::tzset();
        }
    });
}

QString ZipReason(zip_error_t* error) {
    QString text = QString::fromLocal8Bit(zip_error_strerror(error));
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

QString CleanDiskPath(const QString& path) {
    return vz::platform::AbsolutePath(path);
}

// The file that a path leads to through symbolic links (the path itself when it leads to
// nothing yet).
QString ResolveLinks(const QString& path) {
    char* resolved = ::realpath(vz::platform::EncodePath(path).constData(), nullptr);
    if (!resolved)
        return path;
    const QString target = vz::platform::DecodePath(resolved);
    std::free(resolved);
    return target;
}

// The bytes of an entry name as stored, and libzip's flags for them: text is stored as UTF-8
// with the UTF-8 flag; a name that carries bytes of a disk name that are not UTF-8 is stored
// as those very bytes, without the flag (libzip sets it only for names given as UTF-8).
struct StoredName {
    QByteArray bytes;
    zip_flags_t flags;
};
StoredName StoredNameOf(const QString& name) {
    if (vz::platform::HoldsEscapedBytes(name))
        return {vz::platform::EncodePath(name), ZIP_FL_ENC_GUESS};
    return {name.toUtf8(), ZIP_FL_ENC_UTF_8};
}

bool FolderWritable(const QString& folder) {
    return ::access(vz::platform::EncodePath(folder).constData(), W_OK | X_OK) == 0;
}

zip_uint16_t EncryptionFor(int index) {
    switch (index) {
        case 0:
            return ZIP_EM_TRAD_PKWARE;
        case 1:
            return ZIP_EM_AES_128;
        case 2:
            return ZIP_EM_AES_192;
        case 3:
            return ZIP_EM_AES_256;
        default:
            return ZIP_EM_UNKNOWN;
    }
}

}  // namespace

struct CZipPacker::Impl : public vz::IPackSink {
    INIPACK ini;
    IOperationObserver* observer = nullptr;
    IItemListener* listener = nullptr;
    int threads = 0;
    qint64 memoryBudget = 0;

    QString path;    // as the caller named it (texts, the item listener)
    QString ioPath;  // the file written: a symbolic link's target, so that the link stays
    bool open = false;
    bool createPending = false;  // CreateArchive's archive is not written yet
    zip_t* za = nullptr;
    vz::ZipNameIndex names;

    QString error;
    bool cancelled = false;

    // The running operation.
    Clock::time_point lastPoll{};
    bool polledOnce = false;
    QString readError;
    vz::ZipCompressionPipeline* pipeline = nullptr;
    quint64 storedBytes = 0;
    quint64 totalBytes = 0;
    int lastPercent = -1;
    QString lastName;
    QString currentName;
    Clock::time_point lastProgress{};

    ~Impl() override { Discard(); }

    bool Fail(const QString& message) {
        error = message;
        return false;
    }

    void BeginOperation() {
        error.clear();
        cancelled = false;
        polledOnce = false;
        readError.clear();
        pipeline = nullptr;
        storedBytes = totalBytes = 0;
        lastPercent = -1;
        lastName.clear();
        currentName.clear();
    }

    void Discard() {
        if (za)
            zip_discard(za);
        za = nullptr;
        names.Clear();
    }

    // IPackSink and libzip's cancel callback.
    bool PollStop() override {
        if (cancelled)
            return true;
        if (!observer)
            return false;
        const Clock::time_point now = Clock::now();
        if (polledOnce && now - lastPoll < std::chrono::milliseconds(25))
            return false;
        polledOnce = true;
        lastPoll = now;
        if (observer->StopRequested())
            cancelled = true;
        return cancelled;
    }
    void EntryStarted(const QString& entryName) override {
        currentName = entryName;
        ShowProgress();
    }
    void StoredBytesRead(quint64 bytes) override {
        storedBytes += bytes;
        ShowProgress();
    }
    void DataWritten() override { ShowProgress(); }
    void ReadFailed(const QString& reason) override {
        if (readError.isEmpty())
            readError = reason;
    }

    void ShowProgress() {
        if (!observer || totalBytes == 0)
            return;
        const quint64 done = storedBytes + (pipeline ? pipeline->BytesConsumed() : 0);
        ShowPercent(static_cast<int>(std::min<quint64>(100, done * 100 / totalBytes)));
    }
    void ShowPercent(int percent) {
        if (!observer)
            return;
        const Clock::time_point now = Clock::now();
        const bool nameChanged = currentName != lastName;
        if (percent == lastPercent &&
            (!nameChanged || now - lastProgress < std::chrono::milliseconds(50)))
            return;
        lastPercent = percent;
        lastName = currentName;
        lastProgress = now;
        observer->Progress(percent, currentName);
    }

    static int CancelCallback(zip_t*, void* self) {
        return static_cast<Impl*>(self)->PollStop() ? 1 : 0;
    }
    static void ProgressCallback(zip_t*, double fraction, void* self) {
        Impl* d = static_cast<Impl*>(self);
        if (d->totalBytes == 0)
            d->ShowPercent(static_cast<int>(fraction * 100.0));
    }

    bool EnsureOpen() {
        if (!open)
            return Fail(QStringLiteral("No archive is open."));
        if (za)
            return true;
        zip_error_t e;
        zip_error_init(&e);
        zip_source_t* source = vz::CreateArchiveFileSource(ioPath, createPending, &e);
        // A new archive starts empty; an existing one is checked entry by entry (local headers
        // against the central directory) so that a damaged archive is refused, not rewritten.
        if (source)
            za = zip_open_from_source(source, createPending ? ZIP_CREATE : ZIP_CHECKCONS, &e);
        if (!za) {
            if (source)
                zip_source_free(source);
            const QString reason = ZipReason(&e);
            zip_error_fini(&e);
            return Fail(QStringLiteral("Cannot open the archive %1: %2.").arg(path, reason));
        }
        zip_error_fini(&e);
        zip_register_cancel_callback_with_state(za, &Impl::CancelCallback, nullptr, this);
        zip_register_progress_callback_with_state(za, 0.01, &Impl::ProgressCallback, nullptr, this);
        return true;
    }

    vz::ZipNameIndex& Names() {
        if (!names.Built()) {
            // Entries are matched by the names the listing shows: decoded alike.
            vz::EntryNameDecoding decoding;
            std::vector<vz::ListedEntry> listed;
            QString unused;
            if (!createPending)
                vz::ListZipDirectory(ioPath, &listed, &unused, {}, &decoding);
            names.Build(za, decoding);
        }
        return names;
    }

    zip_uint64_t Survivors() {
        const zip_int64_t count = zip_get_num_entries(za, 0);
        zip_uint64_t survivors = 0;
        for (zip_int64_t i = 0; i < count; ++i) {
            if (zip_get_name(za, static_cast<zip_uint64_t>(i), 0) != nullptr)
                ++survivors;
        }
        zip_error_clear(za);
        return survivors;
    }

    // Writes the changes collected on `za` as a new archive that replaces the old one.
    bool Commit() {
        if (Survivors() == 0) {
            Discard();
            if (!WriteEmptyArchive())
                return false;
            createPending = false;
            return true;
        }
        const int result = zip_close(za);
        if (result == 0) {
            za = nullptr;
            names.Clear();
            createPending = false;
            return true;
        }
        zip_error_t* e = zip_get_error(za);
        const int code = zip_error_code_zip(e);
        QString message;
        if (cancelled || code == ZIP_ER_CANCELLED) {
            cancelled = true;
            message =
                QStringLiteral("The operation was stopped; the archive %1 is unchanged.").arg(path);
        } else if (!readError.isEmpty()) {
            message = readError.left(readError.size() - 1) +
                      QStringLiteral("; the archive %1 is unchanged.").arg(path);
        } else {
            message = QStringLiteral("Cannot write the archive %1: %2.").arg(path, ZipReason(e));
        }
        Discard();
        return Fail(message);
    }

    bool WriteEmptyArchive() {
        static const char kEndOfCentralDirectory[22] = {'P', 'K', 5, 6};
        zip_error_t e;
        zip_error_init(&e);
        const bool ok = vz::ReplaceFileContents(ioPath, kEndOfCentralDirectory,
                                                sizeof kEndOfCentralDirectory, &e);
        if (!ok)
            Fail(QStringLiteral("Cannot write the archive %1: %2.").arg(path, ZipReason(&e)));
        zip_error_fini(&e);
        return ok;
    }

    // Metadata of a new entry named `name`: external attributes made on Unix, MS-DOS time and
    // the extended timestamp.
    bool SetEntryMetadata(zip_uint64_t index, const QString& name, quint32 mode, qint64 mtime) {
        const zip_uint32_t attributes = (static_cast<zip_uint32_t>(mode & 0xFFFF) << 16) |
                                        vz::platform::AttributesFor(vz::LastComponent(name), mode);
        if (zip_file_set_external_attributes(za, index, 0, ZIP_OPSYS_UNIX, attributes) != 0)
            return false;
        if (zip_file_set_mtime(za, index, static_cast<time_t>(mtime), 0) != 0)
            return false;
        zip_file_extra_field_delete_by_id(za, index, kExtendedTimestamp, ZIP_EXTRA_FIELD_ALL,
                                          ZIP_FL_LOCAL | ZIP_FL_CENTRAL);
        if (mtime >= 0 && mtime <= 0x7FFFFFFF) {
            const quint32 t = static_cast<quint32>(mtime);
            const zip_uint8_t field[5] = {
                1, static_cast<zip_uint8_t>(t), static_cast<zip_uint8_t>(t >> 8),
                static_cast<zip_uint8_t>(t >> 16), static_cast<zip_uint8_t>(t >> 24)};
            if (zip_file_extra_field_set(za, index, kExtendedTimestamp, ZIP_EXTRA_FIELD_NEW, field,
                                         sizeof field, ZIP_FL_LOCAL | ZIP_FL_CENTRAL) != 0)
                return false;
        }
        return true;
    }

    bool AddFolderEntry(const QString& name, quint32 mode, qint64 mtime) {
        const StoredName stored = StoredNameOf(name + QLatin1Char('/'));
        const zip_int64_t index = zip_dir_add(za, stored.bytes.constData(), stored.flags);
        return index >= 0 && SetEntryMetadata(static_cast<zip_uint64_t>(index), name, mode, mtime);
    }

    QString LibzipFailure(const QString& what) {
        return QStringLiteral("Cannot %1 in the archive %2: %3.")
            .arg(what, path, ZipReason(zip_get_error(za)));
    }

    // A folder that the change leaves without any entry keeps an entry of its own.
    // `innerPath` is the entry's own spelling; `gone` are the positions in the name index that
    // are removed or moved, `arriving` the new paths of moved entries. Folders are compared
    // without regard to case, as the listing shows them.
    bool KeepParent(const QString& innerPath, const QSet<size_t>& gone,
                    const QStringList& arriving) {
        const QString parent = vz::ParentPath(innerPath);
        if (parent.isEmpty())
            return true;
        vz::ZipNameIndex& index = Names();
        for (size_t pos : index.FolderEntries(parent)) {
            if (!gone.contains(pos))
                return true;
        }
        const QString prefix = vz::ZipNameIndex::Fold(parent) + QLatin1Char('/');
        for (const QString& p : arriving) {
            if (vz::ZipNameIndex::Fold(p).startsWith(prefix))
                return true;
        }
        for (size_t pos : index.Below(parent)) {
            if (!gone.contains(pos))
                return true;
        }
        if (!AddFolderEntry(parent, kUnixFolderMode, static_cast<qint64>(std::time(nullptr))))
            return Fail(LibzipFailure(QStringLiteral("keep the folder %1").arg(parent)));
        return true;
    }

    vz::FileTime EntryTime(zip_uint64_t index, const zip_stat_t& st) {
        zip_uint16_t length = 0;
        const zip_uint8_t* field = zip_file_extra_field_get_by_id(za, index, kExtendedTimestamp, 0,
                                                                  &length, ZIP_FL_CENTRAL);
        if (!field || length < 5 || !(field[0] & 1))
            field = zip_file_extra_field_get_by_id(za, index, kExtendedTimestamp, 0, &length,
                                                   ZIP_FL_LOCAL);
        if (field && length >= 5 && (field[0] & 1)) {
            const quint32 t = field[1] | (field[2] << 8) | (field[3] << 16) |
                              (static_cast<quint32>(field[4]) << 24);
            return vz::FileTime::FromUnix(static_cast<qint32>(t));
        }
        if (st.valid & ZIP_STAT_MTIME)
            return vz::FileTime::FromUnix(static_cast<qint64>(st.mtime));
        return vz::FileTime{};
    }

    bool FillInfo(const QString& inner, ZIPFILEFULLINFO& info);
    bool Add(const std::vector<vz::PackRequest>& requests, const QString& innerFolder);
    bool ResolveConflicts(std::vector<vz::PackItem>& items, std::vector<bool>& keep,
                          std::vector<qint64>& replace);
};

bool CZipPacker::Impl::FillInfo(const QString& inner, ZIPFILEFULLINFO& info) {
    // An entry of exactly that name first, a file before a folder; then without regard to case.
    using Match = vz::ZipNameIndex::Match;
    vz::ZipNameIndex& index = Names();
    qint64 entry = index.FindFile(inner, Match::Exact);
    if (entry < 0 && !index.FolderExists(inner, Match::Exact))
        entry = index.FindFile(inner, Match::AnyCase);
    const bool folder = entry < 0;
    if (entry < 0)
        entry = index.FindFolderEntry(inner);
    info = ZIPFILEFULLINFO();
    info.path = inner;
    if (entry < 0) {
        if (!index.FolderExists(inner))
            return Fail(QStringLiteral("%1 does not exist in the archive %2.").arg(inner, path));
        info.isFolder = true;  // implied by deeper entries
        info.attributes = kDosDirectory;
        return true;
    }
    const zip_uint64_t i = static_cast<zip_uint64_t>(entry);
    zip_stat_t st;
    if (zip_stat_index(za, i, 0, &st) != 0)
        return Fail(LibzipFailure(QStringLiteral("read %1").arg(inner)));
    info.isFolder = folder;
    if (st.valid & ZIP_STAT_SIZE) {
        info.size = st.size;
        info.sizeKnown = true;
    }
    if (st.valid & ZIP_STAT_COMP_SIZE) {
        info.packedSize = st.comp_size;
        info.packedSizeKnown = true;
    }
    if (st.valid & ZIP_STAT_CRC) {
        info.crc = st.crc;
        info.crcKnown = true;
    }
    if (st.valid & ZIP_STAT_COMP_METHOD)
        info.method = vz::ZipMethodName(st.comp_method);
    info.encrypted = (st.valid & ZIP_STAT_ENCRYPTION_METHOD) && st.encryption_method != ZIP_EM_NONE;
    info.modified = EntryTime(i, st);
    zip_uint8_t opsys = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(za, i, 0, &opsys, &attributes) == 0) {
        info.attributes =
            attributes & (kDosReadOnly | kDosHidden | kDosSystem | kDosDirectory | kDosArchive);
        if (opsys == ZIP_OPSYS_UNIX)
            info.unixMode = attributes >> 16;
    }
    if (info.isFolder)
        info.attributes |= kDosDirectory;
    info.isSymlink = !info.isFolder && S_ISLNK(static_cast<mode_t>(info.unixMode));
    if (info.isSymlink && info.size <= 4096) {
        const QByteArray password = ini.Password.toUtf8();
        zip_file_t* file = info.encrypted
                               ? zip_fopen_index_encrypted(za, i, 0, password.constData())
                               : zip_fopen_index(za, i, 0);
        if (file) {
            QByteArray target(static_cast<int>(info.size), '\0');
            if (zip_fread(file, target.data(), info.size) == static_cast<zip_int64_t>(info.size))
                info.linkTarget = vz::platform::DecodePath(target);
            zip_fclose(file);
        }
    }
    return true;
}

// Decides for each planned item whether it is written and which existing entry it replaces;
// asks the replace question. False on a conflict (error set) or a Cancel (cancelled set).
//
// Folders are matched without regard to case, as the listing shows them: an added entry's
// folders take the spelling of a folder that the archive (or this add) has already, so that
// adding "Docs/x" where "docs/" is goes into "docs/". A file replaces the file of exactly its
// name in that folder ("a.txt" and "A.TXT" are two files, as on the disk); a file and a folder
// whose names differ only in case conflict.
bool CZipPacker::Impl::ResolveConflicts(std::vector<vz::PackItem>& items, std::vector<bool>& keep,
                                        std::vector<qint64>& replace) {
    using Match = vz::ZipNameIndex::Match;
    using vz::ZipNameIndex;
    ZipNameIndex& index = Names();
    keep.assign(items.size(), true);
    replace.assign(items.size(), -1);
    QHash<QString, bool> planned;            // entry name -> is a folder
    QHash<QString, QString> plannedFolders;  // folded -> spelling, of the folders added here
    QSet<QString> plannedFiles;              // folded
    QHash<QString, QString> spelled;         // folder path as scanned -> as it is written
    QSet<QString> parentsChecked;
    // The spelling of a folder path, its parents first (items come after their folders).
    std::function<QString(const QString&)> spell = [&](const QString& folder) -> QString {
        if (folder.isEmpty())
            return folder;
        const auto known = spelled.constFind(folder);
        if (known != spelled.constEnd())
            return *known;
        QString result = vz::JoinPath(spell(vz::ParentPath(folder)), vz::LastComponent(folder));
        QString existing;
        if (index.FolderSpelling(result, &existing))
            result = existing;
        else
            result = plannedFolders.value(ZipNameIndex::Fold(result), result);
        spelled.insert(folder, result);
        return result;
    };
    bool yesToAll = !ini.AskBeforeUpdating;
    for (size_t i = 0; i < items.size(); ++i) {
        vz::PackItem& item = items[i];
        const bool isFolder = item.kind == vz::PackItem::Folder;
        if (isFolder) {
            item.entryName = spell(item.entryName);
        } else {
            item.entryName = vz::JoinPath(spell(vz::ParentPath(item.entryName)),
                                          vz::LastComponent(item.entryName));
        }
        const QString folded = ZipNameIndex::Fold(item.entryName);
        const auto earlier = planned.constFind(item.entryName);
        if (earlier != planned.constEnd()) {
            if (*earlier != isFolder)
                return Fail(
                    QStringLiteral("Cannot add %1: a file and a folder would both be named %2.")
                        .arg(item.displayPath, vz::platform::DisplayPath(item.entryName)));
            keep[i] = false;
            if (!isFolder && observer)
                observer->Report(
                    QStringLiteral("%1 was not added: another added file has the name %2.")
                        .arg(item.displayPath, vz::platform::DisplayPath(item.entryName)));
            continue;
        }
        if (isFolder ? plannedFiles.contains(folded) : plannedFolders.contains(folded))
            return Fail(QStringLiteral("Cannot add %1: a file and a folder would both be named %2.")
                            .arg(item.displayPath, vz::platform::DisplayPath(item.entryName)));
        planned.insert(item.entryName, isFolder);
        if (isFolder)
            plannedFolders.insert(folded, item.entryName);
        else
            plannedFiles.insert(folded);
        // A parent of the entry must not be a file. (When one is checked, so are those above it.)
        for (QString parent = vz::ParentPath(item.entryName);
             !parent.isEmpty() && !parentsChecked.contains(parent);
             parent = vz::ParentPath(parent)) {
            parentsChecked.insert(parent);
            if (index.FindFile(parent) >= 0 || plannedFiles.contains(ZipNameIndex::Fold(parent)))
                return Fail(QStringLiteral("Cannot add %1: the archive %2 holds a file named %3.")
                                .arg(item.displayPath, path, vz::platform::DisplayPath(parent)));
        }
        if (isFolder) {
            if (index.FindFile(item.entryName) >= 0)
                return Fail(
                    QStringLiteral(
                        "Cannot add the folder %1: the archive %2 holds a file named %3.")
                        .arg(item.displayPath, path, vz::platform::DisplayPath(item.entryName)));
            if (index.FindFolderEntry(item.entryName) >= 0)
                keep[i] = false;  // it is there already
            continue;
        }
        if (index.FolderExists(item.entryName))
            return Fail(
                QStringLiteral("Cannot add the file %1: the archive %2 holds a folder named %3.")
                    .arg(item.displayPath, path, vz::platform::DisplayPath(item.entryName)));
        const qint64 existing = index.FindFile(item.entryName, Match::FoldersAnyCase);
        if (existing < 0)
            continue;
        // It takes the place, and the name, of the entry it replaces.
        item.entryName = index.Entries()[size_t(index.PositionOf(zip_uint64_t(existing)))].path;
        if (!yesToAll && !observer) {
            keep[i] = false;  // no one to ask: as if answered No
            continue;
        }
        if (!yesToAll) {
            OverwriteQuestion question;
            ZIPFILEFULLINFO old;
            FillInfo(item.entryName, old);
            question.existing.path = item.entryName;
            question.existing.size = old.size;
            question.existing.sizeKnown = old.sizeKnown;
            question.existing.modified = old.modified;
            question.existing.attributes = old.attributes;
            question.incoming.path = item.displayPath;
            question.incoming.size = item.size;
            question.incoming.sizeKnown = true;
            question.incoming.modified = vz::FileTime::FromUnix(item.mtime);
            question.incoming.attributes =
                vz::platform::AttributesFor(vz::LastComponent(item.displayPath), item.mode) &
                (kDosReadOnly | kDosHidden);
            switch (observer->AskOverwrite(question)) {
                case ReplaceAnswer::Yes:
                    break;
                case ReplaceAnswer::YesToAll:
                    yesToAll = true;
                    break;
                case ReplaceAnswer::No:
                    keep[i] = false;
                    continue;
                case ReplaceAnswer::Cancel:
                    cancelled = true;
                    return Fail(
                        QStringLiteral("The operation was cancelled; the archive %1 is unchanged.")
                            .arg(path));
            }
        }
        replace[i] = existing;
    }
    return true;
}

bool CZipPacker::Impl::Add(const std::vector<vz::PackRequest>& requests,
                           const QString& innerFolder) {
    BeginOperation();
    if (!EnsureOpen())
        return false;
    QString named;
    QString folder;  // spelled as the archive spells it, whatever the case it was named in
    if (!vz::NormaliseInnerPath(innerFolder, &named) || !Names().FolderSpelling(named, &folder))
        return Fail(QStringLiteral("The folder %1 does not exist in the archive %2.")
                        .arg(innerFolder, path));

    const int level =
        ini.CompressionLevel >= 0 && ini.CompressionLevel <= 9 ? ini.CompressionLevel : 6;
    const int method = ini.CompressionMethod;
    if (method != ZIP_CM_DEFLATE && method != ZIP_CM_BZIP2)
        return Fail(QStringLiteral("Cannot add to the archive %1: the compression method %2 is not "
                                   "supported (8 DEFLATE or 12 BZIP2).")
                        .arg(path)
                        .arg(method));
    const bool encrypt = ini.EncryptionOn && !ini.Password.isEmpty();
    const zip_uint16_t encryption = EncryptionFor(ini.EncryptionMethod);
    if (encrypt &&
        (encryption == ZIP_EM_UNKNOWN || !zip_encryption_method_supported(encryption, 1)))
        return Fail(QStringLiteral("Cannot add to the archive %1: the encryption method %2 is not "
                                   "available.")
                        .arg(path)
                        .arg(ini.EncryptionMethod));
    const QByteArray password = ini.Password.toUtf8();

    // What to write.
    vz::DiskScanner::Settings settings;
    settings.filesWithoutPaths = ini.PackFilesWithoutPaths;
    settings.foldersWithoutPaths = ini.PackFoldersWithoutPaths;
    settings.innerFolder = folder;
    struct stat self {};
    if (!createPending && ::stat(vz::platform::EncodePath(ioPath).constData(), &self) == 0) {
        settings.archiveDevice = self.st_dev;
        settings.archiveInode = self.st_ino;
    }
    vz::DiskScanner scanner(settings);
    scanner.poll = [this] { return PollStop(); };
    scanner.report = [this](const QString& note) {
        if (observer)
            observer->Report(note);
    };
    std::vector<vz::PackItem> items;
    for (const vz::PackRequest& request : requests) {
        QString scanError;
        if (!scanner.Scan(request, items, &scanError)) {
            if (scanner.Stopped() || cancelled) {
                cancelled = true;
                return Fail(
                    QStringLiteral("The operation was stopped; the archive %1 is unchanged.")
                        .arg(path));
            }
            return Fail(scanError.left(scanError.size() - 1) +
                        QStringLiteral("; the archive %1 is unchanged.").arg(path));
        }
    }
    std::vector<bool> keep;
    std::vector<qint64> replace;
    if (!ResolveConflicts(items, keep, replace))
        return false;

    // Compression starts at once and runs ahead of libzip.
    vz::ZipCompressionPipeline::Options options;
    options.method = method;
    options.level = std::max(level, 1);
    options.threads = threads;
    // WinZip AES is produced by the pipeline (the key derivation per file on the pool);
    // traditional encryption stays with libzip.
    const bool pipelineEncrypts = encrypt && encryption != ZIP_EM_TRAD_PKWARE;
    if (pipelineEncrypts) {
        options.aesStrength = ini.EncryptionMethod;
        options.password = password;
    }
    if (memoryBudget > 0)
        options.memoryBudget = memoryBudget;
    std::unique_ptr<vz::ZipCompressionPipeline> compressor(new vz::ZipCompressionPipeline(options));
    std::vector<int> fileIds(items.size(), -1);
    for (size_t i = 0; i < items.size(); ++i) {
        if (!keep[i])
            continue;
        const vz::PackItem& item = items[i];
        if (item.kind != vz::PackItem::Folder)
            totalBytes += item.size;
        if (item.kind == vz::PackItem::File && item.size > 0 && level > 0)
            fileIds[i] = compressor->AddFile(item.nativePath, item.displayPath, item.size);
    }
    compressor->Start();
    pipeline = compressor.get();

    bool ok = true;
    for (size_t i = 0; i < items.size() && ok; ++i) {
        if (replace[i] >= 0 && zip_delete(za, static_cast<zip_uint64_t>(replace[i])) != 0)
            ok = false;
    }
    std::vector<size_t> written;
    for (size_t i = 0; i < items.size() && ok; ++i) {
        if (!keep[i])
            continue;
        const vz::PackItem& item = items[i];
        if (item.kind == vz::PackItem::Folder) {
            ok = AddFolderEntry(item.entryName, item.mode, item.mtime);
            written.push_back(i);
            continue;
        }
        const bool compressed = fileIds[i] >= 0;
        zip_source_t* source =
            compressed ? vz::CreateCompressedSource(za, compressor.get(), fileIds[i], method,
                                                    pipelineEncrypts ? encryption : ZIP_EM_NONE,
                                                    item, this)
                       : vz::CreateStoredSource(za, item, this);
        if (!source) {
            ok = false;
            break;
        }
        const StoredName name = StoredNameOf(item.entryName);
        const zip_int64_t added = zip_file_add(za, name.bytes.constData(), source, name.flags);
        if (added < 0) {
            zip_source_free(source);
            ok = false;
            break;
        }
        const zip_uint64_t index = static_cast<zip_uint64_t>(added);
        ok = zip_set_file_compression(za, index, compressed ? method : ZIP_CM_STORE,
                                      compressed ? static_cast<zip_uint32_t>(level) : 0) == 0 &&
             SetEntryMetadata(index, item.entryName, item.mode, item.mtime) &&
             (!encrypt || item.kind == vz::PackItem::Link ||
              zip_file_set_encryption(
                  za, index, encryption,
                  compressed && pipelineEncrypts ? nullptr : password.constData()) == 0);
        written.push_back(i);
    }
    if (!ok) {
        const QString message = LibzipFailure(QStringLiteral("add the items"));
        pipeline = nullptr;
        Discard();
        return Fail(message);
    }
    const bool committed = Commit();
    pipeline = nullptr;
    compressor.reset();
    if (!committed)
        return false;
    currentName.clear();
    ShowPercent(100);
    if (listener && ini.RefreshArchiveBrowserTreeWithAddingOfEachItem) {
        for (size_t i : written)
            listener->ItemAdded(vz::JoinPath(path, items[i].entryName));
    }
    return true;
}

CZipPacker::CZipPacker() : d(new Impl) {
    CacheLocalTimeZone();
}

CZipPacker::~CZipPacker() {
    CloseArchive();
}

void CZipPacker::SetIni(const INIPACK& ini) {
    d->ini = ini;
}
void CZipPacker::SetHandleDialogProgress(IOperationObserver* observer) {
    d->observer = observer;
}
void CZipPacker::SetWndArchiveTree(IItemListener* listener) {
    d->listener = listener;
}
void CZipPacker::SetCompressionThreads(int threads) {
    d->threads = threads;
}
void CZipPacker::SetMemoryBudget(qint64 bytes) {
    d->memoryBudget = bytes;
}
QString CZipPacker::ArchivePath() const {
    return d->path;
}
QString CZipPacker::LastError() const {
    return d->error;
}
bool CZipPacker::WasCancelled() const {
    return d->cancelled;
}

bool CZipPacker::CreateArchive(const QString& path) {
    if (d->open)
        CloseArchive();
    d->BeginOperation();
    const QString clean = CleanDiskPath(path);
    const QString refusal = FamilyRefusal(clean);
    if (!refusal.isEmpty())
        return d->Fail(QStringLiteral("Cannot create the archive %1: %2.").arg(clean, refusal));
    const QString target = ResolveLinks(clean);
    if (vz::platform::ReadFacts(target).isFolder)
        return d->Fail(
            QStringLiteral("Cannot create the archive %1: a folder has that name.").arg(clean));
    const QString folder = vz::platform::FolderOf(target);
    if (!vz::platform::ReadFacts(folder).isFolder)
        return d->Fail(QStringLiteral("Cannot create the archive %1: the folder %2 does not exist.")
                           .arg(clean, folder));
    if (!FolderWritable(folder))
        return d->Fail(
            QStringLiteral("Cannot create the archive %1: the folder %2 is not writable.")
                .arg(clean, folder));
    d->path = clean;
    d->ioPath = target;
    d->open = true;
    d->createPending = true;
    if (!d->EnsureOpen()) {
        d->open = d->createPending = false;
        return false;
    }
    return true;
}

bool CZipPacker::OpenArchive(const QString& path) {
    if (d->open)
        CloseArchive();
    d->BeginOperation();
    const QString clean = CleanDiskPath(path);
    const vz::platform::FileFacts facts = vz::platform::ReadFacts(clean);
    if (!facts.exists)
        return d->Fail(QStringLiteral("The archive %1 does not exist.").arg(clean));
    const QString refusal = FamilyRefusal(clean);
    if (!refusal.isEmpty())
        return d->Fail(QStringLiteral("Cannot change the archive %1: %2.").arg(clean, refusal));
    if (facts.isFolder)
        return d->Fail(QStringLiteral("Cannot change the archive %1: it is a folder.").arg(clean));
    const QString target = ResolveLinks(clean);
    const QString folder = vz::platform::FolderOf(target);
    if (!FolderWritable(folder))
        return d->Fail(
            QStringLiteral("Cannot change the archive %1: the folder %2 is not writable.")
                .arg(clean, folder));
    if (::access(vz::platform::EncodePath(target).constData(), W_OK) != 0)
        return d->Fail(QStringLiteral("Cannot change the archive %1: it is read-only.").arg(clean));
    d->path = clean;
    d->ioPath = target;
    d->open = true;
    d->createPending = false;
    if (!d->EnsureOpen()) {
        d->open = false;
        return false;
    }
    return true;
}

bool CZipPacker::CloseArchive() {
    if (!d->open)
        return true;
    bool ok = true;
    d->Discard();
    if (d->createPending) {
        d->BeginOperation();
        ok = d->WriteEmptyArchive();
        d->createPending = false;
    }
    d->open = false;
    return ok;
}

void CZipPacker::AbandonArchive() {
    d->Discard();
    d->createPending = false;
    d->open = false;
}

bool CZipPacker::AddFileToArchive(const QString& filePath) {
    return AddFileToArchiveFolder(filePath, QString());
}

bool CZipPacker::AddFileToArchiveFolder(const QString& filePath, const QString& innerFolder) {
    vz::PackRequest request;
    request.diskPath = filePath;
    request.expect = vz::PackRequest::FileOnly;
    return d->Add({request}, innerFolder);
}

bool CZipPacker::AddFolderToArchive(const QString& folderPath, const QString& folderPath2,
                                    bool recurse) {
    return AddFolderToArchiveFolder(folderPath, folderPath2, QString(), recurse);
}

bool CZipPacker::AddFolderToArchiveFolder(const QString& folderPath, const QString& folderPath2,
                                          const QString& innerFolder, bool recurse) {
    vz::PackRequest request;
    request.diskPath = folderPath;
    request.expect = vz::PackRequest::FolderOnly;
    request.folderBase = folderPath2;
    request.recurse = recurse;
    return d->Add({request}, innerFolder);
}

bool CZipPacker::AddItemsToArchiveFolder(const QStringList& diskPaths, const QString& innerFolder) {
    std::vector<vz::PackRequest> requests;
    for (const QString& p : diskPaths) {
        vz::PackRequest request;
        request.diskPath = p;
        request.folderBase = p;
        requests.push_back(request);
    }
    return d->Add(requests, innerFolder);
}

namespace {

// A new inner path that a user typed: its components may not hold the forbidden characters
// ("\" among them: here it is not read as a separator). Returns the reason why not, or empty.
QString CheckNewPath(const QString& given, QString* clean) {
    for (const QString& part : given.split(QLatin1Char('/'))) {
        if (vz::HasForbiddenNameChar(part))
            return QStringLiteral("a name cannot contain any of the characters \\ : * ? \" < > |");
    }
    if (!vz::NormaliseInnerPath(given, clean) || clean->isEmpty())
        return QStringLiteral("it is not a valid path inside an archive");
    return QString();
}

bool SameFolder(const QString& a, const QString& b) {
    return vz::ZipNameIndex::Fold(a) == vz::ZipNameIndex::Fold(b);
}

}  // namespace

bool CZipPacker::CreateEmptyFolder(const QString& innerPath) {
    d->BeginOperation();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    const QString invalid = CheckNewPath(innerPath, &clean);
    if (!invalid.isEmpty())
        return d->Fail(QStringLiteral("Cannot create the folder %1 in the archive %2: %3.")
                           .arg(innerPath, d->path, invalid));
    vz::ZipNameIndex& index = d->Names();
    for (QString parent = vz::ParentPath(clean); !parent.isEmpty();
         parent = vz::ParentPath(parent)) {
        if (index.FindFile(parent) >= 0)
            return d->Fail(
                QStringLiteral("Cannot create the folder %1: the archive %2 holds a file named %3.")
                    .arg(clean, d->path, parent));
    }
    // Taken by a file or folder of that name in any case.
    if (index.FindFile(clean) >= 0 || index.FolderExists(clean))
        return d->Fail(QStringLiteral("A file or folder named %1 already exists in the archive %2.")
                           .arg(clean, d->path));
    // In the folders as the archive spells them.
    const QString folder =
        vz::JoinPath(index.Respell(vz::ParentPath(clean)), vz::LastComponent(clean));
    if (!d->AddFolderEntry(folder, kUnixFolderMode, static_cast<qint64>(std::time(nullptr)))) {
        const QString message =
            d->LibzipFailure(QStringLiteral("create the folder %1").arg(folder));
        d->Discard();
        return d->Fail(message);
    }
    return d->Commit();
}

bool CZipPacker::RemoveFile(const QString& innerPath) {
    d->BeginOperation();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    vz::ZipNameIndex& index = d->Names();
    const qint64 entry =
        vz::NormaliseInnerPath(innerPath, &clean) && !clean.isEmpty() ? index.FindFile(clean) : -1;
    if (entry < 0)
        return d->Fail(QStringLiteral("The file %1 does not exist in the archive %2.")
                           .arg(innerPath, d->path));
    const qint64 pos = index.PositionOf(static_cast<zip_uint64_t>(entry));
    const QString own = index.Entries()[static_cast<size_t>(pos)].path;
    if (!d->KeepParent(own, {static_cast<size_t>(pos)}, {}) ||
        zip_delete(d->za, static_cast<zip_uint64_t>(entry)) != 0) {
        const QString message =
            d->error.isEmpty() ? d->LibzipFailure(QStringLiteral("remove %1").arg(own)) : d->error;
        d->Discard();
        return d->Fail(message);
    }
    return d->Commit();
}

bool CZipPacker::RemoveFolder(const QString& innerPath) {
    d->BeginOperation();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    QString own;
    vz::ZipNameIndex& index = d->Names();
    if (!vz::NormaliseInnerPath(innerPath, &clean) || clean.isEmpty() ||
        !index.FolderSpelling(clean, &own))
        return d->Fail(QStringLiteral("The folder %1 does not exist in the archive %2.")
                           .arg(innerPath, d->path));
    // Every entry in the folder, whatever the case of its folder components.
    QSet<size_t> gone;
    for (size_t pos : index.Below(clean))
        gone.insert(pos);
    for (size_t pos : index.FolderEntries(clean))
        gone.insert(pos);
    bool ok = d->KeepParent(own, gone, {});
    for (size_t pos : gone) {
        if (ok && zip_delete(d->za, index.Entries()[pos].index) != 0)
            ok = false;
    }
    if (!ok) {
        const QString message =
            d->error.isEmpty() ? d->LibzipFailure(QStringLiteral("remove the folder %1").arg(own))
                               : d->error;
        d->Discard();
        return d->Fail(message);
    }
    return d->Commit();
}

bool CZipPacker::RenameFile(const QString& oldInnerPath, const QString& newInnerPath) {
    d->BeginOperation();
    if (!d->EnsureOpen())
        return false;
    QString from;
    vz::ZipNameIndex& index = d->Names();
    const qint64 entry =
        vz::NormaliseInnerPath(oldInnerPath, &from) && !from.isEmpty() ? index.FindFile(from) : -1;
    if (entry < 0)
        return d->Fail(QStringLiteral("The file %1 does not exist in the archive %2.")
                           .arg(oldInnerPath, d->path));
    const qint64 pos = index.PositionOf(static_cast<zip_uint64_t>(entry));
    from = index.Entries()[static_cast<size_t>(pos)].path;
    QString to;
    const QString invalid = CheckNewPath(newInnerPath, &to);
    if (!invalid.isEmpty())
        return d->Fail(QStringLiteral("Cannot rename %1 to %2 in the archive %3: %4.")
                           .arg(from, newInnerPath, d->path, invalid));
    // In its own folder the entry keeps that folder's spelling; elsewhere it takes the
    // archive's spelling of the folders that exist.
    const QString target =
        SameFolder(vz::ParentPath(to), vz::ParentPath(from))
            ? vz::JoinPath(vz::ParentPath(from), vz::LastComponent(to))
            : vz::JoinPath(index.Respell(vz::ParentPath(to)), vz::LastComponent(to));
    if (target == from)
        return true;
    // Taken by another file, or by a folder, of that name in any case; the entry's own name
    // in another case is free.
    if (index.FindOtherFile(target, entry) >= 0 || index.FolderExists(target))
        return d->Fail(QStringLiteral("A file or folder named %1 already exists in the archive %2.")
                           .arg(to, d->path));
    for (QString parent = vz::ParentPath(target); !parent.isEmpty();
         parent = vz::ParentPath(parent)) {
        if (index.FindFile(parent) >= 0)
            return d->Fail(
                QStringLiteral("Cannot rename %1 to %2: the archive %3 holds a file named %4.")
                    .arg(from, to, d->path, parent));
    }
    const StoredName name = StoredNameOf(target);
    if (!d->KeepParent(from, {static_cast<size_t>(pos)}, {target}) ||
        zip_file_rename(d->za, static_cast<zip_uint64_t>(entry), name.bytes.constData(),
                        name.flags) != 0) {
        const QString message =
            d->error.isEmpty() ? d->LibzipFailure(QStringLiteral("rename %1").arg(from)) : d->error;
        d->Discard();
        return d->Fail(message);
    }
    return d->Commit();
}

bool CZipPacker::RenameFolder(const QString& oldInnerPath, const QString& newInnerPath) {
    d->BeginOperation();
    if (!d->EnsureOpen())
        return false;
    QString from;
    QString own;
    vz::ZipNameIndex& index = d->Names();
    if (!vz::NormaliseInnerPath(oldInnerPath, &from) || from.isEmpty() ||
        !index.FolderSpelling(from, &own))
        return d->Fail(QStringLiteral("The folder %1 does not exist in the archive %2.")
                           .arg(oldInnerPath, d->path));
    QString to;
    const QString invalid = CheckNewPath(newInnerPath, &to);
    if (!invalid.isEmpty())
        return d->Fail(QStringLiteral("Cannot rename %1 to %2 in the archive %3: %4.")
                           .arg(from, newInnerPath, d->path, invalid));
    if (to == from || to == own)
        return true;
    const QString foldedFrom = vz::ZipNameIndex::Fold(from);
    if (vz::ZipNameIndex::Fold(to).startsWith(foldedFrom + QLatin1Char('/')))
        return d->Fail(QStringLiteral("Cannot move the folder %1 into itself (%2).").arg(from, to));
    // Taken by a file or another folder of that name in any case; the folder's own name in
    // another case is free.
    if (index.FindFile(to) >= 0 || (!SameFolder(to, from) && index.FolderExists(to)))
        return d->Fail(QStringLiteral("A file or folder named %1 already exists in the archive %2.")
                           .arg(to, d->path));
    for (QString parent = vz::ParentPath(to); !parent.isEmpty(); parent = vz::ParentPath(parent)) {
        if (index.FindFile(parent) >= 0)
            return d->Fail(
                QStringLiteral("Cannot rename %1 to %2: the archive %3 holds a file named %4.")
                    .arg(from, to, d->path, parent));
    }
    // Every entry in the folder, whatever the case of its folder components. In the same
    // parent each keeps its own spelling of the parent; elsewhere they go below the archive's
    // spelling of the folders that exist.
    QSet<size_t> gone;
    for (size_t pos : index.Below(from))
        gone.insert(pos);
    for (size_t pos : index.FolderEntries(from))
        gone.insert(pos);
    const bool sameParent = SameFolder(vz::ParentPath(to), vz::ParentPath(from));
    const QString movedTo = vz::JoinPath(index.Respell(vz::ParentPath(to)), vz::LastComponent(to));
    const qsizetype parentLength =
        vz::ParentPath(from).isEmpty() ? 0 : vz::ParentPath(from).size() + 1;
    bool ok = d->KeepParent(own, gone, {movedTo});
    for (size_t pos : gone) {
        if (!ok)
            break;
        const vz::ZipNameIndex::Entry& e = index.Entries()[pos];
        // Folded paths are as long as the paths: the folder's part of e.path is from.size().
        QString target =
            (sameParent ? e.path.left(parentLength) + vz::LastComponent(to) : movedTo) +
            e.path.mid(from.size());
        if (e.folder)
            target += QLatin1Char('/');
        const StoredName name = StoredNameOf(target);
        ok = zip_file_rename(d->za, e.index, name.bytes.constData(), name.flags) == 0;
    }
    if (!ok) {
        const QString message =
            d->error.isEmpty() ? d->LibzipFailure(QStringLiteral("rename the folder %1").arg(own))
                               : d->error;
        d->Discard();
        return d->Fail(message);
    }
    return d->Commit();
}

bool CZipPacker::FileExists(const QString& innerPath) {
    d->error.clear();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    return vz::NormaliseInnerPath(innerPath, &clean) && !clean.isEmpty() &&
           d->Names().FindFile(clean) >= 0;
}

bool CZipPacker::FolderExists(const QString& innerPath) {
    d->error.clear();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    return vz::NormaliseInnerPath(innerPath, &clean) && !clean.isEmpty() &&
           d->Names().FolderExists(clean);
}

bool CZipPacker::GetFileInfo(ZIPFILEFULLINFO& info) {
    return GetFileInfo(info.path, info);
}

bool CZipPacker::GetFileInfo(const QString& innerPath, ZIPFILEFULLINFO& info) {
    d->error.clear();
    if (!d->EnsureOpen())
        return false;
    QString clean;
    if (!vz::NormaliseInnerPath(innerPath, &clean) || clean.isEmpty())
        return d->Fail(
            QStringLiteral("%1 does not exist in the archive %2.").arg(innerPath, d->path));
    return d->FillInfo(clean, info);
}

namespace vz {

bool IsWritableArchive(const QString& path, QString* reason) {
    CacheLocalTimeZone();
    QString why = FamilyRefusal(path);
    const platform::FileFacts facts = platform::ReadFacts(path);
    if (why.isEmpty() && facts.isFolder) {
        why = QStringLiteral("it is a folder");
    } else if (why.isEmpty() && facts.exists) {
        zip_error_t e;
        zip_error_init(&e);
        zip_source_t* source = CreateArchiveFileSource(ResolveLinks(path), false, &e);
        zip_t* za = source ? zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &e) : nullptr;
        if (za) {
            zip_discard(za);
        } else {
            if (source)
                zip_source_free(source);
            why = QStringLiteral("it is damaged or not a zip archive (%1)").arg(ZipReason(&e));
        }
        zip_error_fini(&e);
    }
    if (reason)
        *reason = why.isEmpty() ? QString() : why + QLatin1Char('.');
    return why.isEmpty();
}

}  // namespace vz
