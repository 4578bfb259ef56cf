// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCalendarExtensions.h"

#include "KVAssert.h"

#include <QDate>
#include <QTime>

namespace KVCalendarExtensions {

namespace {

// The latest instant at or before `date` whose local wall time is a whole multiple of `step`
// seconds (a full hour, a full minute ...). It is cut in the date's own UTC offset, so that in the
// hour an autumn night repeats each occurrence keeps its own start.
QDateTime floorToLocal(const QDateTime &date, qint64 step) {
    const qint64 offset = qint64(date.offsetFromUtc()) * 1000;
    const qint64 wall = date.toMSecsSinceEpoch() + offset;
    qint64 remainder = wall % (step * 1000);
    if (remainder < 0)
        remainder += step * 1000;
    return QDateTime::fromMSecsSinceEpoch(wall - remainder - offset).toLocalTime();
}

} // namespace

KVDateComponents oneComponentForKVCalendarUnit(KVCalendarUnit unit) {
    switch (unit) {
    case KVCalendarUnitYear:
        return {.year = 1};
    case KVCalendarUnitMonth:
        return {.month = 1};
    case KVCalendarUnitDay:
        return {.day = 1};
    case KVCalendarUnitHour:
        return {.hour = 1};
    case KVCalendarUnitMinute:
        return {.minute = 1};
    case KVCalendarUnitSecond:
        return {.second = 1};
    case KVCalendarUnitDecade:
        return {.year = 10};
    case KVCalendarUnitSixHours:
        return {.hour = 6};
    case KVCalendarUnitTenMinutes:
        return {.minute = 10};
    case KVCalendarUnitTenSeconds:
        return {.second = 10};
    }
    KV_ASSERT(0, "+[NSCalendar(KVExtensions) oneComponentForKVCalendarUnit:]");
}

bool rangeOfKVCalendarUnit(KVCalendarUnit unit, QDateTime *startDate, double *interval,
                           const QDateTime &forDate) {
    const QDateTime date = forDate.toLocalTime();
    const QDate day = date.date();
    QDateTime start;
    QDateTime end;
    switch (unit) {
    case KVCalendarUnitYear:
        start = QDate(day.year(), 1, 1).startOfDay();
        end = QDate(day.year() + 1, 1, 1).startOfDay();
        break;
    case KVCalendarUnitMonth:
        start = QDate(day.year(), day.month(), 1).startOfDay();
        end = start.date().addMonths(1).startOfDay();
        break;
    case KVCalendarUnitDay:
        // Local midnights: 23 hours in spring, 25 in autumn.
        start = day.startOfDay();
        end = day.addDays(1).startOfDay();
        break;
    case KVCalendarUnitHour:
        start = floorToLocal(date, 3600);
        end = start.addSecs(3600);
        break;
    case KVCalendarUnitMinute:
        start = floorToLocal(date, 60);
        end = start.addSecs(60);
        break;
    case KVCalendarUnitSecond:
        start = floorToLocal(date, 1);
        end = start.addSecs(1);
        break;
    case KVCalendarUnitDecade: {
        const int back = day.year() % 10;
        start = QDate(day.year() - back, 1, 1).startOfDay();
        // Measured from the date moved back, not from the decade's start: the two differ by a
        // leap day when the date lies after February, and the axis has always used this length.
        const QDateTime moved = date.addYears(-back);
        end = start.addMSecs(moved.msecsTo(moved.addYears(10)));
        break;
    }
    case KVCalendarUnitSixHours: {
        // Counted on the wall clock, so that on the day of a daylight-saving change the span still
        // starts at 0, 6, 12 or 18 o'clock and not an hour off.
        const int hour = date.time().hour() / 6 * 6;
        start = hour == 0 ? day.startOfDay() : QDateTime(day, QTime(hour, 0));
        end = start.addSecs(6 * 3600);
        break;
    }
    case KVCalendarUnitTenMinutes:
        start = floorToLocal(date, 60).addSecs(-(date.time().minute() % 10) * 60);
        end = start.addSecs(600);
        break;
    case KVCalendarUnitTenSeconds:
        // Not cut to the full second: a fraction of a second in the date stays in the start.
        start = date.addSecs(-(date.time().second() % 10));
        end = start.addSecs(10);
        break;
    default:
        return false;
    }
    *startDate = start;
    *interval = double(start.msecsTo(end)) / 1000.0;
    return true;
}

QDateTime dateByAddingComponents(const KVDateComponents &components, const QDateTime &date) {
    // Larger fields first, each clamped to its month on its own, as the calendar does it.
    return date.toLocalTime()
        .addYears(components.year)
        .addMonths(components.month)
        .addDays(components.day)
        .addSecs(qint64(components.hour) * 3600 + qint64(components.minute) * 60 +
                 components.second);
}

} // namespace KVCalendarExtensions
