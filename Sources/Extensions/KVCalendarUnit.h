// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>

// The units the timeline axis is divided in. The six plain units carry the calendar's own unit
// bits; the multi-step units sit on high bits the calendar never uses, so that a value alone says
// which kind it is. No other value is valid.
enum KVCalendarUnit : std::uint64_t {
    KVCalendarUnitYear = 4,
    KVCalendarUnitMonth = 8,
    KVCalendarUnitDay = 16,
    KVCalendarUnitHour = 32,
    KVCalendarUnitMinute = 64,
    KVCalendarUnitSecond = 128,
    KVCalendarUnitDecade = 0x1000000,
    KVCalendarUnitSixHours = 0x2000000,
    KVCalendarUnitTenMinutes = 0x4000000,
    KVCalendarUnitTenSeconds = 0x8000000,
};
