#include "common/CItemIcons.h"

#include <QApplication>
#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QStyle>

#include "platform/FileSystem.h"

namespace {

QIcon StandardIcon(QStyle::StandardPixmap which) {
    return QApplication::style() ? QApplication::style()->standardIcon(which) : QIcon();
}

QAbstractFileIconProvider* g_provider = nullptr;

QAbstractFileIconProvider& Provider() {
    static QFileIconProvider provider;
    return g_provider != nullptr ? *g_provider : provider;
}

QMimeDatabase& MimeDatabase() {
    static QMimeDatabase db;
    return db;
}

// The theme's icon for a MIME type, or a null icon.
QIcon ThemeIcon(const QMimeType& mime) {
    return QIcon::fromTheme(mime.iconName(), QIcon::fromTheme(mime.genericIconName()));
}

}  // namespace

void CItemIcons::SelectIconTheme() {
    if (!QIcon::hasThemeIcon(QStringLiteral("folder"))) {
        QIcon::setThemeName(QStringLiteral("breeze"));
    }
    if (QIcon::fallbackThemeName().isEmpty()) {
        QIcon::setFallbackThemeName(QStringLiteral("hicolor"));
    }
}

QIcon CItemIcons::FolderIcon() {
    static const QIcon icon = [] {
        if (!QIcon::hasThemeIcon(QStringLiteral("folder"))) {
            QIcon standard = StandardIcon(QStyle::SP_DirClosedIcon);
            for (const QSize& size : StandardIcon(QStyle::SP_DirOpenIcon).availableSizes()) {
                standard.addPixmap(StandardIcon(QStyle::SP_DirOpenIcon).pixmap(size), QIcon::Normal,
                                   QIcon::On);
            }
            return standard;
        }
        const QIcon closed = QIcon::fromTheme(QStringLiteral("folder"));
        const QIcon open = QIcon::fromTheme(QStringLiteral("folder-open"), closed);
        QIcon both;
        for (const int size : {16, 22, 24, 32, 48}) {
            both.addPixmap(closed.pixmap(size), QIcon::Normal, QIcon::Off);
            both.addPixmap(open.pixmap(size), QIcon::Normal, QIcon::On);
        }
        return both;
    }();
    return icon;
}

void CItemIcons::SetFileIconProvider(QAbstractFileIconProvider* provider) {
    g_provider = provider;
}

QIcon CItemIcons::IconForName(const QString& name) {
    static QHash<QString, QIcon> byMimeType;
    const QMimeType mime = MimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    auto it = byMimeType.constFind(mime.name());
    if (it != byMimeType.constEnd()) {
        return *it;
    }
    QIcon icon = ThemeIcon(mime);
    if (icon.isNull()) {
        icon =
            QIcon::fromTheme(QStringLiteral("text-x-generic"), StandardIcon(QStyle::SP_FileIcon));
    }
    byMimeType.insert(mime.name(), icon);
    return icon;
}

QIcon CItemIcons::IconForPath(const QString& path) {
    if (vz::platform::HoldsEscapedBytes(path)) {
        // QFileInfo would look for another name; the real bytes tell the kind, the name's
        // extension the type.
        return vz::platform::ReadFacts(path).isFolder ? FolderIcon()
                                                      : IconForName(vz::platform::FileNameOf(path));
    }
    const QFileInfo info(path);
    if (info.isDir() && !info.isRoot() && path != QDir::homePath()) {
        return FolderIcon();
    }
    QIcon icon = Provider().icon(info);
    if (info.isFile()) {
        // Outside a desktop session the provider knows only its plain file icon; the theme's
        // icon of the file's real type (by its name and, where that is not enough, its
        // contents) then says more.
        const QIcon plain = Provider().icon(QAbstractFileIconProvider::File);
        const bool isPlain = icon.isNull() || icon.cacheKey() == plain.cacheKey() ||
                             (!plain.name().isEmpty() && icon.name() == plain.name());
        if (isPlain) {
            const QIcon typed = ThemeIcon(MimeDatabase().mimeTypeForFile(info));
            if (!typed.isNull()) {
                return typed;
            }
        }
    }
    if (icon.isNull()) {
        icon = info.isDir() ? FolderIcon() : IconForName(info.fileName());
    }
    return icon;
}

QIcon CItemIcons::IconForPlace(const QString& path, bool removable) {
    if (removable) {
        return QIcon::fromTheme(QStringLiteral("drive-removable-media"), IconForPath(path));
    }
    if (path == QDir::homePath()) {
        return QIcon::fromTheme(QStringLiteral("user-home"), FolderIcon());
    }
    return QIcon::fromTheme(QStringLiteral("drive-harddisk"), IconForPath(path));
}
