#include "KVDateWriter.h"
#include "KVOperationQueue.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QtNumeric>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>

namespace {

using namespace std::chrono_literals;

// The writer's temporary copies (kept after a failed run) stay in a folder of the program's own.
const QTemporaryDir runtimeFolder;
[[maybe_unused]] const bool runtimeSet =
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));

const QString countKey = QStringLiteral("processedImagesCount");
const QString inProcessKey = QStringLiteral("isSynchronizationInProcess");
const QString format = QStringLiteral("yyyy:MM:dd HH:mm:ss");

// Records every change notice with the count (for a queue's in-process flag, the flag) and for a
// queue whether it was in process, sampled then on the notifying thread, under the lock so that
// the events are in the order of the samples; then runs the reaction, if one was set beforehand.
struct KVKeyRecorder : KVObserver {
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
        const auto *queue = dynamic_cast<KVOperationQueue *>(object);
        std::unique_lock lock(mutex);
        // The flag first: once it is false, the count must be final.
        const bool running = queue && queue->isSynchronizationInProcess();
        const qint64 count =
            queue ? queue->processedImagesCount()
                  : static_cast<KVSynchronizationOperation *>(object)->processedImagesCount();
        events.emplace_back(keyPath, keyPath == inProcessKey ? running : count, running);
        lock.unlock();
        if (reaction)
            reaction(keyPath);
    }
    // The values of keyPath in the order sampled; with `after`, only those after its first notice.
    std::vector<qint64> values(const QString &keyPath, const QString &after = {}) {
        std::lock_guard lock(mutex);
        std::vector<qint64> values;
        bool started = after.isEmpty();
        for (const auto &[key, value, running] : events) {
            if (started && key == keyPath)
                values.push_back(value);
            started = started || key == after;
        }
        return values;
    }

    std::function<void(const QString &keyPath)> reaction;
    std::mutex mutex;
    std::vector<std::tuple<QString, qint64, bool>> events;
};

template <typename Files> QSet<QString> pathsOf(const Files &files) {
    QSet<QString> paths;
    for (const KVImageFileRef &file : files)
        paths.insert(file->path());
    return paths;
}

QSet<QString> donePaths(const std::vector<KVSynchronizationOperationRef> &operations) {
    QSet<QString> paths;
    for (const KVSynchronizationOperationRef &operation : operations)
        paths += pathsOf(operation->doneImageFiles());
    return paths;
}

QSet<QString> notChangedPaths(const std::vector<KVSynchronizationOperationRef> &operations) {
    QSet<QString> paths;
    for (const KVSynchronizationOperationRef &operation : operations) {
        for (const QUrl &url : operation->notChangedFiles())
            paths.insert(url.toLocalFile());
    }
    return paths;
}

// The first %4 runs go through to the real tool (%2); later ones wait until the gate (%1) opens,
// then fail without touching the file; once it is open, runs go straight through. mkdir is atomic,
// so each run draws its own ticket (in %3); a failed test never leaves a run hanging for good.
const char gatedScript[] = R"(#!/bin/sh
if [ -e '%1' ]; then exec '%2' "$@"; fi
i=0; while ! mkdir '%3'/$i 2>/dev/null; do i=$((i+1)); done
if [ $i -lt %4 ]; then exec '%2' "$@"; fi
n=0; while [ ! -e '%1' ] && [ $n -lt 6000 ]; do sleep 0.01; n=$((n+1)); done
echo 'refused by the test' >&2; exit 1
)";

// Photos copied into a private folder, the writer pointed at the real tool or the gated one, ways
// to look at the files from outside, and a queue, destroyed after TearDown has opened the gate.
class KVSynchronizationTest : public ::testing::Test {
protected:
    void SetUp() override { useTool(KALVORA_EXIFTOOL); }
    void TearDown() override {
        openGate();
        if (m_gateOpener.joinable())
            m_gateOpener.join();
    }

    // count records made from copies of the dated sample photos, each copy its own file.
    std::vector<KVImageFileRef> makePhotos(int count) {
        const QStringList dated =
            QStringLiteral("Canon_40D Olympus_C8080WZ Sony_HDR-HC3 Fujifilm_FinePix6900ZOOM "
                           "Ricoh_Caplio_RR330 Nikon_D70")
                .split(' ');
        std::vector<KVImageFileRef> photos;
        for (int i = 0; i < count; ++i) {
            for (const QString &copy : KVTest::copySamples({"cameras/" + dated[i % 6] + ".jpg"},
                                                           m_folder.filePath(QString::number(i))))
                photos.push_back(KVImageFile::initWithURL(QUrl::fromLocalFile(copy)));
        }
        if (photos.size() != size_t(count) || std::count(photos.begin(), photos.end(), nullptr))
            throw std::runtime_error("the sample photos could not be copied"); // fails the test
        return photos;
    }
    static void useTool(const QString &path) { KVSetToolPath(QFile::encodeName(path).constData()); }
    void useGatedTool(int passing) {
        QDir().mkpath(m_folder.filePath("tickets"));
        QFile tool(m_folder.filePath("gated-tool"));
        ASSERT_TRUE(tool.open(QIODevice::WriteOnly));
        tool.write(
            QString(gatedScript)
                .arg(m_folder.filePath("gate"), KALVORA_EXIFTOOL, m_folder.filePath("tickets"))
                .arg(passing)
                .toUtf8());
        tool.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        useTool(tool.fileName());
    }
    void openGate() { QFile(m_folder.filePath("gate")).open(QIODevice::Append); }
    // Opens the gate from another thread once every operation is cancelled.
    void openGateWhenCancelled(const std::vector<KVSynchronizationOperationRef> &operations) {
        m_gateOpener = std::thread([this, operations] {
            const auto deadline = std::chrono::steady_clock::now() + 60s;
            while (std::chrono::steady_clock::now() < deadline &&
                   !std::all_of(operations.begin(), operations.end(),
                                [](const auto &operation) { return operation->isCancelled(); }))
                std::this_thread::sleep_for(1ms);
            openGate();
        });
    }

    // DateTimeOriginal of each file as stored, by path, read by another library than the writer.
    static QMap<QString, QString> diskDates(const std::vector<KVImageFileRef> &photos) {
        QMap<QString, QString> dates;
        for (const KVImageFileRef &photo : photos) {
            const QString date = KVTest::readExif(photo->path(), "Exif.Photo.DateTimeOriginal");
            EXPECT_FALSE(date.isEmpty()) << qPrintable(photo->path());
            dates.insert(photo->path(), date);
        }
        return dates;
    }
    static QMap<QString, QString> shiftedDates(QMap<QString, QString> dates, double seconds) {
        for (QString &date : dates)
            date = QDateTime::fromString(date, format).addSecs(qint64(seconds)).toString(format);
        return dates;
    }
    static QMap<QString, QByteArray> contents(const std::vector<KVImageFileRef> &photos) {
        QMap<QString, QByteArray> result;
        for (const KVImageFileRef &photo : photos)
            result.insert(photo->path(), KVTest::readFile(photo->path()));
        return result;
    }

    // Starts a run the way the window does, one operation per camera of `sizes` photos, observed
    // from after the reset (whose own notices are not part of the run).
    std::vector<KVSynchronizationOperationRef> startRun(double interval,
                                                        const std::vector<KVImageFileRef> &photos,
                                                        std::vector<int> sizes,
                                                        bool observed = true) {
        queue.setMaxConcurrentOperationCount(2);
        queue.reset();
        queue.setOperationType(KVOperationTypeSync);
        if (observed)
            for (const char *key :
                 {"processedImagesCount", "isSynchronizationInProcess",
                  "allImagesCountOnStartOfCancel", "isOperationsCancelled", "operationType"})
                queue.addObserver(&recorder, key);
        std::vector<KVSynchronizationOperationRef> operations;
        for (auto from = photos.begin(); int size : sizes) {
            operations.push_back(std::make_shared<KVSynchronizationOperation>(
                interval, std::vector(from, from + size)));
            queue.addSynchronizationOperation(operations.back());
            from += size;
        }
        queue.startSynchronization();
        return operations;
    }
    bool waitForEnd() {
        return KVTest::waitFor(
            [&] { return !queue.isSynchronizationInProcess() && queue.operationCount() == 0; },
            120s);
    }
    // Until `processed` photos are done and `runs` runs of the gated tool have begun.
    bool waitForRuns(qint64 processed, int runs) {
        const QString tickets = m_folder.filePath("tickets");
        return KVTest::waitFor(
            [&] {
                return queue.processedImagesCount() == processed &&
                       QDir(tickets).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == runs;
            },
            120s);
    }

    QTemporaryDir m_folder;
    std::thread m_gateOpener;
    KVKeyRecorder recorder;
    KVOperationQueue queue;
};

using KVSynchronizationOperationTest = KVSynchronizationTest;
using KVOperationQueueTest = KVSynchronizationTest;

TEST_F(KVSynchronizationOperationTest, ShiftsEveryPhotoOnDiskAndInTheRecordByTheInterval) {
    // Forward, backward, across a day and across the Berlin spring DST change in local time.
    for (double interval : {3600.0, -3600.0, 86400.0 * 400 + 59, -59.0}) {
        SCOPED_TRACE(interval);
        const std::vector<KVImageFileRef> photos = makePhotos(3);
        const QMap<QString, QString> before = diskDates(photos);
        recorder.events.clear();
        KVSynchronizationOperation operation(interval, photos);
        operation.addObserver(&recorder, countKey);
        operation.start();
        operation.removeObserver(&recorder);

        EXPECT_EQ(diskDates(photos), shiftedDates(before, interval));
        QMap<QString, QString> records;
        for (const KVImageFileRef &photo : photos)
            records.insert(photo->path(), photo->creationDate().toString(format));
        EXPECT_EQ(records, shiftedDates(before, interval));
        EXPECT_EQ(pathsOf(operation.doneImageFiles()), pathsOf(photos));
        EXPECT_TRUE(operation.notChangedFiles().isEmpty());
        // The start announces what was done before (nothing), then one step per photo.
        EXPECT_EQ(recorder.values(countKey), (std::vector<qint64>{0, 1, 2, 3}));
    }
}

// A failing tool or an interval that gives no date leaves the files alone and lists them; a copy
// carries the list until it changes the photos.
TEST_F(KVSynchronizationOperationTest, PhotosNotChangedAreListedAndLeftAloneUntilACopyChanges) {
    const std::vector<KVImageFileRef> photos = makePhotos(2);
    const QMap<QString, QByteArray> before = contents(photos);
    KVSynchronizationOperationRef failed;
    for (double interval : {qQNaN(), qInf(), 1e300, 3600.0}) {
        SCOPED_TRACE(interval);
        if (interval == 3600) // the last one meets a failing tool
            useTool("/bin/false");
        failed = std::make_shared<KVSynchronizationOperation>(interval, photos);
        failed->start();
        EXPECT_EQ(failed->processedImagesCount(), 2);
        EXPECT_TRUE(failed->doneImageFiles().empty());
        EXPECT_EQ(notChangedPaths({failed}), pathsOf(photos));
        EXPECT_EQ(failed->revertedOperation(), nullptr);
    }
    const KVSynchronizationOperationRef failedAgain = failed->copy();
    EXPECT_EQ(notChangedPaths({failedAgain}), pathsOf(photos));
    failedAgain->start();
    EXPECT_EQ(notChangedPaths({failedAgain}), pathsOf(photos));
    EXPECT_EQ(failedAgain->notChangedFiles().size(), 2); // each listed once
    EXPECT_EQ(contents(photos), before);

    useTool(KALVORA_EXIFTOOL);
    const KVSynchronizationOperationRef retried = failed->copy();
    retried->start();
    EXPECT_EQ(donePaths({retried}), pathsOf(photos));
    EXPECT_TRUE(retried->notChangedFiles().isEmpty());
}

// A second record of a file is the same photo; a removed photo is counted but neither changed nor
// moved back.
TEST_F(KVSynchronizationOperationTest, RepeatedNullAndRemovedRecordsAreShiftedOnceOrNotAtAll) {
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    const QMap<QString, QString> before = diskDates(photos);
    photos[2]->setImageState(KVImageStateRemoved);
    const KVImageFileRef twin = KVImageFile::initWithURL(photos[0]->url());
    KVSynchronizationOperation operation(
        600, {photos[0], nullptr, photos[1], twin, photos[1], photos[2]});
    EXPECT_EQ(operation.imageFilesCount(), 3);
    operation.start();
    EXPECT_EQ(operation.processedImagesCount(), 3);
    EXPECT_TRUE(operation.notChangedFiles().isEmpty());
    QMap<QString, QString> expected = shiftedDates(before, 600);
    expected[photos[2]->path()] = before.value(photos[2]->path());
    EXPECT_EQ(diskDates(photos), expected);

    const KVSynchronizationOperationRef reverted = operation.revertedOperation();
    ASSERT_NE(reverted, nullptr);
    EXPECT_EQ(reverted->timeInterval(), -600);
    EXPECT_EQ(pathsOf(reverted->imageFiles()), pathsOf(std::vector{photos[0], photos[1]}));
    photos[2]->setImageState(KVImageStateNormal);
    reverted->start();
    EXPECT_EQ(diskDates(photos), before);
}

TEST_F(KVSynchronizationOperationTest, CancelBetweenPhotosKeepsTheChangedOneAndTheCopyGoesOn) {
    const std::vector<KVImageFileRef> photos = makePhotos(3);
    const QMap<QString, QString> datesBefore = diskDates(photos);
    auto operation = std::make_shared<KVSynchronizationOperation>(7200, photos);
    // Cancelled on the worker's own thread right after its first photo.
    recorder.reaction = [&](const QString &) {
        if (operation->processedImagesCount() == 1)
            operation->cancel();
    };
    operation->addObserver(&recorder, countKey);
    operation->start();
    operation->removeObserver(&recorder);
    recorder.reaction = nullptr;

    ASSERT_EQ(operation->doneImageFiles().size(), 1u);
    const QString changed = (*operation->doneImageFiles().begin())->path();
    EXPECT_EQ(operation->processedImagesCount(), 1);
    QMap<QString, QString> expected = datesBefore;
    expected[changed] = shiftedDates(datesBefore, 7200).value(changed);
    EXPECT_EQ(diskDates(photos), expected);

    // The copy goes on with the two others only, and its count goes on from one.
    const KVSynchronizationOperationRef copy = operation->copy();
    EXPECT_EQ(pathsOf(copy->doneImageFiles()), QSet<QString>{changed});
    copy->addObserver(&recorder, countKey);
    copy->start();
    copy->removeObserver(&recorder);
    EXPECT_EQ(recorder.values(countKey), (std::vector<qint64>{0, 1, 1, 2, 3}));
    EXPECT_EQ(donePaths({copy}), pathsOf(photos));
    // Shifted once each: the photo of the first run is not shifted again.
    EXPECT_EQ(diskDates(photos), shiftedDates(datesBefore, 7200));
}

TEST_F(KVOperationQueueTest, RunEndsExactlyWhenTheSummedCountReachesAllPhotos) {
    const std::vector<KVImageFileRef> photos = makePhotos(15);
    const QMap<QString, QString> before = diskDates(photos);
    bool completionRan = false;
    queue.setCompletetionBlock([&] { completionRan = true; });
    // The empty operation's 0 must not end the run.
    const std::vector<KVSynchronizationOperationRef> operations =
        startRun(3600, photos, {10, 5, 0});
    EXPECT_EQ(queue.allImagesCount(), 15);
    ASSERT_TRUE(waitForEnd());

    EXPECT_EQ(queue.processedImagesCount(), 15);
    EXPECT_EQ(recorder.values(inProcessKey), (std::vector<qint64>{1, 0})); // ended once
    const std::vector<qint64> counts = recorder.values(countKey);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
    std::lock_guard lock(recorder.mutex);
    for (const auto &[key, count, running] : recorder.events)
        EXPECT_TRUE(key != countKey || running || count == 15) << "ended at " << count;
    EXPECT_EQ(diskDates(photos), shiftedDates(before, 3600));
    EXPECT_EQ(donePaths(operations), pathsOf(photos));
    // The queue never runs its completion block itself; whoever watches it does.
    EXPECT_FALSE(completionRan);
}

TEST_F(KVOperationQueueTest, CancelMidRunWaitsThenChangesBackExactlyTheChangedPhotos) {
    useGatedTool(4);
    const std::vector<KVImageFileRef> photos = makePhotos(15);
    const QMap<QString, QString> datesBefore = diskDates(photos);
    const QMap<QString, QByteArray> bytesBefore = contents(photos);
    const std::vector<KVSynchronizationOperationRef> forward = startRun(3600, photos, {5, 5, 5});
    // Four photos written, and both workers held at the gate in the middle of a photo.
    ASSERT_TRUE(waitForRuns(4, 6));
    openGateWhenCancelled(forward);
    queue.cancelAllOperations();

    EXPECT_EQ(queue.allImagesCountOnStartOfCancel(), 15);
    EXPECT_TRUE(queue.isOperationsCancelled());
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    const QSet<QString> changed = donePaths(forward);
    EXPECT_EQ(changed.size(), 4);
    EXPECT_EQ(queue.cancelledImagesCount(), 4);
    const std::vector<KVSynchronizationOperationRef> reverting = queue.allSyncOperations();
    // A second cancel while changing back must not cancel the revert.
    queue.cancelAllOperations();
    EXPECT_EQ(queue.allSyncOperations(), reverting);

    ASSERT_TRUE(waitForEnd());
    const std::vector<qint64> countdown =
        recorder.values(countKey, "allImagesCountOnStartOfCancel");
    ASSERT_FALSE(countdown.empty());
    EXPECT_EQ(countdown.front(), 4);
    EXPECT_EQ(countdown.back(), 0);
    EXPECT_TRUE(std::is_sorted(countdown.rbegin(), countdown.rend()));
    for (const char *key : {"isOperationsCancelled", "operationType"})
        EXPECT_FALSE(recorder.values(key).empty()) << key;
    EXPECT_EQ(diskDates(photos), datesBefore);
    // The two photos held at the gate failed; they and those never reached are untouched.
    const QSet<QString> reported = notChangedPaths(forward);
    EXPECT_EQ(reported.size(), 2);
    EXPECT_TRUE((reported & changed).isEmpty());
    for (const KVImageFileRef &photo : photos) {
        if (!changed.contains(photo->path())) {
            EXPECT_EQ(KVTest::readFile(photo->path()), bytesBefore.value(photo->path()));
        }
    }
}

TEST_F(KVOperationQueueTest, CancelBeforeAnyChangeRegistersNothingAndStaysInProcessUntilReset) {
    useGatedTool(0);
    const std::vector<KVImageFileRef> photos = makePhotos(6);
    const QMap<QString, QByteArray> bytesBefore = contents(photos);
    const std::vector<KVSynchronizationOperationRef> forward = startRun(-600, photos, {3, 3});
    ASSERT_TRUE(waitForRuns(0, 2));
    openGateWhenCancelled(forward);
    queue.cancelAllOperations();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }));
    EXPECT_TRUE(queue.allSyncOperations().empty());
    EXPECT_EQ(queue.allImagesCountOnStartOfCancel(), 6);
    EXPECT_TRUE(queue.isSynchronizationInProcess());
    EXPECT_EQ(contents(photos), bytesBefore);

    queue.reset();
    EXPECT_FALSE(queue.isSynchronizationInProcess() || queue.isOperationsCancelled());
    EXPECT_EQ(queue.processedImagesCount(), 0);
}

TEST_F(KVOperationQueueTest, RegistrationIsASetAndResetEndsTheObservations) {
    auto first = std::make_shared<KVSynchronizationOperation>(60, std::vector<KVImageFileRef>{});
    auto second = std::make_shared<KVSynchronizationOperation>(60, std::vector<KVImageFileRef>{});
    for (const auto &operation : {first, first, second, KVSynchronizationOperationRef()})
        queue.addSynchronizationOperation(operation);
    EXPECT_EQ(queue.allSyncOperations(), (std::vector{first, second}));
    queue.removeSyncOperation(first);
    EXPECT_FALSE(first->hasObserver(&queue, countKey));
    EXPECT_TRUE(second->hasObserver(&queue, countKey));
    queue.reset();
    EXPECT_TRUE(queue.allSyncOperations().empty());
    EXPECT_FALSE(second->hasObserver(&queue, countKey));
}

TEST_F(KVOperationQueueTest, ResumeContinuesTheCountAndChangesOnlyWhatIsLeft) {
    useGatedTool(7);
    const std::vector<KVImageFileRef> photos = makePhotos(12);
    const QMap<QString, QString> before = diskDates(photos);
    const std::vector<KVSynchronizationOperationRef> interrupted =
        startRun(-5400, photos, {6, 6}, false);
    ASSERT_TRUE(waitForRuns(7, 9));
    // The run breaks off: the two photos at the gate fail, the three after them are not reached.
    for (const KVSynchronizationOperationRef &operation : interrupted)
        operation->cancel();
    openGate();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }));
    ASSERT_EQ(donePaths(interrupted).size(), 7);

    queue.addObserver(&recorder, countKey);
    queue.tryCompletePreviosSync();
    ASSERT_TRUE(waitForEnd());
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
    EXPECT_TRUE(notChangedPaths(copies).isEmpty());
}

} // namespace
