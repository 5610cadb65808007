#pragma once
// How a drop of disk items onto the Archive Browser turns the user's settings into the
// packing record: which values are fixed and which are asked in the "Name and Compression
// Settings" dialog, what that dialog starts with, how its answers become INIPACK, the name of
// a new archive, and the text of the question before an existing file is replaced by a new
// archive.

#include <QString>
#include <QStringList>

#include "archive/packer/CZipPacker.h"
#include "common/Texts.h"

struct CSettingsRecord;

namespace vz::pack {

// The settings values that mean "ask before adding".
constexpr int kAskLevel = -2;
constexpr int kAskMethod = -1;
constexpr int kAskEncryptionMethod = -1;
// The level the dialog shows when the level is asked (or stored out of range).
constexpr int kDefaultLevel = 6;

// What the lists of the dialogs show, by the index the settings store: the compression
// methods (0 DEFLATE, 1 BZIP2), the levels 0 to 9 and the encryption methods ("Zip 2.0",
// "AES-128", "AES-192", "AES-256").
const QStringList& MethodTexts();
const QStringList& LevelTexts();
const QStringList& EncryptionMethodTexts();

// The zip method number of a method index: 0 gives 8 (DEFLATE), anything else 12 (BZIP2).
int ZipMethodNumber(int methodIndex);

// What the dialog starts with, and which of its controls may be changed.
struct NameAndLevelSetup {
    bool showDialog = false;
    QString archiveName;
    bool nameEnabled = false;
    int methodIndex = 0;  // 0 "DEFLATE", 1 "BZIP2"
    bool methodEnabled = false;
    int level = kDefaultLevel;  // 0..9
    bool levelEnabled = false;
    bool setPassword = false;  // "Set password" checked at the start
    int encryptionMethod = 0;  // 0..3
    bool encryptionMethodEnabled = false;
};

// `creating`: a new archive is made (else the items go into an existing one). `name`: the
// proposed name of the new archive, or the file name of the existing one. The dialog is
// shown when the level or the method is asked, and when a new archive is created with
// AskBeforeCreation on.
NameAndLevelSetup SetupNameAndLevel(const CSettingsRecord& settings, bool creating,
                                    const QString& name);

// The level and method in force when no dialog is shown: the fixed method's number, and the
// fixed level; a stored level above 9 is not taken over, so `lastLevel` stays in force (-1,
// the packer's default, is passed on as it is).
int FixedLevel(const CSettingsRecord& settings, int lastLevel);
int FixedMethod(const CSettingsRecord& settings);

// The two password fields of the dialog.
enum class PasswordVerdict {
    Off,       // "Set password" unchecked, or both fields empty: no encryption
    On,        // both fields hold the same password
    Mismatch,  // they differ: "Password does not match the confirm password."
};
PasswordVerdict CheckPasswords(bool setPassword, const QString& password, const QString& confirm);

// What one add uses: from the fixed settings or from the dialog.
struct PackChoice {
    int level = kDefaultLevel;
    int method = 8;  // zip method number
    bool encryptionOn = false;
    QString password;
    int encryptionMethod = 0;
    QString archiveName;  // as typed (creating only)
};

// The packing record: the "Pack" and "Interface" settings and the choice.
INIPACK FillIniPack(const CSettingsRecord& settings, bool newArchive, const PackChoice& choice);

// The proposed name of a new archive: the source's last path component without its
// extension (the text from its last "."). "report.txt" gives "report", "data" gives "data";
// a name that is all extension (".profile") is kept whole.
QString ProposedArchiveName(const QString& sourcePath);
// The name typed in the dialog with its extension, if any, cut at the last ".".
QString ArchiveBaseName(const QString& typed);
// target folder + "/" + name + ".zip"
QString NewArchivePath(const QString& targetFolder, const QString& baseName);

// The "Confirm Replace" question for an existing file where a new archive is to be made.
QString ReplaceArchiveQuestion(const QString& path, quint64 size, vz::FileTime modified);

}  // namespace vz::pack
