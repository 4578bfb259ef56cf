// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDate>
#include <QString>

// The one way dates are written in the window, from the user's locale ("14 June 2025",
// "June 14, 2025", "14. Juni 2025"): the display, the row headers, the thumbnails and their
// tool tips all go through here, so they never disagree.
class KVDateText {
public:
    // The locale's long date without the weekday.
    static QString longDate(const QDate &date);
    // The locale's month name and the year ("June 2025", "Juni 2025").
    static QString monthAndYear(const QDate &date);
    // The locale's numeric date with the whole year ("14/06/2025", "6/14/2025", "14.06.2025"),
    // for where the long one does not fit.
    static QString shortDate(const QDate &date);
    // The same without the year ("14/06", "6/14", "14.06."), when even that is too wide.
    static QString shortDayAndMonth(const QDate &date);
};
