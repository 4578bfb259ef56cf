// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVParseDeadline.h"

#include <atomic>

namespace {

// Long enough for a large raw file read from a slow card, far too short to look like a hang.
std::atomic<long long> limitMilliseconds{10000};

} // namespace

KVParseDeadline::KVParseDeadline() {
    restart();
}

void KVParseDeadline::restart() {
    m_end = Clock::now() + limit();
    m_calls = 0;
    m_expired = false;
}

bool KVParseDeadline::expired() {
    if (m_expired)
        return true;
    if ((m_calls++ & 63u) == 0 && Clock::now() >= m_end)
        m_expired = true;
    return m_expired;
}

std::chrono::milliseconds KVParseDeadline::limit() {
    return std::chrono::milliseconds(limitMilliseconds.load());
}

void KVParseDeadline::setLimit(std::chrono::milliseconds limit) {
    limitMilliseconds = limit.count();
}
