#pragma once
// The captions and sentences of the window's failure boxes and questions, in one place. The
// sentences of renames, deletes and new folders come from the core (fileops), which the
// command-line program shares.

#include <QString>

namespace vz::texts {

inline QString ProductName() {
    return QStringLiteral("Vela-ZIP Archiver");
}

// A failure box: the caption names the failed action, the text is one sentence.
struct Failure {
    QString caption;
    QString text;
};

// Handing an archive to the mail program failed (no xdg-email, or it could not start).
inline Failure EMailArchive() {
    return {QStringLiteral("E-mail Archive"),
            QStringLiteral("No mail program could be started. Install xdg-utils and choose a "
                           "default e-mail program.")};
}

inline Failure OpenArchive() {
    return {QStringLiteral("Error Opening Archive"), QStringLiteral("Cannot open the archive.")};
}

// What an unpack was asked to unpack: the whole archive, a folder or a file in it.
enum class UnpackWhat { Archive, Folder, File };
inline Failure Unpack(UnpackWhat what, const QString& path) {
    switch (what) {
        case UnpackWhat::Archive:
            return {QStringLiteral("Error Unpacking Archive"),
                    QStringLiteral("Cannot unpack the archive %1.").arg(path)};
        case UnpackWhat::Folder:
            return {QStringLiteral("Error Unpacking Folder"),
                    QStringLiteral("Cannot unpack the folder %1.").arg(path)};
        case UnpackWhat::File:
            break;
    }
    return {QStringLiteral("Error Unpacking File"),
            QStringLiteral("Cannot unpack the file %1.").arg(path)};
}

// A file of the disk that no application opens.
inline Failure OpenFile(const QString& path) {
    return {QStringLiteral("Error Opening File"),
            QStringLiteral("Cannot open the file %1.").arg(path)};
}

inline Failure CreateArchive(const QString& path) {
    return {QStringLiteral("Error Creating Archive"),
            QStringLiteral("Cannot create the archive %1.").arg(path)};
}

inline Failure Copy(bool folder, const QString& path) {
    if (folder) {
        return {QStringLiteral("Error Copying Folder"),
                QStringLiteral("Cannot copy the folder %1.").arg(path)};
    }
    return {QStringLiteral("Error Copying File"),
            QStringLiteral("Cannot copy the file %1.").arg(path)};
}

inline Failure AddBookmark(const QString& label) {
    return {QStringLiteral("Error Adding Bookmark"),
            QStringLiteral("Cannot add the bookmark %1.").arg(label)};
}

}  // namespace vz::texts
