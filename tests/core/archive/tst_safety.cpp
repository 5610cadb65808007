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

Q_DECLARE_METATYPE(std::vector<vzt::TarItem>)

namespace {

using LinkMap = QMap<QString, QString>;  // a link's name in the destination -> its target

std::unique_ptr<CArchiveUnpacker> OpenPath(const QString& path) {
    auto u = vz::CreateUnpacker(vz::ClassifyPath(path, vzt::AllExtensions()));
    if (!u || !vz::OpenForFamily(*u, path))
        return nullptr;
    return u;
}

// Files whose names betray a partial write.
QStringList Leftovers(const QString& root) {
    return vzt::ListTree(root).filter(".vz-");
}

}  // namespace

class SafetyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hostileNames_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("parent") << QByteArray("../evil.txt");
        QTest::newRow("deeper parent") << QByteArray("a/../../evil.txt");
        QTest::newRow("absolute") << QByteArray("/tmp/evil.txt");
        QTest::newRow("backslash parent") << QByteArray("..\\evil.txt");
        QTest::newRow("drive letter") << QByteArray("C:\\evil.txt");
    }
    void hostileNames() {
        QFETCH(QByteArray, name);
        QTemporaryDir dir;
        const QString dest = dir.filePath("dest/inner");
        QVERIFY(QDir().mkpath(dest));
        const QString zip = dir.filePath("evil.zip");
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({{name, "evil"}, {"ok.txt", "fine"}})));
        auto u = OpenPath(zip);
        QVERIFY(u);
        ArchiveLevel level;
        QVERIFY(u->ListLevel(QString(), level));
        QCOMPARE(level.files, QStringList{"ok.txt"});  // the hostile entry is not listed
        // ... but every entry is there for those who ask for all, marked, as it is named.
        const std::vector<ARCHIVEFILEFULLINFO>* all = nullptr;
        QVERIFY(u->AllEntries(all));
        QCOMPARE(all->size(), size_t(2));
        QVERIFY(all->at(0).refused && !all->at(1).refused);
        QCOMPARE(all->at(0).path, QString::fromUtf8(name));
        TestObserver observer;
        u->SetHandleDialogProgress(&observer);
        QVERIFY(!u->UnpackArchive(dest));  // refused and reported ...
        QCOMPARE(observer.reports.size(), 1);
        QVERIFY(observer.reports[0].contains("Refused"));
        QCOMPARE(vzt::ListTree(dir.filePath("dest")),
                 (QStringList{"inner/", "inner/ok.txt"}));  // ... the rest extracted
        QVERIFY(!QFile::exists("/tmp/evil.txt") || vzt::ReadAll("/tmp/evil.txt") != "evil");
    }

    void linksThatLeadAway() {
        QTemporaryDir dir;
        const QString outside = dir.filePath("outside");
        QVERIFY(QDir().mkpath(outside));
        const QString dest = dir.filePath("dest");
        QVERIFY(QDir().mkpath(dest));
        const QString tar = dir.filePath("links.tar");
        QVERIFY(vzt::WriteAll(tar, vzt::Tar({
                                       {"good.txt", "good"},
                                       {"abs", {}, '2', outside.toUtf8()},
                                       {"abs/evil1.txt", "evil"},
                                       {"up", {}, '2', "../outside"},
                                       {"up/evil2.txt", "evil"},
                                       {"hard", {}, '1', "/etc/passwd"},
                                       {"hard2", {}, '1', "good.txt"},
                                       {"inside", {}, '2', "good.txt"},
                                       {"sub/uplink", {}, '2', "../good.txt"},
                                   })));
        auto u = OpenPath(tar);
        QVERIFY(u);
        TestObserver observer;
        u->SetHandleDialogProgress(&observer);
        QVERIFY(!u->UnpackArchive(dest));
        QCOMPARE(observer.reports.size(), 3);  // abs, up and the hard link to /etc/passwd
        QVERIFY(vzt::ListTree(outside).isEmpty());
        QVERIFY(!QFileInfo(dest + "/abs").isSymLink());
        QVERIFY(!QFileInfo(dest + "/up").isSymLink());
        QCOMPARE(QFileInfo(dest + "/inside").symLinkTarget(), dest + "/good.txt");
        QCOMPARE(QFileInfo(dest + "/sub/uplink").symLinkTarget(), dest + "/good.txt");
        QCOMPARE(vzt::ReadAll(dest + "/hard2"), QByteArray("good"));
        QVERIFY(!QFile::exists(dest + "/hard"));
    }

    // Links whose target text looks harmless but leads away through other links: those made
    // earlier in the same unpack, and those already in the destination.
    void linkChains_data() {
        QTest::addColumn<std::vector<vzt::TarItem>>("items");
        QTest::addColumn<LinkMap>("existingLinks");
        QTest::addColumn<QStringList>("made");     // links that must exist
        QTest::addColumn<QStringList>("refused");  // links that must not
        const QString outside = "@OUTSIDE@";
        QTest::newRow("dot, then up through it")
            << std::vector<vzt::TarItem>{{"l1", {}, '2', "."}, {"l2", {}, '2', "l1/.."}}
            << LinkMap{} << QStringList{"l1"} << QStringList{"l2"};
        QTest::newRow("deeper dots, then up through them")
            << std::vector<vzt::TarItem>{{"a/", {}, '5'},
                                         {"a/here", {}, '2', "."},
                                         {"a/up", {}, '2', "here/../.."}}
            << LinkMap{} << QStringList{"a/here"} << QStringList{"a/up"};
        QTest::newRow("through a link that points outside")
            << std::vector<vzt::TarItem>{{"x", {}, '2', "ok/y"}} << LinkMap{{"ok", outside}}
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
        // Chains that stay inside are made.
        QTest::newRow("through a folder link, downwards")
            << std::vector<vzt::TarItem>{{"sub/f.txt", "f"},
                                         {"d", {}, '2', "sub"},
                                         {"e", {}, '2', "d/f.txt"},
                                         {"sub/back", {}, '2', "../d/f.txt"}}
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
            const QString target = it.value() == "@OUTSIDE@" ? outside : it.value();
            QVERIFY(QFile::link(target, dest + "/" + it.key()));
        }
        const QString tar = dir.filePath("chain.tar");
        QVERIFY(vzt::WriteAll(tar, vzt::Tar(items)));
        auto u = OpenPath(tar);
        QVERIFY(u);
        TestObserver observer;
        u->SetHandleDialogProgress(&observer);
        QCOMPARE(u->UnpackArchive(dest), refused.isEmpty());
        QCOMPARE(observer.reports.size(), refused.size());
        for (const QString& name : refused) {
            QVERIFY2(!QFileInfo(dest + "/" + name).isSymLink(), qPrintable(name));
            QVERIFY(observer.reports.join('\n').contains(name));
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
        if (QTest::currentDataTag() == QByteArray("through a folder link, downwards"))
            QCOMPARE(vzt::ReadAll(dest + "/e"), QByteArray("f"));
    }

    // A link that already exists in the destination is never walked through.
    void existingLinkInDestination() {
        QTemporaryDir dir;
        const QString outside = dir.filePath("outside");
        const QString dest = dir.filePath("dest");
        QVERIFY(QDir().mkpath(outside) && QDir().mkpath(dest));
        QVERIFY(QFile::link(outside, dest + "/docs"));
        QVERIFY(QFile::link(outside + "/target.txt", dest + "/file.txt"));
        const QString zip = dir.filePath("x.zip");
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({{"docs/a.txt", "a"}, {"file.txt", "new"}})));
        auto u = OpenPath(zip);
        QVERIFY(u);
        INIUNPACK ini;
        ini.AskBeforeOverwriting = false;
        u->SetIni(ini);
        TestObserver observer;
        u->SetHandleDialogProgress(&observer);
        QVERIFY(!u->UnpackArchive(dest));
        QVERIFY(vzt::ListTree(outside).isEmpty());            // nothing went through either link
        QVERIFY(!QFileInfo(dest + "/file.txt").isSymLink());  // the link itself was replaced
        QCOMPARE(vzt::ReadAll(dest + "/file.txt"), QByteArray("new"));
        QVERIFY(observer.reports.join(' ').contains("symbolic link"));
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
        QFile f(a.path);
        QVERIFY(f.resize(static_cast<qint64>(f.size() * keep)));
        const QString dest = dir.filePath("dest");
        QDir().mkpath(dest);
        auto u = OpenPath(a.path);
        if (!u)
            return;  // refused at open: a clean failure
        TestObserver observer;
        u->SetHandleDialogProgress(&observer);
        ArchiveLevel level;
        u->ListLevel(QString(), level);
        QVERIFY(!u->UnpackArchive(dest) || vzt::ListTree(dest).size() < 3);
        QVERIFY(!u->LastError().isEmpty() || vzt::ListTree(dest).size() < 3);
        QVERIFY(Leftovers(dest).isEmpty());
        // Whatever was written is whole: a file of the archive, byte for byte.
        if (QFile::exists(dest + "/a.bin"))
            QCOMPARE(vzt::ReadAll(dest + "/a.bin"), vzt::RandomBytes(40000, 1));
    }

    // Sizes that the headers claim but the data does not have are an error, and nothing
    // is allocated after them.
    void lyingSizes() {
        QTemporaryDir dir;
        const QString zip = dir.filePath("lie.zip");
        vzt::ZipItem item{"big.bin", "short", 0100644u << 16, 3, 0x7FFFFFF0LL, true};
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({item})));
        auto u = OpenPath(zip);
        QVERIFY(u);
        QVERIFY(u->GetFileOutputInfo("big.bin").startsWith("Size - 2 147 483 632 bytes"));
        u->UnpackArchive(dir.path() + "/dest");
        QVERIFY(!QFile::exists(dir.path() + "/dest/big.bin"));
        QVERIFY(Leftovers(dir.path()).isEmpty());
    }

    // Data that does not match the CRC of the central directory is never written.
    void corruptData() {
        QTemporaryDir dir;
        QByteArray zip = vzt::StoredZip({{"a.txt", "original data"}, {"b.txt", "more"}});
        const int at = zip.indexOf("original");
        zip[at] = 'O';
        const QString path = dir.filePath("bad.zip");
        QVERIFY(vzt::WriteAll(path, zip));
        auto u = OpenPath(path);
        QVERIFY(u);
        TestObserver o;
        u->SetHandleDialogProgress(&o);
        QVERIFY(!u->UnpackArchive(dir.filePath("dest")));
        QCOMPARE(vzt::ListTree(dir.filePath("dest")), QStringList{"b.txt"});
        QVERIFY(u->LastError().contains("CRC") || u->LastError().contains("a.txt"));
        QVERIFY(!u->Test());
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
        QVERIFY(vzt::MakeTree(
            dir.filePath("src"),
            {{"1.txt", "new1"}, {"2.txt", "new2"}, {"3.txt", "new3"}, {"4.txt", "new4"}}));
        const auto a = vzt::MakeFamilyArchive("zip", dir.filePath("src"), dir.filePath("out"));
        const QString dest = dir.filePath("dest");
        QVERIFY(vzt::MakeTree(
            dest, {{"1.txt", "old1"}, {"2.txt", "old2"}, {"3.txt", "old3"}, {"4.txt", "old4"}}));
        auto u = OpenPath(a.path);
        QVERIFY(u);
        u->SetIni(INIUNPACK());
        TestObserver o;
        for (const int answer : answers)
            o.overwriteAnswers.push_back(ReplaceAnswer(answer));
        u->SetHandleDialogProgress(&o);
        QCOMPARE(u->UnpackArchive(dest), !cancelled);
        QCOMPARE(u->WasCancelled(), cancelled);
        QCOMPARE(o.asked.size(), asked);
        QStringList now;
        for (const char* n : {"1.txt", "2.txt", "3.txt", "4.txt"})
            now << vzt::ReadAll(dest + "/" + n);
        QCOMPARE(now.join(','), contents);
        QVERIFY(Leftovers(dest).isEmpty());
    }

    // A Stop keeps what was finished and leaves no partial file.
    void stopLeavesNoPartialFile() {
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.bin", vzt::RandomBytes(3 << 20, 1)},
                                                    {"b.bin", vzt::RandomBytes(8 << 20, 2)}}));
        const auto a = vzt::MakeFamilyArchive("tgz", dir.filePath("src"), dir.filePath("out"));
        const QString dest = dir.filePath("dest");
        QDir().mkpath(dest);
        auto u = OpenPath(a.path);
        TestObserver o;
        o.stopAfterPolls = 6;  // a.bin (polled at its start and per MiB) finishes, b.bin does not
        u->SetHandleDialogProgress(&o);
        QVERIFY(!u->UnpackArchive(dest));
        QVERIFY(u->WasCancelled());
        QCOMPARE(vzt::ListTree(dest), QStringList{"a.bin"});
        QCOMPARE(vzt::ReadAll(dest + "/a.bin"), vzt::RandomBytes(3 << 20, 1));
    }

    // Only zip entries can be decrypted: encrypted 7z and RAR entries fail with that reason
    // (not with a decoder's error), and the rest of the archive is unpacked.
    void encryptedEntriesOfOtherFamilies_data() {
        QTest::addColumn<QString>("command");  // makes x.7z or x.rar; empty: the RAR writer
        QTest::addColumn<QString>("archive");
        QTest::addColumn<QStringList>("unpacked");
        QTest::addColumn<QString>("reason");
        QTest::newRow("7z") << "7zz a -bso0 -psecret x.7z a.txt b.bin"
                            << "x.7z" << QStringList{}
                            << "b.bin from %1: it is encrypted, and encrypted 7-Zip entries "
                               "cannot be read (only zip archives can be decrypted).";
        QTest::newRow("7z with encrypted headers")
            << "7zz a -bso0 -psecret -mhe=on x.7z a.txt b.bin"
            << "x.7z" << QStringList{}
            << "Cannot open the archive %1: its headers are encrypted, and encrypted 7-Zip "
               "archives cannot be read (only zip archives can be decrypted).";
        QTest::newRow("RAR") << QString() << "x.rar" << QStringList{"a.txt"}
                             << "b.bin from %1: it is encrypted, and encrypted RAR entries "
                                "cannot be read (only zip archives can be decrypted).";
    }
    void encryptedEntriesOfOtherFamilies() {
        QFETCH(QString, command);
        QFETCH(QString, archive);
        QFETCH(QStringList, unpacked);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        const QByteArray bin = vzt::RandomBytes(30000, 4);
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.txt", "hello"}, {"b.bin", bin}}));
        const QString path = dir.filePath(archive);
        if (command.isEmpty()) {
            QVERIFY(
                vzt::WriteStoredRar(path, {{"a.txt", "hello"}, {"b.bin", bin, false, 0, true}}));
        } else {
            const auto r = vzt::Shell(command.replace(" x.", " ../x."), dir.filePath("src"));
            QVERIFY2(r.Ok(), r.output.constData());
        }
        const QString expected = reason.arg(path);
        CArchiveUnpacker u(vz::ClassifyPath(path, vzt::AllExtensions()));
        if (!vz::OpenForFamily(u, path)) {
            QCOMPARE(u.LastError(), expected);
            return;
        }
        TestObserver observer;
        u.SetHandleDialogProgress(&observer);
        QVERIFY(!u.UnpackArchive(dir.filePath("dest")));
        QVERIFY2(observer.reports.join('\n').contains(expected),
                 qPrintable(observer.reports.join('\n')));
        QCOMPARE(vzt::ListTree(dir.filePath("dest")), unpacked);
        QVERIFY(!u.Test());
        QVERIFY2(u.LastError().contains("only zip archives can be decrypted"),
                 qPrintable(u.LastError()));
        QVERIFY2(u.GetFileOutputInfo("b.bin").endsWith(", encrypted"),
                 qPrintable(u.GetFileOutputInfo("b.bin")));
    }

    void passwords_data() {
        QTest::addColumn<QString>("command");
        QTest::newRow("zip 2.0") << "zip -q -P secret x.zip a.txt b.bin";
        QTest::newRow("aes-256") << "7zz a -bso0 -tzip -mem=AES256 -psecret x.zip a.txt b.bin";
    }
    void passwords() {
        QFETCH(QString, command);
        QTemporaryDir dir;
        const QByteArray bin = vzt::RandomBytes(100000, 9);
        QVERIFY(vzt::MakeTree(dir.path(), {{"a.txt", "hello"}, {"b.bin", bin}}));
        QVERIFY(vzt::Shell(command, dir.path()).Ok());
        const QString zip = dir.filePath("x.zip");
        {  // asked once for the archive, after a wrong answer asked again
            auto u = OpenPath(zip);
            TestObserver o;
            o.passwords = {"wrong", "secret"};
            u->SetHandleDialogProgress(&o);
            QVERIFY2(u->UnpackArchive(dir.filePath("d1")), qPrintable(u->LastError()));
            QCOMPARE(o.passwordQuestions, 2);
            QCOMPARE(vzt::ReadAll(dir.filePath("d1/b.bin")), bin);
        }
        {  // the user cancels: a clean stop, no partial file
            auto u = OpenPath(zip);
            TestObserver o;
            u->SetHandleDialogProgress(&o);
            QVERIFY(!u->UnpackArchive(dir.filePath("d2")));
            QVERIFY(u->WasCancelled());
            QVERIFY(vzt::ListTree(dir.filePath("d2")).isEmpty());
        }
        {  // wrong answers are not asked for ever
            auto u = OpenPath(zip);
            TestObserver o;
            o.passwords = {"1", "2", "3", "4", "5", "6", "7", "8"};
            u->SetHandleDialogProgress(&o);
            QVERIFY(!u->UnpackArchive(dir.filePath("d3")));
            QVERIFY(o.passwordQuestions <= 6);
            QVERIFY(vzt::ListTree(dir.filePath("d3")).isEmpty());
        }
        {  // a password given beforehand is not asked for
            auto u = OpenPath(zip);
            TestObserver o;
            u->SetPassword("secret");
            u->SetHandleDialogProgress(&o);
            QVERIFY(u->Test());
            QCOMPARE(o.passwordQuestions, 0);
        }
    }
};

QTEST_GUILESS_MAIN(SafetyTest)
#include "tst_safety.moc"
