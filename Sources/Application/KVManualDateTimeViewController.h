// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"

#include <QDateTime>

// The base date and time typed by hand: the date picker's day and the time picker's time of day
// make fullDate, and the check box turns the manual mode on. The popover view binds its controls
// to date, time and isEtalonDateSet. Observable keys: "date", "time", "fullDate" (follows both),
// "isEtalonDateSet".
class KVManualDateTimeViewController : public KVObservable {
public:
    static const QString nibName; // "KVManualDateTimeView"

    QDateTime date() const { return m_date; }
    void setDate(const QDateTime &date);
    QDateTime time() const { return m_time; }
    void setTime(const QDateTime &time);

    // The picker's day joined with the other picker's time, in whole seconds; invalid when the
    // joined text is no date (for example a time skipped by a daylight-saving change).
    QDateTime fullDate() const;
    void setFullDate(const QDateTime &date);

    bool isEtalonDateSet() const { return m_isEtalonDateSet; }
    void setIsEtalonDateSet(bool isSet);

    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override;

private:
    QDateTime m_date;
    QDateTime m_time;
    bool m_isEtalonDateSet = false;
};
