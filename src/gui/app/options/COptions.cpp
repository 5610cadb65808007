#include "app/options/COptions.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QVBoxLayout>
#include <algorithm>

#include "app/options/CAddArchivesOptions.h"
#include "app/options/CAddAssOptions.h"
#include "app/options/CCreationOptions.h"
#include "app/options/CEncryptionOptions.h"
#include "app/options/CFolderOptions.h"
#include "app/options/CPlainOptions.h"
#include "app/options/CShellExtOptions.h"
#include "desktop/FileAssociations.h"
#include "settings/CSettingsStore.h"

namespace {

using R = CSettingsRecord;
const QString kZip = QStringLiteral("zip");

CPlainOptions* PackPage() {
    auto* page = new CPlainOptions;
    page->AddChecks(QStringLiteral("Path settings"),
                    {{QStringLiteral("Pack files without paths"), &R::PackFilesWithoutPaths},
                     {QStringLiteral("Pack folders without paths"), &R::PackFoldersWithoutPaths}});
    page->AddRadios(QStringLiteral("Updating mode"),
                    {QStringLiteral("Add with replacement without asking"),
                     QStringLiteral("Ask before updating")},
                    &R::AskBeforeUpdating, false);
    return page;
}

CPlainOptions* UnpackPage() {
    auto* page = new CPlainOptions;
    page->AddChecks(
        QStringLiteral("Path settings"),
        {{QStringLiteral("Unpack files without paths"), &R::UnpackFilesWithoutPaths},
         {QStringLiteral("Unpack folders without paths"), &R::UnpackFoldersWithoutPaths},
         {QStringLiteral("Unpack archives without paths"), &R::UnpackArchivesWithoutPaths}});
    page->AddRadios(
        QStringLiteral("Overwriting mode"),
        {QStringLiteral("Ask before overwriting"), QStringLiteral("Overwriting without asking")},
        &R::AskBeforeOverwriting, true);
    return page;
}

CPlainOptions* RefreshPage() {
    auto* page = new CPlainOptions;
    const QStringList choices{QStringLiteral("With adding of each item"),
                              QStringLiteral("After adding of last item")};
    page->AddRadios(QStringLiteral("Refresh Archive Browser tree"), choices,
                    &R::RefreshArchiveBrowserTreeWithAddingOfEachItem, true);
    page->AddRadios(QStringLiteral("Refresh File Browser tree"), choices,
                    &R::RefreshFileBrowserTreeWithAddingOfEachItem, true);
    return page;
}

CPlainOptions* DragImagePage() {
    auto* page = new CPlainOptions;
    page->AddRadios(QString(),
                    {QStringLiteral("Like Windows XP"), QStringLiteral("Large image with frame"),
                     QStringLiteral("Large image with text")},
                    &R::DraggingImageForModeClearType);
    return page;
}

CPlainOptions* TooltipsPage() {
    auto* page = new CPlainOptions;
    page->AddChecks(QString(), {{QStringLiteral("Enable tooltips for toolbars"),
                                 &R::EnableShowTooltipForToolbars},
                                {QStringLiteral("Enable tooltips for Back or Forward menu"),
                                 &R::EnableShowTooltipForBackOrForwardMenu},
                                {QStringLiteral("Enable tooltips for Bookmarks menu"),
                                 &R::EnableShowTooltipForBookmarksMenu}});
    return page;
}

CPlainOptions* HistoryPage() {
    auto* page = new CPlainOptions;
    for (const auto& [browser, steps] : {std::pair{"Archive Browser", &R::ArchiveHistoryStepsShown},
                                         std::pair{"File Browser", &R::FileHistoryStepsShown}}) {
        const QString name = QString::fromLatin1(browser);
        page->AddNumber(
            name + QStringLiteral(" history"),
            QStringLiteral("steps shown in Back or Forward menu"),
            QStringLiteral("(min 5, max 20)"), steps, 5, 20,
            QStringLiteral("The number of steps in %1 history can be from 5 to 20.").arg(name));
    }
    return page;
}

}  // namespace

COptions::COptions(CSettingsRecord& settings, QWidget* parent)
    : QDialog(parent),
      m_settings(settings),
      m_tree(new QTreeWidget(this)),
      m_stack(new QStackedWidget(this)) {
    setObjectName(QStringLiteral("Options"));
    setWindowTitle(QStringLiteral("Options"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    m_tree->setHeaderHidden(true);
    m_tree->setRootIsDecorated(true);
    const QString program = QCoreApplication::applicationFilePath();

    AddPage(nullptr, QStringLiteral("Creation and Adding"), new CCreationOptions);
    AddPage(nullptr, QStringLiteral("Encryption"), new CEncryptionOptions);
    AddPage(nullptr, QStringLiteral("Pack"), PackPage());
    AddPage(nullptr, QStringLiteral("Unpack"), UnpackPage());
    auto* system = new CPlainOptions;
    m_associateZip =
        system
            ->AddChecks(QStringLiteral("Association"),
                        {{QStringLiteral("Associate Vela-ZIP Archiver with Zip files"), nullptr}})
            .front();
    system->AddChecks(QStringLiteral("Drag and drop"),
                      {{QStringLiteral("Enable dragging from archive to other applications"),
                        &R::EnableDraggingFromArchiveToOtherApplications},
                       {QStringLiteral("Enable dragging to archive from other applications"),
                        &R::EnableDraggingToArchiveFromOtherApplications}});
    system->AddChecks(QStringLiteral("Open file"),
                      {{QStringLiteral("Enable double click to open a file from archive"),
                        &R::EnableDoubleClickToOpenAFileFromArchive}});
    AddPage(nullptr, QStringLiteral("System"), system);
    QTreeWidgetItem* interface = AddPage(nullptr, QStringLiteral("Interface"), nullptr);
    AddPage(interface, QStringLiteral("Refresh"), RefreshPage());
    AddPage(interface, QStringLiteral("Drag Image"), DragImagePage());
    AddPage(interface, QStringLiteral("Show Tooltips"), TooltipsPage());
    AddPage(interface, QStringLiteral("History"), HistoryPage());
    m_shellExt = new CShellExtOptions(program);
    AddPage(nullptr, QStringLiteral("Shell Extension"), m_shellExt);
    AddPage(nullptr, QStringLiteral("Additional Archives"), new CAddArchivesOptions);
    m_addAss = new CAddAssOptions(program);
    AddPage(nullptr, QStringLiteral("Additional Associations"), m_addAss);
    QTreeWidgetItem* cloud = AddPage(nullptr, QStringLiteral("Cloud Drives"), nullptr);
    QTreeWidgetItem* special = AddPage(nullptr, QStringLiteral("Special Folders"), nullptr);
    for (const vz::userfolders::RootInfo& info : vz::userfolders::AllRoots()) {
        auto* page = new CFolderOptions(info.root);
        m_folders.push_back(page);
        AddPage(info.cloud ? cloud : special, QString::fromUtf8(info.displayName), page);
    }
    m_tree->expandAll();

    for (COptionsPage* page : m_pages) {
        page->Load(m_settings);
    }
    m_zipAtOpening = vz::desktop::IsAssociated(kZip);
    m_associateZip->setChecked(m_zipAtOpening);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &COptions::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &COptions::OnCurrentItemChanged);

    // The whole tree shows, without scrolling.
    int width = 0;
    int rows = 0;
    for (QTreeWidgetItemIterator it(m_tree); *it != nullptr; ++it, ++rows) {
        const int depth = (*it)->parent() != nullptr ? 2 : 1;
        width = std::max(width, m_tree->fontMetrics().horizontalAdvance((*it)->text(0)) +
                                    depth * m_tree->indentation());
    }
    m_tree->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tree->setFixedWidth(width + m_tree->frameWidth() * 2 + 16);
    m_tree->setMinimumHeight(rows * (m_tree->fontMetrics().height() + 4) +
                             m_tree->frameWidth() * 2);
    auto* panes = new QHBoxLayout;
    panes->addWidget(m_tree);
    m_stack->setMinimumWidth(m_stack->fontMetrics().horizontalAdvance(QLatin1Char('x')) * 72);
    panes->addWidget(m_stack, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(panes, 1);
    layout->addWidget(buttons);
    ShowPage(QStringLiteral("Creation and Adding"));
}

QTreeWidgetItem* COptions::AddPage(QTreeWidgetItem* parent, const QString& text, QWidget* page) {
    auto* item = parent != nullptr ? new QTreeWidgetItem(parent, {text})
                                   : new QTreeWidgetItem(m_tree, {text});
    // A parent item without a page of its own shows an empty one.
    if (page == nullptr) {
        page = new QWidget;
    }
    item->setData(0, Qt::UserRole, m_stack->addWidget(page));
    if (auto* options = qobject_cast<COptionsPage*>(page)) {
        m_pages.push_back(options);
    }
    return item;
}

QTreeWidgetItem* COptions::ItemOf(const QString& text) const {
    const QList<QTreeWidgetItem*> found =
        m_tree->findItems(text, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.front();
}

COptionsPage* COptions::Page(const QString& text) const {
    QTreeWidgetItem* item = ItemOf(text);
    return item != nullptr
               ? qobject_cast<COptionsPage*>(m_stack->widget(item->data(0, Qt::UserRole).toInt()))
               : nullptr;
}

void COptions::ShowPage(const QString& text) {
    if (QTreeWidgetItem* item = ItemOf(text)) {
        Show(item);
    }
}

QWidget* COptions::CurrentPage() const {
    return m_stack->currentWidget();
}

void COptions::Show(QTreeWidgetItem* item) {
    const QSignalBlocker quiet(m_tree);
    m_tree->setCurrentItem(item);
    m_stack->setCurrentIndex(item->data(0, Qt::UserRole).toInt());
}

void COptions::OnCurrentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous) {
    // A folder page is left only with a folder that exists.
    auto* folder = qobject_cast<CFolderOptions*>(m_stack->currentWidget());
    if (folder != nullptr && !folder->Validate() && previous != nullptr) {
        Show(previous);
        return;
    }
    if (current != nullptr) {
        Show(current);
    }
}

void COptions::accept() {
    // The history lengths first, then the folder pages in their order.
    for (COptionsPage* page : m_pages) {
        if (!page->Validate()) {
            // The user stays on (or is taken to) the page that refused.
            for (QTreeWidgetItemIterator it(m_tree); *it != nullptr; ++it) {
                if (m_stack->widget((*it)->data(0, Qt::UserRole).toInt()) == page) {
                    Show(*it);
                }
            }
            return;
        }
    }
    CSettingsRecord next = m_settings;
    for (const COptionsPage* page : m_pages) {
        page->Store(next);
    }
    const bool zip = m_associateZip->isChecked();
    if (zip != m_zipAtOpening) {
        if (zip) {
            vz::desktop::Associate(kZip, QCoreApplication::applicationFilePath());
        } else {
            vz::desktop::Release(kZip);
        }
        m_zipAtOpening = zip;
        m_needsRestart = true;
    }
    for (const CFolderOptions* folder : m_folders) {
        if (folder->ApplyLink(m_settings, m_settings.AppDataFolder)) {
            m_needsRestart = true;
        }
    }
    m_shellExt->Apply(m_settings, next);
    m_addAss->Apply();
    m_settings = next;
    CSettingsStore::Save(m_settings, CSettingsStore::SaveMode::CurrentValues);
    QDialog::accept();
}
