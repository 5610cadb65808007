// Desktop integration: handing an archive to the mail program, archive types' default
// application and the file managers' context menus in a private XDG tree, checked with the
// desktop's own clients where present.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <string_view>

#include "desktop/CSendFileTo.h"
#include "desktop/FileAssociations.h"
#include "desktop/ShellMenus.h"

using namespace vz::desktop;

class TestDesktop : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QByteArray m_path;

    // An executable script `name` in `folder` with the given body.
    static bool WriteFile(const QString& path, const QByteArray& content) {
        QFile file(path);
        return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
               file.write(content) == content.size();
    }
    static QByteArray ReadFile(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    // What a desktop client names as the default of application/zip ("" when the client
    // is not installed).
    static QString ClientDefault(const QString& program, const QStringList& arguments) {
        if (QStandardPaths::findExecutable(program).isEmpty()) {
            return QString();
        }
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished();
        const QString first =
            QString::fromUtf8(process.readAllStandardOutput()).section('\n', 0, 0);
        return first.section(QLatin1Char(':'), -1).trimmed();
    }

    static bool WriteScript(const QString& folder, const QString& name, const QByteArray& body) {
        QFile file(folder + QLatin1Char('/') + name);
        if (!file.open(QIODevice::WriteOnly)) {
            return false;
        }
        file.write("#!/bin/sh\n" + body);
        file.close();
        return file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        m_path = qgetenv("PATH");
        // Another archiver installed system-wide; the MIME database stays the system's.
        const QString system = m_dir.path() + QLatin1String("/sys");
        QVERIFY(WriteFile(system + QLatin1String("/applications/other.desktop"),
                          "[Desktop Entry]\nType=Application\nName=Other Archiver\n"
                          "Name[de]=Anderer\nExec=true %f\nMimeType=application/zip;\n"));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(system) + ":/usr/share");
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(system));
    }
    void cleanup() { qputenv("PATH", m_path); }

    void sendFileTo_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QStringList>("expected");  // relative to the test folder: "@/"
        QTest::newRow("spaces") << "@/my files/a b.zip" << QString()
                                << QStringList{"--attach", "@/my files/a b.zip"};
        QTest::newRow("bare name")
            << "plain.zip" << QString() << QStringList{"--attach", "@/plain.zip"};
        QTest::newRow("dash first") << "-x.zip" << QString() << QStringList{"--attach", "@/-x.zip"};
        QTest::newRow("subject") << "@/s.7z"
                                 << "Holiday"
                                 << QStringList{"--subject", "Holiday", "--attach", "@/s.7z"};
    }
    void sendFileTo() {
        QFETCH(QString, path);
        QFETCH(QString, subject);
        QFETCH(QStringList, expected);
        const QString root = m_dir.path() + QLatin1String("/mail-") + QTest::currentDataTag();
        const QString bin = root + QLatin1String("/bin");
        QVERIFY(QDir().mkpath(bin));
        const QString record = root + QLatin1String("/args");
        QVERIFY(WriteScript(bin, QStringLiteral("xdg-email"),
                            "printf '%s\\n' \"$@\" > \"$0.tmp\" && /bin/mv \"$0.tmp\" '" +
                                QFile::encodeName(record) + "'\n"));
        qputenv("PATH", QFile::encodeName(bin));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root));
        const bool sent = CSendFileTo().Send(path.replace(QLatin1String("@"), root), subject);
        QDir::setCurrent(previous);
        QVERIFY(sent);
        QTRY_VERIFY(QFile::exists(record));
        QFile file(record);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        lines.removeLast();
        expected.replaceInStrings(QStringLiteral("@"), root);
        QCOMPARE(lines, expected);
    }

    void associations_data() {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("associated");
        QTest::addColumn<QByteArray>("released");
        QTest::addColumn<QString>("ownerAfter");
        const QByteArray defaults = "[Default Applications]\n";
        QTest::newRow("no file") << "bin/velazip" << QByteArray("<missing>")
                                 << defaults + "application/zip=velazip.desktop;\n"
                                 << defaults << QString();
        QTest::newRow("others kept")
            << "Vela ZIP/velazip"
            << QByteArray(
                   "# mine\n[Added Associations]\napplication/zip=other.desktop;\n\n"
                   "[Default Applications]\napplication/x-tar=other.desktop;\n"
                   "application/zip = other.desktop\n")
            << QByteArray(
                   "# mine\n[Added Associations]\napplication/zip=other.desktop;\n\n"
                   "[Default Applications]\napplication/x-tar=other.desktop;\n"
                   "application/zip=velazip.desktop;other.desktop;\n")
            << QByteArray(
                   "# mine\n[Added Associations]\napplication/zip=other.desktop;\n\n"
                   "[Default Applications]\napplication/x-tar=other.desktop;\n"
                   "application/zip=other.desktop;\n")
            << "Other Archiver";
        QTest::newRow("section missing, no final newline")
            << "bin/velazip" << QByteArray("# c\n[Added Associations]\nx=y")
            << QByteArray(
                   "# c\n[Added Associations]\nx=y\n\n[Default Applications]\n"
                   "application/zip=velazip.desktop;\n")
            << QByteArray("# c\n[Added Associations]\nx=y\n\n[Default Applications]\n")
            << QString();
        QTest::newRow("end of the section, before the next")
            << "bin/velazip"
            << QByteArray(
                   "[Default Applications]\napplication/x-tar=other.desktop;\n\n"
                   "[Removed Associations]\napplication/zip=foo.desktop;\n")
            << QByteArray(
                   "[Default Applications]\napplication/x-tar=other.desktop;\n"
                   "application/zip=velazip.desktop;\n\n"
                   "[Removed Associations]\napplication/zip=foo.desktop;\n")
            << QByteArray(
                   "[Default Applications]\napplication/x-tar=other.desktop;\n\n"
                   "[Removed Associations]\napplication/zip=foo.desktop;\n")
            << QString();
    }
    void associations() {
        QFETCH(QString, program);
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, associated);
        QFETCH(QByteArray, released);
        QFETCH(QString, ownerAfter);
        const QString root = m_dir.path() + QLatin1String("/xdg-") +
                             QString::fromLatin1(QTest::currentDataTag()).replace(' ', '-');
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + QLatin1String("/config")));
        qputenv("XDG_DATA_HOME", QFile::encodeName(root + QLatin1String("/data")));
        const QString list = root + QLatin1String("/config/mimeapps.list");
        const QString entry = root + QLatin1String("/data/applications/velazip.desktop");
        if (before != "<missing>") {
            QVERIFY(WriteFile(list, before));
        }
        // The desktop's clients skip entries whose program is missing.
        program = root + QLatin1Char('/') + program;
        QVERIFY(QDir().mkpath(QFileInfo(program).absolutePath()));
        QVERIFY(WriteScript(QFileInfo(program).absolutePath(), QFileInfo(program).fileName(), ""));
        const QStringList xdgMime{"query", "default", "application/zip"};
        const QStringList gio{"mime", "application/zip"};

        QString reason;
        QVERIFY2(Associate(QStringLiteral(".ZIP"), program, &reason), qPrintable(reason));
        QCOMPARE(ReadFile(list), associated);
        QVERIFY(IsAssociated(QStringLiteral("zip")));
        QCOMPARE(CurrentOwner(QStringLiteral("zip")), QStringLiteral("Vela-ZIP Archiver"));
        QVERIFY(!IsAssociated(QStringLiteral("tar")));
        for (const auto& [client, arguments] : {std::pair{"xdg-mime", xdgMime}, {"gio", gio}}) {
            if (program.contains(' ') && client == std::string_view("xdg-mime")) {
                continue;  // it takes the first word of Exec, quoted or not
            }
            const QString named = ClientDefault(QLatin1String(client), arguments);
            QVERIFY2(named.isEmpty() || named == QLatin1String("velazip.desktop"),
                     qPrintable(QLatin1String(client) + QLatin1String(": ") + named));
        }
        if (!QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate")).isEmpty()) {
            QProcess validate;
            validate.start(QStringLiteral("desktop-file-validate"), {entry});
            QVERIFY(validate.waitForFinished());
            QVERIFY2(validate.exitCode() == 0 && validate.readAll().isEmpty(),
                     ReadFile(entry).constData());
        }
        // Associating again changes nothing.
        QVERIFY(Associate(QStringLiteral("zip"), program));
        QCOMPARE(ReadFile(list), associated);

        QVERIFY(Release(QStringLiteral("zip")));
        QCOMPARE(ReadFile(list), released);
        QVERIFY(!IsAssociated(QStringLiteral("zip")));
        QCOMPARE(CurrentOwner(QStringLiteral("zip")), ownerAfter);
        // Without another default the desktop may fall back to any entry for the type.
        for (const auto& [client, arguments] : {std::pair{"xdg-mime", xdgMime}, {"gio", gio}}) {
            const QString named = ClientDefault(QLatin1String(client), arguments);
            QVERIFY2(
                ownerAfter.isEmpty() || named.isEmpty() || named == QLatin1String("other.desktop"),
                qPrintable(QLatin1String(client) + QLatin1String(": ") + named));
        }
        if (QStandardPaths::findExecutable(QStringLiteral("xdg-mime")).isEmpty() ||
            QStandardPaths::findExecutable(QStringLiteral("gio")).isEmpty()) {
            QSKIP("xdg-mime or gio is missing: the desktop's own reading was not checked");
        }
    }

    void associationRefused() {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir.path() + QLatin1String("/none")));
        QString reason;
        QVERIFY(
            !Associate(QStringLiteral("no-such-type"), QStringLiteral("/bin/velazip"), &reason));
        QVERIFY(!reason.isEmpty());
        QVERIFY(!QFile::exists(m_dir.path() + QLatin1String("/none/mimeapps.list")));
    }

    void shellMenus_data() {
        QTest::addColumn<bool>("onlyExtractHere");  // the other seven items off
        QTest::addColumn<bool>("cascaded");
        QTest::addColumn<bool>("icons");
        QTest::addColumn<QStringList>("expected");  // under the data folder
        const QString sub = QStringLiteral("nautilus/scripts/Vela-ZIP Archiver/");
        QStringList all{"kio/servicemenus/velazip-add.desktop",
                        "kio/servicemenus/velazip-extract.desktop"};
        const char* const scripts[] = {"Add to archive...",
                                       "Add to archive <file name>.zip",
                                       "Add to archive and e-mail...",
                                       "Add to archive <file name>.zip and e-mail",
                                       "Extract to...",
                                       "Extract here",
                                       "Extract to <folder name>",
                                       "Extract here using file names for folders"};
        const char* const actions[] = {
            "add-to-archive", "add-to-zip",   "add-to-archive-and-email", "add-to-zip-and-email",
            "extract-to",     "extract-here", "extract-to-folder",        "extract-each-to-folder"};
        for (int i = 0; i < 8; ++i) {
            all << sub + QLatin1String(scripts[i])
                << QStringLiteral("nemo/actions/velazip-%1-%2.nemo_action")
                       .arg(i + 1)
                       .arg(actions[i]);
        }
        QTest::newRow("all, cascaded, icons") << false << true << true << all;
        QStringList some = all.filter(QRegularExpression("desktop$|Extract here$|extract-here\\."));
        some.replaceInStrings(sub, QStringLiteral("nautilus/scripts/"));
        QTest::newRow("flat, no icons, one item") << true << false << false << some;
    }
    void shellMenus() {
        QFETCH(bool, onlyExtractHere);
        QFETCH(bool, cascaded);
        QFETCH(bool, icons);
        QFETCH(QStringList, expected);
        const QString data = m_dir.path() + QLatin1String("/menus-") +
                             QString::fromLatin1(QTest::currentDataTag()).replace(' ', '-');
        qputenv("XDG_DATA_HOME", QFile::encodeName(data));
        // Other programs' entries, in the folders and the sub-menu folder name of ours.
        const QStringList foreign{"kio/servicemenus/other.desktop", "nautilus/scripts/Mine",
                                  "nautilus/scripts/Vela-ZIP Archiver/Mine too",
                                  "nemo/actions/other.nemo_action"};
        for (const QString& file : foreign) {
            QVERIFY(WriteFile(data + QLatin1Char('/') + file, "#!/bin/sh\n"));
        }
        CSettingsRecord settings;
        settings.CascadedMenu = cascaded;
        settings.ShowIcons = icons;
        if (onlyExtractHere) {
            settings.AddToArchive = settings.AddToArchiveFileName = false;
            settings.AddToArchiveAndEMail = settings.AddToArchiveFileNameAndEMail = false;
            settings.ExtractTo = settings.ExtractToFolderName = false;
            settings.ExtractHereUsingFileNamesForFolders = false;
        }
        const QString program = m_dir.path() + QLatin1String("/it's a \"$HOME\" `x` %f/velazip");
        expected.sort();
        for (int pass = 0; pass < 2; ++pass) {  // the second overwrites the first
            QString reason;
            QVERIFY2(RegisterShellMenus(program, settings, &reason), qPrintable(reason));
            QStringList files = ShellMenuFiles();
            files.replaceInStrings(data + QLatin1Char('/'), QString());
            files.sort();
            QCOMPARE(files, expected);
        }
        QVERIFY(ShellMenusRegistered(program));
        QVERIFY(!ShellMenusRegistered(program + QLatin1String("2")));
        const QByteArray add =
            ReadFile(data + QLatin1String("/kio/servicemenus/velazip-add.desktop"));
        QCOMPARE(add.contains("\nX-KDE-Submenu=Vela-ZIP Archiver\n"), cascaded);
        QCOMPARE(add.contains("\nIcon=velazip\n"), icons);
        QCOMPARE(ReadFile(data + QLatin1String("/nemo/actions/velazip-6-extract-here.nemo_action"))
                     .contains("\nIcon-Name=velazip\n"),
                 icons);
        QVERIFY(QFileInfo(data + QLatin1Char('/') + expected.first()).isExecutable());
        if (!QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate")).isEmpty()) {
            for (const QString& file : expected.filter(QStringLiteral(".desktop"))) {
                QProcess validate;
                validate.start(QStringLiteral("desktop-file-validate"),
                               {data + QLatin1Char('/') + file});
                QVERIFY(validate.waitForFinished());
                QVERIFY2(validate.exitCode() == 0 && validate.readAll().isEmpty(),
                         ReadFile(data + QLatin1Char('/') + file).constData());
            }
        }

        QVERIFY(UnregisterShellMenus());
        QVERIFY(ShellMenuFiles().isEmpty());
        QVERIFY(!ShellMenusRegistered(program));
        for (const QString& file : foreign) {
            QVERIFY2(QFile::exists(data + QLatin1Char('/') + file), qPrintable(file));
        }
        QVERIFY(
            QFile::remove(data + QLatin1String("/nautilus/scripts/Vela-ZIP Archiver/Mine too")));
        QVERIFY(RegisterShellMenus(program, settings) && UnregisterShellMenus());
        QVERIFY(!QFileInfo::exists(data + QLatin1String("/nautilus/scripts/Vela-ZIP Archiver")));
        // A foreign script where ours would go is neither replaced nor removed.
        settings.CascadedMenu = false;
        settings.ExtractHere = true;
        QVERIFY(WriteFile(data + QLatin1String("/nautilus/scripts/Extract here"), "#!/bin/sh\n"));
        QString reason;
        QVERIFY(!RegisterShellMenus(program, settings, &reason));
        QVERIFY(reason.contains(QLatin1String("Extract here")));
        QCOMPARE(ReadFile(data + QLatin1String("/nautilus/scripts/Extract here")),
                 QByteArray("#!/bin/sh\n"));
    }

    // The command lines, run as the file managers run them, hand hostile names to the
    // program untouched: the Nautilus script with the names as its arguments, Dolphin's Exec
    // with each %F path quoted for the shell.
    void shellMenuCommands() {
        const QString data = m_dir.path() + QLatin1String("/commands");
        qputenv("XDG_DATA_HOME", QFile::encodeName(data));
        const QString bin = m_dir.path() + QLatin1String("/bin it's \"$PATH\" `a`\\ %F");
        QVERIFY(QDir().mkpath(bin));
        const QString record = m_dir.path() + QLatin1String("/command-args");
        QVERIFY(WriteScript(bin, QStringLiteral("velazip"),
                            "printf '%s\\0' \"$@\" > '" + QFile::encodeName(record) + "'\n"));
        const QString program = bin + QLatin1String("/velazip");
        QVERIFY(RegisterShellMenus(program, CSettingsRecord()));
        const QStringList names{"a b",       "it's", "q\"uote", "$HOME",
                                "new\nline", "-n",   "%F",      "back\\slash"};
        auto recorded = [&] {
            QStringList args = QString::fromUtf8(ReadFile(record)).split(QChar(0));
            args.removeLast();
            return args;
        };

        QProcess script;
        script.setWorkingDirectory(m_dir.path());
        script.start(data + QLatin1String("/nautilus/scripts/Vela-ZIP Archiver/Extract here"),
                     names);
        QVERIFY(script.waitForFinished() && script.exitCode() == 0);
        QCOMPARE(recorded(), QStringList{"--extract-here"} + names);

        QString exec;
        for (const QByteArray& line :
             ReadFile(data + QLatin1String("/kio/servicemenus/velazip-add.desktop")).split('\n')) {
            if (line.startsWith("Exec=") && line.contains("--add-to-zip ")) {
                exec = QString::fromUtf8(line.mid(5));
            }
        }
        // The string value's escapes, then the field codes, as a desktop reads them.
        exec.replace(QLatin1String("\\\\"), QLatin1String("\\"));
        QString quoted;
        for (const QString& name : names) {
            quoted +=
                QLatin1String(" '") + QString(name).replace('\'', "'\\''") + QLatin1Char('\'');
        }
        exec.replace(QLatin1String(" %F"), quoted).replace(QLatin1String("%%"), QLatin1String("%"));
        QProcess shell;
        shell.start(QStringLiteral("/bin/sh"), {"-c", exec});
        QVERIFY(shell.waitForFinished() && shell.exitCode() == 0);
        QCOMPARE(recorded(), QStringList{"--add-to-zip"} + names);
    }

    void sendFileToRefuses() {
        const QString bin = m_dir.path() + QLatin1String("/refuse");
        QVERIFY(QDir().mkpath(bin));
        QVERIFY(WriteScript(bin, QStringLiteral("xdg-email"), "exit 0\n"));
        qputenv("PATH", QFile::encodeName(bin));
        QVERIFY(!CSendFileTo().Send(QString()));
        // The mail program missing: a PATH without it, and an entry of that name that is
        // not executable.
        qputenv("PATH", QFile::encodeName(m_dir.path()));
        QVERIFY(!CSendFileTo().Send(bin + QLatin1String("/a.zip")));
        QVERIFY(QFile::setPermissions(bin + QLatin1String("/xdg-email"), QFile::ReadOwner));
        qputenv("PATH", QFile::encodeName(bin));
        QVERIFY(!CSendFileTo().Send(bin + QLatin1String("/a.zip")));
    }
};

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"
