#include "KVOperationQueue.h"

#include "KVKeyRecorder.h"
#include "KVSynchronizationFixture.h"
#include "KVTestSupport.h"

#include <QSet>

#include <algorithm>
#include <mutex>

namespace {

const QString countKey = QStringLiteral("processedImagesCount");
const QString inProcessKey = QStringLiteral("isSynchronizationInProcess");
const QString cancelledKey = QStringLiteral("isOperationsCancelled");
const QStringList queueKeys = {countKey,
                               inProcessKey,
                               cancelledKey,
                               QStringLiteral("operationType"),
                               QStringLiteral("allImagesCountOnStartOfCancel"),
                               QStringLiteral("completetionBlock")};

qint64 sampleQueue(const QString &keyPath, KVObservable *object) {
    const auto *queue = static_cast<KVOperationQueue *>(object);
    if (keyPath == countKey)
        return queue->processedImagesCount();
    if (keyPath == inProcessKey)
        return queue->isSynchronizationInProcess();
    if (keyPath == cancelledKey)
        return queue->isOperationsCancelled();
    if (keyPath == QLatin1String("operationType"))
        return queue->operationType();
    if (keyPath == QLatin1String("allImagesCountOnStartOfCancel"))
        return queue->allImagesCountOnStartOfCancel();
    return 0;
}

void observeQueue(KVOperationQueue &queue, KVKeyRecorder *recorder) {
    for (const QString &key : queueKeys)
        queue.addObserver(recorder, key);
}

std::vector<KVImageFileRef> slice(const std::vector<KVImageFileRef> &photos, size_t from,
                                  size_t count) {
    return std::vector<KVImageFileRef>(photos.begin() + from, photos.begin() + from + count);
}

QSet<QString> pathsOf(const std::vector<KVImageFileRef> &files) {
    QSet<QString> paths;
    for (const KVImageFileRef &file : files)
        paths.insert(file->path());
    return paths;
}

QSet<QString> donePaths(const std::vector<KVSynchronizationOperationRef> &operations) {
    QSet<QString> paths;
    for (const KVSynchronizationOperationRef &operation : operations) {
        for (const KVImageFileRef &file : operation->doneImageFiles())
            paths.insert(file->path());
    }
    return paths;
}

class KVOperationQueueTest : public KVSynchronizationFixture {
protected:
    // Starts a run the way the window does, one operation per slice of photos.
    std::vector<KVSynchronizationOperationRef>
    startRun(KVOperationQueue &queue, double interval,
             const std::vector<std::vector<KVImageFileRef>> &cameras) {
        std::vector<KVSynchronizationOperationRef> operations;
        queue.reset();
        queue.setOperationType(KVOperationTypeSync);
        for (const auto &photos : cameras) {
            operations.push_back(std::make_shared<KVSynchronizationOperation>(interval, photos));
            queue.addSynchronizationOperation(operations.back());
        }
        queue.startSynchronization();
        return operations;
    }

    static bool waitForEnd(KVOperationQueue &queue) {
        return KVTest::waitFor(
            [&] { return !queue.isSynchronizationInProcess() && queue.operationCount() == 0; },
            std::chrono::seconds(120));
    }

    static std::function<bool()>
    allCancelled(const std::vector<KVSynchronizationOperationRef> &operations) {
        return [operations] {
            return std::all_of(operations.begin(), operations.end(),
                               [](const auto &operation) { return operation->isCancelled(); });
        };
    }
};

TEST_F(KVOperationQueueTest, RunEndsExactlyWhenTheSummedCountReachesAllPhotos) {
    const std::vector<KVImageFileRef> photos = makePhotos(15);
    ASSERT_EQ(photos.size(), 15u);
    const QMap<QString, QString> before = diskDates(photos);

    // Pairs of (in process, count), the flag read first: once it is false the count is final.
    std::mutex pairsMutex;
    std::vector<std::pair<bool, qint64>> pairs;
    KVKeyRecorder recorder(sampleQueue, [&](const QString &keyPath, KVObservable *object) {
        if (keyPath != countKey)
            return;
        const auto *queue = static_cast<KVOperationQueue *>(object);
        const bool inProcess = queue->isSynchronizationInProcess();
        const qint64 count = queue->processedImagesCount();
        std::lock_guard lock(pairsMutex);
        pairs.emplace_back(inProcess, count);
    });
    KVOperationQueue queue;
    queue.setMaxConcurrentOperationCount(2);
    queue.reset();
    queue.setOperationType(KVOperationTypeSync);
    // Observed from here on: the reset's own notices are not part of the run.
    observeQueue(queue, &recorder);
    bool completionRan = false;
    queue.setCompletetionBlock([&] { completionRan = true; });
    std::vector<KVSynchronizationOperationRef> operations;
    for (const auto &part : {slice(photos, 0, 10), slice(photos, 10, 5), slice(photos, 15, 0)}) {
        operations.push_back(std::make_shared<KVSynchronizationOperation>(3600, part));
        queue.addSynchronizationOperation(operations.back());
    }
    EXPECT_EQ(queue.allImagesCount(), 15);
    EXPECT_EQ(queue.cancelledImagesCount(), 0);
    queue.startSynchronization();
    EXPECT_TRUE(queue.isSynchronizationInProcess());
    ASSERT_TRUE(waitForEnd(queue));

    EXPECT_EQ(queue.processedImagesCount(), 15);
    // The run ended once, at 15, and not before: the empty operation's 0 did not end it.
    const std::vector<qint64> inProcess = recorder.values(inProcessKey);
    ASSERT_FALSE(inProcess.empty());
    EXPECT_EQ(inProcess.back(), 0);
    {
        std::lock_guard lock(pairsMutex);
        for (const auto &[running, count] : pairs) {
            EXPECT_TRUE(running || count == 15) << "ended at " << count;
        }
    }
    const std::vector<qint64> counts = recorder.values(countKey);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
    EXPECT_EQ(diskDates(photos), shiftedDates(before, 3600));
    EXPECT_EQ(donePaths(operations), pathsOf(photos));
    // The queue never runs its completion block itself; whoever watches it does.
    EXPECT_FALSE(completionRan);
    EXPECT_TRUE(queue.completetionBlock());
    EXPECT_TRUE(recorder.keys().contains(QStringLiteral("completetionBlock")));
}

TEST_F(KVOperationQueueTest, CancelMidRunWaitsThenChangesBackExactlyTheChangedPhotos) {
    useTool(gatedTool(4));
    const std::vector<KVImageFileRef> photos = makePhotos(15);
    ASSERT_EQ(photos.size(), 15u);
    const QMap<QString, QString> datesBefore = diskDates(photos);
    const QMap<QString, QByteArray> bytesBefore = contents(photos);

    KVKeyRecorder recorder(sampleQueue);
    KVOperationQueue queue;
    GateOpenedOnExit gate{this};
    queue.setMaxConcurrentOperationCount(2);
    observeQueue(queue, &recorder);
    const std::vector<KVSynchronizationOperationRef> forward =
        startRun(queue, 3600, {slice(photos, 0, 5), slice(photos, 5, 5), slice(photos, 10, 5)});
    // Four photos written, and both workers held at the gate in the middle of a photo.
    ASSERT_TRUE(
        KVTest::waitFor([&] { return queue.processedImagesCount() == 4 && gatedRunCount() == 6; },
                        std::chrono::seconds(120)));

    openGateWhen(allCancelled(forward));
    queue.cancelAllOperations();

    EXPECT_EQ(queue.allImagesCountOnStartOfCancel(), 15);
    EXPECT_EQ(queue.allImagesCount(), 15);
    EXPECT_TRUE(queue.isOperationsCancelled());
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    const QSet<QString> changed = donePaths(forward);
    EXPECT_EQ(changed.size(), 4);
    const std::vector<KVSynchronizationOperationRef> reverting = queue.allSyncOperations();
    QSet<QString> toRevert;
    for (const KVSynchronizationOperationRef &operation : reverting) {
        EXPECT_EQ(operation->timeInterval(), -3600);
        toRevert += pathsOf(operation->imageFiles());
    }
    EXPECT_EQ(toRevert, changed);
    EXPECT_EQ(queue.cancelledImagesCount(), 4);

    // A second cancel while changing back must not cancel the revert.
    queue.cancelAllOperations();
    EXPECT_EQ(queue.allSyncOperations(), reverting);

    ASSERT_TRUE(waitForEnd(queue));
    EXPECT_EQ(queue.processedImagesCount(), 0);
    const std::vector<qint64> countdown =
        recorder.values(countKey, QStringLiteral("allImagesCountOnStartOfCancel"));
    ASSERT_FALSE(countdown.empty());
    EXPECT_EQ(countdown.front(), 4);
    EXPECT_EQ(countdown.back(), 0);
    EXPECT_TRUE(std::is_sorted(countdown.rbegin(), countdown.rend()));

    EXPECT_EQ(diskDates(photos), datesBefore);
    QSet<QString> reported;
    for (const KVSynchronizationOperationRef &operation : forward) {
        for (const QUrl &url : operation->notChangedFiles())
            reported.insert(url.toLocalFile());
    }
    // The two photos held at the gate failed; they and those never reached are untouched.
    EXPECT_EQ(reported.size(), 2);
    EXPECT_TRUE((reported & changed).isEmpty());
    for (const KVImageFileRef &photo : photos) {
        if (!changed.contains(photo->path())) {
            EXPECT_EQ(KVTest::readFile(photo->path()), bytesBefore.value(photo->path()))
                << photo->path().toStdString();
        }
    }
    for (const QString &key : {QStringLiteral("allImagesCountOnStartOfCancel"), cancelledKey,
                               QStringLiteral("operationType")})
        EXPECT_TRUE(recorder.keys().contains(key)) << key.toStdString();
}

TEST_F(KVOperationQueueTest, CancelBeforeAnyChangeRegistersNothingAndStaysInProcessUntilReset) {
    useTool(gatedTool(0));
    const std::vector<KVImageFileRef> photos = makePhotos(6);
    ASSERT_EQ(photos.size(), 6u);
    const QMap<QString, QByteArray> bytesBefore = contents(photos);

    KVOperationQueue queue;
    GateOpenedOnExit gate{this};
    queue.setMaxConcurrentOperationCount(2);
    const std::vector<KVSynchronizationOperationRef> forward =
        startRun(queue, -600, {slice(photos, 0, 3), slice(photos, 3, 3)});
    ASSERT_TRUE(KVTest::waitFor([&] { return gatedRunCount() == 2; }, std::chrono::seconds(60)));

    openGateWhen(allCancelled(forward));
    queue.cancelAllOperations();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }));

    EXPECT_TRUE(queue.allSyncOperations().empty());
    EXPECT_EQ(queue.allImagesCountOnStartOfCancel(), 6);
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    EXPECT_TRUE(queue.isOperationsCancelled());
    EXPECT_TRUE(queue.isSynchronizationInProcess());
    EXPECT_EQ(contents(photos), bytesBefore);

    queue.reset();
    EXPECT_FALSE(queue.isSynchronizationInProcess());
    EXPECT_FALSE(queue.isOperationsCancelled());
    EXPECT_EQ(queue.processedImagesCount(), 0);
}

TEST_F(KVOperationQueueTest, RegistrationIsASetAndResetEndsTheObservations) {
    KVOperationQueue queue;
    // Started with nothing registered, the run stays in process until reset.
    queue.reset();
    queue.startSynchronization();
    EXPECT_TRUE(queue.isSynchronizationInProcess());
    EXPECT_EQ(queue.operationCount(), 0);
    EXPECT_EQ(queue.allImagesCount(), 0);
    queue.reset();
    EXPECT_FALSE(queue.isSynchronizationInProcess());

    auto first = std::make_shared<KVSynchronizationOperation>(60, std::vector<KVImageFileRef>{});
    auto second = std::make_shared<KVSynchronizationOperation>(60, std::vector<KVImageFileRef>{});
    queue.addSynchronizationOperation(first);
    queue.addSynchronizationOperation(first);
    queue.addSynchronizationOperation(second);
    queue.addSynchronizationOperation(nullptr);
    EXPECT_EQ(queue.allSyncOperations(),
              (std::vector<KVSynchronizationOperationRef>{first, second}));

    queue.removeSyncOperation(first);
    EXPECT_FALSE(first->hasObserver(&queue, countKey));
    EXPECT_TRUE(second->hasObserver(&queue, countKey));
    queue.setProcessedImagesCount(3);
    queue.setIsOperationsCancelled(true);
    queue.setIsSynchronizationInProcess(true);
    queue.reset();
    EXPECT_TRUE(queue.allSyncOperations().empty());
    EXPECT_FALSE(second->hasObserver(&queue, countKey));
    EXPECT_EQ(queue.processedImagesCount(), 0);
    EXPECT_FALSE(queue.isOperationsCancelled());
    EXPECT_FALSE(queue.isSynchronizationInProcess());
}

TEST_F(KVOperationQueueTest, CountsOfASuspendedQueueWaitForTheNextChangeAfterResuming) {
    useTool(gatedTool(1));
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    ASSERT_EQ(photos.size(), 3u);

    KVOperationQueue queue;
    GateOpenedOnExit gate{this};
    // One worker: the second operation waits for the first.
    queue.setMaxConcurrentOperationCount(1);
    const std::vector<KVSynchronizationOperationRef> operations =
        startRun(queue, 120, {slice(photos, 0, 2), slice(photos, 2, 1)});
    ASSERT_TRUE(
        KVTest::waitFor([&] { return queue.processedImagesCount() == 1 && gatedRunCount() == 2; },
                        std::chrono::seconds(60)));

    queue.setSuspended(true);
    openGate();
    ASSERT_TRUE(KVTest::waitFor([&] { return operations[0]->isFinished(); }));
    EXPECT_EQ(operations[0]->processedImagesCount(), 2);
    EXPECT_EQ(queue.processedImagesCount(), 1);
    EXPECT_TRUE(queue.isSynchronizationInProcess());
    EXPECT_FALSE(operations[1]->isExecuting() || operations[1]->isFinished());

    queue.setSuspended(false);
    ASSERT_TRUE(waitForEnd(queue));
    EXPECT_EQ(queue.processedImagesCount(), 3);
}

TEST_F(KVOperationQueueTest, ResumeContinuesTheCountAndChangesOnlyWhatIsLeft) {
    useTool(gatedTool(7));
    const std::vector<KVImageFileRef> photos = makePhotos(12);
    ASSERT_EQ(photos.size(), 12u);
    const QMap<QString, QString> before = diskDates(photos);

    KVKeyRecorder recorder(sampleQueue);
    KVOperationQueue queue;
    GateOpenedOnExit gate{this};
    queue.setMaxConcurrentOperationCount(2);
    const std::vector<KVSynchronizationOperationRef> interrupted =
        startRun(queue, -5400, {slice(photos, 0, 6), slice(photos, 6, 6)});
    ASSERT_TRUE(
        KVTest::waitFor([&] { return queue.processedImagesCount() == 7 && gatedRunCount() == 9; },
                        std::chrono::seconds(120)));
    // The run breaks off: the two photos at the gate fail, the three after them are not reached.
    for (const KVSynchronizationOperationRef &operation : interrupted)
        operation->cancel();
    openGate();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }));
    ASSERT_EQ(donePaths(interrupted).size(), 7);
    EXPECT_TRUE(queue.isSynchronizationInProcess());

    queue.addObserver(&recorder, countKey);
    queue.addObserver(&recorder, inProcessKey);
    queue.tryCompletePreviosSync();
    ASSERT_TRUE(waitForEnd(queue));

    const std::vector<qint64> counts = recorder.values(countKey);
    ASSERT_FALSE(counts.empty());
    EXPECT_EQ(counts.front(), 7);
    EXPECT_EQ(counts.back(), 12);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
    // Every photo is shifted once: the seven done before are not shifted again.
    EXPECT_EQ(diskDates(photos), shiftedDates(before, -5400));
    const std::vector<KVSynchronizationOperationRef> copies = queue.allSyncOperations();
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(donePaths(copies), pathsOf(photos));
    for (const KVSynchronizationOperationRef &copy : copies) {
        EXPECT_TRUE(std::find(interrupted.begin(), interrupted.end(), copy) == interrupted.end());
        EXPECT_TRUE(copy->notChangedFiles().isEmpty());
    }
}

} // namespace
