// The settings file velazip.ini and the layout profile.

#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"
#include "settings/CLayoutProfile.h"
#include "settings/CSettingsStore.h"
#include "settings/IniFile.h"

namespace {

const char kFolder[] = "/Vela Systems/Vela-ZIP Archiver";

QString IniPath(const QString& appData) {
    return appData + QLatin1String(kFolder) + QStringLiteral("/velazip.ini");
}

// Writes velazip.ini below `appData` with the given text.
void WriteIni(const QString& appData, const QByteArray& text) {
    QVERIFY(vzt::WriteAll(IniPath(appData), text));
}

// The text that Save writes for `record`: two records that serialise alike hold the same
// values for every key of the file.
QByteArray Serialize(CSettingsRecord record, const QString& scratch) {
    record.SettingsFilePath = scratch + QStringLiteral("/serialized.ini");
    QFile::remove(record.SettingsFilePath);
    CSettingsStore::Save(record, CSettingsStore::SaveMode::CurrentValues);
    return vzt::ReadAll(record.SettingsFilePath);
}

// What a record holds when every key reads its read default.
CSettingsRecord ReadDefaults() {
    CSettingsRecord r;
    r.EnabledExtensions = QStringList{QStringLiteral("ZIP"), QStringLiteral("ACE")} +
                          CSettingsStore::AdditionalArchiveExtensions();
    r.DisabledExtensions.clear();
    return r;
}

}  // namespace

class TestSettings : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_home;
    int m_case = 0;
    // A fresh application-data folder for one test.
    QString FreshAppData() {
        const QString dir = m_home.path() + QStringLiteral("/case%1").arg(++m_case);
        QDir().mkpath(dir);
        return dir;
    }
    CSettingsRecord LoadWith(const QByteArray& text) {
        const QString appData = FreshAppData();
        WriteIni(appData, text);
        CSettingsRecord r;
        CSettingsStore::Load(r, appData);
        return r;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_home.isValid());
        vzt::IsolateConfig(m_home.path() + QStringLiteral("/xdg"));
    }

    void firstStartCreatesFileWithFileDefaults() {
        const QString xdg = m_home.path() + QStringLiteral("/xdg");
        QVERIFY(!QFileInfo::exists(xdg + QLatin1String(kFolder)));
        CSettingsRecord r;
        CSettingsStore::Load(r);  // from $XDG_CONFIG_HOME
        QCOMPARE(r.AppDataFolder, xdg);
        QCOMPARE(r.SettingsFilePath, IniPath(xdg));
        QVERIFY(QFileInfo(xdg + QLatin1String(kFolder)).isDir());

        // A few keys whose file default differs from the value read when the key is missing.
        const QByteArray text = vzt::ReadAll(r.SettingsFilePath);
        for (const char* line : {"\nEnableEncryption=Yes\n", "\nCompressionLevel=-1\n", "\nEXE=0\n",
                                 "\nRAR=1\n", "\nDropboxUserFolder=Empty\n"})
            QVERIFY2(text.contains(line), line);
        // The values read are the file defaults, not the read defaults.
        QVERIFY(r.EnableEncryption);
        QVERIFY(r.PackFoldersWithoutPaths);
        QVERIFY(r.UnpackFoldersWithoutPaths);
        QVERIFY(!r.RefreshArchiveBrowserTreeWithAddingOfEachItem);
        QVERIFY(!r.RefreshFileBrowserTreeWithAddingOfEachItem);
        QVERIFY(!r.EnableShowTooltipForBackOrForwardMenu);
        QCOMPARE(r.DisabledExtensions, QStringList{QStringLiteral("EXE")});
        QStringList enabled{QStringLiteral("ZIP"), QStringLiteral("ACE")};
        enabled << CSettingsStore::AdditionalArchiveExtensions().mid(0, 16);
        QCOMPARE(r.EnabledExtensions, enabled);
    }

    void missingKeysReadTheirReadDefaults() {
        CSettingsRecord r = LoadWith("[Pack]\nAskBeforeUpdating=No\n[Other]\nX=1\n");
        QVERIFY(!r.AskBeforeUpdating);
        QVERIFY(!r.EnableEncryption);
        QVERIFY(!r.PackFoldersWithoutPaths);
        QVERIFY(r.RefreshFileBrowserTreeWithAddingOfEachItem);
        QVERIFY(r.EnabledExtensions.contains(QStringLiteral("EXE")));
        r.AskBeforeUpdating = true;
        QCOMPARE(Serialize(r, m_home.path()), Serialize(ReadDefaults(), m_home.path()));
    }

    void invertedTooltipFlag_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("historyTips");
        QTest::addColumn<bool>("toolbarTips");
        QTest::newRow("No") << QByteArray("No") << false << false;
        QTest::newRow("YES") << QByteArray("YES") << true << true;
        QTest::newRow("Nope") << QByteArray("Nope") << true << false;
        QTest::newRow("empty") << QByteArray("") << true << false;
    }
    void invertedTooltipFlag() {
        QFETCH(QByteArray, text);
        QFETCH(bool, historyTips);
        QFETCH(bool, toolbarTips);
        const CSettingsRecord r =
            LoadWith("[Interface]\nEnableShowTooltipForBackOrForwardMenu=" + text +
                     "\nEnableShowTooltipForToolbars=" + text + "\n");
        QCOMPARE(r.EnableShowTooltipForBackOrForwardMenu, historyTips);
        QCOMPARE(r.EnableShowTooltipForToolbars, toolbarTips);
    }

    void historyLengthClamp_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("expected");
        QTest::newRow("4") << QByteArray("4") << 5;
        QTest::newRow("21") << QByteArray("21") << 5;
        QTest::newRow("7x: the leading digits") << QByteArray("7x") << 7;
        QTest::newRow("+8") << QByteArray("+8") << 8;
        QTest::newRow("x7") << QByteArray("x7") << 5;
        QTest::newRow("beyond int") << QByteArray("99999999999") << 5;
        QTest::newRow("20") << QByteArray("20") << 20;
    }
    void historyLengthClamp() {
        QFETCH(QByteArray, text);
        QFETCH(int, expected);
        const CSettingsRecord r = LoadWith("[Interface]\nArchiveHistoryStepsShown=" + text +
                                           "\nFileHistoryStepsShown=" + text + "\n");
        QCOMPARE(r.ArchiveHistoryStepsShown, expected);
        QCOMPARE(r.FileHistoryStepsShown, expected);
    }

    void integersOtherThanHistory() {
        const CSettingsRecord r = LoadWith(
            "[Creation and adding]\nCompressionLevel=-2x\nCompressionMethod=junk\n"
            "[Encryption]\nEncryptionMethod=3;AES\n[Interface]\nDraggingImageForModeClearType=0\n");
        QCOMPARE(r.CompressionLevel, -2);  // the leading digits, with their sign
        QCOMPARE(r.CompressionMethod, 0);  // no number: the read default
        QCOMPARE(r.EncryptionMethod, 3);
        QCOMPARE(r.DraggingImageForModeClearType, 0);
    }

    // A value is read up to 1024 characters.
    void longValuesAreCut() {
        const QByteArray folder = "/" + QByteArray(1500, 'd');
        const CSettingsRecord r = LoadWith("[CloudDrives]\nDropboxUserFolder=" + folder + "\n");
        QCOMPARE(r.DropboxUserFolder, QString::fromLatin1(folder.left(1024)));
    }

    void extensionValues_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("1") << QByteArray("1") << true;
        QTest::newRow("0") << QByteArray("0") << false;
        QTest::newRow("yes") << QByteArray("yes") << false;
    }
    void extensionValues() {
        QFETCH(QByteArray, text);
        QFETCH(bool, enabled);
        const CSettingsRecord r = LoadWith("[Additional archives]\nRAR=" + text + "\n");
        QCOMPARE(r.EnabledExtensions.mid(0, 2), (QStringList{"ZIP", "ACE"}));
        QCOMPARE(r.EnabledExtensions.contains(QStringLiteral("RAR")), enabled);
        QCOMPARE(r.DisabledExtensions.contains(QStringLiteral("RAR")), !enabled);
        QCOMPARE(r.EnabledExtensions.size() + r.DisabledExtensions.size(), 19);
        // The enabled list keeps the fixed order after "ZIP" and "ACE".
        QStringList expected = CSettingsStore::AdditionalArchiveExtensions();
        if (!enabled)
            expected.removeAll(QStringLiteral("RAR"));
        QCOMPARE(r.EnabledExtensions.mid(2), expected);
    }

    void namesMatchWithoutRegardToCase() {
        const CSettingsRecord r = LoadWith(
            "[additional ARCHIVES]\ncab=0\niso=0\n"
            "[interface]\narchivehistorystepsshown=12\nenableshowtooltipfortoolbars=no\n"
            "[PACK]\npackfileswithoutpaths=NO\n");
        QVERIFY(r.DisabledExtensions.contains(QStringLiteral("CAB")));
        QVERIFY(r.DisabledExtensions.contains(QStringLiteral("ISO")));
        QCOMPARE(r.ArchiveHistoryStepsShown, 12);
        QVERIFY(!r.EnableShowTooltipForToolbars);
        QVERIFY(!r.PackFilesWithoutPaths);
    }

    void unknownSectionsAndKeysSurviveSave() {
        const QString appData = FreshAppData();
        WriteIni(appData,
                 "[Custom Section]\nSomething = kept as it is\n"
                 "[interface]\nExtraKey=42\nenableshowtooltipfortoolbars=Yes\n");
        CSettingsRecord r;
        CSettingsStore::Load(r, appData);
        r.EnableShowTooltipForToolbars = false;
        CSettingsStore::Save(r, CSettingsStore::SaveMode::CurrentValues);

        CIniFile ini;
        QCOMPARE(ini.LoadFile(IniPath(appData).toUtf8().constData()), SI_OK);
        QCOMPARE(QByteArray(ini.GetValue("Custom Section", "Something", "")),
                 QByteArray("kept as it is"));
        QCOMPARE(QByteArray(ini.GetValue("Interface", "ExtraKey", "")), QByteArray("42"));
        // The file holds the key once, under the name it had.
        const QByteArray text = vzt::ReadAll(IniPath(appData));
        QCOMPARE(text.toLower().count("enableshowtooltipfortoolbars"), 1);
        QVERIFY(text.contains("enableshowtooltipfortoolbars=No\n"));

        // Saving the defaults keeps them as well.
        CSettingsStore::Save(r, CSettingsStore::SaveMode::Defaults);
        const QByteArray again = vzt::ReadAll(IniPath(appData));
        QVERIFY(again.contains("kept as it is"));
        QVERIFY(again.contains("\nEnableEncryption=Yes\n"));
    }

    void unusableFileYieldsDefaults_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("binary junk") << QStringLiteral("junk");
        QTest::newRow("junk with brackets") << QStringLiteral("brackets");
        QTest::newRow("directory") << QStringLiteral("directory");
        QTest::newRow("no permission") << QStringLiteral("permission");
        QTest::newRow("empty") << QStringLiteral("empty");
    }
    void unusableFileYieldsDefaults() {
        QFETCH(QString, kind);
        const QString appData = FreshAppData();
        const QString path = IniPath(appData);
        if (kind == QLatin1String("junk")) {
            WriteIni(appData, vzt::RandomBytes(70000, 7));
        } else if (kind == QLatin1String("brackets")) {
            QByteArray junk = vzt::RandomBytes(5000, 9);
            junk.replace('\0', '[');
            WriteIni(appData, "[[[\n]=]\n=\n[Interface\nEnableEncryption\n" + junk);
        } else if (kind == QLatin1String("directory")) {
            QVERIFY(QDir().mkpath(path));
        } else if (kind == QLatin1String("permission")) {
            if (geteuid() == 0)
                QSKIP("root reads every file");
            WriteIni(appData, "[Interface]\nArchiveHistoryStepsShown=12\n");
            QVERIFY(QFile::setPermissions(path, QFileDevice::Permissions()));
        } else {
            WriteIni(appData, QByteArray());
        }
        CSettingsRecord r;
        CSettingsStore::Load(r, appData);
        QCOMPARE(r.SettingsFilePath, path);
        QCOMPARE(Serialize(r, m_home.path()), Serialize(ReadDefaults(), m_home.path()));
        QCOMPARE(r.EnabledExtensions, ReadDefaults().EnabledExtensions);
        // Saving over a directory or an unreadable file changes nothing and does not crash.
        CSettingsStore::Save(r, CSettingsStore::SaveMode::CurrentValues);
        if (kind == QLatin1String("directory"))
            QVERIFY(QFileInfo(path).isDir());
        if (kind == QLatin1String("permission")) {
            QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
            QCOMPARE(vzt::ReadAll(path), QByteArray("[Interface]\nArchiveHistoryStepsShown=12\n"));
        }
    }

    void saveCurrentValuesRoundTrip() {
        const QString appData = FreshAppData();
        CSettingsRecord r;
        CSettingsStore::Load(r, appData);
        r.CompressionLevel = -2;
        r.CompressionMethod = 1;
        r.EnableEncryption = false;
        r.EncryptionMethod = 3;
        r.EnableShowTooltipForBackOrForwardMenu = true;
        r.ArchiveHistoryStepsShown = 20;
        r.EnableDropbox = true;
        r.DropboxUserFolder = QStringLiteral("/home/jürgen/My Dropbox; = [x]");
        r.VideosUserFolder = QStringLiteral("/media/Видео");
        r.EnabledExtensions = QStringList{QStringLiteral("ZIP"), QStringLiteral("ACE"),
                                          QStringLiteral("RAR"), QStringLiteral("EXE")};
        r.DisabledExtensions = CSettingsStore::AdditionalArchiveExtensions();
        r.DisabledExtensions.removeAll(QStringLiteral("RAR"));
        r.DisabledExtensions.removeAll(QStringLiteral("EXE"));
        CSettingsStore::Save(r, CSettingsStore::SaveMode::CurrentValues);

        CSettingsRecord back;
        CSettingsStore::Load(back, appData);
        QCOMPARE(Serialize(back, m_home.path()), Serialize(r, m_home.path()));
        QCOMPARE(back.VideosUserFolder, r.VideosUserFolder);
        QCOMPARE(back.EnabledExtensions, r.EnabledExtensions);
        QCOMPARE(back.DisabledExtensions, r.DisabledExtensions);
        QVERIFY(vzt::ReadAll(IniPath(appData))
                    .contains("\nEnableShowTooltipForBackOrForwardMenu=Yes\n"));
    }

    // Zip and ACE archives are always recognised: their keys are never written, and the file
    // cannot switch them off.
    void zipAndAceAreNeverWritten() {
        const QString appData = FreshAppData();
        CSettingsRecord r;
        CSettingsStore::Load(r, appData);
        r.EnabledExtensions =
            QStringList{QStringLiteral("ZIP"), QStringLiteral("ace"), QStringLiteral("cab")};
        r.DisabledExtensions =
            QStringList{QStringLiteral("zip"), QStringLiteral("Ace"), QStringLiteral("Exe")};
        CSettingsStore::Save(r, CSettingsStore::SaveMode::CurrentValues);
        const QByteArray text = vzt::ReadAll(IniPath(appData));
        QVERIFY(!text.toUpper().contains("\nZIP="));
        QVERIFY(!text.toUpper().contains("\nACE="));
        QVERIFY(text.contains("\nCAB=1\n"));
        QVERIFY(text.contains("\nEXE=0\n"));

        QByteArray off = "[Additional archives]\nZIP=0\nACE=0\n";
        for (const QString& ext : CSettingsStore::AdditionalArchiveExtensions())
            off += ext.toUtf8() + "=0\n";
        const CSettingsRecord none = LoadWith(off);
        QCOMPARE(none.EnabledExtensions, (QStringList{"ZIP", "ACE"}));
        QCOMPARE(none.DisabledExtensions, CSettingsStore::AdditionalArchiveExtensions());
    }

    void layoutProfile() {
        QCOMPARE(CLayoutProfile::ApplicationLook(), 218);
        CLayoutProfile::SetApplicationLook(215);
        QCOMPARE(CLayoutProfile::ApplicationLook(), 215);

        CLayoutProfile::SetSplitterPos(2, QStringLiteral("1 300 -1 420"));
        QCOMPARE(CLayoutProfile::SplitterPos(2), QStringLiteral("1 300 -1 420"));
        QCOMPARE(CLayoutProfile::SplitterPos(1), QStringLiteral("-1 150 -1 150"));
        CLayoutProfile::SetSplitterPos(3, QStringLiteral("garbage"));
        QCOMPARE(CLayoutProfile::SplitterPos(3), QStringLiteral("-1 150 -1 150"));

        QVERIFY(CLayoutProfile::ColumnWidths(QStringLiteral("FileFinder_Columns")).isEmpty());
        CLayoutProfile::SetColumnWidths(QStringLiteral("FileFinder_Columns"), {120, 80, 300});
        QCOMPARE(CLayoutProfile::ColumnWidths(QStringLiteral("FileFinder_Columns")),
                 (QList<int>{120, 80, 300}));
        // Kept in the isolated profile folder, never in the real home.
        QVERIFY(
            QFileInfo::exists(m_home.path() + QStringLiteral("/xdg/Vela Systems/velazip.conf")));
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
