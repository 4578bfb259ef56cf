// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <chrono>

// The time one parse of an untrusted file may take. The readers' input layers ask it before
// every read and give up once it has passed, so a parser that loops over a damaged file stops
// with an error instead of hanging the import.
class KVParseDeadline {
public:
    using Clock = std::chrono::steady_clock;

    // Starts with the process-wide limit.
    KVParseDeadline();
    void restart();
    // True once the limit has passed, and from then on. The clock is read every 64th call only,
    // as parsers may ask once per byte.
    bool expired();
    bool hasExpired() const { return m_expired; }

    static std::chrono::milliseconds limit();
    // For tests, which need a short limit; every parse started afterwards uses it.
    static void setLimit(std::chrono::milliseconds limit);

private:
    Clock::time_point m_end;
    unsigned m_calls = 0;
    bool m_expired = false;
};
