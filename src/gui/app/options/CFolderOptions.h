#pragma once
// The page of one cloud drive or special folder of the user (OneDrive, Dropbox, Google
// Drive, Downloads, Documents, Music, Pictures, Videos): an enable box and the user folder.
//
// Ticking the box looks the folder up; when none is found the user is asked to choose it
// ("<Name> user folder is not found. Specify its location manually."). The edit box and the
// "..." chooser are enabled exactly while the box is ticked. While it is ticked, leaving the
// page or OK needs a folder that exists ("The folder specified for <Name> does not exist.").

#include "app/options/COptionsPage.h"
#include "settings/UserFolders.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

class CFolderOptions : public COptionsPage {
    Q_OBJECT
public:
    explicit CFolderOptions(vz::userfolders::Root root, QWidget* parent = nullptr);

    vz::userfolders::Root Root() const { return m_root; }
    void Load(const CSettingsRecord& settings) override;
    bool Validate() override;
    void Store(CSettingsRecord& settings) const override;
    // Makes or removes the root's marker link under `appDataFolder` as the page says; true
    // when the root was switched on or off or its folder changed since `before` (the program
    // should then be restarted).
    bool ApplyLink(const CSettingsRecord& before, const QString& appDataFolder) const;

    QCheckBox* EnableCheck() const { return m_enable; }
    QLineEdit* FolderEdit() const { return m_folder; }
    QPushButton* BrowseButton() const { return m_browse; }

private:
    QString Name() const;
    QString Folder() const;
    void OnToggled(bool on);
    void OnBrowse();

    vz::userfolders::Root m_root;
    QCheckBox* m_enable;
    QLineEdit* m_folder;
    QPushButton* m_browse;
    bool m_loading = false;
};
