#include "KVCalendarExtensions.h"
#include "KVTimeScale.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <string>

namespace {

// Berlin time (23 hours on 2024-03-31, 25 on 2024-10-27) and English month names, pinned before
// the formatters are made, so that a run by hand gives the answers of ctest.
[[maybe_unused]] const bool berlinEnglish = [] {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return true;
}();

QDateTime local(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                int msec = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, msec), Qt::LocalTime);
}

// For the autumn night, whose 02:xx happens twice in local time.
QDateTime utc(int year, int month, int day, int hour, int minute = 0, int second = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

constexpr double hour = 3600, day = 86400;

using namespace KVCalendarExtensions;

// Starts in local time, so that a label made from one shows the local wall clock; lengths as
// the clock runs, across Berlin's 23- and 25-hour days and the repeated autumn hour.
TEST(KVCalendarExtensions, RangeOfUnitFindsLocalStartAndTrueLength) {
    const struct {
        KVCalendarUnit unit;
        QDateTime date, start;
        double length;
    } cases[] = {
        {KVCalendarUnitYear, local(2024, 7, 1, 12), local(2024, 1, 1), 366 * day},
        {KVCalendarUnitMonth, local(2024, 2, 29, 23), local(2024, 2, 1), 29 * day},
        {KVCalendarUnitMonth, local(2024, 3, 15), local(2024, 3, 1), 31 * day - hour},
        {KVCalendarUnitDay, local(2024, 3, 31, 12), local(2024, 3, 31), 23 * hour},
        {KVCalendarUnitDay, local(2024, 10, 27, 23, 30), local(2024, 10, 27), 25 * hour},
        {KVCalendarUnitDay, utc(2024, 3, 30, 23, 30), local(2024, 3, 31), 23 * hour},
        {KVCalendarUnitHour, utc(2024, 10, 27, 0, 30), utc(2024, 10, 27, 0), hour},
        {KVCalendarUnitHour, utc(2024, 10, 27, 1, 30), utc(2024, 10, 27, 1), hour},
        {KVCalendarUnitTenMinutes, utc(2024, 10, 27, 1, 47), utc(2024, 10, 27, 1, 40), 600},
        {KVCalendarUnitSixHours, local(2024, 3, 31, 5, 30), local(2024, 3, 31), 21600},
        {KVCalendarUnitSecond, local(2012, 3, 7, 14, 5, 9, 250), local(2012, 3, 7, 14, 5, 9), 1},
        // Ten seconds keep the fraction of a second.
        {KVCalendarUnitTenSeconds, local(2012, 3, 7, 13, 47, 23, 600),
         local(2012, 3, 7, 13, 47, 20, 600), 10},
        {KVCalendarUnitDecade, local(1987, 6, 15), local(1980, 1, 1), 3652 * day},
        // Measured from the date's day of the year: from 2023-03-15, the leap day of 2020 is out.
        {KVCalendarUnitDecade, local(2023, 3, 15, 12), local(2020, 1, 1), 3652 * day},
        {KVCalendarUnitDecade, local(2023, 1, 15), local(2020, 1, 1), 3653 * day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " at " << c.date.toString().toStdString());
        QDateTime start;
        double length = -1;
        ASSERT_TRUE(rangeOfKVCalendarUnit(c.unit, &start, &length, c.date));
        EXPECT_EQ(start.toMSecsSinceEpoch(), c.start.toMSecsSinceEpoch())
            << start.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_DOUBLE_EQ(length, c.length);
        EXPECT_EQ(start.toString(Qt::ISODate), start.toLocalTime().toString(Qt::ISODate));
    }
    // Any other value is refused, and nothing is written.
    for (quint64 value : {0, 2, 12, 0x10000000, 0x1000004}) {
        QDateTime start = local(1999, 9, 9);
        double length = 42;
        EXPECT_FALSE(rangeOfKVCalendarUnit(static_cast<KVCalendarUnit>(value), &start, &length,
                                           local(2012, 3, 7, 14)));
        EXPECT_TRUE(start == local(1999, 9, 9) && length == 42) << value;
    }
}

// Months from 31 January end in February; days and hours keep the wall clock across the changes.
TEST(KVCalendarExtensions, OneStepIsACalendarAddition) {
    const struct {
        KVCalendarUnit unit;
        QDateTime from, expected;
    } cases[] = {{KVCalendarUnitMonth, local(2024, 1, 31, 10), local(2024, 2, 29, 10)},
                 {KVCalendarUnitMonth, local(2023, 1, 31, 10), local(2023, 2, 28, 10)},
                 {KVCalendarUnitYear, local(2024, 2, 29), local(2025, 2, 28)},
                 {KVCalendarUnitDecade, local(1980, 1, 1), local(1990, 1, 1)},
                 {KVCalendarUnitDay, local(2024, 3, 30, 12), local(2024, 3, 31, 12)},
                 {KVCalendarUnitDay, local(2024, 10, 26, 12), local(2024, 10, 27, 12)},
                 {KVCalendarUnitHour, utc(2024, 10, 27, 0), utc(2024, 10, 27, 1)},
                 {KVCalendarUnitTenSeconds, local(2012, 3, 7, 13, 47, 20, 600),
                  local(2012, 3, 7, 13, 47, 30, 600)},
                 {KVCalendarUnitSecond, local(2012, 12, 31, 23, 59, 59), local(2013, 1, 1)}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " from " << c.from.toString().toStdString());
        const QDateTime next =
            dateByAddingComponents(oneComponentForKVCalendarUnit(c.unit), c.from);
        EXPECT_EQ(next.toMSecsSinceEpoch(), c.expected.toMSecsSinceEpoch())
            << next.toString(Qt::ISODateWithMs).toStdString();
    }
}

// The tick loop steps from the first span's start and uses the first span's length for the
// cells: every tick must be a span start and every span must end at the next tick, also across
// the daylight-saving changes each walk below passes. (Six-hour steps are elapsed time and
// drift over a change; the axis never chooses that unit.)
TEST(KVCalendarExtensions, SteppingFromASpanStartStaysOnSpanStarts) {
    const std::pair<KVCalendarUnit, QDateTime> cases[] = {
        {KVCalendarUnitTenSeconds, utc(2024, 10, 27, 0, 55)},
        {KVCalendarUnitTenMinutes, utc(2024, 10, 27, 0)},
        {KVCalendarUnitHour, local(2024, 10, 26, 22)},
        {KVCalendarUnitHour, local(2024, 3, 30, 22)},
        {KVCalendarUnitDay, local(2024, 3, 1, 17)},
        {KVCalendarUnitMonth, local(2019, 11, 30)},
        {KVCalendarUnitYear, local(1995, 5, 5)},
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
    } cases[] = {
        {50, KVCalendarUnitSecond, KVCalendarUnitTenSeconds},
        {5, KVCalendarUnitTenSeconds, KVCalendarUnitMinute},
        {0.9, KVCalendarUnitMinute, KVCalendarUnitTenMinutes},
        {0.095, KVCalendarUnitTenMinutes, KVCalendarUnitHour},
        {0.0088, KVCalendarUnitHour, KVCalendarUnitDay},
        {0.00021, KVCalendarUnitDay, KVCalendarUnitMonth},
        {0.00001, KVCalendarUnitMonth, KVCalendarUnitYear},
        {0.000001, KVCalendarUnitYear, KVCalendarUnitDecade},
        {std::numeric_limits<double>::infinity(), KVCalendarUnitSecond, KVCalendarUnitSecond},
        {0, KVCalendarUnitDecade, KVCalendarUnitDecade}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.scale);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(c.scale), c.atThreshold);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(std::nextafter(c.scale, -1.0)), c.justBelow);
        EXPECT_EQ(KVTimeScale(QDateTime(), c.scale).currentCalendarUnit(), c.atThreshold);
    }
    EXPECT_EQ(KVTimeScale::calendarUnitForScale(std::nan("")), KVCalendarUnitSecond);
    // A fresh timeline starts at 1 px/s: minutes.
    EXPECT_EQ(KVTimeScale().currentCalendarUnit(), KVCalendarUnitMinute);
}

// A photo one pixel wide must be hit by a click anywhere on that pixel, also 10^11 px out.
TEST(KVTimeScale, XAndInstantMapBothWays) {
    const auto seconds = &KVTimeScale::timeIntervalSince1970;
    const QDateTime first = local(2014, 1, 1);
    const double origin = seconds(first);
    const struct {
        QDateTime firstImageDate;
        double scale, x, instant;
    } cases[] = {{first, 1, 0, origin},
                 {first, 0.5, -1000, origin - 2000},
                 {first, 800, 4294967296.5, origin + 4294967296.5 / 800},
                 {first, 800, 1e11, origin + 125000000},
                 // Ten years, with the leap days of 2016 and 2020; both ends are winter time.
                 {first, 800, 3652 * day * 800, seconds(local(2024, 1, 1))},
                 {first, 1e-7, 300, origin + 3e9},
                 // A timeline without photos starts at 1970.
                 {QDateTime(), 800, 800 * day, day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << " at " << c.scale);
        const KVTimeScale timeScale(c.firstImageDate, c.scale);
        EXPECT_NEAR((timeScale.timeIntervalForX(c.x, c.scale) - c.instant) * c.scale, 0, 1e-3);
        EXPECT_NEAR(timeScale.offsetXForTimeInterval(c.instant, c.scale), c.x, 1e-3);
    }
}

TEST(KVTimeScale, StartScaleDateIsTheSpanOfTheCurrentUnit) {
    const struct {
        double scale;
        QDateTime date, start;
        double length;
    } cases[] = {{10, local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13, 47, 20, 600), 10},
                 {0.001, local(2024, 10, 27, 18), local(2024, 10, 27), 25 * hour},
                 {5e-7, local(1987, 6, 15), local(1980, 1, 1), 3652 * day}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.scale);
        double length = -1;
        const KVTimeScale timeScale(c.date, c.scale);
        EXPECT_EQ(timeScale.startScaleDateForDate(c.date, &length), c.start);
        EXPECT_DOUBLE_EQ(length, c.length);
        EXPECT_EQ(timeScale.startScaleDate(), c.start);
    }
    // Without photos, the span of 1970 at that scale: Berlin's day begins at 23:00 UTC.
    EXPECT_EQ(KVTimeScale(QDateTime(), 0.001).startScaleDate(), utc(1969, 12, 31, 23));
}

// Ticks show only their unit's own field, the row header the context they leave out; both in
// local time whatever zone the date was made in.
TEST(KVTimeScale, TickLabelAndRowHeaderInLocalTime) {
    const QDateTime date = local(2012, 3, 7, 14, 5, 9), newYear = utc(2024, 12, 31, 23, 30);
    const struct {
        KVCalendarUnit unit;
        QDateTime date;
        const char *tick, *header;
    } cases[] = {{KVCalendarUnitDecade, date, "2012", ""},
                 {KVCalendarUnitYear, date, "2012", ""},
                 {KVCalendarUnitMonth, date, "Mar", "2012"},
                 {KVCalendarUnitDay, date, "7", "March, 2012"},
                 {KVCalendarUnitSixHours, date, "14h", "March 7, 2012"},
                 {KVCalendarUnitHour, date, "14h", "March 7, 2012"},
                 {KVCalendarUnitTenMinutes, date, "14h 05m", "March 7, 2012"},
                 {KVCalendarUnitMinute, date, "14h 05m", "March 7, 2012"},
                 {KVCalendarUnitTenSeconds, date, "14:05:09", "March 7, 2012"},
                 {KVCalendarUnitSecond, date, "14:05:09", "March 7, 2012"},
                 {KVCalendarUnitHour, utc(2024, 10, 27, 1), "02h", "October 27, 2024"},
                 {KVCalendarUnitYear, newYear, "2025", ""},
                 {KVCalendarUnitMonth, newYear, "Jan", "2025"},
                 {KVCalendarUnitDay, newYear, "1", "January, 2025"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " " << c.tick);
        EXPECT_EQ(KVTimeScale::stringForDate(c.date, c.unit).toStdString(), c.tick);
        EXPECT_EQ(KVTimeScale::headerStringForDate(c.date, c.unit).toStdString(), c.header);
    }
    EXPECT_EQ(KVTimeScale::headerStringForDate(date, static_cast<KVCalendarUnit>(0)), "");
}

TEST(KVTimeScaleDeathTest, ImpossibleUnitsStopWithTheAssertionText) {
    // The whole text, line included, is what crash reports are matched on: moving the assertion
    // changes it, and this test says so.
    const std::string step =
        "Assertion failed: \\(0\\), function \\+\\[NSCalendar\\(KVExtensions\\) "
        "oneComponentForKVCalendarUnit:\\], file "
        "Sources/Extensions/KVCalendarExtensions\\.cpp, line 49\\.";
    for (quint64 value : {0, 2, 12, 0x10000000}) {
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
