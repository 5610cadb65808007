#include "bookmarks/CVelaBookmarksFolders.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QStyledItemDelegate>

#include "common/CItemIcons.h"

namespace {

constexpr int kIndent = 12;

// Draws each row of the drop-down list moved right by its depth.
class IndentDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        // The row's highlight spans the whole width; its picture and text move right.
        QStyleOptionViewItem full(option);
        initStyleOption(&full, index);
        const QWidget* widget = option.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &full, painter, widget);
        QStyleOptionViewItem shifted(option);
        shifted.rect.setLeft(option.rect.left() + Indent(index));
        QStyledItemDelegate::paint(painter, shifted, index);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(Indent(index), 0);
    }

private:
    static int Indent(const QModelIndex& index) {
        return kIndent * index.data(CVelaBookmarksFolders::kDepthRole).toInt();
    }
};

}  // namespace

CVelaBookmarksFolders::CVelaBookmarksFolders(QWidget* parent) : QComboBox(parent) {
    setItemDelegate(new IndentDelegate(this));
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setMinimumContentsLength(20);
}

void CVelaBookmarksFolders::Fill(const QString& root) {
    clear();
    if (!root.isEmpty()) {
        AddFolder(root, 0);
    }
    setCurrentIndex(count() > 0 ? 0 : -1);
}

void CVelaBookmarksFolders::AddFolder(const QString& path, int depth) {
    addItem(CItemIcons::FolderIcon(), QFileInfo(path).fileName());
    setItemData(count() - 1, path, kPathRole);
    setItemData(count() - 1, depth, kDepthRole);
    const QFileInfoList folders = QDir(path).entryInfoList(
        QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System | QDir::NoSymLinks,
        QDir::Unsorted);
    for (const QFileInfo& folder : folders) {
        AddFolder(folder.filePath(), depth + 1);
    }
}

QString CVelaBookmarksFolders::SelectedFolder() const {
    return currentData(kPathRole).toString();
}

bool CVelaBookmarksFolders::SelectFolder(const QString& folder) {
    const int row = findData(folder, kPathRole);
    if (row >= 0) {
        setCurrentIndex(row);
    }
    return row >= 0;
}
