#include "common/InnerPath.h"

#include "common/Texts.h"
#include "platform/FileSystem.h"

namespace vz {

NormalisedName NormaliseEntryName(const QString& raw) {
    NormalisedName n;
    for (const QChar ch : raw)
        if (ch.unicode() < 0x20 || ch.unicode() == 0x7F) {
            n.control = true;
            break;
        }
    // Most names need no change: no "\", no empty, "." or ".." component, no leading "/".
    bool clean = !raw.isEmpty() && raw.at(0) != QLatin1Char('/');
    for (qsizetype i = 0, size = raw.size(); clean && i < size; ++i) {
        const char16_t c = raw.at(i).unicode();
        if (c == u'\\' || c == u':') {
            clean = false;
        } else if (c == u'/') {
            if (i + 1 < size && raw.at(i + 1) == QLatin1Char('/'))
                clean = false;
        } else if (c == u'.' && (i == 0 || raw.at(i - 1) == QLatin1Char('/'))) {
            const qsizetype next = i + 1 < size ? raw.at(i + 1).unicode() : u'/';
            if (next == u'/' ||
                (next == u'.' && (i + 2 >= size || raw.at(i + 2) == QLatin1Char('/'))))
                clean = false;
        }
    }
    if (clean) {
        n.trailingSlash = raw.endsWith(QLatin1Char('/'));
        n.path = n.trailingSlash ? raw.left(raw.size() - 1) : raw;
        return n;
    }

    QString s = raw;
    s.replace(QLatin1Char('\\'), QLatin1Char('/'));
    n.absolute = s.startsWith(QLatin1Char('/')) ||
                 (s.size() >= 2 && s.at(1) == QLatin1Char(':') && s.at(0).isLetter());
    n.trailingSlash = s.endsWith(QLatin1Char('/'));
    QString out;
    out.reserve(s.size());
    int start = 0;
    while (start <= s.size()) {
        int end = s.indexOf(QLatin1Char('/'), start);
        if (end < 0)
            end = s.size();
        const QStringView part = QStringView(s).mid(start, end - start);
        if (part == u"..") {
            n.climbs = true;
        } else if (!part.isEmpty() && part != u".") {
            if (!out.isEmpty())
                out += QLatin1Char('/');
            out += part;
        }
        start = end + 1;
    }
    n.path = out;
    return n;
}

bool NormaliseInnerPath(const QString& given, QString* path) {
    const NormalisedName n = NormaliseEntryName(given);
    if (n.climbs)
        return false;
    *path = n.path;
    return true;
}

QString LastComponent(const QString& path) {
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString ParentPath(const QString& path) {
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.left(slash);
}

QString JoinPath(const QString& folder, const QString& name) {
    if (folder.isEmpty())
        return name;
    if (name.isEmpty())
        return folder;
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

bool IsBelow(QStringView path, const QString& folder) {
    if (folder.isEmpty())
        return !path.isEmpty();
    return path.size() > folder.size() + 1 && path.at(folder.size()) == QLatin1Char('/') &&
           path.left(folder.size()).compare(folder, Qt::CaseInsensitive) == 0;
}

bool IsAtOrBelow(const QString& path, const QString& folder) {
    return EqualsNoCase(path, folder) || IsBelow(path, folder);
}

ArchivePathParts SplitArchivePath(const QString& path) {
    QString clean = path;
    while (clean.size() > 1 && clean.endsWith(QLatin1Char('/')))
        clean.chop(1);
    ArchivePathParts parts;
    for (QString p = clean; !p.isEmpty();) {
        if (platform::ReadFacts(p).isFile) {
            parts.archivePath = p;
            break;
        }
        const int slash = p.lastIndexOf(QLatin1Char('/'));
        if (slash <= 0)
            break;
        p.truncate(slash);
    }
    if (!parts.archivePath.isEmpty() && clean.size() > parts.archivePath.size() + 1)
        parts.innerPath = clean.mid(parts.archivePath.size() + 1);
    return parts;
}

}  // namespace vz
