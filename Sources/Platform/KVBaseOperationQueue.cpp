// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBaseOperationQueue.h"

#include "KVKeyPath.h"

#include <algorithm>

KVBaseOperationQueue::KVBaseOperationQueue()
    : m_maxConcurrent(activeProcessorCount()) {
}

KVBaseOperationQueue::~KVBaseOperationQueue() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        for (const auto &operation : m_pending)
            operation->cancel();
        for (const auto &operation : m_running)
            operation->cancel();
        m_pending.clear();
    }
    m_workCondition.notify_all();
    for (std::thread &worker : m_workers)
        worker.join();
}

int KVBaseOperationQueue::activeProcessorCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

void KVBaseOperationQueue::addOperation(const KVOperationRef &operation) {
    if (!operation)
        return;
    {
        std::lock_guard lock(m_mutex);
        m_pending.push_back(operation);
        growWorkersLocked();
    }
    m_workCondition.notify_one();
    didChangeValueForKey(KVKeyPath::operationCount);
}

void KVBaseOperationQueue::growWorkersLocked() {
    // Workers are made lazily: a queue that never runs anything costs no thread.
    while (static_cast<int>(m_workers.size()) < m_maxConcurrent &&
           static_cast<int>(m_pending.size()) > m_idleWorkers) {
        m_workers.emplace_back([this] { workerLoop(); });
        ++m_idleWorkers;
    }
}

void KVBaseOperationQueue::workerLoop() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_workCondition.wait(lock, [this] {
            return m_stopping || (!m_suspended && !m_pending.empty() &&
                                  static_cast<int>(m_running.size()) < m_maxConcurrent);
        });
        if (m_stopping)
            return;
        KVOperationRef operation = m_pending.front();
        m_pending.pop_front();
        m_running.push_back(operation);
        --m_idleWorkers;
        lock.unlock();

        operation->start();

        lock.lock();
        m_running.erase(std::find(m_running.begin(), m_running.end(), operation));
        ++m_idleWorkers;
        ++m_announcing;
        lock.unlock();
        didChangeValueForKey(KVKeyPath::operationCount);
        m_workCondition.notify_one();
        lock.lock();
        // Waiters are released only once every worker has finished announcing its count, so
        // nothing calls an observer after waitUntilAllOperationsAreFinished has returned.
        --m_announcing;
        if (m_running.empty() && m_announcing == 0)
            m_idleCondition.notify_all();
    }
}

void KVBaseOperationQueue::setMaxConcurrentOperationCount(int count) {
    {
        std::lock_guard lock(m_mutex);
        m_maxConcurrent = std::max(1, count);
        growWorkersLocked();
    }
    m_workCondition.notify_all();
}

int KVBaseOperationQueue::maxConcurrentOperationCount() const {
    std::lock_guard lock(m_mutex);
    return m_maxConcurrent;
}

void KVBaseOperationQueue::setSuspended(bool suspended) {
    {
        std::lock_guard lock(m_mutex);
        m_suspended = suspended;
    }
    m_workCondition.notify_all();
}

bool KVBaseOperationQueue::isSuspended() const {
    std::lock_guard lock(m_mutex);
    return m_suspended;
}

void KVBaseOperationQueue::cancelAllOperations() {
    std::lock_guard lock(m_mutex);
    for (const auto &operation : m_pending)
        operation->cancel();
    for (const auto &operation : m_running)
        operation->cancel();
}

void KVBaseOperationQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock lock(m_mutex);
    m_idleCondition.wait(
        lock, [this] { return m_pending.empty() && m_running.empty() && m_announcing == 0; });
}

void KVBaseOperationQueue::waitUntilRunningOperationsAreFinished() {
    std::unique_lock lock(m_mutex);
    m_idleCondition.wait(lock, [this] { return m_running.empty() && m_announcing == 0; });
}

int KVBaseOperationQueue::operationCount() const {
    std::lock_guard lock(m_mutex);
    return static_cast<int>(m_pending.size() + m_running.size());
}
