#include "KVBundleImage.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

struct PictureExtent {
    const char *name;
    int minimumWidth;
    int minimumHeight;
};

// The smallest size each picture may have: what the slice tables cut out of it, or for the
// pictures drawn whole, a size at which they still read.
const PictureExtent kPictures[] = {
    {"Etalon-Indicator", 8, 8},      {"Padlock_icon", 8, 8},
    {"OverStateGradient", 1, 2},     {"Display", 100, 30},
    {"Display_Blik", 100, 30},       {"Progress_Empty", 15, 7},
    {"Progress_Fill", 8, 6},         {"Progress_Preparing", 2, 5},
    {"CameraImage", 100, 75},        {"CameraTitleBar", 1, 16},
    {"ButtonSync_Disabled", 11, 32}, {"ButtonSync_Normal", 11, 32},
    {"ButtonSync_Over", 11, 32},     {"ButtonSync_Pressed", 11, 32},
    {"Slider_Line", 7, 5},           {"Slider_Bulbe_Normal", 8, 8},
    {"Slider_Bulbe_Pressed", 8, 8},  {"ManualButton", 16, 16},
    {"ManualButtonPressed", 16, 16},
};

class KVBundlePictures : public ::testing::TestWithParam<PictureExtent> {};

} // namespace

TEST_P(KVBundlePictures, LoadsWithTheExtentsItsSlicesNeed) {
    const PictureExtent extent = GetParam();
    const QImage &image = KVBundleImage::named(QString::fromLatin1(extent.name));
    ASSERT_FALSE(image.isNull()) << extent.name;
    EXPECT_GE(image.width(), extent.minimumWidth) << extent.name;
    EXPECT_GE(image.height(), extent.minimumHeight) << extent.name;
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, KVBundlePictures, ::testing::ValuesIn(kPictures), [](const auto &info) {
        return QString::fromLatin1(info.param.name).remove(QLatin1Char('-')).toStdString();
    });

// A stretched middle slice repeats its columns: any difference between them shows as bands.
TEST(KVBundlePictureSlices, StretchedMiddlesAreUniformAcrossTheirColumns) {
    const struct {
        const char *name;
        int firstColumn, lastColumn, firstRow, lastRow;
    } middles[] = {
        {"ButtonSync_Normal", 4, 6, 0, 31},  {"ButtonSync_Over", 4, 6, 0, 31},
        {"ButtonSync_Pressed", 4, 6, 0, 31}, {"ButtonSync_Disabled", 4, 6, 0, 31},
        {"Slider_Line", 2, 4, 0, 4},         {"Progress_Empty", 3, 11, 0, 6},
        {"Progress_Fill", 3, 5, 2, 4},
    };
    for (const auto &middle : middles) {
        const QImage &image = KVBundleImage::named(QString::fromLatin1(middle.name));
        ASSERT_FALSE(image.isNull()) << middle.name;
        for (int y = middle.firstRow; y <= middle.lastRow; ++y)
            for (int x = middle.firstColumn + 1; x <= middle.lastColumn; ++x)
                EXPECT_EQ(image.pixel(x, y), image.pixel(middle.firstColumn, y))
                    << middle.name << " column " << x << " row " << y;
    }
}

TEST(KVBundlePictureSlices, ProgressFillCoversItsSourceArea) {
    const QImage &fill = KVBundleImage::named(QStringLiteral("Progress_Fill"));
    ASSERT_FALSE(fill.isNull());
    for (int y = 2; y < 5; ++y)
        for (int x = 2; x < 7; ++x)
            EXPECT_GT(qAlpha(fill.pixel(x, y)), 200) << x << "," << y;
}
