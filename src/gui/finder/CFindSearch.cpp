#include "finder/CFindSearch.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <memory>
#include <mutex>
#include <vector>

#include "common/CJob.h"
#include "finder/CVelaListFiles.h"
#include "platform/FileSystem.h"

using vz::search::CFileInfo;

// ---- The progress window ----

CFindProgress::CFindProgress(QWidget* parent)
    : QDialog(parent),
      m_item(new QLineEdit(this)),
      m_stop(new QPushButton(QStringLiteral("&Stop"), this)) {
    setWindowTitle(QStringLiteral("Find"));
    setModal(false);
    m_item->setReadOnly(true);
    m_item->setMinimumWidth(420);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Processing:"), this));
    layout->addWidget(m_item);
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(m_stop, QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    connect(m_stop, &QPushButton::clicked, this, &CFindProgress::StopRequested);
}

void CFindProgress::SetItem(const QString& text) {
    m_item->setText(vz::platform::DisplayPath(text));
    m_item->setCursorPosition(0);
}

QString CFindProgress::Item() const {
    return m_item->text();
}

void CFindProgress::reject() {
    emit StopRequested();
}

void CFindProgress::closeEvent(QCloseEvent* event) {
    event->ignore();
    emit StopRequested();
}

// ---- The search ----

namespace vz::finder {

namespace {

// The window of the search under way (one at a time: the busy guard).
QPointer<CFindProgress>& RunningWindow() {
    static QPointer<CFindProgress> window;
    return window;
}

// How often the window shows the latest item and the list takes the waiting rows.
constexpr int kBatchMs = 60;

// What the worker leaves for the user-interface thread: the latest item and the hits not yet
// in the list.
struct SharedBatch {
    std::mutex mutex;
    QString item;
    bool itemChanged = false;
    std::vector<CFileInfo> rows;
    int hits = 0;
};

class CBatchingObserver : public vz::search::IFindObserver {
public:
    CBatchingObserver(SharedBatch& batch, CJob& job) : m_batch(batch), m_job(job) {}

    void Processing(const QString& text) override {
        const std::lock_guard<std::mutex> lock(m_batch.mutex);
        m_batch.item = text;
        m_batch.itemChanged = true;
    }
    void Found(const CFileInfo& record) override {
        const std::lock_guard<std::mutex> lock(m_batch.mutex);
        m_batch.rows.push_back(record);
    }
    // The job asks "Interrupt the find?" after a Stop; a Yes ends the search.
    bool StopRequested() override { return m_job.Observer().StopRequested(); }

private:
    SharedBatch& m_batch;
    CJob& m_job;
};

void MoveBatch(SharedBatch& batch, CVelaListFiles* list, CFindProgress* window) {
    std::vector<CFileInfo> rows;
    QString item;
    bool itemChanged = false;
    {
        const std::lock_guard<std::mutex> lock(batch.mutex);
        rows.swap(batch.rows);
        item = batch.item;
        itemChanged = std::exchange(batch.itemChanged, false);
    }
    if (list != nullptr) {
        list->ListModel()->Append(std::move(rows));
    }
    if (window != nullptr && itemChanged) {
        window->SetItem(item);
    }
}

}  // namespace

bool StartSearch(QWidget* parent, CVelaListFiles* list, const SearchRequest& request,
                 SearchEnded ended) {
    if (CJob::Busy() || list == nullptr) {
        return false;
    }
    list->ClearRows();
    list->ResetSort();
    list->SetSortingEnabled(false);

    auto batch = std::make_shared<SharedBatch>();
    QPointer<CVelaListFiles> target(list);
    QPointer<CFindProgress> window(new CFindProgress(parent));
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    auto* timer = new QTimer(window);
    timer->setInterval(kBatchMs);
    QObject::connect(timer, &QTimer::timeout, window,
                     [batch, target, window] { MoveBatch(*batch, target, window); });

    CJob::Setup setup(parent, {}, QStringLiteral("Interrupt the find?"));
    auto work = [batch, request](CJob& job) {
        CBatchingObserver observer(*batch, job);
        vz::search::CFinder finder(request.options, observer);
        if (request.archiveFinder) {
            finder.FindArchives(request.startPath);
        } else {
            finder.FindFiles(request.startPath);
        }
        const std::lock_guard<std::mutex> lock(batch->mutex);
        batch->hits = finder.HitCount();
    };
    auto done = [batch, target, window, ended = std::move(ended)](CJob&) {
        MoveBatch(*batch, target, nullptr);
        if (window != nullptr) {
            window->hide();
            window->deleteLater();
        }
        int hits = 0;
        {
            const std::lock_guard<std::mutex> lock(batch->mutex);
            hits = batch->hits;
        }
        if (ended) {
            ended(hits);
        }
    };
    CJob* job = CJob::Start(setup, std::move(work), std::move(done));
    const QPointer<CJob> running(job);
    QObject::connect(window, &CFindProgress::StopRequested, job, [running] {
        if (running != nullptr) {
            running->RequestStop();
        }
    });
    RunningWindow() = window;
    if (window != nullptr) {
        window->show();
        timer->start();
    }
    return true;
}

bool RequestStopOfSearch() {
    CFindProgress* window = RunningWindow();
    if (window == nullptr) {
        return false;
    }
    emit window->StopRequested();
    return true;
}

}  // namespace vz::finder
