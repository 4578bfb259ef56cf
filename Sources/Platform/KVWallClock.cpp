// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVWallClock.h"

#include <QLocale>

namespace {

const QString exifFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

} // namespace

namespace KVWallClock {

QDateTime fromExifText(const QString &text) {
    // Date and time are read apart, as fields: read as one local date, a time the local clock
    // skips in spring (02:30 on the day of the change in Berlin) would be lost.
    const QString trimmed = text.trimmed();
    const qsizetype blank = trimmed.indexOf(QLatin1Char(' '));
    if (blank < 0)
        return {};
    const QDate date = QDate::fromString(trimmed.left(blank), QStringLiteral("yyyy:MM:dd"));
    const QTime time = QTime::fromString(trimmed.mid(blank + 1), QStringLiteral("HH:mm:ss"));
    if (!date.isValid() || !time.isValid())
        return {};
    return fromFields(date, time);
}

QString exifText(const QDateTime &date) {
    if (!date.isValid())
        return {};
    return QLocale::c().toString(date.toUTC(), exifFormat);
}

QDateTime fromFields(const QDate &date, const QTime &time) {
    return QDateTime(date, time, Qt::UTC);
}

QDateTime currentDateTime() {
    const QDateTime now = QDateTime::currentDateTime();
    return fromFields(now.date(), now.time());
}

QDateTime localInstant(const QDateTime &date) {
    const QDateTime fields = date.toUTC();
    return QDateTime(fields.date(), fields.time());
}

} // namespace KVWallClock
