#include "common/ResponsiveCall.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <memory>

namespace vz {

namespace {

// The calls under way on the user-interface thread (they may nest: a timer run by one
// call's event loop may start another).
int g_running = 0;

class RunningCall {
public:
    RunningCall() { ++g_running; }
    ~RunningCall() { --g_running; }
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;
};

}  // namespace

void RunResponsive(const std::function<void()>& work) {
    if (QCoreApplication::instance() == nullptr ||
        QThread::currentThread() != QCoreApplication::instance()->thread()) {
        work();
        return;
    }
    RunningCall running;
    QEventLoop loop;
    std::unique_ptr<QThread> thread(QThread::create(work));
    QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit,
                     Qt::QueuedConnection);
    thread->start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    thread->wait();
}

bool ResponsiveCallRunning() {
    return g_running > 0;
}

}  // namespace vz
