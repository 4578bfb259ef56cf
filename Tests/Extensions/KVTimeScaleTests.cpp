#include "KVTimeScale.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

// Berlin time and English month names, pinned before the shared formatters are made on first use,
// so that running the program by hand gives the same answers as under ctest.
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

QDateTime utc(int year, int month, int day, int hour, int minute = 0, int second = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

double seconds(const QDateTime &date) {
    return KVTimeScale::timeIntervalSince1970(date);
}

constexpr double day = 86400;
// A photo one pixel wide must be hit by a click anywhere on that pixel.
constexpr double pixelTolerance = 1e-3;

struct ThresholdCase {
    double scale;
    KVCalendarUnit atThreshold;
    KVCalendarUnit justBelow;
};

TEST(KVTimeScale, ThresholdScaleTakesTheFinerUnit) {
    const ThresholdCase cases[] = {
        {50, KVCalendarUnitSecond, KVCalendarUnitTenSeconds},
        {5, KVCalendarUnitTenSeconds, KVCalendarUnitMinute},
        {0.9, KVCalendarUnitMinute, KVCalendarUnitTenMinutes},
        {0.095, KVCalendarUnitTenMinutes, KVCalendarUnitHour},
        {0.0088, KVCalendarUnitHour, KVCalendarUnitDay},
        {0.00021, KVCalendarUnitDay, KVCalendarUnitMonth},
        {0.00001, KVCalendarUnitMonth, KVCalendarUnitYear},
        {0.000001, KVCalendarUnitYear, KVCalendarUnitDecade},
    };
    for (const ThresholdCase &c : cases) {
        SCOPED_TRACE(c.scale);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(c.scale), c.atThreshold);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(std::nextafter(c.scale, 0.0)), c.justBelow);
        EXPECT_EQ(KVTimeScale(QDateTime(), c.scale).currentCalendarUnit(), c.atThreshold);
    }
}

TEST(KVTimeScale, ScalesOutsideTheBandsHaveAUnit) {
    const std::pair<double, KVCalendarUnit> cases[] = {
        {std::numeric_limits<double>::quiet_NaN(), KVCalendarUnitSecond},
        {std::numeric_limits<double>::infinity(), KVCalendarUnitSecond},
        {800, KVCalendarUnitSecond},
        {0, KVCalendarUnitDecade},
        {-1, KVCalendarUnitDecade},
    };
    for (const auto &[scale, unit] : cases) {
        SCOPED_TRACE(scale);
        EXPECT_EQ(KVTimeScale::calendarUnitForScale(scale), unit);
    }
    // A fresh timeline starts at 1 px/s: minutes.
    EXPECT_EQ(KVTimeScale().currentCalendarUnit(), KVCalendarUnitMinute);
}

// Zooming out never makes the unit finer, and the axis goes from hours straight to days.
TEST(KVTimeScale, ZoomingOutCoarsensTheUnitAndSkipsSixHours) {
    const std::vector<KVCalendarUnit> order = {
        KVCalendarUnitSecond,     KVCalendarUnitTenSeconds, KVCalendarUnitMinute,
        KVCalendarUnitTenMinutes, KVCalendarUnitHour,       KVCalendarUnitDay,
        KVCalendarUnitMonth,      KVCalendarUnitYear,       KVCalendarUnitDecade};
    std::size_t previous = 0;
    std::vector<bool> seen(order.size());
    for (double scale = 1000; scale > 1e-8; scale *= 0.97) {
        const KVCalendarUnit unit = KVTimeScale::calendarUnitForScale(scale);
        const auto rank = std::size_t(std::find(order.begin(), order.end(), unit) - order.begin());
        ASSERT_LT(rank, order.size()) << "scale " << scale << " gave " << unit;
        ASSERT_GE(rank, previous) << "scale " << scale;
        previous = rank;
        seen[rank] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), long(order.size()));
}

struct MappingCase {
    const char *name;
    QDateTime firstImageDate;
    double scale;
    double x;
    double instant;
};

TEST(KVTimeScale, XAndInstantMapBothWays) {
    const QDateTime first = local(2014, 1, 1);
    const double origin = seconds(first);
    const MappingCase cases[] = {
        {"origin", first, 1, 0, origin},
        {"one day at 800 px/s", first, 800, 800 * day, origin + day},
        {"left of the first photo", first, 0.5, -1000, origin - 2000},
        {"x at 2^31", first, 800, 2147483648.0, origin + 2147483648.0 / 800},
        {"x past 2^32", first, 800, 4294967296.5, origin + 4294967296.5 / 800},
        {"x at 10^11", first, 800, 1e11, origin + 125000000},
        // 2014 to 2024 holds the leap days of 2016 and 2020; both ends are winter time.
        {"ten years at 800 px/s", first, 800, 3652 * day * 800, seconds(local(2024, 1, 1))},
        {"ninety-five years at decade scale", first, 1e-7, 300, origin + 3e9},
        {"a timeline without photos starts at 1970", QDateTime(), 800, 800 * day, day},
    };
    for (const MappingCase &c : cases) {
        SCOPED_TRACE(c.name);
        const KVTimeScale timeScale(c.firstImageDate, c.scale);
        const double instant = timeScale.timeIntervalForX(c.x, c.scale);
        EXPECT_NEAR((instant - c.instant) * c.scale, 0, pixelTolerance);
        EXPECT_NEAR(timeScale.offsetXForTimeInterval(c.instant, c.scale), c.x, pixelTolerance);
        EXPECT_NEAR(timeScale.offsetXForTimeInterval(instant, c.scale), c.x, pixelTolerance);
    }
}

// The last photo of ten years of photos at the largest scale lies past 10^11 pixels; a click on
// the first pixel of its thumbnail must find it, a click on the pixel before must not.
TEST(KVTimeScale, OnePixelTargetTenYearsOutIsHit) {
    const double scale = 800;
    const KVTimeScale timeScale(local(2014, 1, 1, 8, 30, 0, 125), scale);
    const double photo = seconds(local(2023, 12, 31, 23, 59, 59, 999));
    const double left = timeScale.offsetXForTimeInterval(photo, scale);
    ASSERT_GT(left, 1e11);
    ASSERT_GT(left, double(std::numeric_limits<std::int32_t>::max()));
    for (double within : {0.01, 0.5, 0.99}) {
        SCOPED_TRACE(within);
        const double clicked = timeScale.timeIntervalForX(left + within, scale);
        EXPECT_GT(clicked, photo);
        EXPECT_LT(clicked, photo + 1 / scale);
        EXPECT_LT(timeScale.timeIntervalForX(left - within, scale), photo);
    }
}

// Zooming about an anchor: the instant under the anchor at the old scale, placed at the new one.
TEST(KVTimeScale, InstantUnderAnAnchorMovesWithTheScale) {
    const KVTimeScale timeScale(local(2014, 1, 1), 800);
    const struct {
        double anchor;
        double oldScale;
        double newScale;
    } cases[] = {{100, 1, 2}, {8589934592.0, 800, 1}, {2.5e11, 800, 0.0001}, {37, 0.001, 800}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.anchor);
        const double instant = timeScale.timeIntervalForX(c.anchor, c.oldScale);
        EXPECT_NEAR(timeScale.offsetXForTimeInterval(instant, c.newScale),
                    c.anchor * c.newScale / c.oldScale,
                    pixelTolerance * std::max(1.0, c.newScale / c.oldScale));
    }
}

TEST(KVTimeScale, DateOfVisibleRectIsTheMiddleAtTheCurrentScale) {
    const QDateTime first = local(2012, 3, 7, 12);
    KVTimeScale timeScale(first, 2);
    EXPECT_DOUBLE_EQ(timeScale.dateOfVisibleRect(1000, 400), seconds(first) + 600);
    timeScale.setScale(4);
    EXPECT_DOUBLE_EQ(timeScale.dateOfVisibleRect(1000, 400), seconds(first) + 300);
}

struct StartCase {
    const char *name;
    double scale;
    QDateTime date;
    QDateTime start;
    double length;
};

TEST(KVTimeScale, StartScaleDateIsTheSpanOfTheCurrentUnit) {
    const StartCase cases[] = {
        {"seconds", 100, local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13, 47, 23), 1},
        {"ten seconds keep the fraction", 10, local(2012, 3, 7, 13, 47, 23, 600),
         local(2012, 3, 7, 13, 47, 20, 600), 10},
        {"ten minutes", 0.5, local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13, 40), 600},
        {"hour", 0.05, local(2012, 3, 7, 13, 47, 23, 600), local(2012, 3, 7, 13), 3600},
        {"autumn day", 0.001, local(2024, 10, 27, 18), local(2024, 10, 27), 25 * 3600},
        {"spring day", 0.001, local(2024, 3, 31, 18), local(2024, 3, 31), 23 * 3600},
        {"leap February", 0.00005, local(2024, 2, 10), local(2024, 2, 1), 29 * day},
        {"year", 0.000005, local(2024, 2, 10), local(2024, 1, 1), 366 * day},
        {"decade", 5e-7, local(1987, 6, 15), local(1980, 1, 1), 3652 * day},
    };
    for (const StartCase &c : cases) {
        SCOPED_TRACE(c.name);
        double length = -1;
        const KVTimeScale timeScale(c.date, c.scale);
        const QDateTime start = timeScale.startScaleDateForDate(c.date, &length);
        EXPECT_EQ(start.toMSecsSinceEpoch(), c.start.toMSecsSinceEpoch())
            << start.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_DOUBLE_EQ(length, c.length);
        EXPECT_EQ(timeScale.startScaleDate().toMSecsSinceEpoch(), c.start.toMSecsSinceEpoch());
    }
}

TEST(KVTimeScale, StartScaleDateWithoutPhotosIsTheSpanOf1970) {
    const KVTimeScale timeScale(QDateTime(), 0.001);
    EXPECT_EQ(timeScale.startScaleDate(), utc(1969, 12, 31, 23));
}

struct LabelCase {
    KVCalendarUnit unit;
    QDateTime date;
    const char *text;
};

TEST(KVTimeScale, TickLabelShowsOnlyTheUnitsOwnField) {
    const QDateTime date = local(2012, 3, 7, 14, 5, 9);
    const LabelCase cases[] = {
        {KVCalendarUnitYear, date, "2012"},
        {KVCalendarUnitDecade, date, "2012"},
        {KVCalendarUnitMonth, date, "Mar"},
        {KVCalendarUnitDay, date, "7"},
        {KVCalendarUnitHour, date, "14h"},
        {KVCalendarUnitSixHours, date, "14h"},
        {KVCalendarUnitMinute, date, "14h 05m"},
        {KVCalendarUnitTenMinutes, date, "14h 05m"},
        {KVCalendarUnitSecond, date, "14:05:09"},
        {KVCalendarUnitTenSeconds, date, "14:05:09"},
        // Ticks are labelled in local time whatever zone the date was made in.
        {KVCalendarUnitSecond, utc(2012, 3, 7, 13, 5, 9), "14:05:09"},
        {KVCalendarUnitHour, utc(2024, 10, 27, 1), "02h"},
        {KVCalendarUnitYear, utc(2024, 12, 31, 23, 30), "2025"},
        {KVCalendarUnitDay, utc(2024, 12, 31, 23, 30), "1"},
        {KVCalendarUnitMonth, utc(2024, 12, 31, 23, 30), "Jan"},
    };
    for (const LabelCase &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " " << c.text);
        EXPECT_EQ(KVTimeScale::stringForDate(c.date, c.unit).toStdString(), c.text);
    }
}

TEST(KVTimeScale, RowHeaderGivesTheContextTheTicksLeaveOut) {
    const QDateTime date = local(2012, 3, 7, 14, 5, 9);
    const LabelCase cases[] = {
        {KVCalendarUnitMonth, date, "2012"},
        {KVCalendarUnitDay, date, "March, 2012"},
        {KVCalendarUnitHour, date, "March 7, 2012"},
        {KVCalendarUnitSixHours, date, "March 7, 2012"},
        {KVCalendarUnitMinute, date, "March 7, 2012"},
        {KVCalendarUnitTenMinutes, date, "March 7, 2012"},
        {KVCalendarUnitSecond, date, "March 7, 2012"},
        {KVCalendarUnitTenSeconds, date, "March 7, 2012"},
        {KVCalendarUnitYear, date, ""},
        {KVCalendarUnitDecade, date, ""},
        {static_cast<KVCalendarUnit>(0), date, ""},
        {static_cast<KVCalendarUnit>(0x10000000), date, ""},
        {KVCalendarUnitDay, utc(2012, 3, 31, 23, 30), "April, 2012"},
        {KVCalendarUnitHour, utc(2012, 3, 31, 23, 30), "April 1, 2012"},
    };
    for (const LabelCase &c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << " " << c.text);
        EXPECT_EQ(KVTimeScale::headerStringForDate(c.date, c.unit).toStdString(), c.text);
    }
}

TEST(KVTimeScaleDeathTest, TickLabelStopsOnAValueThatIsNoUnit) {
    const std::string text =
        "Assertion failed: \\(0\\), function -\\[KVCameraViewDocumentView "
        "stringForDate:withTimeUnit:\\], file Sources/Extensions/KVTimeScale\\.cpp, line [0-9]+\\.";
    for (quint64 value : {quint64(0), quint64(256), quint64(0x30)}) {
        SCOPED_TRACE(value);
        EXPECT_DEATH(
            KVTimeScale::stringForDate(local(2012, 3, 7), static_cast<KVCalendarUnit>(value)),
            text);
    }
}

} // namespace
