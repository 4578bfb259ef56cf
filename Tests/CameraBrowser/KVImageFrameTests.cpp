// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFrame.h"

#include <QRectF>
#include <QSizeF>

#include <gtest/gtest.h>

#include <optional>

namespace {

TEST(KVImageFrame, FrameToFitImageKeepsTheHeightAndFollowsThePicture) {
    const struct {
        const char *name;
        QRectF frame;
        std::optional<QSizeF> thumbnail;
        QRectF expected;
    } cases[] = {
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
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(KVImageFrame(c.frame).frameToFitImage(c.thumbnail), c.expected);
    }
}

// Enlarged, the frame grows by 2 on every side around a picture that stays where it was; a state
// that needs no change of size changes nothing.
TEST(KVImageFrame, SelectedAndReferencePhotosAreShownEnlarged) {
    const struct {
        const char *name;
        bool enlargedBefore;
        KVImageState state;
        bool changed, enlargedAfter;
    } cases[] = {
        {"normal to selected", false, KVImageStateSelected, true, true},
        {"normal to reference", false, KVImageStateEtalon, true, true},
        {"selected to reference", true, KVImageStateEtalon, false, true},
        {"selected to normal", true, KVImageStateNormal, true, false},
        {"reference to removed", true, KVImageStateRemoved, true, false},
        {"normal stays normal", false, KVImageStateNormal, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        KVImageFrame frame(QRectF(40, 8, 111, 76));
        if (c.enlargedBefore)
            frame.enlargeFrame();
        const QRectF before = frame.frame();
        EXPECT_EQ(frame.imageStateDidChange(c.state), c.changed);
        EXPECT_EQ(frame.enlarged(), c.enlargedAfter);
        EXPECT_EQ(frame.frame() != before, c.changed);
        EXPECT_EQ(frame.frame(), c.enlargedAfter ? QRectF(38, 6, 115, 80) : QRectF(40, 8, 111, 76));
        EXPECT_EQ(frame.imageBounds().translated(frame.frame().topLeft()), QRectF(43, 11, 105, 70));
    }
}

} // namespace
