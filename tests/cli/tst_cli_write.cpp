// velazip-cli's writing commands: every change leaves an archive that 7zz tests clean,
// options reach the archive, refusals are one line and a non-zero exit.

#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QtTest>

#include "TestSupport.h"

class CliWriteTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

    vzt::ToolResult Cli(const QStringList& args) {
        return vzt::RunCli(args, m_dir.filePath("config"));
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
    }

    void refusals() {
        const QString zip = m_dir.filePath("f.zip");
        QCOMPARE(Cli({"create", zip, m_dir.filePath("src/a.txt")}).exitCode, 0);
        const QByteArray before = vzt::ReadAll(zip);
        struct Case {
            QStringList args;
            int exitCode;
        };
        QVERIFY(vzt::WriteAll(m_dir.filePath("self.exe"), vzt::ReadAll("/bin/true") + before));
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
        for (const Case& c : cases) {
            const auto r = Cli(c.args);
            QVERIFY2(r.exitCode == c.exitCode, qPrintable(c.args.join(' ') + ": " + r.output));
            QCOMPARE(r.output.count('\n'), 1);
        }
        QCOMPARE(vzt::ReadAll(zip), before);  // untouched by every refusal
    }
};

QTEST_GUILESS_MAIN(CliWriteTest)
#include "tst_cli_write.moc"
