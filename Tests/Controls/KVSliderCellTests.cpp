#include "KVSliderCell.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

QImage shotOf(bool enabled, bool down, int value = 50) {
    KVSliderCell slider;
    slider.setRange(0, 100);
    slider.setValue(value);
    slider.resize(160, 21);
    slider.setEnabled(enabled);
    slider.setSliderDown(down);
    return slider.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

int differingPixels(const QImage &a, const QImage &b) {
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    return count;
}

} // namespace

TEST(KVSliderCell, PressedKnobOnlyWhileEnabled) {
    EXPECT_GT(differingPixels(shotOf(true, true), shotOf(true, false)), 0);
    EXPECT_EQ(differingPixels(shotOf(false, true), shotOf(false, false)), 0);
}

bool nearHalfway(QRgb half, QRgb full, QRgb under) {
    return std::abs(qRed(half) - (qRed(full) + qRed(under)) / 2.0) <= 2.0 &&
           std::abs(qGreen(half) - (qGreen(full) + qGreen(under)) / 2.0) <= 2.0 &&
           std::abs(qBlue(half) - (qBlue(full) + qBlue(under)) / 2.0) <= 2.0;
}

// Disabled, the track lies halfway between its enabled look and the background, and the knob
// halfway between its enabled look and what is drawn beneath it.
TEST(KVSliderCell, DisabledDrawsTrackAndKnobAtHalfOpacity) {
    const QImage enabled = shotOf(true, false);
    const QImage disabled = shotOf(false, false);
    // The knob moved to the far end reveals the track beneath the middle.
    const QImage enabledBare = shotOf(true, false, 100);
    const QImage disabledBare = shotOf(false, false, 100);
    const QRgb background = enabled.pixel(0, 0);
    ASSERT_EQ(disabled.pixel(0, 0), background);
    int track = 0;
    long knobX = 0, knobY = 0, knob = 0;
    for (int y = 0; y < enabled.height(); ++y) {
        for (int x = 0; x < enabled.width() / 2 + 20; ++x) {
            const QRgb full = enabled.pixel(x, y);
            if (full != enabledBare.pixel(x, y)) {
                knobX += x, knobY += y, ++knob;
                continue;
            }
            track += full != background;
            EXPECT_TRUE(nearHalfway(disabled.pixel(x, y), full, background)) << x << "," << y;
        }
    }
    EXPECT_GT(track, 100);
    ASSERT_GT(knob, 50);
    const int x = knobX / knob, y = knobY / knob;
    EXPECT_TRUE(nearHalfway(disabled.pixel(x, y), enabled.pixel(x, y), disabledBare.pixel(x, y)));
}

TEST(KVSliderCell, TrackIsInsetFromBothEnds) {
    const QImage shot = shotOf(true, false);
    const QRgb background = shot.pixel(0, 0);
    const int middle = shot.height() / 2;
    EXPECT_EQ(shot.pixel(3, middle), background);
    EXPECT_EQ(shot.pixel(shot.width() - 4, middle), background);
    EXPECT_NE(shot.pixel(10, middle), background);
    EXPECT_NE(shot.pixel(shot.width() - 11, middle), background);
}
