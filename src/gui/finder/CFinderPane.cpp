#include "finder/CFinderPane.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "common/Commands.h"
#include "finder/CVelaListFiles.h"

namespace {

// The first id of the pane's sort and view items: six sort items, then six view items.
int FirstItemId(CFinderPane::Kind kind) {
    return kind == CFinderPane::kArchiveFinder ? 32845 : 32860;
}

QAction* AddDropDown(QToolBar* toolbar, QAction* action, QMenu* menu) {
    action->setMenu(menu);
    toolbar->addAction(action);
    if (auto* button = qobject_cast<QToolButton*>(toolbar->widgetForAction(action))) {
        button->setPopupMode(QToolButton::InstantPopup);
    }
    return action;
}

}  // namespace

CFinderPane::CFinderPane(Kind kind, QWidget* parent)
    : QWidget(parent),
      m_kind(kind),
      m_list(new CVelaListFiles(kind == kArchiveFinder ? QStringLiteral("ArchiveFinder_Columns")
                                                       : QStringLiteral("FileFinder_Columns"),
                                this)),
      m_toolbar(new QToolBar(this)) {
    setObjectName(kind == kArchiveFinder ? QStringLiteral("ArchiveFinderView")
                                         : QStringLiteral("FileFinderView"));
    m_toolbar->setIconSize(QSize(16, 16));
    m_toolbar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_list);
    // Moving the focus to the pane (F6 and the like) puts it on the list.
    setFocusProxy(m_list);

    const bool archives = kind == kArchiveFinder;
    m_sortMenu = new QMenu(QStringLiteral("Sort"), this);
    m_viewMenu = new QMenu(QStringLiteral("View Settings"), this);
    AddDropDown(m_toolbar,
                vz::NewCommand(m_toolbar, 0, QStringLiteral("Sort"), QStringLiteral("Sorts items"),
                               QStringLiteral("Sort"), QStringLiteral("view-sort-ascending")),
                m_sortMenu);
    AddDropDown(
        m_toolbar,
        vz::NewCommand(m_toolbar, 0, QStringLiteral("View Settings"),
                       archives ? QStringLiteral("Archive Finder view settings")
                                : QStringLiteral("File Finder view settings"),
                       QStringLiteral("View Settings"), QStringLiteral("view-list-details")),
        m_viewMenu);
    m_toolbar->addSeparator();
    m_find = vz::NewCommand(this, 0, QStringLiteral("Find"),
                            archives ? QStringLiteral("Find selected item in Archive Browser")
                                     : QStringLiteral("Find selected item in File Browser"),
                            QStringLiteral("Find"), QStringLiteral("edit-find"));
    m_delete =
        vz::NewCommand(this, 0, QStringLiteral("Delete"), QStringLiteral("Delete selected item"),
                       QStringLiteral("Delete"), QStringLiteral("edit-delete"));
    m_clear =
        vz::NewCommand(this, 0, QStringLiteral("Clear All"), QStringLiteral("Remove all items"),
                       QStringLiteral("Clear All"), QStringLiteral("edit-clear-all"));
    m_toolbar->addActions({m_find, m_delete, m_clear});
    FillSortMenu();
    FillViewMenu();

    connect(m_find, &QAction::triggered, this, [this] {
        const int row = m_list->LastSelectedRow();
        if (row >= 0) {
            emit OpenInBrowser(m_list->ListModel()->Record(row).path);
        }
    });
    connect(m_delete, &QAction::triggered, m_list, &CVelaListFiles::DeleteSelectedRows);
    connect(m_clear, &QAction::triggered, m_list, &CVelaListFiles::ClearRows);
    connect(m_list, &QTreeView::doubleClicked, m_find, &QAction::trigger);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CFinderPane::UpdateCommands);
    CFinderListModel* model = m_list->ListModel();
    for (const auto signal : {&CFinderListModel::rowsInserted, &CFinderListModel::rowsRemoved}) {
        connect(model, signal, this, &CFinderPane::UpdateCommands);
    }
    connect(model, &CFinderListModel::modelReset, this, &CFinderPane::UpdateCommands);
    connect(m_list->header(), &QHeaderView::sectionClicked, this, &CFinderPane::UpdateCommands);
    UpdateCommands();
}

CFinderPane::~CFinderPane() {
    m_list->SaveColumnWidths();
}

void CFinderPane::FillSortMenu() {
    int id = FirstItemId(m_kind);
    const QStringList byTexts{QStringLiteral("Sort by &Name"), QStringLiteral("Sort by &Folder"),
                              QStringLiteral("Sort by &Size"), QStringLiteral("Sort by Da&te")};
    for (int column = 0; column < byTexts.size(); ++column) {
        QAction* item = vz::NewCommand(m_sortMenu, id++, byTexts[column]);
        item->setCheckable(true);
        connect(item, &QAction::triggered, this, [this, column] {
            m_list->SortByColumnToggling(column);
            UpdateCommands();
        });
        m_sortBy << item;
    }
    m_sortMenu->addActions(m_sortBy);
    m_sortMenu->addSeparator();
    m_ascending = vz::NewCommand(m_sortMenu, id++, QStringLiteral("Sort &Ascending"));
    m_descending = vz::NewCommand(m_sortMenu, id++, QStringLiteral("Sort &Descending"));
    for (QAction* item : {m_ascending, m_descending}) {
        item->setCheckable(true);
        const bool ascending = item == m_ascending;
        connect(item, &QAction::triggered, this, [this, ascending] {
            m_list->SortBy(m_list->SortColumn(), ascending);
            UpdateCommands();
        });
        m_sortMenu->addAction(item);
    }
    connect(m_sortMenu, &QMenu::aboutToShow, this, &CFinderPane::UpdateCommands);
}

void CFinderPane::FillViewMenu() {
    int id = FirstItemId(m_kind) + 6;
    const QStringList columnTexts{QStringLiteral("Show Column &Folder"),
                                  QStringLiteral("Show Column &Size"),
                                  QStringLiteral("Show Column &Date")};
    for (int i = 0; i < columnTexts.size(); ++i) {
        QAction* item = vz::NewCommand(m_viewMenu, id++, columnTexts[i]);
        item->setCheckable(true);
        const int column = i + 1;
        connect(item, &QAction::triggered, this, [this, column] {
            m_list->ToggleColumn(column);
            UpdateCommands();
        });
        m_showColumn << item;
        m_viewMenu->addAction(item);
    }
    m_viewMenu->addSeparator();
    m_grid = vz::NewCommand(m_viewMenu, id++, QStringLiteral("Show &Grid"));
    m_fullRow = vz::NewCommand(m_viewMenu, id++, QStringLiteral("Select Full &Row"));
    m_showSelection = vz::NewCommand(m_viewMenu, id++, QStringLiteral("Show Selected &Always"));
    m_fullRow->setCheckable(true);
    m_showSelection->setCheckable(true);
    connect(m_grid, &QAction::triggered, this, [this] {
        m_list->SetGrid(!m_list->Grid());
        UpdateCommands();
    });
    connect(m_fullRow, &QAction::triggered, this, [this] {
        m_list->SetFullRow(!m_list->FullRow());
        UpdateCommands();
    });
    connect(m_showSelection, &QAction::triggered, this, [this] {
        m_list->SetShowSelectionAlways(!m_list->ShowSelectionAlways());
        UpdateCommands();
    });
    m_viewMenu->addActions({m_grid, m_fullRow, m_showSelection});
    connect(m_viewMenu, &QMenu::aboutToShow, this, &CFinderPane::UpdateCommands);
}

void CFinderPane::UpdateCommands() {
    const bool rows = m_list->ListModel()->rowCount() > 0;
    const bool selected = m_list->selectionModel()->hasSelection();
    m_find->setEnabled(selected);
    m_delete->setEnabled(selected);
    m_clear->setEnabled(rows);
    for (int column = 0; column < m_sortBy.size(); ++column) {
        m_sortBy[column]->setEnabled(rows);
        m_sortBy[column]->setChecked(m_list->SortColumn() == column);
    }
    m_ascending->setEnabled(rows);
    m_descending->setEnabled(rows);
    m_ascending->setChecked(m_list->Ascending());
    m_descending->setChecked(!m_list->Ascending());
    for (int i = 0; i < m_showColumn.size(); ++i) {
        m_showColumn[i]->setChecked(m_list->IsColumnShown(i + 1));
    }
    m_grid->setText(m_list->Grid() ? QStringLiteral("Hide &Grid") : QStringLiteral("Show &Grid"));
    m_fullRow->setChecked(m_list->FullRow());
    m_showSelection->setChecked(m_list->ShowSelectionAlways());
}
