#include "app/options/CFolderOptions.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "common/MessageBox.h"

namespace userfolders = vz::userfolders;

namespace {

// The word the settings file keeps for "no folder chosen".
const QString kNoFolder = QStringLiteral("Empty");

}  // namespace

CFolderOptions::CFolderOptions(userfolders::Root root, QWidget* parent)
    : COptionsPage(parent), m_root(root) {
    const userfolders::RootInfo& info = userfolders::InfoOf(root);
    auto* group = new QGroupBox(Name(), this);
    m_enable = new QCheckBox(QString::fromUtf8(info.checkText), group);
    m_folder = new QLineEdit(group);
    m_browse = new QPushButton(QStringLiteral("..."), group);
    m_browse->setFixedWidth(m_browse->fontMetrics().horizontalAdvance(QStringLiteral("....")) + 16);
    auto* row = new QHBoxLayout;
    row->addWidget(m_folder, 1);
    row->addWidget(m_browse);
    auto* inGroup = new QVBoxLayout(group);
    inGroup->addWidget(m_enable);
    inGroup->addWidget(new QLabel(QStringLiteral("User folder location:"), group));
    inGroup->addLayout(row);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(group);
    layout->addStretch(1);

    connect(m_enable, &QCheckBox::toggled, this, &CFolderOptions::OnToggled);
    connect(m_browse, &QPushButton::clicked, this, &CFolderOptions::OnBrowse);
    OnToggled(false);
}

QString CFolderOptions::Name() const {
    return QString::fromUtf8(userfolders::InfoOf(m_root).displayName);
}

QString CFolderOptions::Folder() const {
    return m_folder->text().trimmed();
}

void CFolderOptions::Load(const CSettingsRecord& settings) {
    m_loading = true;
    const QString folder = userfolders::UserFolderSetting(settings, m_root);
    m_folder->setText(folder == kNoFolder ? QString() : folder);
    m_enable->setChecked(userfolders::IsEnabled(settings, m_root));
    OnToggled(m_enable->isChecked());
    m_loading = false;
}

void CFolderOptions::OnToggled(bool on) {
    m_folder->setEnabled(on);
    m_browse->setEnabled(on);
    if (!on || m_loading) {
        return;
    }
    const QString found = userfolders::LookUp(m_root);
    if (found.isEmpty()) {
        vz::ShowMessageBox(
            this, vz::texts::ProductName(),
            QStringLiteral("%1 user folder is not found. Specify its location manually.")
                .arg(Name()),
            QMessageBox::Information);
        return;
    }
    m_folder->setText(found);
}

void CFolderOptions::OnBrowse() {
    const QString chosen =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Choose %1 user folder").arg(Name()),
                                          QDir::homePath(), QFileDialog::ShowDirsOnly);
    if (!chosen.isEmpty()) {
        m_folder->setText(chosen);
    }
}

bool CFolderOptions::Validate() {
    if (!m_enable->isChecked() || (!Folder().isEmpty() && QFileInfo(Folder()).isDir())) {
        return true;
    }
    vz::ShowMessageBox(this, vz::texts::ProductName(),
                       QStringLiteral("The folder specified for %1 does not exist.").arg(Name()),
                       QMessageBox::Warning);
    return false;
}

void CFolderOptions::Store(CSettingsRecord& settings) const {
    const bool on = m_enable->isChecked();
    userfolders::SetSetting(settings, m_root, on, on ? Folder() : QString());
}

bool CFolderOptions::ApplyLink(const CSettingsRecord& before, const QString& appDataFolder) const {
    const bool wasOn = userfolders::IsEnabled(before, m_root);
    if (!m_enable->isChecked()) {
        userfolders::RemoveLink(appDataFolder, m_root);
        return wasOn;
    }
    // A link that cannot be made is not reported: the root then simply does not appear.
    userfolders::MakeLink(appDataFolder, m_root, Folder());
    return !wasOn || userfolders::UserFolderSetting(before, m_root) != Folder();
}
