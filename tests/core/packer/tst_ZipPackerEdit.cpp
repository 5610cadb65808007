// Editing inside zip archives: folders that exist only as the path of deeper entries, folder
// rename and removal, names that users type, entry information, and the families that are
// never written.

#include <sys/stat.h>
#include <zip.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "PackerTestKit.h"
#include "RarWriter.h"
#include "TestSupport.h"
#include "archive/packer/CZipPacker.h"

class TestZipPackerEdit : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

    // One edit named by a test row: "renameFile", "renameFolder", "removeFile", "removeFolder"
    // or "mkdir".
    static bool RunEdit(CZipPacker& packer, const QString& operation, const QString& a,
                        const QString& b) {
        if (operation == QLatin1String("renameFile"))
            return packer.RenameFile(a, b);
        if (operation == QLatin1String("renameFolder"))
            return packer.RenameFolder(a, b);
        if (operation == QLatin1String("removeFile"))
            return packer.RemoveFile(a);
        if (operation == QLatin1String("removeFolder"))
            return packer.RemoveFolder(a);
        if (operation == QLatin1String("mkdir"))
            return packer.CreateEmptyFolder(a);
        qFatal("unknown edit in a test row");
        return false;
    }

    // An archive written by zip without folder entries: "x" and "x/y" exist only as paths.
    QString ImpliedFolders(const QString& name) {
        const QString dir = m_tmp.filePath(name);
        QDir(dir).removeRecursively();
        [&] {
            QVERIFY(vzt::MakeTree(
                dir + QStringLiteral("/t"),
                {{"x/y/z.txt", "z"}, {"x/w.txt", "w"}, {"xy.txt", "xy"}, {"top.txt", "top"}}));
            QVERIFY(vzt::Run(QStringLiteral("zip"),
                             {QStringLiteral("-qrD"), dir + QStringLiteral("/a.zip"),
                              QStringLiteral(".")},
                             dir + QStringLiteral("/t"))
                        .Ok());
        }();
        return dir + QStringLiteral("/a.zip");
    }

    // Entries whose folders differ only in case, which the Archive Browser shows as one
    // folder "Docs", in this order: Docs/a.txt, docs/b.txt, docs/Sub/c.txt, the folder entry
    // DOCS/, hid.txt, top.txt and the folder entry "new folder/"; then names that the Archive
    // Browser shows otherwise: "./dot.txt" as "dot.txt", "w//e.txt" as "w/e.txt", and
    // "w/../up.txt", which it leaves out.
    QString MixedCase(const QString& name) {
        const QString dir = m_tmp.filePath(name);
        QDir(dir).removeRecursively();
        const QString archive = dir + QStringLiteral("/m.zip");
        const quint32 folder = (0040755u << 16) | 0x10;
        [&] {
            QVERIFY(QDir().mkpath(dir));
            QVERIFY(vzt::WriteAll(archive, vzt::StoredZip({{"Docs/a.txt", "a"},
                                                           {"docs/b.txt", "bb"},
                                                           {"docs/Sub/c.txt", "ccc"},
                                                           {"DOCS/", {}, folder},
                                                           {"hid.txt", "h"},
                                                           {"top.txt", "t"},
                                                           {"new folder/", {}, folder},
                                                           {"./dot.txt", "d"},
                                                           {"w//e.txt", "e"},
                                                           {"w/../up.txt", "u"}})));
            QVERIFY(vzt::MakeTree(dir + QStringLiteral("/add"),
                                  {{"n.txt", "n"}, {"DOCS/SUB/m.txt", "m"}}));
        }();
        return archive;
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }

    // What names an entry: folders that exist only as the path of deeper entries, and in a
    // mixed-case archive the folders in any case, a file's name exactly first, then in any
    // case; names the Archive Browser shows otherwise ("./dot.txt" as "dot.txt").
    void namedEntries_data() {
        QTest::addColumn<bool>("mixed");  // the MixedCase archive, else ImpliedFolders
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("folder");
        QTest::addColumn<bool>("file");
        QTest::addColumn<int>("size");  // of the file GetFileInfo finds
        QTest::newRow("implied") << false << "x" << true << false << 0;
        QTest::newRow("implied, deeper") << false << "x/y" << true << false << 0;
        QTest::newRow("trailing slash") << false << "x/y/" << true << false << 0;
        QTest::newRow("file below") << false << "x/y/z.txt" << false << true << 1;
        QTest::newRow("file at the root") << false << "top.txt" << false << true << 3;
        QTest::newRow("a prefix is not a folder") << false << "x/y/z" << false << false << 0;
        QTest::newRow("name sharing a prefix") << false << "xy" << false << false << 0;
        QTest::newRow("folder in another case") << false << "X/Y" << true << false << 0;
        QTest::newRow("file in another case") << false << "X/y/Z.TXT" << false << true << 1;
        QTest::newRow("missing") << false << "q" << false << false << 0;
        QTest::newRow("climbing out") << false << "x/../x" << false << false << 0;
        QTest::newRow("as the browser shows it") << true << "Docs/b.txt" << false << true << 2;
        QTest::newRow("every part in another case")
            << true << "DOCS/SUB/C.TXT" << false << true << 3;
        QTest::newRow("merged folder") << true << "dOcS" << true << false << 0;
        QTest::newRow("folder below it") << true << "Docs/SUB" << true << false << 0;
        QTest::newRow("folder entry in another case") << true << "New Folder" << true << false << 0;
        QTest::newRow("file name in another case") << true << "HID.txt" << false << true << 1;
        QTest::newRow("missing below") << true << "Docs/b" << false << false << 0;
        QTest::newRow("./dot.txt as shown") << true << "dot.txt" << false << true << 1;
        QTest::newRow("w//e.txt as shown") << true << "w/e.txt" << false << true << 1;
        QTest::newRow("a refused name") << true << "w/up.txt" << false << false << 0;
    }
    void namedEntries() {
        QFETCH(bool, mixed);
        QFETCH(QString, path);
        QFETCH(bool, folder);
        QFETCH(bool, file);
        QFETCH(int, size);
        const QString archive =
            mixed ? MixedCase(QStringLiteral("named")) : ImpliedFolders(QStringLiteral("implied"));
        QVERIFY(!pkt::EntryNames(archive).contains(QStringLiteral("x/")));
        CZipPacker packer;
        QVERIFY(packer.OpenArchive(archive));
        QCOMPARE(packer.FolderExists(path), folder);
        QCOMPARE(packer.FileExists(path), file);
        ZIPFILEFULLINFO info;
        QCOMPARE(packer.GetFileInfo(path, info), folder || file);
        QCOMPARE(info.isFolder, folder);
        if (file)
            QCOMPARE(info.size, quint64(size));
    }

    void folderEdits_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<QStringList>("expected");  // besides xy.txt and top.txt
        const auto row = [](const char* name, const char* op, const char* a, const char* b,
                            const QStringList& expected) {
            QTest::newRow(name) << QString(op) << QString(a) << QString(b) << expected;
        };
        row("rename implied folder", "renameFolder", "x", "r", {"r/y/z.txt", "r/w.txt"});
        row("rename deeper implied folder", "renameFolder", "x/y", "x/v", {"x/v/z.txt", "x/w.txt"});
        row("move a folder to the root", "renameFolder", "x/y", "y2", {"y2/z.txt", "x/w.txt"});
        row("remove implied folder", "removeFolder", "x", "", {});
        row("remove deeper folder", "removeFolder", "x/y", "", {"x/w.txt"});
        row("remove the only file keeps its folder", "removeFile", "x/y/z.txt", "",
            {"x/y/", "x/w.txt"});
        row("moving the only file keeps its folder", "renameFile", "x/y/z.txt", "z.txt",
            {"x/y/", "z.txt", "x/w.txt"});
        row("rename a file in place", "renameFile", "x/y/z.txt", "x/y/Z.TXT",
            {"x/y/Z.TXT", "x/w.txt"});
        row("new folder in implied folder", "mkdir", "x/y/New Folder", "",
            {"x/y/New Folder/", "x/y/z.txt", "x/w.txt"});
    }
    void folderEdits() {
        QFETCH(QString, operation);
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(QStringList, expected);
        const QString archive = ImpliedFolders(QStringLiteral("edits"));
        CZipPacker packer;
        QVERIFY(packer.OpenArchive(archive));
        const bool ok = RunEdit(packer, operation, a, b);
        QVERIFY2(ok, qPrintable(packer.LastError()));
        // The packer sees its own change at once.
        if (operation == QLatin1String("renameFolder")) {
            QVERIFY(packer.FolderExists(b));
            QVERIFY(!packer.FolderExists(a));
        }
        QVERIFY(packer.CloseArchive());
        QCOMPARE(pkt::Sorted(pkt::EntryNames(archive)),
                 pkt::Sorted(expected + QStringList{"xy.txt", "top.txt"}));
        QVERIFY(pkt::UnzipTests(archive, QString()));
        QCOMPARE(pkt::OtherFiles(QFileInfo(archive).absolutePath(), {"a.zip", "t"}), QStringList());
    }

    void refusedEdits_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<QString>("named");  // text the error must hold
        for (const char* c : {"\\", ":", "*", "?", "\"", "<", ">", "|"}) {
            const QString bad = QStringLiteral("a%1b").arg(QString::fromLatin1(c));
            QTest::addRow("rename file to %s", c) << "renameFile"
                                                  << "top.txt" << bad << bad;
            QTest::addRow("rename folder to %s", c) << "renameFolder"
                                                    << "x" << bad << bad;
            QTest::addRow("new folder %s", c) << "mkdir" << bad << "" << bad;
        }
        const auto row = [](const char* name, const char* op, const char* a, const char* b,
                            const char* named) {
            QTest::newRow(name) << QString(op) << QString(a) << QString(b) << QString(named);
        };
        row("rename to an existing file", "renameFile", "top.txt", "xy.txt", "xy.txt");
        row("rename a file onto a folder", "renameFile", "top.txt", "x", "x");
        row("rename a folder onto a file", "renameFolder", "x", "top.txt", "top.txt");
        row("rename a folder into itself", "renameFolder", "x", "x/y/x", "x/y/x");
        row("rename a missing file", "renameFile", "nope.txt", "n.txt", "nope.txt");
        row("rename a folder as a file", "renameFile", "x", "n", "x");
        row("remove a missing folder", "removeFolder", "q", "", "q");
        row("remove a file as a folder", "removeFolder", "top.txt", "", "top.txt");
        row("new folder that exists implied", "mkdir", "x/y", "", "x/y");
        row("new folder below a file", "mkdir", "top.txt/n", "", "top.txt");
        row("empty new name", "renameFile", "top.txt", "", "top.txt");
        row("dot-dot in new name", "renameFile", "top.txt", "../top.txt", "../top.txt");
    }
    // Refused edits name the path and leave the archive byte-identical.
    void refusedEdits() {
        QFETCH(QString, operation);
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(QString, named);
        const QString archive = ImpliedFolders(QStringLiteral("refused"));
        const QByteArray before = vzt::ReadAll(archive);
        CZipPacker packer;
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!RunEdit(packer, operation, a, b));
        QVERIFY2(packer.LastError().contains(named), qPrintable(packer.LastError()));
        QVERIFY(!packer.WasCancelled());
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
    }

    // Edits named as the Archive Browser names them act on the entries of every spelling,
    // and entries keep their own spelling; an entry that an edit moves or keeps gets the name
    // shown; the name that the Archive Browser leaves out is never touched.
    void caseEdits_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        // Besides hid.txt, top.txt, new folder/, ./dot.txt, w//e.txt and w/../up.txt; "-"
        // marks one of those that is gone.
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char* name, const char* op, const char* a, const char* b,
                            const QStringList& expected) {
            QTest::newRow(name) << QString(op) << QString(a) << QString(b) << expected;
        };
        const QStringList docs{"Docs/a.txt", "docs/b.txt", "docs/Sub/c.txt", "DOCS/"};
        const auto keepsDocs = [&](const char* name, const char* op, const char* a, const char* b,
                                   const QStringList& more) { row(name, op, a, b, docs + more); };
        row("remove a file of the merged folder", "removeFile", "Docs/b.txt", "",
            {"Docs/a.txt", "docs/Sub/c.txt", "DOCS/"});
        row("remove the only file of a folder, named in another case", "removeFile",
            "DOCS/SUB/C.TXT", "", {"Docs/a.txt", "docs/b.txt", "docs/Sub/", "DOCS/"});
        row("remove the merged folder", "removeFolder", "Docs", "", {});
        row("rename the merged folder", "renameFolder", "Docs", "Papers",
            {"Papers/a.txt", "Papers/b.txt", "Papers/Sub/c.txt", "Papers/"});
        row("rename a folder below it in place", "renameFolder", "Docs/sub", "Docs/Deep",
            {"Docs/a.txt", "docs/b.txt", "docs/Deep/c.txt", "DOCS/"});
        row("change the case of a folder", "renameFolder", "docs/sub", "docs/SUB",
            {"Docs/a.txt", "docs/b.txt", "docs/SUB/c.txt", "DOCS/"});
        row("move a folder into one named in another case", "renameFolder", "Docs/Sub",
            "NEW FOLDER/Sub", {"Docs/a.txt", "docs/b.txt", "new folder/Sub/c.txt", "DOCS/"});
        row("rename a file of the merged folder", "renameFile", "Docs/b.txt", "Docs/b2.txt",
            {"Docs/a.txt", "docs/b2.txt", "docs/Sub/c.txt", "DOCS/"});
        keepsDocs("move a file into a folder named in another case", "renameFile", "top.txt",
                  "dOcS/top.txt", {"Docs/top.txt", "-top.txt"});
        keepsDocs("change the case of a file", "renameFile", "hid.txt", "HID.TXT",
                  {"HID.TXT", "-hid.txt"});
        keepsDocs("new folder in a folder named in another case", "mkdir", "dOcS/New", "",
                  {"Docs/New/"});
        keepsDocs("add a file to a folder named in another case", "addFile", "n.txt", "DOCS/SUB",
                  {"docs/Sub/n.txt"});
        keepsDocs("rename ./dot.txt named as shown", "renameFile", "dot.txt", "dot2.txt",
                  {"-./dot.txt", "dot2.txt"});
        keepsDocs("remove w//e.txt named as shown", "removeFile", "w/e.txt", "",
                  {"-w//e.txt", "w/"});
        keepsDocs("rename the folder of w//e.txt", "renameFolder", "w", "v",
                  {"-w//e.txt", "v/e.txt"});
        keepsDocs("remove the folder of w//e.txt", "removeFolder", "w", "", {"-w//e.txt"});
        keepsDocs("add a folder that is there in another case", "addFolder", "DOCS", "",
                  {"docs/Sub/m.txt", "docs/Sub/"});
    }
    void caseEdits() {
        QFETCH(QString, operation);
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(QStringList, expected);
        const QString archive = MixedCase(QStringLiteral("caseedits"));
        const QString add = QFileInfo(archive).absolutePath() + QStringLiteral("/add/");
        INIPACK ini;
        ini.AskBeforeUpdating = false;
        ini.PackFoldersWithoutPaths = true;
        CZipPacker packer;
        packer.SetIni(ini);
        QVERIFY(packer.OpenArchive(archive));
        bool ok = false;
        if (operation == QLatin1String("addFile"))
            ok = packer.AddFileToArchiveFolder(add + a, b);
        else if (operation == QLatin1String("addFolder"))
            ok = packer.AddFolderToArchive(add + a, add + a, true);
        else
            ok = RunEdit(packer, operation, a, b);
        QVERIFY2(ok, qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QStringList want{"hid.txt",   "top.txt",  "new folder/",
                         "./dot.txt", "w//e.txt", "w/../up.txt"};
        for (const QString& name : expected) {
            if (name.startsWith(QLatin1Char('-')))
                want.removeAll(name.mid(1));
            else
                want << name;
        }
        QCOMPARE(pkt::Sorted(pkt::EntryNames(archive)), pkt::Sorted(want));
        QVERIFY(pkt::SevenZipTests(archive, QString()));
    }

    // A name is taken whatever its case; the archive stays as it was.
    void caseRefusals_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        const auto row = [](const char* name, const char* op, const char* a, const char* b) {
            QTest::newRow(name) << QString(op) << QString(a) << QString(b);
        };
        row("rename a file onto another file's name", "renameFile", "top.txt", "HID.TXT");
        row("rename a file onto a folder's name", "renameFile", "top.txt", "NEW FOLDER");
        row("rename a folder onto a folder's name", "renameFolder", "Docs", "New Folder");
        row("rename a folder onto a file's name", "renameFolder", "Docs", "Top.Txt");
        row("rename a folder into itself", "renameFolder", "Docs", "DOCS/sub/x");
        row("new folder beside one in another case", "mkdir", "New Folder", "");
        row("new folder that is implied in another case", "mkdir", "DOCS/SUB", "");
        row("new folder below a file named in another case", "mkdir", "TOP.TXT/x", "");
    }
    void caseRefusals() {
        QFETCH(QString, operation);
        QFETCH(QString, a);
        QFETCH(QString, b);
        const QString archive = MixedCase(QStringLiteral("caserefusals"));
        const QByteArray before = vzt::ReadAll(archive);
        CZipPacker packer;
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!RunEdit(packer, operation, a, b));
        QVERIFY(!packer.LastError().isEmpty());
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
    }

    // The MS-DOS bits of entries made elsewhere: read-only 1, hidden 2, system 4.
    void attributesFromElsewhere() {
        const QString dir = m_tmp.filePath(QStringLiteral("dos"));
        QDir().mkpath(dir);
        const QString archive = dir + QStringLiteral("/dos.zip");
        const QList<QPair<const char*, quint32>> rows{
            {"ro.txt", 0x01}, {"hidden.txt", 0x02}, {"sys.txt", 0x04}, {"both.txt", 0x05}};
        int code = 0;
        zip_t* za =
            zip_open(QFile::encodeName(archive).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code);
        QVERIFY(za);
        for (const auto& [name, bits] : rows) {
            const zip_int64_t i = zip_file_add(za, name, zip_source_buffer(za, "data", 4, 0), 0);
            QVERIFY(i >= 0);
            QCOMPARE(zip_file_set_external_attributes(za, static_cast<zip_uint64_t>(i), 0,
                                                      ZIP_OPSYS_DOS, bits | 0x20),
                     0);
        }
        QCOMPARE(zip_close(za), 0);
        CZipPacker packer;
        QVERIFY(packer.OpenArchive(archive));
        for (const auto& [name, bits] : rows) {
            ZIPFILEFULLINFO info;
            info.path = QString::fromLatin1(name);
            QVERIFY(packer.GetFileInfo(info));
            QCOMPARE(info.attributes & 0x07, bits);
            QCOMPARE(info.size, quint64(4));
            QCOMPARE(info.unixMode, quint32(0));
        }
        ZIPFILEFULLINFO missing;
        missing.path = QStringLiteral("nope");
        QVERIFY(!packer.GetFileInfo(missing));
        QVERIFY(packer.LastError().contains(QStringLiteral("nope")));
    }

    void refusedFamilies_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");  // how the file is made
        QTest::addColumn<QString>("says");  // what the refusal says, beside the path
        const auto row = [](const char* name, const char* file, const char* kind,
                            const char* says) {
            QTest::newRow(name) << QString(file) << QString(kind) << QString(says);
        };
        row("self-extracting zip", "setup.exe", "sfx", "self-extracting");
        row("rar", "a.rar", "rar", "RAR archives are only read");
        row("7z", "a.7z", "7z", "7-Zip archives are only read");
        row("tar", "a.tar", "zip", "TAR archives are only read");
        row("ace, which nothing reads", "a.ace", "junk", "ACE archives cannot be read or written");
        row("unknown extension", "a.dat", "zip", "only zip archives");
        row("rar named zip", "fake.zip", "rar", "not a zip archive");
        row("garbage named zip", "junk.zip", "junk", "not a zip archive");
        row("truncated zip", "cut.zip", "cut", "not a zip archive");
    }
    // The packer writes zip, jar and xap only, and never a file it cannot read as zip.
    void refusedFamilies() {
        QFETCH(QString, name);
        QFETCH(QString, kind);
        QFETCH(QString, says);
        const QString dir = m_tmp.filePath(QStringLiteral("families"));
        QDir(dir).removeRecursively();
        QVERIFY(vzt::MakeTree(dir, {{"in/a.txt", QByteArray(5000, 'a')}}));
        const QString path = dir + QLatin1Char('/') + name;
        const QString zipped = dir + QStringLiteral("/z.zip");
        QVERIFY(vzt::Run(QStringLiteral("zip"),
                         {QStringLiteral("-qr"), zipped, QStringLiteral("in")}, dir)
                    .Ok());
        if (kind == QLatin1String("sfx")) {
            // A program with the zip after it, the zip's offsets made to count from the start
            // of the file, as self-extracting archives are.
            QVERIFY(vzt::WriteAll(
                path, vzt::ReadAll(QStringLiteral("/bin/true")) + vzt::ReadAll(zipped)));
            QVERIFY(vzt::Run(QStringLiteral("zip"), {QStringLiteral("-qA"), path}).Ok());
        } else if (kind == QLatin1String("zip")) {
            QVERIFY(QFile::copy(zipped, path));
        } else if (kind == QLatin1String("rar")) {
            QVERIFY(vzt::WriteStoredRar(path, {vzt::RarItem{QStringLiteral("a.txt"), "a"}}));
        } else if (kind == QLatin1String("7z")) {
            QVERIFY(
                vzt::Run(QStringLiteral("7zz"),
                         {QStringLiteral("a"), QStringLiteral("-bd"), path, QStringLiteral("in")},
                         dir)
                    .Ok());
        } else if (kind == QLatin1String("junk")) {
            QVERIFY(vzt::WriteAll(path, vzt::RandomBytes(3000, 5)));
        } else {
            QVERIFY(vzt::WriteAll(path, vzt::ReadAll(zipped).chopped(10)));
        }
        const QByteArray before = vzt::ReadAll(path);
        QString reason;
        QVERIFY(!vz::IsWritableArchive(path, &reason));
        QVERIFY2(reason.contains(says), qPrintable(reason));
        CZipPacker packer;
        QVERIFY(!packer.OpenArchive(path));
        QVERIFY2(packer.LastError().contains(path), qPrintable(packer.LastError()));
        QVERIFY(!packer.AddFileToArchive(dir + QStringLiteral("/in/a.txt")));
        if (!name.endsWith(QLatin1String(".zip"))) {
            QVERIFY(!packer.CreateArchive(path));
            QVERIFY2(packer.LastError().contains(path), qPrintable(packer.LastError()));
        }
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(path), before);
    }

    // A new archive gets the permissions of any new file; a rewritten one keeps its own, and
    // through a symbolic link the link's target is rewritten while the link stays a link.
    void archiveModeAndLink() {
        const QString dir = m_tmp.filePath(QStringLiteral("linked"));
        QDir(dir).removeRecursively();
        QVERIFY(vzt::MakeTree(dir, {{"real/x.txt", "x"}}));
        const QString archive = dir + QStringLiteral("/real/a.zip");
        const mode_t mask = ::umask(027);
        CZipPacker packer;
        QVERIFY(packer.CreateArchive(archive));
        QVERIFY(packer.AddFileToArchive(dir + QStringLiteral("/real/x.txt")));
        ::umask(mask);
        QVERIFY(packer.CloseArchive());
        using P = QFileDevice;
        QCOMPARE(QFileInfo(archive).permissions() & 0x7777,
                 P::ReadOwner | P::WriteOwner | P::ReadUser | P::WriteUser | P::ReadGroup);
        const auto kept = P::ReadOwner | P::WriteOwner | P::ReadUser | P::WriteUser | P::ReadOther;
        QVERIFY(QFile::setPermissions(archive, kept));
        QVERIFY(QFile::link(QStringLiteral("real/a.zip"), dir + QStringLiteral("/link.zip")));
        QVERIFY(packer.OpenArchive(dir + QStringLiteral("/link.zip")));
        QVERIFY(packer.RenameFile(QStringLiteral("x.txt"), QStringLiteral("y.txt")));
        QVERIFY(packer.CloseArchive());
        QVERIFY(QFileInfo(dir + QStringLiteral("/link.zip")).isSymLink());
        QCOMPARE(QFileInfo(archive).permissions() & 0x7777, kept);
        QCOMPARE(pkt::EntryNames(archive), QStringList{QStringLiteral("y.txt")});
        QCOMPARE(pkt::OtherFiles(dir + QStringLiteral("/real"), {"a.zip", "x.txt"}), QStringList());
    }

    void writableFamilies_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("zip") << "a.zip";
        QTest::newRow("jar, upper case") << "a.JAR";
        QTest::newRow("xap") << "a.xap";
    }
    void writableFamilies() {
        QFETCH(QString, name);
        const QString dir = m_tmp.filePath(QStringLiteral("writable"));
        QDir(dir).removeRecursively();
        QVERIFY(vzt::MakeTree(dir, {{"a.txt", "a"}}));
        const QString path = dir + QLatin1Char('/') + name;
        QVERIFY(vz::IsWritableArchive(path));  // not there yet
        CZipPacker packer;
        QVERIFY(packer.CreateArchive(path));
        QVERIFY(packer.AddFileToArchive(dir + QStringLiteral("/a.txt")));
        QVERIFY(packer.CloseArchive());
        QVERIFY(vz::IsWritableArchive(path));
        QVERIFY(packer.OpenArchive(path));
        QVERIFY(packer.FileExists(QStringLiteral("a.txt")));
    }
};

QTEST_GUILESS_MAIN(TestZipPackerEdit)
#include "tst_ZipPackerEdit.moc"
