// Every archive family, made by the real tools: listing one level, descriptions, and
// extraction under each of the unpack settings, byte for byte.

#include <fcntl.h>
#include <sys/stat.h>
#include <archive.h>
#include <archive_entry.h>

#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "TestObserver.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/DescriptionFields.h"
#include "archive/LibarchiveSession.h"
#include "archive/SevenZipHeaders.h"
#include "archive/ToolEngine.h"

namespace {

const QByteArray kBinary = vzt::RandomBytes(61440, 7);

QMap<QString, QByteArray> SourceFiles() {
    return {{"alpha.txt", "alpha\n"},
            {"Beta.txt", "Beta\n"},
            {"Gamma.txt", "Gamma\n"},
            {"docs/readme.md", "# read me\n"},
            {"docs/deep/inner/file.bin", kBinary},
            {"empty/", {}}};
}

QStringList Names(const std::vector<ArchiveLevelFolder>& folders) {
    QStringList n;
    for (const auto& f : folders)
        n << f.name + (f.hasChildren ? "+" : "");
    return n;
}

// The compression method of a file and the ratio of a folder that each kind's descriptions
// end with: the entry's own method where the format tells it, else the family's compression
// where that applies to every entry, else "Unknown"; a folder's ratio is "Unknown" where the
// format tells no packed sizes.
std::pair<QString, QString> ExpectedLastFields(const QString& kind) {
    if (kind.startsWith("zip") || kind == "jar" || kind == "xap" || kind == "sfx")
        return {"Deflate", "100%"};
    if (kind == "tar" || kind == "iso")
        return {"Store", "100%"};
    if (kind == "tgz" || kind == "tar.gz")
        return {"Deflate", "Unknown"};
    if (kind == "tbz2" || kind == "tar.bz2")
        return {"BZip2", "Unknown"};
    if (kind == "cab")
        return {"MSZIP", "Unknown"};
    if (kind == "cab-stored")
        return {"Store", "Unknown"};
    return {"Unknown", "Unknown"};  // 7z, split 7z and RAR
}

// One line per entry, every field a listing shows.
QStringList Lines(const std::vector<ARCHIVEFILEFULLINFO>& entries) {
    QStringList lines;
    for (const ARCHIVEFILEFULLINFO& e : entries)
        lines << QString("%1 %2%3 %4 %5 %6 %7")
                     .arg(e.path)
                     .arg(e.refused)
                     .arg(e.isFolder)
                     .arg(e.size)
                     .arg(e.crc)
                     .arg(e.method)
                     .arg(e.modified.seconds);
    return lines;
}

// A zip of stored entries named by `names` (a name ending in "/" a folder).
bool WriteZip(const QString& path, const QByteArrayList& names, bool utf8Flag) {
    std::vector<vzt::ZipItem> items;
    for (const QByteArray& name : names) {
        vzt::ZipItem item{name, name.endsWith('/') ? QByteArray() : name};
        item.utf8Flag = utf8Flag;
        if (name.endsWith('/'))
            item.externalAttributes = (040755u << 16) | 0x10;
        items.push_back(item);
    }
    return vzt::WriteAll(path, vzt::StoredZip(items));
}

}  // namespace

class FamiliesTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_source;

    std::unique_ptr<CArchiveUnpacker> Open(const vzt::FamilyArchive& a) {
        const int family = vz::ClassifyPath(a.path, vzt::AllExtensions());
        auto u = vz::CreateUnpacker(family);
        if (!u || !vz::OpenForFamily(*u, a.path))
            return nullptr;
        return u;
    }

    vzt::FamilyArchive Make(const QString& kind) {
        const auto a = vzt::MakeFamilyArchive(kind, m_source, m_dir.filePath("out-" + kind));
        if (!a.error.isEmpty())
            qWarning("%s", qPrintable(a.error));
        return a;
    }

    void Rows() {
        QTest::addColumn<QString>("kind");
        for (const QString& k : vzt::FamilyKinds())
            QTest::newRow(qPrintable(k)) << k;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        m_source = m_dir.filePath("src");
        QVERIFY(vzt::MakeTree(m_source, SourceFiles()));
    }

    void listing_data() { Rows(); }
    void listing() {
        QFETCH(QString, kind);
        const auto a = Make(kind);
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        auto u = Open(a);
        QVERIFY2(u, qPrintable(a.path));
        QString top;
        ArchiveLevel level;
        if (!a.tarLevel.isEmpty()) {
            QVERIFY(u->IsTarInside());
            QVERIFY(u->ListLevel(QString(), level));
            QCOMPARE(Names(level.folders), QStringList{a.tarLevel + "+"});
            QVERIFY(level.files.isEmpty());
            top = a.tarLevel + "/";
        }
        QVERIFY(u->ListLevel(top.chopped(top.isEmpty() ? 0 : 1), level));
        QStringList folders{"docs+"};
        if (a.storesFolders)
            folders << "empty";
        QCOMPARE(Names(level.folders), folders);
        QCOMPARE(level.files, (QStringList{"alpha.txt", "Beta.txt", "Gamma.txt"}));

        QVERIFY(u->ListLevel(top + "docs", level));
        QCOMPARE(Names(level.folders), QStringList{"deep+"});
        QCOMPARE(level.files, QStringList{"readme.md"});
        QVERIFY(u->IsFolder(top + "docs/deep"));
        QVERIFY(u->IsFolder(top + "DOCS/Deep"));  // case does not matter
        QVERIFY(!u->IsFolder(top + "docs/readme.md"));

        // Descriptions: comma-separated "Label - value" fields. The properties dialogs cut
        // the last one to the end of the text: a file's is always "Compression method", a
        // folder's and the archive's always "Ratio".
        const QString file = u->GetFileOutputInfo(top + "docs/deep/inner/file.bin");
        QVERIFY2(file.startsWith("Size - 61 440 bytes"), qPrintable(file));
        QCOMPARE(file.contains("CRC - "), a.hasCrc);
        const auto [method, folderRatio] = ExpectedLastFields(kind);
        QVERIFY2(file.endsWith(", Compression method - " + method), qPrintable(file));
        QCOMPARE(vz::CutFileDescription(file).method, method);
        const QString folder = u->GetFolderOutputInfo(top + "docs");
        QVERIFY2(folder.contains("Files - 2, Folders - 2"), qPrintable(folder));
        QVERIFY2(folder.endsWith(", Ratio - " + folderRatio), qPrintable(folder));
        QCOMPARE(vz::CutFolderDescription(folder).ratio, folderRatio);
        const QString archive = u->GetArchiveOutputInfo();
        QVERIFY2(archive.startsWith("Type - "), qPrintable(archive));
        QVERIFY2(QRegularExpression(", Ratio - \\d+%$").match(archive).hasMatch(),
                 qPrintable(archive));

        // The enumeration of the described interface sees the same entries.
        QVERIFY(u->FindFile());
        int files = 0;
        ARCHIVEFILESHORTINFO info;
        while (u->FindNextFileW() && u->GetFileShortInfo(info))
            if (!info.skip && !info.IsFolder())
                ++files;
        QCOMPARE(files, 5);
        u->CloseArchive();
    }

    void extraction_data() { Rows(); }
    void extraction() {
        QFETCH(QString, kind);
        const auto a = Make(kind);
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        const QString top = a.tarLevel.isEmpty() ? QString() : a.tarLevel + "/";
        INIUNPACK ini;
        ini.AskBeforeOverwriting = false;

        // The whole archive with its folders: the same tree, byte for byte.
        {
            QTemporaryDir dest;
            auto u = Open(a);
            QVERIFY(u);
            u->SetIni(ini);
            QVERIFY2(u->UnpackArchive(dest.path()), qPrintable(u->LastError()));
            QStringList expected = vzt::ListTree(m_source);
            if (!a.storesFolders)
                expected.removeAll("empty/");
            QCOMPARE(vzt::ListTree(dest.path()), expected);
            QCOMPARE(vzt::ReadAll(dest.filePath("docs/deep/inner/file.bin")), kBinary);
            QCOMPARE(vzt::ReadAll(dest.filePath("Beta.txt")), QByteArray("Beta\n"));
        }
        struct Case {
            const char* what;
            QString inner;
            bool withoutPaths;
            QStringList expected;
        };
        const Case cases[] = {
            {"file without paths", top + "docs/deep/inner/file.bin", true, {"file.bin"}},
            {"file with paths",
             top + "docs/deep/inner/file.bin",
             false,
             {top + "docs/", top + "docs/deep/", top + "docs/deep/inner/",
              top + "docs/deep/inner/file.bin"}},
            {"folder without paths",
             top + "docs/deep",
             true,
             {"deep/", "deep/inner/", "deep/inner/file.bin"}},
            {"folder with paths",
             top + "docs/deep",
             false,
             {top + "docs/", top + "docs/deep/", top + "docs/deep/inner/",
              top + "docs/deep/inner/file.bin"}},
            {"archive without paths",
             QString(),
             true,
             {"Beta.txt", "Gamma.txt", "alpha.txt", "file.bin", "readme.md"}},
        };
        for (const Case& c : cases) {
            QTemporaryDir dest;
            auto u = Open(a);
            QVERIFY(u);
            INIUNPACK flags = ini;
            flags.UnpackFilesWithoutPaths = flags.UnpackFoldersWithoutPaths =
                flags.UnpackArchivesWithoutPaths = c.withoutPaths;
            u->SetIni(flags);
            bool ok;
            if (c.inner.isEmpty())
                ok = u->UnpackArchive(dest.path());
            else if (u->IsFolder(c.inner))
                ok = u->UnpackFolder(c.inner, dest.path());
            else
                ok = u->UnpackFile(c.inner, dest.path());
            QVERIFY2(ok, qPrintable(QString(c.what) + ": " + u->LastError()));
            QStringList expected = c.expected;
            if (!top.isEmpty() && !c.withoutPaths)
                expected.prepend(top);
            expected.sort();
            QCOMPARE(vzt::ListTree(dest.path()), expected);
            const QString bin = dest.filePath(expected.filter("file.bin").value(0));
            QCOMPARE(vzt::ReadAll(bin), kBinary);
        }
    }

    // OpenMultiVolumeArchive reads every volume of a ".001" set, whichever unpacker opens it;
    // a set with a volume missing does not open and names the gap.
    void multiVolumeOpen() {
        QTemporaryDir dir;
        const QByteArray big = vzt::RandomBytes(90000, 11);
        QVERIFY(vzt::WriteAll(dir.filePath("src/big.bin"), big));
        QVERIFY(vzt::Shell("7zz a -bso0 -v30k ../set.7z big.bin", dir.filePath("src")).Ok());
        const QString first = dir.filePath("set.7z.001");
        QVERIFY(QFile::exists(dir.filePath("set.7z.003")));
        {
            C7zUnpacker u;
            QVERIFY2(u.OpenMultiVolumeArchive(first), qPrintable(u.LastError()));
            QVERIFY2(u.UnpackArchive(dir.filePath("out")), qPrintable(u.LastError()));
            QCOMPARE(vzt::ReadAll(dir.filePath("out/big.bin")), big);
        }
        QVERIFY(QFile::remove(dir.filePath("set.7z.002")));
        C7zUnpacker u;
        QVERIFY(!u.OpenMultiVolumeArchive(first));
        QVERIFY2(u.LastError().contains("incomplete") && u.LastError().contains("set.7z.001"),
                 qPrintable(u.LastError()));
    }

    // Archives made by the tools: folders that exist only as the path of deeper entries still
    // list level by level; an empty archive lists and unpacks nothing.
    void toolArchives_data() {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("archive");  // "e." names an empty one
        const auto row = [](const char* name, const char* command, const char* archive) {
            QTest::newRow(name) << QString::fromLatin1(command) << QString::fromLatin1(archive);
        };
        row("implied folders, zip", "zip -qD x.zip a/b/c.txt", "x.zip");
        row("implied folders, tar", "tar cf x.tar a/b/c.txt", "x.tar");
        row("implied folders, 7z", "7zz a -bso0 x.7z a/b/c.txt", "x.7z");
        row("implied folders, cab", "gcab -c x.cab a/b/c.txt", "x.cab");
        row("empty zip",
            "printf 'PK\\005\\006\\000\\000\\000\\000\\000\\000\\000\\000\\000\\000"
            "\\000\\000\\000\\000\\000\\000\\000\\000' > e.zip",
            "e.zip");
        row("empty tar", "tar cf e.tar -T /dev/null", "e.tar");
        row("empty tgz", "tar czf e.tgz -T /dev/null", "e.tgz");
        row("empty iso", "mkdir -p void && genisoimage -quiet -J -R -o e.iso void", "e.iso");
    }
    void toolArchives() {
        QFETCH(QString, command);
        QFETCH(QString, archive);
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.path(), {{"a/b/c.txt", "c"}}));
        const auto r = vzt::Shell(command, dir.path());
        QVERIFY2(r.Ok(), r.output.constData());
        vzt::FamilyArchive a{dir.filePath(archive), {}, false, false, {}};
        auto u = Open(a);
        QVERIFY2(u, qPrintable(archive));
        ArchiveLevel level;
        QVERIFY(u->ListLevel(QString(), level));
        QVERIFY(level.files.isEmpty());
        if (!archive.startsWith("e.")) {
            QCOMPARE(Names(level.folders), QStringList{"a+"});
            QVERIFY(u->ListLevel("a", level));
            QCOMPARE(Names(level.folders), QStringList{"b+"});
            QVERIFY(u->ListLevel("a/b", level));
            QVERIFY(level.folders.empty());
            QCOMPARE(level.files, QStringList{"c.txt"});
            return;
        }
        if (archive.endsWith(".tgz")) {  // the tar level, with nothing in it
            QCOMPARE(level.folders.size(), size_t(1));
            QVERIFY(!level.folders[0].hasChildren);
        } else {
            QVERIFY(level.folders.empty());
        }
        QTemporaryDir dest;
        QVERIFY2(u->UnpackArchive(dest.path()), qPrintable(u->LastError()));
        QVERIFY(vzt::ListTree(dest.path()).isEmpty());
    }

    // Our own 7z header reader gives the entries that libarchive's listing gives (plain
    // headers) and 7zz's (any headers), in the same order; damage and a wrong password are
    // told apart and nothing is visited.
    void sevenZipHeaders_data() {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QByteArray>("password");  // null: none given
        QTest::addColumn<int>("status");           // SevenZipHeaderStatus
        using S = vz::SevenZipHeaderStatus;
        const QByteArray none, secret("SECRET");
        const auto row = [](const char* name, const char* command, const QByteArray& pw, S st) {
            QTest::newRow(name) << QString::fromLatin1(command) << pw << int(st);
        };
        row("solid LZMA2, modes, empty file and folder, link", "7zz a -snl x.7z .", none, S::Ok);
        row("LZMA header, not solid", "7zz a -m0=lzma -ms=off x.7z .", none, S::Ok);
        row("plain header", "7zz a -mhc=off x.7z .", none, S::Ok);
        row("data encrypted", "7zz a -pSECRET x.7z .", none, S::Ok);
        row("names encrypted", "7zz a -mhe=on -pSECRET x.7z .", secret, S::Ok);
        row("names encrypted, no password", "7zz a -mhe=on -pSECRET x.7z .", none,
            S::NeedsPassword);
        row("names encrypted, wrong password", "7zz a -mhe=on -pSECRET x.7z .", QByteArray("bad"),
            S::WrongPassword);
        row("name leading outside, refused", "7zz a -spf x.7z ../out.txt a.txt", none, S::Ok);
        row("truncated", "7zz a x.7z . && truncate -s -40 x.7z", none, S::NotRead);
        row("header byte changed",
            "7zz a -mhc=off x.7z . && printf X | dd of=x.7z bs=1 seek=$(($(stat -c %s x.7z) - 30)) "
            "conv=notrunc status=none",
            none, S::NotRead);
    }
    void sevenZipHeaders() {
        QFETCH(QString, command);
        QFETCH(QByteArray, password);
        QFETCH(int, status);
        QTemporaryDir dir;
        const QString src = dir.filePath("src");
        QVERIFY(vzt::MakeTree(
            src, {{"a.txt", "a\n"}, {"d/run.sh", "echo\n"}, {"zero", {}}, {"empty/", {}}}));
        QVERIFY(vzt::MakeTree(dir.path(), {{"out.txt", "o"}}));
        const auto r =
            vzt::Shell("chmod 0751 d/run.sh && chmod 0444 a.txt && ln -s a.txt link && { " +
                           command + "; } >/dev/null",
                       src);
        QVERIFY2(r.Ok(), r.output.constData());
        const QString path = src + "/x.7z";
        std::vector<vz::ListedEntry> ours;
        QString error;
        const auto got = vz::ReadSevenZipHeaders(
            path, password.isNull() ? nullptr : &password,
            [&ours](vz::ListedEntry& e) {
                ours.push_back(e);
                return true;
            },
            {}, &error);
        QCOMPARE(int(got), status);
        if (got != vz::SevenZipHeaderStatus::Ok) {
            QVERIFY(ours.empty() && !error.isEmpty());
            return;
        }
        QVERIFY(!ours.empty());
        const auto same = [&ours](const std::vector<vz::ListedEntry>& today, bool libarchive) {
            QCOMPARE(ours.size(), today.size());
            for (size_t i = 0; i < ours.size(); ++i) {
                const ARCHIVEFILEFULLINFO &a = ours[i].info, &b = today[i].info;
                QCOMPARE(a.path, b.path);
                QCOMPARE(ours[i].skip, today[i].skip);
                QCOMPARE(ours[i].refusedName, today[i].refusedName);
                QCOMPARE(a.isFolder, b.isFolder);
                QCOMPARE(a.isSymlink, b.isSymlink);
                QCOMPARE(a.modified.seconds, b.modified.seconds);
                QCOMPARE(a.encrypted, b.encrypted);
                if (libarchive) {  // which keeps a link's target, not its size
                    QCOMPARE(a.unixMode, b.unixMode);
                    QCOMPARE(a.attributes, b.attributes);
                    if (!a.isSymlink)
                        QCOMPARE(a.size, b.size);
                } else {
                    QCOMPARE(a.size, b.size);
                    QCOMPARE(a.crcKnown, b.crcKnown);
                    QCOMPARE(a.crc, b.crc);
                    if (b.unixMode)
                        QCOMPARE(a.unixMode, b.unixMode);
                }
            }
        };
        vz::PasswordBook book;
        book.Add(QString::fromUtf8(password));
        vz::SevenZipTool tool(path);
        QCOMPARE(tool.Open(book, {}), vz::SevenZipTool::Probe::Readable);
        same(tool.Listing(), false);
        if (!password.isNull())
            return;  // libarchive cannot read encrypted headers
        const vz::FamilyTraits& traits = *vz::TraitsFor(ArchiveFamily::SevenZip);
        vz::LibarchiveSession session;
        QVERIFY(session.Open({path}, traits, nullptr, &error));
        std::vector<vz::ListedEntry> libarchive;
        archive_entry* h = nullptr;
        while (archive_read_next_header(session.Handle(), &h) == ARCHIVE_OK)
            libarchive.push_back(vz::ConvertHeader(h, traits, vz::EntryNameDecoding{}).entry);
        same(libarchive, true);
    }

    // A zip archive may hold two entries of one name (an appending tool writes the newer one
    // after the older). Each is checked against its own CRC, and the one written last wins:
    // it is what the description tells and what unpacking the file gives.
    void repeatedNames_data() {
        QTest::addColumn<bool>("reversedDirectory");
        QTest::newRow("directory in writing order") << false;
        QTest::newRow("directory in reverse order") << true;
    }
    void repeatedNames() {
        QFETCH(bool, reversedDirectory);
        if (!vzt::HaveTool("python3"))
            QSKIP("python3 is not installed: it writes the zip with a repeated name");
        QTemporaryDir dir;
        const QByteArray newer = "the second, longer version\n";
        QVERIFY(vzt::WriteAll(dir.filePath("make.py"), R"(import struct, sys, warnings, zipfile
warnings.simplefilter("ignore")
with zipfile.ZipFile("d.zip", "w", zipfile.ZIP_DEFLATED) as z:
    z.writestr("a.txt", "first version\n")
    z.writestr("b.txt", "b\n")
    z.writestr("a.txt", "the second, longer version\n")
if len(sys.argv) > 1:
    data = bytearray(open("d.zip", "rb").read())
    end = data.rfind(b"PK\x05\x06")
    count, size, start = struct.unpack("<HII", data[end + 10:end + 20])
    records, at = [], start
    for _ in range(count):
        n, m, k = struct.unpack("<HHH", data[at + 28:at + 34])
        records.append(data[at:at + 46 + n + m + k])
        at += 46 + n + m + k
    data[start:start + size] = b"".join(reversed(records))
    open("d.zip", "wb").write(data)
)"));
        const auto made = vzt::Shell(
            QString("python3 make.py%1").arg(reversedDirectory ? " reverse" : ""), dir.path());
        QVERIFY2(made.Ok(), made.output.constData());
        vzt::FamilyArchive a{dir.filePath("d.zip"), {}, false, true, {}};
        INIUNPACK ini;
        ini.AskBeforeOverwriting = false;
        {
            auto u = Open(a);
            QVERIFY(u);
            QVERIFY2(u->Test(), qPrintable(u->LastError()));
            u->SetIni(ini);
            QVERIFY2(u->UnpackArchive(dir.filePath("all")), qPrintable(u->LastError()));
            QCOMPARE(vzt::ReadAll(dir.filePath("all/a.txt")), newer);
            QCOMPARE(vzt::ReadAll(dir.filePath("all/b.txt")), QByteArray("b\n"));
            QVERIFY2(u->GetFileOutputInfo("a.txt").startsWith("Size - 27 bytes"),
                     qPrintable(u->GetFileOutputInfo("a.txt")));
        }
        {
            auto u = Open(a);
            u->SetIni(ini);
            TestObserver o;
            u->SetHandleDialogProgress(&o);
            QVERIFY2(u->UnpackFile("A.TXT", dir.filePath("one")), qPrintable(u->LastError()));
            QCOMPARE(vzt::ListTree(dir.filePath("one")), QStringList{"a.txt"});
            QCOMPARE(vzt::ReadAll(dir.filePath("one/a.txt")), newer);
            QVERIFY(o.reports.isEmpty());
        }
    }

    // Until a zip's listing is read, its levels and folders come from an index of its paths
    // and every entry from its directory read as it is visited: each says what the listing
    // says.
    void zipIndex_data() {
        QTest::addColumn<QByteArrayList>("names");
        QTest::addColumn<bool>("utf8Flag");
        QTest::newRow("folders only as paths")
            << QByteArrayList{"a/b/c.txt", "a/d.txt", "e.txt", "a/b/f.txt", "g/h.txt"} << true;
        QTest::newRow("folder entries")
            << QByteArrayList{"a/", "a/b/", "a/b/c.txt", "empty/", "x.txt"} << true;
        QTest::newRow("repeated names, any case")
            << QByteArrayList{"A/x.txt", "a/x.txt", "a/X.txt", "b.txt", "B.txt", "a/x.txt", "A/"}
            << true;
        QTest::newRow("refused and untidy names")
            << QByteArrayList{"../evil.txt", "/abs.txt",  "d\x01ir/x", "ok/y.txt",  "./ok/z.txt",
                              "ok//w.txt",   "ok\\v.txt", "ok/./u/",   "C:\\c.txt", "ok/../t"}
            << true;
        // U+212A KELVIN SIGN folds to "k".
        QTest::newRow("non-ASCII, case folded") << QByteArrayList{"\xe2\x84\xaa/x.txt", "k/y.txt",
                                                                  "\xc3\x9c"
                                                                  "ber/a.txt",
                                                                  "\xc3\xbc"
                                                                  "ber/b/c.txt"}
                                                << true;
        QTest::newRow("names in a code page")
            << QByteArrayList{"caf\x82/x.txt", "plain/y.txt"} << false;
    }
    void zipIndex() {
        QFETCH(QByteArrayList, names);
        QFETCH(bool, utf8Flag);
        QTemporaryDir dir;
        const QString zip = dir.filePath("t.zip");
        QVERIFY(WriteZip(zip, names, utf8Flag));
        vzt::FamilyArchive a{zip, {}, false, true, {}};
        auto listed = Open(a);
        auto indexed = Open(a);
        QVERIFY(listed && indexed && listed->FindFile());  // the listing is read
        std::vector<ARCHIVEFILEFULLINFO> all, visited;
        const auto collect = [](std::vector<ARCHIVEFILEFULLINFO>& to) {
            return [&to](const ARCHIVEFILEFULLINFO& e) {
                to.push_back(e);
                return true;
            };
        };
        QVERIFY(indexed->VisitEntries(collect(visited)));
        QVERIFY(listed->VisitEntries(collect(all)));
        QCOMPARE(Lines(visited), Lines(all));
        // Every path, every folder above one, in another case too.
        QStringList paths{QString()};
        for (const ARCHIVEFILEFULLINFO& e : all)
            for (QString p = e.path; !e.refused && !p.isEmpty(); p = vz::ParentPath(p))
                paths << p << p.toUpper();
        for (const QString& p : paths) {
            ArchiveLevel fromIndex, fromListing;
            QVERIFY(indexed->ListLevel(p, fromIndex) && listed->ListLevel(p, fromListing));
            QCOMPARE(Names(fromIndex.folders), Names(fromListing.folders));
            QCOMPARE(fromIndex.files, fromListing.files);
            QCOMPARE(indexed->IsFolder(p), listed->IsFolder(p));
            QCOMPARE(indexed->HasEntriesBelow(p), listed->HasEntriesBelow(p));
        }
    }

    // The index of a zip is made again when the file changed: its size or its time.
    void zipIndexSeesChanges_data() {
        QTest::addColumn<QByteArray>("newName");
        QTest::addColumn<bool>("sameTime");
        QTest::newRow("same size, new time") << QByteArray("b.txt") << false;
        QTest::newRow("same time, new size") << QByteArray("bb.txt") << true;
    }
    void zipIndexSeesChanges() {
        QFETCH(QByteArray, newName);
        QFETCH(bool, sameTime);
        QTemporaryDir dir;
        const QString zip = dir.filePath("t.zip");
        const QByteArray zipName = QFile::encodeName(zip);
        vzt::FamilyArchive a{zip, {}, false, true, {}};
        QVERIFY(WriteZip(zip, {"a.txt"}, true));
        struct stat before;
        QVERIFY(stat(zipName.constData(), &before) == 0);
        ArchiveLevel level;
        QVERIFY(Open(a)->ListLevel(QString(), level));
        QCOMPARE(level.files, QStringList{"a.txt"});

        QVERIFY(WriteZip(zip, {newName}, true));
        timespec times[2] = {before.st_atim, before.st_mtim};
        if (!sameTime)
            times[1].tv_sec += 2;
        QVERIFY(utimensat(AT_FDCWD, zipName.constData(), times, 0) == 0);
        struct stat after;
        QVERIFY(stat(zipName.constData(), &after) == 0);
        QCOMPARE(after.st_size == before.st_size, !sameTime);
        QCOMPARE(after.st_mtim.tv_sec == before.st_mtim.tv_sec, sameTime);
        QVERIFY(Open(a)->ListLevel(QString(), level));
        QCOMPARE(level.files, QStringList{QString(newName)});
    }

    // Sparse entries (GNU tar, pax 1.0, zisofs blocks of zeros, a hole at the end) and a hard
    // link to one come out as bsdtar writes them; only the links that lead outside are refused.
    void sparseEntries_data() {
        QTest::addColumn<QString>("sample");
        for (const char* a :
             {"test_read_format_gtar_sparse_1_17.tar", "test_read_format_gtar_sparse_length.tar",
              "test_read_format_iso_zisofs.iso"})
            QTest::newRow(a) << QString(a);
    }
    void sparseEntries() {
        QFETCH(QString, sample);
        if (vzt::SharedTestData().isEmpty() || !vzt::HaveTool("bsdtar"))
            QSKIP("../shared/testdata is not beside the project, or bsdtar is not installed");
        QTemporaryDir dir;
        const QString archive = vzt::SharedTestData() + "/libarchive/" + sample;
        const QString ours = dir.filePath("ours"), theirs = dir.filePath("bsdtar");
        QVERIFY(QDir().mkpath(theirs) && vzt::Run("bsdtar", {"-xf", archive, "-C", theirs}).Ok());
        auto u = Open({archive, {}, false, false, {}});
        QVERIFY(u);
        TestObserver o;
        u->SetHandleDialogProgress(&o);
        u->UnpackArchive(ours);
        QVERIFY2(u->Test(), qPrintable(u->LastError()));
        QCOMPARE(o.reports.filter("leads outside the destination"), o.reports);
        // One line for each refused link, missing from ours; nothing else differs.
        const auto diff = vzt::Run("diff", {"-r", "--no-dereference", ours, theirs});
        QCOMPARE(diff.output.count('\n'), o.reports.size());
    }

    // A plain compressed file is one entry named after the archive without its suffix.
    void plainStreams_data() {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QString>("archive");
        QTest::newRow("gz") << QString("gzip") << QString("notes.txt.gz");
        QTest::newRow("bz2") << QString("bzip2") << QString("notes.txt.bz2");
    }
    void plainStreams() {
        QFETCH(QString, tool);
        QFETCH(QString, archive);
        QTemporaryDir dir;
        const QByteArray text = vzt::RandomBytes(5000, 3).toHex();
        QVERIFY(vzt::WriteAll(dir.filePath("notes.txt"), text));
        QVERIFY(vzt::Run(tool, {dir.filePath("notes.txt")}).Ok());
        vzt::FamilyArchive a{dir.filePath(archive), {}, false, false, {}};
        auto u = Open(a);
        QVERIFY(u);
        QVERIFY(!u->IsTarInside());
        ArchiveLevel level;
        QVERIFY(u->ListLevel(QString(), level));
        QCOMPARE(level.files, QStringList{"notes.txt"});
        const QString file = u->GetFileOutputInfo("notes.txt");
        if (tool == "gzip")
            QVERIFY(file.startsWith("Size - 10 000 bytes"));
        QVERIFY2(file.endsWith(tool == "gzip" ? ", Compression method - Deflate"
                                              : ", Compression method - BZip2"),
                 qPrintable(file));
        // bzip2 records no size: the ratio of the whole is not known.
        const QString whole = u->GetArchiveOutputInfo();
        QVERIFY2(tool == "gzip" ? QRegularExpression(", Ratio - \\d+%$").match(whole).hasMatch()
                                : whole.endsWith(", Ratio - Unknown"),
                 qPrintable(whole));
        QTemporaryDir dest;
        QVERIFY(u->UnpackArchive(dest.path()));
        QCOMPARE(vzt::ReadAll(dest.filePath("notes.txt")), text);
    }
};

QTEST_GUILESS_MAIN(FamiliesTest)
#include "tst_families.moc"
