// The cloud-drive and special-folder roots: each root's lookup, the marker links, and the
// records built from them at start.

#include <sqlite3.h>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"
#include "platform/FileSystem.h"
#include "settings/UserFolders.h"

using namespace vz::userfolders;
using Files = QMap<QString, QByteArray>;  // below the home folder
const QString kGoogleDb = QStringLiteral(".local/share/Google/Drive/sync_config.db");

class TestUserFolders : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_home = m_dir.filePath(QStringLiteral("home"));
    QString m_appData = m_home + QStringLiteral("/.config");

private slots:
    void initTestCase() {
        qputenv("HOME", m_home.toUtf8());
        qputenv("XDG_CONFIG_HOME", m_appData.toUtf8());
        qputenv("XDG_DATA_HOME", (m_home + QStringLiteral("/.local/share")).toUtf8());
    }
    void init() { QVERIFY(QDir(m_home).removeRecursively() && QDir().mkpath(m_home)); }
    void lookUps_data();
    void lookUps();
    void linksAreMadeAndRemoved();
    void buildRecords_data();
    void buildRecords();
};

void TestUserFolders::lookUps_data() {
    // A sync_config.db given as SQL text is made as a database from it.
    QTest::addColumn<Root>("root");
    QTest::addColumn<Files>("files");
    QTest::addColumn<QString>("found");  // "~" is the home folder
    const QString hostDb = ".config/Dropbox/host.db", dotHostDb = ".dropbox/host.db";
    // Second lines: "/a" (padding ends the data, the config's host.db wins), "/ab/a", "/ab/".
    QTest::newRow("host.db padding")
        << Root::Dropbox << Files{{hostDb, "k\nL2E=L2Fi\n"}, {dotHostDb, "k\nL2Fi\n"}} << "/a";
    QTest::newRow("host.db group of 3")
        << Root::Dropbox << Files{{dotHostDb, "k\nL2FiL2E\nLw"}} << "/ab/a";
    QTest::newRow("host.db group of 2, no line break")
        << Root::Dropbox << Files{{hostDb, "k\nL2FiLw"}} << "/ab/";
    QTest::newRow("host.db CR LF, not UTF-8")
        << Root::Dropbox << Files{{hostDb, "k\r\nL2Nh6Q==\r\n"}}
        << vz::platform::DecodePath("/ca\xe9");
    QTest::newRow("host.db garbage") << Root::Dropbox << Files{{hostDb, "k\n!L2Fi\n"}} << "";
    QTest::newRow("host.db one line") << Root::Dropbox << Files{{hostDb, "L2Fi\n"}} << "";
    const QString config = ".config/onedrive/config";
    QTest::newRow("OneDrive quoted ~")
        << Root::OneDrive << Files{{config, "# sync_dir = \"/x\"\nsync_dir = \"~/Od\"\n"}}
        << "~/Od";
    QTest::newRow("OneDrive single quotes, last wins")
        << Root::OneDrive << Files{{config, "sync_dir = \"/a\"\r\n sync_dir='/One Drive' \r\n"}}
        << "/One Drive";
    QTest::newRow("OneDrive unquoted, comment")
        << Root::OneDrive << Files{{config, "sync_dir = ~ # mine"}} << "~";
    QTest::newRow("OneDrive other keys, default folder")
        << Root::OneDrive << Files{{config, "sync_dir_permissions = \"700\""}, {"OneDrive/", {}}}
        << "~/OneDrive";
    const QByteArray table = "create table data (entry_key text, data_value text);";
    QTest::newRow("Google Drive") << Root::GoogleDrive
                                  << Files{{kGoogleDb,
                                            table + "insert into data values ('x', 'y'), "
                                                    "('local_sync_root_path', '\\\\?\\/g/é');"}}
                                  << "/g/é";
    QTest::newRow("Google Drive no table")
        << Root::GoogleDrive << Files{{kGoogleDb, "create table t (a);"}} << "";
    QTest::newRow("Google Drive not a database")
        << Root::GoogleDrive << Files{{kGoogleDb, QByteArray(4096, 'x')}} << "";
    const QString dirs = ".config/user-dirs.dirs";
    QTest::newRow("Downloads moved")
        << Root::Downloads << Files{{dirs, "XDG_DOWNLOAD_DIR=\"$HOME/Dl\"\n"}, {"Dl/", {}}}
        << "~/Dl";
    QTest::newRow("Music is home")
        << Root::Music << Files{{dirs, "XDG_MUSIC_DIR=\"$HOME/\"\n"}} << "";
    QTest::newRow("Pictures missing") << Root::Pictures << Files{} << "";
    QTest::newRow("Videos default") << Root::Videos << Files{{"Videos/", {}}} << "~/Videos";
}

void TestUserFolders::lookUps() {
    QFETCH(Root, root);
    QFETCH(Files, files);
    QFETCH(QString, found);
    QVERIFY(vzt::MakeTree(m_home, files));
    if (files.value(kGoogleDb).startsWith("create")) {
        const QByteArray path = (m_home + '/' + kGoogleDb).toUtf8();
        sqlite3* db = nullptr;
        QVERIFY(QFile::remove(path) && sqlite3_open(path, &db) == SQLITE_OK);
        QCOMPARE(sqlite3_exec(db, files[kGoogleDb], nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }
    QCOMPARE(LookUp(root), found.startsWith('~') ? found.replace(0, 1, m_home) : found);
}

void TestUserFolders::linksAreMadeAndRemoved() {
    const QString link = MarkerLink(m_appData, Root::GoogleDrive);
    // Made with the marker folders above it; a second call replaces the first link.
    QVERIFY(MakeLink(m_appData, Root::GoogleDrive, QStringLiteral("/first")));
    QVERIFY(MakeLink(m_appData, Root::GoogleDrive, m_home));
    QCOMPARE(QFile::symLinkTarget(link), m_home);
    RemoveLink(m_appData, Root::GoogleDrive);
    QVERIFY(!vz::platform::ReadFacts(link).exists);
    // An empty folder in its place goes too; a folder with contents stays.
    QVERIFY(vzt::MakeTree(MarkerFolder(m_appData, false), {{"Music/", {}}, {"Videos/x", "x"}}));
    RemoveLink(m_appData, Root::Music);
    RemoveLink(m_appData, Root::Videos);
    QVERIFY(!QFileInfo::exists(MarkerLink(m_appData, Root::Music)));
    QVERIFY(QFileInfo::exists(MarkerLink(m_appData, Root::Videos) + "/x"));
    // A plain file where the marker folder belongs: no link, a reason.
    QVERIFY(QDir(MarkerFolder(m_appData, true)).removeRecursively());
    QVERIFY(vzt::WriteAll(MarkerFolder(m_appData, true), "file"));
    QString reason;
    QVERIFY(!MakeLink(m_appData, Root::OneDrive, m_home, &reason) && !reason.isEmpty());
}

void TestUserFolders::buildRecords_data() {
    // Links in the program folder to user folders named after them; "!" removes the user
    // folder afterwards; a marker without "/" is a plain file.
    QTest::addColumn<QString>("markers");
    QTest::addColumn<QString>("enabled");  // each with the user folder of its link name
    QTest::addColumn<QString>("shown");    // the entry folders' names
    QTest::newRow("marker order, cloud first")
        << "SpecialFolders/Videos SpecialFolders/Pictures SpecialFolders/Music "
           "SpecialFolders/Documents CloudDrives/OneDrive CloudDrives/Dropbox "
           "CloudDrives/GoogleDrive SpecialFolders/downloads"
        << "Videos Pictures Music Documents OneDrive Dropbox GoogleDrive Downloads"
        << "Dropbox GoogleDrive OneDrive Documents downloads Music Pictures Videos";
    QTest::newRow("unknown, disabled or vanished marker ignored")
        << "CloudDrives/Box CloudDrives/Music CloudDrives/Dropbox SpecialFolders/Music "
           "SpecialFolders/Pictures !SpecialFolders/Videos"
        << "Music OneDrive Videos"
        << "Music";
    QTest::newRow("marker folder is a file") << "CloudDrives/Dropbox SpecialFolders"
                                             << "Dropbox Music"
                                             << "Dropbox";
}

void TestUserFolders::buildRecords() {
    QFETCH(QString, markers);
    QFETCH(QString, enabled);
    CSettingsRecord settings;
    settings.AppDataFolder = m_appData;
    const QString program = m_appData + QStringLiteral("/Vela Systems/Vela-ZIP Archiver/");
    const QString users = m_home + QStringLiteral("/users/");
    for (const RootInfo& info : AllRoots()) {
        const QString folder = users + QLatin1String(info.linkName);
        SetSetting(settings, info.root, enabled.split(' ').contains(info.linkName), folder);
        QVERIFY(QDir().mkpath(folder));
    }
    for (QString marker : markers.split(' ')) {
        const bool vanishes = marker.startsWith('!');
        marker.remove('!');
        const QString user = users + vz::platform::FileNameOf(marker);
        QVERIFY(QDir().mkpath(vz::platform::FolderOf(program + marker)));
        if (!marker.contains('/'))
            QVERIFY(vzt::WriteAll(program + marker, "a file"));
        else
            QVERIFY(QDir().mkpath(user) && QFile::link(user, program + marker));
        if (vanishes)
            QVERIFY(QDir(user).removeRecursively());
    }
    QStringList shown;
    for (const RootRecord& record : BuildRecords(settings)) {
        QCOMPARE(record.folderPath, UserFolderSetting(settings, record.root));
        shown << vz::platform::FileNameOf(record.entryFolder);
    }
    QTEST(shown.join(' '), "shown");
}

QTEST_GUILESS_MAIN(TestUserFolders)
#include "tst_userfolders.moc"
