// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoWriter.h"
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
using Operations = std::vector<KVSynchronizationOperationRef>;
using Photos = std::vector<KVImageFileRef>;

// The writer's temporary copies (kept after a failed run) stay in a folder of the program's own.
const QTemporaryDir runtimeFolder;
[[maybe_unused]] const bool runtimeSet =
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));

const QString countKey = QStringLiteral("processedImagesCount");
const QString inProcessKey = QStringLiteral("isSynchronizationInProcess");
const QString format = QStringLiteral("yyyy:MM:dd HH:mm:ss");

// Every notice with the count (for the in-process flag, the flag) and whether the queue was in
// process, sampled under the lock so that the events keep the order of the samples.
struct KVKeyRecorder : KVObserver {
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
        const auto *queue = dynamic_cast<KVOperationQueue *>(object);
        std::lock_guard lock(mutex);
        // The flag first: once it is false, the count must be final.
        const bool running = queue && queue->isSynchronizationInProcess();
        const qint64 count =
            queue ? queue->processedImagesCount()
                  : static_cast<KVSynchronizationOperation *>(object)->processedImagesCount();
        events.emplace_back(keyPath, keyPath == inProcessKey ? running : count, running);
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

    std::mutex mutex;
    std::vector<std::tuple<QString, qint64, bool>> events;
};

template <typename Files> QSet<QString> pathsOf(const Files &files) {
    QSet<QString> paths;
    for (const KVImageFileRef &file : files)
        paths.insert(file->path());
    return paths;
}

// The photos the operations changed, or those they listed as not changed.
QSet<QString> donePaths(const Operations &operations, bool notChanged = false) {
    QSet<QString> paths;
    for (const KVSynchronizationOperationRef &operation : operations) {
        paths += notChanged ? QSet<QString>() : pathsOf(operation->doneImageFiles());
        for (const QUrl &url : notChanged ? operation->notChangedFiles() : QList<QUrl>())
            paths.insert(url.toLocalFile());
    }
    return paths;
}

// The first %3 photos go through to the real tool; later ones wait for the gate (%1), then are
// refused untouched; once it is open, photos go straight through. mkdir draws each photo's ticket
// atomically.
const char gatedSnippet[] = R"(if [ ! -e '%1' ]; then
    i=0; while ! mkdir '%2'/$i 2>/dev/null; do i=$((i+1)); done
    if [ $i -ge %3 ]; then
        m=0; while [ ! -e '%1' ] && [ $m -lt 6000 ]; do sleep 0.01; m=$((m+1)); done
        refuse='refused by the test'
    fi
fi)";

// The queue is destroyed after TearDown has opened the gate.
class KVSynchronizationTest : public ::testing::Test {
protected:
    void SetUp() override { useTool(KALVORA_EXIFTOOL); }
    void TearDown() override {
        openGate();
        if (m_gateOpener.joinable())
            m_gateOpener.join();
    }

    Photos makePhotos(int count) {
        const char *dated[] = {"Canon_40D",          "Olympus_C8080WZ",
                               "Sony_HDR-HC3",       "Fujifilm_FinePix6900ZOOM",
                               "Ricoh_Caplio_RR330", "Nikon_D70"};
        Photos photos;
        for (int i = 0; i < count; ++i)
            for (const QString &copy :
                 KVTest::copySamples({QString("cameras/%1.jpg").arg(dated[i % 6])},
                                     m_folder.filePath(QString::number(i))))
                photos.push_back(KVImageFile::initWithURL(QUrl::fromLocalFile(copy)));
        if (photos.size() != size_t(count) || std::count(photos.begin(), photos.end(), nullptr))
            throw std::runtime_error("the sample photos could not be copied"); // fails the test
        return photos;
    }
    static void useTool(const QString &path) { KVSetToolPath(QFile::encodeName(path).constData()); }
    void useGatedTool(int passing) {
        QDir().mkpath(m_folder.filePath("tickets"));
        useTool(
            KVTest::writeFakeTool(m_folder.filePath("gated-tool"),
                                  QString(gatedSnippet)
                                      .arg(m_folder.filePath("gate"), m_folder.filePath("tickets"))
                                      .arg(passing)));
    }
    void openGate() { QFile(m_folder.filePath("gate")).open(QIODevice::Append); }
    // Opens the gate from another thread once every operation is cancelled.
    void openGateWhenCancelled(const Operations &operations) {
        m_gateOpener = std::thread([this, operations] {
            const auto deadline = std::chrono::steady_clock::now() + 60s;
            while (std::chrono::steady_clock::now() < deadline &&
                   !std::all_of(operations.begin(), operations.end(),
                                [](const auto &operation) { return operation->isCancelled(); }))
                std::this_thread::sleep_for(1ms);
            openGate();
        });
    }

    // DateTimeOriginal as stored (read by another library than the writer's) or as recorded.
    static QMap<QString, QString> diskDates(const Photos &photos, bool records = false) {
        QMap<QString, QString> dates;
        for (const KVImageFileRef &photo : photos) {
            const QString date =
                records ? photo->creationDate().toString(format)
                        : KVTest::readExif(photo->path(), "Exif.Photo.DateTimeOriginal");
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
    static QMap<QString, QByteArray> contents(const Photos &photos) {
        QMap<QString, QByteArray> result;
        for (const KVImageFileRef &photo : photos)
            result.insert(photo->path(), KVTest::readFile(photo->path()));
        return result;
    }

    // A run as the window starts it, one operation per camera, observed from after the reset.
    Operations startRun(double interval, const Photos &photos, std::vector<int> sizes) {
        queue.setMaxConcurrentOperationCount(2);
        queue.reset();
        queue.setOperationType(KVOperationTypeSync);
        for (const char *key : {"processedImagesCount", "isSynchronizationInProcess",
                                "allImagesCountOnStartOfCancel"})
            queue.addObserver(&recorder, key);
        Operations operations;
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
        return KVTest::waitFor(
            [&] {
                return queue.processedImagesCount() == processed &&
                       QDir(m_folder.filePath("tickets"))
                               .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                               .size() == runs;
            },
            120s);
    }

    QTemporaryDir m_folder;
    std::thread m_gateOpener;
    KVKeyRecorder recorder;
    KVOperationQueue queue;
};

TEST_F(KVSynchronizationTest, OperationShiftsEveryPhotoOnDiskAndInTheRecordByTheInterval) {
    // Forward, backward, across a day and across the Berlin spring DST change in local time.
    for (double interval : {3600.0, -3600.0, 86400.0 * 400 + 59, -59.0}) {
        SCOPED_TRACE(interval);
        const Photos photos = makePhotos(3);
        const QMap<QString, QString> before = diskDates(photos);
        recorder.events.clear();
        KVSynchronizationOperation operation(interval, photos);
        operation.addObserver(&recorder, countKey);
        operation.start();
        operation.removeObserver(&recorder);
        EXPECT_EQ(diskDates(photos), shiftedDates(before, interval));
        EXPECT_EQ(diskDates(photos, true), shiftedDates(before, interval));
        // The start announces what was done before (nothing), then one step per photo.
        EXPECT_EQ(recorder.values(countKey), (std::vector<qint64>{0, 1, 2, 3}));
    }
}

// A failing tool or an interval that gives no date leaves the files alone and lists them, once.
TEST_F(KVSynchronizationTest, OperationListsPhotosNotChangedOnceAndLeavesThemAlone) {
    const Photos photos = makePhotos(2);
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
        EXPECT_EQ(donePaths({failed}, true), pathsOf(photos));
        EXPECT_EQ(failed->revertedOperation(), nullptr);
    }
    const KVSynchronizationOperationRef failedAgain = failed->copy();
    failedAgain->start();
    EXPECT_EQ(donePaths({failedAgain}, true), pathsOf(photos));
    EXPECT_EQ(failedAgain->notChangedFiles().size(), 2); // each listed once
    EXPECT_EQ(contents(photos), before);
}

// A second record of a file is the same photo; a removed one is counted, not changed nor reverted.
TEST_F(KVSynchronizationTest, OperationRepeatedNullAndRemovedRecordsAreShiftedOnceOrNotAtAll) {
    const Photos photos = makePhotos(3);
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
    EXPECT_EQ(pathsOf(reverted->imageFiles()), pathsOf(Photos{photos[0], photos[1]}));
    photos[2]->setImageState(KVImageStateNormal);
    reverted->start();
    EXPECT_EQ(diskDates(photos), before);
}

TEST_F(KVSynchronizationTest, QueueRunEndsExactlyWhenTheSummedCountReachesAllPhotos) {
    const Photos photos = makePhotos(15);
    const QMap<QString, QString> before = diskDates(photos);
    // The empty operation's 0 must not end the run.
    const Operations operations = startRun(3600, photos, {10, 5, 0});
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
}

TEST_F(KVSynchronizationTest, QueueCancelMidRunWaitsThenChangesBackExactlyTheChangedPhotos) {
    useGatedTool(4);
    const Photos photos = makePhotos(15);
    const QMap<QString, QString> datesBefore = diskDates(photos);
    const Operations forward = startRun(3600, photos, {5, 5, 5});
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
    const Operations reverting = queue.allSyncOperations();
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
    EXPECT_EQ(diskDates(photos), datesBefore);
    // The two photos held at the gate failed and are listed, apart from those changed back.
    const QSet<QString> reported = donePaths(forward, true);
    EXPECT_EQ(reported.size(), 2);
    EXPECT_TRUE((reported & changed).isEmpty());
}

TEST_F(KVSynchronizationTest, QueueResumeContinuesTheCountAndChangesOnlyWhatIsLeft) {
    useGatedTool(7);
    const Photos photos = makePhotos(12);
    const QMap<QString, QString> before = diskDates(photos);
    const Operations interrupted = startRun(-5400, photos, {6, 6});
    ASSERT_TRUE(waitForRuns(7, 9));
    // The run breaks off: the two photos at the gate fail, the three after them are not reached.
    for (const KVSynchronizationOperationRef &operation : interrupted)
        operation->cancel();
    openGate();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }));
    ASSERT_EQ(donePaths(interrupted).size(), 7);

    recorder.events.clear();
    queue.tryCompletePreviosSync();
    ASSERT_TRUE(waitForEnd());
    const std::vector<qint64> counts = recorder.values(countKey);
    ASSERT_FALSE(counts.empty());
    EXPECT_EQ(counts.front(), 7);
    EXPECT_EQ(counts.back(), 12);
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
    // Every photo is shifted once: the seven done before are not shifted again.
    EXPECT_EQ(diskDates(photos), shiftedDates(before, -5400));
    const Operations copies = queue.allSyncOperations();
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(donePaths(copies), pathsOf(photos));
    EXPECT_TRUE(donePaths(copies, true).isEmpty());
}

} // namespace
