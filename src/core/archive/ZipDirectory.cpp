#include "archive/ZipDirectory.h"

#include <sys/stat.h>
#include <zip.h>

#include <QFile>

#include "archive/LibarchiveSession.h"

namespace vz {

QString ZipMethodName(int method) {
    switch (method) {
        case ZIP_CM_STORE: return QStringLiteral("Store");
        case ZIP_CM_SHRINK: return QStringLiteral("Shrink");
        case ZIP_CM_IMPLODE: return QStringLiteral("Implode");
        case ZIP_CM_DEFLATE: return QStringLiteral("Deflate");
        case ZIP_CM_DEFLATE64: return QStringLiteral("Deflate64");
        case ZIP_CM_BZIP2: return QStringLiteral("BZip2");
        case ZIP_CM_LZMA: return QStringLiteral("LZMA");
        case ZIP_CM_XZ: return QStringLiteral("XZ");
        case 93: return QStringLiteral("Zstandard");
        case ZIP_CM_PPMD: return QStringLiteral("PPMd");
        default: return QStringLiteral("Method %1").arg(method);
    }
}

namespace {
QString EncryptionName(zip_uint16_t em) {
    switch (em) {
        case ZIP_EM_NONE: return QString();
        case ZIP_EM_TRAD_PKWARE: return QStringLiteral("Zip 2.0");
        case ZIP_EM_AES_128: return QStringLiteral("AES-128");
        case ZIP_EM_AES_192: return QStringLiteral("AES-192");
        case ZIP_EM_AES_256: return QStringLiteral("AES-256");
        default: return QStringLiteral("encrypted");
    }
}
}  // namespace

bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error) {
    int code = 0;
    zip_t* z = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &code);
    if (!z) {
        zip_error_t e;
        zip_error_init_with_code(&e, code);
        *error = QString::fromUtf8(zip_error_strerror(&e));
        zip_error_fini(&e);
        return false;
    }
    const zip_int64_t count = zip_get_num_entries(z, 0);
    entries->clear();
    entries->reserve(static_cast<size_t>(std::max<zip_int64_t>(count, 0)));
    for (zip_int64_t i = 0; i < count; ++i) {
        const zip_uint64_t index = static_cast<zip_uint64_t>(i);
        zip_stat_t st;
        if (zip_stat_index(z, index, 0, &st) != 0 || !(st.valid & ZIP_STAT_NAME)) continue;
        ListedEntry le;
        ARCHIVEFILEFULLINFO& info = le.info;
        // libzip gives names as UTF-8 (names without the UTF-8 flag are read as code page 437
        // unless they are valid UTF-8).
        const QString raw = QString::fromUtf8(st.name);
        const NormalisedName n = NormaliseEntryName(raw);
        info.path = n.path;
        le.skip = n.unsafe || n.path.isEmpty();
        zip_uint8_t opsys = 0;
        zip_uint32_t attr = 0;
        zip_file_get_external_attributes(z, index, 0, &opsys, &attr);
        if (opsys == ZIP_OPSYS_UNIX) info.unixMode = attr >> 16;
        info.attributes = attr & 0xFF;
        info.isFolder = n.trailingSlash || (info.attributes & kDosDirectory) ||
                        S_ISDIR(info.unixMode & S_IFMT);
        if (info.isFolder) info.attributes |= kDosDirectory;
        info.isSymlink = opsys == ZIP_OPSYS_UNIX && S_ISLNK(info.unixMode & S_IFMT);
        if (!info.isFolder) {
            info.size = st.size;
            info.sizeKnown = st.valid & ZIP_STAT_SIZE;
            info.packedSize = st.comp_size;
            info.packedSizeKnown = st.valid & ZIP_STAT_COMP_SIZE;
            info.crc = st.crc;
            info.crcKnown = st.valid & ZIP_STAT_CRC;
            info.method = ZipMethodName(st.comp_method);
        } else {
            info.sizeKnown = info.packedSizeKnown = true;
        }
        info.encrypted = st.encryption_method != ZIP_EM_NONE;
        info.encryption = EncryptionName(st.encryption_method);
        if (st.valid & ZIP_STAT_MTIME) info.modified = FileTime::FromUnix(st.mtime);
        entries->push_back(std::move(le));
    }
    zip_discard(z);
    return true;
}

}  // namespace vz
