// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeViewController.h"

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
    // Joined as text, like the EXIF layout, so the result is whole seconds of local time.
    const QString text = m_date.toLocalTime().toString(QStringLiteral("yyyy:MM:dd")) +
                         m_time.toLocalTime().toString(QStringLiteral(" HH:mm:ss"));
    return QDateTime::fromString(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
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
