#pragma once
// The settings file velazip.ini: $XDG_CONFIG_HOME/Vela Systems/Vela-ZIP Archiver/velazip.ini.
//
// Every key has a read default (assumed when the key is missing, the member initialisers of
// CSettingsRecord) and a file default (written into a new file); where the two differ the
// difference is deliberate. Section and key names match without regard to case, unknown
// sections and keys survive a save, values are plain UTF-8 text of which the first 1024
// characters are read; an integer is read from its leading digits ("7x" is 7). An unreadable or
// malformed file yields the defaults; nothing here reports an error.

#include <QString>
#include <QStringList>

#include "settings/CSettingsRecord.h"

class CSettingsStore {
public:
    enum class SaveMode { CurrentValues, Defaults };

    // The seventeen "Additional archives" extensions, upper-case, without dots, in order:
    // CAB RAR JAR XAP 7Z 001 GZ GZIP BZ BZ2 BZIP2 TAR TGZ TBZ TBZ2 ISO EXE.
    static const QStringList& AdditionalArchiveExtensions();
    // The extensions that are always recognised, in this order at the head of the enabled
    // list: "ZIP" (zip archives cannot be switched off) and "ACE" (an ACE file is an archive,
    // although no unpacker reads it). Neither is a key of "Additional archives": both are
    // left out when the current values are saved.
    static const QStringList& AlwaysRecognisedExtensions();
    // The sixteen dotted extensions used for file associations (the list above without EXE).
    static const QStringList& AssociationExtensions();

    // Fills the record from the file, creating the folder chain and a file with the file
    // defaults first when they are missing. `appDataFolder` overrides $XDG_CONFIG_HOME.
    static void Load(CSettingsRecord& record, const QString& appDataFolder = QString());
    // Writes every key from the record (CurrentValues) or the file-default column (Defaults)
    // into record.SettingsFilePath; unknown keys already in the file are kept.
    static void Save(const CSettingsRecord& record, SaveMode mode);
};
