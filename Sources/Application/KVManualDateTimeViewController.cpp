// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeViewController.h"

#include "KVKeyPath.h"
#include "KVWallClock.h"

const QString KVManualDateTimeViewController::nibName = QStringLiteral("KVManualDateTimeView");

void KVManualDateTimeViewController::setDate(const QDateTime &date) {
    m_date = date;
    didChangeValueForKey(KVKeyPath::date);
}

void KVManualDateTimeViewController::setTime(const QDateTime &time) {
    m_time = time;
    didChangeValueForKey(KVKeyPath::time);
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
    didChangeValueForKey(KVKeyPath::date);
    didChangeValueForKey(KVKeyPath::time);
}

void KVManualDateTimeViewController::setIsEtalonDateSet(bool isSet) {
    m_isEtalonDateSet = isSet;
    didChangeValueForKey(KVKeyPath::isEtalonDateSet);
}

QStringList
KVManualDateTimeViewController::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    if (key == KVKeyPath::fullDate)
        return {KVKeyPath::date, KVKeyPath::time};
    return KVObservable::keyPathsForValuesAffectingValueForKey(key);
}
