#pragma once
// Every long piece of work of the window (listing an archive level, unpacking, packing and
// adding, the commit of an edit, copying, finding) runs as a job: its core work runs on a
// worker thread, and it talks to the user-interface thread only through the job. The job's
// observer carries progress (percent and current name) to the progress window, items added
// to the tree that shows them, and questions (overwrite, password, "Interrupt ...?"): a
// question blocks the worker until the dialog on the user-interface thread is answered.
//
// One busy guard: while any job runs, or a chain of jobs (the paths of one drop) holds it,
// Busy() is true, and the window refuses to close, Options, drops and every edit.
//
// Stop: the progress window's "&Stop" (or the busy check of a close) marks the job; the
// worker takes it up at its next poll, which the core makes between blocks and entries,
// and asks the job's interrupt question. A job without a question ends at once.

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "common/CPackProgress.h"
#include "common/OperationObserver.h"

class QThread;
class QTimer;
class QWidget;

class CJob : public QObject {
    Q_OBJECT
public:
    struct Setup {
        Setup(QWidget* parentWidget = nullptr, QString windowTitle = {}, QString question = {})
            : parent(parentWidget),
              title(std::move(windowTitle)),
              interruptQuestion(std::move(question)) {}
        QWidget* parent = nullptr;  // the parent of the progress window and the questions
        QString title;              // the progress window's title; empty: no window
        QString interruptQuestion;  // asked after Stop; empty: Stop ends the job at once
        // The window shows only when the work takes longer than this.
        int windowDelayMs = 0;
    };
    // The job's work, on the worker thread; the job is its observer and its way to the
    // user-interface thread.
    using Work = std::function<void(CJob& job)>;
    // What follows the work, on the user-interface thread (the progress window is gone).
    using Done = std::function<void(CJob& job)>;

    // How long a waited-for job runs before its progress window shows.
    static constexpr int kQuickMs = 150;

    // Starts `work` on a worker thread and returns at once; `done` runs when it has ended.
    static CJob* Start(const Setup& setup, Work work, Done done = {});
    // Runs `work` on a worker thread and returns when it has ended. The user-interface
    // thread waits a moment for it (kQuickMs); work that takes longer shows its progress
    // window as a modal dialog with "&Stop" until it ends. True unless it was stopped. A
    // job without a window is simply waited for: its work must not ask anything.
    static bool Run(const Setup& setup, const Work& work);

    // The busy guard: a job runs, or a chain of jobs holds the guard.
    static bool Busy();
    // Holds the busy guard for as long as a copy of the token lives.
    using BusyToken = std::shared_ptr<void>;
    static BusyToken HoldBusy();
    // Asks every job that has a progress window to stop, as its "&Stop" does (the busy
    // check of a close); false when no job runs.
    static bool RequestStopOfRunning();
    // Ends every job without asking (questions are answered with Cancel) and waits for
    // them: the window is going away.
    static void AbortAll();

    // Told of every job as it starts, on the user-interface thread (tests press Stop through
    // it); an empty hook removes it. Returns the previous hook.
    using StartHook = std::function<void(CJob& job)>;
    static StartHook SetStartHook(StartHook hook);

    // ---- On the worker thread ----
    IOperationObserver& Observer();
    // Runs `onUi` on the user-interface thread and waits for it; false (and `onUi` not run)
    // when the job was aborted first.
    bool OnUi(const std::function<void()>& onUi);
    // Tells `target` of each added item on the user-interface thread, in order, without
    // waiting; `target` must outlive the job.
    IItemListener* UiListener(IItemListener* target);

    // ---- Either thread ----
    // The user answered Yes to the interrupt question (or pressed Stop on a job without
    // one), or the job was aborted.
    bool Cancelled() const { return m_cancelled.load(); }
    // What the core reported about refused or failed items, one line each.
    QString Reasons() const;

    CPackProgress* ProgressWindow() const { return m_window; }
    // The same request as the progress window's "&Stop".
    void RequestStop();

signals:
    void Finished();

private:
    class JobObserver;
    class Forwarder;
    struct UiCall;
    explicit CJob(const Setup& setup);
    ~CJob() override;
    void Launch(Work work);
    void OnThreadFinished();
    void ShowWindow();
    void UpdateWindow();
    bool AskInterrupt();

    Setup m_setup;
    Done m_done;
    QThread* m_thread = nullptr;
    QPointer<CPackProgress> m_window;
    QTimer* m_refresh = nullptr;
    std::unique_ptr<JobObserver> m_observer;
    std::unique_ptr<Forwarder> m_forwarder;
    std::atomic<bool> m_stopPressed{false};
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_aborted{false};
    bool m_ended = false;
    bool m_waitedWithoutWindow = false;

    mutable std::mutex m_mutex;  // guards what follows
    int m_percent = 0;
    QString m_name;
    bool m_progressChanged = false;
    QStringList m_reasons;
};
