#include "app/options/CShellExtOptions.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>
#include <array>

#include "common/MessageBox.h"
#include "desktop/ShellMenus.h"

namespace {

struct Item {
    const char* text;
    bool CSettingsRecord::*flag;
};
// The context-menu items, in the order of the menus.
constexpr std::array<Item, 8> kItems{{
    {"Add to archive...", &CSettingsRecord::AddToArchive},
    {"Add to archive <file name>.zip", &CSettingsRecord::AddToArchiveFileName},
    {"Add to archive and e-mail...", &CSettingsRecord::AddToArchiveAndEMail},
    {"Add to archive <file name>.zip and e-mail", &CSettingsRecord::AddToArchiveFileNameAndEMail},
    {"Extract to...", &CSettingsRecord::ExtractTo},
    {"Extract here", &CSettingsRecord::ExtractHere},
    {"Extract to <folder name>", &CSettingsRecord::ExtractToFolderName},
    {"Extract here using file names for folders",
     &CSettingsRecord::ExtractHereUsingFileNamesForFolders},
}};

// Whether the settings the written menus follow differ.
bool MenusDiffer(const CSettingsRecord& a, const CSettingsRecord& b) {
    for (const Item& item : kItems) {
        if (a.*item.flag != b.*item.flag) {
            return true;
        }
    }
    return a.CascadedMenu != b.CascadedMenu || a.ShowIcons != b.ShowIcons;
}

}  // namespace

CShellExtOptions::CShellExtOptions(const QString& program, QWidget* parent)
    : COptionsPage(parent),
      m_program(program),
      m_activate(new QCheckBox(QStringLiteral("Activate Vela-ZIP Archiver shell extension"), this)),
      m_items(new QListWidget(this)),
      m_cascaded(new QCheckBox(QStringLiteral("Cascaded menu"), this)),
      m_icons(new QCheckBox(QStringLiteral("Show icons"), this)) {
    for (const Item& item : kItems) {
        auto* row = new QListWidgetItem(QString::fromLatin1(item.text), m_items);
        row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_activate);
    layout->addWidget(new QLabel(QStringLiteral("Context menu items:"), this));
    layout->addWidget(m_items);
    layout->addWidget(m_cascaded);
    layout->addWidget(m_icons);
}

void CShellExtOptions::Load(const CSettingsRecord& settings) {
    m_activeAtOpening = vz::desktop::ShellMenusRegistered(m_program);
    m_activate->setChecked(m_activeAtOpening);
    for (int i = 0; i < m_items->count(); ++i) {
        m_items->item(i)->setCheckState(settings.*kItems[i].flag ? Qt::Checked : Qt::Unchecked);
    }
    m_cascaded->setChecked(settings.CascadedMenu);
    m_icons->setChecked(settings.ShowIcons);
}

void CShellExtOptions::Store(CSettingsRecord& settings) const {
    for (int i = 0; i < m_items->count(); ++i) {
        settings.*kItems[i].flag = m_items->item(i)->checkState() == Qt::Checked;
    }
    settings.CascadedMenu = m_cascaded->isChecked();
    settings.ShowIcons = m_icons->isChecked();
}

void CShellExtOptions::Apply(const CSettingsRecord& before, const CSettingsRecord& settings) {
    const bool active = m_activate->isChecked();
    if (active == m_activeAtOpening && !(active && MenusDiffer(before, settings))) {
        return;
    }
    QString reason;
    const bool done = active ? vz::desktop::RegisterShellMenus(m_program, settings, &reason)
                             : vz::desktop::UnregisterShellMenus(&reason);
    if (!done) {
        vz::ShowMessageBox(this, vz::texts::ProductName(),
                           QStringLiteral("Cannot modify the registry."), QMessageBox::Information,
                           QMessageBox::Ok, reason);
    }
    m_activeAtOpening = active;
}
