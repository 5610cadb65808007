#include "common/CJob.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <condition_variable>
#include <utility>
#include <vector>

#include "common/CConfirmReplace.h"
#include "common/CPackProgress.h"
#include "common/CPasswordDialog.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "common/ProductTexts.h"

namespace {

// The jobs under way, and the holders of the busy guard that are not jobs.
std::vector<CJob*>& RunningJobs() {
    static std::vector<CJob*> jobs;
    return jobs;
}
int g_busyHolds = 0;
CJob::StartHook& TheStartHook() {
    static CJob::StartHook hook;
    return hook;
}

bool OnUiThread() {
    return QCoreApplication::instance() == nullptr ||
           QThread::currentThread() == QCoreApplication::instance()->thread();
}

// How often the progress window shows the latest report.
constexpr int kRefreshMs = 50;

}  // namespace

// A call waiting on the user-interface thread, and the worker waiting for it.
struct CJob::UiCall {
    std::mutex mutex;
    std::condition_variable changed;
    bool running = false;
    bool done = false;
    bool abandoned = false;
};

class CJob::JobObserver : public IOperationObserver {
public:
    explicit JobObserver(CJob& job) : m_job(job) {}

    void Progress(int percent, const QString& currentName) override {
        const std::lock_guard<std::mutex> lock(m_job.m_mutex);
        m_job.m_percent = percent;
        if (!currentName.isEmpty()) {
            m_job.m_name = currentName;
        }
        m_job.m_progressChanged = true;
    }

    bool StopRequested() override {
        if (m_job.m_cancelled.load()) {
            return true;
        }
        if (!m_job.m_stopPressed.exchange(false)) {
            return false;
        }
        if (m_job.AskInterrupt()) {
            m_job.m_cancelled = true;
        }
        return m_job.m_cancelled.load();
    }

    ReplaceAnswer AskOverwrite(const OverwriteQuestion& question) override {
        ReplaceAnswer answer = ReplaceAnswer::Cancel;
        m_job.OnUi([&] {
            CConfirmReplace dialog(m_job.m_setup.parent);
            dialog.SetQuestion(question);
            answer = CConfirmReplace::AnswerOf(vz::ExecModal(dialog));
        });
        return answer;
    }

    bool AskPassword(const QString& archivePath, const QString& entryPath, bool retry,
                     QString* password) override {
        bool given = false;
        m_job.OnUi([&] {
            CPasswordDialog dialog(m_job.m_setup.parent);
            dialog.SetQuestion(archivePath, entryPath, retry);
            given = vz::ExecModal(dialog) == QDialog::Accepted;
            if (given && password != nullptr) {
                *password = dialog.Password();
            }
        });
        return given;
    }

    void Report(const QString& message) override {
        const std::lock_guard<std::mutex> lock(m_job.m_mutex);
        m_job.m_reasons << message;
    }

private:
    CJob& m_job;
};

class CJob::Forwarder : public IItemListener {
public:
    Forwarder(CJob& job, IItemListener* target) : m_job(job), m_target(target) {}
    void ItemAdded(const QString& fullPath) override {
        IItemListener* target = m_target;
        QMetaObject::invokeMethod(
            &m_job, [target, fullPath] { target->ItemAdded(fullPath); }, Qt::QueuedConnection);
    }

private:
    CJob& m_job;
    IItemListener* m_target;
};

CJob::CJob(const Setup& setup) : m_setup(setup), m_observer(std::make_unique<JobObserver>(*this)) {}

CJob::~CJob() = default;

IOperationObserver& CJob::Observer() {
    return *m_observer;
}

CJob* CJob::Start(const Setup& setup, Work work, Done done) {
    auto* job = new CJob(setup);
    job->m_done = std::move(done);
    job->Launch(std::move(work));
    if (job->m_window != nullptr) {
        if (setup.windowDelayMs <= 0) {
            job->ShowWindow();
        } else {
            QTimer::singleShot(setup.windowDelayMs, job, [job] {
                if (!job->m_ended) {
                    job->ShowWindow();
                }
            });
        }
    }
    return job;
}

bool CJob::Run(const Setup& setup, const Work& work) {
    bool stopped = false;
    CJob* job = new CJob(setup);
    job->m_done = [&stopped](CJob& ended) { stopped = ended.Cancelled(); };
    job->Launch(work);
    // Most work ends within a moment: no window then. The worker may be waiting for the
    // user-interface thread (a question), which the modal window below then serves.
    if (job->m_thread->wait(QDeadlineTimer(kQuickMs))) {
        job->OnThreadFinished();
        return !stopped;
    }
    if (job->m_window == nullptr) {
        // No window: nothing may be asked, and the work is short by its nature.
        job->m_waitedWithoutWindow = true;
        job->m_thread->wait();
        job->OnThreadFinished();
        return !stopped;
    }
    CPackProgress* window = job->m_window;
    window->setModal(true);
    connect(job, &CJob::Finished, window, [window] { window->done(0); });
    job->UpdateWindow();
    window->exec();
    return !stopped;
}

void CJob::Launch(Work work) {
    RunningJobs().push_back(this);
    if (!m_setup.title.isEmpty()) {
        m_window = new CPackProgress(m_setup.parent);
        m_window->setWindowTitle(m_setup.title);
        connect(m_window, &CPackProgress::StopRequested, this, &CJob::RequestStop);
        m_refresh = new QTimer(this);
        m_refresh->setInterval(kRefreshMs);
        connect(m_refresh, &QTimer::timeout, this, &CJob::UpdateWindow);
        m_refresh->start();
    }
    if (TheStartHook()) {
        TheStartHook()(*this);
    }
    m_thread = QThread::create([this, work = std::move(work)] { work(*this); });
    m_thread->setParent(this);
    connect(m_thread, &QThread::finished, this, &CJob::OnThreadFinished, Qt::QueuedConnection);
    m_thread->start();
}

void CJob::OnThreadFinished() {
    if (m_ended) {
        return;
    }
    m_ended = true;
    m_thread->wait();
    auto& jobs = RunningJobs();
    jobs.erase(std::remove(jobs.begin(), jobs.end(), this), jobs.end());
    if (m_refresh != nullptr) {
        m_refresh->stop();
    }
    if (m_window != nullptr) {
        m_window->hide();
        m_window->deleteLater();
    }
    emit Finished();
    if (m_done) {
        m_done(*this);
    }
    deleteLater();
}

void CJob::ShowWindow() {
    if (m_window != nullptr) {
        UpdateWindow();
        m_window->show();
    }
}

void CJob::UpdateWindow() {
    int percent = 0;
    QString name;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_progressChanged) {
            return;
        }
        m_progressChanged = false;
        percent = m_percent;
        name = m_name;
    }
    if (m_window != nullptr) {
        m_window->SetProgress(percent, name);
    }
}

bool CJob::AskInterrupt() {
    if (m_setup.interruptQuestion.isEmpty()) {
        return true;
    }
    bool yes = false;
    if (!OnUi([&] {
            yes = vz::ShowMessageBox(m_setup.parent, vz::texts::ProductName(),
                                     m_setup.interruptQuestion, QMessageBox::Question,
                                     QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
        })) {
        return true;
    }
    return yes;
}

bool CJob::OnUi(const std::function<void()>& onUi) {
    if (OnUiThread()) {
        onUi();
        return true;
    }
    // The user-interface thread is blocked in the wait for this job: nothing can answer.
    Q_ASSERT(!m_waitedWithoutWindow);
    auto call = std::make_shared<UiCall>();
    QMetaObject::invokeMethod(
        this,
        [call, &onUi] {
            {
                const std::lock_guard<std::mutex> lock(call->mutex);
                if (call->abandoned) {
                    return;
                }
                call->running = true;
            }
            onUi();
            {
                const std::lock_guard<std::mutex> lock(call->mutex);
                call->done = true;
            }
            call->changed.notify_all();
        },
        Qt::QueuedConnection);
    std::unique_lock<std::mutex> lock(call->mutex);
    while (!call->done) {
        if (m_aborted.load() && !call->running) {
            call->abandoned = true;
            return false;
        }
        call->changed.wait_for(lock, std::chrono::milliseconds(20));
    }
    return true;
}

IItemListener* CJob::UiListener(IItemListener* target) {
    if (target == nullptr) {
        return nullptr;
    }
    m_forwarder = std::make_unique<Forwarder>(*this, target);
    return m_forwarder.get();
}

QString CJob::Reasons() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reasons.join(QLatin1Char('\n'));
}

void CJob::RequestStop() {
    m_stopPressed = true;
}

CJob::StartHook CJob::SetStartHook(StartHook hook) {
    return std::exchange(TheStartHook(), std::move(hook));
}

bool CJob::Busy() {
    return !RunningJobs().empty() || g_busyHolds > 0;
}

CJob::BusyToken CJob::HoldBusy() {
    ++g_busyHolds;
    return BusyToken(nullptr, [](void*) { --g_busyHolds; });
}

bool CJob::RequestStopOfRunning() {
    bool any = false;
    for (CJob* job : RunningJobs()) {
        any = true;
        if (job->m_window != nullptr) {
            job->RequestStop();
        }
    }
    return any || g_busyHolds > 0;
}

void CJob::AbortAll() {
    // A copy: ending a job takes it off the list.
    const std::vector<CJob*> jobs = RunningJobs();
    for (CJob* job : jobs) {
        job->m_aborted = true;
        job->m_cancelled = true;
    }
    for (CJob* job : jobs) {
        job->m_thread->wait();
        job->m_done = {};
        job->OnThreadFinished();
    }
}
