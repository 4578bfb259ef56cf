// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

// A unit of work for a KVBaseOperationQueue. Observable key: "isFinished" (announced on the
// thread that ran the operation).
class KVOperation : public KVObservable {
public:
    ~KVOperation() override = default;

    // Runs main() unless the operation was cancelled first, then marks it finished. Called by
    // the queue on a worker thread; an operation runs at most once.
    void start();
    virtual void cancel();

    bool isCancelled() const { return m_cancelled.load(); }
    bool isExecuting() const { return m_executing.load(); }
    bool isFinished() const;
    void waitUntilFinished();

protected:
    virtual void main() = 0;

private:
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_started{false};
    mutable std::mutex m_mutex;
    std::condition_variable m_finishedCondition;
    bool m_finished = false;
};

using KVOperationRef = std::shared_ptr<KVOperation>;
