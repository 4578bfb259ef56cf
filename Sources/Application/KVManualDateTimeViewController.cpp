// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeViewController.h"

#include "KVWallClock.h"

const QString KVManualDateTimeViewController::nibName = QStringLiteral("KVManualDateTimeView");

void KVManualDateTimeViewController::setDate(const QDateTime &date) {
    m_date = date;
    didChangeValueForKey(QStringLiteral("date"));
}

void KVManualDateTimeViewController::setTime(const QDateTime &time) {
    m_time = time;
    didChangeValueForKey(QStringLiteral("time"));
}

QDateTime KVManualDateTimeViewController::fullDate() const {
    // The day of one picker and the time of the other, in whole seconds of wall-clock time.
    const QTime time = m_time.toUTC().time();
    return KVWallClock::fromFields(m_date.toUTC().date(),
                                   QTime(time.hour(), time.minute(), time.second()));
}

void KVManualDateTimeViewController::setFullDate(const QDateTime &date) {
    // Both pickers take the value before anyone hears of it, so no observer ever sees the new
    // day joined with the old time.
    m_date = date;
    m_time = date;
    didChangeValueForKey(QStringLiteral("date"));
    didChangeValueForKey(QStringLiteral("time"));
}

void KVManualDateTimeViewController::setIsEtalonDateSet(bool isSet) {
    m_isEtalonDateSet = isSet;
    didChangeValueForKey(QStringLiteral("isEtalonDateSet"));
}

QStringList
KVManualDateTimeViewController::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    if (key == QLatin1String("fullDate"))
        return {QStringLiteral("date"), QStringLiteral("time")};
    return KVObservable::keyPathsForValuesAffectingValueForKey(key);
}
