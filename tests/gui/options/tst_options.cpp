// The Options dialog: the OK sequence through the main frame (history checks, saving, the
// restart notice, Cancel), every page's round trip through the settings file, and the
// archive types reaching the Archive Browser.

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <functional>

#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "app/options/CAddArchivesOptions.h"
#include "app/options/CFolderOptions.h"
#include "app/options/COptions.h"
#include "app/options/COptionsPage.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CJob.h"
#include "common/CVelaTreeModel.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "desktop/FileAssociations.h"
#include "desktop/ShellMenus.h"
#include "settings/CSettingsStore.h"
#include "settings/UserFolders.h"

namespace {

using Edit = std::function<void(COptions&)>;
using Expect = std::function<bool(const CSettingsRecord&)>;

template <typename T>
T* Find(QWidget* page, const QString& text) {
    for (T* widget : page->findChildren<T*>()) {
        if (widget->text() == text) {
            return widget;
        }
    }
    return nullptr;
}

// Changes every control of a page: each check box and list row flips, each radio group
// takes its first choice not selected, each list that can be changed takes its last entry.
void Flip(QWidget* page) {
    for (QCheckBox* box : page->findChildren<QCheckBox*>()) {
        box->click();
    }
    for (QListWidget* list : page->findChildren<QListWidget*>()) {
        for (int i = 0; i < list->count(); ++i) {
            QListWidgetItem* row = list->item(i);
            if (row->flags().testFlag(Qt::ItemIsUserCheckable))
                row->setCheckState(row->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
        }
    }
    QList<QButtonGroup*> groups;
    for (QRadioButton* radio : page->findChildren<QRadioButton*>()) {
        if (!groups.contains(radio->group())) {
            groups << radio->group();
        }
    }
    for (QButtonGroup* group : groups) {
        for (QAbstractButton* button : group->buttons()) {
            if (!button->isChecked()) {
                button->click();
                break;
            }
        }
    }
    for (QComboBox* combo : page->findChildren<QComboBox*>()) {
        if (combo->isEnabled()) {
            combo->setCurrentIndex(combo->count() - 1);
        }
    }
}

// What a page shows, control by control.
QStringList Snapshot(QWidget* page) {
    QStringList shown;
    for (QWidget* widget : page->findChildren<QWidget*>()) {
        if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            shown << button->text() + QString::number(button->isChecked());
        } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
            shown << QString::number(combo->isEnabled() ? combo->currentIndex() : -1);
        } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
            shown << edit->text();
        } else if (auto* list = qobject_cast<QListWidget*>(widget)) {
            for (int i = 0; i < list->count(); ++i) {
                shown << QString::number(list->item(i)->checkState());
            }
        }
    }
    return shown;
}

void SetText(COptions& dialog, const QString& page, const QString& text, int field = 0) {
    dialog.Page(page)->findChildren<QLineEdit*>().at(field)->setText(text);
}

QStringList Labels(CVelaTreeModel* model, const QModelIndex& parent) {
    QStringList labels;
    for (int row = 0; row < model->rowCount(parent); ++row) {
        labels << model->Label(model->index(row, 0, parent));
    }
    return labels;
}

}  // namespace

class TestOptions : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QStringList m_boxes;
    // What the Options dialog does when the frame opens it; it answers with its result.
    Edit m_edit;
    bool m_opened = false;

    QString IniPath() const {
        return qEnvironmentVariable("XDG_CONFIG_HOME") +
               QStringLiteral("/Vela Systems/Vela-ZIP Archiver/velazip.ini");
    }
    QString Folder(const QString& name) const {
        const QString path = m_dir.filePath(name);
        QDir().mkpath(path);
        return path;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
            m_boxes << request.text;
            return QMessageBox::Ok;
        });
        vz::SetModalDialogHook([this](QDialog& dialog) {
            m_opened = true;
            auto* options = qobject_cast<COptions*>(&dialog);
            if (options != nullptr && m_edit) {
                m_edit(*options);
            }
            return dialog.result();
        });
    }

    void init() {
        static int round = 0;
        const QString home = m_dir.filePath(QStringLiteral("round%1").arg(++round));
        vzt::IsolateConfig(home + QStringLiteral("/config"));
        qputenv("XDG_DATA_HOME", (home + QStringLiteral("/data")).toUtf8());
        m_boxes.clear();
        m_edit = {};
        m_opened = false;
    }

    void okThroughTheFrame_data() {
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QStringList>("boxes");
        QTest::addColumn<QString>("savedLine");  // a line of the file after the dialog
        const auto history = [](const char* archive, const char* file) {
            return [=](COptions& d) {
                SetText(d, QStringLiteral("History"), QString::fromLatin1(archive), 0);
                SetText(d, QStringLiteral("History"), QString::fromLatin1(file), 1);
            };
        };
        const QString archiveSteps =
            QStringLiteral("The number of steps in Archive Browser history can be from 5 to 20.");
        const QString fileSteps =
            QStringLiteral("The number of steps in File Browser history can be from 5 to 20.");
        QTest::newRow("history 4 and 21")
            << Edit(history("4", "21")) << true << QStringList{archiveSteps, fileSteps}
            << "ArchiveHistoryStepsShown=5";
        QTest::newRow("history empty and 20")
            << Edit(history("", "20")) << true << QStringList{archiveSteps}
            << "FileHistoryStepsShown=5";
        QTest::newRow("history 5 and 20")
            << Edit(history("5", "20")) << true << QStringList() << "FileHistoryStepsShown=20";
        const Edit dragImage = [](COptions& d) {
            Find<QRadioButton>(d.Page(QStringLiteral("Drag Image")),
                               QStringLiteral("Large image with frame"))
                ->click();
        };
        QTest::newRow("drag image alone, no notice")
            << dragImage << true << QStringList() << "DraggingImageForModeClearType=1";
        QTest::newRow("cancel") << dragImage << false << QStringList()
                                << "DraggingImageForModeClearType=2";
        QTest::newRow("menus cannot be written: told, and the rest saved") << Edit([](COptions& d) {
            // The user's data folder is a plain file.
            vzt::WriteAll(qEnvironmentVariable("XDG_DATA_HOME"), "x");
            QWidget* page = d.Page(QStringLiteral("Shell Extension"));
            Find<QCheckBox>(page, "Activate Vela-ZIP Archiver shell extension")->click();
            Find<QCheckBox>(page, QStringLiteral("Show icons"))->click();
        }) << true << QStringList{QStringLiteral("Cannot modify the registry.")}
                                                                           << "ShowIcons=No";
        const QString documents = Folder(QStringLiteral("My Documents"));
        QTest::newRow("documents on: restart notice")
            << Edit([documents](COptions& d) {
                   auto* page = qobject_cast<CFolderOptions*>(d.Page(QStringLiteral("Documents")));
                   // The user folder is looked up when the box is ticked.
                   vzt::WriteAll(qEnvironmentVariable("XDG_CONFIG_HOME") + "/user-dirs.dirs",
                                 "XDG_DOCUMENTS_DIR=\"" + documents.toUtf8() + "\"\n");
                   page->EnableCheck()->click();
                   QCOMPARE(page->FolderEdit()->text(), documents);
                   page->FolderEdit()->setText(QStringLiteral("  ") + documents + " ");
               })
            << true
            << QStringList{QStringLiteral(
                   "For correct work with new options it is recommended to restart Vela-ZIP "
                   "Archiver")}
            << "DocumentsUserFolder=" + documents;
    }
    void okThroughTheFrame() {
        QFETCH(Edit, edit);
        QFETCH(bool, ok);
        QFETCH(QStringList, boxes);
        QFETCH(QString, savedLine);
        CMainFrame frame({});
        // Keys of no one survive the save.
        QVERIFY(vzt::WriteAll(IniPath(), vzt::ReadAll(IniPath()) + "[Other]\nKept=1\n"));
        const QByteArray before = vzt::ReadAll(IniPath());
        const CSettingsRecord record = frame.Settings();
        m_edit = [&](COptions& d) {
            edit(d);
            ok ? d.accept() : d.reject();
        };
        frame.OnOptions();
        QCOMPARE(m_boxes, boxes);
        const QByteArray after = vzt::ReadAll(IniPath());
        QVERIFY2(after.contains(savedLine.toUtf8() + '\n'), after.constData());
        QVERIFY(after.contains("[Other]\nKept=1"));
        // Nothing is written or changed unless OK went through.
        if (!ok || !boxes.filter(QStringLiteral("history")).isEmpty()) {
            QCOMPARE(after, before);
            QCOMPARE(frame.Settings().DraggingImageForModeClearType,
                     record.DraggingImageForModeClearType);
        }
    }

    void pageRoundTrip_data() {
        QTest::addColumn<QString>("page");
        QTest::addColumn<Edit>("edit");  // after every control was flipped
        QTest::addColumn<Expect>("expect");
        QTest::addColumn<bool>("restart");
        const Edit none;
        QTest::newRow("Creation and Adding")
            << "Creation and Adding" << none << Expect([](const CSettingsRecord& r) {
                   return r.AskBeforeCreation && r.CompressionLevel == 9 &&
                          r.CompressionMethod == -1;
               })
            << false;
        QTest::newRow("Encryption") << "Encryption" << none << Expect([](const CSettingsRecord& r) {
            return !r.EnableEncryption && r.EncryptionMethod == -1;
        }) << false;
        QTest::newRow("Pack") << "Pack" << none << Expect([](const CSettingsRecord& r) {
            return !r.PackFilesWithoutPaths && !r.PackFoldersWithoutPaths && !r.AskBeforeUpdating;
        }) << false;
        QTest::newRow("Unpack") << "Unpack" << none << Expect([](const CSettingsRecord& r) {
            return !r.UnpackFilesWithoutPaths && !r.UnpackFoldersWithoutPaths &&
                   r.UnpackArchivesWithoutPaths && !r.AskBeforeOverwriting;
        }) << false;
        QTest::newRow("System") << "System" << none << Expect([](const CSettingsRecord& r) {
            return vz::desktop::IsAssociated(QStringLiteral("zip")) &&
                   !r.EnableDraggingFromArchiveToOtherApplications &&
                   !r.EnableDraggingToArchiveFromOtherApplications &&
                   !r.EnableDoubleClickToOpenAFileFromArchive;
        }) << true;
        QTest::newRow("Refresh") << "Refresh" << none << Expect([](const CSettingsRecord& r) {
            return r.RefreshArchiveBrowserTreeWithAddingOfEachItem &&
                   r.RefreshFileBrowserTreeWithAddingOfEachItem;
        }) << false;
        QTest::newRow("Drag Image") << "Drag Image" << none << Expect([](const CSettingsRecord& r) {
            return r.DraggingImageForModeClearType == 0;
        }) << false;
        QTest::newRow("Show Tooltips")
            << "Show Tooltips" << none << Expect([](const CSettingsRecord& r) {
                   return !r.EnableShowTooltipForToolbars &&
                          r.EnableShowTooltipForBackOrForwardMenu &&
                          !r.EnableShowTooltipForBookmarksMenu;
               })
            << false;
        QTest::newRow("History") << "History" << Edit([](COptions& d) {
            SetText(d, QStringLiteral("History"), QStringLiteral("7"), 0);
            SetText(d, QStringLiteral("History"), QStringLiteral("20"), 1);
        }) << Expect([](const CSettingsRecord& r) {
            return r.ArchiveHistoryStepsShown == 7 && r.FileHistoryStepsShown == 20;
        }) << false;
        QTest::newRow("Shell Extension")
            << "Shell Extension" << none << Expect([](const CSettingsRecord& r) {
                   return vz::desktop::ShellMenusRegistered(
                              QCoreApplication::applicationFilePath()) &&
                          !r.AddToArchive && !r.ExtractHereUsingFileNamesForFolders &&
                          !r.CascadedMenu && !r.ShowIcons;
               })
            << false;
        QTest::newRow("Additional Archives")
            << "Additional Archives" << none << Expect([](const CSettingsRecord& r) {
                   return r.EnabledExtensions == QStringList{"ZIP", "ACE", "EXE"} &&
                          r.DisabledExtensions.size() == 16;
               })
            << false;
        QTest::newRow("Additional Associations")
            << "Additional Associations" << none << Expect([](const CSettingsRecord&) {
                   return vz::desktop::IsAssociated(QStringLiteral(".cab")) &&
                          vz::desktop::IsAssociated(QStringLiteral(".iso"));
               })
            << false;
        for (const vz::userfolders::RootInfo& info : vz::userfolders::AllRoots()) {
            const QString folder = Folder(QString::fromLatin1(info.linkName));
            const vz::userfolders::Root root = info.root;
            const QString name = QString::fromUtf8(info.displayName);
            QTest::newRow(info.linkName) << name << Edit([name, folder](COptions& d) {
                SetText(d, name, folder);
            }) << Expect([root, folder](const CSettingsRecord& r) {
                return vz::userfolders::IsEnabled(r, root) &&
                       vz::userfolders::UserFolderSetting(r, root) == folder &&
                       QFileInfo(vz::userfolders::MarkerLink(r.AppDataFolder, root))
                               .symLinkTarget() == folder;
            }) << true;
        }
    }
    void pageRoundTrip() {
        QFETCH(QString, page);
        QFETCH(Edit, edit);
        QFETCH(Expect, expect);
        QFETCH(bool, restart);
        CSettingsRecord settings;
        CSettingsStore::Load(settings);
        QStringList shown;
        {
            COptions dialog(settings);
            dialog.ShowPage(page);
            QCOMPARE(dialog.CurrentPage(), dialog.Page(page));
            Flip(dialog.Page(page));
            if (edit) {
                edit(dialog);
            }
            shown = Snapshot(dialog.Page(page));
            dialog.accept();
            QCOMPARE(dialog.result(), int(QDialog::Accepted));
            QCOMPARE(dialog.NeedsRestart(), restart);
        }
        CSettingsRecord reread;
        CSettingsStore::Load(reread);
        QVERIFY(expect(reread));
        COptions again(reread);
        QCOMPARE(Snapshot(again.Page(page)), shown);
    }

    void archiveTypesReachTheArchiveBrowser() {
        const QString folder = Folder(QStringLiteral("types"));
        QVERIFY(vzt::MakeTree(folder, {{"a.rar", "Rar!"}, {"b.tar", {}}, {"c.txt", "c"}}));
        CMainFrame frame({folder});
        CVelaArchiveTree* tree = frame.ArchiveTree();
        const auto shown = [&] {
            const QModelIndex item = tree->Locate(folder, true);
            tree->expand(item);
            return Labels(tree->TreeModel(), item);
        };
        QCOMPARE(shown(), (QStringList{"a.rar", "b.tar"}));
        for (const bool on : {false, true}) {
            m_edit = [on](COptions& d) {
                auto* page = qobject_cast<CAddArchivesOptions*>(
                    d.Page(QStringLiteral("Additional Archives")));
                page->List()->item(1)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
                d.accept();
            };
            frame.OnOptions();
            QCOMPARE(shown(), on ? (QStringList{"a.rar", "b.tar"}) : QStringList{"b.tar"});
        }
        // While a job runs, Options is refused.
        const CJob::BusyToken busy = CJob::HoldBusy();
        m_opened = false;
        vz::FindCommand(&frame, vz::cmd::kOptions)->trigger();
        QVERIFY(!m_opened);
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
