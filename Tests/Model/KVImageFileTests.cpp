// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

#include "KVDispatch.h"
#include "KVImageSource.h"
#include "KVLog.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"
#include "KVUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <unistd.h>

namespace {

KVImageFileRef recordOf(const QString &path) {
    return KVImageFile::initWithURL(QUrl::fromLocalFile(path));
}

} // namespace

TEST(KVImageFile, CameraIdentityFromMakeModelAndSerial) {
    const auto expectIdentity = [](const QString &path, const char *key, const char *name) {
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fullCameraName(), QString::fromUtf8(key));
        EXPECT_EQ(file->cameraName(), QString::fromUtf8(name));
    };
    // Trailing blanks of the stored strings never reach the key or the name.
    const std::tuple<const char *, const char *, const char *> real[] = {
        {"cameras/Fujifilm_FinePix_E500.jpg", "FUJIFILM FinePix E500", "FUJIFILM FinePix E500"},
        {"cameras/Pentax_K10D.jpg", "PENTAX Corporation PENTAX K10D", "PENTAX K10D"},
        {"cameras/Ricoh_Caplio_RR330.jpg", "Caplio RR330", "Caplio RR330"},
        {"cameras/Samsung_Digimax_i50_MP3.jpg", "Samsung Techwin <Digimax i50 MP3, Samsung #1 MP3>",
         "<Digimax i50 MP3, Samsung #1 MP3>"}};
    for (const auto &[sample, key, name] : real) {
        SCOPED_TRACE(sample);
        expectIdentity(KVTest::samplePath(sample), key, name);
    }
    EXPECT_EQ(recordOf(KVTest::samplePath("cameras/Fujifilm_FinePix_E500.jpg"))->model(),
              "FinePix E500");

    const struct {
        const char *make, *model, *serial, *key, *name;
    } cases[] = {
        {"ACME", "ACME X1", "4711", "ACME ACME X1 4711", "ACME X1"},
        {"ACME CORP.", "ACME Z9", "", "ACME CORP. ACME Z9", "ACME Z9"},
        {"Vexlo", "Pro 2", "88", "Vexlo Pro 2 88", "Vexlo Pro 2"},
        {"acme", "ACME X1", "", "acme ACME X1", "ACME X1"},
        {"", "Pro 2", "88", "Pro 2 88", "Pro 2"},
        {"Vexlo", "", "", "Vexlo No Name", "Vexlo No Name"},
        {"", "", "", "No Name", "No Name"},
        // A substring, not a whole word, is enough to leave the make out.
        {"Can", "Canon EOS", "", "Can Canon EOS", "Canon EOS"},
        {"Vexlo\tLabs", "Labster 3", "  12 \n", "Vexlo\tLabs Labster 3 12", "Labster 3"},
    };
    QTemporaryDir folder;
    const QStringList copies = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder.path());
    ASSERT_EQ(copies.size(), 1);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.key);
        ASSERT_TRUE(KVTest::writeExif(copies[0], {{"Exif.Image.Make", c.make},
                                                  {"Exif.Image.Model", c.model},
                                                  {"Exif.Photo.BodySerialNumber", c.serial}}));
        expectIdentity(copies[0], c.key, c.name);
    }
}

TEST(KVImageFile, DateComesFromOriginalThenDigitizedAndNeverFromElsewhere) {
    QTemporaryDir folder;
    const QString path = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder.path()).value(0);

    ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", "2011:02:03 04:05:06"},
                                         {"Exif.Photo.DateTimeDigitized", "2012:01:01 00:00:00"}}));
    EXPECT_EQ(recordOf(path)->creationDate(),
              QDateTime(QDate(2011, 2, 3), QTime(4, 5, 6), Qt::UTC));

    ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", ""}}));
    const KVImageFileRef digitized = recordOf(path);
    ASSERT_TRUE(digitized);
    EXPECT_EQ(digitized->creationDate(), QDateTime(QDate(2012, 1, 1), QTime(0, 0), Qt::UTC));
    EXPECT_TRUE(digitized->exif().contains("DateTimeOriginal"));
    EXPECT_FALSE(digitized->exif().contains("DateTimeDigitized"));

    // Make and model alone do not make a photo.
    ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeDigitized", ""}}));
    EXPECT_FALSE(recordOf(path));
    const std::optional<QVariantMap> exif = KVImageFile::exifFromURL(QUrl::fromLocalFile(path));
    ASSERT_TRUE(exif);
    EXPECT_EQ(exif->value("Make").toString(), "Canon");

    for (const char *bad :
         {"2011:13:03 04:05:06", "0000:00:00 00:00:00", "yesterday", "2011-02-03 04:05:06"}) {
        SCOPED_TRACE(bad);
        ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", bad}}));
        EXPECT_FALSE(recordOf(path));
    }
}

TEST(KVImageFile, FilesWithoutAnyUsableDateGiveNoRecord) {
    for (const char *sample :
         {"cameras/PaintTool_sample.jpg", "cameras/long_description.jpg",
          "cameras/Canon_40D_photoshop_import.jpg", "broken/image01137.jpg", "README.md"}) {
        SCOPED_TRACE(sample);
        EXPECT_FALSE(recordOf(KVTest::samplePath(sample)));
    }
    EXPECT_FALSE(recordOf(KVTest::samplePath() + "/does/not/exist.jpg"));
    EXPECT_FALSE(KVImageFile::exifFromURL(QUrl()));
    const std::optional<QVariantMap> missing =
        KVImageFile::exifFromURL(QUrl::fromLocalFile("/nonexistent/x.jpg"));
    ASSERT_TRUE(missing);
    EXPECT_TRUE(missing->isEmpty());
}

TEST(KVImageFile, RecordsOfOneFileAreEqualAndHashAlikeAndHandSetOnesStandForADateOnly) {
    const QString path = KVTest::samplePath("cameras/Nikon_D70.jpg");
    const KVImageFileRef a = recordOf(path), b = recordOf(path);
    const KVImageFileRef c = recordOf(KVTest::samplePath("cameras/Sony_HDR-HC3.jpg"));
    ASSERT_TRUE(a && b && c);
    EXPECT_TRUE(a->isEqual(*b));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_FALSE(a->isEqual(*c));
    EXPECT_EQ(a->name(), "Nikon_D70.jpg");

    const QDateTime date(QDate(2020, 6, 1), QTime(12, 0));
    const KVImageFileRef manual = KVImageFile::initWithDate(date);
    EXPECT_EQ(manual->creationDate(), date);
    EXPECT_EQ(manual->cameraName(), "Time is set manually");
    EXPECT_EQ(manual->fullCameraName(), "No Name");
    EXPECT_TRUE(manual->path().isNull() && manual->name().isNull());
    EXPECT_TRUE(manual->thumbnail().isNull());
    EXPECT_TRUE(manual->isEqual(*manual));
    EXPECT_FALSE(manual->isEqual(*KVImageFile::initWithDate(date)));
}

class KVImageFilePresenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_home.isValid());
        m_savedDataHome = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", m_home.path().toUtf8());
        ASSERT_TRUE(QDir().mkpath(m_home.path() + "/Trash/files"));
        m_photos = m_home.path() + "/photos";
        ASSERT_TRUE(QDir().mkpath(m_photos));
    }
    void TearDown() override {
        KVImageFile::setRemovalHandler(nullptr);
        qputenv("XDG_DATA_HOME", m_savedDataHome);
    }

    QTemporaryDir m_home;
    QByteArray m_savedDataHome;
    QString m_photos;
};

class UrlWatcher : public KVObserver {
public:
    void observeValueForKeyPath(const QString &keyPath, KVObservable *) override {
        if (keyPath == "url")
            ++changes;
    }
    std::atomic<int> changes{0};
};

TEST_F(KVImageFilePresenterTest, RenameIsFollowedAndTrashIsReportedOnceOnTheMainThread) {
    const QString path = KVTest::copySamples({"cameras/Canon_40D.jpg"}, m_photos).value(0);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    file->setImageState(KVImageStateSelected);
    UrlWatcher watcher;
    file->addObserver(&watcher, "url");

    std::atomic<int> removals{0};
    std::atomic<bool> onMainThread{false};
    KVImageFile::setRemovalHandler([&](const KVImageFileRef &removed) {
        if (removed == file)
            ++removals;
        onMainThread = KVIsMainThread();
    });

    const QString renamed = m_photos + "/renamed.jpg";
    ASSERT_TRUE(QFile::rename(path, renamed));
    ASSERT_TRUE(KVTest::waitFor([&] { return file->path() == renamed; }));
    EXPECT_EQ(file->imageState(), KVImageStateSelected);
    EXPECT_EQ(watcher.changes.load(), 1);

    const QString trashed = m_home.path() + "/Trash/files/renamed.jpg";
    ASSERT_TRUE(QFile::rename(renamed, trashed));
    ASSERT_TRUE(KVTest::waitFor([&] { return removals.load() == 1; }));
    EXPECT_EQ(file->imageState(), KVImageStateRemoved);
    EXPECT_EQ(file->path(), renamed);
    EXPECT_TRUE(onMainThread.load());

    // Unregistered after the report: bringing it back and trashing it again tells nobody.
    ASSERT_TRUE(QFile::rename(trashed, renamed));
    ASSERT_TRUE(QFile::rename(renamed, trashed));
    EXPECT_FALSE(
        KVTest::waitFor([&] { return removals.load() > 1; }, std::chrono::milliseconds(500)));
    file->removeObserver(&watcher);
}

TEST_F(KVImageFilePresenterTest, WithoutAListenerTrashedRecordKeepsFollowing) {
    const QString path = KVTest::copySamples({"cameras/Nikon_D70.jpg"}, m_photos).value(0);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    const QString trashed = m_home.path() + "/Trash/files/Nikon_D70.jpg";
    ASSERT_TRUE(QFile::rename(path, trashed));
    ASSERT_TRUE(KVTest::waitFor([&] { return file->imageState() == KVImageStateRemoved; }));
    // The location is left as it was; only the state tells that the photo is gone.
    EXPECT_EQ(file->path(), path);
}

namespace {

// What the code under test writes to standard error while body runs.
QByteArray standardErrorOf(const std::function<void()> &body) {
    QTemporaryFile capture;
    if (!capture.open())
        return "cannot capture standard error";
    std::fflush(stderr);
    const int saved = dup(STDERR_FILENO);
    dup2(capture.handle(), STDERR_FILENO);
    body();
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    capture.seek(0);
    return capture.readAll();
}

} // namespace

// Reading 10,000 photos must not write 10,000 lines: each photo's details are a step of the
// verbose log only.
TEST(KVImageFile, ReadingAPhotoLogsItsDetailsOnlyWithVerboseLoggingOn) {
    KVUserDefaults &defaults = KVUserDefaults::standardUserDefaults();
    const bool before = defaults.verboseConsole();
    const QUrl photo = QUrl::fromLocalFile(KVTest::samplePath("cameras/Canon_40D.jpg"));
    for (const bool verbose : {false, true}) {
        SCOPED_TRACE(verbose);
        defaults.setBool(verbose, KVUserDefaults::verboseLoggingKey);
        EXPECT_EQ(KVVerboseLogging().isDebugEnabled(), verbose);
        const QByteArray said =
            standardErrorOf([&] { ASSERT_TRUE(KVImageFile::initWithURL(photo)); });
        EXPECT_EQ(said.contains("[Kalvora]"), verbose) << said.constData();
    }
    defaults.setBool(before, KVUserDefaults::verboseLoggingKey);
}
