// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCalendarExtensions.h"
#include "KVTimeScale.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <string>

namespace {

// Berlin time and English names, pinned before the formatters are made, as under ctest.
[[maybe_unused]] const bool berlinEnglish = [] {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return true;
}();

QDateTime local(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::LocalTime);
}
// For the autumn night, whose 02:xx happens twice in local time.
QDateTime utc(int y, int mo, int d, int h, int mi = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi), Qt::UTC);
}

constexpr double hour = 3600, day = 86400;

using namespace KVCalendarExtensions;

// Local starts; lengths as the clock runs, across 23- and 25-hour days and the repeated hour.
TEST(KVCalendarExtensions, RangeOfUnitFindsLocalStartAndTrueLength) {
    const struct {
        KVCalendarUnit unit;
        QDateTime date, start;
        double length;
    } cases[] = {
        {KVCalendarUnitMonth, local(2024, 3, 15), local(2024, 3, 1), 31 * day - hour},
        {KVCalendarUnitDay, local(2024, 3, 31, 12), local(2024, 3, 31), 23 * hour},
        {KVCalendarUnitDay, local(2024, 10, 27, 23, 30), local(2024, 10, 27), 25 * hour},
        {KVCalendarUnitHour, utc(2024, 10, 27, 1, 30), utc(2024, 10, 27, 1), hour},
        {KVCalendarUnitTenMinutes, utc(2024, 10, 27, 1, 47), utc(2024, 10, 27, 1, 40), 600},
        {KVCalendarUnitSixHours, local(2024, 3, 31, 5, 30), local(2024, 3, 31), 21600},
        {KVCalendarUnitTenSeconds, local(2012, 3, 7, 13, 47, 23, 600),
         local(2012, 3, 7, 13, 47, 20, 600), 10},
        // Measured from the date's day of the year: from 2023-03-15, the leap day of 2020 is out.
        {KVCalendarUnitDecade, local(2023, 3, 15, 12), local(2020, 1, 1), 3652 * day},
        {KVCalendarUnitDecade, local(2023, 1, 15), local(2020, 1, 1), 3653 * day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " at " << c.date.toString().toStdString());
        QDateTime start;
        double length = -1;
        ASSERT_TRUE(rangeOfKVCalendarUnit(c.unit, &start, &length, c.date));
        EXPECT_EQ(start, c.start) << start.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_DOUBLE_EQ(length, c.length);
        EXPECT_EQ(start.toString(Qt::ISODate), start.toLocalTime().toString(Qt::ISODate));
    }
}

// Months from 31 January end in February; days and hours keep the wall clock across the changes.
TEST(KVCalendarExtensions, OneStepIsACalendarAddition) {
    const struct {
        KVCalendarUnit unit;
        QDateTime from, expected;
    } cases[] = {{KVCalendarUnitMonth, local(2024, 1, 31, 10), local(2024, 2, 29, 10)},
                 {KVCalendarUnitYear, local(2024, 2, 29), local(2025, 2, 28)},
                 {KVCalendarUnitDay, local(2024, 10, 26, 12), local(2024, 10, 27, 12)},
                 {KVCalendarUnitTenSeconds, local(2012, 3, 7, 13, 47, 20, 600),
                  local(2012, 3, 7, 13, 47, 30, 600)},
                 {KVCalendarUnitSecond, local(2012, 12, 31, 23, 59, 59), local(2013, 1, 1)}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " from " << c.from.toString().toStdString());
        const QDateTime next =
            dateByAddingComponents(oneComponentForKVCalendarUnit(c.unit), c.from);
        EXPECT_EQ(next, c.expected) << next.toString(Qt::ISODateWithMs).toStdString();
    }
}

// Ticks step from a span start: each must be a span start whose span ends at the next tick,
// also across the clock changes these walks pass.
TEST(KVCalendarExtensions, SteppingFromASpanStartStaysOnSpanStarts) {
    const std::pair<KVCalendarUnit, QDateTime> cases[] = {
        {KVCalendarUnitTenSeconds, utc(2024, 10, 27, 0, 55)},
        {KVCalendarUnitHour, local(2024, 10, 26, 22)},
        {KVCalendarUnitMonth, local(2019, 11, 30)},
        {KVCalendarUnitDecade, local(1903, 1, 1)}};
    for (const auto &[unit, from] : cases) {
        SCOPED_TRACE(testing::Message() << unit << " from " << from.toString().toStdString());
        QDateTime tick, start;
        double length = 0;
        ASSERT_TRUE(rangeOfKVCalendarUnit(unit, &tick, &length, from));
        for (int i = 0; i < 60; ++i) {
            const QDateTime next =
                dateByAddingComponents(oneComponentForKVCalendarUnit(unit), tick);
            ASSERT_TRUE(rangeOfKVCalendarUnit(unit, &start, &length, tick));
            ASSERT_EQ(start, tick) << "step " << i;
            ASSERT_DOUBLE_EQ(length, tick.msecsTo(next) / 1000.0) << "step " << i;
            tick = next;
        }
    }
}

TEST(KVTimeScale, ThresholdScaleTakesTheFinerUnit) {
    const struct {
        double scale;
        KVCalendarUnit atThreshold, justBelow;
    } cases[] = {{50, KVCalendarUnitSecond, KVCalendarUnitTenSeconds},
                 {5, KVCalendarUnitTenSeconds, KVCalendarUnitMinute},
                 {0.9, KVCalendarUnitMinute, KVCalendarUnitTenMinutes},
                 {0.095, KVCalendarUnitTenMinutes, KVCalendarUnitHour},
                 {0.0088, KVCalendarUnitHour, KVCalendarUnitDay},
                 {0.00021, KVCalendarUnitDay, KVCalendarUnitMonth},
                 {0.00001, KVCalendarUnitMonth, KVCalendarUnitYear},
                 {0.000001, KVCalendarUnitYear, KVCalendarUnitDecade},
                 {0, KVCalendarUnitDecade, KVCalendarUnitDecade}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.scale);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(c.scale), c.atThreshold);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(std::nextafter(c.scale, -1.0)), c.justBelow);
    }
    EXPECT_EQ(KVTimeScale::calendarUnitForScale(std::nan("")), KVCalendarUnitSecond);
}

// A photo one pixel wide must be hit by a click anywhere on that pixel, also 10^11 px out.
// Whatever font stands in for the tick font, the unit in use leaves every label its room:
// the cells of neighbouring ticks, at their narrowest, hold the widest label and a gap.
TEST(KVTimeScale, TickLabelsNeverTouchAtAnyScale) {
    for (double scale = 2000; scale > 1e-8; scale /= 1.07) {
        const KVCalendarUnit unit = KVTimeScale::legibleCalendarUnitForScale(scale);
        SCOPED_TRACE(testing::Message() << scale << " px/s, unit " << unit);
        if (unit != KVCalendarUnitDecade) {
            EXPECT_GE(scale * KVTimeScale::shortestSpan(unit),
                      KVTimeScale::widestTickLabel(unit) + KVTimeScale::tickLabelGap);
        }
        // Never coarser than needed: the unit of the scale itself wherever its labels fit.
        const KVCalendarUnit nominal = KVTimeScale::calendarUnitForScale(scale);
        if (scale * KVTimeScale::shortestSpan(nominal) >=
            KVTimeScale::widestTickLabel(nominal) + KVTimeScale::tickLabelGap) {
            EXPECT_EQ(unit, nominal);
        }
        EXPECT_EQ(KVTimeScale(QDateTime(), scale).currentCalendarUnit(), unit);
    }
    // The seconds' labels are wider than 50 px less a gap in any sans-serif font at this size.
    EXPECT_GT(KVTimeScale::widestTickLabel(KVCalendarUnitSecond), 30.0);
}

TEST(KVTimeScale, XAndInstantMapBothWays) {
    const auto seconds = &KVTimeScale::timeIntervalSince1970;
    const QDateTime first = local(2014, 1, 1);
    const double origin = seconds(first);
    const struct {
        QDateTime firstImageDate;
        double scale, x, instant;
    } cases[] = {{first, 1, 0, origin},
                 {first, 800, 1e11, origin + 125000000},
                 // A timeline without photos starts at 1970.
                 {QDateTime(), 800, 800 * day, day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << " at " << c.scale);
        const KVTimeScale timeScale(c.firstImageDate, c.scale);
        EXPECT_NEAR((timeScale.timeIntervalForX(c.x, c.scale) - c.instant) * c.scale, 0, 1e-3);
        EXPECT_NEAR(timeScale.offsetXForTimeInterval(c.instant, c.scale), c.x, 1e-3);
    }
    // The span of the current unit; without photos, Berlin's first day of 1970.
    EXPECT_EQ(KVTimeScale(local(2024, 10, 27, 18), 0.001).startScaleDate(), local(2024, 10, 27));
    EXPECT_EQ(KVTimeScale(QDateTime(), 0.001).startScaleDate(), utc(1969, 12, 31, 23));
}

// Both in local time, whatever zone the date was made in.
TEST(KVTimeScale, TickLabelAndRowHeaderInLocalTime) {
    const QDateTime date = local(2012, 3, 7, 14, 5, 9), newYear = utc(2024, 12, 31, 23, 30);
    const struct {
        KVCalendarUnit unit;
        QDateTime date;
        const char *tick, *header;
    } cases[] = {{KVCalendarUnitDecade, date, "2012", ""},
                 {KVCalendarUnitYear, date, "2012", ""},
                 {KVCalendarUnitMonth, date, "Mar", "2012"},
                 {KVCalendarUnitDay, date, "7", "March 2012"},
                 {KVCalendarUnitHour, date, "14h", "March 7, 2012"},
                 {KVCalendarUnitMinute, date, "14h 05m", "March 7, 2012"},
                 {KVCalendarUnitSecond, date, "14:05:09", "March 7, 2012"},
                 {KVCalendarUnitHour, utc(2024, 10, 27, 1), "02h", "October 27, 2024"},
                 {KVCalendarUnitDay, newYear, "1", "January 2025"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " " << c.tick);
        EXPECT_EQ(KVTimeScale::stringForDate(c.date, c.unit).toStdString(), c.tick);
        EXPECT_EQ(KVTimeScale::headerStringForDate(c.date, c.unit).toStdString(), c.header);
    }
}

TEST(KVTimeScaleDeathTest, ImpossibleUnitsStopWithTheAssertionText) {
    // Crash reports are matched on the whole text, line included.
    const std::string step =
        "Assertion failed: \\(0\\), function \\+\\[NSCalendar\\(KVExtensions\\) "
        "oneComponentForKVCalendarUnit:\\], file "
        "Sources/Extensions/KVCalendarExtensions\\.cpp, line [0-9]+\\.";
    for (quint64 value : {0, 12, 0x10000000}) {
        SCOPED_TRACE(value);
        EXPECT_DEATH(oneComponentForKVCalendarUnit(static_cast<KVCalendarUnit>(value)), step);
    }
    const std::string label =
        "Assertion failed: \\(0\\), function -\\[KVCameraViewDocumentView "
        "stringForDate:withTimeUnit:\\], file Sources/Extensions/KVTimeScale\\.cpp, line [0-9]+\\.";
    for (quint64 value : {0, 256, 0x30}) {
        SCOPED_TRACE(value);
        EXPECT_DEATH(
            KVTimeScale::stringForDate(local(2012, 3, 7), static_cast<KVCalendarUnit>(value)),
            label);
    }
}

} // namespace
