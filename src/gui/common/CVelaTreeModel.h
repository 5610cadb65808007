#pragma once
// The item model behind both browser trees. An item stores only its label, a small kind
// code for its owner, what is known about its children and, for top-level items, the real
// path they stand for; the full path of any item is rebuilt from the labels.
//
// Children are read lazily by the owning tree: an item that may have children but has not
// been read is "Unlisted" (it shows an expander and has no rows), reading it appends all of
// its children in one insertion, and a collapse removes them again.

#include <QAbstractItemModel>
#include <QIcon>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <vector>

class CVelaTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum class Children : quint8 {
        None,      // never has children (a file)
        Unlisted,  // may have children; not read yet
        Listed,    // the rows below it are the current listing (possibly none)
    };
    enum Role { KindRole = Qt::UserRole + 1, PathRole };

    struct NewItem {
        QString label;
        quint8 kind = 0;
        Children children = Children::None;
    };

    // Gives the icon of an item; asked once per item, and only when the item is shown.
    using IconSource = std::function<QIcon(const QModelIndex&)>;

    explicit CVelaTreeModel(QObject* parent = nullptr);
    ~CVelaTreeModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    void SetIconSource(IconSource source) { m_iconSource = std::move(source); }

    // Removes every item.
    void Clear();
    // Appends a top-level item that stands for `realPath` and shows `label`.
    QModelIndex AppendTopLevel(const QString& label, const QString& realPath, quint8 kind,
                               Children children);
    // Appends `items` below `parent` in one insertion; the parent becomes Listed.
    void AppendItems(const QModelIndex& parent, std::vector<NewItem> items);
    QModelIndex AppendItem(const QModelIndex& parent, const NewItem& item);
    // Inserts one item at `row` below a listed `parent` (an item revealed in its sorted place).
    QModelIndex InsertItem(const QModelIndex& parent, int row, const NewItem& item);
    // Removes every child of `parent` in one removal and sets its state to `state`
    // (Unlisted puts the expander back, Listed leaves an empty listing).
    void RemoveChildren(const QModelIndex& parent, Children state);
    void RemoveItem(const QModelIndex& index);
    void SetChildState(const QModelIndex& index, Children state);

    QString Label(const QModelIndex& index) const;
    // A new label (a renamed item); the items below it follow, since paths are rebuilt.
    void SetLabel(const QModelIndex& index, const QString& label);
    // Whether views may open the label editor on items (a tree still decides when).
    void SetEditable(bool editable) { m_editable = editable; }
    quint8 Kind(const QModelIndex& index) const;
    Children ChildState(const QModelIndex& index) const;
    bool IsTopLevel(const QModelIndex& index) const;
    // The real path of a top-level item (empty for other items).
    QString RealPath(const QModelIndex& index) const;
    // Data that an owner attaches to an item (a cloud-drive record and the like).
    QVariant ItemData(const QModelIndex& index) const;
    void SetItemData(const QModelIndex& index, const QVariant& value);

    // The full path: the top-level item's real path followed by the labels of the items
    // below it, joined with "/".
    QString PathOf(const QModelIndex& index) const;
    // The child of `parent` whose label is `label`: an exact match first, else the first
    // that matches without regard to case.
    QModelIndex FindChild(const QModelIndex& parent, const QString& label) const;

private:
    struct Node;
    Node* NodeOf(const QModelIndex& index) const;
    QModelIndex IndexOf(const Node* node) const;

    std::unique_ptr<Node> m_root;
    IconSource m_iconSource;
    bool m_editable = false;
};
