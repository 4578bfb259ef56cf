// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDateText.h"
#include "KVTimeScale.h"

#include <QLocale>

#include <gtest/gtest.h>

// One style per locale, the same in the display, the row headers and the thumbnails: no month
// before the day in a German date, no "dd/MM" in an American one.
TEST(KVDateText, EveryPlaceWritesTheLocalesDate) {
    const QLocale before;
    const QDate date(2025, 6, 14);
    const QDateTime noon(date, QTime(12, 0), Qt::UTC);
    const struct {
        QLocale locale;
        const char *longDate, *monthAndYear, *shortDate, *dayAndMonth;
    } cases[] = {
        {QLocale(QLocale::English, QLocale::UnitedKingdom), "14 June 2025", "June 2025",
         "14/06/2025", "14/06"},
        {QLocale(QLocale::English, QLocale::UnitedStates), "June 14, 2025", "June 2025",
         "6/14/2025", "6/14"},
        {QLocale(QLocale::German, QLocale::Germany), "14. Juni 2025", "Juni 2025", "14.06.2025",
         "14.06."},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.locale.name().toStdString());
        QLocale::setDefault(c.locale);
        EXPECT_EQ(KVDateText::longDate(date).toStdString(), c.longDate);
        EXPECT_EQ(KVDateText::monthAndYear(date).toStdString(), c.monthAndYear);
        EXPECT_EQ(KVDateText::shortDate(date).toStdString(), c.shortDate);
        EXPECT_EQ(KVDateText::shortDayAndMonth(date).toStdString(), c.dayAndMonth);
        // The row headers say the same as the display.
        EXPECT_EQ(KVTimeScale::headerStringForDate(noon, KVCalendarUnitHour).toStdString(),
                  c.longDate);
        EXPECT_EQ(KVTimeScale::headerStringForDate(noon, KVCalendarUnitDay).toStdString(),
                  c.monthAndYear);
    }
    QLocale::setDefault(before);
}
