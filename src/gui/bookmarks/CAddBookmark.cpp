#include "bookmarks/CAddBookmark.h"

#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "bookmarks/CVelaBookmarksFolders.h"
#include "common/MessageBox.h"
#include "common/Texts.h"
#include "fileops/FileRename.h"
#include "fileops/NewFolder.h"
#include "platform/FileSystem.h"

namespace {

QPushButton* NewButton(const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setAutoDefault(false);
    return button;
}

// A group: the edit and the folder list on the left, the buttons in a column on the right.
QGroupBox* NewGroup(const QString& title, const QString& editText, QLineEdit* edit,
                    CVelaBookmarksFolders* folders, const QList<QPushButton*>& buttons) {
    auto* group = new QGroupBox(title);
    auto* fields = new QFormLayout;
    fields->addRow(editText, edit);
    fields->addRow(QStringLiteral("Add in:"), folders);
    auto* column = new QVBoxLayout;
    for (QPushButton* button : buttons) {
        column->addWidget(button);
    }
    column->addStretch(1);
    auto* row = new QHBoxLayout(group);
    row->addLayout(fields, 1);
    row->addLayout(column);
    return group;
}

}  // namespace

CAddBookmark::CAddBookmark(const QString& caption, const QString& root, const QString& defaultLabel,
                           vz::bookmarks::Kind kind, QWidget* parent)
    : QDialog(parent),
      m_root(root),
      m_kind(kind),
      m_labelEdit(new QLineEdit(defaultLabel, this)),
      m_addIn(new CVelaBookmarksFolders(this)),
      m_createFolder(NewButton(QStringLiteral("Create &Folder"), this)),
      m_add(NewButton(QStringLiteral("&Add"), this)),
      m_cancel(NewButton(QStringLiteral("Cancel"), this)),
      m_folderEdit(new QLineEdit(this)),
      m_createIn(new CVelaBookmarksFolders(this)),
      m_create(NewButton(QStringLiteral("C&reate"), this)),
      m_cancelCreate(NewButton(QStringLiteral("Cancel"), this)) {
    setWindowTitle(caption);
    setObjectName(QStringLiteral("AddBookmark"));
    m_labelEdit->setObjectName(QStringLiteral("Label"));
    m_addIn->setObjectName(QStringLiteral("AddIn"));
    m_folderEdit->setObjectName(QStringLiteral("Folder"));
    m_createIn->setObjectName(QStringLiteral("CreateIn"));
    m_createFolder->setObjectName(QStringLiteral("CreateFolder"));
    m_add->setObjectName(QStringLiteral("Add"));
    m_create->setObjectName(QStringLiteral("Create"));
    m_cancelCreate->setObjectName(QStringLiteral("CancelCreate"));
    m_addGroup = NewGroup(QStringLiteral("Add Bookmark"), QStringLiteral("&Label:"), m_labelEdit,
                          m_addIn, {m_add, m_cancel, m_createFolder});
    m_createGroup = NewGroup(QStringLiteral("Create Folder"), QStringLiteral("F&older:"),
                             m_folderEdit, m_createIn, {m_create, m_cancelCreate});
    m_createGroup->setObjectName(QStringLiteral("CreateGroup"));
    // The buttons of both groups share one width, so that the two groups line up.
    int width = 0;
    for (QPushButton* button : {m_createFolder, m_add, m_cancel, m_create, m_cancelCreate}) {
        width = qMax(width, button->sizeHint().width());
    }
    for (QPushButton* button : {m_createFolder, m_add, m_cancel, m_create, m_cancelCreate}) {
        button->setFixedWidth(width);
    }
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_addGroup);
    layout->addWidget(m_createGroup);
    // The window takes the size of what is shown: the upper group alone, or both.
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(m_labelEdit, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_add->setEnabled(!vz::TrimName(text).isEmpty()); });
    connect(m_folderEdit, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_create->setEnabled(!vz::TrimName(text).isEmpty()); });
    connect(m_add, &QPushButton::clicked, this, &CAddBookmark::OnAdd);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_createFolder, &QPushButton::clicked, this, &CAddBookmark::OnCreateFolder);
    connect(m_create, &QPushButton::clicked, this, &CAddBookmark::OnCreate);
    connect(m_cancelCreate, &QPushButton::clicked, this, &CAddBookmark::EndCreateFolder);

    m_addIn->Fill(m_root);
    SetCreatingFolder(false);
    m_labelEdit->selectAll();
    m_labelEdit->setFocus();
}

void CAddBookmark::SetCreatingFolder(bool creating) {
    for (QWidget* upper :
         {static_cast<QWidget*>(m_labelEdit), static_cast<QWidget*>(m_addIn),
          static_cast<QWidget*>(m_createFolder), static_cast<QWidget*>(m_cancel)}) {
        upper->setEnabled(!creating);
    }
    m_add->setEnabled(!creating && !vz::TrimName(m_labelEdit->text()).isEmpty());
    for (QWidget* lower : {static_cast<QWidget*>(m_folderEdit), static_cast<QWidget*>(m_createIn),
                           static_cast<QWidget*>(m_cancelCreate)}) {
        lower->setEnabled(creating);
    }
    m_create->setEnabled(creating && !vz::TrimName(m_folderEdit->text()).isEmpty());
    m_add->setDefault(!creating);
    m_create->setDefault(creating);
    m_createGroup->setVisible(creating);
}

void CAddBookmark::OnCreateFolder() {
    m_createIn->Fill(m_root);
    m_createIn->SelectFolder(m_addIn->SelectedFolder());
    m_folderEdit->clear();
    SetCreatingFolder(true);
    m_folderEdit->setFocus();
}

void CAddBookmark::EndCreateFolder() {
    SetCreatingFolder(false);
    m_labelEdit->setFocus();
}

void CAddBookmark::OnCreate() {
    using namespace vz::fileops;
    const QString parent = m_createIn->SelectedFolder();
    QString name;
    QString error;
    const RenameVerdict verdict = CheckTypedName(m_folderEdit->text(), &name);
    const QString path = QDir(parent).filePath(name);
    if (verdict != RenameVerdict::Rename) {
        error = RenameRefusalText(verdict, true);
    } else if (vz::platform::ReadFacts(path).exists) {
        error = RenameRefusalText(RenameVerdict::AlreadyExists, true);
    } else if (!QDir(parent).mkdir(name)) {
        error = NewFolderFailureText();
    }
    if (!error.isEmpty()) {
        vz::ShowError(this, NewFolderErrorCaption(), error);
        m_folderEdit->setFocus();
        return;
    }
    m_addIn->Fill(m_root);
    m_addIn->SelectFolder(path);
    EndCreateFolder();
}

void CAddBookmark::OnAdd() {
    using namespace vz::fileops;
    const QString folder = m_addIn->SelectedFolder();
    QString label;
    const RenameVerdict verdict =
        CheckTypedName(m_labelEdit->text().section(QLatin1Char('\n'), 0, 0), &label);
    if (verdict != RenameVerdict::Rename) {
        vz::ShowError(this, QStringLiteral("Error Adding Label"),
                      RenameRefusalText(verdict, false));
        m_labelEdit->setFocus();
        return;
    }
    if (vz::platform::ReadFacts(vz::bookmarks::BookmarkFilePath(folder, label)).exists &&
        vz::ShowMessageBox(
            this, QStringLiteral("Adding Label"),
            QStringLiteral(
                "A label with this name already exists. Replace the existent label with new?"),
            QMessageBox::Question, QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes) {
        m_labelEdit->setFocus();
        return;
    }
    m_folder = folder;
    m_label = label;
    accept();
}

void CAddBookmark::reject() {
    // Escape while a folder is being made leaves only the lower group.
    if (!m_createGroup->isHidden()) {
        EndCreateFolder();
        return;
    }
    QDialog::reject();
}
