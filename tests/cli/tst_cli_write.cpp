// velazip-cli's writing commands: every change leaves an archive that 7zz tests clean,
// options reach the archive, refusals are one line and a non-zero exit.

#include <signal.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "TestSupport.h"

class CliWriteTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

    vzt::ToolResult Cli(const QStringList& args) {
        return vzt::RunCli(args, m_dir.filePath("config"));
    }
    struct Interrupted {
        bool signalled = false;  // the SIGTERM went while the temporary file was there
        int exitCode = -1;       // -1: the program did not exit by itself
        QByteArray output;
    };
    // Runs velazip-cli and sends it SIGTERM as soon as the temporary file of its commit shows
    // beside `archive`: while it is writing the new archive. When it ends first, nothing is sent.
    Interrupted RunInterrupted(const QStringList& args, const QString& archive) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", m_dir.filePath("config"));
        p.setProcessEnvironment(env);
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(vzt::BinaryDir() + "/velazip-cli", args);
        p.closeWriteChannel();
        const QDir folder = QFileInfo(archive).absoluteDir();
        const QStringList temporary{"." + QFileInfo(archive).fileName() + ".vz-??????"};
        Interrupted r;
        while (p.state() != QProcess::NotRunning && !p.waitForFinished(1)) {
            if (!folder.entryList(temporary, QDir::Files | QDir::Hidden).isEmpty()) {
                ::kill(static_cast<pid_t>(p.processId()), SIGTERM);
                r.signalled = true;
                break;
            }
        }
        p.waitForFinished(120000);
        if (p.exitStatus() == QProcess::NormalExit)
            r.exitCode = p.exitCode();
        r.output = p.readAll();
        return r;
    }
    // A file of `size` zero bytes (sparse): something long enough to stop half-way.
    static bool SizedFile(const QString& path, qint64 size) {
        QFile f(path);
        return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.resize(size);
    }
    // The names in `folder`, hidden ones too.
    static QStringList Listing(const QString& folder) {
        return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                                      QDir::Name);
    }
    QString Tested(const QString& archive, const QString& password = {}) {
        QStringList args{"t", "-bso0", archive};
        if (!password.isEmpty())
            args << "-p" + password;
        const auto r = vzt::Run("7zz", args);
        return r.Ok() ? QString() : QString::fromUtf8(r.output);
    }
    // The entry names of an archive, sorted.
    QStringList Names(const QString& archive) {
        QStringList names;
        for (const QByteArray& line : Cli({"list", "--all", archive}).output.split('\n'))
            if (!line.isEmpty())
                names << QString::fromUtf8(line.mid(line.lastIndexOf(' ') + 1));
        names.sort();
        return names;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(vzt::MakeTree(m_dir.filePath("src"),
                              {{"a.txt", "a"},
                               {"docs/b.txt", vzt::RandomBytes(50000, 1).toHex()},
                               {"docs/deep/c.txt", "c"},
                               {"empty/", {}}}));
    }

    void editingRoundTrip() {
        const QString zip = m_dir.filePath("x.zip");
        QCOMPARE(Cli({"create", zip, m_dir.filePath("src")}).exitCode, 0);
        QCOMPARE(Tested(zip), QString());
        QCOMPARE(Names(zip), (QStringList{"src", "src/a.txt", "src/docs", "src/docs/b.txt",
                                          "src/docs/deep", "src/docs/deep/c.txt", "src/empty"}));
        QCOMPARE(Cli({"add", zip + "/src/empty", m_dir.filePath("src/a.txt")}).exitCode, 0);
        QCOMPARE(Cli({"rename", zip + "/src/docs", "Papers"}).exitCode, 0);
        QCOMPARE(Cli({"mkdir", zip + "/src/new/inner"}).exitCode, 0);
        QCOMPARE(Cli({"delete", zip + "/src/a.txt"}).exitCode, 0);
        QCOMPARE(Tested(zip), QString());
        QCOMPARE(Names(zip), (QStringList{"src", "src/Papers", "src/Papers/b.txt",
                                          "src/Papers/deep", "src/Papers/deep/c.txt", "src/empty",
                                          "src/empty/a.txt", "src/new/inner"}));
        QCOMPARE(Cli({"delete", zip + "/src/Papers"}).exitCode, 0);
        QCOMPARE(Names(zip), (QStringList{"src", "src/empty", "src/empty/a.txt", "src/new/inner"}));
    }

    // A renamed entry of a zip whose names are in a code page is written as UTF-8 (flagged);
    // the other entries keep their bytes.
    void renameInCodePageZip() {
        const QString zip = m_dir.filePath("cp866.zip");
        std::vector<vzt::ZipItem> items{
            {QByteArray::fromPercentEncoding("%8E%E2%E7%F1%E2.txt"), "a"},
            {QByteArray::fromPercentEncoding("%8F%AB%A0%AD.txt"), "b"}};
        for (vzt::ZipItem& i : items) {
            i.utf8Flag = false;
            i.madeBy = 0;  // written on Windows
        }
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip(items)));
        QCOMPARE(Cli({"rename", zip + "/План.txt", "Смета.txt"}).exitCode, 0);
        QCOMPARE(Tested(zip), QString());
        QCOMPARE(Names(zip), (QStringList{"Отчёт.txt", "Смета.txt"}));
        const QByteArray bytes = vzt::ReadAll(zip);
        QCOMPARE(bytes.count(items[0].name), 2);  // local header and central directory
        QCOMPARE(bytes.count(items[1].name), 0);
        QCOMPARE(bytes.count(QString("Смета.txt").toUtf8()), 2);
    }

    void optionsReachTheArchive() {
        const QString zip = m_dir.filePath("o.zip");
        QCOMPARE(
            Cli({"create", "--level", "0", "--folders-with-paths", zip, m_dir.filePath("src/docs")})
                .exitCode,
            0);
        const QString inner = m_dir.filePath("src/docs/b.txt").mid(1);
        QVERIFY2(Cli({"info", zip + "/" + inner}).output.contains("Compression method - Store"),
                 Cli({"info", zip + "/" + inner}).output.constData());
        const QString enc = m_dir.filePath("e.zip");
        QCOMPARE(Cli({"create", "--method", "bzip2", "--encrypt", "aes256", "--password", "pw", enc,
                      m_dir.filePath("src/a.txt")})
                     .exitCode,
                 0);
        QCOMPARE(Tested(enc, "pw"), QString());
        QVERIFY(!Tested(enc, "wrong").isEmpty());
        QVERIFY(Cli({"info", enc + "/a.txt"}).output.contains("BZip2, AES-256"));
    }

    // Without a terminal an existing entry is kept and reported; --replace always replaces.
    void replaceWithoutTerminal() {
        const QString zip = m_dir.filePath("r.zip");
        QVERIFY(vzt::WriteAll(m_dir.filePath("r/a.txt"), "first"));
        QCOMPARE(Cli({"create", zip, m_dir.filePath("r/a.txt")}).exitCode, 0);
        QVERIFY(vzt::WriteAll(m_dir.filePath("r/a.txt"), "second"));
        auto r = Cli({"add", zip, m_dir.filePath("r/a.txt")});
        QCOMPARE(r.exitCode, 0);
        QVERIFY(r.output.contains("Skipped"));
        QCOMPARE(vzt::Run("unzip", {"-p", zip, "a.txt"}).output, QByteArray("first"));
        QCOMPARE(Cli({"add", "--replace", "always", zip, m_dir.filePath("r/a.txt")}).exitCode, 0);
        QCOMPARE(vzt::Run("unzip", {"-p", zip, "a.txt"}).output, QByteArray("second"));
        QVERIFY(vzt::WriteAll(m_dir.filePath("r/a.txt"), "third"));
        r = Cli({"add", "--replace", "never", zip, m_dir.filePath("r/a.txt")});
        QCOMPARE(r.exitCode, 0);
        QVERIFY(r.output.contains("Skipped"));
        QCOMPARE(vzt::Run("unzip", {"-p", zip, "a.txt"}).output, QByteArray("second"));
    }

    // The path options against the settings' defaults (files and folders without paths).
    void pathOptions_data() {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("source");     // below the test folder
        QTest::addColumn<QStringList>("names");  // "@" stands for the test folder without "/"
        const QStringList docs{"docs", "docs/b.txt", "docs/deep", "docs/deep/c.txt"};
        QStringList docsWithPaths;
        for (const QString& n : docs)
            docsWithPaths << "@/src/" + n;
        QTest::newRow("file") << QStringList{} << "src/a.txt" << QStringList{"a.txt"};
        QTest::newRow("file with paths")
            << QStringList{"--files-with-paths"} << "src/a.txt" << QStringList{"@/src/a.txt"};
        QTest::newRow("folder") << QStringList{} << "src/docs" << docs;
        QTest::newRow("folder with paths")
            << QStringList{"--folders-with-paths"} << "src/docs" << docsWithPaths;
        QTest::newRow("files with paths leave folders alone")
            << QStringList{"--files-with-paths"} << "src/docs" << docs;
        QTest::newRow("folders with paths leave files alone")
            << QStringList{"--folders-with-paths"} << "src/a.txt" << QStringList{"a.txt"};
    }
    void pathOptions() {
        QFETCH(QStringList, options);
        QFETCH(QString, source);
        QFETCH(QStringList, names);
        const QString zip = m_dir.filePath("paths.zip");
        QFile::remove(zip);
        const auto r =
            Cli(QStringList{"create"} + options + QStringList{zip, m_dir.filePath(source)});
        QVERIFY2(r.exitCode == 0, r.output.constData());
        const QString root = m_dir.path().mid(1);
        QStringList want;
        for (const QString& n : names)
            want << QString(n).replace("@", root);
        want.sort();
        QCOMPARE(Names(zip), want);
    }

    void refusals() {
        const QString zip = m_dir.filePath("f.zip");
        QCOMPARE(Cli({"create", zip, m_dir.filePath("src/a.txt")}).exitCode, 0);
        const QByteArray before = vzt::ReadAll(zip);
        struct Case {
            QStringList args;
            int exitCode;
        };
        // A real self-extracting zip: a program, the zip after it, offsets from the file's start.
        QVERIFY(vzt::WriteAll(m_dir.filePath("self.exe"), vzt::ReadAll("/bin/true") + before));
        QVERIFY(vzt::Run("zip", {"-qA", m_dir.filePath("self.exe")}).Ok());
        QVERIFY(vzt::WriteAll(m_dir.filePath("some.rar"), "Rar!"));
        const Case cases[] = {
            {{"rename", zip + "/a.txt", "x?y"}, 1},
            {{"rename", zip + "/missing.txt", "b.txt"}, 1},
            {{"delete", zip + "/missing"}, 1},
            {{"add", zip + "/nofolder", m_dir.filePath("src/a.txt")}, 1},
            {{"add", zip, m_dir.filePath("vanished.txt")}, 1},
            {{"create", zip, m_dir.filePath("src/a.txt")}, 1},
            {{"add", m_dir.filePath("self.exe"), m_dir.filePath("src/a.txt")}, 1},
            {{"add", m_dir.filePath("some.rar"), m_dir.filePath("src/a.txt")}, 1},
            {{"add", "--level", "12", zip, m_dir.filePath("src/a.txt")}, 2},
            {{"add", "--encrypt", "rot13", "--password", "x", zip, m_dir.filePath("src/a.txt")}, 2},
            {{"add", "--encrypt", "aes256", zip, m_dir.filePath("src/a.txt")}, 2},
        };
        const QByteArray selfBefore = vzt::ReadAll(m_dir.filePath("self.exe"));
        const QByteArray rarBefore = vzt::ReadAll(m_dir.filePath("some.rar"));
        for (const Case& c : cases) {
            const auto r = Cli(c.args);
            QVERIFY2(r.exitCode == c.exitCode, qPrintable(c.args.join(' ') + ": " + r.output));
            QCOMPARE(r.output.count('\n'), 1);
        }
        QCOMPARE(vzt::ReadAll(zip), before);  // untouched by every refusal
        QCOMPARE(vzt::ReadAll(m_dir.filePath("self.exe")), selfBefore);
        QCOMPARE(vzt::ReadAll(m_dir.filePath("some.rar")), rarBefore);
    }

    // A name with one of the nine characters is refused for a rename and for a new folder,
    // with the entry's path first; the archive stays as it was. ("/" in a new folder's path
    // separates folders, so it is a rename's case only.)
    void forbiddenCharacters_data() {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("name");
        for (const char* c : {"\\", "/", ":", "*", "?", "\"", "<", ">", "|"}) {
            const QString name = QStringLiteral("x%1y").arg(QLatin1String(c));
            QTest::addRow("rename %s", c) << "rename" << name;
            if (QLatin1String(c) != QLatin1String("/"))
                QTest::addRow("mkdir %s", c) << "mkdir" << name;
        }
        QTest::newRow("rename to blanks") << "rename"
                                          << "   ";
        QTest::newRow("mkdir of blanks") << "mkdir"
                                         << "   ";
    }
    void forbiddenCharacters() {
        QFETCH(QString, command);
        QFETCH(QString, name);
        const QString zip = m_dir.filePath("chars.zip");
        if (!QFile::exists(zip))
            QCOMPARE(Cli({"create", zip, m_dir.filePath("src")}).exitCode, 0);
        const QByteArray before = vzt::ReadAll(zip);
        const QString entry = zip + "/src/a.txt";
        const auto r = command == "rename" ? Cli({"rename", entry, name})
                                           : Cli({"mkdir", zip + "/src/" + name});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output.count('\n'), 1);
        const QString named = command == "rename" ? entry : zip + "/src/";
        QVERIFY2(r.output.startsWith("velazip-cli: " + named.toUtf8()), r.output.constData());
        // The sentence of the program's dialogs, on one line.
        const QString kind = command == "rename" ? "file" : "folder";
        const QString says = name.trimmed().isEmpty()
                                 ? QString("You must specify a %1 name.").arg(kind)
                                 : QString(
                                       "A %1 name cannot contain any of the following characters: "
                                       "\\ / : * ? \" < > |")
                                       .arg(kind);
        QVERIFY2(r.output.contains(says.toUtf8()), r.output.constData());
        QCOMPARE(vzt::ReadAll(zip), before);
    }

    // A new folder's name loses its leading and trailing blanks, as a rename's does.
    void newFolderNameIsTrimmed() {
        const QString zip = m_dir.filePath("trim.zip");
        QCOMPARE(Cli({"create", zip, m_dir.filePath("src/a.txt")}).exitCode, 0);
        QCOMPARE(Cli({"mkdir", zip + "/  Spaced  "}).exitCode, 0);
        QCOMPARE(Cli({"rename", zip + "/a.txt", "  b.txt "}).exitCode, 0);
        QCOMPARE(Names(zip), (QStringList{"Spaced", "b.txt"}));
    }

    // Inner paths name entries as `list` shows them: an entry of exactly the given name wins
    // over a folder whose name differs in case, "./a.txt" is "a.txt" and "d//b.txt" is
    // "d/b.txt"; an edit writes the entries it moves under the names shown. (Folders in any
    // case are the packer's tests'.)
    void namesAsListed_data() {
        QTest::addColumn<QStringList>("entries");  // written as given by python3's zipfile
        QTest::addColumn<QStringList>("command");  // "@" stands for the archive
        QTest::addColumn<QStringList>("after");    // the names in the archive, sorted
        QTest::newRow("exact name first")
            << QStringList{"Docs/a.txt", "README", "docs/b.txt", "readme/x.txt"}
            << QStringList{"delete", "@/README"}
            << QStringList{"Docs/a.txt", "docs/b.txt", "readme/x.txt"};
        const QStringList odd{"./a.txt", "d//b.txt"};
        QTest::newRow("rename ./a.txt as a.txt")
            << odd << QStringList{"rename", "@/a.txt", "x.txt"} << QStringList{"d//b.txt", "x.txt"};
        QTest::newRow("delete d//b.txt as d/b.txt")
            << odd << QStringList{"delete", "@/d/b.txt"} << QStringList{"./a.txt", "d/"};
        QTest::newRow("rename the folder of d//b.txt")
            << odd << QStringList{"rename", "@/d", "e"} << QStringList{"./a.txt", "e/b.txt"};
    }
    void namesAsListed() {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, command);
        QFETCH(QStringList, after);
        if (!vzt::HaveTool("python3"))
            QSKIP("python3 is not installed: it writes the names as given");
        const QString zip = m_dir.filePath("listed.zip");
        QFile::remove(zip);
        const auto made = vzt::Run(
            "python3", QStringList{"-c",
                                   "import sys, zipfile\n"
                                   "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
                                   "    for name in sys.argv[2:]: z.writestr(name, name)\n",
                                   zip} +
                           entries);
        QVERIFY2(made.Ok(), made.output.constData());
        command.replaceInStrings(QRegularExpression("^@"), zip);
        const auto r = Cli(command);
        QVERIFY2(r.exitCode == 0, r.output.constData());
        QStringList names = QString::fromUtf8(vzt::Run("unzip", {"-Z1", zip}).output)
                                .split('\n', Qt::SkipEmptyParts);
        names.sort();
        QCOMPARE(names, after);
    }

    // A disk name that is not UTF-8 is given as bytes and stored as those bytes without the
    // UTF-8 flag; a UTF-8 name keeps the flag. (QProcess cannot pass such bytes: a shell does.)
    void diskNameBytes_data() {
        QTest::addColumn<QByteArray>("name");     // a file made on disk; its top folder is added
        QTest::addColumn<QStringList>("stored");  // each entry: its name's bytes in hex, flag
        QTest::newRow("latin-1 file")
            << QByteArray("caf\xE9.txt") << QStringList{"636166e92e747874 0"};
        QTest::newRow("inside a folder")
            << QByteArray("d\xFF/in\x80side") << QStringList{"64ff2f 0", "64ff2f696e8073696465 0"};
        QTest::newRow("utf-8 file") << QByteArray("\xC3\xA9") << QStringList{"c3a9 2048"};
    }
    void diskNameBytes() {
        QFETCH(QByteArray, name);
        QFETCH(QStringList, stored);
        if (!vzt::HaveTool("python3"))
            QSKIP("python3 is not installed: it reads the stored names");
        QString octal;
        for (const char c : name)
            octal += uchar(c) < 0x80 ? QString(QChar(c)) : QString::asprintf("\\%03o", uchar(c));
        const QString work =
            m_dir.filePath("bytes-" + QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(QDir().mkpath(work));
        const auto r = vzt::Shell(
            QString("n=\"$(printf '%1')\"; mkdir -p \"$(dirname \"$n\")\" && printf x > \"$n\" && "
                    "XDG_CONFIG_HOME=%2 %3/velazip-cli create out.zip \"${n%%/*}\" && python3 -c '"
                    "import zipfile\n"
                    "for i in zipfile.ZipFile(\"out.zip\").infolist():\n"
                    "    f = i.flag_bits & 0x800\n"
                    "    print(i.orig_filename.encode(\"utf-8\" if f else \"cp437\").hex(), f)'")
                .arg(octal, m_dir.filePath("config"), vzt::BinaryDir()),
            work);
        QVERIFY2(r.Ok(), r.output.constData());
        QCOMPARE(QString::fromLatin1(r.output).split('\n', Qt::SkipEmptyParts), stored);
    }

    // A create that fails, or is stopped, leaves neither an archive nor a temporary file.
    void failedCreateLeavesNothing() {
        const QString dir = m_dir.filePath("failed");
        QVERIFY(vzt::MakeTree(dir, {{"c2/f", "file"}, {"c1/f/x.txt", "x"}}));
        const QString zip = dir + "/f2.zip";
        // A file and a folder would both be named "f".
        const auto r = Cli({"create", zip, dir + "/c2/f", dir + "/c1/f"});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output.count('\n'), 1);
        QVERIFY2(r.output.contains(zip.toUtf8()), r.output.constData());
        QCOMPARE(Listing(dir), (QStringList{"c1", "c2"}));
    }
    void stoppedCreateLeavesNothing() {
        const QString dir = m_dir.filePath("stopcreate");
        QVERIFY(QDir().mkpath(dir));
        const QString zip = dir + "/big.zip";
        // The larger the source, the longer the write: grow it until the stop comes while the
        // archive is being written.
        for (qint64 size = qint64(64) << 20; size <= (qint64(1) << 30); size *= 2) {
            const QString big = dir + "/big.bin";
            QVERIFY(SizedFile(big, size));
            const Interrupted r = RunInterrupted({"create", "--level", "0", zip, big}, zip);
            if (!r.signalled) {
                // It was done before the temporary file was seen: a whole, good archive.
                QCOMPARE(r.exitCode, 0);
                QCOMPARE(Tested(zip), QString());
                QVERIFY(QFile::remove(zip));
                continue;
            }
            if (r.exitCode == 0) {
                // The stop came after the last check for it: the archive is whole.
                QCOMPARE(Tested(zip), QString());
                QCOMPARE(Listing(dir), (QStringList{"big.bin", "big.zip"}));
                QVERIFY(QFile::remove(zip));
                continue;
            }
            QVERIFY2(r.exitCode == 1, r.output.constData());
            QVERIFY2(r.output.contains("stopped; the archive was not created"),
                     r.output.constData());
            QCOMPARE(Listing(dir), QStringList{"big.bin"});
            return;
        }
        QFAIL("the create always ended before the stop reached it");
    }

    // A rename stopped by SIGTERM while it rewrites the archive leaves it byte-identical and
    // removes the temporary file; so do a delete and a new folder (the same handler).
    void stoppedEditLeavesTheArchive_data() {
        QTest::addColumn<QString>("command");
        QTest::newRow("rename") << "rename";
        QTest::newRow("delete") << "delete";
        QTest::newRow("mkdir") << "mkdir";
    }
    void stoppedEditLeavesTheArchive() {
        QFETCH(QString, command);
        const QString dir = m_dir.filePath("stopedit");
        QDir(dir).removeRecursively();
        QVERIFY(vzt::MakeTree(dir, {{"small.txt", "s"}}));
        const QString zip = dir + "/big.zip";
        for (qint64 size = qint64(64) << 20; size <= (qint64(1) << 30); size *= 2) {
            const QString big = dir + "/big.bin";
            QVERIFY(SizedFile(big, size));
            QFile::remove(zip);
            QCOMPARE(Cli({"create", "--level", "0", zip, big, dir + "/small.txt"}).exitCode, 0);
            const QByteArray before = vzt::ReadAll(zip);
            QStringList args{command};
            if (command == "rename")
                args << zip + "/big.bin"
                     << "renamed.bin";
            else if (command == "delete")
                args << zip + "/small.txt";
            else
                args << zip + "/New Folder";
            const Interrupted r = RunInterrupted(args, zip);
            QCOMPARE(Listing(dir), (QStringList{"big.bin", "big.zip", "small.txt"}));
            if (r.signalled && r.exitCode == 1) {
                QVERIFY2(r.output.contains("stopped; the archive is as it was"),
                         r.output.constData());
                QVERIFY(vzt::ReadAll(zip) == before);
                return;
            }
            // Done before the stop reached it: the change is whole. Try a larger archive.
            QVERIFY2(r.exitCode == 0, r.output.constData());
            QCOMPARE(Tested(zip), QString());
            QVERIFY(vzt::ReadAll(zip) != before);
        }
        QFAIL("the edit always ended before the stop reached it");
    }
};

QTEST_GUILESS_MAIN(CliWriteTest)
#include "tst_cli_write.moc"
