// A Stop, a vanishing or shrinking source, a missing folder, a full disk or a read-only folder
// end the operation with an error naming the path; the archive stays byte-identical.

#include <sys/mount.h>

#include <QTemporaryDir>
#include <QtTest>

#include "FamilyFixtures.h"
#include "PackerTestKit.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/packer/CZipPacker.h"

namespace {

// A small file system of its own (tmpfs), for a full disk or a read-only folder.
struct ScratchMount {
    QString folder;
    bool mounted;
    ScratchMount(const QString& path, const char* options) : folder(path) {
        QDir().mkpath(path);
        mounted = ::mount("tmpfs", QFile::encodeName(path).constData(), "tmpfs", 0, options) == 0;
    }
    ~ScratchMount() {
        if (mounted)
            ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH);
    }
};

}  // namespace

class TestZipPackerSafety : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

    QString dir, archive;  // dir/keep.zip holding a few entries, and dir/src with files to add
    QByteArray before;     // the archive's bytes after Setup

    void Setup(const QString& name, const QMap<QString, QByteArray>& sources) {
        dir = m_tmp.filePath(name);
        archive = dir + "/keep.zip";
        QDir(dir).removeRecursively();
        QVERIFY(vzt::MakeTree(dir + "/old",
                              {{"src/a.txt", "old a"}, {"other.txt", vzt::RandomBytes(70000, 2)}}));
        QVERIFY(vzt::Run("zip", {"-qr", archive, "."}, dir + "/old").Ok());
        QVERIFY(vzt::MakeTree(dir + "/src", sources));
        before = vzt::ReadAll(archive);
    }
    void ExpectUnchanged() {
        QCOMPARE(vzt::ReadAll(archive), before);
        QCOMPARE(pkt::OtherFiles(dir, {"old", "src", "keep.zip"}), QStringList());
    }

private slots:

    void stopDuringLargeAdd_data() {
        QTest::addColumn<bool>("newArchive");
        QTest::newRow("existing archive") << false;
        QTest::newRow("new archive") << true;
    }
    void stopDuringLargeAdd() {
        QFETCH(bool, newArchive);
        Setup("stop", {{"large.bin", vzt::RandomBytes(24 << 20, 9)}, {"b.txt", "b"}});
        const QString target = newArchive ? dir + "/new.zip" : archive;
        QStringList duringStop;
        QList<int> classified;  // what the classifier makes of each of them, there and then
        pkt::ScriptedObserver observer;
        observer.stopWhen = [&](pkt::ScriptedObserver& o) {
            if (o.percents.empty())
                return false;
            duringStop = QDir(dir).entryList(QDir::Files | QDir::Hidden);
            for (const QString& name : duringStop)
                classified << vz::ClassifyPath(dir + QLatin1Char('/') + name, vzt::AllExtensions());
            return true;
        };
        INIPACK ini;
        ini.CompressionLevel = 1;
        CZipPacker packer;
        packer.SetIni(ini);
        packer.SetHandleDialogProgress(&observer);
        packer.SetMemoryBudget(2 << 20);
        QVERIFY(newArchive ? packer.CreateArchive(target) : packer.OpenArchive(target));
        QVERIFY(!packer.AddFolderToArchive(dir + "/src", dir + "/src", true));
        QVERIFY(packer.WasCancelled());
        QVERIFY2(packer.LastError().contains(target), qPrintable(packer.LastError()));

        // The commit's temporary file was there, beside the archive, and the classifier (every
        // type switched on) does not take it for an archive: a crash could leave it.
        const QString prefix = QLatin1Char('.') + QFileInfo(target).fileName() + ".vz-";
        const int temporary = duringStop.indexOf(
            QRegularExpression(QRegularExpression::escape(prefix) + "[A-Za-z0-9]{6}"));
        QVERIFY2(temporary >= 0, qPrintable(duringStop.join(QLatin1Char(' '))));
        QCOMPARE(classified[temporary], int(ArchiveFamily::None));

        ExpectUnchanged();  // no temporary file is left, and no new archive is there yet
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
        if (newArchive) {  // what CreateArchive promised: an empty archive
            QVERIFY(pkt::SevenZipTests(target, QString()));
            QCOMPARE(pkt::EntryNames(target), QStringList());
        }
    }

    // Stop while an edit copies the archive: libzip's cancel callback.
    void stopDuringEdit() {
        Setup("stopedit", {});
        pkt::ScriptedObserver observer;
        observer.stopWhen = [](pkt::ScriptedObserver&) { return true; };
        CZipPacker packer;
        packer.SetHandleDialogProgress(&observer);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!packer.RenameFile("other.txt", "renamed.txt"));
        QVERIFY(packer.WasCancelled());
        QVERIFY(packer.CloseArchive());
        ExpectUnchanged();
    }

    void sourceFailures_data() {
        QTest::addColumn<QString>("failure");
        QTest::newRow("vanishes before it is read") << "delete";
        QTest::newRow("shrinks while it is read") << "truncate";
        QTest::newRow("missing from the start") << "missing";
    }
    void sourceFailures() {
        QFETCH(QString, failure);
        Setup("vanish", {{"a.txt", "new a"}, {"big.txt", QByteArray(9 << 20, 'z')}});
        const QString victim = dir + "/src/big.txt";
        pkt::ScriptedObserver observer;
        // The question for src/a.txt comes after the listing, the first progress during reading.
        if (failure == "delete")
            observer.onQuestion = [&](const OverwriteQuestion&) { QFile::remove(victim); };
        if (failure == "truncate")
            observer.onProgress = [&](int) { QVERIFY(QFile::resize(victim, 1 << 20)); };
        if (failure == "missing")
            QFile::remove(victim);
        INIPACK ini;
        ini.CompressionLevel = 1;
        ini.PackFoldersWithoutPaths = true;
        CZipPacker packer;
        packer.SetIni(ini);
        packer.SetHandleDialogProgress(&observer);
        packer.SetMemoryBudget(1);
        packer.SetCompressionThreads(1);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(failure == "missing"
                    ? !packer.AddFileToArchive(victim)
                    : !packer.AddFolderToArchive(dir + "/src", dir + "/src", true));
        QVERIFY(!packer.WasCancelled());
        QVERIFY2(packer.LastError().contains(victim), qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        ExpectUnchanged();
    }

    void missingInnerFolder() {
        Setup("inner", {{"a.txt", "a"}});
        INIPACK ini;
        ini.AskBeforeUpdating = false;  // src/a.txt is there: replace it without a question
        CZipPacker packer;
        packer.SetIni(ini);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!packer.AddFileToArchiveFolder(dir + "/src/a.txt", "no/such"));
        QVERIFY2(packer.LastError().contains("no/such"), qPrintable(packer.LastError()));
        QVERIFY(!packer.AddFolderToArchiveFolder(dir + "/src", QString(), "other.txt", true));
        QVERIFY(packer.AddFileToArchiveFolder(dir + "/src/a.txt", "src"));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::Run("unzip", {"-p", archive, "src/a.txt"}).output, QByteArray("a"));
    }

    // On a full disk the change fails; in a read-only folder the archive is not even opened.
    void mountedFolder_data() {
        QTest::addColumn<bool>("readOnly");
        QTest::newRow("full disk") << false;
        QTest::newRow("read-only folder") << true;
    }
    void mountedFolder() {
        QFETCH(bool, readOnly);
        dir = m_tmp.filePath(readOnly ? "readonly" : "full");
        ScratchMount mount(dir, "size=1m");
        if (!mount.mounted)
            QSKIP("cannot mount a tmpfs: needs root or CAP_SYS_ADMIN");
        QVERIFY(vzt::MakeTree(dir, {{"old/a.txt", QByteArray(300000, 'a')}}));
        archive = dir + "/keep.zip";
        QVERIFY(vzt::Run("zip", {"-qr", archive, "old"}, dir).Ok());
        before = vzt::ReadAll(archive);
        CZipPacker packer;
        if (readOnly) {
            QVERIFY(::mount("tmpfs", QFile::encodeName(dir).constData(), "tmpfs",
                            MS_REMOUNT | MS_RDONLY, nullptr) == 0);
            QVERIFY(!packer.OpenArchive(archive));
            QVERIFY2(packer.LastError().contains(dir), qPrintable(packer.LastError()));
            QVERIFY(!packer.CreateArchive(dir + "/new.zip"));
        } else {
            const QString noise = m_tmp.filePath("noise.bin");
            QVERIFY(vzt::WriteAll(noise, vzt::RandomBytes(900000, 4)));
            INIPACK ini;
            ini.CompressionLevel = 0;
            packer.SetIni(ini);
            QVERIFY(packer.OpenArchive(archive));
            QVERIFY(!packer.AddFileToArchive(noise));
            QVERIFY(!packer.WasCancelled());
            QVERIFY(packer.CloseArchive());
        }
        QVERIFY2(packer.LastError().contains(readOnly ? dir : archive),
                 qPrintable(packer.LastError()));
        ExpectUnchanged();
    }

    void damagedArchive_data() {
        QTest::addColumn<QString>("damage");
        QTest::newRow("a local header's signature") << "signature";
        QTest::newRow("an entry's offset beyond the end") << "offset";
        QTest::newRow("an entry's data cut short") << "cut";
    }
    // A damaged archive is refused at opening or at writing the change, and stays as it was.
    void damagedArchive() {
        QFETCH(QString, damage);
        Setup("damaged", {{"n.txt", "n"}});
        QByteArray bytes = vzt::ReadAll(archive);
        const int central = bytes.lastIndexOf("PK\x01\x02");  // the last entry's central header
        QVERIFY(central > 0);
        if (damage == "signature") {
            bytes[bytes.indexOf("PK\x03\x04", 1) + 1] = 'X';
        } else if (damage == "offset") {
            bytes[central + 42 + 3] = 0x70;  // the relative offset of the local header
        } else {
            // Drop bytes from the last entry's data; the directory moves up and says so.
            const int eocd = bytes.lastIndexOf("PK\x05\x06");
            const int cut = 1000;
            const quint32 offset = quint32(central - cut);
            bytes = bytes.left(central - cut) + bytes.mid(central);
            for (int i = 0; i < 4; ++i)
                bytes[eocd - cut + 16 + i] = char(offset >> (8 * i));
        }
        QVERIFY(vzt::WriteAll(archive, bytes));
        CZipPacker packer;
        const bool ok = packer.OpenArchive(archive) && packer.AddFileToArchive(dir + "/src/n.txt");
        QVERIFY(!ok);
        QVERIFY2(packer.LastError().contains(archive), qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        before = bytes;
        ExpectUnchanged();
    }
};

QTEST_GUILESS_MAIN(TestZipPackerSafety)
#include "tst_ZipPackerSafety.moc"
