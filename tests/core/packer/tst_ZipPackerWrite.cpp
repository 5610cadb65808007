// Creating zip archives and adding to them: read back by the peer tools and the program, names,
// what entries keep of the disk, the replace question, and the parallel pipeline's bounds.

#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include "PackerTestKit.h"
#include "TestSupport.h"
#include "archive/packer/CZipPacker.h"

namespace {

QByteArray TextData(int size) {
    QByteArray out;
    for (int i = 0; out.size() < size; ++i)
        out += "line " + QByteArray::number(i * 7919 % 100003) + " of text that repeats a bit\n";
    return out.left(size);
}

QByteArray FourByteRuns(int size) {
    QByteArray out;
    for (int i = 0; out.size() < size; ++i)
        out += QByteArray(4, static_cast<char>(i % 251));
    return out.left(size);
}

void SetTime(const QString& path, qint64 seconds) {
    const struct timespec times[2] = {{static_cast<time_t>(seconds), 0},
                                      {static_cast<time_t>(seconds), 0}};
    QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times,
                        AT_SYMLINK_NOFOLLOW) == 0);
}

INIPACK Settings(int level, int method) {
    INIPACK ini;
    ini.CompressionLevel = level;
    ini.CompressionMethod = method;
    ini.AskBeforeUpdating = false;
    ini.PackFoldersWithoutPaths = true;
    return ini;
}

}  // namespace

class TestZipPackerWrite : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString m_source;  // a mixed tree: text, random, empty, nested, empty folder, link
    QMap<QString, QByteArray> m_files;  // what m_source holds besides the link

    QString Fresh(const QString& name) {
        const QString dir = m_tmp.filePath(name);
        QDir(dir).removeRecursively();
        QDir().mkpath(dir);
        return dir;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_tmp.isValid());
        for (const char* tool : {"7zz", "unzip", "zipinfo", "zip"})
            QVERIFY2(vzt::HaveTool(QString::fromLatin1(tool)), tool);
        m_source = m_tmp.filePath(QStringLiteral("src/tree"));
        m_files = {{"big.txt", TextData(2600 * 1024)},  // three deflate chunks
                   {"random.bin", vzt::RandomBytes(300 * 1024, 7)},
                   // Chunks that do not compress are stored inside the deflate stream; here one
                   // file holds both kinds, and a chunk changes kind in its middle.
                   {"half.bin", vzt::RandomBytes(1536 * 1024, 4) + TextData(2 * 1024 * 1024)},
                   {"chunk.txt", TextData(1 << 20)},  // exactly one deflate chunk
                   // Runs of four equal bytes: the most that bzip2's first pass grows data, so
                   // its chunks must still make one block each.
                   {"runs.bin", FourByteRuns(1200 * 1024)},
                   {"empty.txt", QByteArray()},
                   {"sub/deeper/note.md", "# note\n"},
                   {"sub/tiny", "x"},
                   {"void/", QByteArray()}};
        for (int i = 0; i < 40; ++i)
            m_files.insert(QStringLiteral("many/f%1.txt").arg(i), TextData(1000 + i * 997));
        QVERIFY(vzt::MakeTree(m_source, m_files));
        QVERIFY(QFile::link(QStringLiteral("sub/tiny"), m_source + QStringLiteral("/link")));
    }

    void methodsLevelsAndEncryption_data() {
        QTest::addColumn<int>("method");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("encryption");  // -1 none, else the INIPACK index
        QTest::addColumn<int>("threads");     // 0: as many as the machine has
        QTest::addColumn<qint64>("budget");   // 0: the default
        // Together the rows hold every method, level class and encryption once, and the
        // pipeline with one thread, one unit at a time, and with three threads and a tight budget.
        QTest::newRow("deflate, stored, plain") << 8 << 0 << -1 << 0 << qint64(0);
        QTest::newRow("deflate fastest, zip 2.0, one unit") << 8 << 1 << 0 << 1 << qint64(1);
        QTest::newRow("deflate, aes128, tight") << 8 << 6 << 1 << 3 << qint64(1500 * 1024);
        QTest::newRow("bzip2 best, aes192, tight") << 12 << 9 << 2 << 3 << qint64(1);
        QTest::newRow("bzip2, aes256") << 12 << 6 << 3 << 0 << qint64(0);
    }
    // However few threads and however little memory, each archive passes `7zz t` (and
    // `unzip -t` where unzip knows the encryption), reads back byte-exact, and records the
    // method and encryption that were asked for.
    void methodsLevelsAndEncryption() {
        QFETCH(int, method);
        QFETCH(int, level);
        QFETCH(int, encryption);
        QFETCH(int, threads);
        QFETCH(qint64, budget);
        const QString dir = Fresh(QStringLiteral("combo"));
        const QString archive = dir + QStringLiteral("/out.zip");
        INIPACK ini = Settings(level, method);
        ini.EncryptionOn = encryption >= 0;
        ini.EncryptionMethod = std::max(encryption, 0);
        ini.Password = encryption >= 0 ? QStringLiteral("pa55-Wört") : QString();
        {
            CZipPacker packer;
            packer.SetIni(ini);
            packer.SetCompressionThreads(threads);
            packer.SetMemoryBudget(budget);
            QVERIFY2(packer.CreateArchive(archive), qPrintable(packer.LastError()));
            QVERIFY2(packer.AddFolderToArchive(m_source, m_source, true),
                     qPrintable(packer.LastError()));

            ZIPFILEFULLINFO info;
            QVERIFY2(packer.GetFileInfo(QStringLiteral("tree/big.txt"), info),
                     qPrintable(packer.LastError()));
            QCOMPARE(info.method, level == 0    ? QStringLiteral("Store")
                                  : method == 8 ? QStringLiteral("Deflate")
                                                : QStringLiteral("BZip2"));
            QCOMPARE(info.encrypted, encryption >= 0);
            QCOMPARE(info.size, quint64(2600 * 1024));
            if (level > 0)
                QVERIFY(info.packedSize < info.size / 2);
            if (method == 8 && level == 6) {
                // Cut into chunks, the deflate stream stays within a hair of one pass.
                const QByteArray data = vzt::ReadAll(m_source + QStringLiteral("/big.txt"));
                uLongf single = compressBound(static_cast<uLong>(data.size()));
                QByteArray one(static_cast<int>(single), '\0');
                QCOMPARE(compress2(reinterpret_cast<Bytef*>(one.data()), &single,
                                   reinterpret_cast<const Bytef*>(data.constData()),
                                   static_cast<uLong>(data.size()), 6),
                         Z_OK);
                // Less the zlib wrapper, plus the AES salt, check and code.
                QVERIFY2(info.packedSize <= (single - 6) * 1.005 + 32,
                         qPrintable(QStringLiteral("%1 vs %2").arg(info.packedSize).arg(single)));
            }
            QVERIFY(packer.GetFileInfo(QStringLiteral("tree/link"), info));
            QVERIFY(info.isSymlink);
            QVERIFY(!info.encrypted);
            QVERIFY(packer.CloseArchive());
        }
        QByteArray output;
        QVERIFY2(pkt::SevenZipTests(archive, ini.Password, &output), output.constData());
        if (encryption >= 0)
            QVERIFY(!pkt::SevenZipTests(archive, QStringLiteral("wrong")));
        if (encryption <= 0)
            QVERIFY2(pkt::UnzipTests(archive, ini.Password, &output), output.constData());

        // Unpacked by 7zz and by the program's own reading side (encrypted BZIP2 entries go
        // through libzip there).
        const QString out = dir + QStringLiteral("/x");
        const QString mine = dir + QStringLiteral("/r");
        QVERIFY(pkt::SevenZipExtract(archive, ini.Password, out));
        QString error;
        QVERIFY2(pkt::UnpackWithReader(archive, ini.Password, mine, &error), qPrintable(error));
        for (const QString& root : {out, mine})
            for (auto it = m_files.cbegin(); it != m_files.cend(); ++it) {
                const QString path = root + QStringLiteral("/tree/") + it.key();
                QVERIFY2(it.key().endsWith(QLatin1Char('/')) ? QFileInfo(path).isDir()
                                                             : vzt::ReadAll(path) == it.value(),
                         qPrintable(path));
            }
        QCOMPARE(QFileInfo(mine + QStringLiteral("/tree/link")).symLinkTarget(),
                 mine + QStringLiteral("/tree/sub/tiny"));
    }

    // What unzip restores from the entries: links as links, empty folders, modes and exact
    // modification times; what GetFileInfo reports; and the MS-DOS bits: read-only when the
    // owner may not write, hidden when the entry's own name starts with "." (not when only a
    // folder above it does).
    void entriesKeepWhatTheDiskHad() {
        const QString dir = Fresh(QStringLiteral("meta"));
        const QString src = dir + QStringLiteral("/m");
        QVERIFY(vzt::MakeTree(src, {{"ro.txt", "read only"},
                                    {"run.sh", "#!/bin/sh\n"},
                                    {"plain", "p"},
                                    {"empty/", {}},
                                    {".hidden", "h"},
                                    {".both", "b"},
                                    {".dir/inner.txt", "i"},
                                    {"a.b", "x"}}));
        QVERIFY(QFile::link(QStringLiteral("../outside/target"), src + "/dangling"));
        for (const auto& [name, mode] : QList<QPair<const char*, mode_t>>{
                 {"ro.txt", 0444}, {"run.sh", 0751}, {"empty", 0700}, {".both", 0444}})
            QCOMPARE(::chmod(QFile::encodeName(src + QLatin1Char('/') + name).constData(), mode),
                     0);
        const qint64 odd = 1234567891;  // an odd second: MS-DOS times cannot hold it
        const char* const names[] = {"ro.txt",         "run.sh", ".hidden", ".both",
                                     ".dir/inner.txt", ".dir",   "a.b",     "plain",
                                     "dangling",       "empty",  ""};
        for (const char* name : names)
            SetTime(src + QLatin1Char('/') + QString::fromLatin1(name),
                    odd + static_cast<qint64>(std::strlen(name)));

        const QString archive = dir + QStringLiteral("/meta.zip");
        {
            CZipPacker packer;
            packer.SetIni(Settings(6, 8));
            QVERIFY(packer.CreateArchive(archive));
            QVERIFY2(packer.AddFolderToArchive(src, src, true), qPrintable(packer.LastError()));

            ZIPFILEFULLINFO info;
            QVERIFY(packer.GetFileInfo(QStringLiteral("m/ro.txt"), info));
            QCOMPARE(info.unixMode, quint32(S_IFREG | 0444));
            QCOMPARE(info.modified.seconds, odd + 6);
            QVERIFY(packer.GetFileInfo(QStringLiteral("m/dangling"), info));
            QVERIFY(info.isSymlink);
            QCOMPARE(info.linkTarget, QStringLiteral("../outside/target"));
            QVERIFY(packer.GetFileInfo(QStringLiteral("m/empty"), info));
            QVERIFY(info.isFolder);
            // A folder that the packer makes itself follows the rule for hidden names.
            QVERIFY(packer.CreateEmptyFolder(QStringLiteral("m/.made")));
            const quint32 ro = kDosReadOnly, hidden = kDosHidden, folder = kDosDirectory;
            for (const auto& [name, bits] :
                 QList<QPair<const char*, quint32>>{{"plain", 0},
                                                    {"ro.txt", ro},
                                                    {".hidden", hidden},
                                                    {".both", hidden | ro},
                                                    {".dir", hidden | folder},
                                                    {".dir/inner.txt", 0},
                                                    {"a.b", 0},
                                                    {"empty", folder},
                                                    {".made", hidden | folder}}) {
                QVERIFY(packer.GetFileInfo(QStringLiteral("m/") + QLatin1String(name), info));
                QVERIFY2((info.attributes & (ro | hidden | kDosSystem | folder)) == bits, name);
            }
        }
        const QString out = dir + QStringLiteral("/x");
        QVERIFY(vzt::Run(QStringLiteral("unzip"),
                         {QStringLiteral("-q"), archive, QStringLiteral("-d"), out})
                    .Ok());
        for (const char* name : names) {
            struct stat a = {}, b = {};
            QVERIFY(
                ::lstat(QFile::encodeName(src + QLatin1Char('/') + name).constData(), &a) == 0 &&
                ::lstat(QFile::encodeName(out + QStringLiteral("/m/") + name).constData(), &b) ==
                    0);
            QVERIFY2(b.st_mode == a.st_mode, name);
            if (!S_ISLNK(a.st_mode))
                QVERIFY2(b.st_mtime == a.st_mtime, name);
        }
        QCOMPARE(QFileInfo(out + QStringLiteral("/m/dangling")).symLinkTarget(),
                 QDir::cleanPath(out + QStringLiteral("/outside/target")));
    }

    // What is not stored: a pipe, and a name with "\" (readers take it for a folder
    // separator, so it would come back as something else). Inside an added folder it is
    // skipped, with what it holds, and reported; named directly it is an error and the
    // archive stays as it was.
    void itemsThatAreNotStored_data() {
        QTest::addColumn<QString>("item");  // made below the folder "t"; "|" a pipe
        QTest::newRow("pipe") << "|fifo";
        QTest::newRow("file with \\") << "a\\b.txt";
        QTest::newRow("folder with \\") << "c\\d/inner.txt";
    }
    void itemsThatAreNotStored() {
        QFETCH(QString, item);
        const QString dir = Fresh(QStringLiteral("notstored"));
        QVERIFY(vzt::MakeTree(dir + QStringLiteral("/t"), {{"ok.txt", "ok"}}));
        const bool pipe = item.startsWith(QLatin1Char('|'));
        const QString name = pipe ? item.mid(1) : item;
        const QString top = dir + QStringLiteral("/t/") + name.section(QLatin1Char('/'), 0, 0);
        if (pipe)
            QVERIFY(::mkfifo(QFile::encodeName(top).constData(), 0644) == 0);
        else
            QVERIFY(vzt::MakeTree(dir + QStringLiteral("/t"), {{name, "x"}}));
        const QString archive = dir + QStringLiteral("/n.zip");
        QVERIFY(vzt::Run(QStringLiteral("zip"),
                         {QStringLiteral("-q"), archive, QStringLiteral("ok.txt")},
                         dir + QStringLiteral("/t"))
                    .Ok());
        const QByteArray before = vzt::ReadAll(archive);
        pkt::ScriptedObserver observer;
        CZipPacker packer;
        packer.SetIni(Settings(6, 8));
        packer.SetHandleDialogProgress(&observer);
        QVERIFY(packer.OpenArchive(archive));
        QVERIFY(QFileInfo(top).isDir() ? !packer.AddFolderToArchive(top, top, true)
                                       : !packer.AddFileToArchive(top));
        QVERIFY2(packer.LastError().contains(top), qPrintable(packer.LastError()));
        QCOMPARE(vzt::ReadAll(archive), before);
        observer.reports.clear();
        QVERIFY2(
            packer.AddFolderToArchive(dir + QStringLiteral("/t"), dir + QStringLiteral("/t"), true),
            qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(observer.reports.size(), 1);
        QVERIFY2(observer.reports[0].contains(top), qPrintable(observer.reports[0]));
        QCOMPARE(pkt::Sorted(pkt::EntryNames(archive)), (QStringList{"ok.txt", "t/", "t/ok.txt"}));
    }

    void namesWithAndWithoutPaths_data() {
        QTest::addColumn<bool>("folder");
        QTest::addColumn<bool>("withoutPaths");
        QTest::addColumn<QString>("innerFolder");
        // folderPath2 relative to the source's parent, "=" the folder itself
        QTest::addColumn<QString>("base");
        // names; "@" stands for the source's absolute parent without "/"
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, bool folder, bool withoutPaths, const char* inner,
                            const char* base, const char* expected) {
            QTest::newRow(name) << folder << withoutPaths << QString(inner) << QString(base)
                                << QString(expected);
        };
        row("file without paths", false, true, "", "", "a.txt");
        row("file without paths in folder", false, true, "docs/old", "", "docs/old/a.txt");
        row("file with paths in folder", false, false, "docs", "", "docs/@/in/a.txt");
        row("folder without paths in folder", true, true, "docs", "=",
            "docs/in/,docs/in/a.txt,docs/in/s/,docs/in/s/b.txt");
        row("folder without paths from an ancestor", true, true, "", ".",
            "names/in/,names/in/a.txt,names/in/s/,names/in/s/b.txt");
        row("folder with paths", true, false, "", "=", "@/in/,@/in/a.txt,@/in/s/,@/in/s/b.txt");
    }
    void namesWithAndWithoutPaths() {
        QFETCH(bool, folder);
        QFETCH(bool, withoutPaths);
        QFETCH(QString, innerFolder);
        QFETCH(QString, base);
        QFETCH(QString, expected);
        const QString dir = Fresh(QStringLiteral("names"));
        QVERIFY(vzt::MakeTree(dir, {{"in/a.txt", "a"}, {"in/s/b.txt", "b"}}));
        const QString archive = dir + QStringLiteral("/names.zip");
        INIPACK ini = Settings(6, 8);
        ini.PackFilesWithoutPaths = ini.PackFoldersWithoutPaths = withoutPaths;
        ini.RefreshArchiveBrowserTreeWithAddingOfEachItem = withoutPaths;
        pkt::RecordingListener listener;
        CZipPacker packer;
        packer.SetIni(ini);
        packer.SetWndArchiveTree(&listener);
        QVERIFY(packer.CreateArchive(archive));
        if (!innerFolder.isEmpty())
            QVERIFY(packer.CreateEmptyFolder(innerFolder));
        bool ok;
        if (folder) {
            const QString src = dir + QStringLiteral("/in");
            const QString b = base == QLatin1String("=") ? src : dir;
            ok = packer.AddFolderToArchiveFolder(src, b, innerFolder, true);
        } else {
            ok = packer.AddFileToArchiveFolder(dir + QStringLiteral("/in/a.txt"), innerFolder);
        }
        QVERIFY2(ok, qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QStringList names = pkt::EntryNames(archive);
        if (!innerFolder.isEmpty())
            names.removeAll(innerFolder + QLatin1Char('/'));
        const QStringList wanted = expected.replace(QLatin1Char('@'), dir.mid(1)).split(',');
        QCOMPARE(pkt::Sorted(names), pkt::Sorted(wanted));
        // The listener hears of each item written, and of none unless it asked to.
        if (innerFolder.isEmpty()) {
            QStringList heard;
            for (const QString& name : wanted)
                heard << archive + QLatin1Char('/') + (name.endsWith('/') ? name.chopped(1) : name);
            QCOMPARE(pkt::Sorted(listener.added),
                     withoutPaths ? pkt::Sorted(heard) : QStringList());
        }
    }

    void replaceQuestion_data() {
        QTest::addColumn<bool>("ask");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<int>("questionsAsked");
        // The contents of a.txt and b.txt afterwards, "-" untouched.
        QTest::addColumn<QString>("result");
        using A = ReplaceAnswer;
        QTest::newRow("yes, no") << true << QList<int>{int(A::Yes), int(A::No)} << 2
                                 << "new-a,old-b";
        QTest::newRow("no, yes") << true << QList<int>{int(A::No), int(A::Yes)} << 2
                                 << "old-a,new-b";
        QTest::newRow("yes to all") << true << QList<int>{int(A::YesToAll)} << 1 << "new-a,new-b";
        QTest::newRow("cancel") << true << QList<int>{int(A::Cancel)} << 1 << "-";
        QTest::newRow("yes, cancel") << true << QList<int>{int(A::Yes), int(A::Cancel)} << 2 << "-";
        QTest::newRow("without asking") << false << QList<int>{} << 0 << "new-a,new-b";
        // Asking with no observer to ask: every answer is No.
        QTest::newRow("no one to ask") << true << QList<int>{-1} << 0 << "old-a,old-b";
    }
    void replaceQuestion() {
        QFETCH(bool, ask);
        QFETCH(QList<int>, answers);
        QFETCH(int, questionsAsked);
        QFETCH(QString, result);
        const QString dir = Fresh(QStringLiteral("replace"));
        QVERIFY(vzt::MakeTree(dir, {{"old/p/a.txt", "old-a"},
                                    {"old/p/b.txt", "old-b"},
                                    {"new/p/a.txt", "new-a"},
                                    {"new/p/b.txt", "new-b"},
                                    {"new/p/c.txt", "new-c"}}));
        const QString archive = dir + QStringLiteral("/r.zip");
        QVERIFY(vzt::Run(QStringLiteral("zip"),
                         {QStringLiteral("-qr"), archive, QStringLiteral("p")},
                         dir + QStringLiteral("/old"))
                    .Ok());
        const QByteArray before = vzt::ReadAll(archive);

        pkt::ScriptedObserver observer;
        const bool observed = answers != QList<int>{-1};
        for (int a : answers)
            observer.answers.push_back(static_cast<ReplaceAnswer>(a));
        INIPACK ini = Settings(6, 8);
        ini.AskBeforeUpdating = ask;
        CZipPacker packer;
        packer.SetIni(ini);
        if (observed)
            packer.SetHandleDialogProgress(&observer);
        QVERIFY(packer.OpenArchive(archive));
        const bool ok = packer.AddFolderToArchive(dir + QStringLiteral("/new/p"),
                                                  dir + QStringLiteral("/new/p"), true);
        QCOMPARE(int(observer.questions.size()), questionsAsked);
        if (questionsAsked > 0) {
            QCOMPARE(observer.questions[0].existing.path, QStringLiteral("p/a.txt"));
            QCOMPARE(observer.questions[0].existing.size, quint64(5));
            QCOMPARE(observer.questions[0].incoming.path, dir + QStringLiteral("/new/p/a.txt"));
        }
        QVERIFY(packer.CloseArchive());
        if (result == QLatin1String("-")) {
            QVERIFY(!ok);
            QVERIFY(packer.WasCancelled());
            QVERIFY(packer.LastError().contains(archive));
            QCOMPARE(vzt::ReadAll(archive), before);
            QCOMPARE(pkt::OtherFiles(dir, {"old", "new", "r.zip"}), QStringList());
            return;
        }
        QVERIFY2(ok, qPrintable(packer.LastError()));
        const QStringList want = (result + QStringLiteral(",new-c")).split(QLatin1Char(','));
        for (int i = 0; i < 3; ++i) {
            const QString entry = QStringLiteral("p/%1.txt").arg(QChar(u'a' + i));
            QCOMPARE(
                vzt::Run(QStringLiteral("unzip"), {QStringLiteral("-p"), archive, entry}).output,
                want[i].toUtf8());
        }
        QCOMPARE(pkt::Sorted(pkt::EntryNames(archive)),
                 (QStringList{"p/", "p/a.txt", "p/b.txt", "p/c.txt"}));
        QVERIFY(pkt::UnzipTests(archive, QString()));
    }

    // Several disk items in one commit, as the command line adds them.
    void severalItemsInOneCommit() {
        const QString dir = Fresh(QStringLiteral("batch"));
        QVERIFY(vzt::MakeTree(dir, {{"one/a.txt", "first"},
                                    {"two/a.txt", "second"},
                                    {"f/x.txt", "x"},
                                    {"g/f", "a file named like the folder"}}));
        const QString archive = dir + QStringLiteral("/b.zip");
        pkt::ScriptedObserver observer;
        CZipPacker packer;
        packer.SetIni(Settings(6, 8));
        packer.SetHandleDialogProgress(&observer);
        QVERIFY(packer.CreateArchive(archive));
        QVERIFY(packer.AddItemsToArchiveFolder(
            {dir + QStringLiteral("/one/a.txt"), dir + QStringLiteral("/f"),
             dir + QStringLiteral("/two/a.txt")},
            QString()));
        QCOMPARE(observer.reports.size(), 1);
        QVERIFY(observer.reports[0].contains(dir + QStringLiteral("/two/a.txt")));
        QCOMPARE(pkt::EntryNames(archive), (QStringList{"a.txt", "f/", "f/x.txt"}));
        QVERIFY(packer.CreateEmptyFolder(QStringLiteral("sub")));
        const QByteArray before = vzt::ReadAll(archive);
        // A file and a folder of one name in one batch, or a file over a folder: nothing is
        // written.
        QVERIFY(!packer.AddItemsToArchiveFolder(
            {dir + QStringLiteral("/g/f"), dir + QStringLiteral("/f")}, QStringLiteral("sub")));
        QVERIFY2(packer.LastError().contains(QStringLiteral("sub/f")),
                 qPrintable(packer.LastError()));
        QVERIFY(!packer.AddItemsToArchiveFolder({dir + QStringLiteral("/g/f")}, QString()));
        QVERIFY2(packer.LastError().contains(dir + QStringLiteral("/g/f")),
                 qPrintable(packer.LastError()));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(vzt::ReadAll(archive), before);
        QCOMPARE(vzt::Run(QStringLiteral("unzip"),
                          {QStringLiteral("-p"), archive, QStringLiteral("a.txt")})
                     .output,
                 QByteArray("first"));
    }

    // A new archive replaces a file of its name only when written; with no entries, or with
    // its last entry removed, it is an empty archive, not no archive.
    void emptyAndReplacedArchives() {
        const QString dir = Fresh(QStringLiteral("empty"));
        const QString archive = dir + QStringLiteral("/e.zip");
        const QString in = dir + QStringLiteral("/in.txt");
        QVERIFY(vzt::WriteAll(in, "in"));
        CZipPacker packer;
        packer.SetIni(Settings(6, 8));
        QVERIFY(packer.CreateArchive(archive));
        QVERIFY(packer.AddFileToArchive(in));
        QCOMPARE(pkt::EntryNames(archive), QStringList{QStringLiteral("in.txt")});
        QVERIFY(packer.RemoveFile(QStringLiteral("in.txt")));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(QFileInfo(archive).size(), qint64(22));
        QVERIFY(pkt::SevenZipTests(archive, QString()));
        QVERIFY(vzt::WriteAll(archive, "not yet replaced"));
        QVERIFY(packer.CreateArchive(archive));
        QVERIFY(!packer.AddFileToArchive(dir + QStringLiteral("/missing.txt")));
        QCOMPARE(vzt::ReadAll(archive), QByteArray("not yet replaced"));
        QVERIFY(packer.AddFileToArchive(in));
        QVERIFY(packer.CloseArchive());
        QCOMPARE(pkt::EntryNames(archive), QStringList{QStringLiteral("in.txt")});
        QCOMPARE(pkt::OtherFiles(dir, {"e.zip", "in.txt"}), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestZipPackerWrite)
#include "tst_ZipPackerWrite.moc"
