// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimeScale.h"

#include "KVAssert.h"
#include "KVCalendarExtensions.h"
#include "KVDateText.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <mutex>

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

KVCalendarUnit KVTimeScale::legibleCalendarUnitForScale(double scale) {
    static constexpr KVCalendarUnit coarser[] = {
        KVCalendarUnitSecond,     KVCalendarUnitTenSeconds, KVCalendarUnitMinute,
        KVCalendarUnitTenMinutes, KVCalendarUnitHour,       KVCalendarUnitDay,
        KVCalendarUnitMonth,      KVCalendarUnitYear,       KVCalendarUnitDecade};
    const KVCalendarUnit nominal = calendarUnitForScale(scale);
    // Text can only be measured with a GUI; without one nothing is drawn either.
    if (std::isnan(scale) || !qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return nominal;
    const auto *from = std::find(std::begin(coarser), std::end(coarser), nominal);
    for (const auto *unit = from; unit != std::end(coarser); ++unit) {
        if (scale * shortestSpan(*unit) >= widestTickLabel(*unit) + tickLabelGap)
            return *unit;
    }
    return KVCalendarUnitDecade;
}

double KVTimeScale::shortestSpan(KVCalendarUnit unit) {
    switch (unit) {
    case KVCalendarUnitDecade:
        return 3650.0 * 86400;
    case KVCalendarUnitYear:
        return 365.0 * 86400;
    case KVCalendarUnitMonth:
        return 28.0 * 86400;
    case KVCalendarUnitDay:
        return 23.0 * 3600;
    case KVCalendarUnitSixHours:
        return 5.0 * 3600;
    case KVCalendarUnitHour:
        return 3600;
    case KVCalendarUnitTenMinutes:
        return 600;
    case KVCalendarUnitMinute:
        return 60;
    case KVCalendarUnitTenSeconds:
        return 10;
    case KVCalendarUnitSecond:
        return 1;
    }
    return 1;
}

const KVTextAttributes &KVTimeScale::tickLabelAttributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = KVLucidaGrande(11.0);
        made.color = QColor::fromRgbF(0.392f, 0.435f, 0.509f);
        made.hasShadow = true;
        made.shadowColor = QColor::fromRgbF(1, 1, 1, 0.4f);
        made.shadowOffset = QPointF(0, -1);
        return made;
    }();
    return attributes;
}

double KVTimeScale::widestTickLabel(KVCalendarUnit unit) {
    // Measured once per unit over dates that give every month name, one- and two-digit days
    // and the widest digits a clock shows.
    static std::map<KVCalendarUnit, double> widest;
    static std::mutex mutex;
    std::lock_guard lock(mutex);
    if (const auto found = widest.find(unit); found != widest.end())
        return found->second;
    double width = 0;
    for (int month = 1; month <= 12; ++month) {
        for (const QTime time : {QTime(23, 58, 58), QTime(10, 0, 0), QTime(8, 48, 28)}) {
            for (const int day : {1, 28}) {
                const QDateTime date(QDate(2000 + month, month, day), time);
                width = std::max(
                    width,
                    KVSizeWithAttributes(stringForDate(date, unit), tickLabelAttributes()).width());
            }
        }
    }
    widest[unit] = width;
    return width;
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
    const QDateTime local = date.toUTC();
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
    const QDate local = date.toUTC().date();
    switch (viewTimeUnit) {
    case KVCalendarUnitMonth:
        return QString::number(local.year());
    case KVCalendarUnitDay:
        return KVDateText::monthAndYear(local);
    case KVCalendarUnitHour:
    case KVCalendarUnitMinute:
    case KVCalendarUnitSecond:
    case KVCalendarUnitSixHours:
    case KVCalendarUnitTenMinutes:
    case KVCalendarUnitTenSeconds:
        return KVDateText::longDate(local);
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
    // Wall-clock time, held in UTC like every capture date.
    return QDateTime::fromMSecsSinceEpoch(std::llround(interval * 1000.0), Qt::UTC);
}
