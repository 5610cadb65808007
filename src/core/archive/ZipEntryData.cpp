#include "archive/ZipEntryData.h"

#include <zip.h>

#include <QFile>

#include "platform/FileSystem.h"

namespace vz {

ZipEntryData::~ZipEntryData() {
    End();
    if (m_zip)
        zip_discard(m_zip);
}

ZipEntryData::Status ZipEntryData::Begin(const QString& archivePath, qint64 directoryIndex,
                                         const QString& innerPath, PasswordBook& passwords) {
    End();
    m_methodUnsupported = false;
    if (!m_zip) {
        int code = 0;
        m_zip = zip_open(platform::EncodePath(archivePath).constData(), ZIP_RDONLY, &code);
        if (!m_zip) {
            m_error = QStringLiteral("libzip cannot open the archive");
            return Status::Failed;
        }
    }
    const QByteArray name = innerPath.toUtf8();
    zip_int64_t index = directoryIndex;
    if (index < 0 || index >= zip_get_num_entries(m_zip, 0))
        index = zip_name_locate(m_zip, name.constData(), ZIP_FL_ENC_GUESS);
    if (index < 0) {
        // Names written with "\" between components.
        QByteArray backslashed = name;
        backslashed.replace('/', '\\');
        index = zip_name_locate(m_zip, backslashed.constData(), ZIP_FL_ENC_GUESS);
    }
    if (index < 0) {
        m_error = QStringLiteral("the entry is not in the central directory");
        return Status::Failed;
    }
    const zip_uint64_t i = static_cast<zip_uint64_t>(index);
    const auto passwordError = [this] {
        const int code = zip_error_code_zip(zip_get_error(m_zip));
        return code == ZIP_ER_WRONGPASSWD || code == ZIP_ER_NOPASSWD;
    };
    for (const std::string& p : passwords.Known()) {
        m_file = zip_fopen_index_encrypted(m_zip, i, 0, p.c_str());
        if (m_file)
            return Status::Ok;
        if (!passwordError())
            break;  // no password opens it (a method libzip lacks): none is asked for
    }
    while (passwords.Known().empty() || passwordError()) {
        const char* answer = passwords.Ask();
        if (!answer)
            break;
        m_file = zip_fopen_index_encrypted(m_zip, i, 0, answer);
        if (m_file)
            return Status::Ok;
    }
    if (passwords.Cancelled())
        return Status::Cancelled;
    if (passwordError())
        return Status::WrongPassword;
    m_methodUnsupported = zip_error_code_zip(zip_get_error(m_zip)) == ZIP_ER_COMPNOTSUPP;
    m_error = m_methodUnsupported ? QStringLiteral(
                                        "its compression method cannot be read together with its "
                                        "encryption here (libzip has no decoder for it)")
                                  : QString::fromUtf8(zip_strerror(m_zip));
    return Status::Failed;
}

qint64 ZipEntryData::Read(char* buffer, qint64 size) {
    if (!m_file)
        return -1;
    const zip_int64_t n = zip_fread(m_file, buffer, static_cast<zip_uint64_t>(size));
    m_crcError = false;
    if (n < 0) {
        m_error = QString::fromUtf8(zip_file_strerror(m_file));
        m_crcError = zip_error_code_zip(zip_file_get_error(m_file)) == ZIP_ER_CRC;
    }
    return n;
}

void ZipEntryData::End() {
    if (m_file)
        zip_fclose(m_file);
    m_file = nullptr;
}

}  // namespace vz
