// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCalendarUnit.h"
#include "KVDateComponents.h"

#include <QDateTime>

// Calendar arithmetic of the timeline axis: the proleptic Gregorian calendar in the process's time
// zone, so that unit boundaries are local midnights and full hours, and the days around a
// daylight-saving change are 23 and 25 hours long.
namespace KVCalendarExtensions {
// The size of one step of the unit (Decade: 10 years, SixHours: 6 hours ...). Any value that is
// not one of the ten units is a programming error and stops the program.
KVDateComponents oneComponentForKVCalendarUnit(KVCalendarUnit unit);

// The span of the unit that holds forDate: its start, in local time, and its length in seconds.
// False, with nothing written, for a value that is not one of the ten units. Both pointers must
// be valid.
bool rangeOfKVCalendarUnit(KVCalendarUnit unit, QDateTime *startDate, double *interval,
                           const QDateTime &forDate);

// Calendar addition. Years, months and days keep the local time of day (a month after 31 January
// is the end of February, a day after noon is noon across a daylight-saving change); hours,
// minutes and seconds are elapsed time, so that the repeated hour of an autumn night is a step of
// its own.
QDateTime dateByAddingComponents(const KVDateComponents &components, const QDateTime &date);
} // namespace KVCalendarExtensions
