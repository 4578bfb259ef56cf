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
#include <vector>

namespace {

[[maybe_unused]] const bool berlin = [] {
    qputenv("TZ", "Europe/Berlin");
    tzset();
    return true;
}();

constexpr QSizeF row(800, 100);
constexpr double hour = 3600;
constexpr double day = 86400;
constexpr double pixelTolerance = 1e-3;
// 28 March 2021 lost an hour and starts 15 h after the first photo; 31 October gained one.
constexpr double springDay = 15 * hour;
constexpr double autumnDay = 218 * day - 10 * hour;

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::LocalTime);

QDateTime at(double seconds) {
    return start.addMSecs(qint64(std::llround(seconds * 1000)));
}

// Photos at those seconds after the start, inserted in that order, their thumbnails 111 points
// wide (a 3:2 picture at the provisional height) unless told otherwise.
KVTimelineLayout timeline(const std::vector<double> &offsets,
                          const std::vector<double> &widths = {}) {
    KVTimelineLayout layout;
    layout.setContentSize(row);
    for (size_t index = 0; index < offsets.size(); ++index)
        layout.insertImage(at(offsets[index]),
                           QRectF(0, 8, index < widths.size() ? widths[index] : 111, 76));
    return layout;
}

std::vector<double> everyHourOfADay() {
    std::vector<double> offsets;
    for (int index = 0; index <= 24; ++index)
        offsets.push_back(index * hour);
    return offsets;
}

std::vector<double> everyDayForTenYears() {
    std::vector<double> offsets;
    for (QDateTime date = start; date < start.addYears(10); date = date.addDays(1))
        offsets.push_back(start.secsTo(date));
    return offsets;
}

template <typename... Values> std::vector<double> values(Values... all) {
    return {double(all)...};
}

TEST(KVTimelineLayout, PhotosStandAtTheirDatesFromTheEarliest) {
    // Inserted out of order, across the spring daylight-saving change: elapsed time counts.
    KVTimelineLayout layout = timeline({hour, 10, day, 0});
    EXPECT_EQ(layout.firstImageDate(), at(0));
    EXPECT_EQ(layout.lastImageDate(), at(day));
    layout.setScale(2);
    const double expected[] = {2 * hour, 20, 2 * day, 0};
    for (int index = 0; index < layout.count(); ++index)
        EXPECT_EQ(layout.imageFrame(index), QRectF(expected[index], 8, 111, 76)) << index;
    // Scaling needs two different dates, or more than two photos.
    EXPECT_FALSE(timeline({}).isScalePossible());
    EXPECT_FALSE(timeline({0}).isScalePossible());
    EXPECT_FALSE(timeline({5, 5}).isScalePossible());
    EXPECT_TRUE(timeline({5, 6}).isScalePossible());
    EXPECT_TRUE(timeline({5, 5, 5}).isScalePossible());
}

TEST(KVTimelineLayout, NeededViewWidthReachesTheLastThumbnailOrFillsTheRow) {
    const struct {
        const char *name;
        std::vector<double> offsets, widths;
        double scale, expected;
    } cases[] = {
        {"no photos", {}, {}, 10, 800},
        {"one photo", {0}, {111}, 10, 800},
        {"short span", {0, 10}, {111, 111}, 1, 800},
        {"long span", {0, 100}, {111, 53}, 10, 1053},
        // The width is that of the last thumbnail inserted, not of the latest one.
        {"latest inserted first", {100, 0}, {53, 111}, 10, 1111},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(c.offsets, c.widths);
        layout.setScale(c.scale);
        EXPECT_DOUBLE_EQ(layout.neededViewWidth(), c.expected);
    }
}

TEST(KVTimelineLayout, SizeToFitPutsTheLastThumbnailAtTheRightEdge) {
    const struct {
        const char *name;
        std::vector<double> offsets;
        double expectedMinScale;
    } cases[] = {
        {"no photos", {}, 800},
        {"one photo", {0}, 800},
        {"two photos of the same second", {0, 0}, 800},
        {"many photos", {0, hour, 2 * hour, day}, (800 - 111) / day},
        {"many photos out of order", {hour, day, 0, 2 * day}, (800 - 111) / (2 * day)},
    };
    for (const auto &c : cases) {
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

TEST(KVTimelineLayout, ZoomKeepsTheInstantUnderTheAnchorInPlace) {
    const struct {
        double fromScale, visibleOriginX, anchorOnScreen, toScale;
    } cases[] = {{0.1, 3000, 400, 0.2},
                 {0.2, 10000, 100, 0.1},
                 {1, 50000, 799, 50},
                 {50, 4e6, 0, 800},
                 {800, 6e7, 555.5, 0.05}};
    for (const auto &c : cases) {
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
    // Keeping the anchor in place here would need the view to start 86328 px before the timeline.
    KVTimelineLayout layout = timeline(everyHourOfADay());
    layout.setScale(1, true, 0);
    layout.setVisibleOriginX(day);
    layout.setScale(0.01, true, day + 800);
    EXPECT_DOUBLE_EQ(layout.frameWidth(), 0.01 * day + 111);
    EXPECT_EQ(layout.visibleOriginX(), 0);
}

// A fitted row is fitted again: KVTableCellViewRow checks that through the row.
TEST(KVTimelineLayout, ResizingKeepsTheLastVisiblePhotoInItsPlace) {
    const struct {
        const char *name;
        double scale, visibleOriginX, newWidth;
        int lastVisible;
    } cases[] = {{"one photo in view, widened", 0.5, 1500, 1200, 1},
                 {"one photo in view, narrowed", 0.5, 3500, 500, 2},
                 // The later of the two photos in view is kept in place.
                 {"two photos in view", 0.1, 950, 1200, 4}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(everyHourOfADay());
        layout.setScale(c.scale, true, 0);
        layout.setVisibleOriginX(c.visibleOriginX);
        const double leftInstant = layout.timeScale().timeIntervalForX(c.visibleOriginX, c.scale);
        // Left of the photo and right of it, the row keeps the same ratio.
        const double place =
            (layout.imageFrame(c.lastVisible).x() - c.visibleOriginX) / (row.width() - 111);
        ASSERT_GT(place, 0);
        ASSERT_LT(place, 1);
        layout.resizeWithOldSuperviewSize(row, QSizeF(c.newWidth, row.height()));
        EXPECT_NE(layout.scale(), c.scale);
        const double after = layout.imageFrame(c.lastVisible).x() - layout.visibleOriginX();
        EXPECT_NEAR(after / (c.newWidth - 111), place, 1e-9);
        EXPECT_NEAR(layout.timeScale().timeIntervalForX(layout.visibleOriginX(), layout.scale()),
                    leftInstant, 1e-6);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
    }
    // No photo in view (the first starts left of it, the second right of it): the scale stays.
    KVTimelineLayout layout = timeline(everyHourOfADay());
    layout.setScale(0.5, true, 0);
    layout.setVisibleOriginX(200);
    const double width = layout.frameWidth();
    layout.resizeWithOldSuperviewSize(row, QSizeF(1200, row.height()));
    EXPECT_EQ(layout.scale(), 0.5);
    EXPECT_EQ(layout.visibleOriginX(), 200);
    EXPECT_EQ(layout.frameWidth(), width + 400);
}

TEST(KVTimelineLayout, PhotosInASpanIncludeBothEnds) {
    const struct {
        const char *name;
        std::vector<double> offsets;
        double from, to;
        std::vector<int> inSpan;
        std::optional<int> last;
    } cases[] = {
        {"both ends", {0, 10, 20, 30}, 10, 20, {1, 2}, 2},
        // Among equal latest dates the earliest in order wins...
        {"tie before an earlier last", {20, 20, 5}, 0, 30, {0, 1, 2}, 0},
        // ...unless the last one itself has the latest date.
        {"tie with the last", {20, 5, 20}, 0, 30, {0, 1, 2}, 2},
    };
    const double origin = KVTimeScale::timeIntervalSince1970(start);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const KVTimelineLayout layout = timeline(c.offsets);
        EXPECT_EQ(layout.imageViewsBetweenStartTime(origin + c.from, origin + c.to), c.inSpan);
        EXPECT_EQ(layout.lastImageViewBetweenStartTime(origin + c.from, origin + c.to), c.last);
    }
}

struct HitCase {
    const char *name;
    QPointF point;
    std::optional<int> hit;
};

// Hit-tested, the topmost thumbnail answers: insertion order, not date, decides which that is.
// Frames include their left and lower edges only.
TEST(KVTimelineLayout, HitTestingFindsTheTopmostThumbnail) {
    KVTimelineLayout layout = timeline({50, 0});
    layout.setScale(1);
    EXPECT_EQ(layout.imageHitTest(QPointF(60, 40)), 1);
    EXPECT_EQ(layout.imageHitTest(QPointF(111, 40)), 0);
    EXPECT_EQ(layout.imageHitTest(QPointF(0, 8)), 1);
    EXPECT_EQ(layout.imageHitTest(QPointF(161, 40)), std::nullopt);
    EXPECT_EQ(layout.imageHitTest(QPointF(100, 84)), std::nullopt);
    EXPECT_EQ(layout.imageHitTest(QPointF(100, 7.9)), std::nullopt);
}

TEST(KVTimelineLayout, TenYearsAtTheLargestScaleAreLaidOutAndHitExactly) {
    // One photo a day for ten years, and two more overlapping at the very end.
    std::vector<double> offsets = everyDayForTenYears();
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
        {"overlap", QPointF(last * 800 + 101, 40), top},
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

TEST(KVTimelineLayout, ImagesInAnXRangeAreThoseOverlappingItInInsertionOrder) {
    // At 1 px/s; frames are [x, x + width). Edges in general are left to the random scan below.
    const struct {
        const char *name;
        std::vector<double> offsets, widths;
        double left, right;
        std::vector<int> expected;
    } cases[] = {
        {"empty range", {0, 50, 300}, {}, 100, 100, {}},
        {"reversed range", {0, 50, 300}, {}, 200, 100, {}},
        // Dates out of insertion order: the answer is in insertion order, the painting order.
        {"inserted out of date order", {300, 50, 0}, {}, 60, 70, {1, 2}},
        // A wide thumbnail reaches far past narrow ones.
        {"wide one inserted last", {100, 200, 300, 0}, {20, 20, 20, 1000}, 150, 210, {1, 3}},
        {"same date", {10, 10, 10}, {20, 30, 40}, 25, 26, {1, 2}},
        {"empty frame", {0, 50}, {111, 0}, 40, 60, {0}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(c.offsets, c.widths);
        layout.setScale(1);
        EXPECT_EQ(layout.imagesIntersectingXRange(c.left, c.right), c.expected);
    }
    // Inserted after the layout, a photo stands at 0 until the next one.
    KVTimelineLayout layout = timeline({0, 50, 300});
    layout.setScale(1);
    layout.insertImage(at(1000), QRectF(0, 8, 111, 76));
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), (std::vector<int>{0, 3}));
    layout.setScale(1);
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), std::vector<int>{0});
    EXPECT_EQ(layout.imagesIntersectingXRange(1000, 1001), std::vector<int>{3});
    // A frame moved by hand out of date order.
    layout.setImageFrame(0, QRectF(2000, 8, 111, 76));
    EXPECT_EQ(layout.imagesIntersectingXRange(2000, 2001), std::vector<int>{0});
    EXPECT_EQ(layout.imagesIntersectingXRange(0, 1), std::vector<int>{});
}

TEST(KVTimelineLayout, ImagesInAnXRangeMatchAFullScanForRandomRanges) {
    // Ten years, a photo a day at a random time, inserted in random order with random widths.
    std::mt19937 random(20210327);
    std::vector<double> offsets, widths;
    for (int dayIndex = 0; dayIndex < 3653; ++dayIndex)
        offsets.push_back(dayIndex * day + std::uniform_int_distribution<int>(0, 86399)(random));
    std::shuffle(offsets.begin(), offsets.end(), random);
    std::uniform_real_distribution<double> width(10, 400);
    for (size_t index = 0; index < offsets.size(); ++index)
        widths.push_back(width(random));
    KVTimelineLayout layout = timeline(offsets, widths);
    // Some x lies in both [left, right) and [frame.left, frame.right).
    const auto fullScan = [&layout](double left, double right) {
        std::vector<int> indexes;
        for (int index = 0; index < layout.count(); ++index) {
            const QRectF frame = layout.imageFrame(index);
            const double x = std::max(left, frame.left());
            if (x < right && x < frame.right())
                indexes.push_back(index);
        }
        return indexes;
    };
    layout.sizeToFit();
    for (double scale : {layout.minScaleValue(), 0.001, 1.0, 800.0}) {
        SCOPED_TRACE(scale);
        layout.setScale(scale, true, 0);
        std::uniform_real_distribution<double> where(-1000, layout.frameWidth() + 1000);
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
            ASSERT_EQ(layout.imagesIntersectingXRange(left, right), fullScan(left, right))
                << left << " .. " << right;
        }
    }
}

TEST(KVTimelineLayout, DoubleClickOnTheScaleBandFillsTheRowWithTheClickedSpan) {
    // Photos from 27 March to 2 December 2021; the row's scale band is y 80 to 100.
    const double lastDayEnd = 250 * day * 800 / day + 111 - 800;
    const struct {
        const char *name;
        // The click, in seconds after the first photo, and its height.
        double scale, clickedOffset, clickY;
        std::optional<double> expectedScale;
        double expectedOriginX;
    } cases[] = {
        {"spring day of 23 hours", 0.001, springDay + 12 * hour, 90, 800 / (23 * hour),
         springDay * 800 / (23 * hour)},
        {"autumn day of 25 hours", 0.001, autumnDay + 20 * hour, 90, 800 / (25 * hour),
         autumnDay * 800 / (25 * hour)},
        {"day starting before the first photo", 0.001, hour, 90, 800 / day, 0},
        {"last day, scrolled to the end", 0.001, 250 * day, 90, 800 / day, lastDayEnd},
        {"March lost an hour", 0.0001, 0, 90, 800 / (31 * day - hour), 0},
        {"below the band", 0.001, springDay, 79.9, std::nullopt, 0},
    };
    for (const auto &c : cases) {
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
    // The zoom goes past the slider's range: one second at 100 px/s fills the row...
    KVTimelineLayout layout = timeline({0, 10});
    layout.sizeToFit();
    layout.setScale(100, true, 0);
    const auto in = layout.zoomToScaleSpanAt(QPointF(250, 90));
    ASSERT_TRUE(in);
    EXPECT_DOUBLE_EQ(in->scale, 800);
    // ...while minutes at 1 px/s reach below the slider's minimum.
    layout.setScale(1, true, 0);
    const auto out = layout.zoomToScaleSpanAt(QPointF(2, 90));
    ASSERT_TRUE(out);
    EXPECT_DOUBLE_EQ(out->scale, 800.0 / 60);
    EXPECT_LT(out->scale, layout.minScaleValue());
}

TEST(KVTimelineLayout, TicksStartAtTheSpanUnderTheLeftEdgeAndStepByTheUnit) {
    // The range and the ticks in seconds after the first photo; labels, split at '|', unchecked
    // when empty, as month names follow the user's locale.
    const struct {
        const char *name;
        double scale, left, right, cellWidth;
        std::vector<double> offsets;
        const char *labels;
    } cases[] = {
        {"days over the spring change", 0.001, springDay + 5 * hour, 63 * hour, 23 * hour * 0.001,
         values(springDay, 38 * hour, 62 * hour), "28|29|30"},
        {"hours over the skipped one", 0.05, springDay + 0.5 * hour, springDay + 3 * hour,
         hour * 0.05, values(springDay, springDay + hour, springDay + 2 * hour), "00h|01h|03h"},
        {"hours over the repeated one", 0.05, autumnDay, autumnDay + 4.5 * hour, hour * 0.05,
         values(autumnDay, autumnDay + hour, autumnDay + 2 * hour, autumnDay + 3 * hour,
                autumnDay + 4 * hour),
         "00h|01h|02h|02h|03h"},
        // Every cell is as wide as March, the month under the left edge.
        {"months", 0.0001, 0, 900 * hour, (31 * day - hour) * 0.0001,
         values(-(26 * day + 9 * hour), 110 * hour, 830 * hour), ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({0, 250 * day});
        layout.setScale(c.scale);
        const KVTimelineLayout::TickRow row =
            layout.ticksForXRange(c.left * c.scale, c.right * c.scale);
        EXPECT_NEAR(row.cellWidth, c.cellWidth, 1e-9);
        ASSERT_EQ(row.ticks.size(), c.offsets.size());
        const QStringList labels = QString::fromUtf8(c.labels).split(u'|', Qt::SkipEmptyParts);
        for (size_t index = 0; index < row.ticks.size(); ++index) {
            SCOPED_TRACE(index);
            EXPECT_NEAR(row.ticks[index].x, c.offsets[index] * c.scale, 1e-9);
            if (!labels.isEmpty()) {
                EXPECT_EQ(row.ticks[index].label, labels[qsizetype(index)]);
            }
        }
    }
}

// Culling: what is painted of thumbnails laid at 1 px/s.

std::vector<int> indexes(const std::vector<KVTimelineLayout::ShownImage> &shown) {
    std::vector<int> result;
    for (const KVTimelineLayout::ShownImage &image : shown)
        result.push_back(image.index);
    return result;
}

TEST(KVTimelineLayoutCulling, LaterThumbnailsHideWhatTheyWhollyCover) {
    KVTimelineLayout layout = timeline({0, 10, 0}, {100, 100, 100});
    layout.setScale(1);
    // The third lies over the first; the second still shows right of the third.
    const std::vector<KVTimelineLayout::ShownImage> shown = layout.imagesShownInXRange(0, 800, 0);
    EXPECT_EQ(indexes(shown), (std::vector<int>{1, 2}));
    // Of the second only its last ten columns show, all inside its picture but the border.
    EXPECT_EQ(shown[0].visibleLeft, 100);
    EXPECT_EQ(shown[0].visibleRight, 110);
    EXPECT_TRUE(shown[0].pictureShows);
    // Seen only through the range's left part, the second is hidden too.
    EXPECT_EQ(indexes(layout.imagesShownInXRange(0, 50, 0)), (std::vector<int>{2}));
    // A grown frame shows around a normal one above; grown on top, it hides the one beneath.
    KVTimelineLayout grown = timeline({0, 0}, {100, 100});
    grown.setScale(1);
    grown.setImageFrame(0, QRectF(-2, 6, 104, 80));
    EXPECT_EQ(indexes(grown.imagesShownInXRange(-10, 800, 0)), (std::vector<int>{0, 1}));
    grown.setImageFrame(0, QRectF(0, 8, 100, 76));
    grown.setImageFrame(1, QRectF(-2, 6, 104, 80));
    EXPECT_EQ(indexes(grown.imagesShownInXRange(-10, 800, 0)), (std::vector<int>{1}));
}

TEST(KVTimelineLayoutCulling, NoMoreThumbnailsThanPixelColumnsFarFromTheOrigin) {
    // A thousand photos a tenth of a pixel apart, ten years into a timeline at 800 px/s.
    const double far = 10 * 365.25 * 86400 * 800.0;
    std::vector<double> offsets;
    for (int index = 0; index < 1000; ++index)
        offsets.push_back(index * 0.1);
    KVTimelineLayout layout = timeline(offsets);
    layout.setScale(1);
    for (int index = 0; index < 1000; ++index)
        layout.setImageFrame(index, layout.imageFrame(index).translated(far, 0));
    const std::vector<KVTimelineLayout::ShownImage> shown =
        layout.imagesShownInXRange(far - 100, far + 900, far - 100);
    EXPECT_GE(shown.size(), 99u);
    EXPECT_LE(shown.size(), 102u);
    // The topmost is always among them, and the only one whose picture shows.
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown.back().index, 999);
    for (const KVTimelineLayout::ShownImage &image : shown) {
        EXPECT_EQ(image.pictureShows, image.index == 999) << image.index;
        EXPECT_LE(image.visibleRight - image.visibleLeft, image.index == 999 ? 111 : 1);
    }
}

TEST(KVTimelineLayoutCulling, RemovingAThumbnailKeepsTheOthersInDateOrder) {
    KVTimelineLayout layout = timeline({50, 0, 100}, {10, 10, 10});
    layout.setScale(1);
    layout.removeImage(1);
    layout.removeImage(7);
    ASSERT_EQ(layout.count(), 2);
    EXPECT_EQ(layout.firstImageDate(), start.addSecs(50));
    layout.setScale(1.0);
    EXPECT_DOUBLE_EQ(layout.imageFrame(0).x(), 0);
    EXPECT_EQ(layout.imagesIntersectingXRange(40, 60), (std::vector<int>{1}));
    layout.removeAllImages();
    EXPECT_TRUE(layout.imagesShownInXRange(0, 800, 0).empty());
    EXPECT_FALSE(layout.firstImageDate().isValid());
}

} // namespace
