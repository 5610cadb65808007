#include "common/ResponsiveCall.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <memory>

namespace vz {

void RunResponsive(const std::function<void()>& work) {
    if (QCoreApplication::instance() == nullptr ||
        QThread::currentThread() != QCoreApplication::instance()->thread()) {
        work();
        return;
    }
    QEventLoop loop;
    std::unique_ptr<QThread> thread(QThread::create(work));
    QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit,
                     Qt::QueuedConnection);
    thread->start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    thread->wait();
}

}  // namespace vz
