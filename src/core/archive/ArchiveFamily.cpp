#include "archive/ArchiveFamily.h"

namespace ArchiveFamily {

bool IsZipFamily(int code) {
    return code == Zip || code == Jar || code == Xap || code == SelfExtractingZip;
}

bool IsWritableZip(int code) {
    return code == Zip || code == Jar || code == Xap;
}

int ForExtension(const QString& ext) {
    struct Row {
        const char* extension;
        int code;
    };
    // The table order decides: the first match gives the code.
    static const Row kTable[] = {
        {"ZIP", Zip},
        {"CAB", Cab},
        {"JAR", Jar},
        {"RAR", Rar},
        {"ACE", Ace},
        {"7Z", SevenZip},
        {"XAP", Xap},
        {"GZ", GZip},
        {"GZIP", GZip},
        {"TGZ", GZip},
        {"TAR", Tar},
        {"001", SevenZipVolumes},
        {"BZ", BZip2},
        {"BZ2", BZip2},
        {"BZIP2", BZip2},
        {"TBZ", BZip2},
        {"TBZ2", BZip2},
        {"ISO", Iso},
        {"EXE", SelfExtractingZip},
    };
    for (const Row& row : kTable) {
        if (ext == QLatin1String(row.extension))
            return row.code;
    }
    return None;
}

QString DisplayName(int code) {
    switch (code) {
        case Zip:
            return QStringLiteral("ZIP");
        case Cab:
            return QStringLiteral("CAB");
        case Jar:
            return QStringLiteral("JAR");
        case Rar:
            return QStringLiteral("RAR");
        case Ace:
            return QStringLiteral("ACE");
        case SevenZip:
        case SevenZipVolumes:
            return QStringLiteral("7-Zip");
        case Xap:
            return QStringLiteral("XAP");
        case GZip:
            return QStringLiteral("GZip");
        case Tar:
            return QStringLiteral("TAR");
        case BZip2:
            return QStringLiteral("BZip2");
        case Iso:
            return QStringLiteral("ISO");
        case SelfExtractingZip:
            return QStringLiteral("Self-extracting ZIP");
        default:
            return QString();
    }
}

}  // namespace ArchiveFamily
