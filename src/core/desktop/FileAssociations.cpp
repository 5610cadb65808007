#include "FileAssociations.h"

#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QStandardPaths>

#include "platform/AtomicReplace.h"

namespace vz::desktop {

namespace {

const QString kDefaultsSection = QStringLiteral("[Default Applications]");

// The extensions the program opens from the desktop: zip and the sixteen that the
// associations list offers.
const char* const kArchiveExtensions[] = {"zip", "cab", "rar",  "jar",  "xap", "7z",
                                          "001", "gz",  "gzip", "bz",   "bz2", "bzip2",
                                          "tar", "tgz", "tbz",  "tbz2", "iso"};

QString ConfigHome() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}
QString DataHome() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}
QString UserList() {
    return ConfigHome() + QLatin1String("/mimeapps.list");
}
QString OurEntryPath() {
    return DataHome() + QLatin1String("/applications/") + QLatin1String(kDesktopEntryName);
}

bool ReadFile(const QString& path, QByteArray* content) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    *content = file.readAll();
    return true;
}

// The value of `key` in `section` of a key file's text; `found` tells an empty value from
// a missing key.
QString ValueOf(const QByteArray& text, const QString& section, const QString& key,
                bool* found = nullptr) {
    bool inSection = false;
    for (const QByteArray& raw : text.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inSection = line == section;
            continue;
        }
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (inSection && eq > 0 && line.left(eq).trimmed() == key) {
            if (found) {
                *found = true;
            }
            return line.mid(eq + 1).trimmed();
        }
    }
    if (found) {
        *found = false;
    }
    return {};
}

QStringList SplitList(const QString& value) {
    return value.split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

// `text` with `key` in `section` set to `value` (an empty value removes the line); the
// section is added at the end when missing. Every other line stays as it was.
QByteArray WithValue(const QByteArray& text, const QString& section, const QString& key,
                     const QString& value) {
    QList<QByteArray> lines = text.split('\n');
    if (!lines.isEmpty() && lines.last().isEmpty()) {
        lines.removeLast();  // the final newline
    }
    const QByteArray newLine = (key + QLatin1Char('=') + value).toUtf8();
    qsizetype sectionAt = -1, lastInSection = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = QString::fromUtf8(lines[i]).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            if (sectionAt >= 0) {
                break;
            }
            if (line == section) {
                sectionAt = lastInSection = i;
            }
            continue;
        }
        if (sectionAt < 0) {
            continue;
        }
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq > 0 && line.left(eq).trimmed() == key) {
            if (value.isEmpty()) {
                lines.removeAt(i);
            } else {
                lines[i] = newLine;
            }
            return lines.join('\n') + '\n';
        }
        if (!line.isEmpty()) {
            lastInSection = i;
        }
    }
    if (value.isEmpty()) {
        return text;
    }
    if (sectionAt < 0) {
        if (!lines.isEmpty() && !lines.last().trimmed().isEmpty()) {
            lines << QByteArray();
        }
        lines << section.toUtf8();
        lastInSection = lines.size() - 1;
    }
    lines.insert(lastInSection + 1, newLine);
    return lines.join('\n') + '\n';
}

// The mimeapps.list files in the order the desktop reads them.
QStringList MimeAppsLists() {
    QStringList lists;
    for (const QString& dir :
         QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        lists << dir + QLatin1String("/mimeapps.list");
    }
    for (const QString& dir :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        lists << dir + QLatin1String("/applications/mimeapps.list");
    }
    return lists;
}

// The file of the installed desktop entry `id`; empty when there is none.
QString DesktopEntryFile(const QString& id) {
    return QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                  QLatin1String("applications/") + id);
}

// The desktop entry id of the type's default application: the first installed one named
// by the first mimeapps.list that has defaults for the type.
QString DefaultEntry(const QString& mimeType) {
    for (const QString& list : MimeAppsLists()) {
        QByteArray text;
        if (!ReadFile(list, &text)) {
            continue;
        }
        for (const QString& id : SplitList(ValueOf(text, kDefaultsSection, mimeType))) {
            if (!DesktopEntryFile(id).isEmpty()) {
                return id;
            }
        }
    }
    return {};
}

}  // namespace

bool WriteFile(const QString& path, const QByteArray& content, QString* reason, int mode) {
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        if (reason) {
            *reason = QStringLiteral("Cannot create the folder of %1.").arg(path);
        }
        return false;
    }
    platform::AtomicReplace replace;
    bool ok = replace.Begin(path);
    if (mode >= 0) {
        replace.SetMode(static_cast<mode_t>(mode));
    }
    for (qsizetype done = 0; ok && done < content.size();) {
        const ssize_t n = ::write(replace.Fd(), content.constData() + done,
                                  static_cast<size_t>(content.size() - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        ok = n > 0;
        done += n;
    }
    if (ok && replace.Commit()) {
        return true;
    }
    if (reason) {
        *reason = QStringLiteral("Cannot write %1: %2").arg(path, replace.Reason());
    }
    return false;
}

// A desktop entry's Exec argument: quoted when it holds a reserved character, with the
// quoting's and the string value's escapes, and "%" doubled.
QString ExecArgument(const QString& path) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString arg = path;
    arg.replace(QLatin1Char('%'), QLatin1String("%%"));
    bool quote = false;
    for (const QChar c : path) {
        quote = quote || reserved.contains(c);
    }
    if (!quote) {
        return arg;
    }
    QString quoted;
    for (const QChar c : arg) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\')) {
            quoted += QLatin1Char('\\');
        }
        quoted += c;
    }
    quoted.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    quoted.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    quoted.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QStringList ArchiveExtensions() {
    QStringList extensions;
    for (const char* extension : kArchiveExtensions) {
        extensions << QLatin1String(extension);
    }
    return extensions;
}

QString MimeTypeOfExtension(const QString& extension) {
    QString name = extension.toLower();
    if (name.startsWith(QLatin1Char('.'))) {
        name.remove(0, 1);
    }
    if (name.isEmpty()) {
        return {};
    }
    const QMimeType type =
        QMimeDatabase().mimeTypeForFile(QLatin1String("a.") + name, QMimeDatabase::MatchExtension);
    return type.isDefault() ? QString() : type.name();
}

QStringList ArchiveMimeTypes() {
    QStringList types;
    for (const QString& extension : ArchiveExtensions()) {
        const QString type = MimeTypeOfExtension(extension);
        if (!type.isEmpty() && !types.contains(type)) {
            types << type;
        }
    }
    return types;
}

QByteArray DesktopEntry(const QString& program) {
    const QStringList types = ArchiveMimeTypes();
    QString entry = QStringLiteral(
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Vela-ZIP Archiver\n"
        "GenericName=Archive Manager\n"
        "Comment=Browse, create and unpack archives in two panes\n"
        "Icon=velazip\n"
        "Terminal=false\n"
        "Categories=Qt;Utility;Archiving;Compression;\n");
    entry += QLatin1String("Exec=") + ExecArgument(program) + QLatin1String(" %f\n");
    entry += QLatin1String("MimeType=") + types.join(QLatin1Char(';')) + QLatin1String(";\n");
    return entry.toUtf8();
}

bool Associate(const QString& extension, const QString& program, QString* reason) {
    const QString type = MimeTypeOfExtension(extension);
    if (type.isEmpty()) {
        if (reason) {
            *reason = QStringLiteral("No file type is known for %1 files.").arg(extension);
        }
        return false;
    }
    const QByteArray entry = DesktopEntry(program);
    QByteArray current;
    if ((!ReadFile(OurEntryPath(), &current) || current != entry) &&
        !WriteFile(OurEntryPath(), entry, reason)) {
        return false;
    }
    QByteArray list;
    ReadFile(UserList(), &list);
    QStringList ids = SplitList(ValueOf(list, kDefaultsSection, type));
    const QString ours = QLatin1String(kDesktopEntryName);
    if (!ids.isEmpty() && ids.first() == ours) {
        return true;
    }
    ids.removeAll(ours);
    ids.prepend(ours);
    return WriteFile(UserList(),
                     WithValue(list, kDefaultsSection, type, ids.join(QLatin1Char(';')) + ';'),
                     reason);
}

bool Release(const QString& extension, QString* reason) {
    const QString type = MimeTypeOfExtension(extension);
    QByteArray list;
    if (type.isEmpty() || !ReadFile(UserList(), &list)) {
        return true;
    }
    QStringList ids = SplitList(ValueOf(list, kDefaultsSection, type));
    if (ids.removeAll(QLatin1String(kDesktopEntryName)) == 0) {
        return true;
    }
    const QString value = ids.isEmpty() ? QString() : ids.join(QLatin1Char(';')) + ';';
    return WriteFile(UserList(), WithValue(list, kDefaultsSection, type, value), reason);
}

bool IsAssociated(const QString& extension) {
    const QString type = MimeTypeOfExtension(extension);
    return !type.isEmpty() && DefaultEntry(type) == QLatin1String(kDesktopEntryName);
}

QString CurrentOwner(const QString& extension) {
    const QString type = MimeTypeOfExtension(extension);
    const QString id = type.isEmpty() ? QString() : DefaultEntry(type);
    QByteArray entry;
    if (id.isEmpty() || !ReadFile(DesktopEntryFile(id), &entry)) {
        return {};
    }
    return ValueOf(entry, QStringLiteral("[Desktop Entry]"), QStringLiteral("Name"));
}

}  // namespace vz::desktop
