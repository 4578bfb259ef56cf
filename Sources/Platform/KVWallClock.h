// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QString>

// Capture dates are wall-clock times without a zone, as EXIF writes them and as camera clocks
// keep them (they ignore daylight saving). They are held as QDateTime in UTC whose fields are the
// wall-clock fields, so that they are compared, ordered and shifted by plain seconds: an offset
// of N seconds moves every date by exactly N, on every day of the year, in every TZ.
namespace KVWallClock {
// "yyyy:MM:dd HH:mm:ss" (blanks around it ignored) as a wall-clock date; invalid when the text
// is no such date ("2010:13:40 ...", all zeros).
QDateTime fromExifText(const QString &text);
// The wall-clock date as EXIF text, "yyyy:MM:dd HH:mm:ss"; empty for an invalid date.
QString exifText(const QDateTime &date);
// The date and time a QDateTime shows in its own zone, as a wall-clock date.
QDateTime fromFields(const QDate &date, const QTime &time);
// Now, as the local clock shows it.
QDateTime currentDateTime();
// The instant at which a clock in the local zone shows this wall-clock date (for file times,
// which are instants).
QDateTime localInstant(const QDateTime &date);
} // namespace KVWallClock
