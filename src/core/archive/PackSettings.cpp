#include "archive/PackSettings.h"

#include "common/InnerPath.h"
#include "settings/CSettingsRecord.h"

namespace vz::pack {

namespace {

bool IsFixedLevel(int level) {
    return level >= 0 && level <= 9;
}

bool IsFixedEncryptionMethod(int method) {
    return method >= 0 && method <= 3;
}

}  // namespace

int ZipMethodNumber(int methodIndex) {
    return methodIndex == 0 ? 8 : 12;
}

NameAndLevelSetup SetupNameAndLevel(const CSettingsRecord& settings, bool creating,
                                    const QString& name) {
    NameAndLevelSetup setup;
    const bool askLevel = settings.CompressionLevel == kAskLevel;
    const bool askMethod = settings.CompressionMethod == kAskMethod;
    const bool askName = creating && settings.AskBeforeCreation;
    setup.showDialog = askLevel || askMethod || askName;

    setup.archiveName = name;
    setup.nameEnabled = askName;
    setup.level =
        IsFixedLevel(settings.CompressionLevel) ? settings.CompressionLevel : kDefaultLevel;
    setup.levelEnabled = askLevel;
    setup.methodIndex = settings.CompressionMethod == 1 ? 1 : 0;
    setup.methodEnabled = askMethod;
    setup.setPassword = settings.EnableEncryption;
    setup.encryptionMethod =
        IsFixedEncryptionMethod(settings.EncryptionMethod) ? settings.EncryptionMethod : 0;
    setup.encryptionMethodEnabled = settings.EncryptionMethod == kAskEncryptionMethod;
    return setup;
}

int FixedLevel(const CSettingsRecord& settings, int lastLevel) {
    const int stored = settings.CompressionLevel;
    if (stored > 9) {
        return lastLevel;
    }
    return stored;
}

int FixedMethod(const CSettingsRecord& settings) {
    return ZipMethodNumber(settings.CompressionMethod == 1 ? 1 : 0);
}

PasswordVerdict CheckPasswords(bool setPassword, const QString& password, const QString& confirm) {
    if (!setPassword || (password.isEmpty() && confirm.isEmpty())) {
        return PasswordVerdict::Off;
    }
    return password == confirm ? PasswordVerdict::On : PasswordVerdict::Mismatch;
}

INIPACK FillIniPack(const CSettingsRecord& settings, bool newArchive, const PackChoice& choice) {
    INIPACK ini;
    ini.RefreshArchiveBrowserTreeWithAddingOfEachItem =
        settings.RefreshArchiveBrowserTreeWithAddingOfEachItem;
    ini.NewArchive = newArchive;
    ini.PackFilesWithoutPaths = settings.PackFilesWithoutPaths;
    ini.PackFoldersWithoutPaths = settings.PackFoldersWithoutPaths;
    ini.AskBeforeUpdating = settings.AskBeforeUpdating;
    ini.CompressionLevel = choice.level;
    ini.CompressionMethod = choice.method;
    ini.EncryptionOn = choice.encryptionOn && !choice.password.isEmpty();
    ini.Password = ini.EncryptionOn ? choice.password : QString();
    ini.EncryptionMethod = choice.encryptionMethod;
    return ini;
}

const QStringList& MethodTexts() {
    static const QStringList texts{QStringLiteral("DEFLATE"), QStringLiteral("BZIP2")};
    return texts;
}

const QStringList& LevelTexts() {
    static const QStringList texts{
        QStringLiteral("0 - store"),   QStringLiteral("1 - best speed"),
        QStringLiteral("2"),           QStringLiteral("3"),
        QStringLiteral("4"),           QStringLiteral("5"),
        QStringLiteral("6 - default"), QStringLiteral("7"),
        QStringLiteral("8"),           QStringLiteral("9 - best compression")};
    return texts;
}

const QStringList& EncryptionMethodTexts() {
    static const QStringList texts{QStringLiteral("Zip 2.0"), QStringLiteral("AES-128"),
                                   QStringLiteral("AES-192"), QStringLiteral("AES-256")};
    return texts;
}

QString ProposedArchiveName(const QString& sourcePath) {
    QString name = sourcePath;
    while (name.size() > 1 && name.endsWith(QLatin1Char('/'))) {
        name.chop(1);
    }
    name = LastComponent(name);
    const QString base = ArchiveBaseName(name);
    // A name that is all extension (".profile") keeps it, so that the archive has a name.
    return base.isEmpty() ? name : base;
}

QString ArchiveBaseName(const QString& typed) {
    const int dot = static_cast<int>(typed.lastIndexOf(QLatin1Char('.')));
    return dot < 0 ? typed : typed.left(dot);
}

QString NewArchivePath(const QString& targetFolder, const QString& baseName) {
    QString folder = targetFolder;
    if (!folder.endsWith(QLatin1Char('/'))) {
        folder += QLatin1Char('/');
    }
    return folder + baseName + QStringLiteral(".zip");
}

QString ReplaceArchiveQuestion(const QString& path, quint64 size, vz::FileTime modified) {
    return QStringLiteral("Replace the existent file:\n\n") + path + QLatin1Char('\n') +
           vz::GroupDigits(size) + QStringLiteral(" bytes, ") + vz::FormatStatusTime(modified) +
           QStringLiteral("\n\nwith the created archive?");
}

}  // namespace vz::pack
