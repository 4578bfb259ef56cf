// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCalendarExtensions.h"
#include "KVTimeScale.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

// English names, pinned before the formatters are made. The zone is the one the test runs in:
// wall-clock dates must come out the same in every one.
[[maybe_unused]] const bool english = [] {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return true;
}();

// A capture date: wall-clock fields, held in UTC.
QDateTime wall(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

constexpr double hour = 3600, day = 86400;

using namespace KVCalendarExtensions;

// Starts on the wall clock, and every day 24 hours long: the days of the daylight-saving changes
// in Berlin (31 March, 27 October 2024) and Los Angeles (10 March, 3 November 2024) too.
TEST(KVCalendarExtensions, RangeOfUnitFindsWallClockStartAndLength) {
    const struct {
        KVCalendarUnit unit;
        QDateTime date, start;
        double length;
    } cases[] = {
        {KVCalendarUnitMonth, wall(2024, 3, 15), wall(2024, 3, 1), 31 * day},
        {KVCalendarUnitDay, wall(2024, 3, 31, 12), wall(2024, 3, 31), day},
        {KVCalendarUnitDay, wall(2024, 10, 27, 23, 30), wall(2024, 10, 27), day},
        {KVCalendarUnitDay, wall(2024, 3, 10, 2, 30), wall(2024, 3, 10), day},
        {KVCalendarUnitHour, wall(2024, 10, 27, 2, 30), wall(2024, 10, 27, 2), hour},
        {KVCalendarUnitHour, wall(2024, 3, 31, 2, 30), wall(2024, 3, 31, 2), hour},
        {KVCalendarUnitTenMinutes, wall(2024, 11, 3, 1, 47), wall(2024, 11, 3, 1, 40), 600},
        {KVCalendarUnitSixHours, wall(2024, 3, 31, 5, 30), wall(2024, 3, 31), 21600},
        {KVCalendarUnitTenSeconds, wall(2012, 3, 7, 13, 47, 23, 600),
         wall(2012, 3, 7, 13, 47, 20, 600), 10},
        // Measured from the date's day of the year: from 2023-03-15, the leap day of 2020 is out.
        {KVCalendarUnitDecade, wall(2023, 3, 15, 12), wall(2020, 1, 1), 3652 * day},
        {KVCalendarUnitDecade, wall(2023, 1, 15), wall(2020, 1, 1), 3653 * day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " at " << c.date.toString().toStdString());
        QDateTime start;
        double length = -1;
        ASSERT_TRUE(rangeOfKVCalendarUnit(c.unit, &start, &length, c.date));
        EXPECT_EQ(start, c.start) << start.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_EQ(start.timeSpec(), Qt::UTC);
        EXPECT_DOUBLE_EQ(length, c.length);
    }
}

// Months from 31 January end in February; days and hours step on the wall clock, also through
// the nights of the clock changes.
TEST(KVCalendarExtensions, OneStepIsACalendarAddition) {
    const struct {
        KVCalendarUnit unit;
        QDateTime from, expected;
    } cases[] = {{KVCalendarUnitMonth, wall(2024, 1, 31, 10), wall(2024, 2, 29, 10)},
                 {KVCalendarUnitYear, wall(2024, 2, 29), wall(2025, 2, 28)},
                 {KVCalendarUnitDay, wall(2024, 10, 26, 12), wall(2024, 10, 27, 12)},
                 {KVCalendarUnitHour, wall(2024, 3, 31, 1), wall(2024, 3, 31, 2)},
                 {KVCalendarUnitHour, wall(2024, 3, 10, 1), wall(2024, 3, 10, 2)},
                 {KVCalendarUnitTenSeconds, wall(2012, 3, 7, 13, 47, 20, 600),
                  wall(2012, 3, 7, 13, 47, 30, 600)},
                 {KVCalendarUnitSecond, wall(2012, 12, 31, 23, 59, 59), wall(2013, 1, 1)}};
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
        {KVCalendarUnitTenSeconds, wall(2024, 10, 27, 1, 55)},
        {KVCalendarUnitHour, wall(2024, 10, 26, 22)},
        {KVCalendarUnitMonth, wall(2019, 11, 30)},
        {KVCalendarUnitDecade, wall(1903, 1, 1)}};
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
    const QDateTime first = wall(2014, 1, 1);
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
    // The span of the current unit; without photos, the first day of 1970.
    EXPECT_EQ(KVTimeScale(wall(2024, 10, 27, 18), 0.001).startScaleDate(), wall(2024, 10, 27));
    EXPECT_EQ(KVTimeScale(QDateTime(), 0.001).startScaleDate(), wall(1970, 1, 1));
}

// Both show the wall-clock fields, in whatever zone the program runs.
TEST(KVTimeScale, TickLabelAndRowHeaderShowTheWallClock) {
    const QDateTime date = wall(2012, 3, 7, 14, 5, 9), newYear = wall(2024, 12, 31, 23, 30);
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
                 {KVCalendarUnitHour, wall(2024, 10, 27, 2), "02h", "October 27, 2024"},
                 {KVCalendarUnitDay, newYear, "31", "December 2024"}};
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
            KVTimeScale::stringForDate(wall(2012, 3, 7), static_cast<KVCalendarUnit>(value)),
            label);
    }
}

} // namespace
