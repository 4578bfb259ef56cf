#include "KVCalendarExtensions.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <string_view>

namespace {

// The expected instants are Berlin's (a 23-hour day on 2024-03-31, a 25-hour one on 2024-10-27);
// pinned here as well as by ctest, so that running the program by hand gives the same answers.
[[maybe_unused]] const bool berlinTime = [] {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    return true;
}();

QDateTime local(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                int msec = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, msec), Qt::LocalTime);
}

// For the autumn night, whose 02:xx happens twice in local time.
QDateTime utc(int year, int month, int day, int hour, int minute = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::UTC);
}

constexpr double hour = 3600;
constexpr double day = 86400;

std::string escapedForRegex(std::string_view text) {
    std::string escaped;
    for (char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos)
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

struct RangeCase {
    const char *name;
    KVCalendarUnit unit;
    QDateTime date;
    QDateTime start;
    double interval;
};

TEST(KVCalendarExtensions, RangeOfUnitFindsLocalStartAndTrueLength) {
    const RangeCase cases[] = {
        {"leap year", KVCalendarUnitYear, local(2024, 7, 1, 12), local(2024, 1, 1), 366 * day},
        {"last second of a year", KVCalendarUnitYear, local(2023, 12, 31, 23, 59, 59),
         local(2023, 1, 1), 365 * day},
        {"leap February", KVCalendarUnitMonth, local(2024, 2, 29, 23), local(2024, 2, 1), 29 * day},
        {"March loses the spring hour", KVCalendarUnitMonth, local(2024, 3, 15), local(2024, 3, 1),
         31 * day - hour},
        {"October gains the autumn hour", KVCalendarUnitMonth, local(2024, 10, 31, 23, 59),
         local(2024, 10, 1), 31 * day + hour},
        {"spring day has 23 hours", KVCalendarUnitDay, local(2024, 3, 31, 12), local(2024, 3, 31),
         23 * hour},
        {"autumn day has 25 hours", KVCalendarUnitDay, local(2024, 10, 27, 23, 30),
         local(2024, 10, 27), 25 * hour},
        {"midnight starts its own day", KVCalendarUnitDay, local(2024, 6, 1), local(2024, 6, 1),
         day},
        {"date given in UTC is cut at local midnight", KVCalendarUnitDay, utc(2024, 3, 30, 23, 30),
         local(2024, 3, 31), 23 * hour},
        {"hour after the spring gap", KVCalendarUnitHour, local(2024, 3, 31, 3, 30),
         local(2024, 3, 31, 3), hour},
        {"first 02:30 of the autumn night", KVCalendarUnitHour, utc(2024, 10, 27, 0, 30),
         utc(2024, 10, 27, 0), hour},
        {"second 02:30 of the autumn night", KVCalendarUnitHour, utc(2024, 10, 27, 1, 30),
         utc(2024, 10, 27, 1), hour},
        {"minute", KVCalendarUnitMinute, local(2012, 3, 7, 14, 5, 9, 250), local(2012, 3, 7, 14, 5),
         60},
        {"second drops the fraction", KVCalendarUnitSecond, local(2012, 3, 7, 14, 5, 9, 250),
         local(2012, 3, 7, 14, 5, 9), 1},
        {"ten seconds keep the fraction", KVCalendarUnitTenSeconds,
         local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13, 47, 20, 600), 10},
        {"ten seconds on a boundary", KVCalendarUnitTenSeconds, local(2012, 3, 7, 13, 47, 30),
         local(2012, 3, 7, 13, 47, 30), 10},
        {"ten minutes cut to the minute", KVCalendarUnitTenMinutes,
         local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13, 40), 600},
        {"ten minutes in the second autumn 02:xx", KVCalendarUnitTenMinutes,
         utc(2024, 10, 27, 1, 47), utc(2024, 10, 27, 1, 40), 600},
        {"six hours", KVCalendarUnitSixHours, local(2012, 3, 7, 13, 47, 23, 600),
         local(2012, 3, 7, 12), 21600},
        {"six hours before midnight", KVCalendarUnitSixHours, local(2012, 3, 7, 23, 59, 59),
         local(2012, 3, 7, 18), 21600},
        {"six hours on the spring day start at local midnight", KVCalendarUnitSixHours,
         local(2024, 3, 31, 5, 30), local(2024, 3, 31), 21600},
        {"decade", KVCalendarUnitDecade, local(1987, 6, 15), local(1980, 1, 1), 3652 * day},
        // Measured from 2020-03-15, so the leap day of 2020 is not in it, although the decade
        // from 2020-01-01 has three leap days.
        {"decade length from a date after February", KVCalendarUnitDecade, local(2023, 3, 15, 12),
         local(2020, 1, 1), 3652 * day},
        {"decade length from a date in January", KVCalendarUnitDecade, local(2023, 1, 15),
         local(2020, 1, 1), 3653 * day},
        {"first instant of a decade", KVCalendarUnitDecade, local(2000, 1, 1), local(2000, 1, 1),
         3653 * day},
    };
    for (const RangeCase &c : cases) {
        SCOPED_TRACE(c.name);
        QDateTime start;
        double interval = -1;
        ASSERT_TRUE(KVCalendarExtensions::rangeOfKVCalendarUnit(c.unit, &start, &interval, c.date));
        EXPECT_EQ(start.toMSecsSinceEpoch(), c.start.toMSecsSinceEpoch())
            << start.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_DOUBLE_EQ(interval, c.interval);
        EXPECT_LE(start, c.date);
        // Handed out in local time, so that a label made from it shows the local wall clock.
        EXPECT_EQ(start.toString(Qt::ISODate), start.toLocalTime().toString(Qt::ISODate));
    }
}

TEST(KVCalendarExtensions, RangeOfUnitRefusesOtherValuesAndWritesNothing) {
    const quint64 values[] = {0, 1, 2, 12, 256, 0x10000000, 0x3000000, 0x1000004};
    for (quint64 value : values) {
        SCOPED_TRACE(value);
        const QDateTime untouched = local(1999, 9, 9);
        QDateTime start = untouched;
        double interval = 42;
        EXPECT_FALSE(KVCalendarExtensions::rangeOfKVCalendarUnit(
            static_cast<KVCalendarUnit>(value), &start, &interval, local(2012, 3, 7, 14)));
        EXPECT_EQ(start, untouched);
        EXPECT_EQ(interval, 42);
    }
}

struct StepCase {
    const char *name;
    KVCalendarUnit unit;
    QDateTime from;
    QDateTime expected;
};

TEST(KVCalendarExtensions, OneStepIsACalendarAddition) {
    const StepCase cases[] = {
        {"month from 31 January of a leap year", KVCalendarUnitMonth, local(2024, 1, 31, 10),
         local(2024, 2, 29, 10)},
        {"month from 31 January", KVCalendarUnitMonth, local(2023, 1, 31, 10),
         local(2023, 2, 28, 10)},
        {"year from a leap day", KVCalendarUnitYear, local(2024, 2, 29), local(2025, 2, 28)},
        {"decade", KVCalendarUnitDecade, local(1980, 1, 1), local(1990, 1, 1)},
        {"day over the spring change keeps noon", KVCalendarUnitDay, local(2024, 3, 30, 12),
         local(2024, 3, 31, 12)},
        {"day over the autumn change keeps noon", KVCalendarUnitDay, local(2024, 10, 26, 12),
         local(2024, 10, 27, 12)},
        {"hour into the repeated autumn hour", KVCalendarUnitHour, utc(2024, 10, 27, 0),
         utc(2024, 10, 27, 1)},
        {"six hours", KVCalendarUnitSixHours, local(2012, 3, 7, 12), local(2012, 3, 7, 18)},
        {"ten minutes over the hour", KVCalendarUnitTenMinutes, local(2012, 3, 7, 13, 50),
         local(2012, 3, 7, 14)},
        {"minute", KVCalendarUnitMinute, local(2012, 3, 7, 13, 59), local(2012, 3, 7, 14)},
        {"ten seconds keep the fraction", KVCalendarUnitTenSeconds,
         local(2012, 3, 7, 13, 47, 20, 600), local(2012, 3, 7, 13, 47, 30, 600)},
        {"second", KVCalendarUnitSecond, local(2012, 12, 31, 23, 59, 59), local(2013, 1, 1)},
    };
    for (const StepCase &c : cases) {
        SCOPED_TRACE(c.name);
        const QDateTime next = KVCalendarExtensions::dateByAddingComponents(
            KVCalendarExtensions::oneComponentForKVCalendarUnit(c.unit), c.from);
        EXPECT_EQ(next.toMSecsSinceEpoch(), c.expected.toMSecsSinceEpoch())
            << next.toString(Qt::ISODateWithMs).toStdString();
    }
}

struct WalkCase {
    KVCalendarUnit unit;
    QDateTime from;
};

// The tick loop steps from the first span's start and uses the first span's length for the
// cells: every tick must be a span start and every span must end at the next tick, also across
// the daylight-saving changes each walk below passes.
TEST(KVCalendarExtensions, SteppingFromASpanStartStaysOnSpanStarts) {
    const WalkCase cases[] = {
        {KVCalendarUnitSecond, utc(2024, 10, 27, 0, 59)},
        {KVCalendarUnitTenSeconds, utc(2024, 10, 27, 0, 55)},
        {KVCalendarUnitMinute, utc(2024, 3, 31, 0, 30)},
        {KVCalendarUnitTenMinutes, utc(2024, 10, 27, 0)},
        {KVCalendarUnitHour, local(2024, 10, 26, 22)},
        {KVCalendarUnitHour, local(2024, 3, 30, 22)},
        // Six-hour steps are elapsed time, so a walk over a daylight-saving change drifts by the
        // hour; the axis never chooses that unit.
        {KVCalendarUnitSixHours, local(2024, 6, 1, 5)},
        {KVCalendarUnitDay, local(2024, 3, 1, 17)},
        {KVCalendarUnitMonth, local(2019, 11, 30)},
        {KVCalendarUnitYear, local(1995, 5, 5)},
        {KVCalendarUnitDecade, local(1903, 1, 1)},
    };
    for (const WalkCase &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " from " << c.from.toString().toStdString());
        QDateTime tick;
        double length = 0;
        ASSERT_TRUE(KVCalendarExtensions::rangeOfKVCalendarUnit(c.unit, &tick, &length, c.from));
        const KVDateComponents step = KVCalendarExtensions::oneComponentForKVCalendarUnit(c.unit);
        for (int i = 0; i < 60; ++i) {
            const QDateTime next = KVCalendarExtensions::dateByAddingComponents(step, tick);
            QDateTime start;
            ASSERT_TRUE(KVCalendarExtensions::rangeOfKVCalendarUnit(c.unit, &start, &length, tick));
            ASSERT_EQ(start, tick) << "step " << i;
            ASSERT_DOUBLE_EQ(length, tick.msecsTo(next) / 1000.0)
                << "step " << i << " at " << tick.toString(Qt::ISODate).toStdString();
            tick = next;
        }
    }
}

TEST(KVCalendarExtensionsDeathTest, OneComponentStopsOnAValueThatIsNoUnit) {
    // The whole text, line included, is what crash reports are matched on: moving the assertion
    // changes it, and this test says so.
    const std::string text = escapedForRegex(
        "Assertion failed: (0), function +[NSCalendar(KVExtensions) "
        "oneComponentForKVCalendarUnit:], file Sources/Extensions/KVCalendarExtensions.cpp, "
        "line 49.");
    for (quint64 value : {quint64(0), quint64(2), quint64(12), quint64(0x10000000)}) {
        SCOPED_TRACE(value);
        EXPECT_DEATH(
            KVCalendarExtensions::oneComponentForKVCalendarUnit(static_cast<KVCalendarUnit>(value)),
            text);
    }
}

} // namespace
