// The file managers' menu items as `velazip` carries them out: real files with awkward names,
// the archives made checked with 7zz and unpacked by it, unpacked trees compared byte for
// byte with what was packed; the dialogs answered by the test.

#include <QFileDialog>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "JobWait.h"
#include "TestSupport.h"
#include "app/CShellActions.h"
#include "common/CConfirmReplace.h"
#include "common/CNameAndLevel.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "desktop/ShellMenus.h"
#include "settings/CSettingsStore.h"

class TestShellActions : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_root;
    QStringList m_answers;  // "name:<typed>", "folder:<relative>", "cancel" or a button text
    int m_boxes = 0;
    // The packed items: awkward names, a folder with a sub-folder, bytes that do not compress.
    const QMap<QString, QByteArray> m_tree{
        {"dir 1/q\"uote $HOME `x`.txt", "quoted"},
        {"dir 1/it's/f.bin", vzt::RandomBytes(100000, 7)},
        {"-n.txt", "dash"},
        {"new\nline", "two\nlines"}};  // packed; unpacking refuses control characters

    // Whether `root`/`item` and the packed `item` hold the same tree, byte for byte.
    bool Same(const QString& root, const QString& item) const {
        const QString mine = m_root + '/' + item, theirs = root + '/' + item;
        if (QFileInfo(mine).isFile())
            return vzt::ReadAll(mine) == vzt::ReadAll(theirs) && QFileInfo(theirs).isFile();
        const QStringList files = vzt::ListTree(mine);
        if (files != vzt::ListTree(theirs))
            return false;
        for (const QString& file : files)
            if (vzt::ReadAll(mine + '/' + file) != vzt::ReadAll(theirs + '/' + file))
                return false;
        return true;
    }

    // Runs the action on `inputs` (relative to the case folder) and waits for its end.
    bool Act(const QString& option, const QStringList& inputs) {
        QList<QByteArray> arguments{option.toUtf8()};
        for (const QString& input : inputs)
            arguments << QFile::encodeName(m_root + '/' + input);
        CSettingsRecord settings;  // as a new settings file has them, as the program reads them
        CSettingsStore::Load(settings);
        CShellActions actions(CShellActions::Parse(arguments), settings);
        bool ended = false, ok = false;
        actions.Start([&](bool result) {
            ended = true;
            ok = result;
        });
        return QTest::qWaitFor([&] { return ended; }, 60000) && vzt::WaitForJobs() && ok;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
        vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
            ++m_boxes;
            return request.buttons.testFlag(QMessageBox::No) ? QMessageBox::No : QMessageBox::Ok;
        });
        vz::SetModalDialogHook([this](QDialog& dialog) {
            const QString answer = m_answers.isEmpty() ? QString() : m_answers.takeFirst();
            if (auto* replace = qobject_cast<CConfirmReplace*>(&dialog)) {
                replace->Press(answer);
                return dialog.result();
            }
            if (auto* names = qobject_cast<CNameAndLevel*>(&dialog)) {
                if (!answer.startsWith(QLatin1String("name:")))
                    return int(QDialog::Rejected);
                names->NameEdit()->setText(answer.mid(5));
                names->accept();
                return dialog.result();
            }
            auto* chooser = qobject_cast<QFileDialog*>(&dialog);
            if (chooser == nullptr || !answer.startsWith(QLatin1String("folder:")))
                return int(QDialog::Rejected);
            chooser->setDirectory(m_root + '/' + answer.mid(7));
            return int(QDialog::Accepted);
        });
        if (!vzt::HaveTool(QStringLiteral("7zz")))
            QSKIP("7zz is missing: the archives cannot be checked");
    }

    void init() {
        m_root = m_dir.filePath(QStringLiteral("case"));
        QDir(m_root).removeRecursively();
        m_boxes = 0;
        QVERIFY(vzt::MakeTree(m_root, m_tree) && QDir().mkpath(m_root + "/arch") &&
                QDir().mkpath(m_root + "/out"));
        // The archives to extract, made by another tool.
        QVERIFY(vzt::Run("7zz", {"a", "-tzip", "arch/one.zip", "dir 1"}, m_root).Ok());
        QVERIFY(vzt::Run("7zz", {"a", "-tzip", "arch/two.zip", "--", "-n.txt"}, m_root).Ok());
    }

    void actions_data() {
        QTest::addColumn<QString>("option");
        QTest::addColumn<QStringList>("inputs");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QString>("existing");  // a file there before, holding "old"
        QTest::addColumn<bool>("ok");
        // "where|item": the packed item, byte for byte, in that folder or zip archive;
        // "file=content": a file as it must be.
        QTest::addColumn<QStringList>("expected");
        using L = QStringList;
        QTest::newRow("add to zip, two items")
            << "--add-to-zip" << L{"dir 1", "-n.txt", "new\nline"} << L{} << "" << true
            << L{"dir 1.zip|dir 1", "dir 1.zip|-n.txt", "dir 1.zip|new\nline"};
        QTest::newRow("add to archive, named")
            << "--add-to-archive" << L{"-n.txt"} << L{"name:its name"} << "" << true
            << L{"its name.zip|-n.txt"};
        QTest::newRow("add to archive, cancelled")
            << "--add-to-archive" << L{"-n.txt"} << L{"cancel"} << "" << false << L{};
        QTest::newRow("add to zip, replace not taken")
            << "--add-to-zip" << L{"-n.txt", "dir 1"} << L{} << "-n.zip" << false
            << L{"-n.zip=old"};
        QTest::newRow("extract here")
            << "--extract-here" << L{"arch/one.zip"} << L{} << "" << true << L{"arch|dir 1"};
        QTest::newRow("extract to a chosen folder")
            << "--extract-to" << L{"arch/one.zip", "arch/two.zip"} << L{"folder:out"} << "" << true
            << L{"out|dir 1", "out|-n.txt"};
        QTest::newRow("extract to, no folder chosen")
            << "--extract-to" << L{"arch/one.zip"} << L{"cancel"} << "" << false << L{};
        QTest::newRow("extract to the folder name")
            << "--extract-to-folder" << L{"arch/one.zip", "arch/two.zip"} << L{} << "" << true
            << L{"arch/one|dir 1", "arch/one|-n.txt"};
        QTest::newRow("extract each to its folder")
            << "--extract-each-to-folder" << L{"arch/one.zip", "arch/two.zip"} << L{} << "" << true
            << L{"arch/one|dir 1", "arch/two|-n.txt"};
        QTest::newRow("replace answered no") << "--extract-here" << L{"arch/two.zip"} << L{"&No"}
                                             << "arch/-n.txt" << true << L{"arch/-n.txt=old"};
        QTest::newRow("replace answered yes") << "--extract-here" << L{"arch/two.zip"} << L{"&Yes"}
                                              << "arch/-n.txt" << true << L{"arch|-n.txt"};
        QTest::newRow("not an archive") << "--extract-here" << L{"-n.txt", "arch/two.zip"} << L{}
                                        << "" << false << L{"arch|-n.txt"};
    }
    void actions() {
        QFETCH(QString, option);
        QFETCH(QStringList, inputs);
        QFETCH(QStringList, answers);
        QFETCH(QString, existing);
        QFETCH(bool, ok);
        QFETCH(QStringList, expected);
        QVERIFY(existing.isEmpty() || vzt::WriteAll(m_root + '/' + existing, "old"));
        const QStringList before = vzt::ListTree(m_root);
        m_answers = answers;
        QCOMPARE(Act(option, inputs), ok);
        QVERIFY(m_answers.isEmpty());
        // A refused replace asks in a box, a file that is no archive fails in one.
        QCOMPARE(m_boxes, QByteArray(QTest::currentDataTag()).contains("not") ? 1 : 0);
        if (expected.isEmpty())
            QCOMPARE(vzt::ListTree(m_root), before);
        for (const QString& check : expected) {
            if (check.contains('=')) {
                QCOMPARE(vzt::ReadAll(m_root + '/' + check.section('=', 0, 0)),
                         check.section('=', 1).toUtf8());
                continue;
            }
            QString where = m_root + '/' + check.section('|', 0, 0);
            if (where.endsWith(QLatin1String(".zip"))) {
                QVERIFY(vzt::Run("7zz", {"t", where}).Ok());
                const QString out = m_dir.filePath(QStringLiteral("unzipped"));
                QDir(out).removeRecursively();
                QVERIFY(vzt::Run("7zz", {"x", "-o" + out, where}).Ok());
                where = out;
            }
            QVERIFY2(Same(where, check.section('|', 1)), qPrintable(check));
        }
    }

    // The e-mail items hand the archive made to the mail program.
    void addAndEMail() {
        const QString bin = m_dir.filePath(QStringLiteral("bin"));
        const QString record = m_dir.filePath(QStringLiteral("mailed"));
        QVERIFY(vzt::WriteAll(bin + "/xdg-email", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" +
                                                      QFile::encodeName(record) + "'\n"));
        QVERIFY(QFile::setPermissions(bin + "/xdg-email", QFile::ReadOwner | QFile::ExeOwner));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin) + ':' + path);
        const bool done = Act(QStringLiteral("--add-to-zip-and-email"), {"dir 1"});
        qputenv("PATH", path);
        QVERIFY(done);
        QTRY_COMPARE(vzt::ReadAll(record),
                     "--attach\n" + QFile::encodeName(m_root) + "/dir 1.zip\n");
    }

    // The program itself: usage without a display, and a menu entry's command line run as
    // the file manager runs it.
    void program_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("printed");  // on standard output, else on standard error
        QTest::newRow("help") << QStringList{"--help"} << 0 << "--extract-each-to-folder ARCHIVE";
        QTest::newRow("unknown option") << QStringList{"--bogus", "a.zip"} << 2 << "";
        QTest::newRow("action without files") << QStringList{"--extract-here"} << 2 << "";
    }
    void program() {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, printed);
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(QLatin1String(name));
        process.setProcessEnvironment(environment);
        process.start(vzt::BinaryDir() + "/velazip", arguments);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), exitCode);
        QVERIFY(printed.isEmpty() ? process.readAllStandardOutput().isEmpty() &&
                                        process.readAllStandardError().contains("Usage: velazip")
                                  : process.readAllStandardOutput().contains(printed.toUtf8()));
    }

    void menuEntries() {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("data"))));
        const QString program = vzt::BinaryDir() + "/velazip";
        QVERIFY(vz::desktop::RegisterShellMenus(program, CSettingsRecord()));
        QVERIFY(vz::desktop::ShellMenusRegistered(program));
        // Nautilus: the script in the current folder, the names as its arguments.
        QProcess script;
        script.setWorkingDirectory(m_root);
        script.start(m_dir.filePath("data/nautilus/scripts/Vela-ZIP Archiver/"
                                    "Add to archive <file name>.zip"),
                     {"dir 1", "-n.txt"});
        QVERIFY(script.waitForFinished(60000));
        QCOMPARE(script.exitCode(), 0);
        QVERIFY(vzt::Run("7zz", {"t", m_root + "/dir 1.zip"}).Ok());
        // Nemo: file URIs.
        const QString archive = m_root + "/arch/it's \"$x\" #1%41.zip";
        QVERIFY(QFile::copy(m_root + "/arch/one.zip", archive));
        QProcess nemo;
        nemo.start(program, {"--extract-each-to-folder",
                             QUrl::fromLocalFile(archive).toString(QUrl::FullyEncoded)});
        QVERIFY(nemo.waitForFinished(60000));
        QCOMPARE(nemo.exitCode(), 0);
        QVERIFY(Same(m_root + "/arch/it's \"$x\" #1%41", "dir 1"));
    }
};

QTEST_MAIN(TestShellActions)
#include "tst_shellactions.moc"
