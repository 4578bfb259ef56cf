#include "KVBundleImage.h"
#include "KVButtonCell.h"
#include "KVControlsTestSupport.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

bool nearlyEqual(QRgb a, QRgb b) {
    return std::abs(qRed(a) - qRed(b)) <= 2 && std::abs(qGreen(a) - qGreen(b)) <= 2 &&
           std::abs(qBlue(a) - qBlue(b)) <= 2;
}

struct ButtonState {
    bool enabled;
    bool down;
    bool over;
    const char *picture;
};

class KVButtonCellState : public ::testing::TestWithParam<ButtonState> {};

} // namespace

TEST_P(KVButtonCellState, DrawsThePictureOfItsStateInThreeSlices) {
    const ButtonState state = GetParam();
    KVButtonCell button;
    button.resize(120, 32);
    button.setEnabled(state.enabled);
    button.setDown(state.down);
    // A pointer that came and went leaves no hover look behind.
    KVHover(button, true);
    KVHover(button, state.over);
    EXPECT_EQ(button.isMouseOverButton(), state.over);
    EXPECT_EQ(button.imageName(), QString::fromLatin1(state.picture));

    const QImage &picture = KVBundleImage::named(QString::fromLatin1(state.picture));
    ASSERT_FALSE(picture.isNull());
    const QImage shot = button.grab().toImage();
    // Caps unscaled at both ends, the middle column stretched between them.
    for (int y : {8, 16, 24}) {
        EXPECT_TRUE(nearlyEqual(shot.pixel(2, y), picture.pixel(2, y))) << y;
        EXPECT_TRUE(nearlyEqual(shot.pixel(60, y), picture.pixel(5, y))) << y;
        EXPECT_TRUE(nearlyEqual(shot.pixel(117, y), picture.pixel(8, y))) << y;
    }
}

INSTANTIATE_TEST_SUITE_P(States, KVButtonCellState,
                         ::testing::Values(ButtonState{true, false, false, "ButtonSync_Normal"},
                                           ButtonState{true, false, true, "ButtonSync_Over"},
                                           ButtonState{true, true, false, "ButtonSync_Pressed"},
                                           ButtonState{true, true, true, "ButtonSync_Pressed"},
                                           ButtonState{false, false, false, "ButtonSync_Disabled"},
                                           ButtonState{false, false, true, "ButtonSync_Disabled"},
                                           ButtonState{false, true, true, "ButtonSync_Disabled"}));
