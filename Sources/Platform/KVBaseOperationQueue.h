// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVOperation.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// Runs operations on worker threads of its own, at most maxConcurrentOperationCount at once.
// Observable key: "operationCount" (operations added and not yet finished), announced on the
// thread that changed it.
class KVBaseOperationQueue : public KVObservable {
public:
    KVBaseOperationQueue();
    ~KVBaseOperationQueue() override;

    virtual void addOperation(const KVOperationRef &operation);
    void setMaxConcurrentOperationCount(int count);
    int maxConcurrentOperationCount() const;
    void setSuspended(bool suspended);
    bool isSuspended() const;
    // Cancels every operation not yet finished; queued ones then finish without running.
    virtual void cancelAllOperations();
    // Blocks until no operation is left. Never call it while the queue is suspended with
    // operations waiting.
    void waitUntilAllOperationsAreFinished();
    // Blocks until no operation is running; waiting ones stay waiting. Safe while suspended.
    void waitUntilRunningOperationsAreFinished();
    int operationCount() const;

    static int activeProcessorCount();

private:
    void workerLoop();
    void growWorkersLocked();

    mutable std::mutex m_mutex;
    std::condition_variable m_workCondition;
    std::condition_variable m_idleCondition;
    std::deque<KVOperationRef> m_pending;
    std::vector<KVOperationRef> m_running;
    std::vector<std::thread> m_workers;
    int m_maxConcurrent;
    int m_idleWorkers = 0;
    int m_announcing = 0; // workers between finishing an operation and announcing the count
    bool m_suspended = false;
    bool m_stopping = false;
};
