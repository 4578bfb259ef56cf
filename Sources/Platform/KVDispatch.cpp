#include "KVDispatch.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

void KVDispatchMain(std::function<void()> work) {
    QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return;
    QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
}

void KVDispatchMainAfter(double seconds, std::function<void()> work) {
    const int milliseconds = static_cast<int>(seconds * 1000.0);
    KVDispatchMain([milliseconds, work = std::move(work)]() mutable {
        QTimer::singleShot(milliseconds, QCoreApplication::instance(), std::move(work));
    });
}

bool KVIsMainThread() {
    QCoreApplication *application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}
