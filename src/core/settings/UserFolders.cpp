#include "settings/UserFolders.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/Texts.h"
#include "platform/FileSystem.h"

namespace vz::userfolders {

namespace {

// The settings record's enable flag and user folder of each root, in Root order.
struct SettingMembers {
    bool CSettingsRecord::*enabled;
    QString CSettingsRecord::*userFolder;
};
constexpr SettingMembers kMembers[kRootCount] = {
    {&CSettingsRecord::EnableOneDrive, &CSettingsRecord::OneDriveUserFolder},
    {&CSettingsRecord::EnableDropbox, &CSettingsRecord::DropboxUserFolder},
    {&CSettingsRecord::EnableGoogleDrive, &CSettingsRecord::GoogleDriveUserFolder},
    {&CSettingsRecord::EnableDownloads, &CSettingsRecord::DownloadsUserFolder},
    {&CSettingsRecord::EnableDocuments, &CSettingsRecord::DocumentsUserFolder},
    {&CSettingsRecord::EnableMusic, &CSettingsRecord::MusicUserFolder},
    {&CSettingsRecord::EnablePictures, &CSettingsRecord::PicturesUserFolder},
    {&CSettingsRecord::EnableVideos, &CSettingsRecord::VideosUserFolder},
};

const SettingMembers& MembersOf(Root root) {
    return kMembers[static_cast<int>(root)];
}

// Whether `path` is an absolute path naming a folder (or a link to one).
bool IsExistingFolder(const QString& path) {
    return QDir::isAbsolutePath(path) && platform::ReadFacts(path).isFolder;
}

// The value of one base64 character, or -1 for anything outside the standard alphabet.
int Base64Value(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

// Decodes base64 up to the first character outside the alphabet ("=", the line break, ...);
// a short last group of two or three characters gives one or two bytes.
QByteArray DecodeBase64Prefix(const QByteArray& text) {
    QByteArray out;
    quint32 bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = Base64Value(c);
        if (value < 0)
            break;
        bits = (bits << 6) | static_cast<quint32>(value);
        if (++count == 4) {
            out.append(static_cast<char>((bits >> 16) & 0xFF));
            out.append(static_cast<char>((bits >> 8) & 0xFF));
            out.append(static_cast<char>(bits & 0xFF));
            bits = 0;
            count = 0;
        }
    }
    if (count >= 2) {
        bits <<= 6 * (4 - count);
        out.append(static_cast<char>((bits >> 16) & 0xFF));
        if (count == 3)
            out.append(static_cast<char>((bits >> 8) & 0xFF));
    }
    return out;
}

// The contents of a small text file, or empty when it cannot be read.
QByteArray ReadSmallFile(const QString& path) {
    QFile file;
    if (!platform::OpenForReading(file, path))
        return {};
    return file.read(1 << 20);
}

QString HomeFolder() {
    return QDir::homePath();
}

QString ConfigHome() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString LookUpOneDrive() {
    const QString home = HomeFolder();
    const QString config = ConfigHome();
    if (!config.isEmpty()) {
        const QString found = OneDriveFolderFromConfig(
            ReadSmallFile(config + QStringLiteral("/onedrive/config")), home);
        if (!found.isEmpty())
            return found;
    }
    const QString fallback = home + QStringLiteral("/OneDrive");
    return IsExistingFolder(fallback) ? fallback : QString();
}

QString LookUpDropbox() {
    QStringList candidates;
    const QString config = ConfigHome();
    if (!config.isEmpty())
        candidates << config + QStringLiteral("/Dropbox/host.db");
    candidates << HomeFolder() + QStringLiteral("/.dropbox/host.db");
    for (const QString& path : candidates) {
        if (platform::ReadFacts(path).isFile)
            return DropboxFolderFromHostDb(ReadSmallFile(path));
    }
    return {};
}

QString LookUpGoogleDrive() {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        return {};
    const QString path = data + QStringLiteral("/Google/Drive/sync_config.db");
    if (!platform::ReadFacts(path).isFile)
        return {};
    sqlite3* db = nullptr;
    QString value;
    if (sqlite3_open_v2(platform::EncodePath(path).constData(), &db, SQLITE_OPEN_READONLY,
                        nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db,
                               "select data_value from data where entry_key = "
                               "'local_sync_root_path'",
                               -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            const auto* text = sqlite3_column_text(statement, 0);
            if (text)
                value = QString::fromUtf8(reinterpret_cast<const char*>(text)).mid(4);
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return value;
}

QString LookUpStandard(QStandardPaths::StandardLocation location) {
    const QString folder = QStandardPaths::writableLocation(location);
    if (folder.isEmpty() || !IsExistingFolder(folder) ||
        QDir::cleanPath(folder) == QDir::cleanPath(HomeFolder()))
        return {};
    return folder;
}

QString ErrnoText() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

}  // namespace

const std::vector<RootInfo>& AllRoots() {
    static const std::vector<RootInfo> roots{
        {Root::OneDrive, "OneDrive", "OneDrive", "Enable OneDrive", true},
        {Root::Dropbox, "Dropbox", "Dropbox", "Enable Dropbox", true},
        {Root::GoogleDrive, "Google Drive", "GoogleDrive", "Enable Coogle Drive", true},
        {Root::Downloads, "Downloads", "Downloads", "Enable Downloads", false},
        {Root::Documents, "Documents", "Documents", "Enable Documents", false},
        {Root::Music, "Music", "Music", "Enable Music", false},
        {Root::Pictures, "Pictures", "Pictures", "Enable Pictures", false},
        {Root::Videos, "Videos", "Videos", "Enable Videos", false},
    };
    return roots;
}

const RootInfo& InfoOf(Root root) {
    return AllRoots()[static_cast<size_t>(root)];
}

bool IsEnabled(const CSettingsRecord& settings, Root root) {
    return settings.*(MembersOf(root).enabled);
}

QString UserFolderSetting(const CSettingsRecord& settings, Root root) {
    return settings.*(MembersOf(root).userFolder);
}

void SetSetting(CSettingsRecord& settings, Root root, bool enabled, const QString& userFolder) {
    settings.*(MembersOf(root).enabled) = enabled;
    settings.*(MembersOf(root).userFolder) = userFolder;
}

QString LookUp(Root root) {
    switch (root) {
        case Root::OneDrive:
            return LookUpOneDrive();
        case Root::Dropbox:
            return LookUpDropbox();
        case Root::GoogleDrive:
            return LookUpGoogleDrive();
        case Root::Downloads:
            return LookUpStandard(QStandardPaths::DownloadLocation);
        case Root::Documents:
            return LookUpStandard(QStandardPaths::DocumentsLocation);
        case Root::Music:
            return LookUpStandard(QStandardPaths::MusicLocation);
        case Root::Pictures:
            return LookUpStandard(QStandardPaths::PicturesLocation);
        case Root::Videos:
            return LookUpStandard(QStandardPaths::MoviesLocation);
    }
    return {};
}

QString DropboxFolderFromHostDb(const QByteArray& hostDbContents) {
    // Lines are read in pieces of at most 2048 bytes, the line break included.
    constexpr qsizetype kMaxLine = 2048;
    auto lineEnd = [&](qsizetype start) {
        const qsizetype newline = hostDbContents.indexOf('\n', start);
        const qsizetype end = newline < 0 ? hostDbContents.size() : newline + 1;
        return std::min(end, start + kMaxLine);
    };
    const qsizetype second = lineEnd(0);
    if (second >= hostDbContents.size())
        return {};
    const QByteArray line = hostDbContents.mid(second, lineEnd(second) - second);
    return platform::DecodePath(DecodeBase64Prefix(line));
}

QString OneDriveFolderFromConfig(const QByteArray& configContents, const QString& home) {
    QString found;
    for (const QByteArray& rawLine : configContents.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0 || line.left(equals).trimmed() != QLatin1String("sync_dir"))
            continue;
        QString value = line.mid(equals + 1).trimmed();
        if (value.startsWith(QLatin1Char('"')) || value.startsWith(QLatin1Char('\''))) {
            const qsizetype close = value.indexOf(value[0], 1);
            if (close < 0)
                continue;  // an unterminated quote is no value
            value = value.mid(1, close - 1);
        } else {
            const qsizetype hash = value.indexOf(QLatin1Char('#'));
            if (hash >= 0)
                value = value.left(hash).trimmed();
        }
        if (value == QLatin1String("~") || value.startsWith(QLatin1String("~/")))
            value = home + value.mid(1);
        found = value;  // a later line overrides an earlier one
    }
    return found;
}

QString MarkerFolder(const QString& appDataFolder, bool cloud) {
    if (appDataFolder.isEmpty())
        return {};
    return appDataFolder + QStringLiteral("/Vela Systems/Vela-ZIP Archiver/") +
           (cloud ? QStringLiteral("CloudDrives") : QStringLiteral("SpecialFolders"));
}

QString MarkerLink(const QString& appDataFolder, Root root) {
    const QString folder = MarkerFolder(appDataFolder, InfoOf(root).cloud);
    if (folder.isEmpty())
        return {};
    return folder + QLatin1Char('/') + QLatin1String(InfoOf(root).linkName);
}

bool MakeLink(const QString& appDataFolder, Root root, const QString& userFolder, QString* reason) {
    const QString folder = MarkerFolder(appDataFolder, InfoOf(root).cloud);
    if (folder.isEmpty()) {
        if (reason)
            *reason = QStringLiteral("The application-data folder is unknown.");
        return false;
    }
    if (!platform::MakePath(folder)) {
        if (reason)
            *reason = QStringLiteral("The folder %1 cannot be made: %2")
                          .arg(platform::DisplayPath(folder), ErrnoText());
        return false;
    }
    RemoveLink(appDataFolder, root);
    const QString link = MarkerLink(appDataFolder, root);
    if (::symlink(platform::EncodePath(userFolder).constData(),
                  platform::EncodePath(link).constData()) != 0) {
        if (reason)
            *reason = QStringLiteral("The link %1 cannot be made: %2")
                          .arg(platform::DisplayPath(link), ErrnoText());
        return false;
    }
    return true;
}

void RemoveLink(const QString& appDataFolder, Root root) {
    const QString link = MarkerLink(appDataFolder, root);
    if (link.isEmpty())
        return;
    const QByteArray bytes = platform::EncodePath(link);
    struct stat st {};
    if (::lstat(bytes.constData(), &st) != 0)
        return;
    if (S_ISLNK(st.st_mode))
        ::unlink(bytes.constData());
    else if (S_ISDIR(st.st_mode))
        ::rmdir(bytes.constData());  // only an empty folder goes
}

namespace {

bool AnyEnabled(const CSettingsRecord& settings, bool cloud) {
    for (const RootInfo& info : AllRoots()) {
        if (info.cloud == cloud && IsEnabled(settings, info.root))
            return true;
    }
    return false;
}

void AppendRecords(const CSettingsRecord& settings, bool cloud, std::vector<RootRecord>& out) {
    const QString folder = MarkerFolder(settings.AppDataFolder, cloud);
    if (folder.isEmpty())
        return;
    CSortStringArray markers;
    platform::ScanFolder(folder, [&](const platform::DirEntry& entry) {
        if (entry.kind == platform::DirEntry::Kind::Folder || entry.linkToFolder)
            markers << folder + QLatin1Char('/') + entry.name;
        return true;
    });
    markers.Sort();
    for (const QString& marker : markers) {
        const QString name = platform::FileNameOf(marker);
        for (const RootInfo& info : AllRoots()) {
            if (info.cloud != cloud || !EqualsNoCase(name, QLatin1String(info.linkName)))
                continue;
            const QString userFolder = UserFolderSetting(settings, info.root);
            if (IsEnabled(settings, info.root) && IsExistingFolder(userFolder))
                out.push_back(RootRecord{info.root, marker, userFolder});
            break;
        }
    }
}

}  // namespace

bool CloudDrivesSwitchedOn(const CSettingsRecord& settings) {
    return AnyEnabled(settings, true);
}

bool SpecialFoldersSwitchedOn(const CSettingsRecord& settings) {
    return AnyEnabled(settings, false);
}

std::vector<RootRecord> BuildRecords(const CSettingsRecord& settings) {
    std::vector<RootRecord> records;
    if (CloudDrivesSwitchedOn(settings))
        AppendRecords(settings, true, records);
    if (SpecialFoldersSwitchedOn(settings))
        AppendRecords(settings, false, records);
    return records;
}

}  // namespace vz::userfolders
