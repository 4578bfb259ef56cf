// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVOperation.h"

#include <QVariant>

#include <functional>

// Runs one callable on the queue and keeps what it returned, for whoever observes "isFinished".
class KVInvocationOperation : public KVOperation {
public:
    explicit KVInvocationOperation(std::function<QVariant()> invocation);

    // Valid once the operation has finished; null when it was cancelled before it ran.
    QVariant result() const;

protected:
    void main() override;

private:
    std::function<QVariant()> m_invocation;
    mutable std::mutex m_resultMutex;
    QVariant m_result;
};
