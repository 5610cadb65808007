#pragma once
// The Add Bookmark dialog. The upper group takes the label and the folder of the new
// bookmark ("Add" is enabled while the trimmed label is not empty); "Create Folder" opens
// the lower group, which makes a folder in the collection and then selects it above. The
// window shows only the upper group except while the lower one is in use.
//
// "Add" checks the label, asks before an existing bookmark of that label is replaced, and
// closes with QDialog::Accepted; the caller writes the bookmark file.

#include <QDialog>

#include "bookmarks/Bookmarks.h"

class CVelaBookmarksFolders;
class QGroupBox;
class QLineEdit;
class QPushButton;

class CAddBookmark : public QDialog {
    Q_OBJECT
public:
    CAddBookmark(const QString& caption, const QString& root, const QString& defaultLabel,
                 vz::bookmarks::Kind kind, QWidget* parent = nullptr);

    // After Accepted: the folder chosen and the label typed (trimmed).
    QString Folder() const { return m_folder; }
    QString Label() const { return m_label; }
    vz::bookmarks::Kind Kind() const { return m_kind; }

    void reject() override;

private:
    void OnAdd();
    void OnCreateFolder();
    void OnCreate();
    // Leaves the lower group: the upper one is in use again and the window shrinks.
    void EndCreateFolder();
    void SetCreatingFolder(bool creating);

    QString m_root;
    vz::bookmarks::Kind m_kind;
    QString m_folder;
    QString m_label;

    QGroupBox* m_addGroup;
    QLineEdit* m_labelEdit;
    CVelaBookmarksFolders* m_addIn;
    QPushButton* m_createFolder;
    QPushButton* m_add;
    QPushButton* m_cancel;
    QGroupBox* m_createGroup;
    QLineEdit* m_folderEdit;
    CVelaBookmarksFolders* m_createIn;
    QPushButton* m_create;
    QPushButton* m_cancelCreate;
};
