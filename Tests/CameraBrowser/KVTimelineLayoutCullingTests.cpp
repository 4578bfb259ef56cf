#include "KVTimelineLayout.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int> indexes(const std::vector<KVTimelineLayout::ShownImage> &shown) {
    std::vector<int> result;
    for (const KVTimelineLayout::ShownImage &image : shown)
        result.push_back(image.index);
    return result;
}

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::LocalTime);

// Thumbnails with those frames, laid at a scale of 1 px/s from the first date.
KVTimelineLayout layoutWithFrames(const std::vector<QRectF> &frames) {
    KVTimelineLayout layout;
    layout.setContentSize(QSizeF(800, 120));
    for (const QRectF &frame : frames)
        layout.insertImage(start.addMSecs(qint64(frame.x() * 1000)), frame);
    layout.setScale(1.0);
    return layout;
}

TEST(KVTimelineLayoutCulling, LaterThumbnailsHideWhatTheyWhollyCover) {
    const KVTimelineLayout layout =
        layoutWithFrames({QRectF(0, 8, 100, 76), QRectF(10, 8, 100, 76), QRectF(0, 8, 100, 76)});
    // The third lies over the first; the second still shows right of the third.
    const std::vector<KVTimelineLayout::ShownImage> shown = layout.imagesShownInXRange(0, 800, 0);
    EXPECT_EQ(indexes(shown), (std::vector<int>{1, 2}));
    // Of the second only its last ten columns show, all inside its picture but the border.
    EXPECT_EQ(shown[0].visibleLeft, 100);
    EXPECT_EQ(shown[0].visibleRight, 110);
    EXPECT_TRUE(shown[0].pictureShows);
    // Seen only through the range's left part, the second is hidden too.
    EXPECT_EQ(indexes(layout.imagesShownInXRange(0, 50, 0)), (std::vector<int>{2}));
}

TEST(KVTimelineLayoutCulling, GrownFrameShowsAroundANormalOneAbove) {
    KVTimelineLayout layout = layoutWithFrames({QRectF(0, 8, 100, 76), QRectF(0, 8, 100, 76)});
    layout.setImageFrame(0, QRectF(-2, 6, 104, 80));
    EXPECT_EQ(indexes(layout.imagesShownInXRange(-10, 800, 0)), (std::vector<int>{0, 1}));
    // Grown on top, it hides the normal one beneath.
    layout.setImageFrame(0, QRectF(0, 8, 100, 76));
    layout.setImageFrame(1, QRectF(-2, 6, 104, 80));
    EXPECT_EQ(indexes(layout.imagesShownInXRange(-10, 800, 0)), (std::vector<int>{1}));
}

TEST(KVTimelineLayoutCulling, NoMoreThumbnailsThanPixelColumnsFarFromTheOrigin) {
    // A thousand photos a tenth of a pixel apart, ten years into a timeline at 800 px/s.
    const double far = 10 * 365.25 * 86400 * 800.0;
    std::vector<QRectF> frames;
    for (int index = 0; index < 1000; ++index)
        frames.emplace_back(index * 0.1, 8, 111, 76);
    KVTimelineLayout layout = layoutWithFrames(frames);
    for (int index = 0; index < 1000; ++index)
        layout.setImageFrame(index, frames[index].translated(far, 0));
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
    KVTimelineLayout layout =
        layoutWithFrames({QRectF(50, 8, 10, 76), QRectF(0, 8, 10, 76), QRectF(100, 8, 10, 76)});
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
