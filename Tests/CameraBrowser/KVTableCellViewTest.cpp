// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraViewDocumentView.h"
#include "KVTimelineTestPhoto.h"
#include "KVTableCellView.h"
#include "KVTimelineScrollView.h"

#include <QSlider>

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The power of the slider's curve follows its minimum, each bound belonging to the coarser side.
TEST(KVTableCellView, SliderCurvePowerEndsAndInverse) {
    const std::pair<double, double> cases[] = {
        {1.5, 1}, {1.0, 2}, {0.0100001, 2}, {0.01, 3}, {0.0001, 4}, {0.000001, 5}, {0, 5}};
    for (const auto &[minimum, power] : cases) {
        KVTableCellView cell;
        cell.setSliderRange(minimum, 500);
        EXPECT_EQ(cell.powerForConvertion(), power) << minimum;
    }
    // Whatever the power, the curve keeps its ends and inverts.
    KVTableCellView cell;
    for (const auto &[minimum, maximum] :
         {std::pair{2.0, 800.0}, {0.5, 800.0}, {0.005, 800.0}, {0.00005, 800.0}, {1e-7, 800.0}}) {
        cell.setSliderRange(minimum, maximum);
        EXPECT_DOUBLE_EQ(cell.convertSliderValueToScale(minimum), minimum);
        EXPECT_NEAR(cell.convertSliderValueToScale(maximum), maximum, maximum * 1e-12);
        for (double t : {0.1, 0.37, 0.5, 0.9}) {
            const double value = minimum + (maximum - minimum) * t;
            const double scale = cell.convertSliderValueToScale(value);
            // The coarse end gets the travel: below the straight line whenever the power is > 1.
            if (cell.powerForConvertion() > 1) {
                EXPECT_LT(scale, value);
            }
            EXPECT_NEAR(cell.convertScaleToSliderValue(scale), value, value * 1e-9);
        }
    }
    // Without a range the slider applies the value itself.
    cell.setSliderRange(3, 3);
    EXPECT_EQ(cell.convertSliderValueToScale(3), 3);
    // A maximum under the minimum cannot make a curve; the slider just cannot move.
    cell.setSliderRange(5, 1);
    EXPECT_EQ(cell.sliderMaximum(), 5);
    cell.setSliderValue(std::nan(""));
    EXPECT_EQ(cell.sliderValue(), 5);
}

class KVTableCellViewRow : public ::testing::Test {
protected:
    void SetUp() override {
        cell.resize(900, 150);
        cell.show();
        cell.setPhotos(source.imagesForCameraWithIndex(nullptr, 0), nullptr);
    }
    KVCameraViewDocumentView *timeline() { return cell.documentView(); }
    // The whole timeline is in view and the last photo ends at the right edge.
    void expectFitted() {
        const QRectF visible = timeline()->visibleRect();
        EXPECT_NEAR(timeline()->documentWidth(), visible.width(), 0.5);
        const QRectF last = timeline()->imageFrame(timeline()->imageCount() - 1);
        EXPECT_NEAR(last.right(), visible.right(), 1.0);
    }
    KVFakeCameraSource source{1, 40, 90};
    KVTableCellView cell;
};

TEST_F(KVTableCellViewRow, HeaderIsTheStripAboveTheScrollView) {
    const QRectF header = cell.cameraHeaderBounds();
    EXPECT_EQ(header, QRectF(0, 126, 900, 24));
    EXPECT_EQ(cell.scrollView()->geometry(), QRect(0, 24, 900, 126));
    EXPECT_TRUE(header.contains(QRectF(cell.slider()->geometry()).translated(0, 126)));
}

TEST_F(KVTableCellViewRow, SliderAtItsMinimumShowsEverythingAfterAResizeOrADelta) {
    cell.slider()->setValue(KVTableCellView::sliderSteps / 2);
    EXPECT_GT(timeline()->documentWidth(), timeline()->visibleRect().width() * 2);
    cell.slider()->setValue(0);
    EXPECT_EQ(cell.sliderValue(), cell.sliderMinimum());
    expectFitted();
    cell.resize(1300, 150);
    expectFitted();
    cell.resize(500, 150);
    expectFitted();
    // A delta is clamped to the range; a scale from elsewhere moves only the knob.
    cell.changeScaleToDelta(1e9, 0);
    EXPECT_EQ(cell.sliderValue(), cell.sliderMaximum());
    EXPECT_NEAR(timeline()->scale(), cell.sliderMaximum(), 1e-9);
    cell.changeScaleToDelta(-1e9, 0);
    EXPECT_EQ(cell.sliderValue(), cell.sliderMinimum());
    expectFitted();
    const double scale = timeline()->scale();
    const double target = (cell.sliderMinimum() + cell.sliderMaximum()) / 3;
    cell.changeSliderValueUsingScale(target);
    EXPECT_EQ(timeline()->scale(), scale);
    EXPECT_NEAR(cell.convertSliderValueToScale(cell.sliderValue()), target, target * 1e-9);
}

TEST_F(KVTableCellViewRow, SliderZoomKeepsTheSelectedPhotoInPlace) {
    const QRectF visible = timeline()->visibleRect();
    const std::vector<int> inView =
        timeline()->imagesIntersectingXRange(visible.left(), visible.right());
    ASSERT_GE(inView.size(), 3u);
    const int chosen = inView[inView.size() / 3];
    source.cameras[0][chosen]->setImageState(KVImageStateSelected);
    // The instant under the photo's left edge stays where it was on the screen.
    const double anchorX = timeline()->imageFrame(chosen).x();
    const double instant = timeline()->timeIntervalForX(anchorX, timeline()->scale());
    const double screenX = anchorX - timeline()->visibleOriginX();
    cell.slider()->setValue(KVTableCellView::sliderSteps / 20);
    ASSERT_GT(timeline()->scale(), cell.sliderMinimum() * 2);
    EXPECT_NEAR(timeline()->offsetXForTimeInterval(instant, timeline()->scale()) -
                    timeline()->visibleOriginX(),
                screenX, 1.0);
}

TEST(KVTableCellView, HeaderDateFollowsTheScroll) {
    // Ten photos half a day apart: five days.
    KVFakeCameraSource source(1, 10, 43200);
    KVTableCellView cell;
    cell.resize(900, 150);
    cell.show();
    cell.setPhotos(source.imagesForCameraWithIndex(nullptr, 0), nullptr);
    cell.changeSliderValueUsingScale(0.02);
    cell.takeDoubleValueFrom(cell.sliderValue());
    ASSERT_EQ(cell.documentView()->currentCalendarUnit(), KVCalendarUnitHour);
    // In the user's own language: compared with the text of a date on each end day.
    const auto onDay = [](int day) {
        return KVTableCellView::stringForDate(QDateTime(QDate(2012, 3, day), QTime(12, 0)),
                                              KVCalendarUnitHour);
    };
    cell.scrollView()->scrollToOriginX(0);
    EXPECT_EQ(cell.sectionTitle(), onDay(7));
    cell.scrollView()->scrollToOriginX(cell.documentView()->documentWidth());
    EXPECT_EQ(cell.sectionTitle(), onDay(11));
}

} // namespace
