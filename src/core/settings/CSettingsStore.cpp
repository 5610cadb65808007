#include "settings/CSettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <limits>
#include <string>

#include "common/Texts.h"
#include "settings/IniFile.h"

namespace {

using R = CSettingsRecord;

// A settings file larger than this is not one of ours: it is read as if it were empty.
constexpr qint64 kMaxSettingsFileSize = 4 * 1024 * 1024;

enum class Kind {
    Flag,           // "Yes" (case ignored) is true, anything else false
    InvertedFlag,   // "No" (case ignored) is false, anything else true
    Integer,        // the leading decimal digits, a sign allowed ("7x" is 7); no digits: the
                    // read default
    HistoryLength,  // an integer from 5 to 20; anything else gives 5
    Path,           // free text, "Empty" for none
    Extensions,     // the whole "Additional archives" section
};

// One key of velazip.ini. The read default is assumed when the key is missing from the
// file; the file default is written into a new file. The member initialisers of
// CSettingsRecord agree with the read defaults.
struct Key {
    const char* section;
    const char* key;
    Kind kind;
    const char* readDefault;
    const char* fileDefault;
    bool R::*flag;
    int R::*number;
    QString R::*text;
};

constexpr Key MakeFlag(const char* s, const char* k, Kind kind, const char* rd, const char* fd,
                       bool R::*m) {
    return Key{s, k, kind, rd, fd, m, nullptr, nullptr};
}
constexpr Key MakeNumber(const char* s, const char* k, Kind kind, const char* rd, const char* fd,
                         int R::*m) {
    return Key{s, k, kind, rd, fd, nullptr, m, nullptr};
}
constexpr Key MakePath(const char* s, const char* k, const char* rd, const char* fd,
                       QString R::*m) {
    return Key{s, k, Kind::Path, rd, fd, nullptr, nullptr, m};
}

// The key name is the member name, so that the two cannot drift apart.
#define VZ_FLAG(section, name, rd, fd) MakeFlag(section, #name, Kind::Flag, rd, fd, &R::name)
#define VZ_INVERTED_FLAG(section, name, rd, fd) \
    MakeFlag(section, #name, Kind::InvertedFlag, rd, fd, &R::name)
#define VZ_INT(section, name, rd, fd) MakeNumber(section, #name, Kind::Integer, rd, fd, &R::name)
#define VZ_HISTORY(section, name, rd, fd) \
    MakeNumber(section, #name, Kind::HistoryLength, rd, fd, &R::name)
#define VZ_PATH(section, name, rd, fd) MakePath(section, #name, rd, fd, &R::name)

constexpr const char kCreation[] = "Creation and adding";
constexpr const char kEncryption[] = "Encryption";
constexpr const char kPack[] = "Pack";
constexpr const char kUnpack[] = "Unpack";
constexpr const char kSystem[] = "System";
constexpr const char kInterface[] = "Interface";
constexpr const char kAdditionalArchives[] = "Additional archives";
constexpr const char kShell[] = "Shell extension";
// Read and written always: the cloud drives exist on every system this program runs on.
constexpr const char kCloud[] = "CloudDrives";
constexpr const char kSpecial[] = "SpecialFolders";

// Table order is file order. Where read default and file default differ, the difference
// is deliberate: a new file turns on encryption and folder-less packing and unpacking, and
// turns off the per-item refresh, although a missing key reads the other way.
constexpr Key kKeys[] = {
    VZ_FLAG(kCreation, AskBeforeCreation, "No", "No"),
    VZ_INT(kCreation, CompressionLevel, "-1", "-1"),
    VZ_INT(kCreation, CompressionMethod, "0", "0"),
    VZ_FLAG(kEncryption, EnableEncryption, "No", "Yes"),
    VZ_INT(kEncryption, EncryptionMethod, "0", "0"),
    VZ_FLAG(kPack, PackFilesWithoutPaths, "Yes", "Yes"),
    VZ_FLAG(kPack, PackFoldersWithoutPaths, "No", "Yes"),
    VZ_FLAG(kPack, AskBeforeUpdating, "Yes", "Yes"),
    VZ_FLAG(kUnpack, UnpackFilesWithoutPaths, "Yes", "Yes"),
    VZ_FLAG(kUnpack, UnpackFoldersWithoutPaths, "No", "Yes"),
    VZ_FLAG(kUnpack, UnpackArchivesWithoutPaths, "No", "No"),
    VZ_FLAG(kUnpack, AskBeforeOverwriting, "Yes", "Yes"),
    VZ_FLAG(kSystem, EnableDraggingFromArchiveToOtherApplications, "Yes", "Yes"),
    VZ_FLAG(kSystem, EnableDraggingToArchiveFromOtherApplications, "Yes", "Yes"),
    VZ_FLAG(kSystem, EnableDoubleClickToOpenAFileFromArchive, "Yes", "Yes"),
    VZ_FLAG(kInterface, RefreshArchiveBrowserTreeWithAddingOfEachItem, "Yes", "No"),
    VZ_FLAG(kInterface, RefreshFileBrowserTreeWithAddingOfEachItem, "Yes", "No"),
    VZ_INT(kInterface, DraggingImageForModeClearType, "2", "2"),
    VZ_FLAG(kInterface, EnableShowTooltipForToolbars, "Yes", "Yes"),
    VZ_INVERTED_FLAG(kInterface, EnableShowTooltipForBackOrForwardMenu, "No", "No"),
    VZ_FLAG(kInterface, EnableShowTooltipForBookmarksMenu, "Yes", "Yes"),
    VZ_HISTORY(kInterface, ArchiveHistoryStepsShown, "5", "5"),
    VZ_HISTORY(kInterface, FileHistoryStepsShown, "5", "5"),
    // Every extension key reads "1" when missing; a new file gets "1", but "0" for EXE.
    Key{kAdditionalArchives, nullptr, Kind::Extensions, "1", "1", nullptr, nullptr, nullptr},
    VZ_FLAG(kShell, AddToArchive, "Yes", "Yes"),
    VZ_FLAG(kShell, AddToArchiveFileName, "Yes", "Yes"),
    VZ_FLAG(kShell, AddToArchiveAndEMail, "Yes", "Yes"),
    VZ_FLAG(kShell, AddToArchiveFileNameAndEMail, "Yes", "Yes"),
    VZ_FLAG(kShell, ExtractTo, "Yes", "Yes"),
    VZ_FLAG(kShell, ExtractHere, "Yes", "Yes"),
    VZ_FLAG(kShell, ExtractToFolderName, "Yes", "Yes"),
    VZ_FLAG(kShell, ExtractHereUsingFileNamesForFolders, "Yes", "Yes"),
    VZ_FLAG(kShell, CascadedMenu, "Yes", "Yes"),
    VZ_FLAG(kShell, ShowIcons, "Yes", "Yes"),
    VZ_FLAG(kCloud, EnableOneDrive, "No", "No"),
    VZ_PATH(kCloud, OneDriveUserFolder, "Empty", "Empty"),
    VZ_FLAG(kCloud, EnableDropbox, "No", "No"),
    VZ_PATH(kCloud, DropboxUserFolder, "Empty", "Empty"),
    VZ_FLAG(kCloud, EnableGoogleDrive, "No", "No"),
    VZ_PATH(kCloud, GoogleDriveUserFolder, "Empty", "Empty"),
    VZ_FLAG(kSpecial, EnableDownloads, "No", "No"),
    VZ_PATH(kSpecial, DownloadsUserFolder, "Empty", "Empty"),
    VZ_FLAG(kSpecial, EnableDocuments, "No", "No"),
    VZ_PATH(kSpecial, DocumentsUserFolder, "Empty", "Empty"),
    VZ_FLAG(kSpecial, EnableMusic, "No", "No"),
    VZ_PATH(kSpecial, MusicUserFolder, "Empty", "Empty"),
    VZ_FLAG(kSpecial, EnablePictures, "No", "No"),
    VZ_PATH(kSpecial, PicturesUserFolder, "Empty", "Empty"),
    VZ_FLAG(kSpecial, EnableVideos, "No", "No"),
    VZ_PATH(kSpecial, VideosUserFolder, "Empty", "Empty"),
};

#undef VZ_FLAG
#undef VZ_INVERTED_FLAG
#undef VZ_INT
#undef VZ_HISTORY
#undef VZ_PATH

constexpr int kMinHistory = 5;
constexpr int kMaxHistory = 20;

const QString kExe = QStringLiteral("EXE");

// Never written to "Additional archives" and never switched off.
bool AlwaysRecognised(const QString& ext) {
    for (const QString& always : CSettingsStore::AlwaysRecognisedExtensions())
        if (vz::EqualsNoCase(ext, always))
            return true;
    return false;
}

// A profile value holds at most this many characters; the rest of a longer one is not read.
constexpr int kMaxValueLength = 1024;

// As the profile functions read an integer: leading blanks, an optional sign, then the
// decimal digits up to the first other character ("7x" is 7, "-3 steps" is -3). A text
// without digits, or a number beyond the range of int, gives the read default.
int ParseInteger(const QString& text, const char* readDefault) {
    const int fallback = QByteArray(readDefault).toInt();
    const QString t = text.trimmed();
    int i = 0;
    const bool negative = i < t.size() && t.at(i) == QLatin1Char('-');
    if (i < t.size() && (t.at(i) == QLatin1Char('-') || t.at(i) == QLatin1Char('+')))
        ++i;
    const int firstDigit = i;
    qint64 value = 0;
    for (; i < t.size() && t.at(i) >= QLatin1Char('0') && t.at(i) <= QLatin1Char('9'); ++i) {
        value = value * 10 + (t.at(i).unicode() - u'0');
        if (value > qint64(std::numeric_limits<int>::max()) + 1)
            return fallback;
    }
    if (i == firstDigit)
        return fallback;
    value = negative ? -value : value;
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        return fallback;
    return static_cast<int>(value);
}

QString ReadText(const CIniFile& ini, const char* section, const char* key, const char* dflt) {
    return QString::fromUtf8(ini.GetValue(section, key, dflt)).left(kMaxValueLength);
}

void ReadKey(const CIniFile& ini, const Key& k, R& record) {
    switch (k.kind) {
        case Kind::Flag:
            record.*k.flag = vz::EqualsNoCase(ReadText(ini, k.section, k.key, k.readDefault),
                                              QStringLiteral("Yes"));
            break;
        case Kind::InvertedFlag:
            record.*k.flag = !vz::EqualsNoCase(ReadText(ini, k.section, k.key, k.readDefault),
                                               QStringLiteral("No"));
            break;
        case Kind::Integer:
            record.*k.number =
                ParseInteger(ReadText(ini, k.section, k.key, k.readDefault), k.readDefault);
            break;
        case Kind::HistoryLength: {
            const int n =
                ParseInteger(ReadText(ini, k.section, k.key, k.readDefault), k.readDefault);
            record.*k.number = (n < kMinHistory || n > kMaxHistory) ? kMinHistory : n;
            break;
        }
        case Kind::Path:
            record.*k.text = ReadText(ini, k.section, k.key, k.readDefault);
            break;
        case Kind::Extensions:
            record.EnabledExtensions = CSettingsStore::AlwaysRecognisedExtensions();
            record.DisabledExtensions.clear();
            for (const QString& ext : CSettingsStore::AdditionalArchiveExtensions()) {
                const QString value =
                    ReadText(ini, k.section, ext.toUtf8().constData(), k.readDefault);
                if (value.trimmed() == QLatin1String("1"))
                    record.EnabledExtensions << ext;
                else
                    record.DisabledExtensions << ext;
            }
            break;
    }
}

void SetText(CIniFile& ini, const char* section, const char* key, const QString& value) {
    ini.SetValue(section, key, value.toUtf8().constData());
}

QString FlagText(bool on) {
    return on ? QStringLiteral("Yes") : QStringLiteral("No");
}

void WriteCurrent(CIniFile& ini, const Key& k, const R& record) {
    switch (k.kind) {
        case Kind::Flag:
        case Kind::InvertedFlag:
            SetText(ini, k.section, k.key, FlagText(record.*k.flag));
            break;
        case Kind::Integer:
        case Kind::HistoryLength:
            SetText(ini, k.section, k.key, QString::number(record.*k.number));
            break;
        case Kind::Path:
            SetText(ini, k.section, k.key, record.*k.text);
            break;
        case Kind::Extensions:
            // Zip and ACE archives cannot be switched off: their keys are never written.
            for (const QString& ext : record.EnabledExtensions) {
                if (!AlwaysRecognised(ext))
                    SetText(ini, k.section, ext.toUpper().toUtf8().constData(),
                            QStringLiteral("1"));
            }
            for (const QString& ext : record.DisabledExtensions) {
                if (!AlwaysRecognised(ext))
                    SetText(ini, k.section, ext.toUpper().toUtf8().constData(),
                            QStringLiteral("0"));
            }
            break;
    }
}

void WriteDefault(CIniFile& ini, const Key& k) {
    if (k.kind != Kind::Extensions) {
        ini.SetValue(k.section, k.key, k.fileDefault);
        return;
    }
    // Self-extracting executables are not archives until the user turns them on.
    for (const QString& ext : CSettingsStore::AdditionalArchiveExtensions())
        SetText(ini, k.section, ext.toUtf8().constData(),
                ext == kExe ? QStringLiteral("0") : QString::fromLatin1(k.fileDefault));
}

enum class ReadResult { Missing, Unreadable, Read };

// Parses the file into `ini`. Anything that is not a readable regular file of sensible size
// leaves `ini` empty, so that every key reads its default.
ReadResult ReadFile(const QString& path, CIniFile& ini) {
    const QFileInfo info(path);
    if (!info.exists())
        return ReadResult::Missing;
    if (!info.isFile() || info.size() > kMaxSettingsFileSize)
        return ReadResult::Unreadable;
    if (!LoadIniFile(path, ini, kMaxSettingsFileSize))
        return ReadResult::Unreadable;
    return ReadResult::Read;
}

}  // namespace

const QStringList& CSettingsStore::AdditionalArchiveExtensions() {
    static const QStringList list{
        QStringLiteral("CAB"), QStringLiteral("RAR"),   QStringLiteral("JAR"),
        QStringLiteral("XAP"), QStringLiteral("7Z"),    QStringLiteral("001"),
        QStringLiteral("GZ"),  QStringLiteral("GZIP"),  QStringLiteral("BZ"),
        QStringLiteral("BZ2"), QStringLiteral("BZIP2"), QStringLiteral("TAR"),
        QStringLiteral("TGZ"), QStringLiteral("TBZ"),   QStringLiteral("TBZ2"),
        QStringLiteral("ISO"), QStringLiteral("EXE")};
    return list;
}

const QStringList& CSettingsStore::AlwaysRecognisedExtensions() {
    static const QStringList list{QStringLiteral("ZIP"), QStringLiteral("ACE")};
    return list;
}

const QStringList& CSettingsStore::AssociationExtensions() {
    static const QStringList list = [] {
        QStringList out;
        for (const QString& ext : AdditionalArchiveExtensions()) {
            if (ext != kExe)
                out << QLatin1Char('.') + ext;
        }
        return out;
    }();
    return list;
}

void CSettingsStore::Load(CSettingsRecord& record, const QString& appDataFolder) {
    record.AppDataFolder =
        appDataFolder.isEmpty()
            ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            : appDataFolder;
    record.SettingsFilePath.clear();
    if (!record.AppDataFolder.isEmpty()) {
        const QString folder =
            record.AppDataFolder + QStringLiteral("/Vela Systems/Vela-ZIP Archiver");
        if (!QFileInfo(folder).isDir())
            QDir().mkpath(folder);
        record.SettingsFilePath = folder + QStringLiteral("/velazip.ini");
        if (!QFileInfo(record.SettingsFilePath).exists() &&
            !QFileInfo(record.SettingsFilePath).isSymLink())
            Save(record, SaveMode::Defaults);
    }

    CIniFile ini;
    if (!record.SettingsFilePath.isEmpty())
        ReadFile(record.SettingsFilePath, ini);
    for (const Key& k : kKeys)
        ReadKey(ini, k, record);
}

void CSettingsStore::Save(const CSettingsRecord& record, SaveMode mode) {
    const QString& path = record.SettingsFilePath;
    if (path.isEmpty())
        return;

    // Keep what the file holds beyond our keys. A file that exists but cannot be read, or
    // that the user made read-only, is left as it is.
    CIniFile ini;
    if (ReadFile(path, ini) == ReadResult::Unreadable) {
        const QFileInfo info(path);
        if (!info.isFile() || !info.isReadable())
            return;
        ini.Reset();  // junk in place of a settings file: replaced by a clean one
    }
    if (QFileInfo(path).exists() && !QFileInfo(path).isWritable())
        return;

    for (const Key& k : kKeys) {
        if (mode == SaveMode::Defaults)
            WriteDefault(ini, k);
        else
            WriteCurrent(ini, k, record);
    }

    std::string text;
    if (ini.Save(text, /*a_bAddSignature=*/false) < 0)
        return;
    // Written beside the old file and renamed over it: a failed write keeps the old file.
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        return;
    if (out.write(text.data(), static_cast<qint64>(text.size())) !=
        static_cast<qint64>(text.size())) {
        out.cancelWriting();
        return;
    }
    out.commit();
}
