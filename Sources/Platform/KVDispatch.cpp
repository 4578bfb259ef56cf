// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDispatch.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <deque>
#include <mutex>

namespace {

// Work waits here, under a lock of our own, and Qt's event only says "there is work": what is
// handed between threads then never depends on the event queue's own locking.
struct MainQueue {
    std::mutex mutex;
    std::deque<std::function<void()>> work;
};

MainQueue &mainQueue() {
    // Never destroyed: worker threads may still post while statics go away at exit.
    static MainQueue *queue = new MainQueue;
    return *queue;
}

void runPostedWork() {
    MainQueue &queue = mainQueue();
    for (;;) {
        std::function<void()> next;
        {
            std::lock_guard lock(queue.mutex);
            if (queue.work.empty())
                return;
            next = std::move(queue.work.front());
            queue.work.pop_front();
        }
        next();
    }
}

} // namespace

void KVDispatchMain(std::function<void()> work) {
    QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return;
    {
        MainQueue &queue = mainQueue();
        std::lock_guard lock(queue.mutex);
        queue.work.push_back(std::move(work));
    }
    QMetaObject::invokeMethod(application, &runPostedWork, Qt::QueuedConnection);
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
