// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

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
// 28 March and 31 October 2021, when Berlin's clocks changed: plain days of a camera's clock.
constexpr double springDay = 15 * hour;
constexpr double autumnDay = 218 * day - 9 * hour;

// Capture dates are wall-clock time, held in UTC.
const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::UTC);

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

std::vector<double> every(double step, int count) {
    std::vector<double> offsets;
    for (int index = 0; index < count; ++index)
        offsets.push_back(index * step);
    return offsets;
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
    EXPECT_FALSE(timeline({5, 5}).isScalePossible());
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
        {"many photos out of order", {hour, day, 0, 2 * day}, (800 - 111) / (2 * day)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline(c.offsets);
        layout.setFrameWidth(5000);
        layout.setVisibleOriginX(1000);
        layout.sizeToFit();
        EXPECT_DOUBLE_EQ(layout.minScaleValue(), c.expectedMinScale);
        EXPECT_DOUBLE_EQ(layout.scale(), c.expectedMinScale);
        EXPECT_EQ(QPointF(layout.frameWidth(), layout.visibleOriginX()), QPointF(800, 0));
        const double right =
            layout.count() > 1 ? layout.imageFrame(layout.count() - 1).right() : 800;
        EXPECT_NEAR(right, 800, 1e-3);
    }
}

TEST(KVTimelineLayout, ZoomKeepsTheInstantUnderTheAnchorInPlace) {
    const struct {
        double fromScale, visibleOriginX, anchorOnScreen, toScale;
    } cases[] = {
        {0.1, 3000, 400, 0.2}, {1, 50000, 799, 50}, {50, 4e6, 0, 800}, {800, 6e7, 555.5, 0.05}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.fromScale << " -> " << c.toScale);
        KVTimelineLayout layout = timeline(every(hour, 25));
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
        EXPECT_NEAR(anchorNow, c.anchorOnScreen, 1e-3);
    }
    // Keeping the anchor in place here would need the view to start 86328 px before the timeline.
    KVTimelineLayout layout = timeline(every(hour, 25));
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
        KVTimelineLayout layout = timeline(every(hour, 25));
        layout.setScale(c.scale, true, 0);
        layout.setVisibleOriginX(c.visibleOriginX);
        const double leftInstant = layout.timeScale().timeIntervalForX(c.visibleOriginX, c.scale);
        // Left of the photo and right of it, the row keeps the same ratio.
        const double place =
            (layout.imageFrame(c.lastVisible).x() - c.visibleOriginX) / (row.width() - 111);
        ASSERT_TRUE(place > 0 && place < 1) << place;
        layout.resizeWithOldSuperviewSize(row, QSizeF(c.newWidth, row.height()));
        EXPECT_NE(layout.scale(), c.scale);
        const double after = layout.imageFrame(c.lastVisible).x() - layout.visibleOriginX();
        EXPECT_NEAR(after / (c.newWidth - 111), place, 1e-9);
        EXPECT_NEAR(layout.timeScale().timeIntervalForX(layout.visibleOriginX(), layout.scale()),
                    leftInstant, 1e-6);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
    }
    // No photo in view (the first starts left of it, the second right of it): the scale stays.
    KVTimelineLayout layout = timeline(every(hour, 25));
    layout.setScale(0.5, true, 0);
    layout.setVisibleOriginX(200);
    const double width = layout.frameWidth();
    layout.resizeWithOldSuperviewSize(row, QSizeF(1200, row.height()));
    EXPECT_EQ(layout.scale(), 0.5);
    EXPECT_EQ(layout.visibleOriginX(), 200);
    EXPECT_EQ(layout.frameWidth(), width + 400);
}

TEST(KVTimelineLayout, TenYearsAtTheLargestScaleAreLaidOutAndHitExactly) {
    // One photo a day for ten years, and two more overlapping at the very end.
    std::vector<double> offsets;
    for (QDateTime date = start; date < start.addYears(10); date = date.addDays(1))
        offsets.push_back(start.secsTo(date));
    const double last = offsets.back();
    // An eighth of a second: exact in seconds since 1970, so x can be compared exactly.
    offsets.push_back(last + 0.125);
    KVTimelineLayout layout = timeline(offsets);
    layout.sizeToFit();
    layout.setScale(layout.maxScaleValue(), true, 0);
    ASSERT_EQ(layout.scale(), 800);
    EXPECT_DOUBLE_EQ(layout.frameWidth(), (last + 0.125) * 800 + 111);
    for (int index = 0; index < layout.count(); ++index) {
        const double x = offsets[index] * 800;
        ASSERT_EQ(layout.imageFrame(index).x(), x) << index;
        if (index + 1 < layout.count() - 1) {
            ASSERT_EQ(layout.imageHitTest(QPointF(x + 0.5, 40)), index) << index;
            ASSERT_EQ(layout.imageHitTest(QPointF(x + 111.5, 40)), std::nullopt) << index;
        }
    }
    // The last two are 100 px apart: the later, inserted last, lies above where they overlap.
    EXPECT_EQ(layout.imageHitTest(QPointF(last * 800 + 1, 40)), layout.count() - 2);
    EXPECT_EQ(layout.imageHitTest(QPointF(last * 800 + 101, 40)), layout.count() - 1);
    EXPECT_EQ(layout.imageHitTest(QPointF(last * 800 + 211.5, 40)), std::nullopt);
    EXPECT_EQ(layout.imageHitTest(QPointF(last * 800 + 1, 7.9)), std::nullopt);
    // Scrolled to the end, the instants under the view are those of the last photos.
    layout.setVisibleOriginX(layout.frameWidth());
    EXPECT_DOUBLE_EQ(layout.visibleOriginX(), layout.frameWidth() - 800);
    const double leftInstant = layout.timeScale().timeIntervalForX(layout.visibleOriginX(), 800);
    EXPECT_NEAR(leftInstant - KVTimeScale::timeIntervalSince1970(start),
                last + 0.125 + (111.0 - 800) / 800, 1e-6);
}

TEST(KVTimelineLayout, ImagesInAnXRangeMatchAFullScanForRandomRanges) {
    // Ten years, a photo a day at a random time, inserted in random order with random widths.
    std::mt19937 random(20210327);
    std::vector<double> offsets, widths;
    for (int dayIndex = 0; dayIndex < 3653; ++dayIndex)
        offsets.push_back(dayIndex * day + std::uniform_int_distribution<int>(0, 86399)(random));
    std::shuffle(offsets.begin(), offsets.end(), random);
    for (size_t index = 0; index < offsets.size(); ++index)
        widths.push_back(std::uniform_real_distribution<double>(10, 400)(random));
    KVTimelineLayout layout = timeline(offsets, widths);
    const auto fullScan = [&layout](double left, double right) {
        std::vector<int> indexes;
        for (int index = 0; index < layout.count(); ++index) {
            const QRectF frame = layout.imageFrame(index);
            if (std::max(left, frame.left()) < std::min(right, frame.right()))
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
            if (trial % 3 == 0) { // ranges that start or end exactly on a frame's edge
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
    // Photos from 27 March to 2 December 2021; the click, in seconds after the first photo.
    const struct {
        const char *name;
        double clickedOffset, expectedScale, expectedOriginX;
    } cases[] = {
        {"autumn day of the clock change, 24 hours", autumnDay + 20 * hour, 800 / (24 * hour),
         autumnDay * 800 / (24 * hour)},
        {"last day, scrolled to the end", 250 * day, 800 / day, 250 * 800 + 111 - 800},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVTimelineLayout layout = timeline({0, 250 * day});
        layout.setScale(0.001, true, 0);
        const auto zoom = layout.zoomToScaleSpanAt(QPointF(c.clickedOffset * 0.001, 90));
        ASSERT_TRUE(zoom);
        EXPECT_NEAR(zoom->scale, c.expectedScale, c.expectedScale * 1e-12);
        EXPECT_NEAR(zoom->visibleOriginX, c.expectedOriginX, 1e-6);
        // Applied, the row shows the span from its left edge and the scroll stays in the document.
        layout.setScale(zoom->scale);
        layout.setFrameWidth(zoom->frameWidth);
        EXPECT_DOUBLE_EQ(layout.frameWidth(), layout.neededViewWidth());
        layout.setVisibleOriginX(zoom->visibleOriginX);
        EXPECT_EQ(layout.visibleOriginX(), zoom->visibleOriginX);
    }
}

// Hours through the nights the local clocks skip or repeat one: the camera's clock did neither,
// so the row never gains or loses an hour. The first tick starts the hour under the left edge.
TEST(KVTimelineLayout, HourTicksFollowTheWallClockAcrossTheChanges) {
    const struct {
        double from;
        const char *labels;
    } cases[] = {{springDay, "00h|01h|02h|03h"}, {autumnDay, "00h|01h|02h|03h"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.labels);
        KVTimelineLayout layout = timeline({0, 250 * day});
        layout.setScale(0.05);
        const QStringList labels = QString::fromLatin1(c.labels).split(u'|');
        const KVTimelineLayout::TickRow row = layout.ticksForXRange(
            (c.from + 0.5 * hour) * 0.05, (c.from + (labels.size() - 0.5) * hour) * 0.05);
        EXPECT_NEAR(row.cellWidth, hour * 0.05, 1e-9);
        ASSERT_EQ(row.ticks.size(), size_t(labels.size()));
        for (qsizetype index = 0; index < labels.size(); ++index) {
            EXPECT_NEAR(row.ticks[index].x, (c.from + index * hour) * 0.05, 1e-9) << index;
            EXPECT_EQ(row.ticks[index].label, labels[index]);
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
    // A grown (reference) frame beneath a normal one still shows around it.
    KVTimelineLayout grown = timeline({0, 0}, {100, 100});
    grown.setScale(1);
    grown.setImageFrame(0, QRectF(-2, 6, 104, 80));
    EXPECT_EQ(indexes(grown.imagesShownInXRange(-10, 800, 0)), (std::vector<int>{0, 1}));
}

TEST(KVTimelineLayoutCulling, NoMoreThumbnailsThanPixelColumnsFarFromTheOrigin) {
    // A thousand photos a tenth of a pixel apart, ten years into a timeline at 800 px/s.
    const double far = 10 * 365.25 * 86400 * 800.0;
    KVTimelineLayout layout = timeline(every(0.1, 1000));
    layout.setScale(1);
    for (int index = 0; index < 1000; ++index)
        layout.setImageFrame(index, layout.imageFrame(index).translated(far, 0));
    const std::vector<KVTimelineLayout::ShownImage> shown =
        layout.imagesShownInXRange(far - 100, far + 900, far - 100);
    ASSERT_GE(shown.size(), 99u);
    EXPECT_LE(shown.size(), 102u);
    // The topmost is always among them, and the only one whose picture shows.
    EXPECT_EQ(shown.back().index, 999);
    for (const KVTimelineLayout::ShownImage &image : shown) {
        EXPECT_EQ(image.pictureShows, image.index == 999) << image.index;
        EXPECT_LE(image.visibleRight - image.visibleLeft, image.index == 999 ? 111 : 1);
    }
}

} // namespace
