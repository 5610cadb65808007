// The classifier and the splitting of paths that lead into archives.

#include <QTemporaryDir>
#include <QtTest>

#include "FamilyFixtures.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"
#include "settings/CSettingsStore.h"

class ClassifierTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_zip;

    QString Copy(const QString& name) {
        const QString path = m_dir.filePath(name);
        QFile::remove(path);
        return QFile::copy(m_zip, path) ? path : QString();
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(vzt::MakeTree(m_dir.filePath("src"), {{"a/b/c.txt", "c"}}));
        const auto a = vzt::MakeFamilyArchive("zip", m_dir.filePath("src"), m_dir.filePath("z"));
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        m_zip = a.path;
    }

    void byExtension_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("family");
        // Only the last extension counts, compared upper-case, by the table order.
        QTest::newRow("case does not matter") << "archive.TbZ2" << 11;
        QTest::newRow("tar.gz is gzip") << "backup.tar.gz" << 8;
        QTest::newRow("tgz") << "x.tgz" << 8;
        QTest::newRow("gzip") << "x.gzip" << 8;
        QTest::newRow("bz") << "x.bz" << 11;
        QTest::newRow("bzip2") << "x.BZIP2" << 11;
        QTest::newRow("tbz") << "x.tbz" << 11;
        QTest::newRow("jar") << "x.jar" << 3;
        QTest::newRow("xap") << "x.Xap" << 7;
        QTest::newRow("cab") << "x.cab" << 2;
        QTest::newRow("rar") << "x.rar" << 4;
        QTest::newRow("7z") << "x.7Z" << 6;
        QTest::newRow("first volume") << "x.7z.001" << 10;
        QTest::newRow("tar") << "x.tar" << 9;
        QTest::newRow("iso") << "x.iso" << 12;
        QTest::newRow("ace is recognised") << "data.ace" << 5;
        QTest::newRow("no extension") << "README" << 0;
        QTest::newRow("unknown extension") << "notes.txt" << 0;
        QTest::newRow("a dot in the folder only") << "dir.zip/plain" << 0;
    }
    void byExtension() {
        QFETCH(QString, name);
        QFETCH(int, family);
        QVERIFY(vzt::MakeTree(m_dir.path(), {{name, "not read"}}));
        QCOMPARE(vz::ClassifyPath(m_dir.filePath(name), vzt::AllExtensions()), family);
    }

    void switchedOffTypes() {
        const QString path = Copy("y.cab");
        QCOMPARE(vz::ClassifyPath(path, {"ZIP", "CAB"}), 2);
        QCOMPARE(vz::ClassifyPath(path, {"ZIP"}), 0);
    }

    void insideAnArchive() {
        const QString path = Copy("inner.zip");
        QCOMPARE(vz::ClassifyPath(path + "/a/b/c.txt", {"ZIP"}), 1);
        QCOMPARE(vz::ClassifyPath(path + "/a/b/", {"ZIP"}), 1);
        const vz::ArchivePathParts parts = vz::SplitArchivePath(path + "/a/b/c.txt");
        QCOMPARE(parts.archivePath, path);
        QCOMPARE(parts.innerPath, QString("a/b/c.txt"));
        QCOMPARE(vz::SplitArchivePath(path).innerPath, QString());
        QCOMPARE(vz::SplitArchivePath(m_dir.filePath("missing/x")).archivePath, QString());
        // A folder whose name looks like an archive is not one.
        QVERIFY(QDir().mkpath(m_dir.filePath("folder.zip")));
        QCOMPARE(vz::ClassifyPath(m_dir.filePath("folder.zip"), {"ZIP"}), 0);
        QCOMPARE(vz::ClassifyPath(m_dir.filePath("nothing.zip"), {"ZIP"}), 0);
    }

    // An .exe is an archive only when EXE is switched on and an enabled family opens it.
    void selfExtracting() {
        const QString zipExe = Copy("zip.exe");
        const QString sfx = m_dir.filePath("sfx.exe");
        QVERIFY(vzt::WriteAll(sfx, vzt::ReadAll("/bin/true") + vzt::ReadAll(m_zip)));
        const QString program = m_dir.filePath("program.exe");
        QVERIFY(QFile::copy("/bin/true", program));
        QCOMPARE(vz::ClassifyPath(zipExe, {"ZIP", "EXE"}), 100);
        QCOMPARE(vz::ClassifyPath(sfx, {"ZIP", "EXE"}), 100);
        QCOMPARE(vz::ClassifyPath(sfx + "/a/b/c.txt", {"ZIP", "EXE"}), 100);
        QCOMPARE(vz::ClassifyPath(sfx, {"ZIP"}), 0);
        QCOMPARE(vz::ClassifyPath(program, {"ZIP", "RAR", "CAB", "7Z", "EXE"}), 0);
        // A 7z executable is found by the 7z probe, in list order after ZIP.
        const QString sevenExe = m_dir.filePath("seven.exe");
        QVERIFY(vzt::Shell("7zz a -bso0 seven.7z src && cp seven.7z seven.exe", m_dir.path()).Ok());
        QCOMPARE(vz::ClassifyPath(sevenExe, {"ZIP", "7Z", "EXE"}), 6);
        QCOMPARE(vz::ClassifyPath(sevenExe, {"ZIP", "EXE"}), 0);
    }

    // An ACE file is an archive whatever the settings switch off, but nothing reads it.
    void aceIsRecognisedButNotRead() {
        QTemporaryDir appData;
        QByteArray off = "[Additional archives]\n";
        for (const QString& ext : CSettingsStore::AdditionalArchiveExtensions())
            off += ext.toUtf8() + "=0\n";
        QVERIFY(vzt::WriteAll(appData.filePath("Vela Systems/Vela-ZIP Archiver/velazip.ini"), off));
        CSettingsRecord settings;
        CSettingsStore::Load(settings, appData.path());
        QVERIFY(vzt::MakeTree(m_dir.path(), {{"data.ace", "**ACE**"}, {"other.cab", "x"}}));
        QCOMPARE(vz::ClassifyPath(m_dir.filePath("data.ace"), settings.EnabledExtensions), 5);
        QCOMPARE(vz::ClassifyPath(m_dir.filePath("other.cab"), settings.EnabledExtensions), 0);

        QVERIFY(!vz::CreateUnpacker(ArchiveFamily::Ace));
        QVERIFY(!vz::CreateUnpacker(ArchiveFamily::None));
        QCOMPARE(vz::NoUnpackerReason(ArchiveFamily::Ace), QString("ACE archives cannot be read"));
        QCOMPARE(vz::DescribeArchivePath(m_dir.filePath("data.ace"), settings.EnabledExtensions),
                 QString("Invalid archive"));
    }

    void notAnArchive() {
        QVERIFY(vzt::MakeTree(m_dir.path(), {{"fake.zip", "this is text"}, {"fake.7z", "text"}}));
        CZipUnpacker zip;
        QVERIFY(!zip.OpenArchive(m_dir.filePath("fake.zip")));
        QVERIFY(zip.LastError().contains("fake.zip"));
        QCOMPARE(vz::DescribeArchivePath(m_dir.filePath("fake.7z"), {"7Z"}),
                 QString("Invalid archive"));
    }
};

QTEST_GUILESS_MAIN(ClassifierTest)
#include "tst_classifier.moc"
