#pragma once
// A two-pane splitter that remembers its pane sizes and which pane is hidden, in the layout
// profile entry "View_<number>" of the section "SplitterPos".

#include <QSplitter>
#include <QString>

class CVelaSplitter : public QSplitter {
    Q_OBJECT
public:
    // Columns side by side (Qt::Horizontal) or rows one above the other (Qt::Vertical).
    CVelaSplitter(int number, Qt::Orientation orientation, QWidget* parent = nullptr);

    int Number() const { return m_number; }
    QString EntryName() const;

    // Puts `widget` in pane 0 or 1 with its initial size and its minimum size.
    void SetPane(int pane, QWidget* widget, int size, int minimumSize);
    // The splitters nested in the two panes, loaded and saved together with this one.
    void SetNested(CVelaSplitter* first, CVelaSplitter* second);

    // -1 when both panes are shown, else 1 (only the second pane is ever hidden).
    int HiddenMark() const { return m_hidden ? 1 : -1; }
    bool IsSecondPaneHidden() const { return m_hidden; }
    // Hides the second pane when both are shown, shows it when it is hidden.
    void ToggleSecondPane();

    // The sizes of the two panes; the size a hidden pane had when it was hidden.
    int PaneSize(int pane) const;

    // "%d %d %d %d": hidden-column mark, size of the first pane, hidden-row mark, size of the
    // second pane; a size that is not known is written as 100.
    QString StateText() const;
    // Applies a state text: the sizes, and a saved mark of 1 as a toggle of the second pane.
    void ApplyStateText(const QString& text);

    // Reads this splitter's entry (and then its nested splitters') from the layout profile.
    void LoadState();
    // Writes this splitter's entry and its nested splitters'.
    void SaveState() const;

private:
    // The pane sizes: the real ones once the splitter is on screen, before that the ones
    // last applied.
    QList<int> CurrentSizes() const;
    void ApplySizes(int first, int second);

    int m_number;
    bool m_hidden = false;
    int m_hiddenSize = -1;
    int m_applied[2] = {-1, -1};
    CVelaSplitter* m_nested[2] = {nullptr, nullptr};
};
