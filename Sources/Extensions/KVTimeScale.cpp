// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimeScale.h"

#include "KVAssert.h"
#include "KVCalendarExtensions.h"

#include <QLocale>

#include <cmath>

KVTimeScale::KVTimeScale(const QDateTime &firstImageDate, double scale)
    : m_scale(scale) {
    setFirstImageDate(firstImageDate);
}

void KVTimeScale::setFirstImageDate(const QDateTime &date) {
    m_firstImageDate = date;
    m_origin = timeIntervalSince1970(date);
}

KVCalendarUnit KVTimeScale::calendarUnitForScale(double scale) {
    // Each threshold keeps one step of the unit roughly 18 to 60 pixels wide where the unit
    // changes (0.9 px/s: 54 px a minute); a scale on a threshold takes the finer unit.
    if (std::isnan(scale) || scale >= 50)
        return KVCalendarUnitSecond;
    if (scale >= 5)
        return KVCalendarUnitTenSeconds;
    if (scale >= 0.9)
        return KVCalendarUnitMinute;
    if (scale >= 0.095)
        return KVCalendarUnitTenMinutes;
    if (scale >= 0.0088)
        return KVCalendarUnitHour;
    if (scale >= 0.00021)
        return KVCalendarUnitDay;
    if (scale >= 0.00001)
        return KVCalendarUnitMonth;
    if (scale >= 0.000001)
        return KVCalendarUnitYear;
    return KVCalendarUnitDecade;
}

double KVTimeScale::dateOfVisibleRect(double visibleOriginX, double visibleWidth) const {
    return timeIntervalForX(visibleOriginX + visibleWidth * 0.5, m_scale);
}

QDateTime KVTimeScale::startScaleDateForDate(const QDateTime &date,
                                             double *lengthOfTimeUnit) const {
    QDateTime start;
    double length = 0;
    if (!KVCalendarExtensions::rangeOfKVCalendarUnit(currentCalendarUnit(), &start, &length, date))
        return {};
    if (lengthOfTimeUnit)
        *lengthOfTimeUnit = length;
    return start;
}

QDateTime KVTimeScale::startScaleDate() const {
    return startScaleDateForDate(dateWithTimeIntervalSince1970(m_origin), nullptr);
}

QString KVTimeScale::stringForDate(const QDateTime &date, KVCalendarUnit timeUnit) {
    // One formatter for the ticks of every timeline, made on first use; the format is chosen per
    // call. No locale of its own: month names follow the user's.
    static const QLocale formatter;
    const QDateTime local = date.toLocalTime();
    switch (timeUnit) {
    case KVCalendarUnitYear:
    case KVCalendarUnitDecade:
        return formatter.toString(local, u"yyyy");
    case KVCalendarUnitMonth:
        return formatter.toString(local, u"MMM");
    case KVCalendarUnitDay:
        return formatter.toString(local, u"d");
    case KVCalendarUnitHour:
    case KVCalendarUnitSixHours:
        return formatter.toString(local, u"HH'h'");
    case KVCalendarUnitMinute:
    case KVCalendarUnitTenMinutes:
        return formatter.toString(local, u"HH'h' mm'm'");
    case KVCalendarUnitSecond:
    case KVCalendarUnitTenSeconds:
        return formatter.toString(local, u"HH:mm:ss");
    }
    KV_ASSERT(0, "-[KVCameraViewDocumentView stringForDate:withTimeUnit:]");
}

QString KVTimeScale::headerStringForDate(const QDateTime &date, KVCalendarUnit viewTimeUnit) {
    // The camera rows share a formatter of their own, apart from the ticks'.
    static const QLocale formatter;
    switch (viewTimeUnit) {
    case KVCalendarUnitMonth:
        return formatter.toString(date.toLocalTime(), u"yyyy");
    case KVCalendarUnitDay:
        return formatter.toString(date.toLocalTime(), u"MMMM, yyyy");
    case KVCalendarUnitHour:
    case KVCalendarUnitMinute:
    case KVCalendarUnitSecond:
    case KVCalendarUnitSixHours:
    case KVCalendarUnitTenMinutes:
    case KVCalendarUnitTenSeconds:
        return formatter.toString(date.toLocalTime(), u"MMMM d, yyyy");
    case KVCalendarUnitYear:
    case KVCalendarUnitDecade:
        break;
    }
    // At year scale and coarser the ticks already carry the year: the header shows no date.
    return {};
}

double KVTimeScale::timeIntervalSince1970(const QDateTime &date) {
    return date.isValid() ? double(date.toMSecsSinceEpoch()) / 1000.0 : 0.0;
}

QDateTime KVTimeScale::dateWithTimeIntervalSince1970(double interval) {
    return QDateTime::fromMSecsSinceEpoch(std::llround(interval * 1000.0)).toLocalTime();
}
