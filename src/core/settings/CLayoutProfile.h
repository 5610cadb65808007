#pragma once
// The window-layout profile: QSettings("Vela Systems", "velazip") in the native format.
// It holds what is not in velazip.ini: the visual style, the splitter positions, the
// column layouts of lists and the main window's workspace (its place, size and state).

#include <QByteArray>
#include <QString>
#include <QStringList>

class CLayoutProfile {
public:
    static constexpr int kDefaultApplicationLook = 218;

    // The visual style command id (210 to 220); 218 when unset.
    static int ApplicationLook();
    static void SetApplicationLook(int id);

    // Section "SplitterPos", entry "View_<number>": "%d %d %d %d" (hidden-column mark,
    // first pane size, hidden-row mark, second pane size); "-1 150 -1 150" when unset.
    static QString SplitterPos(int splitterNumber);
    static void SetSplitterPos(int splitterNumber, const QString& value);

    // Column layouts of lists ("ArchiveFinder_Columns" and the like), as integer lists.
    static QList<int> ColumnWidths(const QString& listName);
    static void SetColumnWidths(const QString& listName, const QList<int>& widths);

    // Section "Workspace": the main window's geometry and its window state, as the window
    // saves them (QWidget::saveGeometry, QMainWindow::saveState); empty when unset.
    static QByteArray WindowGeometry();
    static void SetWindowGeometry(const QByteArray& geometry);
    static QByteArray WindowState();
    static void SetWindowState(const QByteArray& state);
};
