// Nothing is lost: a Stop, a source that vanishes or shrinks, a missing source or inner folder,
// a full disk and a read-only folder each end the operation with an error naming the path,
// leave the archive byte-identical and leave no temporary file; the temporary file of a
// running commit never looks like an archive.

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include "FamilyFixtures.h"
#include "PackerTestKit.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/packer/CZipPacker.h"

namespace {

// A small file system of its own (tmpfs), for a full disk or a read-only folder. Needs the
// right to mount (root, or CAP_SYS_ADMIN); the tests that need it skip without, saying why.
class ScratchMount {
public:
    ScratchMount(const QString& folder, const char* options) : m_folder(folder) {
        QDir().mkpath(folder);
        m_mounted =
            ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, options) == 0;
        if (!m_mounted)
            m_why = QStringLiteral(
                        "cannot mount a tmpfs (%1) on %2: %3; this test needs root or "
                        "CAP_SYS_ADMIN to make a small or read-only file system")
                        .arg(QLatin1String(options), folder,
                             QString::fromLocal8Bit(std::strerror(errno)));
    }
    ~ScratchMount() {
        if (m_mounted)
            ::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
    }
    bool Mounted() const { return m_mounted; }
    // Why it is not mounted.
    const QString& Why() const { return m_why; }
    bool MakeReadOnly() {
        return ::mount("tmpfs", QFile::encodeName(m_folder).constData(), "tmpfs",
                       MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    QString m_folder;
    bool m_mounted = false;
    QString m_why;
};

}  // namespace

class TestZipPackerSafety : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;

    // dir/keep.zip holding a few entries, and dir/src with files to add.
    QString Setup(const QString& name, const QMap<QString, QByteArray>& sources) {
        const QString dir = m_tmp.filePath(name);
        QDir(dir).removeRecursively();
        [&] {
            QVERIFY(
                vzt::MakeTree(dir + QStringLiteral("/old"),
                              {{"src/a.txt", "old a"}, {"other.txt", vzt::RandomBytes(70000, 2)}}));
            QVERIFY(vzt::Run(QStringLiteral("zip"),
                             {QStringLiteral("-qr"), dir + QStringLiteral("/keep.zip"),
                              QStringLiteral(".")},
                             dir + QStringLiteral("/old"))
                        .Ok());
            QVERIFY(vzt::MakeTree(dir + QStringLiteral("/src"), sources));
        }();
        return dir;
    }

private slots:
    void initTestCase() { QVERIFY(m_tmp.isValid()); }

    void stopDuringLargeAdd_data() {
        QTest::addColumn<bool>("newArchive");
        QTest::newRow("existing archive") << false;
        QTest::newRow("new archive") << true;
    }
    void stopDuringLargeAdd() {
        QFETCH(bool, newArchive);
        const QString dir = Setup(QStringLiteral("stop"),
                                  {{"large.bin", vzt::RandomBytes(24 << 20, 9)}, {"b.txt", "b"}});
        const QString archive =
            dir + (newArchive ? QStringLiteral("/new.zip") : QStringLiteral("/keep.zip"));
        const QByteArray before = vzt::ReadAll(archive);
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
        QVERIFY(newArchive ? packer.CreateArchive(archive) : packer.OpenArchive(archive));
        QVERIFY(!packer.AddFolderToArchive(dir + QStringLiteral("/src"),
                                           dir + QStringLiteral("/src"), true));
        QVERIFY(packer.WasCancelled());
        QVERIFY2(packer.LastError().contains(archive), qPrintable(packer.LastError()));

        // The commit's temporary file was there, beside the archive, and the classifier (every
        // type switched on) does not take it for an archive: a crash could leave it.
        const QString prefix = QLatin1Char('.') + QFileInfo(archive).fileName() + ".vz-";
        const int temporary = duringStop.indexOf(QRegularExpression(
            QRegularExpression::escape(prefix) + QStringLiteral("[A-Za-z0-9]{6}")));
        QVERIFY2(temporary >= 0, qPrintable(duringStop.join(QLatin1Char(' '))));
        QCOMPARE(classified[temporary], int(ArchiveFamily::None));

        QCOMPARE(pkt::OtherFiles(dir, {"old", "src", "keep.zip"}), QStringList());
        if (newArchive) {
            QVERIFY(!QFile::exists(archive));
            QVERIFY(packer.CloseArchive());  // what CreateArchive promised: an empty archive
            QVERIFY(pkt::SevenZipTests(archive, QString()));
            QCOMPARE(pkt::EntryNames(archive), QStringList());
        } else {
            QVERIFY(packer.CloseArchive());
            QCOMPARE(vzt::ReadAll(archive), before);
        }
    }

    // Stop while an edit copies the archive: libzip's cancel callback.
    void stopDuringEdit() {
        const QString dir = Setup(QStringLiteral("stopedit"), {});
        const QString archive = dir + QStringLiteral("/keep.zip");
        const QByteArray before = vzt::ReadAll(archive);
        pkt::ScriptedObserver observer;
        observer.stopWhen = [](pkt::ScriptedObserver&) { return true; };
        CZipPacker packer;
        packer.SetHandleDialogProgress(&observer);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!packer.RenameFile(QStringLiteral("other.txt"), QStringLiteral("renamed.txt")));
        QVERIFY(packer.WasCancelled());
        QVERIFY(observer.stopPolls > 0);
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
        QCOMPARE(pkt::OtherFiles(dir, {"old", "src", "keep.zip"}), QStringList());
    }

    void sourceFailures_data() {
        QTest::addColumn<QString>("failure");
        QTest::newRow("vanishes before it is read") << "delete";
        QTest::newRow("shrinks while it is read") << "truncate";
        QTest::newRow("missing from the start") << "missing";
    }
    void sourceFailures() {
        QFETCH(QString, failure);
        const QString dir = Setup(QStringLiteral("vanish"),
                                  {{"a.txt", "new a"}, {"big.txt", QByteArray(9 << 20, 'z')}});
        const QString archive = dir + QStringLiteral("/keep.zip");
        const QString victim = dir + QStringLiteral("/src/big.txt");
        const QByteArray before = vzt::ReadAll(archive);
        pkt::ScriptedObserver observer;
        // The replace question for src/a.txt comes after the folder was listed and before any
        // data is read; the first progress comes while the data is being read.
        if (failure == QLatin1String("delete"))
            observer.onQuestion = [&](const OverwriteQuestion&) { QFile::remove(victim); };
        if (failure == QLatin1String("truncate")) {
            observer.onProgress = [&](int) {
                if (QFileInfo(victim).size() > (1 << 20))
                    QVERIFY(QFile::resize(victim, 1 << 20));
            };
        }
        if (failure == QLatin1String("missing"))
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
        const bool ok = failure == QLatin1String("missing")
                            ? packer.AddFileToArchive(victim)
                            : packer.AddFolderToArchive(dir + QStringLiteral("/src"),
                                                        dir + QStringLiteral("/src"), true);
        QVERIFY(!ok);
        QVERIFY(!packer.WasCancelled());
        QVERIFY2(packer.LastError().contains(victim), qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
        QCOMPARE(pkt::OtherFiles(dir, {"old", "src", "keep.zip"}), QStringList());
    }

    void missingInnerFolder() {
        const QString dir = Setup(QStringLiteral("inner"), {{"a.txt", "a"}});
        const QString archive = dir + QStringLiteral("/keep.zip");
        const QByteArray before = vzt::ReadAll(archive);
        INIPACK ini;
        ini.AskBeforeUpdating = false;  // src/a.txt is there: replace it without a question
        CZipPacker packer;
        packer.SetIni(ini);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!packer.AddFileToArchiveFolder(dir + QStringLiteral("/src/a.txt"),
                                               QStringLiteral("no/such")));
        QVERIFY2(packer.LastError().contains(QStringLiteral("no/such")),
                 qPrintable(packer.LastError()));
        QVERIFY(!packer.AddFolderToArchiveFolder(dir + QStringLiteral("/src"), QString(),
                                                 QStringLiteral("other.txt"), true));
        QVERIFY(packer.AddFileToArchiveFolder(dir + QStringLiteral("/src/a.txt"),
                                              QStringLiteral("src")));
        QVERIFY(packer.CloseArchive());
        QVERIFY(vzt::ReadAll(archive) != before);
        QCOMPARE(vzt::Run(QStringLiteral("unzip"),
                          {QStringLiteral("-p"), archive, QStringLiteral("src/a.txt")})
                     .output,
                 QByteArray("a"));
    }

    void fullDisk() {
        const QString dir = m_tmp.filePath(QStringLiteral("full"));
        ScratchMount mount(dir, "size=1m");
        if (!mount.Mounted())
            QSKIP(qPrintable(mount.Why()));
        QVERIFY(vzt::MakeTree(dir, {{"in/a.txt", QByteArray(300000, 'a')}}));
        const QString archive = dir + QStringLiteral("/keep.zip");
        QVERIFY(vzt::Run(QStringLiteral("zip"),
                         {QStringLiteral("-qr"), archive, QStringLiteral("in")}, dir)
                    .Ok());
        const QByteArray before = vzt::ReadAll(archive);
        const QString noise = m_tmp.filePath(QStringLiteral("noise.bin"));
        QVERIFY(vzt::WriteAll(noise, vzt::RandomBytes(900000, 4)));
        INIPACK ini;
        ini.CompressionLevel = 0;
        CZipPacker packer;
        packer.SetIni(ini);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(!packer.AddFileToArchive(noise));
        QVERIFY2(packer.LastError().contains(archive), qPrintable(packer.LastError()));
        QVERIFY(!packer.WasCancelled());
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
        QCOMPARE(pkt::OtherFiles(dir, {"in", "keep.zip"}), QStringList());
    }

    void readOnlyFolder() {
        const QString dir = m_tmp.filePath(QStringLiteral("readonly"));
        ScratchMount mount(dir, "size=1m");
        if (!mount.Mounted())
            QSKIP(qPrintable(mount.Why()));
        QVERIFY(vzt::MakeTree(dir, {{"in/a.txt", "a"}}));
        const QString archive = dir + QStringLiteral("/keep.zip");
        QVERIFY(vzt::Run(QStringLiteral("zip"),
                         {QStringLiteral("-qr"), archive, QStringLiteral("in")}, dir)
                    .Ok());
        const QByteArray before = vzt::ReadAll(archive);
        QVERIFY(mount.MakeReadOnly());
        CZipPacker packer;
        QVERIFY(!packer.OpenArchive(archive));
        QVERIFY2(packer.LastError().contains(dir), qPrintable(packer.LastError()));
        QVERIFY(!packer.CreateArchive(dir + QStringLiteral("/new.zip")));
        QVERIFY2(packer.LastError().contains(dir), qPrintable(packer.LastError()));
        QCOMPARE(vzt::ReadAll(archive), before);
    }

    void damagedArchive_data() {
        QTest::addColumn<QString>("damage");
        QTest::newRow("a local header's signature") << "signature";
        QTest::newRow("an entry's offset beyond the end") << "offset";
        QTest::newRow("an entry's data cut short") << "cut";
    }
    // A damaged archive is refused when it is opened or when the change is written; it stays
    // as it was.
    void damagedArchive() {
        QFETCH(QString, damage);
        const QString dir = Setup(QStringLiteral("damaged"), {{"n.txt", "n"}});
        const QString archive = dir + QStringLiteral("/keep.zip");
        QByteArray bytes = vzt::ReadAll(archive);
        const int central = bytes.lastIndexOf("PK\x01\x02");  // the last entry's central header
        QVERIFY(central > 0);
        if (damage == QLatin1String("signature")) {
            bytes[bytes.indexOf("PK\x03\x04", 1) + 1] = 'X';
        } else if (damage == QLatin1String("offset")) {
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
        const bool ok = packer.OpenArchive(archive) &&
                        packer.AddFileToArchive(dir + QStringLiteral("/src/n.txt"));
        QVERIFY(!ok);
        QVERIFY2(packer.LastError().contains(archive), qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), bytes);
        QCOMPARE(pkt::OtherFiles(dir, {"old", "src", "keep.zip"}), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestZipPackerSafety)
#include "tst_ZipPackerSafety.moc"
