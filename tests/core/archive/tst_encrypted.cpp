// Encrypted 7z archives (through 7zz) and RAR entries (through unar): passwords asked,
// asked again and remembered, names refused, Stop, and 7z data that libarchive cannot decode.

#include <unistd.h>

#include <QDirIterator>
#include <QTemporaryDir>
#include <QtTest>

#include "RarWriter.h"
#include "TestObserver.h"
#include "TestSupport.h"
#include "archive/CArchiveUnpacker.h"

namespace {
// The command lines of this process's children now.
QStringList ChildCommandLines() {
    QStringList out;
    QDirIterator it(QStringLiteral("/proc"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        const QString dir = it.next();
        const QByteArray stat = vzt::ReadAll(dir + "/stat");
        const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1 && fields[1].toLongLong() == getpid())
            out << QString::fromUtf8(vzt::ReadAll(dir + "/cmdline").replace('\0', ' '));
    }
    return out;
}
}  // namespace

class EncryptedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        if (!vzt::HaveTool("7zz") || !vzt::HaveTool("unar"))
            QSKIP("7zz or unar is not installed");
    }

    void unpack_data() {
        QTest::addColumn<QString>(
            "make");  // a command run in the folder, a shared sample, or "-hp"
        QTest::addColumn<QString>("archive");
        QTest::addColumn<int>("family");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("listQuestions");  // asked before the listing shows anything
        QTest::addColumn<int>("questions");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QStringList>("files");
        const QStringList all{"src/", "src/a.txt", "src/d/", "src/d/b.bin"};
        const QString he = "7zz a -mhe=on -pSECRET x.7z src";
        QTest::newRow("7z names encrypted")
            << he << "x.7z" << 6 << QStringList{"SECRET"} << 1 << 1 << true << all;
        QTest::newRow("7z names encrypted, wrong then right")
            << he << "x.7z" << 6 << QStringList{"bad", "SECRET"} << 2 << 2 << true << all;
        QTest::newRow("7z names encrypted, cancel")
            << he << "x.7z" << 6 << QStringList{} << 1 << 1 << false << QStringList{};
        const QString pe = "7zz a -pSECRET x.7z src";
        QTest::newRow("7z data encrypted")
            << pe << "x.7z" << 6 << QStringList{"SECRET"} << 0 << 1 << true << all;
        QTest::newRow("7z data encrypted, wrong then right")
            << pe << "x.7z" << 6 << QStringList{"bad", "SECRET"} << 0 << 2 << true << all;
        QTest::newRow("7z data encrypted, cancel")
            << pe << "x.7z" << 6 << QStringList{} << 0 << 1 << false << QStringList{};
        QTest::newRow("7z split set")
            << "7zz a -mhe=on -pSECRET -v60k x.7z src"
            << "x.7z.001" << 10 << QStringList{"SECRET"} << 1 << 1 << true << all;
        QTest::newRow("7z ARM64 filter libarchive cannot decode")
            << "7zz a -mf=ARM64 x.7z src"
            << "x.7z" << 6 << QStringList{} << 0 << 0 << true << all;
        QTest::newRow("7z name leading outside, refused")
            << "cd src && 7zz a -spf -mhe=on -pSECRET ../x.7z ../outside.txt a.txt"
            << "x.7z" << 6 << QStringList{"SECRET"} << 1 << 1 << false << QStringList{"a.txt"};
        // libzip decrypts AES but decodes neither beneath it (LZMA and BZip2 are in the safety
        // test's password rows).
        const QStringList withText = all + QStringList{"src/d/n.txt"};
        for (const char* method : {"PPMd", "XZ"})
            QTest::addRow("zip AES over %s", method)
                << QString(
                       "seq 20000 > src/d/n.txt && 7zz a -tzip -mem=AES256 -mm=%1 -pSECRET "
                       "x.zip src")
                       .arg(method)
                << "x.zip" << 1 << QStringList{"SECRET"} << 0 << 1 << true << withText;
        QTest::newRow("RAR 5, a password per entry")
            << "@rar5_encrypted.rar"
            << "rar5_encrypted.rar" << 4 << QStringList{"password", "password2"} << 0 << 2 << true
            << QStringList{"a.txt", "b.txt", "c.txt", "d.txt"};
        QTest::newRow("RAR 5 names encrypted")
            << "-hp"
            << "x.rar" << 4 << QStringList{"SECRET"} << 1 << 1 << true << all;
        QTest::newRow("RAR 5 names encrypted, wrong then right")
            << "-hp"
            << "x.rar" << 4 << QStringList{"bad", "SECRET"} << 2 << 2 << true << all;
        QTest::newRow("RAR 5 names encrypted, cancel")
            << "-hp"
            << "x.rar" << 4 << QStringList{} << 1 << 1 << false << QStringList{};
        QTest::newRow("RAR 4 encryption: the plain entries only")
            << "@rar4_encrypted.rar"
            << "rar4_encrypted.rar" << 4 << QStringList{"password"} << 0 << 0 << false
            << QStringList{"a.txt", "c.txt"};
    }
    void unpack() {
        QFETCH(QString, make);
        QFETCH(QString, archive);
        QFETCH(int, family);
        QFETCH(QStringList, answers);
        QFETCH(int, listQuestions);
        QFETCH(int, questions);
        QFETCH(bool, ok);
        QFETCH(QStringList, files);
        QTemporaryDir dir;
        const QByteArray big = vzt::RandomBytes(150000, 7);
        QVERIFY(vzt::MakeTree(dir.filePath("src"), {{"a.txt", "alpha"}, {"d/b.bin", big}}));
        QVERIFY(vzt::WriteAll(dir.filePath("outside.txt"), "evil"));
        if (make.startsWith('@')) {
            if (vzt::SharedTestData().isEmpty())
                QSKIP("the shared RAR samples are not there");
            // Beside its siblings, as it lies in the samples' folder.
            for (const char* name : {"rar4_encrypted.rar", "rar5_encrypted.rar"})
                QVERIFY(QFile::copy(vzt::SharedTestData() + "/rar/" + name, dir.filePath(name)));
        } else if (make == "-hp") {  // no free tool writes RAR
            QVERIFY(vzt::WriteHeaderEncryptedRar5(dir.filePath(archive),
                                                  {{"src", {}, true},
                                                   {"src/a.txt", "alpha"},
                                                   {"src/d", {}, true},
                                                   {"src/d/b.bin", big}},
                                                  "SECRET"));
        } else {
            QVERIFY2(vzt::Shell(make + " >/dev/null", dir.path()).Ok(), qPrintable(make));
        }
        QVERIFY(QFile::remove(dir.filePath("outside.txt")));
        const QString path = dir.filePath(archive);
        auto u = vz::CreateUnpacker(family);
        TestObserver o;
        o.passwords.assign(answers.begin(), answers.end());
        u->SetHandleDialogProgress(&o);
        QVERIFY2(vz::OpenForFamily(*u, path), qPrintable(u->LastError()));
        ArchiveLevel level;
        const bool listed = u->ListLevel(QString(), level);
        QCOMPARE(o.passwordQuestions, listQuestions);
        const QString dest = dir.filePath("out");
        QCOMPARE(listed && u->UnpackArchive(dest), ok);
        QCOMPARE(o.passwordQuestions, questions);
        QCOMPARE(vzt::ListTree(dest), files);
        QVERIFY(!QFile::exists(dir.filePath("outside.txt")));
        for (const QString& f : files)
            if (QFileInfo::exists(dir.filePath(f)) && !f.endsWith('/'))
                QCOMPARE(vzt::ReadAll(dest + '/' + f), vzt::ReadAll(dir.filePath(f)));
        if (make.startsWith('@'))
            for (const QString& f : files)
                QCOMPARE(vzt::ReadAll(dest + '/' + f), "This is from " + f.toUtf8());
        if (!listed || o.passwords.size() == size_t(answers.size()))
            return;
        // The password is remembered for the archive: a second unpacker asks nothing.
        auto again = vz::CreateUnpacker(family);
        TestObserver quiet;
        again->SetHandleDialogProgress(&quiet);
        QVERIFY(vz::OpenForFamily(*again, path));
        QVERIFY(again->ListLevel(QString(), level));
        QCOMPARE(quiet.passwordQuestions, 0);
    }

    // Stop during a long encrypted unpack: the child ends, no partial file stays, and the
    // password never showed on the child's command line.
    void stopDuringLargeUnpack() {
        QTemporaryDir dir;
        QVERIFY(vzt::Shell("head -c 64000000 /dev/urandom > big.bin && "
                           "7zz a -mx=0 -pSECRET x.7z big.bin >/dev/null",
                           dir.path())
                    .Ok());
        struct Watcher : TestObserver {
            QStringList children;
            bool StopRequested() override {
                children += ChildCommandLines();
                return TestObserver::StopRequested();
            }
        } o;
        o.passwords = {"SECRET"};
        o.stopAfterPolls = 20;
        C7zUnpacker u;
        u.SetHandleDialogProgress(&o);
        QVERIFY(u.OpenArchive(dir.filePath("x.7z")));
        QVERIFY(!u.UnpackArchive(dir.filePath("out")));
        QVERIFY(u.WasCancelled());
        QCOMPARE(vzt::ListTree(dir.filePath("out")), QStringList{});
        QVERIFY2(o.children.join(' ').contains("7zz"), qPrintable(o.children.join('|')));
        QVERIFY(!o.children.join(' ').contains("SECRET"));
        QCOMPARE(ChildCommandLines(), QStringList{});
    }
};

QTEST_GUILESS_MAIN(EncryptedTest)
#include "tst_encrypted.moc"
