#include "KVImageSource.h"
#include "KVTestSupport.h"
#include "KVThumbnailCache.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

namespace {

// Strings compared as std::string, so that a failure prints the text.
std::string text(const QVariantMap &dictionary, const QString &key) {
    return dictionary.value(key).toString().toStdString();
}

std::string testName(const char *file) {
    std::string name = file;
    for (char &character : name)
        if (!std::isalnum(static_cast<unsigned char>(character)))
            character = '_';
    return name;
}

QVariantMap exifOf(const KVImageProperties &properties) {
    return properties.value(KVImageSource::exifDictionaryKey).toMap();
}

QVariantMap tiffOf(const KVImageProperties &properties) {
    return properties.value(KVImageSource::tiffDictionaryKey).toMap();
}

std::optional<KVImageProperties> propertiesOf(const QString &path) {
    const auto source = KVImageSource::createWithPath(path);
    if (!source)
        return std::nullopt;
    return source->copyPropertiesAtIndex0();
}

// Mean absolute difference per channel (0..255) of two pictures brought to one size.
double meanDifference(const QImage &a, const QImage &b) {
    const QSize size(64, 48);
    const QImage left =
        a.scaled(size.width(), size.height(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    const QImage right =
        b.scaled(size.width(), size.height(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const QRgb p = left.pixel(x, y);
            const QRgb q = right.pixel(x, y);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                   std::abs(qBlue(p) - qBlue(q));
        }
    }
    return sum / (3.0 * size.width() * size.height());
}

// Runs exiftool on a file; true when it succeeded.
bool runExiftool(const QStringList &arguments) {
    QProcess tool;
    tool.start(QStringLiteral(KALVORA_EXIFTOOL),
               QStringList{QStringLiteral("-q"), QStringLiteral("-overwrite_original")} +
                   arguments);
    return tool.waitForFinished(30000) && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

} // namespace

struct CameraCase {
    const char *file;
    const char *make;
    const char *model;
    const char *dateTimeOriginal;
    const char *dateTimeDigitized; // nullptr: absent
};

class KVImageSourceCameraTest : public ::testing::TestWithParam<CameraCase> {};

TEST_P(KVImageSourceCameraTest, ReadsMakeModelAndDatesAsStored) {
    const CameraCase &c = GetParam();
    const auto properties = propertiesOf(KVTest::samplePath(QStringLiteral("cameras/") + c.file));
    ASSERT_TRUE(properties.has_value());
    const QVariantMap tiff = tiffOf(*properties);
    const QVariantMap exif = exifOf(*properties);
    EXPECT_EQ(text(tiff, KVImagePropertyKey::tiffMake), c.make);
    EXPECT_EQ(text(tiff, KVImagePropertyKey::tiffModel), c.model);
    EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeOriginal), c.dateTimeOriginal);
    if (c.dateTimeDigitized)
        EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeDigitized), c.dateTimeDigitized);
    else
        EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifDateTimeDigitized));
    EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifBodySerialNumber));
}

INSTANTIATE_TEST_SUITE_P(
    Cameras, KVImageSourceCameraTest,
    ::testing::Values(CameraCase{"Canon_40D.jpg", "Canon", "Canon EOS 40D", "2008:05:30 15:56:01",
                                 "2008:05:30 15:56:01"},
                      CameraCase{"Fujifilm_FinePix_E500.jpg", "FUJIFILM", "FinePix E500   ",
                                 "2006:08:17 09:24:48", "2006:08:17 09:24:48"},
                      CameraCase{"Pentax_K10D.jpg", "PENTAX Corporation ", "PENTAX K10D        ",
                                 "2008:05:04 16:47:24", "2008:05:04 16:47:24"},
                      CameraCase{"Konica_Minolta_DiMAGE_Z3.jpg", "KONICA MINOLTA ", "DiMAGE Z3",
                                 "2005:03:10 15:10:48", "2005:03:10 15:10:48"},
                      CameraCase{"Ricoh_Caplio_RR330.jpg", "Caplio ", "RR330      ",
                                 "2004:08:31 19:52:58", "2004:08:31 19:52:58"},
                      CameraCase{"WWL_(Polaroid)_ION230.jpg", "WWL     ", "ION230",
                                 "2026:11:24 14:41:16", "2026:11:24 14:41:16"},
                      CameraCase{"Samsung_Digimax_i50_MP3.jpg", "Samsung Techwin",
                                 "<Digimax i50 MP3, Samsung #1 MP3>", "2006:08:15 17:50:57",
                                 "2006:08:15 17:50:57"},
                      CameraCase{"Kodak_CX7530.jpg", "EASTMAN KODAK COMPANY",
                                 "KODAK CX7530 ZOOM DIGITAL CAMERA", "2005:08:13 09:47:23",
                                 "2005:08:13 09:47:23"},
                      CameraCase{"Nikon_D70.jpg", "NIKON CORPORATION", "NIKON D70",
                                 "2008:03:15 09:52:01", nullptr}),
    [](const ::testing::TestParamInfo<CameraCase> &info) { return testName(info.param.file); });

TEST(KVImageSource, DictionariesOnlyForWhatTheFileHolds) {
    const auto turned =
        propertiesOf(KVTest::samplePath(QStringLiteral("orientation/landscape_6.jpg")));
    ASSERT_TRUE(turned.has_value());
    EXPECT_EQ(tiffOf(*turned).value(KVImagePropertyKey::orientation).toInt(), 6);
    EXPECT_EQ(turned->value(KVImagePropertyKey::orientation).toInt(), 6);
    EXPECT_EQ(turned->value(QStringLiteral("PixelWidth")).toInt(), 450);
    EXPECT_EQ(turned->value(QStringLiteral("PixelHeight")).toInt(), 600);

    // Only IFD0: a TIFF dictionary without camera, no EXIF one.
    const auto upright =
        propertiesOf(KVTest::samplePath(QStringLiteral("orientation/landscape_1.jpg")));
    ASSERT_TRUE(upright.has_value());
    EXPECT_FALSE(upright->contains(KVImageSource::exifDictionaryKey));
    ASSERT_TRUE(upright->contains(KVImageSource::tiffDictionaryKey));
    EXPECT_EQ(tiffOf(*upright).value(KVImagePropertyKey::orientation).toInt(), 1);
    EXPECT_FALSE(tiffOf(*upright).contains(KVImagePropertyKey::tiffMake));

    // No EXIF segment at all (exiv2 -pa): neither dictionary.
    const auto bare = propertiesOf(KVTest::samplePath(QStringLiteral("broken/image01137.jpg")));
    ASSERT_TRUE(bare.has_value());
    EXPECT_FALSE(bare->contains(KVImageSource::exifDictionaryKey));
    EXPECT_FALSE(bare->contains(KVImageSource::tiffDictionaryKey));
    EXPECT_EQ(bare->value(QStringLiteral("PixelWidth")).toInt(), 88);
}

TEST(KVImageSource, EditedFileWithoutDatesOrCamera) {
    const auto properties =
        propertiesOf(KVTest::samplePath(QStringLiteral("cameras/PaintTool_sample.jpg")));
    ASSERT_TRUE(properties.has_value());
    const QVariantMap exif = exifOf(*properties);
    const QVariantMap tiff = tiffOf(*properties);
    EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifDateTimeOriginal));
    EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifDateTimeDigitized));
    EXPECT_FALSE(tiff.contains(KVImagePropertyKey::tiffMake));
    EXPECT_FALSE(tiff.contains(KVImagePropertyKey::tiffModel));
    EXPECT_EQ(text(tiff, QStringLiteral("Software")), "GIMP 2.4.5");
    // Binary blobs such as the maker note are left out.
    EXPECT_FALSE(exif.contains(QStringLiteral("MakerNote")));
}

TEST(KVImageSource, BodySerialNumberAndDigitizedDateAsWritten) {
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QStringList copies =
        KVTest::copySamples({QStringLiteral("cameras/Canon_40D.jpg")}, folder.path());
    ASSERT_EQ(copies.size(), 1);
    ASSERT_TRUE(
        runExiftool({QStringLiteral("-ExifIFD:SerialNumber=A1234 "),
                     QStringLiteral("-ExifIFD:DateTimeOriginal="),
                     QStringLiteral("-ExifIFD:CreateDate=2011:02:03 04:05:06"), copies.first()}));
    const auto properties = propertiesOf(copies.first());
    ASSERT_TRUE(properties.has_value());
    const QVariantMap exif = exifOf(*properties);
    EXPECT_EQ(text(exif, KVImagePropertyKey::exifBodySerialNumber), "A1234 ");
    EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifDateTimeOriginal));
    EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeDigitized), "2011:02:03 04:05:06");
}

TEST(KVImageSource, RawFileOnlyLibRawReadsGivesTheSameShape) {
    // Exiv2 0.27 does not know this format; LibRaw does.
    const auto properties = propertiesOf(KVTest::samplePath(QStringLiteral("raw/KyoceraRaw.raw")));
    ASSERT_TRUE(properties.has_value());
    const QVariantMap tiff = tiffOf(*properties);
    EXPECT_FALSE(tiff.value(KVImagePropertyKey::tiffMake).toString().isEmpty());
    EXPECT_EQ(text(tiff, KVImagePropertyKey::tiffModel), "N Digital");
    // LibRaw turns the stored local time into an instant; it is written back in local time.
    EXPECT_EQ(text(exifOf(*properties), KVImagePropertyKey::exifDateTimeOriginal),
              "2005:07:16 18:14:30");
}

TEST(KVImageSource, NoSourceForMissingFoldersAndNonImages) {
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QFile text(folder.filePath(QStringLiteral("notes.jpg")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly) && text.write("This is not a picture.\n") > 0);
    text.close();
    QFile empty(folder.filePath(QStringLiteral("empty.nef")));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    empty.close();
    for (const QString &path : {folder.filePath(QStringLiteral("missing.jpg")), folder.path(),
                                QString(), text.fileName(), empty.fileName()})
        EXPECT_EQ(KVImageSource::createWithPath(path), nullptr) << path.toStdString();
}

TEST(KVImageSource, TruncatedJpegOpensButItsPropertiesCannotBeRead) {
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QByteArray whole =
        KVTest::readFile(KVTest::samplePath(QStringLiteral("cameras/Canon_40D.jpg")));
    ASSERT_GT(whole.size(), 600);
    // The start of the EXIF segment, cut off inside it.
    QFile cut(folder.filePath(QStringLiteral("cut.jpg")));
    ASSERT_TRUE(cut.open(QIODevice::WriteOnly));
    cut.write(whole.left(300));
    cut.close();
    const auto source = KVImageSource::createWithPath(cut.fileName());
    ASSERT_NE(source, nullptr);
    EXPECT_FALSE(source->copyPropertiesAtIndex0().has_value());
    EXPECT_TRUE(source->createThumbnail(256).isNull());
}

TEST(KVImageSource, SmallEmbeddedJpegIsKeptAsItIsALargerOneScaledAndReencoded) {
    const auto source = KVImageSource::createWithPath(
        KVTest::samplePath(QStringLiteral("cameras/Canon_PowerShot_S40.jpg")));
    ASSERT_NE(source, nullptr);
    const KVThumbnail thumbnail = source->createThumbnail(256);
    ASSERT_FALSE(thumbnail.isNull());
    // The EXIF thumbnail: 160x120, 5448 bytes (exiv2 -pp).
    EXPECT_EQ(thumbnail.encodedSize(), 5448);
    EXPECT_TRUE(thumbnail.encoded().startsWith("\xFF\xD8"));
    EXPECT_EQ(thumbnail.size(), QSize(160, 120));
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));
    EXPECT_EQ(thumbnail.image().size(), QSize(160, 120));

    const KVThumbnail scaled = source->createThumbnail(64);
    ASSERT_FALSE(scaled.isNull());
    EXPECT_EQ(scaled.size(), QSize(64, 48));
    EXPECT_EQ(scaled.image().size(), QSize(64, 48));
    EXPECT_NE(scaled.encodedSize(), 5448);
}

TEST(KVImageSource, WithoutPreviewTheImageItselfIsDecodedWithinTheBound) {
    struct Case {
        const char *file;
        QSize size;
    };
    const Case cases[] = {
        {"cameras/Fujifilm_FinePix_E500.jpg", QSize(59, 100)},    // small: as it is
        {"cameras/Reconyx_HC500_Hyperfire.jpg", QSize(256, 192)}, // 2048x1536
        {"tiff/BSG1.tiff", QSize(256, 140)},                      // 635x348 TIFF
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        const auto source =
            KVImageSource::createWithPath(KVTest::samplePath(QString::fromUtf8(c.file)));
        ASSERT_NE(source, nullptr);
        const KVThumbnail thumbnail = source->createThumbnail(256);
        ASSERT_FALSE(thumbnail.isNull());
        EXPECT_EQ(thumbnail.size(), c.size);
        EXPECT_EQ(thumbnail.image().size(), c.size);
    }
}

using OrientationCase = std::tuple<const char *, int>; // shape, orientation

class KVImageSourceOrientationTest : public ::testing::TestWithParam<OrientationCase> {
protected:
    static QImage thumbnailOf(const QString &shape, int orientation) {
        const auto source = KVImageSource::createWithPath(KVTest::samplePath(
            QStringLiteral("orientation/%1_%2.jpg").arg(shape).arg(orientation)));
        if (!source)
            return {};
        const KVThumbnail thumbnail = source->createThumbnail(256);
        KVThumbnailCache::shared().remove(
            thumbnail); // decode the stored bytes, not the primed copy
        return thumbnail.image();
    }
};

TEST_P(KVImageSourceOrientationTest, ThumbnailIsUprightLikeOrientation1) {
    const QString shape = QString::fromUtf8(std::get<0>(GetParam()));
    const QImage reference = thumbnailOf(shape, 1);
    const QImage thumbnail = thumbnailOf(shape, std::get<1>(GetParam()));
    ASSERT_FALSE(reference.isNull());
    ASSERT_FALSE(thumbnail.isNull());
    EXPECT_LE(qMax(thumbnail.width(), thumbnail.height()), 256);
    if (shape == QLatin1String("landscape"))
        EXPECT_GT(thumbnail.width(), thumbnail.height());
    else
        EXPECT_GT(thumbnail.height(), thumbnail.width());
    EXPECT_EQ(thumbnail.size(), reference.size());
    const double difference = meanDifference(thumbnail, reference);
    // Each file is encoded anew and prints its own number: the right turn leaves about 14 to
    // 16 of difference, any wrong turn or mirror 35 or more.
    EXPECT_LT(difference, 22.0) << "a wrong turn or mirror leaves the picture unlike orientation 1";
    EXPECT_GT(meanDifference(thumbnail.mirrored(true, false), reference), 30.0);
    EXPECT_GT(meanDifference(thumbnail.mirrored(false, true), reference), 30.0);
}

INSTANTIATE_TEST_SUITE_P(Orientations, KVImageSourceOrientationTest,
                         ::testing::Combine(::testing::Values("landscape", "portrait"),
                                            ::testing::Range(2, 9)),
                         [](const ::testing::TestParamInfo<OrientationCase> &info) {
                             return std::string(std::get<0>(info.param)) + "_" +
                                    std::to_string(std::get<1>(info.param));
                         });

TEST(KVImageSource, CreateImageIsWholeAndUpright) {
    const auto upright = KVImageSource::createWithPath(
        KVTest::samplePath(QStringLiteral("orientation/landscape_1.jpg")));
    const auto turned = KVImageSource::createWithPath(
        KVTest::samplePath(QStringLiteral("orientation/landscape_6.jpg")));
    ASSERT_NE(upright, nullptr);
    ASSERT_NE(turned, nullptr);
    const QImage reference = upright->createImage();
    const QImage image = turned->createImage();
    EXPECT_EQ(reference.size(), QSize(600, 450));
    EXPECT_EQ(image.size(), QSize(600, 450));
    EXPECT_LT(meanDifference(image, reference), 22.0);
    EXPECT_GT(meanDifference(image.mirrored(true, true), reference), 30.0);
}

TEST(KVImageSource, ReadersOnSeveralThreadsAgreeWithOne) {
    QStringList paths;
    const QDir cameras(KVTest::samplePath(QStringLiteral("cameras")));
    for (const QString &name : cameras.entryList({QStringLiteral("*.jpg")}, QDir::Files))
        paths << cameras.filePath(name);
    paths << KVTest::samplePath(QStringLiteral("orientation/portrait_7.jpg"))
          << KVTest::samplePath(QStringLiteral("raw/FujiFilm.raf"))
          << KVTest::samplePath(QStringLiteral("tiff/Tless0.tiff"));
    const auto read = [](const QString &path) {
        const auto source = KVImageSource::createWithPath(path);
        if (!source)
            return QStringLiteral("none");
        // Thumbnail first: the sample tables read properties first.
        const KVThumbnail thumbnail = source->createThumbnail(256);
        const auto properties = source->copyPropertiesAtIndex0();
        const QImage image = thumbnail.image();
        return QStringLiteral("%1|%2|%3x%4|%5")
            .arg(
                properties ? tiffOf(*properties).value(KVImagePropertyKey::tiffModel).toString()
                           : QStringLiteral("-"),
                properties
                    ? exifOf(*properties).value(KVImagePropertyKey::exifDateTimeOriginal).toString()
                    : QStringLiteral("-"))
            .arg(image.width())
            .arg(image.height())
            .arg(image.isNull() ? 0 : qGray(image.pixel(image.width() / 2, image.height() / 2)));
    };
    QStringList expected;
    for (const QString &path : paths)
        expected << read(path);

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                for (qsizetype i = 0; i < paths.size(); ++i) {
                    const qsizetype index = (i + t * 7) % paths.size();
                    if (read(paths[index]) != expected[index])
                        ++mismatches;
                }
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

enum class Expect { no, yes };

struct SampleCase {
    const char *file;
    Expect opens;
    Expect properties;  // copyPropertiesAtIndex0 gives a dictionary
    Expect captureDate; // ...with {Exif} DateTimeOriginal
    Expect thumbnail;
};

class KVImageSourceSampleTest : public ::testing::TestWithParam<SampleCase> {};

TEST_P(KVImageSourceSampleTest, OpensWithoutCrashingAndGivesWhatItCan) {
    const SampleCase &c = GetParam();
    const auto source =
        KVImageSource::createWithPath(KVTest::samplePath(QString::fromUtf8(c.file)));
    ASSERT_EQ(source != nullptr, c.opens == Expect::yes);
    if (!source)
        return;
    const auto properties = source->copyPropertiesAtIndex0();
    EXPECT_EQ(properties.has_value(), c.properties == Expect::yes);
    const bool hasDate = properties.has_value() &&
                         exifOf(*properties).contains(KVImagePropertyKey::exifDateTimeOriginal);
    EXPECT_EQ(hasDate, c.captureDate == Expect::yes);

    const KVThumbnail thumbnail = source->createThumbnail(256);
    EXPECT_EQ(!thumbnail.isNull(), c.thumbnail == Expect::yes);
    if (!thumbnail.isNull()) {
        EXPECT_LE(qMax(thumbnail.size().width(), thumbnail.size().height()), 256);
        const QImage image = thumbnail.image();
        ASSERT_FALSE(image.isNull());
        EXPECT_EQ(image.size(), thumbnail.size());
    }
    // A second request gives the same answer.
    EXPECT_EQ(source->createThumbnail(256).isNull(), thumbnail.isNull());
}

std::string sampleName(const ::testing::TestParamInfo<SampleCase> &info) {
    return testName(info.param.file);
}

constexpr Expect Y = Expect::yes;
constexpr Expect N = Expect::no;

// Columns: opens, properties, capture date, thumbnail.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Broken, KVImageSourceSampleTest, ::testing::Values(
    // An Olympus photo cut short: its EXIF and its thumbnail survive.
    SampleCase{"broken/corrupted.jpg", Y, Y, Y, Y},
    // No EXIF at all; libjpeg decodes what is there.
    SampleCase{"broken/image00971.jpg", Y, Y, N, Y}, SampleCase{"broken/image01088.jpg", Y, Y, N, Y},
    SampleCase{"broken/image01137.jpg", Y, Y, N, Y}, SampleCase{"broken/image01551.jpg", Y, Y, N, Y},
    SampleCase{"broken/image01713.jpg", Y, Y, N, Y}, SampleCase{"broken/image01980.jpg", Y, Y, N, Y},
    SampleCase{"broken/image02206.jpg", Y, Y, N, Y}), sampleName);

INSTANTIATE_TEST_SUITE_P(Raw, KVImageSourceSampleTest, ::testing::Values(
    // Stripped raw files: metadata without pixels, mostly.
    SampleCase{"raw/CanonRaw.cr2", Y, Y, Y, N}, SampleCase{"raw/CanonRaw.crw", Y, Y, Y, N},
    SampleCase{"raw/CaptureOne.eip", N, N, N, N}, // a ZIP: neither Exiv2 nor LibRaw
    SampleCase{"raw/DNG.dng", Y, Y, Y, Y},        // an 8x8 preview decodes
    SampleCase{"raw/ExifTool.tif", Y, Y, N, Y},   // a small TIFF picture
    SampleCase{"raw/FujiFilm.raf", Y, Y, Y, Y},   // its 160x120 JPEG preview
    SampleCase{"raw/KyoceraRaw.raw", Y, Y, Y, N}, // LibRaw only
    SampleCase{"raw/Minolta.mrw", Y, Y, Y, N},
    SampleCase{"raw/Nikon.nef", Y, Y, Y, Y},      // LibRaw develops the (empty) data
    SampleCase{"raw/Panasonic.rw2", Y, Y, Y, Y}, SampleCase{"raw/PhaseOne.iiq", Y, Y, Y, Y},
    SampleCase{"raw/Red.r3d", N, N, N, N},
    SampleCase{"raw/Sigma.x3f", N, N, N, N},      // this LibRaw is built without X3F
    SampleCase{"raw/SigmaDP2.x3f", N, N, N, N}), sampleName);

INSTANTIATE_TEST_SUITE_P(Tiff, KVImageSourceSampleTest, ::testing::Values(
    SampleCase{"tiff/Arbitro.tiff", Y, Y, N, Y}, SampleCase{"tiff/BSG1.tiff", Y, Y, N, Y},
    SampleCase{"tiff/DudleyLeavittUtah.tiff", Y, Y, N, Y}, SampleCase{"tiff/Jobagent.tiff", Y, Y, N, Y},
    SampleCase{"tiff/Picoawards.tiff", Y, Y, N, Y}, SampleCase{"tiff/Rudless.tiff", Y, Y, N, Y},
    SampleCase{"tiff/Tless0.tiff", Y, Y, N, Y}), sampleName);
// clang-format on

TEST(KVImageSource, EverySampleFolderIsInTheTables) {
    // A sample added later must be added to a table above too.
    int count = 0;
    for (const char *folder : {"broken", "raw", "tiff"})
        count += QDir(KVTest::samplePath(QString::fromUtf8(folder))).entryList(QDir::Files).size();
    EXPECT_EQ(count, 8 + 14 + 7);
}

TEST(KVImageSource, TypeIdentifiersHoldJpegTiffAndCameraRawTypes) {
    const QStringList types = KVImageSource::copyTypeIdentifiers();
    EXPECT_TRUE(types.contains(QStringLiteral("image/jpeg")));
    EXPECT_TRUE(types.contains(QStringLiteral("image/tiff")));
    EXPECT_TRUE(types.contains(QStringLiteral("image/x-canon-cr2")));
    EXPECT_TRUE(types.contains(QStringLiteral("image/x-nikon-nef")));
    EXPECT_TRUE(types.contains(QStringLiteral("image/x-adobe-dng")));
    EXPECT_FALSE(types.contains(QStringLiteral("application/octet-stream")));
    for (const QString &type : types)
        EXPECT_TRUE(type.startsWith(QLatin1String("image/"))) << type.toStdString();
    EXPECT_EQ(types.size(), QSet<QString>(types.begin(), types.end()).size());
}
