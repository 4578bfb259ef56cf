// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFakeTool.h"
#include "KVPhotoWriter.h"
#include "KVRunRecovery.h"
#include "KVSyncController.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <mutex>

namespace {

using namespace std::chrono_literals;
using Results = std::vector<KVPhotoChangeResult>;
using State = KVSyncController::State;

const QString originalKey = QStringLiteral("Exif.Photo.DateTimeOriginal");

// Every count the queue announced, in order.
struct KVCountRecorder : KVObserver {
    void observeValueForKeyPath(const QString &, KVObservable *object) override {
        std::lock_guard lock(mutex);
        counts.push_back(static_cast<KVOperationQueue *>(object)->processedImagesCount());
    }
    std::vector<qint64> values() {
        std::lock_guard lock(mutex);
        return counts;
    }
    void clear() {
        std::lock_guard lock(mutex);
        counts.clear();
    }
    std::mutex mutex;
    std::vector<qint64> counts;
};

QSet<QString> pathsOf(const Results &results) {
    QSet<QString> paths;
    for (const KVPhotoChangeResult &result : results)
        paths.insert(result.change.identity.path);
    return paths;
}

class KVSynchronizationTest : public ::testing::Test {
protected:
    void SetUp() override {
        // Each test's runs in a journal folder of its own: undo takes the newest run there.
        m_savedState = qgetenv("XDG_STATE_HOME");
        qputenv("XDG_STATE_HOME", QFile::encodeName(m_folder.filePath("state")));
        KVSetToolPath(QStringLiteral(KALVORA_EXIFTOOL));
        m_controller.queue().addObserver(&m_counts, "processedImagesCount");
        m_controller.setEndHandler([this](const KVSyncController::Outcome &) { ++m_ends; });
    }
    void TearDown() override {
        if (m_tool)
            m_tool->openGate();
        waitForEnd();
        m_controller.queue().removeObserver(&m_counts);
        qputenv("XDG_STATE_HOME", m_savedState);
    }

    QStringList makePhotos(int count) {
        return KVTest::makeDatedPhotos(m_folder.filePath("event"), count);
    }
    static std::vector<KVPhotoChange> changes(const QStringList &paths, qint64 seconds) {
        std::vector<KVPhotoChange> changes;
        for (const QString &path : paths) {
            KVImageFileRef file = KVImageFile::initWithURL(QUrl::fromLocalFile(path));
            EXPECT_TRUE(file) << qPrintable(path);
            if (file)
                changes.push_back(KVSyncController::changeFor(file, seconds));
        }
        return changes;
    }
    static QMap<QString, QStringList> dates(const QStringList &paths) {
        return KVTest::dateTags(paths);
    }
    static QMap<QString, QStringList> shifted(const QMap<QString, QStringList> &dates,
                                              qint64 seconds, const QStringList &only = {}) {
        return KVTest::shiftedDateTags(dates, seconds, only);
    }
    static QMap<QString, QByteArray> contents(const QStringList &paths) {
        QMap<QString, QByteArray> result;
        for (const QString &path : paths)
            result.insert(path, KVTest::readFile(path));
        return result;
    }
    // Anything but the photos in their folder: a hidden file left by a write, for one.
    QStringList strays(const QStringList &photos) const {
        QStringList found;
        const QDir event(m_folder.filePath("event"));
        for (const QString &name :
             event.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
            if (!photos.contains(event.filePath(name)))
                found << name;
        return found;
    }
    KVTest::FakeTool &useFakeTool(int passing = INT_MAX) {
        m_tool = std::make_unique<KVTest::FakeTool>(m_folder.filePath("tool"), passing);
        KVSetToolPath(m_tool->path());
        return *m_tool;
    }
    void start(KVRunKind kind, std::vector<KVPhotoChange> changes, const QString &of = {}) {
        const std::optional<KVSyncController::Refusal> refusal =
            m_controller.start(kind, std::move(changes), of);
        ASSERT_FALSE(refusal) << qPrintable(refusal->text);
    }
    bool waitForEnd() {
        return KVTest::waitFor([&] { return !m_controller.isBusy(); }, 120s);
    }
    KVSyncController::Outcome outcome() const {
        return m_controller.lastOutcome().value_or(KVSyncController::Outcome());
    }
    static KVRunRecord journalOf(const QString &runId) {
        return KVRunRecord::read(KVRunJournal::folder() + "/" + runId + ".jsonl")
            .value_or(KVRunRecord());
    }

    QTemporaryDir m_folder;
    QByteArray m_savedState;
    std::unique_ptr<KVTest::FakeTool> m_tool;
    KVCountRecorder m_counts;
    int m_ends = 0;
    KVSyncController m_controller;
};

TEST_F(KVSynchronizationTest,
       OneCameraIsSpreadOverEveryWorkerAndEachPhotoIsShiftedOnceAndJournalled) {
    const QStringList photos = makePhotos(12);
    const QMap<QString, QStringList> before = dates(photos);
    const KVTest::FakeTool &tool = useFakeTool();
    m_controller.setWorkerCount(3);
    start(KVRunKind::Shift, changes(photos, 3600));
    ASSERT_TRUE(waitForEnd());

    EXPECT_EQ(dates(photos), shifted(before, 3600));
    const std::vector<KVSynchronizationOperationRef> workers =
        m_controller.queue().allSyncOperations();
    ASSERT_EQ(workers.size(), 3u);
    for (const KVSynchronizationOperationRef &worker : workers)
        EXPECT_EQ(worker->changed().size(), 4u);
    const KVSyncController::Outcome done = outcome();
    EXPECT_TRUE(done.isComplete());
    EXPECT_EQ(done.changed.size(), 12u);
    EXPECT_EQ(m_ends, 1);
    // The summed count only rises, to every photo.
    const std::vector<qint64> counts = m_counts.values();
    ASSERT_FALSE(counts.empty());
    EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end()));
    EXPECT_EQ(counts.back(), 12);

    const KVRunRecord journal = journalOf(done.runId);
    EXPECT_EQ(journal.end, KVRunRecord::End::Finished);
    ASSERT_EQ(journal.entries.size(), 12u);
    for (const KVJournalEntry &entry : journal.entries) {
        SCOPED_TRACE(entry.identity.path.toStdString());
        EXPECT_EQ(entry.state, KVJournalEntry::State::Changed);
        EXPECT_EQ(entry.seconds, 3600);
        EXPECT_EQ(entry.oldDateText, before.value(entry.identity.path).first());
        EXPECT_EQ(KVTest::readExif(entry.identity.path, originalKey), entry.newDateText);
        // The replaced photo is a new file: the journal knows it by its new inode.
        EXPECT_EQ(entry.identityAfter().inode,
                  KVPhotoWriter::identityOf(entry.identity.path)->inode);
    }
    EXPECT_TRUE(strays(photos).isEmpty()) << qPrintable(strays(photos).join(' '));
    // The tools stay for the whole run and go with its end.
    EXPECT_EQ(tool.processes().size(), 6u);
    EXPECT_TRUE(KVTest::waitFor([&] { return tool.aliveCount() == 0; }, 10s));
}

TEST_F(KVSynchronizationTest,
       CancelReturnsAtOnceKillsTheHungToolsAndChangesBackExactlyTheChangedPhotos) {
    const QStringList photos = makePhotos(10);
    const QMap<QString, QStringList> before = dates(photos);
    const QMap<QString, QByteArray> bytes = contents(photos);
    const KVTest::FakeTool &tool = useFakeTool(4);
    tool.closeGate();
    m_controller.setWorkerCount(2);
    start(KVRunKind::Sync, changes(photos, 3600));
    // Four photos written, each worker's tool hung on the next one.
    KVOperationQueue &queue = m_controller.queue();
    ASSERT_TRUE(KVTest::waitFor(
        [&] { return queue.processedImagesCount() == 4 && tool.ticketsDrawn() == 6; }, 60s));

    m_controller.cancel();
    // Back before the tools, deaf to SIGTERM, could have ended: nothing waited for them.
    EXPECT_EQ(m_controller.state(), State::Cancelling);
    EXPECT_TRUE(tool.isHolding());
    EXPECT_TRUE(queue.isOperationsCancelled());
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    EXPECT_EQ(queue.allImagesCount(), 10);
    EXPECT_EQ(queue.cancelledImagesCount(), 0);
    // A second Cancel while cancelling changes nothing.
    m_controller.cancel();

    // The hung tools are killed; changing back then draws tickets past the gate, so it opens.
    ASSERT_TRUE(KVTest::waitFor([&] { return m_controller.state() != State::Cancelling; }, 30s));
    EXPECT_EQ(m_controller.state(), State::ChangingBack);
    EXPECT_EQ(queue.cancelledImagesCount(), 4);
    m_counts.clear();
    tool.openGate();
    ASSERT_TRUE(waitForEnd());

    const KVSyncController::Outcome cancelled = outcome();
    EXPECT_EQ(cancelled.end, KVRunRecord::End::Cancelled);
    EXPECT_EQ(cancelled.changed.size(), 4u);
    EXPECT_EQ(pathsOf(cancelled.changedBack), pathsOf(cancelled.changed));
    EXPECT_TRUE(cancelled.notChangedBack.empty());
    // The photos the hung tools held were never touched.
    EXPECT_EQ(dates(photos), before);
    for (const QString &photo : photos) {
        if (!pathsOf(cancelled.changed).contains(photo)) {
            EXPECT_EQ(KVTest::readFile(photo), bytes.value(photo)) << qPrintable(photo);
        }
    }
    // Counting down from the photos to change back.
    const std::vector<qint64> countdown = m_counts.values();
    ASSERT_FALSE(countdown.empty());
    EXPECT_TRUE(std::is_sorted(countdown.rbegin(), countdown.rend()));
    EXPECT_EQ(countdown.back(), 0);

    const KVRunRecord forward = journalOf(cancelled.runId);
    EXPECT_EQ(forward.end, KVRunRecord::End::Cancelled);
    const std::vector<KVRunRecord> runs = KVRunRecord::all();
    const auto changeBack = std::find_if(runs.begin(), runs.end(), [&](const KVRunRecord &run) {
        return run.kind == KVRunKind::ChangeBack && run.of == cancelled.runId;
    });
    ASSERT_NE(changeBack, runs.end());
    EXPECT_EQ(changeBack->end, KVRunRecord::End::Finished);
    EXPECT_EQ(changeBack->countIn(KVJournalEntry::State::Changed), 4);
    for (const KVJournalEntry &entry : changeBack->entries)
        EXPECT_EQ(entry.seconds, -3600);
    EXPECT_TRUE(strays(photos).isEmpty()) << qPrintable(strays(photos).join(' '));
    EXPECT_TRUE(KVTest::waitFor([&] { return tool.aliveCount() == 0; }, 10s));
}

TEST_F(KVSynchronizationTest, CancelWithNothingChangedEndsWithoutWaitingForTheHungTool) {
    const QStringList photos = makePhotos(3);
    const QMap<QString, QByteArray> bytes = contents(photos);
    const KVTest::FakeTool &tool = useFakeTool(0);
    tool.closeGate();
    start(KVRunKind::Shift, changes(photos, 60));
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.isHolding(); }, 60s));
    m_controller.cancel();
    // The gate stays closed: only the kill of the tools can end the run.
    ASSERT_TRUE(KVTest::waitFor([&] { return !m_controller.isBusy(); }, 30s));
    EXPECT_EQ(outcome().end, KVRunRecord::End::Cancelled);
    EXPECT_TRUE(outcome().changed.empty());
    EXPECT_FALSE(m_controller.queue().isSynchronizationInProcess());
    EXPECT_EQ(contents(photos), bytes);
    EXPECT_TRUE(KVTest::waitFor([&] { return tool.aliveCount() == 0; }, 10s));
    EXPECT_TRUE(strays(photos).isEmpty()) << qPrintable(strays(photos).join(' '));
}

// The tool killed twice in the middle of a run of 20 photos: every photo ends changed and
// journalled as changed, or untouched and reported with a reason, never anything between.
TEST_F(KVSynchronizationTest,
       AToolKilledMidRunLeavesEachPhotoChangedAndJournalledOrUntouchedAndReported) {
    const QStringList photos = makePhotos(20);
    const QMap<QString, QStringList> before = dates(photos);
    const QMap<QString, QByteArray> bytes = contents(photos);
    const KVTest::FakeTool &tool = useFakeTool();
    m_controller.setWorkerCount(2);
    start(KVRunKind::Shift, changes(photos, -90));
    for (const int tickets : {5, 13}) {
        ASSERT_TRUE(KVTest::waitFor([&] { return tool.ticketsDrawn() >= tickets; }, 60s));
        for (const pid_t pid : tool.processes())
            ::kill(pid, SIGKILL);
    }
    ASSERT_TRUE(waitForEnd());

    const KVSyncController::Outcome done = outcome();
    const QSet<QString> changed = pathsOf(done.changed);
    const QSet<QString> notChanged = pathsOf(done.notChanged);
    EXPECT_EQ(changed.size() + notChanged.size(), 20);
    EXPECT_TRUE((changed & notChanged).isEmpty());
    // Killed tools are started again: the run goes on after each kill.
    EXPECT_GE(changed.size(), 10);
    const KVRunRecord journal = journalOf(done.runId);
    for (const KVJournalEntry &entry : journal.entries) {
        const QString path = entry.identity.path;
        SCOPED_TRACE(path.toStdString());
        if (changed.contains(path)) {
            EXPECT_EQ(entry.state, KVJournalEntry::State::Changed);
            EXPECT_EQ(dates({path}).value(path), shifted(before, -90).value(path));
        } else {
            EXPECT_EQ(entry.state, KVJournalEntry::State::NotChanged);
            EXPECT_FALSE(entry.reason.isEmpty());
            EXPECT_EQ(KVTest::readFile(path), bytes.value(path));
        }
    }
    for (const KVPhotoChangeResult &result : done.notChanged)
        EXPECT_FALSE(result.outcome.reason.contains("-execute")) << "a command line as reason";
    EXPECT_TRUE(strays(photos).isEmpty()) << qPrintable(strays(photos).join(' '));
}

// A disk unplugged midway: the run is held, its photos fail while the disk is away, and when
// the disk is back it goes on from what it did, each photo shifted exactly once.
TEST_F(KVSynchronizationTest, AHeldRunResumesFromItsChangedPhotosAndShiftsEachOnce) {
    const QStringList photos = makePhotos(12);
    const QMap<QString, QStringList> before = dates(photos);
    const KVTest::FakeTool &tool = useFakeTool(5);
    tool.closeGate();
    m_controller.setWorkerCount(2);
    start(KVRunKind::Sync, changes(photos, -5400));
    KVOperationQueue &queue = m_controller.queue();
    ASSERT_TRUE(KVTest::waitFor(
        [&] { return queue.processedImagesCount() == 5 && tool.ticketsDrawn() == 7; }, 60s));

    m_controller.hold();
    queue.setSuspended(true);
    const QString event = m_folder.filePath("event"), away = m_folder.filePath("away");
    ASSERT_TRUE(QDir().rename(event, away));
    tool.openGate();
    // Every worker runs through its share, failing where the photos are gone; the run stays.
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.operationCount() == 0; }, 60s));
    QCoreApplication::processEvents();
    EXPECT_EQ(m_controller.state(), State::Running);
    EXPECT_EQ(m_ends, 0);

    ASSERT_TRUE(QDir().rename(away, event));
    queue.setSuspended(false);
    m_controller.resumeAfterInterruption();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(dates(photos), shifted(before, -5400));
    EXPECT_TRUE(outcome().isComplete()) << outcome().notChanged.size() << " not changed";
    EXPECT_EQ(outcome().changed.size(), 12u);
    EXPECT_EQ(m_counts.values().back(), 12);
    EXPECT_EQ(m_ends, 1);
}

// Undo reads the journal: only the photos the run changed, each by its own shift, and only
// while a photo still has the date the run gave it. A raw file the tool refuses is never touched.
TEST_F(KVSynchronizationTest, UndoFromTheJournalMovesBackOnlyWhatEachRunChangedByItsOwnShift) {
    QStringList photos = makePhotos(3);
    const QString raw = KVTest::copySamples({"raw/Nikon.nef"}, m_folder.filePath("event")).first();
    photos << raw;
    const QMap<QString, QStringList> before = dates(photos);
    const QByteArray rawBytes = KVTest::readFile(raw);

    start(KVRunKind::Shift, changes(photos, 600));
    ASSERT_TRUE(waitForEnd());
    const KVSyncController::Outcome first = outcome();
    EXPECT_FALSE(first.isComplete());
    ASSERT_EQ(pathsOf(first.notChanged), QSet<QString>{raw});
    // The tool's own message, not a command line.
    EXPECT_TRUE(first.notChanged[0].outcome.reason.contains("StripByteCounts"))
        << qPrintable(first.notChanged[0].outcome.reason);
    start(KVRunKind::Shift, changes(photos.mid(0, 2), 60));
    ASSERT_TRUE(waitForEnd());
    QMap<QString, QStringList> twoBefore;
    for (const QString &photo : photos.mid(0, 2))
        twoBefore.insert(photo, before.value(photo));
    EXPECT_EQ(dates(photos.mid(0, 2)), shifted(twoBefore, 660));

    // Each undo takes the newest run not yet undone.
    for (const qint64 expected : {60, 600}) {
        const std::optional<KVRunRecord> last = KVLastUndoableRun(KVRunRecord::all());
        ASSERT_TRUE(last);
        EXPECT_EQ(last->entries.front().seconds, expected);
        start(KVRunKind::Undo, KVSyncController::revertingChanges(*last), last->id);
        ASSERT_TRUE(waitForEnd());
        EXPECT_TRUE(outcome().isComplete());
    }
    EXPECT_EQ(dates(photos), before);
    EXPECT_EQ(KVTest::readFile(raw), rawBytes);
    EXPECT_FALSE(KVLastUndoableRun(KVRunRecord::all()));

    // A photo whose date someone else changed since is left alone, and said so.
    start(KVRunKind::Shift, changes(photos.mid(0, 3), 30));
    ASSERT_TRUE(waitForEnd());
    ASSERT_TRUE(KVTest::writeExif(photos[1], {{originalKey, "2030:01:01 00:00:00"}}));
    const std::optional<KVRunRecord> last = KVLastUndoableRun(KVRunRecord::all());
    ASSERT_TRUE(last);
    start(KVRunKind::Undo, KVSyncController::revertingChanges(*last), last->id);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(pathsOf(outcome().notChanged), QSet<QString>{photos[1]});
    EXPECT_EQ(KVTest::readExif(photos[1], originalKey), "2030:01:01 00:00:00");
    EXPECT_EQ(dates({photos[0], photos[2]}),
              (QMap<QString, QStringList>{{photos[0], before.value(photos[0])},
                                          {photos[2], before.value(photos[2])}}));
}

// A run cut off with photos in every state is settled both ways from the photos' own dates, as
// often as needed, and leaves no hidden file behind.
TEST_F(KVSynchronizationTest, RecoveryChangesBackOrFinishesACutOffRunFromEachPhotosDate) {
    for (const KVRunRecovery::Mode mode :
         {KVRunRecovery::Mode::ChangeBack, KVRunRecovery::Mode::Finish}) {
        const bool finish = mode == KVRunRecovery::Mode::Finish;
        SCOPED_TRACE(finish ? "finish" : "change back");
        const QStringList photos = makePhotos(5);
        const QMap<QString, QStringList> before = dates(photos);
        std::vector<KVPhotoChange> run = changes(photos, 120);
        std::vector<KVJournalEntry> plan;
        for (const KVPhotoChange &change : run) {
            KVJournalEntry entry;
            entry.identity = change.identity;
            entry.seconds = 120;
            entry.oldDateText = before.value(change.identity.path).first();
            plan.push_back(entry);
        }
        {
            QString error;
            std::unique_ptr<KVRunJournal> journal =
                KVRunJournal::create(KVRunKind::Sync, plan, {}, &error);
            ASSERT_TRUE(journal) << qPrintable(error);
            KVPhotoWriter writer;
            // Photos 0 and 1 changed (1 before its line was written), 2 about to change, 3
            // changed by someone else meanwhile, 4 never reached.
            for (int i = 0; i < 4; ++i) {
                const auto hook = [&, i](const QString &oldText, const QString &newText) {
                    return journal->willChange(i, oldText, newText) && i < 2;
                };
                const KVWriteOutcome written =
                    writer.shiftDates(run[size_t(i)].identity, 120, hook);
                if (i == 0)
                    journal->didChange(i, written);
            }
            ASSERT_TRUE(KVTest::writeExif(photos[3], {{originalKey, "2030:01:01 00:00:00"}}));
            QDir().mkpath(m_folder.filePath(
                QStringLiteral("event/%1abc123").arg(KVPhotoWriter::leftoverPrefix)));
            // Dropped without an end, as by kill -9.
        }
        for (int pass = 0; pass < 2; ++pass) {
            const std::vector<KVRunRecord> interrupted = KVRunRecovery::interruptedRuns(mode);
            if (pass == 1) {
                EXPECT_TRUE(interrupted.empty());
                break;
            }
            ASSERT_EQ(interrupted.size(), 1u);
            const KVRunRecovery::Result result =
                KVRunRecovery::settle(interrupted[0], mode, KVToolPath());
            EXPECT_TRUE(result.settled);
            using Photo = KVRunRecovery::Photo;
            EXPECT_EQ(result.count(Photo::Result::Failed), 1);
            EXPECT_EQ(result.count(Photo::Result::Moved), 2);
        }
        QMap<QString, QStringList> expected =
            finish ? shifted(before, 120, {photos[0], photos[1], photos[2], photos[4]}) : before;
        // Neither the date before nor after: left as it is.
        expected[photos[3]] = dates({photos[3]}).value(photos[3]);
        EXPECT_EQ(dates(photos), expected);
        EXPECT_TRUE(strays(photos).isEmpty()) << qPrintable(strays(photos).join(' '));
        QDir(m_folder.filePath("event")).removeRecursively();
    }
}

} // namespace
