#pragma once
// One run of a finder as a job: the engine walks on the job's worker thread while the
// modeless "Find" window shows the item being processed and the hits flow into the result
// list in batches. "&Stop" (or Escape) leads to the question "Interrupt the find?": Yes ends
// the search keeping the rows found so far, No goes on where it was.

#include <QDialog>
#include <QString>
#include <functional>

#include "search/Finder.h"

class CVelaListFiles;
class QLineEdit;
class QPushButton;

// The "Find" progress window: "Processing:", the current item, "&Stop". Escape and the
// window's close button ask to stop as "&Stop" does; only the end of the search closes it.
class CFindProgress : public QDialog {
    Q_OBJECT
public:
    explicit CFindProgress(QWidget* parent = nullptr);

    void SetItem(const QString& text);
    QString Item() const;
    QPushButton* StopButton() const { return m_stop; }

    void reject() override;

signals:
    void StopRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QLineEdit* m_item;
    QPushButton* m_stop;
};

namespace vz::finder {

struct SearchRequest {
    vz::search::FindOptions options;
    QString startPath;
    bool archiveFinder = true;  // the Archive Finder (else the File Finder)
};

// Told on the user-interface thread when the search has ended (the window is gone and every
// row is in the list): the number of hits.
using SearchEnded = std::function<void(int hits)>;

// Empties `list` (rows and sort state) and starts the search; false, and nothing done, while
// another job runs.
bool StartSearch(QWidget* parent, CVelaListFiles* list, const SearchRequest& request,
                 SearchEnded ended);
// The same request as the running search's "&Stop" (the busy check of a close); false when
// no search runs.
bool RequestStopOfSearch();

}  // namespace vz::finder
