// velazip-cli's reading commands, run as a user or a script runs them: no terminal, the
// settings file of its own, exit codes and one-line failures.

#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "TestSupport.h"

class CliReadTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_zip;

    vzt::ToolResult Cli(const QStringList& args) {
        return vzt::RunCli(args, m_dir.filePath("config"));
    }
    QString Ini() const {
        return m_dir.filePath("config/Vela Systems/Vela-ZIP Archiver/velazip.ini");
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(vzt::MakeTree(m_dir.filePath("src"), {{"Gamma.txt", "g"},
                                                      {"alpha.txt", "a"},
                                                      {"Beta.txt", "b"},
                                                      {"docs/deep/x.txt", "x"},
                                                      {"docs/readme.md", "r"}}));
        const auto a = vzt::MakeFamilyArchive("zip-nodirs", m_dir.filePath("src"), m_dir.path());
        QVERIFY2(a.error.isEmpty(), qPrintable(a.error));
        m_zip = a.path;
    }

    void firstRunMakesTheSettingsFile() {
        QVERIFY(!QFile::exists(Ini()));
        QCOMPARE(Cli({"classify", m_zip}).output, QByteArray("1\n"));
        QVERIFY(QFile::exists(Ini()));
        QVERIFY(vzt::ReadAll(Ini()).contains("UnpackFoldersWithoutPaths=Yes"));
    }

    void listing() {
        auto r = Cli({"list", m_zip});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.output, QByteArray("docs/\nalpha.txt\nBeta.txt\nGamma.txt\n"));
        r = Cli({"list", m_zip + "/docs"});
        QCOMPARE(r.output, QByteArray("deep/\nreadme.md\n"));
        r = Cli({"list", "--all", m_zip});
        QCOMPARE(r.exitCode, 0);
        const QList<QByteArray> lines = r.output.trimmed().split('\n');
        QCOMPARE(lines.size(), 5);
        QVERIFY(r.output.contains(" docs/deep/x.txt\n"));
        QVERIFY(QRegularExpression("^f +1 \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\S+$")
                    .match(QString::fromUtf8(lines.first()))
                    .hasMatch());
        // A disk folder lists its sub-folders, then its archives.
        r = Cli({"list", m_dir.path()});
        QVERIFY2(r.output.startsWith("config/\nsrc/\n") && r.output.endsWith("x.zip\n"),
                 r.output.constData());
        QVERIFY(Cli({"info", m_zip + "/docs/readme.md"})
                    .output.startsWith("Size - 1 bytes, Packed - 1 bytes"));
    }

    void failuresAreOneLineAndNonZero() {
        auto r = Cli({"list", m_dir.filePath("src/alpha.txt")});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output.count('\n'), 1);
        QVERIFY(r.output.contains("alpha.txt"));
        QVERIFY(vzt::WriteAll(m_dir.filePath("bad.zip"), "not a zip"));
        r = Cli({"extract", m_dir.filePath("bad.zip"), m_dir.filePath("out")});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output.count('\n'), 1);
        QVERIFY(r.output.contains("bad.zip"));
        QCOMPARE(Cli({"frobnicate"}).exitCode, 2);
        QCOMPARE(Cli({"extract", m_zip}).exitCode, 2);
        QCOMPARE(Cli({"--help"}).exitCode, 0);
        QVERIFY(Cli({"--help"}).output.contains("--files-without-paths"));
    }

    // An ACE file is an archive (code 5) that lists no entries and that nothing unpacks.
    void aceArchives() {
        const QString ace = m_dir.filePath("data.ace");
        QVERIFY(vzt::WriteAll(ace, "**ACE**"));
        QCOMPARE(Cli({"classify", ace}).output, QByteArray("5\n"));
        for (const QStringList& list :
             {QStringList{"list", ace}, QStringList{"list", "--all", ace}}) {
            const auto r = Cli(list);
            QCOMPARE(r.exitCode, 0);
            QCOMPARE(r.output, QByteArray());
        }
        const QByteArray failure =
            "velazip-cli: " + ace.toUtf8() + ": ACE archives cannot be read\n";
        auto r = Cli({"extract", ace, m_dir.filePath("ace-out")});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output, failure);
        QVERIFY(!QFileInfo::exists(m_dir.filePath("ace-out")));
        r = Cli({"test", ace});
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.output, failure);
    }

    // "list --all" shows every entry, also those refused for their names, marked with "!".
    void listAllShowsRefusedEntries() {
        const QString zip = m_dir.filePath("hostile.zip");
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({{"../evil.txt", "evil"}, {"ok.txt", "fine"}})));
        const auto r = Cli({"list", "--all", zip});
        QCOMPARE(r.exitCode, 0);
        const QList<QByteArray> lines = r.output.trimmed().split('\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].startsWith("f! ") && lines[0].endsWith(" ../evil.txt"), lines[0]);
        QVERIFY2(lines[1].startsWith("f  ") && lines[1].endsWith(" ok.txt"), lines[1]);
        QCOMPARE(Cli({"list", zip}).output, QByteArray("ok.txt\n"));
    }

    // Each failure is one line "PATH: reason" (or the one entry's report, which names the
    // archive), exit code 1, and an extraction that cannot start leaves no DEST behind.
    void failureLines_data() {
        QTest::addColumn<QStringList>("args");  // @ZIP@ the test zip, @DIR@ its folder
        QTest::addColumn<QString>("line");
        QTest::newRow("extract: no such inner path")
            << QStringList{"extract", "@ZIP@/nothere", "@DIR@/dest"}
            << "@ZIP@/nothere: no such file or folder in the archive";
        QTest::newRow("extract: no such archive")
            << QStringList{"extract", "@DIR@/missing.zip", "@DIR@/dest"}
            << "@DIR@/missing.zip: no such file";
        QTest::newRow("list: no such archive")
            << QStringList{"list", "@DIR@/missing.zip"} << "@DIR@/missing.zip: no such file";
        QTest::newRow("info: no such archive, path inside it")
            << QStringList{"info", "@DIR@/missing.zip/a.txt"}
            << "@DIR@/missing.zip/a.txt: no such file";
        QTest::newRow("list: a file that is no archive")
            << QStringList{"list", "@DIR@/src/alpha.txt"}
            << "@DIR@/src/alpha.txt: not an archive (or its type is switched off in the settings)";
        QTest::newRow("extract: the one file asked for is damaged")
            << QStringList{"extract", "@DIR@/crc.zip/a.txt", "@DIR@/dest"}
            << "Cannot unpack a.txt from @DIR@/crc.zip: its data is damaged (CRC error).";
        QTest::newRow("extract: one entry of the archive is damaged")
            << QStringList{"extract", "@DIR@/crc.zip", "@DIR@/dest2"}
            << "Cannot unpack a.txt from @DIR@/crc.zip: its data is damaged (CRC error).";
        const QString loop =
            "Cannot open the archive @DIR@/loop%1.iso: it is damaged (its Rock "
            "Ridge continuation entries form a loop).";
        QTest::newRow("list: an image that loops")
            << QStringList{"list", "@DIR@/loop1.iso"} << loop.arg(1);
        QTest::newRow("test: an image that loops, doubling")
            << QStringList{"test", "@DIR@/loop2.iso"} << loop.arg(2);
        QTest::newRow("extract: an image that loops")
            << QStringList{"extract", "@DIR@/loop1.iso", "@DIR@/dest3"} << loop.arg(1);
    }
    void failureLines() {
        QFETCH(QStringList, args);
        QFETCH(QString, line);
        QByteArray crc = vzt::StoredZip({{"a.txt", "original data"}, {"b.txt", "more"}});
        crc[crc.indexOf("original")] = 'O';
        QVERIFY(vzt::WriteAll(m_dir.filePath("crc.zip"), crc));
        // Images whose Rock Ridge continuations loop: back to themselves, doubling (without
        // Joliet names, which libarchive would read instead).
        QVERIFY(vzt::Shell("genisoimage -quiet -R -o ../i.iso .", m_dir.filePath("src")).Ok());
        for (int copies : {1, 2}) {
            QByteArray image = vzt::ReadAll(m_dir.filePath("i.iso"));
            QVERIFY(vzt::LoopRockRidgeContinuation(&image, copies));
            QVERIFY(vzt::WriteAll(m_dir.filePath("loop%1.iso").arg(copies), image));
        }
        auto fill = [&](QString s) {
            return s.replace("@ZIP@", m_zip).replace("@DIR@", m_dir.path());
        };
        for (QString& a : args)
            a = fill(a);
        const auto r = Cli(args);
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.output), "velazip-cli: " + fill(line) + "\n");
        if (args.first() == "extract" && !args.at(1).contains("crc.zip"))
            QVERIFY(!QFileInfo::exists(args.last()));
    }

    // find: one line per hit ("size yyyy-mm-dd hh:mm:ss path"); a broken archive is
    // skipped silently unless --verbose names it.
    void find_data() {
        QTest::addColumn<QStringList>("args");  // the folder searched is appended
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("lines");  // hits relative to the folder, sorted
        QTest::newRow("archives") << QStringList{"--archives", "X.*"} << 0 << QStringList{"x.zip"};
        QTest::newRow("a folder inside an archive")
            << QStringList{"--archives", "*.zip", "--files", "*.txt", "/x.zip/docs"} << 0
            << QStringList{"x.zip/docs/deep/x.txt"};
        QTest::newRow("disk files, no sub-folders")
            << QStringList{"--disk", "--no-subfolders", "--files", "*.md"} << 0
            << QStringList{"notes.md"};
        QTest::newRow("verbose names what was skipped")
            << QStringList{"--verbose", "--files", "*.md"} << 0
            << QStringList{"velazip-cli: " + m_dir.filePath("find/bad.zip"),
                           "x.zip/docs/readme.md"};
        QTest::newRow("no hit") << QStringList{"--files", "*.none"} << 1 << QStringList{};
        QTest::newRow("--disk takes no archive mask")
            << QStringList{"--disk", "--archives", "*"} << 2 << QStringList{};
    }
    void find() {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QStringList, lines);
        const QString folder = m_dir.filePath("find");
        QVERIFY(vzt::MakeTree(folder, {{"notes.md", "n"}, {"sub/more.md", "m"}, {"bad.zip", "x"}}));
        QFile::copy(m_zip, folder + "/x.zip");
        const QString inner = args.last().startsWith('/') ? args.takeLast() : QString();
        const auto r = Cli(QStringList{"find"} + args + QStringList{folder + inner});
        QCOMPARE(r.exitCode, exitCode);
        if (exitCode == 2)
            return;
        // A hit loses its size and time, a skipped archive its reason.
        const QRegularExpression hit("^ *\\d+ [-\\d]{10} [:\\d]{8} " +
                                     QRegularExpression::escape(folder) + '/');
        QStringList shown;
        for (QString line : QString::fromUtf8(r.output).split('\n', Qt::SkipEmptyParts))
            shown << (line.contains(hit) ? line.remove(hit) : line.section(": skipped: ", 0, 0));
        shown.sort();
        QCOMPARE(shown, lines);
    }

    // --encoding names the code page of names without the UTF-8 flag, for one run.
    void encodingOption_data() {
        QTest::addColumn<QStringList>("args");  // @ZIP@ a zip of one CP866 name
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::newRow("detected") << QStringList{"list", "@ZIP@"} << 0 << "Отчёт.txt\n";
        QTest::newRow("chosen") << QStringList{"list", "--encoding", "cp1251", "@ZIP@"} << 0
                                << "Ћвзсв.txt\n";
        QTest::newRow("chosen for a test")
            << QStringList{"test", "--encoding=ibm-866", "@ZIP@"} << 0 << "@ZIP@: OK\n";
        QTest::newRow("unknown") << QStringList{"extract", "--encoding", "klingon", "@ZIP@", "d"}
                                 << 2 << "unknown encoding \"klingon\"";
    }
    void encodingOption() {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        vzt::ZipItem item{QByteArray::fromPercentEncoding("%8E%E2%E7%F1%E2.txt"), "x"};
        item.utf8Flag = false;
        item.madeBy = 0;  // written on Windows
        const QString zip = m_dir.filePath("cp866.zip");
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip({item})));
        args.replaceInStrings("@ZIP@", zip);
        const auto r = Cli(args);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(QString::fromUtf8(r.output).contains(output.replace("@ZIP@", zip)),
                 r.output.constData());
    }

    // The settings give the defaults; options override them for one run.
    void extractFollowsSettingsAndOptions() {
        const QString out = m_dir.filePath("x1");
        QCOMPARE(Cli({"extract", m_zip + "/docs/deep/x.txt", out}).exitCode, 0);
        QCOMPARE(vzt::ListTree(out), QStringList{"x.txt"});  // files without paths by default
        QCOMPARE(
            Cli({"extract", "--files-with-paths", m_zip + "/docs/deep/x.txt", m_dir.filePath("x2")})
                .exitCode,
            0);
        QCOMPARE(vzt::ListTree(m_dir.filePath("x2")),
                 (QStringList{"docs/", "docs/deep/", "docs/deep/x.txt"}));
        QString ini = QString::fromUtf8(vzt::ReadAll(Ini()));
        ini.replace("UnpackFilesWithoutPaths=Yes", "UnpackFilesWithoutPaths=No");
        QVERIFY(vzt::WriteAll(Ini(), ini.toUtf8()));
        QCOMPARE(Cli({"extract", m_zip + "/docs/deep/x.txt", m_dir.filePath("x3")}).exitCode, 0);
        QCOMPARE(vzt::ListTree(m_dir.filePath("x3")).size(), 3);
        ini.replace("UnpackFilesWithoutPaths=No", "UnpackFilesWithoutPaths=Yes");
        QVERIFY(vzt::WriteAll(Ini(), ini.toUtf8()));
    }

    // Without a terminal nothing waits: existing files are skipped and reported.
    void overwriteWithoutTerminal() {
        const QString out = m_dir.filePath("ow");
        QVERIFY(vzt::MakeTree(out, {{"alpha.txt", "old"}}));
        auto r = Cli({"extract", m_zip, out});
        QCOMPARE(r.exitCode, 0);
        QVERIFY(r.output.contains("Skipped") && r.output.contains("alpha.txt"));
        QCOMPARE(vzt::ReadAll(out + "/alpha.txt"), QByteArray("old"));
        QCOMPARE(vzt::ReadAll(out + "/Beta.txt"), QByteArray("b"));
        QCOMPARE(Cli({"extract", "--overwrite", "always", m_zip, out}).exitCode, 0);
        QCOMPARE(vzt::ReadAll(out + "/alpha.txt"), QByteArray("a"));
        QCOMPARE(Cli({"extract", "--overwrite", "sometimes", m_zip, out}).exitCode, 2);
    }

    // Names outside ASCII come through even when the caller's locale is plain C.
    void nonAsciiNamesUnderTheCLocale() {
        QVERIFY(vzt::MakeTree(m_dir.filePath("uni"), {{"Grüße/naïve файл.txt", "u"}}));
        QVERIFY(vzt::Shell("tar cf ../uni.tar . && 7zz a -bso0 ../uni.7z .", m_dir.filePath("uni"))
                    .Ok());
        for (const char* archive : {"uni.tar", "uni.7z"}) {
            QProcess p;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("XDG_CONFIG_HOME", m_dir.filePath("config"));
            env.insert("LC_ALL", "C");
            env.insert("LANG", "C");
            p.setProcessEnvironment(env);
            p.start(vzt::BinaryDir() + "/velazip-cli",
                    {"list", m_dir.filePath(archive) + "/Grüße"});
            QVERIFY(p.waitForFinished());
            QCOMPARE(QString::fromUtf8(p.readAllStandardOutput()), QString("naïve файл.txt\n"));
        }
    }

    // A split 7z set whose middle volume is missing names the gap.
    void missingSevenZipVolume() {
        QVERIFY(vzt::WriteAll(m_dir.filePath("vol/big.bin"), vzt::RandomBytes(90000, 8)));
        QVERIFY(vzt::Shell("7zz a -bso0 -v30k ../vol.7z big.bin", m_dir.filePath("vol")).Ok());
        QVERIFY(QFile::remove(m_dir.filePath("vol.7z.002")));
        const auto r = Cli({"list", m_dir.filePath("vol.7z.001")});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.output.contains("incomplete") && r.output.contains("vol.7z.001"),
                 r.output.constData());
    }

    // Without a terminal a password comes only from --password; a failure says which.
    void passwordsWithoutTerminal_data() {
        QTest::addColumn<QStringList>("args");  // @DIR@ the test folder
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("says");
        const QString zip = "@DIR@/enc.zip", he = "@DIR@/he.7z";
        QTest::newRow("zip, none")
            << QStringList{"extract", zip, "@DIR@/e1"} << 1 << "a password is required";
        QTest::newRow("zip, wrong") << QStringList{"extract", "--password", "nope", zip, "@DIR@/e2"}
                                    << 1 << "the password is wrong";
        QTest::newRow("zip, right")
            << QStringList{"test", "--password", "pw", zip} << 0 << ": OK\n";
        QTest::newRow("7z names, none")
            << QStringList{"list", he} << 1 << "a password is required (give it with --password)";
        QTest::newRow("7z names, wrong")
            << QStringList{"list", "--password", "nope", he} << 1 << "the password is wrong";
        QTest::newRow("7z names, right")
            << QStringList{"list", "--password", "pw", he + "/src"} << 0 << "alpha.txt\n";
        QTest::newRow("7z names, test")
            << QStringList{"test", "--password", "pw", he} << 0 << ": OK\n";
        QTest::newRow("RAR 4 encryption, some entries not unpacked")
            << QStringList{"extract", "--password", "password", "@RAR@/rar4_encrypted.rar",
                           "@DIR@/e3"}
            << 1 << "2 entries failed";
    }
    void passwordsWithoutTerminal() {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, says);
        if (!vzt::HaveTool("7zz") || vzt::SharedTestData().isEmpty())
            QSKIP("7zz or the shared samples are missing");
        QVERIFY(vzt::Shell("rm -f enc.zip he.7z && zip -q -P pw enc.zip src/alpha.txt && "
                           "7zz a -mhe=on -ppw he.7z src >/dev/null",
                           m_dir.path())
                    .Ok());
        for (QString& a : args)
            a.replace("@DIR@", m_dir.path()).replace("@RAR@", vzt::SharedTestData() + "/rar");
        const auto r = Cli(args);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.output.contains(says.toUtf8()), r.output.constData());
    }
};

QTEST_GUILESS_MAIN(CliReadTest)
#include "tst_cli_read.moc"
