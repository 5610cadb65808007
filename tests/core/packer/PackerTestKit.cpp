#include "PackerTestKit.h"

#include "TestSupport.h"
#include "archive/CArchiveUnpacker.h"

namespace pkt {

QStringList EntryNames(const QString& archive) {
    const vzt::ToolResult r = vzt::Run(QStringLiteral("zipinfo"), {QStringLiteral("-1"), archive});
    if (!r.Ok())
        return {};
    QStringList names = QString::fromUtf8(r.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return names;
}

bool SevenZipTests(const QString& archive, const QString& password, QByteArray* output) {
    const vzt::ToolResult r = vzt::Run(
        QStringLiteral("7zz"), {QStringLiteral("t"), QStringLiteral("-p") + password, archive});
    if (output)
        *output = r.output;
    return r.Ok() && r.output.contains("Everything is Ok");
}

bool UnzipTests(const QString& archive, const QString& password, QByteArray* output) {
    QStringList args{QStringLiteral("-t")};
    if (!password.isEmpty())
        args << QStringLiteral("-P") << password;
    args << archive;
    const vzt::ToolResult r = vzt::Run(QStringLiteral("unzip"), args);
    if (output)
        *output = r.output;
    return r.Ok();
}

bool SevenZipExtract(const QString& archive, const QString& password, const QString& folder) {
    const vzt::ToolResult r =
        vzt::Run(QStringLiteral("7zz"),
                 {QStringLiteral("x"), QStringLiteral("-y"), QStringLiteral("-p") + password,
                  QStringLiteral("-o") + folder, archive});
    return r.Ok();
}

bool UnpackWithReader(const QString& archive, const QString& password, const QString& folder,
                      QString* error) {
    CZipUnpacker unpacker;
    INIUNPACK ini;
    ini.UnpackArchivesWithoutPaths = false;
    ini.AskBeforeOverwriting = false;
    unpacker.SetIni(ini);
    if (!password.isEmpty())
        unpacker.SetPassword(password);
    const bool ok = unpacker.OpenArchive(archive) && unpacker.UnpackArchive(folder);
    if (error)
        *error = unpacker.LastError();
    unpacker.CloseArchive();
    return ok;
}

QStringList OtherFiles(const QString& folder, const QStringList& expected) {
    QStringList others =
        QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QString& name : expected)
        others.removeAll(name);
    return others;
}

}  // namespace pkt
