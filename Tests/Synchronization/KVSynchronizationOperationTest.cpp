#include "KVSynchronizationOperation.h"

#include "KVKeyRecorder.h"
#include "KVSynchronizationFixture.h"
#include "KVTestSupport.h"

#include <QSet>

#include <cmath>
#include <limits>

namespace {

QSet<QString> pathsOf(const KVImageFileSet &files) {
    QSet<QString> paths;
    for (const KVImageFileRef &file : files)
        paths.insert(file->path());
    return paths;
}

QSet<QString> pathsOf(const std::vector<KVImageFileRef> &files) {
    QSet<QString> paths;
    for (const KVImageFileRef &file : files)
        paths.insert(file->path());
    return paths;
}

qint64 countOf(KVObservable *object) {
    return static_cast<KVSynchronizationOperation *>(object)->processedImagesCount();
}

class KVSynchronizationOperationTest : public KVSynchronizationFixture {};

TEST_F(KVSynchronizationOperationTest, EmptyOperationFinishesAtOnceAndTouchesNothing) {
    KVSynchronizationOperation operation(3600, {});
    operation.start();
    EXPECT_TRUE(operation.isFinished());
    EXPECT_EQ(operation.processedImagesCount(), 0);
    EXPECT_EQ(operation.progress(), 0.0);
    EXPECT_TRUE(operation.doneImageFiles().empty());
    EXPECT_TRUE(operation.notChangedFiles().isEmpty());
    EXPECT_EQ(operation.revertedOperation(), nullptr);
}

TEST_F(KVSynchronizationOperationTest, RemovedPhotosAreCountedButNeitherChangedNorReported) {
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    ASSERT_EQ(photos.size(), 3u);
    const QMap<QString, QByteArray> before = contents(photos);
    for (const KVImageFileRef &photo : photos)
        photo->setImageState(KVImageStateRemoved);

    KVSynchronizationOperation operation(3600, photos);
    operation.start();
    EXPECT_EQ(operation.processedImagesCount(), 3);
    EXPECT_EQ(operation.progress(), 1.0);
    EXPECT_TRUE(operation.doneImageFiles().empty());
    EXPECT_TRUE(operation.notChangedFiles().isEmpty());
    EXPECT_EQ(contents(photos), before);
}

// Forward, backward, across a day and across the Berlin spring DST change in local time.
class KVSynchronizationOperationShiftTest : public KVSynchronizationFixture,
                                            public ::testing::WithParamInterface<double> {};

TEST_P(KVSynchronizationOperationShiftTest, ShiftsEveryPhotoOnDiskAndInTheRecordByTheInterval) {
    const double interval = GetParam();
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    ASSERT_EQ(photos.size(), 3u);
    const QMap<QString, QString> before = diskDates(photos);
    ASSERT_EQ(before.size(), 3);

    KVKeyRecorder recorder([](const QString &, KVObservable *object) { return countOf(object); });
    KVSynchronizationOperation operation(interval, photos);
    operation.addObserver(&recorder, QStringLiteral("processedImagesCount"));
    operation.start();
    operation.removeObserver(&recorder);

    EXPECT_EQ(diskDates(photos), shiftedDates(before, interval));
    for (const KVImageFileRef &photo : photos) {
        EXPECT_EQ(photo->creationDate().toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")),
                  shifted(before.value(photo->path()), interval));
    }
    EXPECT_EQ(pathsOf(operation.doneImageFiles()), pathsOf(photos));
    EXPECT_TRUE(operation.notChangedFiles().isEmpty());
    // The start announces what was done before (nothing), then one step per photo.
    EXPECT_EQ(recorder.values(QStringLiteral("processedImagesCount")),
              (std::vector<qint64>{0, 1, 2, 3}));
    EXPECT_EQ(operation.progress(), 1.0);
}

INSTANTIATE_TEST_SUITE_P(Intervals, KVSynchronizationOperationShiftTest,
                         ::testing::Values(3600.0, -3600.0, 86400.0 * 400 + 59, -59.0));

TEST_F(KVSynchronizationOperationTest, FailingToolListsEveryPhotoAndLeavesTheFilesAlone) {
    useTool(writeTool(QStringLiteral("failing-tool"),
                      QStringLiteral("#!/bin/sh\necho 'no luck' >&2\nexit 1\n")));
    const std::vector<KVImageFileRef> photos = makePhotos(2);
    ASSERT_EQ(photos.size(), 2u);
    const QMap<QString, QByteArray> before = contents(photos);

    KVSynchronizationOperation operation(3600, photos);
    operation.start();
    EXPECT_EQ(operation.processedImagesCount(), 2);
    EXPECT_TRUE(operation.doneImageFiles().empty());
    const QList<QUrl> notChanged = operation.notChangedFiles();
    EXPECT_EQ(QSet<QUrl>(notChanged.begin(), notChanged.end()),
              (QSet<QUrl>{photos[0]->url(), photos[1]->url()}));
    EXPECT_EQ(contents(photos), before);
    EXPECT_EQ(operation.revertedOperation(), nullptr);
}

TEST_F(KVSynchronizationOperationTest, IntervalsThatGiveNoDateNeverReachTheFile) {
    const std::vector<KVImageFileRef> photos = makePhotos(1);
    ASSERT_EQ(photos.size(), 1u);
    const QMap<QString, QByteArray> before = contents(photos);
    for (double interval : {std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity(), 1e300}) {
        KVSynchronizationOperation operation(interval, photos);
        operation.start();
        EXPECT_EQ(operation.processedImagesCount(), 1);
        EXPECT_TRUE(operation.doneImageFiles().empty());
        EXPECT_EQ(operation.notChangedFiles(), QList<QUrl>{photos[0]->url()});
    }
    EXPECT_EQ(contents(photos), before);
}

TEST_F(KVSynchronizationOperationTest, RepeatedAndNullRecordsAreShiftedOnce) {
    const std::vector<KVImageFileRef> photos = makePhotos(2);
    ASSERT_EQ(photos.size(), 2u);
    const QMap<QString, QString> before = diskDates(photos);
    // A second record of the same file is the same photo.
    const KVImageFileRef twin = KVImageFile::initWithURL(photos[0]->url());
    ASSERT_TRUE(twin);

    KVSynchronizationOperation operation(600, {photos[0], nullptr, photos[1], twin, photos[1]});
    EXPECT_EQ(operation.imageFilesCount(), 2);
    operation.start();
    EXPECT_EQ(operation.processedImagesCount(), 2);
    EXPECT_EQ(diskDates(photos), shiftedDates(before, 600));
}

TEST_F(KVSynchronizationOperationTest, CancelBetweenPhotosKeepsExactlyTheChangedOnes) {
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    ASSERT_EQ(photos.size(), 3u);
    const QMap<QString, QString> datesBefore = diskDates(photos);
    const QMap<QString, QByteArray> bytesBefore = contents(photos);

    auto operation = std::make_shared<KVSynchronizationOperation>(7200, photos);
    // Cancelled on the worker's own thread right after its first photo.
    KVKeyRecorder canceller({}, [&](const QString &, KVObservable *) {
        if (operation->processedImagesCount() == 1)
            operation->cancel();
    });
    operation->addObserver(&canceller, QStringLiteral("processedImagesCount"));
    operation->start();
    operation->removeObserver(&canceller);

    const KVImageFileSet done = operation->doneImageFiles();
    ASSERT_EQ(done.size(), 1u);
    const QString changed = (*done.begin())->path();
    EXPECT_EQ(operation->processedImagesCount(), 1);
    EXPECT_DOUBLE_EQ(operation->progress(), 1.0 / 3.0);
    const QMap<QString, QString> datesAfter = diskDates(photos);
    for (const KVImageFileRef &photo : photos) {
        if (photo->path() == changed) {
            EXPECT_EQ(datesAfter.value(photo->path()),
                      shifted(datesBefore.value(photo->path()), 7200));
        } else {
            EXPECT_EQ(KVTest::readFile(photo->path()), bytesBefore.value(photo->path()))
                << photo->path().toStdString();
        }
    }

    // The copy goes on with the two others only, and its progress goes on from a third.
    const KVSynchronizationOperationRef copy = operation->copy();
    EXPECT_EQ(copy->timeInterval(), 7200);
    EXPECT_EQ(pathsOf(copy->imageFiles()), pathsOf(photos));
    EXPECT_EQ(pathsOf(copy->doneImageFiles()), QSet<QString>{changed});
    EXPECT_FALSE(copy->isCancelled());
    EXPECT_EQ(copy->processedImagesCount(), 1);
    std::vector<double> progress;
    KVKeyRecorder recorder(
        [](const QString &, KVObservable *object) { return countOf(object); },
        [&](const QString &, KVObservable *) { progress.push_back(copy->progress()); });
    copy->addObserver(&recorder, QStringLiteral("processedImagesCount"));
    copy->start();
    copy->removeObserver(&recorder);
    EXPECT_EQ(recorder.values(QStringLiteral("processedImagesCount")),
              (std::vector<qint64>{1, 2, 3}));
    ASSERT_EQ(progress.size(), 3u);
    EXPECT_DOUBLE_EQ(progress[0], 1.0 / 3.0);
    EXPECT_DOUBLE_EQ(progress[1], 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(progress[2], 1.0);
    EXPECT_EQ(pathsOf(copy->doneImageFiles()), pathsOf(photos));
    // Shifted once each: the photo of the first run is not shifted again.
    EXPECT_EQ(diskDates(photos), shiftedDates(datesBefore, 7200));
}

TEST_F(KVSynchronizationOperationTest, CopyTakesTheNotChangedFilesAndDropsThoseItChanges) {
    const QString failing =
        writeTool(QStringLiteral("failing-tool"), QStringLiteral("#!/bin/sh\nexit 3\n"));
    useTool(failing);
    const std::vector<KVImageFileRef> photos = makePhotos(1);
    ASSERT_EQ(photos.size(), 1u);
    KVSynchronizationOperation operation(60, photos);
    operation.start();
    ASSERT_EQ(operation.notChangedFiles(), QList<QUrl>{photos[0]->url()});

    const KVSynchronizationOperationRef failedAgain = operation.copy();
    EXPECT_EQ(failedAgain->notChangedFiles(), operation.notChangedFiles());
    failedAgain->start();
    EXPECT_EQ(failedAgain->notChangedFiles(), QList<QUrl>{photos[0]->url()});

    useTool(QStringLiteral(KALVORA_EXIFTOOL));
    const KVSynchronizationOperationRef retried = operation.copy();
    retried->start();
    EXPECT_EQ(retried->doneImageFiles().size(), 1u);
    EXPECT_TRUE(retried->notChangedFiles().isEmpty());
}

TEST_F(KVSynchronizationOperationTest, RevertedOperationMovesExactlyTheChangedPhotosBack) {
    const std::vector<KVImageFileRef> photos = makePhotos(4);
    ASSERT_EQ(photos.size(), 4u);
    const QMap<QString, QString> before = diskDates(photos);
    // The fourth photo is gone: it is not changed, so it must not be moved back either.
    photos[3]->setImageState(KVImageStateRemoved);

    KVSynchronizationOperation operation(3600, photos);
    operation.start();
    const KVSynchronizationOperationRef reverted = operation.revertedOperation();
    ASSERT_NE(reverted, nullptr);
    EXPECT_EQ(reverted->timeInterval(), -3600);
    EXPECT_EQ(pathsOf(reverted->imageFiles()),
              pathsOf(std::vector<KVImageFileRef>(photos.begin(), photos.begin() + 3)));
    EXPECT_TRUE(reverted->doneImageFiles().empty());

    photos[3]->setImageState(KVImageStateNormal);
    reverted->start();
    EXPECT_EQ(diskDates(photos), before);
}

} // namespace
