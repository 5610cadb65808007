#include "ShellMenus.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include "FileAssociations.h"

namespace vz::desktop {

namespace {

const QString kProductName = QStringLiteral("Vela-ZIP Archiver");
// The second line of each Nautilus script: how a script of ours is told from a foreign one
// of the same name.
const QByteArray kScriptMark = "# Vela-ZIP Archiver context-menu item";

struct Item {
    ShellAction action;
    const char* option;
    bool CSettingsRecord::*key;
    // The label where the file manager shows a fixed text (Dolphin, Nautilus): the item's
    // own name, placeholders included, as the "Shell Extension" page lists it.
    const char* label;
    // Nemo puts the first selected item's name into a label: %f is the name, %e the name
    // without its extension.
    const char* nemoLabel;
    bool extract;  // shown for archives only
};

const Item kItems[] = {
    {ShellAction::AddToArchive, "--add-to-archive", &CSettingsRecord::AddToArchive,
     "Add to archive...", "Add to archive...", false},
    {ShellAction::AddToArchiveFileName, "--add-to-zip", &CSettingsRecord::AddToArchiveFileName,
     "Add to archive <file name>.zip", "Add to archive %f.zip", false},
    {ShellAction::AddToArchiveAndEMail, "--add-to-archive-and-email",
     &CSettingsRecord::AddToArchiveAndEMail, "Add to archive and e-mail...",
     "Add to archive and e-mail...", false},
    {ShellAction::AddToArchiveFileNameAndEMail, "--add-to-zip-and-email",
     &CSettingsRecord::AddToArchiveFileNameAndEMail, "Add to archive <file name>.zip and e-mail",
     "Add to archive %f.zip and e-mail", false},
    {ShellAction::ExtractTo, "--extract-to", &CSettingsRecord::ExtractTo, "Extract to...",
     "Extract to...", true},
    {ShellAction::ExtractHere, "--extract-here", &CSettingsRecord::ExtractHere, "Extract here",
     "Extract here", true},
    {ShellAction::ExtractToFolderName, "--extract-to-folder", &CSettingsRecord::ExtractToFolderName,
     "Extract to <folder name>", "Extract to %e", true},
    {ShellAction::ExtractHereUsingFileNamesForFolders, "--extract-each-to-folder",
     &CSettingsRecord::ExtractHereUsingFileNamesForFolders,
     "Extract here using file names for folders", "Extract here using file names for folders",
     true},
};
constexpr int kItemCount = int(sizeof kItems / sizeof kItems[0]);

QString DataHome() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}
QString DolphinFolder() {
    return DataHome() + QLatin1String("/kio/servicemenus");
}
QString NautilusFolder() {
    return DataHome() + QLatin1String("/nautilus/scripts");
}
QString NautilusSubMenu() {
    return NautilusFolder() + QLatin1Char('/') + kProductName;
}
QString NemoFolder() {
    return DataHome() + QLatin1String("/nemo/actions");
}
// Two service menus: Dolphin matches the types of a whole file, and the add items take any
// file or folder while the extract items take archives. Both name the same sub-menu, which
// Dolphin shows once.
QString DolphinFile(bool extract) {
    return DolphinFolder() + (extract ? QLatin1String("/velazip-extract.desktop")
                                      : QLatin1String("/velazip-add.desktop"));
}
QString NautilusFile(const Item& item, bool cascaded) {
    return (cascaded ? NautilusSubMenu() : NautilusFolder()) + QLatin1Char('/') +
           QLatin1String(item.label);
}
// Numbered so that Nemo, which orders actions by file name, keeps the items' order.
QString NemoFile(int index) {
    return NemoFolder() + QStringLiteral("/velazip-%1-%2.nemo_action")
                              .arg(index + 1)
                              .arg(QLatin1String(kItems[index].option + 2));
}

QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The program as the first word of a command for the shell (a Nautilus script) and for
// GLib's command-line splitting (a Nemo action): single quotes, a quote inside as '\''. Nemo
// reads "%" as the start of a token, "%%" as a percent sign.
QString SingleQuoted(const QString& text) {
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}
QString NemoProgram(const QString& program) {
    return SingleQuoted(QString(program).replace(QLatin1Char('%'), QLatin1String("%%")));
}

// How each of our files starts the program: the prefix of its command lines.
QString DolphinCommand(const QString& program) {
    return QLatin1String("Exec=") + ExecArgument(program);
}
QString NautilusCommand(const QString& program) {
    return QLatin1String("exec ") + SingleQuoted(program);
}
QString NemoCommand(const QString& program) {
    return QLatin1String("Exec=") + NemoProgram(program);
}

QByteArray DolphinMenu(const QString& program, const CSettingsRecord& settings, bool extract) {
    QString actions, groups;
    for (int i = 0; i < kItemCount; ++i) {
        const Item& item = kItems[i];
        if (item.extract != extract || !(settings.*item.key)) {
            continue;
        }
        const QString id = QStringLiteral("velazip%1").arg(i + 1);
        actions += id + QLatin1Char(';');
        groups += QLatin1String("\n[Desktop Action ") + id + QLatin1String("]\nName=") +
                  QLatin1String(item.label) + QLatin1Char('\n');
        if (settings.ShowIcons) {
            groups += QLatin1String("Icon=velazip\n");
        }
        groups += DolphinCommand(program) + QLatin1Char(' ') + QLatin1String(item.option) +
                  QLatin1String(" %F\n");
    }
    // A desktop entry of type Application (hidden, outside the applications folder) rather
    // than the older "Service": Dolphin reads Actions, MimeType and the X-KDE keys either
    // way, and the desktop-file validator accepts only this form. application/octet-stream
    // is Dolphin's and Qt's parent of every file type.
    QString menu = QStringLiteral(
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Vela-ZIP Archiver\n"
        "NoDisplay=true\n");
    menu += DolphinCommand(program) + QLatin1Char('\n');
    menu += QLatin1String("MimeType=") +
            (extract ? ArchiveMimeTypes().join(QLatin1Char(';'))
                     : QStringLiteral("application/octet-stream;inode/directory")) +
            QLatin1String(";\n");
    menu += QLatin1String("Actions=") + actions + QLatin1Char('\n');
    menu += QLatin1String("X-KDE-Priority=TopLevel\n");
    if (settings.CascadedMenu) {
        menu += QLatin1String("X-KDE-Submenu=") + kProductName + QLatin1Char('\n');
    }
    return (menu + groups).toUtf8();
}

// Nautilus starts a script in the current folder with the selected items as its arguments
// (names relative to that folder); "$@" hands them over untouched, whatever they hold.
QByteArray NautilusScript(const QString& program, const Item& item) {
    return "#!/bin/sh\n" + kScriptMark + "\n" +
           (NautilusCommand(program) + QLatin1Char(' ') + QLatin1String(item.option) +
            QLatin1String(" \"$@\"\n"))
               .toUtf8();
}

// Nemo splits the command line as GLib does (no expansions) after putting in the selected
// items: as URIs (%U), whose escapes leave no blank, quote, backslash or newline, each in
// double quotes. The program takes file URIs as well as paths.
QByteArray NemoAction(const QString& program, const CSettingsRecord& settings, const Item& item) {
    QString action =
        QStringLiteral("[Nemo Action]\nName=") + QLatin1String(item.nemoLabel) + QLatin1Char('\n');
    action += NemoCommand(program) + QLatin1Char(' ') + QLatin1String(item.option) +
              QLatin1String(" %U\nQuote=double\nSelection=notnone\n");
    action += QLatin1String("Extensions=") +
              (item.extract ? ArchiveExtensions().join(QLatin1Char(';')) : QStringLiteral("any")) +
              QLatin1String(";\n");
    if (settings.ShowIcons) {
        action += QLatin1String("Icon-Name=velazip\n");
    }
    return action.toUtf8();
}

bool IsOurScript(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    file.readLine();
    return file.readLine().trimmed() == kScriptMark;
}

// Every file of ours that is there now.
QStringList OurFiles() {
    QStringList files;
    for (const bool extract : {false, true}) {
        if (QFileInfo::exists(DolphinFile(extract))) {
            files << DolphinFile(extract);
        }
    }
    for (int i = 0; i < kItemCount; ++i) {
        for (const bool cascaded : {false, true}) {
            const QString script = NautilusFile(kItems[i], cascaded);
            if (IsOurScript(script)) {
                files << script;
            }
        }
        if (QFileInfo::exists(NemoFile(i))) {
            files << NemoFile(i);
        }
    }
    return files;
}

// The command prefix that a file of ours holds.
QString CommandOf(const QString& file, const QString& program) {
    if (file.endsWith(QLatin1String(".desktop"))) {
        return DolphinCommand(program);
    }
    if (file.endsWith(QLatin1String(".nemo_action"))) {
        return NemoCommand(program);
    }
    return NautilusCommand(program);
}

bool RemoveFiles(const QStringList& files, QString* reason) {
    for (const QString& file : files) {
        if (!QFile::remove(file) && QFileInfo::exists(file)) {
            if (reason) {
                *reason = QStringLiteral("Cannot remove %1.").arg(file);
            }
            return false;
        }
    }
    // The sub-menu folder is ours; it goes when nothing is left in it.
    QDir().rmdir(NautilusSubMenu());
    return true;
}

}  // namespace

QString OptionOf(ShellAction action) {
    for (const Item& item : kItems) {
        if (item.action == action) {
            return QLatin1String(item.option);
        }
    }
    return {};
}

bool ActionOfOption(const QString& option, ShellAction* action) {
    for (const Item& item : kItems) {
        if (option == QLatin1String(item.option)) {
            if (action) {
                *action = item.action;
            }
            return true;
        }
    }
    return false;
}

bool RegisterShellMenus(const QString& program, const CSettingsRecord& settings, QString* reason) {
    struct Entry {
        QString path;
        QByteArray content;
        int mode;
    };
    QList<Entry> entries;
    // Dolphin runs service menus of the user's own only when they are executable.
    for (const bool extract : {false, true}) {
        entries.append({DolphinFile(extract), DolphinMenu(program, settings, extract), 0755});
    }
    for (int i = 0; i < kItemCount; ++i) {
        const Item& item = kItems[i];
        if (!(settings.*item.key)) {
            continue;
        }
        const QString script = NautilusFile(item, settings.CascadedMenu);
        if (QFileInfo::exists(script) && !IsOurScript(script)) {
            if (reason) {
                *reason = QStringLiteral("%1 belongs to another program.").arg(script);
            }
            return false;
        }
        entries.append({script, NautilusScript(program, item), 0755});
        entries.append({NemoFile(i), NemoAction(program, settings, item), 0644});
    }
    QStringList stale = OurFiles();
    for (const Entry& entry : entries) {
        if (!WriteFile(entry.path, entry.content, reason, entry.mode)) {
            return false;
        }
        stale.removeAll(entry.path);
    }
    return RemoveFiles(stale, reason);
}

bool UnregisterShellMenus(QString* reason) {
    return RemoveFiles(OurFiles(), reason);
}

bool ShellMenusRegistered(const QString& program) {
    const QStringList files = OurFiles();
    for (const QString& file : files) {
        const QString prefix = CommandOf(file, program);
        bool named = false;
        for (const QByteArray& raw : ReadAll(file).split('\n')) {
            const QString line = QString::fromUtf8(raw);
            const bool isCommand =
                line.startsWith(QLatin1String("Exec=")) || line.startsWith(QLatin1String("exec "));
            if (!isCommand) {
                continue;
            }
            if (line != prefix && !line.startsWith(prefix + QLatin1Char(' '))) {
                return false;
            }
            named = true;
        }
        if (!named) {
            return false;
        }
    }
    return !files.isEmpty();
}

QStringList ShellMenuFiles() {
    return OurFiles();
}

}  // namespace vz::desktop
