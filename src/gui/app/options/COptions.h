#pragma once
// The "Options" dialog: a tree of pages beside the page shown, with OK and Cancel.
//
// OK, in this order: the history lengths are checked (each wrong one shows its message) and
// then the eight folder pages, OneDrive to Videos; the first refusal keeps the dialog open
// on its page. Then every page is copied into a copy of the settings record; the zip
// association of the "System" page, the folder pages' marker links, the file managers'
// menus and the additional associations are applied; only then does the copy become the
// given record, which is saved whole. Cancel changes nothing, in memory or on disk.
//
// A change of the zip association, or of a cloud drive or special folder, asks for a
// restart (NeedsRestart).

#include <QDialog>
#include <vector>

#include "settings/CSettingsRecord.h"

class CAddAssOptions;
class CFolderOptions;
class COptionsPage;
class CShellExtOptions;
class QCheckBox;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;

class COptions : public QDialog {
    Q_OBJECT
public:
    // `settings`: the frame's record, which OK replaces and saves.
    explicit COptions(CSettingsRecord& settings, QWidget* parent = nullptr);

    // Whether OK changed something that takes effect at the next start.
    bool NeedsRestart() const { return m_needsRestart; }

    QTreeWidget* Tree() const { return m_tree; }
    // The page of the tree item with `text` (null for a parent item without a page), and
    // showing it.
    COptionsPage* Page(const QString& text) const;
    void ShowPage(const QString& text);
    QWidget* CurrentPage() const;

    void accept() override;

private:
    QTreeWidgetItem* AddPage(QTreeWidgetItem* parent, const QString& text, QWidget* page);
    QTreeWidgetItem* ItemOf(const QString& text) const;
    void Show(QTreeWidgetItem* item);
    void OnCurrentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous);

    CSettingsRecord& m_settings;
    QTreeWidget* m_tree;
    QStackedWidget* m_stack;
    std::vector<COptionsPage*> m_pages;  // in the tree's order
    std::vector<CFolderOptions*> m_folders;
    CShellExtOptions* m_shellExt = nullptr;
    CAddAssOptions* m_addAss = nullptr;
    QCheckBox* m_associateZip = nullptr;
    bool m_zipAtOpening = false;
    bool m_needsRestart = false;
};
