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

#if defined(__SANITIZE_THREAD__)
// Qt is not built for ThreadSanitizer and locks its event queue and thread pool with futexes the
// sanitizer cannot see, so every hand-over through them looks like a race: Qt's own memory work,
// the posting of work to the main thread, and the pooled image conversions are set aside. Every
// program that dispatches links this file, so tests and tools alike get the same list.
extern "C" const char *__tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6Gui.so\n"
           "race:QMetaCallEvent\n"
           "race:KVDispatchMain\n"
           "race:QThreadPool\n"
           "race:QRunnable\n"
           "race:QWaitCondition\n";
}
#endif
