#include "KVImageSource.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"
#include "KVThumbnailCache.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

namespace {

// Strings compared as std::string, so that a failure prints the text.
std::string text(const QVariantMap &dictionary, const QString &key) {
    return dictionary.value(key).toString().toStdString();
}

QVariantMap exifOf(const KVImageProperties &properties) {
    return properties.value(KVImageSource::exifDictionaryKey).toMap();
}

QVariantMap tiffOf(const KVImageProperties &properties) {
    return properties.value(KVImageSource::tiffDictionaryKey).toMap();
}

std::unique_ptr<KVImageSource> sourceOf(const QString &sample) {
    return KVImageSource::createWithPath(KVTest::samplePath(sample));
}

std::optional<KVImageProperties> propertiesOf(const QString &path) {
    const auto source = KVImageSource::createWithPath(path);
    return source ? source->copyPropertiesAtIndex0() : std::nullopt;
}

// Mean absolute difference per channel (0..255) of two pictures brought to one size.
double meanDifference(const QImage &a, const QImage &b) {
    const auto scaled = [](const QImage &image) {
        return image.scaled(64, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    };
    const QImage left = scaled(a), right = scaled(b);
    double sum = 0;
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x) {
            const QRgb p = left.pixel(x, y), q = right.pixel(x, y);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                   std::abs(qBlue(p) - qBlue(q));
        }
    }
    return sum / (3.0 * 64 * 48);
}

} // namespace

TEST(KVImageSource, ReadsMakeModelAndDatesAsStoredWithTheirBlanks) {
    const struct {
        const char *file, *make, *model, *original;
        const char *digitized; // nullptr: absent
    } cases[] = {
        {"Canon_40D.jpg", "Canon", "Canon EOS 40D", "2008:05:30 15:56:01", "2008:05:30 15:56:01"},
        {"Fujifilm_FinePix_E500.jpg", "FUJIFILM", "FinePix E500   ", "2006:08:17 09:24:48",
         "2006:08:17 09:24:48"},
        {"Pentax_K10D.jpg", "PENTAX Corporation ", "PENTAX K10D        ", "2008:05:04 16:47:24",
         "2008:05:04 16:47:24"},
        {"WWL_(Polaroid)_ION230.jpg", "WWL     ", "ION230", "2026:11:24 14:41:16",
         "2026:11:24 14:41:16"},
        {"Nikon_D70.jpg", "NIKON CORPORATION", "NIKON D70", "2008:03:15 09:52:01", nullptr}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        const auto properties = propertiesOf(KVTest::samplePath(QString("cameras/") + c.file));
        ASSERT_TRUE(properties.has_value());
        const QVariantMap tiff = tiffOf(*properties), exif = exifOf(*properties);
        EXPECT_EQ(text(tiff, KVImagePropertyKey::tiffMake), c.make);
        EXPECT_EQ(text(tiff, KVImagePropertyKey::tiffModel), c.model);
        EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeOriginal), c.original);
        EXPECT_EQ(exif.contains(KVImagePropertyKey::exifDateTimeDigitized), c.digitized != nullptr);
        EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeDigitized),
                  c.digitized ? c.digitized : "");
        EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifBodySerialNumber));
    }

    // A serial number and a digitized date alone, as written.
    QTemporaryDir folder;
    const QString copy = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder.path()).value(0);
    ASSERT_TRUE(KVTest::writeExif(copy, {{"Exif.Photo.BodySerialNumber", "A1234 "},
                                         {"Exif.Photo.DateTimeOriginal", ""},
                                         {"Exif.Photo.DateTimeDigitized", "2011:02:03 04:05:06"}}));
    const QVariantMap exif = exifOf(propertiesOf(copy).value());
    EXPECT_EQ(text(exif, KVImagePropertyKey::exifBodySerialNumber), "A1234 ");
    EXPECT_FALSE(exif.contains(KVImagePropertyKey::exifDateTimeOriginal));
    EXPECT_EQ(text(exif, KVImagePropertyKey::exifDateTimeDigitized), "2011:02:03 04:05:06");

    // Exiv2 0.27 does not know this raw format; LibRaw turns its stored local time into an
    // instant, written back in local time.
    const auto raw = propertiesOf(KVTest::samplePath("raw/KyoceraRaw.raw"));
    ASSERT_TRUE(raw.has_value());
    EXPECT_FALSE(tiffOf(*raw).value(KVImagePropertyKey::tiffMake).toString().isEmpty());
    EXPECT_EQ(text(tiffOf(*raw), KVImagePropertyKey::tiffModel), "N Digital");
    EXPECT_EQ(text(exifOf(*raw), KVImagePropertyKey::exifDateTimeOriginal), "2005:07:16 18:14:30");
}

TEST(KVImageSource, DictionariesOnlyForWhatTheFileHolds) {
    // Only IFD0: a TIFF dictionary without camera, no EXIF one; no EXIF segment at all
    // (exiv2 -pa): neither dictionary.
    const std::tuple<const char *, bool, bool, bool> cases[] = {
        {"cameras/Canon_40D.jpg", true, true, true},
        {"orientation/landscape_1.jpg", false, true, false},
        {"broken/image01137.jpg", false, false, false}};
    for (const auto &[sample, hasExif, hasTiff, hasMake] : cases) {
        SCOPED_TRACE(sample);
        const auto properties = propertiesOf(KVTest::samplePath(sample));
        ASSERT_TRUE(properties.has_value());
        EXPECT_EQ(properties->contains(KVImageSource::exifDictionaryKey), hasExif);
        EXPECT_EQ(properties->contains(KVImageSource::tiffDictionaryKey), hasTiff);
        EXPECT_EQ(tiffOf(*properties).contains(KVImagePropertyKey::tiffMake), hasMake);
    }
    // Binary blobs such as the maker note are left out.
    const auto edited = propertiesOf(KVTest::samplePath("cameras/PaintTool_sample.jpg"));
    EXPECT_FALSE(exifOf(edited.value()).contains(QStringLiteral("MakerNote")));
}

TEST(KVImageSource, NoSourceForNonImagesAndNoPropertiesFromACutFile) {
    QTemporaryDir folder;
    const QString notes = folder.filePath("notes.jpg"), empty = folder.filePath("empty.nef");
    const QString cut = folder.filePath("cut.jpg");
    const auto write = [](const QString &path, const QByteArray &bytes) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    ASSERT_TRUE(write(notes, "This is not a picture.\n") && write(empty, {}));
    for (const QString &path :
         {folder.filePath("missing.jpg"), folder.path(), QString(), notes, empty})
        EXPECT_EQ(KVImageSource::createWithPath(path), nullptr) << path.toStdString();

    // The start of a JPEG, cut off inside its EXIF segment: it opens, but gives nothing.
    ASSERT_TRUE(
        write(cut, KVTest::readFile(KVTest::samplePath("cameras/Canon_40D.jpg")).left(300)));
    const auto source = KVImageSource::createWithPath(cut);
    ASSERT_NE(source, nullptr);
    EXPECT_FALSE(source->copyPropertiesAtIndex0().has_value());
    EXPECT_TRUE(source->createThumbnail(256).isNull());
}

TEST(KVImageSource, SmallEmbeddedJpegIsKeptAsItIsALargerOneScaledAndReencoded) {
    const auto source = sourceOf("cameras/Canon_PowerShot_S40.jpg");
    ASSERT_NE(source, nullptr);
    const KVThumbnail thumbnail = source->createThumbnail(256);
    ASSERT_FALSE(thumbnail.isNull());
    // The EXIF thumbnail: 160x120, 5448 bytes (exiv2 -pp).
    EXPECT_EQ(thumbnail.encodedSize(), 5448);
    EXPECT_TRUE(thumbnail.encoded().startsWith("\xFF\xD8"));
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));
    EXPECT_EQ(thumbnail.image().size(), QSize(160, 120));

    const KVThumbnail scaled = source->createThumbnail(64);
    EXPECT_EQ(scaled.size(), QSize(64, 48));
    EXPECT_EQ(scaled.image().size(), QSize(64, 48));
    EXPECT_NE(scaled.encodedSize(), 5448);
}

TEST(KVImageSource, WithoutPreviewTheImageItselfIsDecodedWithinTheBound) {
    const std::pair<const char *, QSize> cases[] = {
        {"cameras/Fujifilm_FinePix_E500.jpg", QSize(59, 100)},    // small: as it is
        {"cameras/Reconyx_HC500_Hyperfire.jpg", QSize(256, 192)}, // 2048x1536
        {"tiff/BSG1.tiff", QSize(256, 140)},                      // 635x348 TIFF
    };
    for (const auto &[file, size] : cases) {
        SCOPED_TRACE(file);
        const auto source = sourceOf(file);
        ASSERT_NE(source, nullptr);
        const KVThumbnail thumbnail = source->createThumbnail(256);
        EXPECT_EQ(thumbnail.size(), size);
        EXPECT_EQ(thumbnail.image().size(), size);
    }
}

TEST(KVImageSource, ThumbnailsAndImagesAreUprightLikeOrientation1) {
    const auto thumbnailOf = [](const QString &shape, int orientation) {
        const auto source = sourceOf(QString("orientation/%1_%2.jpg").arg(shape).arg(orientation));
        const KVThumbnail thumbnail = source ? source->createThumbnail(256) : KVThumbnail();
        KVThumbnailCache::shared().remove(thumbnail); // decode the stored bytes, not the copy
        return thumbnail.image();
    };
    for (const QString shape : {"landscape", "portrait"}) {
        const QImage reference = thumbnailOf(shape, 1);
        ASSERT_FALSE(reference.isNull());
        for (int orientation = 2; orientation <= 8; ++orientation) {
            SCOPED_TRACE(QString("%1 %2").arg(shape).arg(orientation).toStdString());
            const QImage thumbnail = thumbnailOf(shape, orientation);
            ASSERT_FALSE(thumbnail.isNull());
            EXPECT_EQ(thumbnail.size(), reference.size());
            EXPECT_EQ(thumbnail.width() > thumbnail.height(), shape == "landscape");
            // Each file is encoded anew: the right turn leaves about 14 to 16 of difference,
            // any wrong turn or mirror 35 or more.
            EXPECT_LT(meanDifference(thumbnail, reference), 22.0);
            EXPECT_GT(meanDifference(thumbnail.mirrored(true, false), reference), 30.0);
            EXPECT_GT(meanDifference(thumbnail.mirrored(false, true), reference), 30.0);
        }
    }

    // The whole image too.
    const QImage reference = sourceOf("orientation/landscape_1.jpg")->createImage();
    const QImage image = sourceOf("orientation/landscape_6.jpg")->createImage();
    EXPECT_EQ(reference.size(), QSize(600, 450));
    EXPECT_EQ(image.size(), QSize(600, 450));
    EXPECT_LT(meanDifference(image, reference), 22.0);
    EXPECT_GT(meanDifference(image.mirrored(true, true), reference), 30.0);
}

TEST(KVImageSource, ReadersOnSeveralThreadsAgreeWithOne) {
    QStringList paths;
    const QDir cameras(KVTest::samplePath("cameras"));
    for (const QString &name : cameras.entryList({"*.jpg"}, QDir::Files))
        paths << cameras.filePath(name);
    for (const char *sample :
         {"orientation/portrait_7.jpg", "raw/FujiFilm.raf", "tiff/Tless0.tiff"})
        paths << KVTest::samplePath(sample);
    const auto read = [](const QString &path) {
        const auto source = KVImageSource::createWithPath(path);
        if (!source)
            return QStringLiteral("none");
        // Thumbnail first: the sample table reads properties first.
        const QImage image = source->createThumbnail(256).image();
        const auto properties = source->copyPropertiesAtIndex0();
        return QStringLiteral("%1|%2|%3x%4|%5")
            .arg(
                properties ? tiffOf(*properties).value(KVImagePropertyKey::tiffModel).toString()
                           : "-",
                properties
                    ? exifOf(*properties).value(KVImagePropertyKey::exifDateTimeOriginal).toString()
                    : "-")
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
            for (qsizetype i = 0; i < 3 * paths.size(); ++i) {
                const qsizetype index = (i + t * 7) % paths.size();
                mismatches += read(paths[index]) != expected[index];
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(KVImageSource, BrokenRawAndTiffSamplesOpenWithoutCrashingAndGiveWhatTheyCan) {
    constexpr bool Y = true, N = false;
    const struct {
        const char *file;
        bool opens, properties, captureDate, thumbnail;
    } cases[] = {// An Olympus photo cut short: its EXIF and its thumbnail survive.
                 {"broken/corrupted.jpg", Y, Y, Y, Y},
                 // No EXIF at all; libjpeg decodes what is there.
                 {"broken/image00971.jpg", Y, Y, N, Y},
                 {"broken/image01088.jpg", Y, Y, N, Y},
                 {"broken/image01137.jpg", Y, Y, N, Y},
                 {"broken/image01551.jpg", Y, Y, N, Y},
                 {"broken/image01713.jpg", Y, Y, N, Y},
                 {"broken/image01980.jpg", Y, Y, N, Y},
                 {"broken/image02206.jpg", Y, Y, N, Y},
                 // Stripped raw files: metadata without pixels, mostly.
                 {"raw/CanonRaw.cr2", Y, Y, Y, N},
                 {"raw/CanonRaw.crw", Y, Y, Y, N},
                 {"raw/CaptureOne.eip", N, N, N, N}, // a ZIP: neither Exiv2 nor LibRaw
                 {"raw/DNG.dng", Y, Y, Y, Y},        // an 8x8 preview decodes
                 {"raw/ExifTool.tif", Y, Y, N, Y},   // a small TIFF picture
                 {"raw/FujiFilm.raf", Y, Y, Y, Y},   // its 160x120 JPEG preview
                 {"raw/KyoceraRaw.raw", Y, Y, Y, N}, // LibRaw only
                 {"raw/Minolta.mrw", Y, Y, Y, N},
                 {"raw/Nikon.nef", Y, Y, Y, Y}, // LibRaw develops the (empty) data
                 {"raw/Panasonic.rw2", Y, Y, Y, Y},
                 {"raw/PhaseOne.iiq", Y, Y, Y, Y},
                 {"raw/Red.r3d", N, N, N, N},
                 {"raw/Sigma.x3f", N, N, N, N}, // this LibRaw is built without X3F
                 {"raw/SigmaDP2.x3f", N, N, N, N},
                 {"tiff/Arbitro.tiff", Y, Y, N, Y},
                 {"tiff/BSG1.tiff", Y, Y, N, Y},
                 {"tiff/DudleyLeavittUtah.tiff", Y, Y, N, Y},
                 {"tiff/Jobagent.tiff", Y, Y, N, Y},
                 {"tiff/Picoawards.tiff", Y, Y, N, Y},
                 {"tiff/Rudless.tiff", Y, Y, N, Y},
                 {"tiff/Tless0.tiff", Y, Y, N, Y}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        const auto source = sourceOf(c.file);
        ASSERT_EQ(source != nullptr, c.opens);
        if (!source)
            continue;
        const auto properties = source->copyPropertiesAtIndex0();
        EXPECT_EQ(properties.has_value(), c.properties);
        EXPECT_EQ(properties &&
                      exifOf(*properties).contains(KVImagePropertyKey::exifDateTimeOriginal),
                  c.captureDate);
        const KVThumbnail thumbnail = source->createThumbnail(256);
        EXPECT_EQ(!thumbnail.isNull(), c.thumbnail);
        if (!thumbnail.isNull()) {
            EXPECT_LE(qMax(thumbnail.size().width(), thumbnail.size().height()), 256);
            EXPECT_EQ(thumbnail.image().size(), thumbnail.size());
        }
        // A second request gives the same answer.
        EXPECT_EQ(source->createThumbnail(256).isNull(), thumbnail.isNull());
    }
}
