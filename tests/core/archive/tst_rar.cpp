// RAR: archives of the test suite's own stored-RAR writer (cross-checked with unar), volume
// sets, and the third-party samples beside the project.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "RarWriter.h"
#include "TestObserver.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"

namespace {
std::unique_ptr<CArchiveUnpacker> OpenRar(const QString& path) {
    auto u = std::make_unique<CRarUnpacker>();
    if (!u->OpenArchive(path))
        return nullptr;
    return u;
}
}  // namespace

class RarTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ownWriterAgreesWithUnar() {
        if (!vzt::HaveTool("unar"))
            QSKIP("unar is not installed");
        QTemporaryDir dir;
        const QByteArray big = vzt::RandomBytes(70000, 4);
        const QString rar = dir.filePath("w.rar");
        QVERIFY(vzt::WriteStoredRar(
            rar,
            {{"docs", {}, true}, {"docs/big.bin", big}, {"Zeta.txt", "z"}, {"alpha.txt", "a"}}));
        QVERIFY(vzt::Run("unar", {"-q", "-o", dir.filePath("unar"), rar}).Ok());
        QCOMPARE(vzt::ReadAll(dir.filePath("unar/w/docs/big.bin")), big);
        auto u = OpenRar(rar);
        QVERIFY(u);
        ArchiveLevel level;
        QVERIFY(u->ListLevel(QString(), level));
        QCOMPARE(level.folders.size(), size_t(1));
        QCOMPARE(level.files, (QStringList{"alpha.txt", "Zeta.txt"}));
        QVERIFY(u->UnpackArchive(dir.filePath("ours")));
        QCOMPARE(vzt::ReadAll(dir.filePath("ours/docs/big.bin")), big);
    }

    // A volume set opened by its first part reads every part; a missing part is an error,
    // never a silently empty file.
    void volumeSets() {
        QTemporaryDir dir;
        const QByteArray big = vzt::RandomBytes(50000, 5);
        const QStringList parts = vzt::WriteStoredRarVolumes(
            dir.filePath("set"), {{"first.txt", "1"}, {"big.bin", big}, {"last.txt", "3"}}, 20000);
        QVERIFY(parts.size() >= 3);
        if (vzt::HaveTool("unar")) {
            QVERIFY(vzt::Run("unar", {"-q", "-o", dir.filePath("unar"), parts[0]}).Ok());
            QCOMPARE(vzt::ReadAll(dir.filePath("unar/set/big.bin")), big);
        }
        {
            auto u = OpenRar(parts[0]);
            QVERIFY(u);
            QVERIFY2(u->UnpackArchive(dir.filePath("all")), qPrintable(u->LastError()));
            QCOMPARE(vzt::ReadAll(dir.filePath("all/big.bin")), big);
            QCOMPARE(vzt::ReadAll(dir.filePath("all/last.txt")), QByteArray("3"));
        }
        // The last part missing: the set cannot tell, libarchive fails on the spanning file.
        const QString last = parts.last();
        const QByteArray lastBytes = vzt::ReadAll(last);
        QVERIFY(QFile::remove(last));
        {
            auto u = OpenRar(parts[0]);
            QVERIFY(u);
            TestObserver o;
            u->SetHandleDialogProgress(&o);
            QVERIFY(!u->UnpackArchive(dir.filePath("broken")));
            QVERIFY(!QFile::exists(dir.filePath("broken/big.bin")));
            QCOMPARE(vzt::ReadAll(dir.filePath("broken/first.txt")), QByteArray("1"));
        }
        QVERIFY(vzt::WriteAll(last, lastBytes));
        // A part missing in the middle, with parts beyond it: the set does not open, and the
        // reason names the gap, whichever part is opened.
        QVERIFY(QFile::remove(parts[1]));
        for (const QString& opened : {parts[0], parts.last()}) {
            CRarUnpacker u;
            QVERIFY(!u.OpenArchive(opened));
            QCOMPARE(
                u.LastError(),
                QString("The volume set %1 is incomplete: set.part2.rar is missing.").arg(opened));
        }
    }

    void samples_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("unpacks");
        QTest::addColumn<QString>("reason");  // of a failure, when it is known
        const char* good[] = {"rar.rar",
                              "rar5_compressed.rar",
                              "rar5_fileattr.rar",
                              "rar5_multiple_files.rar",
                              "rar5_solid.rar",
                              "rar5_stored.rar",
                              "rar5_symlink.rar",
                              "rar5_unicode.rar",
                              "rar5_win32.rar",
                              "rar_binary_data.rar",
                              "rar_compress_best.rar",
                              "rar_compress_normal.rar",
                              "rar_filter.rar",
                              "rar_unicode.rar",
                              "rar_windows.rar",
                              "rar5_multiarchive.part01.rar"};
        for (const char* f : good)
            QTest::newRow(f) << QString(f) << true << QString();
        QTest::newRow("rar_invalid1.rar") << "rar_invalid1.rar" << false << QString();
        // RAR 4 encryption no free decoder reads (RAR 5 entries: tst_encrypted).
        for (const char* f : {"rar4_encrypted.rar", "rar_encryption_data.rar"})
            QTest::newRow(f) << QString(f) << false
                             << "it is encrypted, and encrypted RAR entries cannot be read";
    }
    // The samples list and unpack to what unar, the independent reader, finds in them.
    void samples() {
        QFETCH(QString, file);
        QFETCH(bool, unpacks);
        QFETCH(QString, reason);
        const QString shared = vzt::SharedTestData();
        if (shared.isEmpty())
            QSKIP("../shared/testdata is not beside the project: RAR samples skipped");
        const QString path = shared + "/rar/" + file;
        QTemporaryDir dir;
        auto u = OpenRar(path);
        if (!unpacks) {
            if (!u)
                return;
            TestObserver o;
            u->SetHandleDialogProgress(&o);
            QVERIFY(!u->UnpackArchive(dir.path()));
            QVERIFY(!u->LastError().isEmpty());
            QVERIFY2(u->LastError().contains(reason), qPrintable(u->LastError()));
            QVERIFY(vzt::ListTree(dir.path()).filter(".vz-").isEmpty());
            return;
        }
        QVERIFY2(u, qPrintable(file));
        QVERIFY2(u->UnpackArchive(dir.filePath("ours")), qPrintable(u->LastError()));
        if (!vzt::HaveTool("unar"))
            return;
        if (!vzt::Run("unar", {"-q", "-D", "-o", dir.filePath("unar"), path}).Ok())
            return;  // unar cannot read every sample (rar5_solid.rar); ours unpacked it
        // Same files, same bytes (unar makes no folders for links it cannot place).
        for (const QString& f : vzt::ListTree(dir.filePath("unar"))) {
            const QFileInfo theirs(dir.filePath("unar/" + f));
            if (theirs.isDir() || theirs.isSymLink())
                continue;
            QVERIFY2(QFile::exists(dir.filePath("ours/" + f)), qPrintable(f));
            QCOMPARE(vzt::ReadAll(dir.filePath("ours/" + f)), vzt::ReadAll(theirs.filePath()));
        }
    }
};

QTEST_GUILESS_MAIN(RarTest)
#include "tst_rar.moc"
