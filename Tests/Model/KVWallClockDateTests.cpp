// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Capture dates around the daylight-saving changes of Berlin and Los Angeles, read from and
// written into real photos through exiftool. CTest runs these in both zones.

#include "KVPhotoWriter.h"
#include "KVImageFile.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"
#include "KVWallClock.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class KVWallClockDateTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir().mkpath(m_runtime));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        KVSetToolPath(KALVORA_EXIFTOOL);
    }
    void TearDown() override { qputenv("XDG_RUNTIME_DIR", m_oldRuntime); }

    QTemporaryDir m_dir;
    const QString m_runtime = m_dir.filePath("runtime");
    const QByteArray m_oldRuntime = qgetenv("XDG_RUNTIME_DIR");
};

QString dateOnDisk(const QString &path, const char *tag) {
    QByteArray output;
    KVTest::runProgram(QStringLiteral(KALVORA_EXIFTOOL), {"-s3", tag, path}, &output);
    return QString::fromUtf8(output).trimmed();
}

} // namespace

// Every tag moves by exactly the offset, and back, on the days the local clocks change: nights
// whose hour is skipped or repeated in one zone are plain hours of a camera's clock. The offset
// tags are left as they were.
TEST_F(KVWallClockDateTest, AShiftMovesEveryTagByExactlyItsSecondsAndUndoRestoresThem) {
    const struct {
        const char *stored;
        qint64 seconds;
        const char *shifted;
    } cases[] = {// Berlin: 02:00 -> 03:00 on 28 March, 03:00 -> 02:00 on 31 October 2021.
                 {"2021:03:28 01:59:30", 3600, "2021:03:28 02:59:30"},
                 {"2021:03:28 02:30:00", 60, "2021:03:28 02:31:00"},
                 {"2021:10:31 02:30:00", 3600, "2021:10:31 03:30:00"},
                 {"2021:10:31 03:10:00", -3600, "2021:10:31 02:10:00"},
                 // Los Angeles: 14 March and 7 November 2021.
                 {"2021:03:14 01:30:00", 3600, "2021:03:14 02:30:00"},
                 {"2021:11:07 01:30:00", 1800, "2021:11:07 02:00:00"},
                 {"2021:06:01 12:00:00", -86400 * 200, "2020:11:13 12:00:00"}};
    const QString path =
        KVTest::copySamples({"cameras/Canon_40D.jpg"}, m_dir.filePath("photos")).value(0);
    KVPhotoWriter writer(QStringLiteral(KALVORA_EXIFTOOL));
    for (const auto &c : cases) {
        SCOPED_TRACE(c.stored);
        ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", c.stored},
                                             {"Exif.Photo.OffsetTimeOriginal", "+01:00"}}));
        const KVImageFileRef file = KVImageFile::initWithURL(QUrl::fromLocalFile(path));
        ASSERT_TRUE(file);
        const QDateTime read = file->creationDate();
        EXPECT_EQ(KVWallClock::exifText(read), c.stored);

        ASSERT_TRUE(file->shiftCreationDate(writer, c.seconds).changed());
        for (const char *tag : {"-EXIF:DateTimeOriginal", "-EXIF:CreateDate", "-EXIF:ModifyDate",
                                "-XMP:DateTimeOriginal", "-XMP:CreateDate"})
            EXPECT_EQ(dateOnDisk(path, tag), c.shifted) << tag;
        EXPECT_EQ(dateOnDisk(path, "-OffsetTimeOriginal"), "+01:00");
        EXPECT_EQ(read.secsTo(file->creationDate()), c.seconds);

        ASSERT_TRUE(file->shiftCreationDate(writer, -c.seconds).changed());
        EXPECT_EQ(dateOnDisk(path, "-EXIF:DateTimeOriginal"), c.stored);
        EXPECT_EQ(file->creationDate(), read);
    }
}

// Read as fields: the same text gives the same date in every zone, and texts order as the
// clocks ran, also within the hour a local clock repeats.
TEST(KVWallClock, TextsAreReadAsFieldsAndOrderedAsTheyRead) {
    const char *ordered[] = {"2021:10:31 02:10:00", "2021:10:31 02:50:00", "2021:11:07 01:10:00",
                             "2021:11:07 01:50:00", "2022:03:27 02:30:00"};
    QDateTime previous;
    for (const char *text : ordered) {
        SCOPED_TRACE(text);
        const QDateTime date = KVWallClock::fromExifText(QString::fromLatin1(text));
        ASSERT_TRUE(date.isValid());
        EXPECT_EQ(date.timeSpec(), Qt::UTC);
        EXPECT_EQ(KVWallClock::exifText(date), text);
        EXPECT_TRUE(!previous.isValid() || previous < date);
        previous = date;
    }
    for (const char *bad : {"2011:13:03 04:05:06", "0000:00:00 00:00:00", "2011-02-03 04:05:06",
                            "2011:02:03", "2011:02:03 25:00:00", ""})
        EXPECT_FALSE(KVWallClock::fromExifText(QString::fromLatin1(bad)).isValid()) << bad;
}
