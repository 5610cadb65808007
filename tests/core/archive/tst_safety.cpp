// Archives are never trusted: nothing is written outside the destination, damaged and lying
// archives fail cleanly, a Stop or a refused overwrite loses nothing, passwords are asked.

#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "RarWriter.h"
#include "TestObserver.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/ListWorker.h"

Q_DECLARE_METATYPE(std::vector<vzt::TarItem>)

namespace {

using LinkMap = QMap<QString, QString>;  // a link's name in the destination -> its target

// A sample of ../shared/testdata by its relative path; empty when the folder is absent.
QString Sample(const QString& name) {
    const QString shared = vzt::SharedTestData();
    return shared.isEmpty() ? QString() : shared + "/" + name;
}

// Opens the archive, reporting to the observer; null when it cannot be opened.
std::unique_ptr<CArchiveUnpacker> OpenPath(const QString& path, TestObserver* observer) {
    auto u = vz::CreateUnpacker(vz::ClassifyPath(path, vzt::AllExtensions()));
    if (!u || !vz::OpenForFamily(*u, path))
        return nullptr;
    u->SetHandleDialogProgress(observer);
    return u;
}

}  // namespace

class SafetyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hostileNames_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("deeper parent") << QByteArray("a/../../evil.txt");
        QTest::newRow("absolute") << QByteArray("/tmp/evil.txt");
        QTest::newRow("backslash parent") << QByteArray("..\\evil.txt");
        QTest::newRow("drive letter") << QByteArray("C:\\evil.txt");
        QTest::newRow("control character") << QByteArray("d\x01ir/\x1b[2Jevil.txt");
    }
    void hostileNames() {
        QFETCH(QByteArray, name);
        QTemporaryDir dir;
        const QString dest = dir.filePath("dest/inner");
        const QString zip = dir.filePath("evil.zip");
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({{name, "evil"}, {"ok.txt", "fine"}})));
        TestObserver observer;
        auto u = OpenPath(zip, &observer);
        QVERIFY(u);
        ArchiveLevel level;
        QVERIFY(u->ListLevel(QString(), level));
        QCOMPARE(level.files, QStringList{"ok.txt"});  // the hostile entry is not listed
        // ... but every entry is there for those who ask for all, marked, as it is named.
        const std::vector<ARCHIVEFILEFULLINFO>* all = nullptr;
        QVERIFY(u->AllEntries(all) && all->size() == 2);
        QVERIFY(all->at(0).refused && !all->at(1).refused);
        QCOMPARE(all->at(0).path, QString::fromUtf8(name));
        QVERIFY(!u->UnpackArchive(dest));  // refused and reported ...
        QVERIFY(observer.reports.size() == 1 && observer.reports[0].contains("Refused"));
        QCOMPARE(vzt::ListTree(dir.filePath("dest")),
                 (QStringList{"inner/", "inner/ok.txt"}));  // ... the rest extracted
        QVERIFY(!QFile::exists("/tmp/evil.txt") || vzt::ReadAll("/tmp/evil.txt") != "evil");
    }

    // Links that lead away, directly or through links made earlier or already in the folder.
    void linkChains_data() {
        QTest::addColumn<std::vector<vzt::TarItem>>("items");
        QTest::addColumn<LinkMap>("existingLinks");
        QTest::addColumn<QStringList>("made");     // links that must exist
        QTest::addColumn<QStringList>("refused");  // links that must not
        QTest::newRow("absolute, up, and a hard link away")
            << std::vector<vzt::TarItem>{{"good.txt", "good"},
                                         {"abs", {}, '2', "@OUTSIDE@"},
                                         {"abs/evil1.txt", "evil"},
                                         {"up", {}, '2', "../outside"},
                                         {"up/evil2.txt", "evil"},
                                         {"hard", {}, '1', "/etc/passwd"},
                                         {"inside", {}, '2', "good.txt"},
                                         {"sub/uplink", {}, '2', "../good.txt"}}
            << LinkMap{} << QStringList{"inside", "sub/uplink"} << QStringList{"abs", "up", "hard"};
        QTest::newRow("deeper dots, then up through them")
            << std::vector<vzt::TarItem>{{"a/", {}, '5'},
                                         {"a/here", {}, '2', "."},
                                         {"a/up", {}, '2', "here/../.."}}
            << LinkMap{} << QStringList{"a/here"} << QStringList{"a/up"};
        QTest::newRow("through a link that points outside")
            << std::vector<vzt::TarItem>{{"x", {}, '2', "ok/y"}} << LinkMap{{"ok", "@OUTSIDE@"}}
            << QStringList{} << QStringList{"x"};
        QTest::newRow("through a link that climbs out")
            << std::vector<vzt::TarItem>{{"x", {}, '2', "ok/y"}} << LinkMap{{"ok", "../outside"}}
            << QStringList{} << QStringList{"x"};
        QTest::newRow("up past a name that becomes a link later")
            << std::vector<vzt::TarItem>{{"m", {}, '2', "later/.."}, {"later", {}, '2', "."}}
            << LinkMap{} << QStringList{"later"} << QStringList{"m"};
        QTest::newRow("a cycle") << std::vector<vzt::TarItem>{{"c1", {}, '2', "c2"},
                                                              {"c2", {}, '2', "c1"},
                                                              {"c3", {}, '2', "c1/x"}}
                                 << LinkMap{} << QStringList{"c1", "c2"} << QStringList{"c3"};
        QTest::newRow("files through links already there")  // the file's own link is replaced
            << std::vector<vzt::TarItem>{{"docs/a.txt", "a"}, {"file.txt", "new"}}
            << LinkMap{{"docs", "@OUTSIDE@"}, {"file.txt", "@OUTSIDE@/target.txt"}} << QStringList{}
            << QStringList{"docs/a.txt"};
        // Chains that stay inside are made.
        QTest::newRow("through a folder link, downwards")
            << std::vector<vzt::TarItem>{{"sub/f.txt", "f"},
                                         {"d", {}, '2', "sub"},
                                         {"e", {}, '2', "d/f.txt"},
                                         {"sub/back", {}, '2', "../d/f.txt"},
                                         {"hard", {}, '1', "sub/f.txt"}}
            << LinkMap{} << QStringList{"d", "e", "sub/back"} << QStringList{};
    }
    void linkChains() {
        QFETCH(std::vector<vzt::TarItem>, items);
        QFETCH(LinkMap, existingLinks);
        QFETCH(QStringList, made);
        QFETCH(QStringList, refused);
        QTemporaryDir dir;
        const QString outside = dir.filePath("outside");
        const QString dest = dir.filePath("dest");
        QVERIFY(QDir().mkpath(outside) && QDir().mkpath(dest));
        for (auto it = existingLinks.cbegin(); it != existingLinks.cend(); ++it) {
            QVERIFY(QFile::link(QString(it.value()).replace("@OUTSIDE@", outside),
                                dest + "/" + it.key()));
        }
        for (vzt::TarItem& item : items)
            item.link.replace("@OUTSIDE@", outside.toUtf8());
        const QString tar = dir.filePath("chain.tar");
        QVERIFY(vzt::WriteAll(tar, vzt::Tar(items)));
        TestObserver observer;
        auto u = OpenPath(tar, &observer);
        QVERIFY(u);
        QCOMPARE(u->UnpackArchive(dest), refused.isEmpty());
        QCOMPARE(observer.reports.size(), refused.size());
        for (const QString& name : refused) {
            const QFileInfo refusedLink(dest + "/" + name);
            QVERIFY2(!refusedLink.isSymLink() && !refusedLink.isFile(), qPrintable(name));
            QVERIFY(observer.reports.join('\n').contains(name.section('/', 0, 0)));
        }
        for (const QString& name : made)
            QVERIFY2(QFileInfo(dest + "/" + name).isSymLink(), qPrintable(name));
        // Every link this unpack made resolves to a place inside the destination.
        const QString root = QFileInfo(dest).canonicalFilePath();
        for (const QString& path : vzt::ListTree(dest)) {
            const QFileInfo link(dest + "/" + path);
            if (!link.isSymLink() || existingLinks.contains(path))
                continue;
            const QString resolved = link.canonicalFilePath();  // empty when it dangles
            QVERIFY2(resolved.isEmpty() || resolved == root || resolved.startsWith(root + "/"),
                     qPrintable(path + " -> " + resolved));
        }
        QVERIFY(vzt::ListTree(outside).isEmpty());
        const QByteArray tag = QTest::currentDataTag();
        if (tag == "through a folder link, downwards")
            QVERIFY(vzt::ReadAll(dest + "/e") == "f" && vzt::ReadAll(dest + "/hard") == "f");
        if (tag == "files through links already there")
            QCOMPARE(vzt::ReadAll(dest + "/file.txt"), QByteArray("new"));
    }

    void damagedArchives_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<double>("keep");  // the share of the archive that is kept
        for (const char* k : {"zip", "7z", "tgz", "tbz2", "rar", "cab"})
            QTest::newRow(qPrintable(QString(k) + " half")) << QString(k) << 0.5;
        // An image is mostly padding after its files: only a cut into its headers damages it.
        for (const char* k : {"zip", "7z", "tgz", "tbz2", "rar", "cab", "iso"})
            QTest::newRow(qPrintable(QString(k) + " head")) << QString(k) << 0.05;
    }
    void damagedArchives() {
        QFETCH(QString, kind);
        QFETCH(double, keep);
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.bin", vzt::RandomBytes(40000, 1)},
                                                    {"b/c.bin", vzt::RandomBytes(40000, 2)}}));
        const auto a = vzt::MakeFamilyArchive(kind, dir.filePath("src"), dir.filePath("out"));
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        QVERIFY(QFile::resize(a.path, qint64(QFileInfo(a.path).size() * keep)));
        const QString dest = dir.filePath("dest");
        TestObserver observer;
        auto u = OpenPath(a.path, &observer);
        if (!u)
            return;  // refused at open: a clean failure
        ArchiveLevel level;
        u->ListLevel(QString(), level);
        QVERIFY(!u->UnpackArchive(dest) || vzt::ListTree(dest).size() < 3);
        QVERIFY(!u->LastError().isEmpty() || vzt::ListTree(dest).size() < 3);
        QVERIFY(vzt::ListTree(dest).filter(".vz-").isEmpty());  // no partial write
        // Whatever was written is whole: a file of the archive, byte for byte.
        if (QFile::exists(dest + "/a.bin"))
            QCOMPARE(vzt::ReadAll(dest + "/a.bin"), vzt::RandomBytes(40000, 1));
    }

    // A listing's parser runs in a worker under limits: one that grows without end is killed
    // by its memory limit, one that hangs by the user's Stop or, left alone, once it has
    // neither written nor read for 10 s; either way nothing is listed.
    void boundedListing_data() {
        QTest::addColumn<QByteArray>("misbehaviour");
        QTest::addColumn<int>("stopAfterPolls");
        QTest::addColumn<QString>("error");
        QTest::newRow("memory") << QByteArray("hog") << -1
                                << "within the program's limits (memory/time)";
        QTest::newRow("stopped") << QByteArray("hang") << 3 << "The listing was stopped.";
        QTest::newRow("hung") << QByteArray("hang") << -1
                              << "within the program's limits (memory/time)";
    }
    void boundedListing() {
        QFETCH(QByteArray, misbehaviour);
        QFETCH(int, stopAfterPolls);
        QFETCH(QString, error);
        if (qEnvironmentVariable("VELAZIP_LIST_WORKER").isEmpty())
            QSKIP("no listing worker named by VELAZIP_LIST_WORKER");
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.txt", "a"}}));
        const auto a = vzt::MakeFamilyArchive("tgz", dir.filePath("src"), dir.filePath("out"));
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        TestObserver observer;
        auto u = OpenPath(a.path, &observer);
        QVERIFY(u);
        observer.stopAfterPolls = stopAfterPolls;
        qputenv("VELAZIP_LIST_WORKER_TEST", misbehaviour);
        ArchiveLevel level;
        const bool listed = u->ListLevel(QString(), level);
        qunsetenv("VELAZIP_LIST_WORKER_TEST");
        QVERIFY(!listed && level.files.isEmpty());
        QVERIFY2(u->LastError().contains(error), qPrintable(u->LastError()));
        QCOMPARE(u->WasCancelled(), stopAfterPolls >= 0);
    }

    // Sizes that the headers claim but the data does not have: an error that says which, the
    // file not written, nothing allocated for the claim. A gzip that claims more than deflate
    // makes of it (as one that holds a gzip that holds a gzip ...) is refused at open.
    void lyingSizes_data() {
        QTest::addColumn<QString>("archive");  // "<declared size>.zip", or a sample
        QTest::addColumn<QString>("reason");
        QTest::newRow("zip claims 2 GiB") << "2147483632.zip"
                                          << "";
        QTest::newRow("zip holds more")
            << "10.zip"
            << "its data is longer than its header declares (20 bytes, not 10)";
        QTest::newRow("gzip of gzips") << "libarchive/test_read_filter_gzip_recursive.gz"
                                       << "it is damaged";
    }
    void lyingSizes() {
        QFETCH(QString, archive);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        QString path = dir.filePath(archive);
        const quint32 declared = archive.section('.', 0, 0).toUInt();
        const QByteArray size(reinterpret_cast<const char*>(&declared), 4);  // little-endian
        if (archive.endsWith(".zip")) {  // the uncompressed size of both headers
            QByteArray zip = vzt::StoredZip({{"big.bin", QByteArray(20, 'x')}});
            zip.replace(22, 4, size).replace(zip.indexOf("PK\x01\x02") + 24, 4, size);
            QVERIFY(vzt::WriteAll(path, zip));
        } else if ((path = Sample(archive)).isEmpty()) {
            QSKIP("../shared/testdata is not beside the project: libarchive samples skipped");
        }
        CArchiveUnpacker u(vz::ClassifyPath(path, vzt::AllExtensions()));
        const bool opened = vz::OpenForFamily(u, path);
        QCOMPARE(opened, archive.endsWith(".zip"));
        QVERIFY(!opened || !u.UnpackArchive(dir.filePath("dest")));
        QVERIFY2(u.LastError().contains(reason), qPrintable(u.LastError()));
        QVERIFY(!QFile::exists(dir.filePath("dest/big.bin")));
        QVERIFY(vzt::ListTree(dir.path()).filter(".vz-").isEmpty());
    }

    // A zip whose end record is damaged is read from its local headers, with a note; without
    // a local header the first failure stands.
    void damagedEndRecord_data() {
        QTest::addColumn<QString>("archive");   // a sample, or "<what>.zip" made here
        QTest::addColumn<QString>("contents");  // of the entry "a", empty when refused
        QTest::newRow("end signature broken") << "broken.zip"
                                              << "a1";
        QTest::newRow("only a central directory") << "nolocal.zip"
                                                  << "";
        QTest::newRow("libarchive sample") << "libarchive/test_read_format_zip_extra_padding.zip"
                                           << "b\n";
    }
    void damagedEndRecord() {
        QFETCH(QString, archive);
        QFETCH(QString, contents);
        QTemporaryDir dir;
        QString path = dir.filePath(archive);
        QByteArray zip = vzt::StoredZip({{"a", "a1"}, {"d/b", "b2"}});
        if (archive == "broken.zip") {
            zip[zip.lastIndexOf("PK\x05\x06") + 3] = 'X';
            QVERIFY(vzt::WriteAll(path, zip));
        } else if (archive == "nolocal.zip") {
            QVERIFY(vzt::WriteAll(
                path, zip.mid(zip.indexOf("PK\x01\x02")).replace("PK\x05\x06", "PK\x05X")));
        } else if ((path = Sample(archive)).isEmpty()) {
            QSKIP("../shared/testdata is not beside the project: libarchive samples skipped");
        }
        CArchiveUnpacker u(vz::ClassifyPath(path, vzt::AllExtensions()));
        const bool opened = vz::OpenForFamily(u, path);
        QCOMPARE(opened, !contents.isEmpty());
        QVERIFY2(opened ? u.Note().contains("damaged") && u.LastError().isEmpty()
                        : u.LastError().contains("Cannot open"),
                 qPrintable(u.LastError()));
        QVERIFY(!opened || u.UnpackArchive(dir.filePath("dest")));
        QCOMPARE(QString(vzt::ReadAll(dir.filePath("dest/a"))), contents);
    }

    // Every gzip member's CRC and size are checked, which libarchive's reader does not do;
    // so is zip data that is inflated ahead of the unpack.
    void gzipTrailers_data() {
        QTest::addColumn<QString>("command");  // makes x.gz (or x.tgz, x.zip) from a.txt
        QTest::addColumn<int>("flip");  // the byte counted from the end to spoil; 0 none; -1 the
                                        // middle (the first CRC of two same-sized members)
        QTest::addColumn<QString>("damage");
        QTest::newRow("whole") << "gzip -c a.txt > x.gz" << 0 << "";
        QTest::newRow("two members") << "gzip -c a.txt > x.gz; gzip -c a.txt >> x.gz" << 0 << "";
        QTest::newRow("crc") << "gzip -c a.txt > x.gz" << 8 << "CRC error";
        QTest::newRow("size") << "gzip -c a.txt > x.gz" << 4 << "size error";
        QTest::newRow("first member's crc")
            << "gzip -c a.txt > x.gz; gzip -c a.txt >> x.gz" << -1 << "CRC error";
        QTest::newRow("tgz crc") << "tar czf x.tgz a.txt" << 8 << "CRC error";
        QTest::newRow("zip data") << "zip -q x.zip a.txt" << -1 << "Cannot unpack a.txt from";
    }
    void gzipTrailers() {
        QFETCH(QString, command);
        QFETCH(int, flip);
        QFETCH(QString, damage);
        QTemporaryDir dir;
        QByteArray text;
        for (int i = 0; i < 2000; ++i)
            text += QByteArray::number(i) + '\n';
        QVERIFY(vzt::WriteAll(dir.filePath("a.txt"), text));
        QVERIFY(vzt::Shell(command, dir.path()).Ok());
        const QString path = dir.filePath(command.section(' ', -2, -2) == "x.zip" ? "x.zip"
                                          : command.contains("x.tgz")             ? "x.tgz"
                                                                                  : "x.gz");
        QByteArray data = vzt::ReadAll(path);
        if (flip < 0)
            flip = static_cast<int>(data.size() / 2) + 8;
        if (flip)
            data[data.size() - flip] = static_cast<char>(data[data.size() - flip] ^ 0x5a);
        QVERIFY(vzt::WriteAll(path, data));
        CArchiveUnpacker u(vz::ClassifyPath(path, vzt::AllExtensions()));
        QVERIFY(vz::OpenForFamily(u, path));
        QCOMPARE(u.Test(), damage.isEmpty());
        QVERIFY2(u.LastError().contains(damage), qPrintable(u.LastError()));
        QCOMPARE(u.UnpackArchive(dir.filePath("dest")), damage.isEmpty());  // said there too
    }

    // A tar in each compression that bsdtar writes reads; one whose compress header is junk
    // fails cleanly (the compress filter once read it before the file was open, and crashed).
    void compressedTars_data() {
        QTest::addColumn<QString>("option");  // empty: compress magic, then junk
        for (const char* o : {"-Z", "--lzip", "--lz4", "--zstd", "-J", ""})
            QTest::newRow(*o ? o : "junk after compress magic") << QString(o);
    }
    void compressedTars() {
        QFETCH(QString, option);
        QTemporaryDir dir;
        const QString tar = dir.filePath("t.tar");
        QVERIFY(vzt::WriteAll(dir.filePath("src/a.txt"), "hello"));
        if (option.isEmpty())
            QVERIFY(vzt::WriteAll(tar, QByteArray("\x1f\x9d\x2e\x2f") + QByteArray(600, 0)));
        else
            QVERIFY(
                vzt::Run("bsdtar", {"-cf", tar, option, "-C", dir.filePath("src"), "a.txt"}).Ok());
        CArchiveUnpacker u(vz::ClassifyPath(tar, vzt::AllExtensions()));
        const bool unpacked = vz::OpenForFamily(u, tar) && u.UnpackArchive(dir.filePath("dest"));
        QCOMPARE(unpacked, !option.isEmpty());
        QCOMPARE(vzt::ReadAll(dir.filePath("dest/a.txt")), option.isEmpty() ? "" : "hello");
    }

    // Yes, Yes To All, No and Cancel when files exist.
    void overwriteAnswers_data() {
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<int>("asked");
        QTest::addColumn<bool>("cancelled");
        QTest::addColumn<QString>("contents");  // of 1.txt to 4.txt afterwards
        using A = ReplaceAnswer;
        QTest::newRow("no, yes, then yes to all: the fourth is not asked")
            << QList<int>{int(A::No), int(A::Yes), int(A::YesToAll)} << 3 << false
            << "old1,new2,new3,new4";
        QTest::newRow("cancel on the second: the first stays replaced, the rest untouched")
            << QList<int>{int(A::Yes), int(A::Cancel)} << 2 << true << "new1,old2,old3,old4";
    }
    void overwriteAnswers() {
        QFETCH(QList<int>, answers);
        QFETCH(int, asked);
        QFETCH(bool, cancelled);
        QFETCH(QString, contents);
        QTemporaryDir dir;
        const QString dest = dir.filePath("dest");
        for (const char* n : {"1", "2", "3", "4"}) {
            QVERIFY(vzt::WriteAll(dir.filePath("src/") + n + ".txt", QByteArray("new") + n));
            QVERIFY(vzt::WriteAll(dest + "/" + n + ".txt", QByteArray("old") + n));
        }
        const auto a = vzt::MakeFamilyArchive("zip", dir.filePath("src"), dir.filePath("out"));
        TestObserver o;
        for (const int answer : answers)
            o.overwriteAnswers.push_back(ReplaceAnswer(answer));
        auto u = OpenPath(a.path, &o);
        QVERIFY(u);
        u->SetIni(INIUNPACK());
        QStringList inArchiveOrder;
        QVERIFY(u->VisitEntries([&](const ARCHIVEFILEFULLINFO& e) {
            inArchiveOrder << dest + "/" + e.path;
            return true;
        }));
        QCOMPARE(u->UnpackArchive(dest), !cancelled);
        QCOMPARE(u->WasCancelled(), cancelled);
        QCOMPARE(o.asked, inArchiveOrder.mid(0, asked));
        QStringList now;
        for (const char* n : {"1.txt", "2.txt", "3.txt", "4.txt"})
            now << vzt::ReadAll(dest + "/" + n);
        QCOMPARE(now.join(','), contents);
        QVERIFY(vzt::ListTree(dest).filter(".vz-").isEmpty());  // no partial write
    }

    // A Stop keeps what was finished and leaves no partial file (nor a zip entry inflated
    // ahead of the unpack).
    void stopLeavesNoPartialFile_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("tgz") << "tgz";
        QTest::newRow("zip") << "zip";
    }
    void stopLeavesNoPartialFile() {
        QFETCH(QString, kind);
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.bin", vzt::RandomBytes(3 << 20, 1)},
                                                    {"b.bin", vzt::RandomBytes(8 << 20, 2)}}));
        const auto a = vzt::MakeFamilyArchive(kind, dir.filePath("src"), dir.filePath("out"));
        const QString dest = dir.filePath("dest");
        TestObserver o;
        o.stopAfterPolls = 6;  // a.bin (polled at its start and per MiB) finishes, b.bin does not
        auto u = OpenPath(a.path, &o);
        QVERIFY(u);
        QVERIFY(!u->UnpackArchive(dest));
        QVERIFY(u->WasCancelled());
        QCOMPARE(vzt::ListTree(dest), QStringList{"a.bin"});
        QCOMPARE(vzt::ReadAll(dest + "/a.bin"), vzt::RandomBytes(3 << 20, 1));
    }

    // Encrypted 7z and RAR entries fail with that reason, not a decoder's; the rest is unpacked.
    // RAR 4 encryption, which no free decoder reads: the plain entries unpack, the others
    // are named with the reason (encrypted 7z and RAR 5 read through tools: tst_encrypted).
    void encryptedRar4Entries() {
        QTemporaryDir dir;
        const QByteArray bin = vzt::RandomBytes(30000, 4);
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.txt", "hello"}, {"b.bin", bin}}));
        const QString path = dir.filePath("x.rar");
        QVERIFY(vzt::WriteStoredRar(path, {{"a.txt", "hello"}, {"b.bin", bin, false, 0, true}}));
        const QString expected =
            QStringLiteral(
                "b.bin from %1: it is encrypted, and encrypted RAR entries cannot be read")
                .arg(path);
        CArchiveUnpacker u(vz::ClassifyPath(path, vzt::AllExtensions()));
        QVERIFY(vz::OpenForFamily(u, path));
        TestObserver observer;
        u.SetHandleDialogProgress(&observer);
        QVERIFY(!u.UnpackArchive(dir.filePath("dest")));
        QVERIFY(observer.reports.join('\n').contains(expected));
        QCOMPARE(vzt::ListTree(dir.filePath("dest")), QStringList{"a.txt"});
        QVERIFY(!u.Test() && u.LastError().contains(expected));
        QVERIFY(u.GetFileOutputInfo("b.bin").endsWith(", encrypted"));
    }

    void passwords_data() {
        QTest::addColumn<QString>("command");
        const QString aes = "7zz a -bso0 -tzip -mem=AES256 -psecret x.zip a.txt b.bin";
        QTest::newRow("zip 2.0") << "zip -q -P secret x.zip a.txt b.bin";
        QTest::newRow("aes-256") << aes;
        // Read through libzip, which checks a CRC that AES entries do not record.
        QTest::newRow("aes-256 over bzip2") << aes + " -mm=BZip2";
        // libzip 1.7 has no LZMA under AES: 7zz reads it, the password on its input.
        QTest::newRow("aes-256 over lzma") << "seq 20000 > b.bin && " + aes + " -mm=LZMA";
    }
    void passwords() {
        QFETCH(QString, command);
        QTemporaryDir dir;
        const QByteArray bin = vzt::RandomBytes(100000, 9);
        QVERIFY(vzt::MakeTree(dir.path(), {{"a.txt", "hello"}, {"b.bin", bin}}));
        QVERIFY(vzt::Shell(command, dir.path()).Ok());
        const QByteArray original = vzt::ReadAll(dir.filePath("b.bin"));  // the command may make it
        QString zip = dir.filePath("x.zip");
        int asked = 0;
        bool cancelled = false;
        const auto unpack = [&](const QString& dest, std::deque<QString> passwords) {
            TestObserver o;
            o.passwords = std::move(passwords);
            auto u = OpenPath(zip, &o);
            const bool ok = u && u->UnpackArchive(dir.filePath(dest));
            asked = o.passwordQuestions;
            cancelled = u && u->WasCancelled();
            return ok && vzt::ReadAll(dir.filePath(dest + "/b.bin")) == original;
        };
        QVERIFY(unpack("d1", {"wrong", "secret"}));  // a wrong answer: asked again
        QCOMPARE(asked, 2);
        QVERIFY(unpack("d4", {}) && asked == 0);      // remembered for the archive
        const QString other = dir.filePath("y.zip");  // another archive is asked for again
        QVERIFY(QFile::rename(zip, other));
        zip = other;
        QVERIFY(!unpack("d2", {}) && cancelled);  // the user cancels: a clean stop
        QVERIFY(!unpack("d3", {"1", "2", "3", "4", "5", "6", "7", "8"}));
        QVERIFY(asked <= 6 && !cancelled);  // wrong answers are not asked for ever
        for (const char* d : {"d2", "d3"})
            QVERIFY(vzt::ListTree(dir.filePath(d)).isEmpty());
    }
};

QTEST_GUILESS_MAIN(SafetyTest)
#include "tst_safety.moc"
