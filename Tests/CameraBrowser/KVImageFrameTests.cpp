#include "KVImageFrame.h"

#include <QRectF>
#include <QSizeF>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

struct FitCase {
    std::string name;
    QRectF frame;
    std::optional<QSizeF> thumbnail;
    QRectF expected;
};

TEST(KVImageFrame, FrameToFitImageKeepsTheHeightAndFollowsThePicture) {
    const FitCase cases[] = {
        // Inside the 3-point border the picture is 70 high: 70 x 1.5 + 6.
        {"landscape", KVImageFrame::provisionalFrame, QSizeF(300, 200), QRectF(0, 8, 111, 76)},
        // 70 / 1.5 + 6 = 52.67, rounded up.
        {"portrait", KVImageFrame::provisionalFrame, QSizeF(200, 300), QRectF(0, 8, 53, 76)},
        {"square", KVImageFrame::provisionalFrame, QSizeF(160, 160), QRectF(0, 8, 76, 76)},
        {"panorama", KVImageFrame::provisionalFrame, QSizeF(1000, 100), QRectF(0, 8, 706, 76)},
        // Rounded inward first (x, y up; width, height down), then the picture's 69 points of
        // height give 69 x 1.5 + 6 = 109.5, rounded up.
        {"fractional frame", QRectF(0.25, 7.5, 150.9, 75.8), QSizeF(300, 200),
         QRectF(1, 8, 110, 75)},
        {"no photo", QRectF(0.25, 7.5, 150.9, 75.8), std::nullopt, QRectF(1, 8, 150, 75)},
        {"thumbnail without pixels", QRectF(0.25, 7.5, 150.9, 75.8), QSizeF(0, 0),
         QRectF(1, 8, 150, 75)},
        // Nothing is left inside the border: the rounded frame stays.
        {"too low for the border", QRectF(0, 8, 150, 6), QSizeF(300, 200), QRectF(0, 8, 150, 6)},
        {"too narrow for the border", QRectF(0, 8, 6, 76), QSizeF(300, 200), QRectF(0, 8, 6, 76)},
    };
    for (const FitCase &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(KVImageFrame(c.frame).frameToFitImage(c.thumbnail), c.expected);
    }
}

TEST(KVImageFrame, EnlargingTwiceGrowsOnceAndCondensingIsTheReverse) {
    KVImageFrame frame(QRectF(40, 8, 111, 76));
    EXPECT_TRUE(frame.enlargeFrame());
    EXPECT_FALSE(frame.enlargeFrame());
    EXPECT_TRUE(frame.enlarged());
    EXPECT_EQ(frame.frame(), QRectF(38, 6, 115, 80));
    EXPECT_TRUE(frame.condenseFrame());
    EXPECT_FALSE(frame.condenseFrame());
    EXPECT_FALSE(frame.enlarged());
    EXPECT_EQ(frame.frame(), QRectF(40, 8, 111, 76));
}

TEST(KVImageFrame, ThePictureStaysPutWhenTheFrameIsEnlarged) {
    KVImageFrame frame(QRectF(40, 8, 111, 76));
    const QRectF picture = frame.imageBounds().translated(frame.frame().topLeft());
    EXPECT_EQ(frame.imageBounds(), QRectF(3, 3, 105, 70));
    frame.enlargeFrame();
    EXPECT_EQ(frame.imageBounds().translated(frame.frame().topLeft()), picture);
}

struct StateCase {
    std::string name;
    bool enlargedBefore;
    KVImageState state;
    bool changed;
    bool enlargedAfter;
};

TEST(KVImageFrame, SelectedAndReferencePhotosAreShownEnlarged) {
    const StateCase cases[] = {
        {"normal to selected", false, KVImageStateSelected, true, true},
        {"normal to reference", false, KVImageStateEtalon, true, true},
        {"selected to reference", true, KVImageStateEtalon, false, true},
        {"selected to normal", true, KVImageStateNormal, true, false},
        {"reference to removed", true, KVImageStateRemoved, true, false},
        {"normal stays normal", false, KVImageStateNormal, false, false},
    };
    for (const StateCase &c : cases) {
        SCOPED_TRACE(c.name);
        KVImageFrame frame(QRectF(40, 8, 111, 76));
        if (c.enlargedBefore)
            frame.enlargeFrame();
        const QRectF before = frame.frame();
        EXPECT_EQ(frame.imageStateDidChange(c.state), c.changed);
        EXPECT_EQ(frame.enlarged(), c.enlargedAfter);
        EXPECT_EQ(frame.frame() != before, c.changed);
    }
}

TEST(KVImageFrame, ANewPhotoIsFittedAndEnlargedByItsState) {
    KVImageFrame selected;
    selected.setImage(QSizeF(300, 200), KVImageStateSelected);
    EXPECT_TRUE(selected.enlarged());
    EXPECT_EQ(selected.frame(), QRectF(-2, 6, 115, 80));

    KVImageFrame normal;
    normal.setImage(QSizeF(200, 300), KVImageStateNormal);
    EXPECT_FALSE(normal.enlarged());
    EXPECT_EQ(normal.frame(), QRectF(0, 8, 53, 76));
}

TEST(KVImageFrame, OriginToCenterSizeIsNotRounded) {
    EXPECT_EQ(KVImageFrame::originToCenterSize(QSizeF(10, 5), QRectF(1, 2, 15, 10)),
              QPointF(3.5, 4.5));
    EXPECT_EQ(KVImageFrame::originToCenterSize(QSizeF(20, 5), QRectF(0, 0, 15, 5)),
              QPointF(-2.5, 0));
}

} // namespace
