// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVInvocationOperation.h"

KVInvocationOperation::KVInvocationOperation(std::function<QVariant()> invocation)
    : m_invocation(std::move(invocation)) {
}

QVariant KVInvocationOperation::result() const {
    std::lock_guard lock(m_resultMutex);
    return m_result;
}

void KVInvocationOperation::main() {
    QVariant value = m_invocation();
    std::lock_guard lock(m_resultMutex);
    m_result = std::move(value);
}
