#include "finder/FindDialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// "&Find" and "&Cancel" below the fields; Find is the default button.
QPushButton* AddButtons(QDialog* dialog, QVBoxLayout* layout) {
    auto* buttons = new QDialogButtonBox(dialog);
    QPushButton* find = buttons->addButton(QStringLiteral("&Find"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole);
    find->setDefault(true);
    find->setEnabled(false);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
    return find;
}

bool HasMask(const QLineEdit* edit) {
    return !edit->text().trimmed().isEmpty();
}

}  // namespace

QString vz::finder::ModeText(int mode) {
    switch (mode) {
        case kSearchArchives:
            return QStringLiteral("Search of archives");
        case kSearchFilesInArchives:
            return QStringLiteral("Search of files in archives");
        case kSearchArchivesAndFiles:
            return QStringLiteral("Search of archives and files in them");
        default:
            return {};
    }
}

CFindArchives::CFindArchives(bool insideArchive, QWidget* parent)
    : QDialog(parent),
      m_mode(new QComboBox(this)),
      m_archiveEdit(new QLineEdit(this)),
      m_subfolders(new QCheckBox(QStringLiteral("Include sub-folders"), this)),
      m_fileEdit(new QLineEdit(this)) {
    setWindowTitle(QStringLiteral("Find Archives"));
    using namespace vz::finder;
    if (insideArchive) {
        m_mode->addItem(vz::finder::ModeText(kSearchFilesInArchives));
    } else {
        for (const int mode : {kSearchArchives, kSearchFilesInArchives, kSearchArchivesAndFiles}) {
            m_mode->addItem(vz::finder::ModeText(mode));
        }
    }
    m_subfolders->setChecked(true);

    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Mode"), m_mode);
    form->addRow(QStringLiteral("Mask for archives"), m_archiveEdit);
    form->addRow(QString(), m_subfolders);
    form->addRow(QStringLiteral("Mask for files"), m_fileEdit);
    layout->addLayout(form);
    m_find = AddButtons(this, layout);
    connect(m_find, &QPushButton::clicked, this, &CFindArchives::OnFind);
    connect(m_mode, &QComboBox::currentIndexChanged, this, &CFindArchives::UpdateEnabling);
    connect(m_archiveEdit, &QLineEdit::textChanged, this, &CFindArchives::UpdateEnabling);
    connect(m_fileEdit, &QLineEdit::textChanged, this, &CFindArchives::UpdateEnabling);
    setMinimumWidth(420);
    UpdateEnabling();
}

void CFindArchives::UpdateEnabling() {
    // The search is told by its text: inside an archive the only row is the files search.
    const QString text = m_mode->currentText();
    using namespace vz::finder;
    const bool archives = text == vz::finder::ModeText(kSearchArchives) ||
                          text == vz::finder::ModeText(kSearchArchivesAndFiles);
    const bool files = text == vz::finder::ModeText(kSearchFilesInArchives) ||
                       text == vz::finder::ModeText(kSearchArchivesAndFiles);
    m_archiveEdit->setEnabled(archives);
    m_subfolders->setEnabled(archives);
    m_fileEdit->setEnabled(files);
    m_find->setEnabled((!archives || HasMask(m_archiveEdit)) && (!files || HasMask(m_fileEdit)));
}

void CFindArchives::OnFind() {
    m_modeIndex = m_mode->currentIndex();
    m_modeText = m_mode->currentText();
    m_archiveMask = m_archiveEdit->text().trimmed();
    m_fileMask = m_fileEdit->text().trimmed();
    m_includeSubfolders = m_subfolders->isChecked();
    accept();
}

CFindFiles::CFindFiles(QWidget* parent)
    : QDialog(parent),
      m_fileEdit(new QLineEdit(this)),
      m_subfolders(new QCheckBox(QStringLiteral("Include sub-folders"), this)) {
    setWindowTitle(QStringLiteral("Find Files"));
    m_subfolders->setChecked(true);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Mask for files"), m_fileEdit);
    form->addRow(QString(), m_subfolders);
    layout->addLayout(form);
    m_find = AddButtons(this, layout);
    connect(m_fileEdit, &QLineEdit::textChanged, this,
            [this] { m_find->setEnabled(HasMask(m_fileEdit)); });
    connect(m_find, &QPushButton::clicked, this, [this] {
        m_fileMask = m_fileEdit->text().trimmed();
        m_includeSubfolders = m_subfolders->isChecked();
        accept();
    });
    setMinimumWidth(360);
}
