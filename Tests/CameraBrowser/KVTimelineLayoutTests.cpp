#include "KVTimelineLayout.h"

#include "KVTimeScale.h"

#include <QDateTime>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

[[maybe_unused]] const bool berlin = [] {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    return true;
}();

// A thumbnail of a 3:2 picture at the provisional height.
constexpr QRectF landscapeFrame(0, 8, 111, 76);
constexpr QSizeF row(800, 100);
constexpr double hour = 3600;
constexpr double day = 86400;
constexpr double pixelTolerance = 1e-3;

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::LocalTime);

QDateTime at(double seconds) {
    return start.addMSecs(qint64(std::llround(seconds * 1000)));
}

// Photos at those seconds after the start, inserted in that order.
KVTimelineLayout timeline(const std::vector<double> &offsets, const QRectF &frame = landscapeFrame,
                          const QSizeF &content = row) {
    KVTimelineLayout layout;
    layout.setContentSize(content);
    for (double offset : offsets)
        layout.insertImage(at(offset), frame);
    return layout;
}

std::vector<double> everyHourOfADay() {
    std::vector<double> offsets;
    for (int index = 0; index <= 24; ++index)
        offsets.push_back(index * hour);
    return offsets;
}

TEST(KVTimelineLayout, PhotosStandAtTheirDatesFromTheEarliest) {
    // Inserted out of order, across the spring daylight-saving change: elapsed time counts.
    KVTimelineLayout layout = timeline({hour, 10, day, 0});
    EXPECT_EQ(layout.firstImageDate(), at(0));
    EXPECT_EQ(layout.lastImageDate(), at(day));
    layout.setScale(2);
    const double expected[] = {2 * hour, 20, 2 * day, 0};
    for (int index = 0; index < layout.count(); ++index) {
        SCOPED_TRACE(index);
        EXPECT_DOUBLE_EQ(layout.imageFrame(index).x(), expected[index]);
        EXPECT_EQ(layout.imageFrame(index).y(), landscapeFrame.y());
        EXPECT_EQ(layout.imageFrame(index).size(), landscapeFrame.size());
    }
}

struct NeededWidthCase {
    std::string name;
    std::vector<double> offsets;
    std::vector<double> widths;
    double scale;
    double expected;
};

TEST(KVTimelineLayout, NeededViewWidthReachesTheLastThumbnailOrFillsTheRow) {
    const NeededWidthCase cases[] = {
        {"no photos", {}, {}, 10, 800},
        {"one photo", {0}, {111}, 10, 800},
        {"short span", {0, 10}, {111, 111}, 1, 800},
        {"long span", {0, 100}, {111, 53}, 10, 1053},
        // The width is that of the last thumbnail inserted, not of the latest one.
        {"latest inserted first", {100, 0}, {53, 111}, 10, 1111},
    };
    for (const NeededWidthCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({});
        for (size_t index = 0; index < c.offsets.size(); ++index)
            layout.insertImage(at(c.offsets[index]), QRectF(0, 8, c.widths[index], 76));
        layout.setScale(c.scale);
        EXPECT_DOUBLE_EQ(layout.neededViewWidth(), c.expected);
    }
}

struct FitCase {
    std::string name;
    std::vector<double> offsets;
    double expectedMinScale;
};

TEST(KVTimelineLayout, SizeToFitPutsTheLastThumbnailAtTheRightEdge) {
    const FitCase cases[] = {
        {"no photos", {}, 800},
        {"one photo", {0}, 800},
        {"two photos of the same second", {0, 0}, 800},
        {"many photos", {0, hour, 2 * hour, day}, (800 - 111) / day},
        {"many photos out of order", {hour, day, 0, 2 * day}, (800 - 111) / (2 * day)},
    };
    for (const FitCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(c.offsets);
        layout.setFrameWidth(5000);
        layout.setVisibleOriginX(1000);
        layout.sizeToFit();
        EXPECT_DOUBLE_EQ(layout.minScaleValue(), c.expectedMinScale);
        EXPECT_DOUBLE_EQ(layout.maxScaleValue(), 800);
        EXPECT_DOUBLE_EQ(layout.scale(), c.expectedMinScale);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), 800);
        EXPECT_EQ(layout.visibleOriginX(), 0);
        if (c.offsets.size() > 1 && c.offsets.back() != c.offsets.front()) {
            EXPECT_NEAR(layout.imageFrame(layout.count() - 1).right(), 800, pixelTolerance);
        }
    }
}

struct ZoomCase {
    double fromScale;
    double visibleOriginX;
    double anchorOnScreen;
    double toScale;
};

TEST(KVTimelineLayout, ZoomKeepsTheInstantUnderTheAnchorInPlace) {
    const ZoomCase cases[] = {
        {0.1, 3000, 400, 0.2}, {0.2, 10000, 100, 0.1},  {1, 50000, 799, 50},
        {50, 4e6, 0, 800},     {800, 6e7, 555.5, 0.05},
    };
    for (const ZoomCase &c : cases) {
        SCOPED_TRACE(testing::Message() << c.fromScale << " -> " << c.toScale);
        KVTimelineLayout layout = timeline(everyHourOfADay());
        layout.sizeToFit();
        layout.setScale(c.fromScale, true, 0);
        layout.setVisibleOriginX(c.visibleOriginX);
        ASSERT_EQ(layout.visibleOriginX(), c.visibleOriginX);
        const double anchorX = c.visibleOriginX + c.anchorOnScreen;
        const double instant = layout.timeScale().timeIntervalForX(anchorX, c.fromScale);

        layout.setScale(c.toScale, true, anchorX);

        EXPECT_EQ(layout.scale(), c.toScale);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
        const double anchorNow =
            layout.timeScale().offsetXForTimeInterval(instant, c.toScale) - layout.visibleOriginX();
        EXPECT_NEAR(anchorNow, c.anchorOnScreen, pixelTolerance);
    }
}

TEST(KVTimelineLayout, ZoomWithoutFittingLeavesTheFrameAndScroll) {
    KVTimelineLayout layout = timeline(everyHourOfADay());
    layout.setScale(1, true, 0);
    layout.setVisibleOriginX(20000);
    layout.setScale(2, false, 20400);
    EXPECT_EQ(layout.frameWidth(), day + 111);
    EXPECT_EQ(layout.visibleOriginX(), 20000);
    EXPECT_EQ(layout.imageFrame(24).x(), 2 * day);
}

TEST(KVTimelineLayout, ZoomingOutNeverScrollsBeforeTheDocumentStart) {
    KVTimelineLayout layout = timeline(everyHourOfADay());
    layout.setScale(1, true, 0);
    layout.setVisibleOriginX(day);
    layout.setScale(0.01, true, day + 800);
    EXPECT_DOUBLE_EQ(layout.frameWidth(), 0.01 * day + 111);
    // Keeping the anchor in place would need the view to start 86328 px before the timeline.
    EXPECT_EQ(layout.visibleOriginX(), 0);
}

TEST(KVTimelineLayout, ResizingAFittedTimelineFitsItAgain) {
    for (double newWidth : {1200.0, 500.0}) {
        SCOPED_TRACE(newWidth);
        KVTimelineLayout layout = timeline(everyHourOfADay());
        layout.sizeToFit();
        layout.resizeWithOldSuperviewSize(row, QSizeF(newWidth, row.height()));
        EXPECT_DOUBLE_EQ(layout.frameWidth(), newWidth);
        EXPECT_DOUBLE_EQ(layout.minScaleValue(), (newWidth - 111) / day);
        EXPECT_DOUBLE_EQ(layout.maxScaleValue(), newWidth);
        EXPECT_DOUBLE_EQ(layout.scale(), layout.minScaleValue());
        EXPECT_NEAR(layout.imageFrame(24).right(), newWidth, pixelTolerance);
    }
}

struct ResizeCase {
    std::string name;
    double scale;
    double visibleOriginX;
    double newWidth;
    int lastVisible;
};

TEST(KVTimelineLayout, ResizingKeepsTheLastVisiblePhotoInItsProportionalPlace) {
    const ResizeCase cases[] = {
        {"one photo in view, widened", 0.5, 1500, 1200, 1},
        {"one photo in view, narrowed", 0.5, 3500, 500, 2},
        // The later of the two photos in view is kept in place.
        {"two photos in view", 0.1, 950, 1200, 4},
    };
    for (const ResizeCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(everyHourOfADay());
        layout.setScale(c.scale, true, 0);
        layout.setVisibleOriginX(c.visibleOriginX);
        const double leftInstant = layout.timeScale().timeIntervalForX(c.visibleOriginX, c.scale);
        const double before = layout.imageFrame(c.lastVisible).x() - c.visibleOriginX;
        // Left of the photo and right of it, the row keeps the same ratio.
        const double place = before / (row.width() - landscapeFrame.width());
        ASSERT_GT(place, 0);
        ASSERT_LT(place, 1);

        layout.resizeWithOldSuperviewSize(row, QSizeF(c.newWidth, row.height()));

        EXPECT_NE(layout.scale(), c.scale);
        const double after = layout.imageFrame(c.lastVisible).x() - layout.visibleOriginX();
        EXPECT_NEAR(after / (c.newWidth - landscapeFrame.width()), place, 1e-9);
        EXPECT_NEAR(layout.timeScale().timeIntervalForX(layout.visibleOriginX(), layout.scale()),
                    leftInstant, 1e-6);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
    }
}

TEST(KVTimelineLayout, ResizingWithNoPhotoInViewKeepsTheScale) {
    KVTimelineLayout layout = timeline(everyHourOfADay());
    layout.setScale(0.5, true, 0);
    // The first photo starts left of the view, the second right of it.
    layout.setVisibleOriginX(200);
    const double width = layout.frameWidth();
    layout.resizeWithOldSuperviewSize(row, QSizeF(1200, row.height()));
    EXPECT_EQ(layout.scale(), 0.5);
    EXPECT_EQ(layout.visibleOriginX(), 200);
    EXPECT_EQ(layout.frameWidth(), width + 400);
}

struct PossibleCase {
    std::string name;
    std::vector<double> offsets;
    bool possible;
};

TEST(KVTimelineLayout, ScalingNeedsTwoDifferentDates) {
    const PossibleCase cases[] = {
        {"none", {}, false},
        {"one", {0}, false},
        {"two of the same second", {5, 5}, false},
        {"two", {5, 6}, true},
        {"three of the same second", {5, 5, 5}, true},
    };
    for (const PossibleCase &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(timeline(c.offsets).isScalePossible(), c.possible);
    }
}

struct SpanCase {
    std::string name;
    std::vector<double> offsets;
    double from;
    double to;
    std::vector<int> inSpan;
    std::optional<int> last;
};

TEST(KVTimelineLayout, PhotosInASpanIncludeBothEnds) {
    const SpanCase cases[] = {
        {"empty span", {0, 10, 20}, 11, 19, {}, std::nullopt},
        {"both ends", {0, 10, 20, 30}, 10, 20, {1, 2}, 2},
        {"out of order", {20, 0, 10}, 0, 20, {0, 1, 2}, 0},
        // Among equal latest dates the earliest in order wins...
        {"tie before an earlier last", {20, 20, 5}, 0, 30, {0, 1, 2}, 0},
        // ...unless the last one itself has the latest date.
        {"tie with the last", {20, 5, 20}, 0, 30, {0, 1, 2}, 2},
    };
    for (const SpanCase &c : cases) {
        SCOPED_TRACE(c.name);
        const KVTimelineLayout layout = timeline(c.offsets);
        const double origin = KVTimeScale::timeIntervalSince1970(start);
        EXPECT_EQ(layout.imageViewsBetweenStartTime(origin + c.from, origin + c.to), c.inSpan);
        EXPECT_EQ(layout.lastImageViewBetweenStartTime(origin + c.from, origin + c.to), c.last);
    }
}

struct HitCase {
    std::string name;
    QPointF point;
    std::optional<int> hit;
};

TEST(KVTimelineLayout, HitTestingFindsTheTopmostThumbnail) {
    // At 1 px/s: thumbnails at 0..111, 50..161 and 300..411; the second lies above the first.
    KVTimelineLayout layout = timeline({0, 50, 300});
    layout.setScale(1);
    const HitCase cases[] = {
        {"first alone", QPointF(10, 40), 0},
        {"overlap", QPointF(60, 40), 1},
        {"second alone", QPointF(150, 40), 1},
        {"gap", QPointF(200, 40), std::nullopt},
        {"left edge", QPointF(300, 8), 2},
        {"right edge", QPointF(411, 40), std::nullopt},
        {"top edge", QPointF(350, 84), std::nullopt},
        {"below", QPointF(350, 7.9), std::nullopt},
    };
    for (const HitCase &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(layout.imageHitTest(c.point), c.hit);
    }
}

TEST(KVTimelineLayout, InsertionOrderNotDateDecidesWhichThumbnailIsOnTop) {
    KVTimelineLayout layout = timeline({50, 0});
    layout.setScale(1);
    EXPECT_EQ(layout.imageHitTest(QPointF(60, 40)), 1);
}

TEST(KVTimelineLayout, TenYearsAtTheLargestScaleAreLaidOutAndHitExactly) {
    // One photo a day for ten years, and two more overlapping at the very end.
    std::vector<double> offsets;
    const QDateTime end = start.addYears(10);
    for (QDateTime date = start; date < end; date = date.addDays(1))
        offsets.push_back(start.secsTo(date));
    const double last = offsets.back();
    // An eighth of a second: exact in seconds since 1970, so x can be compared exactly.
    offsets.push_back(last + 0.125);
    KVTimelineLayout layout = timeline(offsets);
    layout.sizeToFit();
    layout.setScale(layout.maxScaleValue(), true, 0);

    ASSERT_EQ(layout.scale(), 800);
    EXPECT_GT(layout.frameWidth(), 1e11);
    EXPECT_DOUBLE_EQ(layout.frameWidth(), (last + 0.125) * 800 + 111);
    for (int index = 0; index < layout.count(); ++index) {
        const double x = offsets[index] * 800;
        ASSERT_EQ(layout.imageFrame(index).x(), x) << index;
        if (index + 1 < layout.count() - 1) {
            ASSERT_EQ(layout.imageHitTest(QPointF(x + 0.5, 40)), index) << index;
            ASSERT_EQ(layout.imageHitTest(QPointF(x + 111.5, 40)), std::nullopt) << index;
        }
    }
    // The last two are 100 px apart: the later lies above the earlier where they overlap.
    const int top = layout.count() - 1;
    const HitCase ends[] = {
        {"earlier alone", QPointF(last * 800 + 1, 40), top - 1},
        {"just before the later", QPointF(last * 800 + 99.5, 40), top - 1},
        {"overlap", QPointF(last * 800 + 101, 40), top},
        {"later alone", QPointF(last * 800 + 111.5, 40), top},
        {"after both", QPointF(last * 800 + 211.5, 40), std::nullopt},
    };
    for (const HitCase &c : ends) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(layout.imageHitTest(c.point), c.hit);
    }

    // Scrolled to the end, the instants under the view are those of the last photos.
    layout.setVisibleOriginX(layout.frameWidth());
    EXPECT_DOUBLE_EQ(layout.visibleOriginX(), layout.frameWidth() - 800);
    const double leftInstant = layout.timeScale().timeIntervalForX(layout.visibleOriginX(), 800);
    EXPECT_NEAR(leftInstant - KVTimeScale::timeIntervalSince1970(start),
                last + 0.125 + (111.0 - 800) / 800, 1e-6);
}

std::vector<int> bruteForceInXRange(const KVTimelineLayout &layout, double left, double right) {
    std::vector<int> indexes;
    for (int index = 0; index < layout.count(); ++index) {
        const QRectF frame = layout.imageFrame(index);
        // Some x lies in both [left, right) and [frame.left, frame.right).
        bool shared = false;
        for (double x : {left, frame.left()})
            shared = shared || (x >= left && x < right && x >= frame.left() && x < frame.right());
        if (shared)
            indexes.push_back(index);
    }
    return indexes;
}

struct XRangeCase {
    std::string name;
    std::vector<double> offsets;
    std::vector<double> widths;
    double left;
    double right;
    std::vector<int> expected;
};

TEST(KVTimelineLayout, ImagesInAnXRangeAreThoseOverlappingItInInsertionOrder) {
    // At 1 px/s; frames are [x, x + width).
    const XRangeCase cases[] = {
        {"left of all", {0, 50, 300}, {111, 111, 111}, -100, 0, {}},
        {"touching the first", {0, 50, 300}, {111, 111, 111}, -10, 0.5, {0}},
        {"overlap", {0, 50, 300}, {111, 111, 111}, 60, 70, {0, 1}},
        {"between two, both edges excluded", {0, 50, 300}, {111, 111, 111}, 161, 300, {}},
        {"just inside the right edge", {0, 50, 300}, {111, 111, 111}, 410.5, 500, {2}},
        {"right edge", {0, 50, 300}, {111, 111, 111}, 411, 500, {}},
        {"everything", {0, 50, 300}, {111, 111, 111}, -1e12, 1e12, {0, 1, 2}},
        {"empty range", {0, 50, 300}, {111, 111, 111}, 100, 100, {}},
        {"reversed range", {0, 50, 300}, {111, 111, 111}, 200, 100, {}},
        // Dates out of insertion order: the answer is in insertion order, the painting order.
        {"inserted out of date order", {300, 50, 0}, {111, 111, 111}, 60, 70, {1, 2}},
        // An early, wide thumbnail reaches far past narrow later ones.
        {"early wide thumbnail", {0, 100, 200, 300}, {1000, 20, 20, 20}, 500, 600, {0}},
        {"wide one inserted last", {100, 200, 300, 0}, {20, 20, 20, 1000}, 150, 210, {1, 3}},
        {"same date", {10, 10, 10}, {20, 30, 40}, 25, 26, {1, 2}},
        {"empty frame", {0, 50}, {111, 0}, 40, 60, {0}},
    };
    for (const XRangeCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({});
        for (size_t index = 0; index < c.offsets.size(); ++index)
            layout.insertImage(at(c.offsets[index]), QRectF(0, 8, c.widths[index], 76));
        layout.setScale(1);
        EXPECT_EQ(layout.imagesIntersectingXRange(c.left, c.right), c.expected);
    }
}

TEST(KVTimelineLayout, ImagesInAnXRangeFollowFramesNotYetLaidOut) {
    KVTimelineLayout layout = timeline({0, 50, 300});
    layout.setScale(1);
    // Inserted after the layout, it stands at 0 until the next one.
    layout.insertImage(at(1000), landscapeFrame);
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), (std::vector<int>{0, 3}));
    layout.setScale(1);
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), std::vector<int>{0});
    EXPECT_EQ(layout.imagesIntersectingXRange(1000, 1001), std::vector<int>{3});
    // A frame moved by hand out of date order.
    layout.setImageFrame(0, QRectF(2000, 8, 111, 76));
    EXPECT_EQ(layout.imagesIntersectingXRange(2000, 2001), std::vector<int>{0});
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), std::vector<int>{});
}

TEST(KVTimelineLayout, ImagesInAnXRangeOfTenYearsAtTheLargestScale) {
    std::vector<double> offsets;
    const QDateTime end = start.addYears(10);
    for (QDateTime date = start; date < end; date = date.addDays(1))
        offsets.push_back(start.secsTo(date));
    KVTimelineLayout layout = timeline(offsets);
    layout.setScale(800);
    const int last = layout.count() - 1;
    const double lastX = offsets.back() * 800;
    ASSERT_GT(lastX, 1e11);
    struct Row {
        std::string name;
        double left;
        double right;
        std::vector<int> expected;
    };
    const double x1000 = offsets[1000] * 800;
    const Row rows[] = {
        {"first", 0, 1, {0}},
        {"left edge of one", x1000, x1000 + 1, {1000}},
        {"just before one", x1000 - 1, x1000, {}},
        {"last pixel of one", x1000 + 110.5, x1000 + 111, {1000}},
        {"right edge of one", x1000 + 111, x1000 + 112, {}},
        {"last", lastX + 110, lastX + 1e6, {last}},
        {"after all", lastX + 111, lastX + 1e6, {}},
        {"two days", offsets[5] * 800, offsets[6] * 800 + 1, {5, 6}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(layout.imagesIntersectingXRange(row.left, row.right), row.expected);
    }
}

TEST(KVTimelineLayout, ImagesInAnXRangeMatchAFullScanForRandomRanges) {
    // Ten years, a photo a day at a random time, inserted in random order with random widths.
    std::mt19937 random(20210327);
    std::vector<double> offsets;
    for (int dayIndex = 0; dayIndex < 3653; ++dayIndex)
        offsets.push_back(dayIndex * day + std::uniform_int_distribution<int>(0, 86399)(random));
    std::shuffle(offsets.begin(), offsets.end(), random);
    KVTimelineLayout layout = timeline({});
    std::uniform_real_distribution<double> width(10, 400);
    for (double offset : offsets)
        layout.insertImage(at(offset), QRectF(0, 8, width(random), 76));
    layout.sizeToFit();
    for (double scale : {layout.minScaleValue(), 0.001, 1.0, 800.0}) {
        SCOPED_TRACE(scale);
        layout.setScale(scale, true, 0);
        const double documentWidth = layout.frameWidth();
        std::uniform_real_distribution<double> where(-1000, documentWidth + 1000);
        std::uniform_int_distribution<int> which(0, layout.count() - 1);
        for (int trial = 0; trial < 300; ++trial) {
            double left = where(random);
            double right = left + std::exp(std::uniform_real_distribution<double>(0, 14)(random));
            if (trial % 3 == 0) {
                // Ranges that start or end exactly on a frame's edge.
                const QRectF frame = layout.imageFrame(which(random));
                left = trial % 2 ? frame.right() : frame.left() - 50;
                right = trial % 2 ? frame.right() + 50 : frame.left();
            }
            ASSERT_EQ(layout.imagesIntersectingXRange(left, right),
                      bruteForceInXRange(layout, left, right))
                << left << " .. " << right;
        }
    }
}

struct SpanZoomCase {
    std::string name;
    double scale;
    // The click, in seconds after the first photo, and its height.
    double clickedOffset;
    double clickY;
    std::optional<double> expectedScale;
    double expectedOriginX;
};

TEST(KVTimelineLayout, DoubleClickOnTheScaleBandFillsTheRowWithTheClickedSpan) {
    // Photos from 27 March to 2 December 2021; the row is 800 x 100, its scale band y 80 to 100.
    // 28 March lost an hour (starting 15 h after the first photo), 31 October gained one
    // (starting 218 days less 10 hours after it).
    const double springDay = 15 * hour;
    const double autumnDay = 218 * day - 10 * hour;
    const double april = 110 * hour;
    const double lastDayEnd = 250 * day * 800 / day + 111 - 800;
    const SpanZoomCase cases[] = {
        {"spring day of 23 hours", 0.001, springDay + 12 * hour, 90, 800 / (23 * hour),
         springDay * 800 / (23 * hour)},
        {"ordinary day", 0.001, 62 * hour + 5 * hour, 90, 800 / day, 62 * hour * 800 / day},
        {"autumn day of 25 hours", 0.001, autumnDay + 20 * hour, 90, 800 / (25 * hour),
         autumnDay * 800 / (25 * hour)},
        {"day starting before the first photo", 0.001, hour, 90, 800 / day, 0},
        {"last day, scrolled to the end", 0.001, 250 * day, 90, 800 / day, lastDayEnd},
        {"hour", 0.05, 1.5 * hour, 90, 800 / hour, 800},
        {"hour after the skipped one", 0.05, springDay + 2.5 * hour, 90, 800 / hour,
         (springDay + 2 * hour) * 800 / hour},
        {"April", 0.0001, april + 10 * day, 90, 800 / (30 * day), april * 800 / (30 * day)},
        {"March lost an hour", 0.0001, 0, 90, 800 / (31 * day - hour), 0},
        {"band's bottom edge", 0.001, springDay, 80, 800 / (23 * hour),
         springDay * 800 / (23 * hour)},
        {"band's top edge", 0.001, springDay, 100, 800 / (23 * hour),
         springDay * 800 / (23 * hour)},
        {"below the band", 0.001, springDay, 79.9, std::nullopt, 0},
        {"above the row", 0.001, springDay, 100.5, std::nullopt, 0},
    };
    for (const SpanZoomCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({0, 250 * day});
        layout.setScale(c.scale, true, 0);
        const std::optional<KVTimelineLayout::ScaleSpanZoom> zoom =
            layout.zoomToScaleSpanAt(QPointF(c.clickedOffset * c.scale, c.clickY));
        ASSERT_EQ(zoom.has_value(), c.expectedScale.has_value());
        if (!zoom)
            continue;
        EXPECT_NEAR(zoom->scale, *c.expectedScale, *c.expectedScale * 1e-12);
        EXPECT_NEAR(zoom->visibleOriginX, c.expectedOriginX, 1e-6);

        // Applied, the row shows the span from its left edge and the scroll stays in the document.
        layout.setScale(zoom->scale);
        layout.setFrameWidth(zoom->frameWidth);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
        layout.setVisibleOriginX(zoom->visibleOriginX);
        EXPECT_EQ(layout.visibleOriginX(), zoom->visibleOriginX);
    }
}

TEST(KVTimelineLayout, DoubleClickZoomGoesPastTheSlidersRange) {
    KVTimelineLayout layout = timeline({0, 10});
    layout.sizeToFit();
    layout.setScale(100, true, 0);
    // Seconds at 100 px/s: one second fills the 800 px row...
    const auto zoom = layout.zoomToScaleSpanAt(QPointF(250, 90));
    ASSERT_TRUE(zoom);
    EXPECT_DOUBLE_EQ(zoom->scale, 800);
    layout.setScale(1, true, 0);
    // ...while minutes at 1 px/s reach below the slider's minimum.
    const auto out = layout.zoomToScaleSpanAt(QPointF(2, 90));
    ASSERT_TRUE(out);
    EXPECT_DOUBLE_EQ(out->scale, 800.0 / 60);
    EXPECT_LT(out->scale, layout.minScaleValue());
}

struct TickCase {
    std::string name;
    double scale;
    // The range, in seconds after the first photo.
    double leftOffset;
    double rightOffset;
    double cellWidth;
    std::vector<double> offsets;
    // Unchecked when empty: month names follow the user's locale.
    std::vector<QString> labels;
};

TEST(KVTimelineLayout, TicksStartAtTheSpanUnderTheLeftEdgeAndStepByTheUnit) {
    const double springDay = 15 * hour;
    const double autumnDay = 218 * day - 10 * hour;
    const TickCase cases[] = {
        {"days over the spring change",
         0.001,
         springDay + 5 * hour,
         63 * hour,
         23 * hour * 0.001,
         {springDay, 38 * hour, 62 * hour},
         {"28", "29", "30"}},
        {"right edge excluded",
         0.001,
         springDay + 5 * hour,
         62 * hour,
         23 * hour * 0.001,
         {springDay, 38 * hour},
         {"28", "29"}},
        {"hours over the skipped one",
         0.05,
         springDay + 0.5 * hour,
         springDay + 3 * hour,
         hour * 0.05,
         {springDay, springDay + hour, springDay + 2 * hour},
         {"00h", "01h", "03h"}},
        {"hours over the repeated one",
         0.05,
         autumnDay,
         autumnDay + 4.5 * hour,
         hour * 0.05,
         {autumnDay, autumnDay + hour, autumnDay + 2 * hour, autumnDay + 3 * hour,
          autumnDay + 4 * hour},
         {"00h", "01h", "02h", "02h", "03h"}},
        // Every cell is as wide as March, the month under the left edge.
        {"months",
         0.0001,
         0,
         900 * hour,
         (31 * day - hour) * 0.0001,
         {-(26 * day + 9 * hour), 110 * hour, 830 * hour},
         {}},
        {"empty range", 0.001, 0, 0, day * 0.001, {-9 * hour}, {"27"}},
        {"ten minutes",
         0.5,
         25 * 60,
         50 * 60,
         600 * 0.5,
         {20 * 60, 30 * 60, 40 * 60},
         {"09h 20m", "09h 30m", "09h 40m"}},
    };
    for (const TickCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({0, 250 * day});
        layout.setScale(c.scale);
        const KVTimelineLayout::TickRow row =
            layout.ticksForXRange(c.leftOffset * c.scale, c.rightOffset * c.scale);
        EXPECT_NEAR(row.cellWidth, c.cellWidth, 1e-9);
        ASSERT_EQ(row.ticks.size(), c.offsets.size());
        for (size_t index = 0; index < row.ticks.size(); ++index) {
            SCOPED_TRACE(index);
            EXPECT_NEAR(row.ticks[index].x, c.offsets[index] * c.scale, 1e-9);
            if (!c.labels.empty()) {
                EXPECT_EQ(row.ticks[index].label, c.labels[index]);
            }
        }
    }
}

} // namespace
