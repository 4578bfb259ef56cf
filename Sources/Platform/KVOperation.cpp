// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVOperation.h"

#include "KVKeyPath.h"

void KVOperation::start() {
    if (m_started.exchange(true))
        return;
    if (!isCancelled()) {
        m_executing = true;
        main();
        m_executing = false;
    }
    {
        std::lock_guard lock(m_mutex);
        m_finished = true;
    }
    m_finishedCondition.notify_all();
    didChangeValueForKey(KVKeyPath::isFinished);
}

void KVOperation::cancel() {
    m_cancelled = true;
}

bool KVOperation::isFinished() const {
    std::lock_guard lock(m_mutex);
    return m_finished;
}

void KVOperation::waitUntilFinished() {
    std::unique_lock lock(m_mutex);
    m_finishedCondition.wait(lock, [this] { return m_finished; });
}
