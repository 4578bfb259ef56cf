// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageSource.h"
#include "KVParseDeadline.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"
#include "KVThumbnailCache.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

// Compared as std::string, so that a failure prints the text.
std::string text(const QVariantMap &dictionary, const QString &key) {
    return dictionary.contains(key) ? dictionary.value(key).toString().toStdString() : "-";
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
    const QImage left = a.scaled(64, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                            .convertToFormat(QImage::Format_RGB888);
    const QImage right = b.scaled(64, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                             .convertToFormat(QImage::Format_RGB888);
    double sum = 0;
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64 * 3; ++x)
            sum += std::abs(left.constScanLine(y)[x] - right.constScanLine(y)[x]);
    return sum / (3.0 * 64 * 48);
}

} // namespace

// Fields joined as "dictionaries|make|model|original|digitized|serial", "-" for absent.
TEST(KVImageSource, ReadsMakeModelAndDatesAsStoredWithTheirBlanks) {
    using namespace KVImagePropertyKey;
    const auto fields = [](const QString &path) {
        const KVImageProperties properties = propertiesOf(path).value();
        const QVariantMap tiff = tiffOf(properties), exif = exifOf(properties);
        std::string all = properties.contains(KVImageSource::exifDictionaryKey) ? "E" : "-";
        all += properties.contains(KVImageSource::tiffDictionaryKey) ? "T" : "-";
        for (const QString &key : {tiffMake, tiffModel})
            all += "|" + text(tiff, key);
        for (const QString &key :
             {exifDateTimeOriginal, exifDateTimeDigitized, exifBodySerialNumber})
            all += "|" + text(exif, key);
        return all;
    };
    // Dictionaries only for what the file holds: only IFD0 gives a TIFF one without camera.
    const std::pair<const char *, const char *> cases[] = {
        {"cameras/Canon_40D.jpg",
         "ET|Canon|Canon EOS 40D|2008:05:30 15:56:01|2008:05:30 15:56:01|-"},
        {"cameras/Pentax_K10D.jpg",
         "ET|PENTAX Corporation |PENTAX K10D        |2008:05:04 16:47:24|"
         "2008:05:04 16:47:24|-"},
        {"orientation/landscape_1.jpg", "-T|-|-|-|-|-"},
        {"broken/image01137.jpg", "--|-|-|-|-|-"}};
    for (const auto &[file, expected] : cases)
        EXPECT_EQ(fields(KVTest::samplePath(file)), expected);
    // Binary blobs such as the maker note are left out.
    EXPECT_FALSE(exifOf(propertiesOf(KVTest::samplePath("cameras/PaintTool_sample.jpg")).value())
                     .contains(QStringLiteral("MakerNote")));

    // A serial number and a digitized date alone, as written.
    QTemporaryDir folder;
    const QString copy = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder.path()).value(0);
    ASSERT_TRUE(KVTest::writeExif(copy, {{"Exif.Photo.BodySerialNumber", "A1234 "},
                                         {"Exif.Photo.DateTimeOriginal", ""},
                                         {"Exif.Photo.DateTimeDigitized", "2011:02:03 04:05:06"}}));
    EXPECT_EQ(fields(copy), "ET|Canon|Canon EOS 40D|-|2011:02:03 04:05:06|A1234 ");

    // Files Exiv2 0.27 cannot open keep the texts they store, not LibRaw's spelling ("Contax",
    // "N Digital"): the Kyocera header's own texts, the EXIF of the X3F's embedded preview. The
    // Phase One serial number is in no EXIF tag: only there does LibRaw's fill the gap.
    const std::pair<const char *, const char *> unknownToExiv2[] = {
        {"raw/KyoceraRaw.raw", "ET|KYOCERA|N DIGITAL|2005:07:16 18:14:30|-|-"},
        {"raw/SigmaDP2.x3f", "ET|SIGMA|SIGMA DP2|2009:11:28 13:05:20|2009:11:28 13:05:20|-"},
        {"raw/PhaseOne.iiq", "ET|Leaf|Credo 40|2013:06:19 15:44:21|2013:06:19 15:44:21|LD001055"}};
    for (const auto &[file, expected] : unknownToExiv2)
        EXPECT_EQ(fields(KVTest::samplePath(file)), expected) << file;
}

TEST(KVImageSource, NoSourceForNonImagesAndNoPropertiesFromACutFile) {
    QTemporaryDir folder;
    const auto write = [&](const char *name, const QByteArray &bytes) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return file.fileName();
    };
    for (const QString &path :
         {folder.filePath("missing.jpg"), folder.path(), QString(),
          write("notes.jpg", "This is not a picture.\n"), write("empty.nef", {})})
        EXPECT_EQ(KVImageSource::createWithPath(path), nullptr) << path.toStdString();

    // The start of a JPEG, cut off inside its EXIF segment: it opens, but gives nothing.
    const auto source = KVImageSource::createWithPath(
        write("cut.jpg", KVTest::readFile(KVTest::samplePath("cameras/Canon_40D.jpg")).left(300)));
    ASSERT_NE(source, nullptr);
    EXPECT_FALSE(source->copyPropertiesAtIndex0().has_value());
    EXPECT_TRUE(source->createThumbnail(256).isNull());
}

// An embedded JPEG within the bound is kept as it is (the S40's: 160x120, 5448 bytes), a larger
// one scaled and encoded anew; without one, the image itself is decoded within the bound.
TEST(KVImageSource, ThumbnailIsTheEmbeddedJpegOrTheImageWithinTheBound) {
    const std::tuple<const char *, int, QSize, bool> cases[] = {
        {"cameras/Canon_PowerShot_S40.jpg", 256, QSize(160, 120), true},
        {"cameras/Canon_PowerShot_S40.jpg", 64, QSize(64, 48), false},
        {"cameras/Fujifilm_FinePix_E500.jpg", 256, QSize(59, 100), false},
        {"tiff/BSG1.tiff", 256, QSize(256, 140), false}};
    for (const auto &[file, bound, size, embeddedAsItIs] : cases) {
        SCOPED_TRACE(file);
        const KVThumbnail thumbnail = sourceOf(file)->createThumbnail(bound);
        EXPECT_EQ(thumbnail.size(), size);
        EXPECT_EQ(thumbnail.image().size(), size);
        EXPECT_EQ(thumbnail.encodedSize() == 5448, embeddedAsItIs);
    }
}

TEST(KVImageSource, ThumbnailsAndImagesAreUprightLikeOrientation1) {
    const auto thumbnailOf = [](const QString &shape, int orientation) {
        const KVThumbnail thumbnail =
            sourceOf(QString("orientation/%1_%2.jpg").arg(shape).arg(orientation))
                ->createThumbnail(256);
        KVThumbnailCache::shared().remove(thumbnail); // decode the stored bytes, not the copy
        return thumbnail.image();
    };
    for (const QString shape : {"landscape", "portrait"}) {
        const QImage reference = thumbnailOf(shape, 1);
        for (int orientation = 2; orientation <= 8; ++orientation) {
            SCOPED_TRACE(QString("%1 %2").arg(shape).arg(orientation).toStdString());
            const QImage thumbnail = thumbnailOf(shape, orientation);
            EXPECT_EQ(thumbnail.size(), reference.size());
            // Each file is encoded anew: the right turn leaves 14 to 16, any wrong one 35 or more.
            EXPECT_LT(meanDifference(thumbnail, reference), 22.0);
            EXPECT_GT(meanDifference(thumbnail.mirrored(true, false), reference), 30.0);
            EXPECT_GT(meanDifference(thumbnail.mirrored(false, true), reference), 30.0);
        }
    }

    const QImage reference = sourceOf("orientation/landscape_1.jpg")->createImage();
    const QImage image = sourceOf("orientation/landscape_6.jpg")->createImage(); // whole image too
    EXPECT_EQ(image.size(), QSize(600, 450));
    EXPECT_LT(meanDifference(image, reference), 22.0);
    EXPECT_GT(meanDifference(image.mirrored(true, true), reference), 30.0);
}

TEST(KVImageSource, ReadersOnSeveralThreadsAgreeWithOne) {
    QStringList paths;
    const QDir cameras(KVTest::samplePath("cameras"));
    for (const QString &name : cameras.entryList({"*.jpg"}, QDir::Files))
        paths << cameras.filePath(name);
    paths << KVTest::samplePath("orientation/portrait_7.jpg")
          << KVTest::samplePath("raw/FujiFilm.raf") << KVTest::samplePath("tiff/Tless0.tiff");
    const auto read = [](const QString &path) {
        const auto source = KVImageSource::createWithPath(path);
        // Thumbnail first: the sample table reads properties first.
        const QImage image = source->createThumbnail(256).image();
        return std::pair(source->copyPropertiesAtIndex0(), image);
    };
    std::vector<decltype(read(QString()))> expected;
    for (const QString &path : paths)
        expected.push_back(read(path));
    std::atomic<int> mismatches{0};
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (qsizetype i = 0; i < 3 * paths.size(); ++i) {
                const qsizetype index = (i + t * 7) % paths.size();
                mismatches += read(paths[index]) != expected[size_t(index)];
            }
        });
    threads.clear();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(KVImageSource, BrokenRawAndTiffSamplesOpenWithoutCrashingAndGiveWhatTheyCan) {
    // Flags: opens, gives properties, a capture date, a thumbnail; then what went wrong
    // ('-' nothing, 'D' damaged). The ZIP, the R3D and the X3F without EXIF do not open;
    // stripped raw files give metadata without pixels; the X3F with an EXIF preview gives both.
    // A file that declares gigabytes of metadata (found by fuzzing) or hundreds of megapixels
    // in a few kilobytes is refused at once, before anything is allocated for it.
    const std::pair<const char *, const char *> cases[] = {
        {"broken/corrupted.jpg", "YYYY-"},
        {"broken/image00971.jpg", "YYNY-"},
        {"broken/image02206.jpg", "YYNY-"},
        {"broken/PhaseOne-oversized.iiq", "YYNND"},
        {"broken/Nikon-oversized.nef", "YYYND"},
        {"raw/CanonRaw.cr2", "YYYN-"},
        {"raw/CaptureOne.eip", "NNNN-"},
        {"raw/DNG.dng", "YYYY-"},
        {"raw/ExifTool.tif", "YYNY-"},
        {"raw/FujiFilm.raf", "YYYY-"},
        {"raw/KyoceraRaw.raw", "YYYN-"},
        {"raw/Nikon.nef", "YYYY-"},
        {"raw/Panasonic.rw2", "YYYY-"},
        {"raw/PhaseOne.iiq", "YYYY-"},
        {"raw/Red.r3d", "NNNN-"},
        {"raw/Sigma.x3f", "NNNN-"},
        {"raw/SigmaDP2.x3f", "YYYY-"},
        {"tiff/DudleyLeavittUtah.tiff", "YYNY-"},
        {"tiff/Tless0.tiff", "YYNY-"}};
    for (const auto &[file, flags] : cases) {
        SCOPED_TRACE(file);
        const auto started = std::chrono::steady_clock::now();
        const auto source = sourceOf(file);
        const auto properties = source ? source->copyPropertiesAtIndex0() : std::nullopt;
        const KVThumbnail thumbnail = source ? source->createThumbnail(256) : KVThumbnail();
        const bool date =
            properties && exifOf(*properties).contains(KVImagePropertyKey::exifDateTimeOriginal);
        const KVReadProblem problem = source ? source->problem() : KVReadProblem::None;
        ASSERT_NE(problem, KVReadProblem::TimedOut);
        EXPECT_EQ(std::string({source ? 'Y' : 'N', properties ? 'Y' : 'N', date ? 'Y' : 'N',
                               thumbnail.isNull() ? 'N' : 'Y',
                               problem == KVReadProblem::Damaged ? 'D' : '-'}),
                  flags);
        EXPECT_TRUE(thumbnail.isNull() || thumbnail.image().size() == thumbnail.size());
        // Far below the parse limit: nothing here is worth seconds of work.
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
    }
}

// One changed byte of a Phase One file sends LibRaw round a loop of four billion reads: the
// time limit ends it, and the source says so.
TEST(KVImageSource, AParseThatRunsOutOfTimeEndsAndSaysSo) {
    KVParseDeadline::setLimit(std::chrono::milliseconds(500));
    const auto started = std::chrono::steady_clock::now();
    KVReadProblem problem = KVReadProblem::None;
    const auto source =
        KVImageSource::createWithPath(KVTest::samplePath("broken/PhaseOne-hang.iiq"), &problem);
    ASSERT_NE(source, nullptr); // Exiv2 reads its TIFF structure
    EXPECT_EQ(problem, KVReadProblem::None);
    EXPECT_TRUE(source->copyPropertiesAtIndex0().has_value());
    // LibRaw, asked for the serial number, was stopped
    EXPECT_EQ(source->problem(), KVReadProblem::TimedOut);
    source->createThumbnail(256);
    KVParseDeadline::setLimit(std::chrono::seconds(10));
    // A bound far above the limit's few rounds, far below a hang.
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(8));
}

// Another program rewrites a TIFF-based photo in place, cutting it short and writing it back,
// while readers read it: they may get odd bytes, but never a fault (a mapped file that shrinks
// kills the reader with SIGBUS).
TEST(KVImageSource, AFileRewrittenWhileItIsReadNeverFaults) {
    QTemporaryDir folder;
    const QString path = KVTest::copySamples({"raw/Nikon.nef"}, folder.path()).value(0);
    const QByteArray bytes = KVTest::readFile(path);
    std::atomic<bool> stop{false};
    std::jthread writer([&] {
        QFile file(path);
        while (!stop && file.open(QIODevice::ReadWrite)) {
            file.resize(64);
            file.seek(0);
            file.write(bytes);
            file.close();
        }
    });
    int opened = 0;
    for (int i = 0; i < 300; ++i) {
        if (const auto source = KVImageSource::createWithPath(path)) {
            ++opened;
            source->copyPropertiesAtIndex0();
            source->createThumbnail(256);
        }
    }
    stop = true;
    EXPECT_GT(opened, 0);
}
