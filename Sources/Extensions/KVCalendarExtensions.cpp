// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCalendarExtensions.h"

#include "KVAssert.h"

#include <QDate>
#include <QTime>

namespace KVCalendarExtensions {

namespace {

// The latest wall-clock time at or before `date` that is a whole multiple of `step` seconds (a
// full hour, a full minute ...). Capture dates are wall-clock time held in UTC, so every hour
// and every day of the axis has its full length, also on a day of a daylight-saving change.
QDateTime floorToWallClock(const QDateTime &date, qint64 step) {
    const qint64 wall = date.toMSecsSinceEpoch();
    qint64 remainder = wall % (step * 1000);
    if (remainder < 0)
        remainder += step * 1000;
    return QDateTime::fromMSecsSinceEpoch(wall - remainder, Qt::UTC);
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
    const QDateTime date = forDate.toUTC();
    const QDate day = date.date();
    QDateTime start;
    QDateTime end;
    switch (unit) {
    case KVCalendarUnitYear:
        start = QDate(day.year(), 1, 1).startOfDay(Qt::UTC);
        end = QDate(day.year() + 1, 1, 1).startOfDay(Qt::UTC);
        break;
    case KVCalendarUnitMonth:
        start = QDate(day.year(), day.month(), 1).startOfDay(Qt::UTC);
        end = start.date().addMonths(1).startOfDay(Qt::UTC);
        break;
    case KVCalendarUnitDay:
        start = day.startOfDay(Qt::UTC);
        end = day.addDays(1).startOfDay(Qt::UTC);
        break;
    case KVCalendarUnitHour:
        start = floorToWallClock(date, 3600);
        end = start.addSecs(3600);
        break;
    case KVCalendarUnitMinute:
        start = floorToWallClock(date, 60);
        end = start.addSecs(60);
        break;
    case KVCalendarUnitSecond:
        start = floorToWallClock(date, 1);
        end = start.addSecs(1);
        break;
    case KVCalendarUnitDecade: {
        const int back = day.year() % 10;
        start = QDate(day.year() - back, 1, 1).startOfDay(Qt::UTC);
        // Measured from the date moved back, not from the decade's start: the two differ by a
        // leap day when the date lies after February, and the axis has always used this length.
        const QDateTime moved = date.addYears(-back);
        end = start.addMSecs(moved.msecsTo(moved.addYears(10)));
        break;
    }
    case KVCalendarUnitSixHours: {
        const int hour = date.time().hour() / 6 * 6;
        start = QDateTime(day, QTime(hour, 0), Qt::UTC);
        end = start.addSecs(6 * 3600);
        break;
    }
    case KVCalendarUnitTenMinutes:
        start = floorToWallClock(date, 60).addSecs(-(date.time().minute() % 10) * 60);
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
    return date.toUTC()
        .addYears(components.year)
        .addMonths(components.month)
        .addDays(components.day)
        .addSecs(qint64(components.hour) * 3600 + qint64(components.minute) * 60 +
                 components.second);
}

} // namespace KVCalendarExtensions
