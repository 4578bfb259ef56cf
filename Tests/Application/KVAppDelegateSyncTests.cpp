// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegateFixture.h"

#include "KVFakeTool.h"
#include "KVFileName.h"
#include "KVPhotoWriter.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <utility>

namespace {

const QString synced = QStringLiteral("Your photos have been synced\nsuccessfully!");

} // namespace

class KVAppDelegateSyncTest : public KVAppDelegateFixture {
protected:
    void SetUp() override {
        KVAppDelegateFixture::SetUp();
        const QString folder = m_root.filePath("event");
        m_a1 = makePhoto(folder, "a1.jpg", "cameras/Canon_40D.jpg", "2024:06:01 12:00:00");
        m_a2 = makePhoto(folder, "a2.jpg", "cameras/Canon_40D.jpg", "2024:06:01 12:10:00");
        m_b1 = makePhoto(folder, "b1.jpg", "cameras/Nikon_D70.jpg", "2024:06:01 11:50:00");
        m_b2 = makePhoto(folder, "b2.jpg", "cameras/Nikon_D70.jpg", "2024:06:01 11:58:30");
        m_b3 = makePhoto(folder, "b3.jpg", "cameras/Nikon_D70.jpg", "2024:06:01 23:59:45");
        add({folder});
        ASSERT_EQ(m_delegate->numberOfCamerasInBrowser(), 2);
    }

    // What a double click on a1 and a click on b2 leave behind.
    void markReferenceAndMatch() {
        photo(m_a1)->setImageState(KVImageStateEtalon);
        photo(m_b2)->setImageState(KVImageStateSelected);
    }

    QStringList datesOfB() const { return {dateOnDisk(m_b1), dateOnDisk(m_b2), dateOnDisk(m_b3)}; }
    QStringList datesOfA() const { return {dateOnDisk(m_a1), dateOnDisk(m_a2)}; }

    const QStringList originalB = {"2024:06:01 11:50:00", "2024:06:01 11:58:30",
                                   "2024:06:01 23:59:45"};
    const QStringList shiftedB = {"2024:06:01 11:51:30", "2024:06:01 12:00:00",
                                  "2024:06:02 00:01:15"};
    const QStringList originalA = {"2024:06:01 12:00:00", "2024:06:01 12:10:00"};
    QString m_a1, m_a2, m_b1, m_b2, m_b3;
};

TEST_F(KVAppDelegateSyncTest, SyncShiftsTheMatchedCameraThenUndoAndRedoMoveItExactly) {
    EXPECT_FALSE(m_delegate->isSynchronizationPossible());
    markReferenceAndMatch();
    EXPECT_EQ(m_delegate->etalon(), photo(m_a1));
    EXPECT_EQ(m_ui.displayedImageFile(), photo(m_a1));
    EXPECT_TRUE(m_delegate->isSynchronizationPossible());
    EXPECT_TRUE(m_delegate->isEnabledSynchronization());
    const KVTimeIntervals intervals = m_delegate->etalonWithSelectedImages().timeIntervals();
    ASSERT_EQ(intervals.size(), 1u);
    EXPECT_EQ(intervals.begin()->second, 90.0);

    m_delegate->synchronizeTimeOrCancel();
    EXPECT_EQ(m_ui.syncButtonTitle(), "Cancel Syncing");
    EXPECT_TRUE(m_ui.isLocked());
    EXPECT_TRUE(m_delegate->isProcessingPathes());
    EXPECT_FALSE(m_delegate->applicationShouldTerminate());
    EXPECT_EQ(m_ui.beepCount(), 1);
    EXPECT_EQ(m_ui.displayedText(), "Kalvora is syncing — Cancel first");
    ASSERT_TRUE(
        KVTest::waitFor([&] { return m_ui.displayedText() == synced; }, std::chrono::seconds(60)));
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(datesOfB(), shiftedB);
    EXPECT_EQ(datesOfA(), originalA);
    EXPECT_EQ(photo(m_b2)->creationDate(), photo(m_a1)->creationDate());
    ASSERT_TRUE(
        KVTest::waitFor([&] { return m_ui.syncButtonTitle() == "Sync Time" && !m_ui.isLocked(); }));
    EXPECT_TRUE(m_delegate->applicationShouldTerminate());
    EXPECT_TRUE(m_delegate->validateUndoItem(false));
    EXPECT_FALSE(m_delegate->validateUndoItem(true));

    // The same set again is already in step.
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_EQ(m_ui.displayedText(), "Selected images have already synchronized");
    ASSERT_TRUE(KVTest::waitFor([&] { return m_ui.displayedImageFile() == photo(m_a1); },
                                std::chrono::seconds(5)));

    m_delegate->undoManager().undo();
    EXPECT_EQ(m_delegate->syncQueue().operationType(), KVOperationTypeUndo);
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(datesOfB(), originalB);
    EXPECT_EQ(datesOfA(), originalA);
    EXPECT_TRUE(m_delegate->undoManager().canRedo());

    m_delegate->undoManager().redo();
    EXPECT_EQ(m_delegate->syncQueue().operationType(), KVOperationTypeRedo);
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(datesOfB(), shiftedB);
    EXPECT_TRUE(m_delegate->undoManager().canUndo());
}

TEST_F(KVAppDelegateSyncTest, CancelChangesEveryDonePhotoBackAndLeavesNothingToUndo) {
    markReferenceAndMatch();
    // One photo goes through; the next ones hang in a tool deaf to SIGTERM.
    const KVTest::FakeTool tool(m_root.filePath("tool"), 1);
    tool.closeGate();
    KVSetToolPath(tool.path());
    m_delegate->synchronizeTimeOrCancel();
    KVOperationQueue &queue = m_delegate->syncQueue();
    ASSERT_TRUE(
        KVTest::waitFor([&] { return queue.processedImagesCount() == 1 && tool.isHolding(); },
                        std::chrono::seconds(60)));

    m_delegate->synchronizeTimeOrCancel();
    // Back at once, the tool still hung: the window is cancelling, and a press does nothing more.
    EXPECT_TRUE(tool.isHolding());
    EXPECT_EQ(m_delegate->syncController().state(), KVSyncController::State::Cancelling);
    EXPECT_EQ(m_ui.syncButtonTitle(), "Sync Time");
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    EXPECT_TRUE(queue.isOperationsCancelled());
    EXPECT_FALSE(m_delegate->isEnabledSynchronization());
    m_delegate->synchronizeTimeOrCancel();
    tool.openGate();

    ASSERT_TRUE(KVTest::waitFor([&] { return !m_ui.isLocked(); }, std::chrono::seconds(60)));
    EXPECT_FALSE(m_delegate->isProcessingPathes());
    EXPECT_EQ(datesOfB(), originalB);
    EXPECT_EQ(datesOfA(), originalA);
    EXPECT_FALSE(m_delegate->undoManager().canUndo());
    EXPECT_NE(m_ui.displayedText(), synced);
    EXPECT_EQ(tool.aliveCount(), 0);
}

TEST_F(KVAppDelegateSyncTest, CancelWithAToolHungOnTheFirstPhotoUnlocksWithoutChangingAnything) {
    markReferenceAndMatch();
    const KVTest::FakeTool tool(m_root.filePath("tool"), 0);
    tool.closeGate();
    KVSetToolPath(tool.path());
    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.isHolding(); }, std::chrono::seconds(60)));
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_TRUE(m_ui.isLocked());
    // The gate stays shut: only the kill of the hung tools ends the run.
    ASSERT_TRUE(KVTest::waitFor([&] { return !m_ui.isLocked(); }, std::chrono::seconds(20)));
    EXPECT_TRUE(m_delegate->applicationShouldTerminate());
    EXPECT_EQ(datesOfB(), originalB);
    EXPECT_FALSE(m_delegate->undoManager().canUndo());
}

TEST_F(KVAppDelegateSyncTest,
       HandSetBaseDateTurnsTheReferenceIntoAMatchAndShiftsEveryMatchedCamera) {
    markReferenceAndMatch();
    KVManualDateTimeViewController &manual = m_delegate->manualDateTimeViewController();
    m_delegate->popoverWillShow();
    EXPECT_EQ(manual.fullDate(), photo(m_a1)->creationDate());
    manual.setFullDate(QDateTime(QDate(2024, 6, 1), QTime(12, 30, 0), Qt::UTC));
    manual.setIsEtalonDateSet(true);

    ASSERT_TRUE(m_delegate->etalon());
    EXPECT_TRUE(m_delegate->etalon()->url().isEmpty());
    EXPECT_EQ(m_ui.displayedImageFile(), m_delegate->etalon());
    EXPECT_EQ(photo(m_a1)->imageState(), KVImageStateSelected);
    const KVReferenceSet set = m_delegate->etalonWithSelectedImages();
    EXPECT_EQ(set.selectedImages.size(), 2u);

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(
        KVTest::waitFor([&] { return m_ui.displayedText() == synced; }, std::chrono::seconds(60)));
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(datesOfA(), QStringList({"2024:06:01 12:30:00", "2024:06:01 12:40:00"}));
    EXPECT_EQ(datesOfB(),
              QStringList({"2024:06:01 12:21:30", "2024:06:01 12:30:00", "2024:06:02 00:31:15"}));

    // Removing the photos keeps the base date as the reference; switching it off clears it.
    const KVImageFileRef base = m_delegate->etalon();
    m_delegate->removeFiles();
    EXPECT_EQ(m_delegate->etalon(), base);
    EXPECT_FALSE(m_delegate->undoManager().canUndo());
    // The clock button stays on, so that the base date can be switched off again.
    EXPECT_TRUE(m_delegate->isManualSetEnable());
    manual.setIsEtalonDateSet(false);
    EXPECT_FALSE(m_delegate->etalon());
    EXPECT_FALSE(m_delegate->isManualSetEnable());
}

TEST_F(KVAppDelegateSyncTest, ChoosingAPhotoAsReferenceSwitchesTheManualModeOff) {
    KVManualDateTimeViewController &manual = m_delegate->manualDateTimeViewController();
    manual.setFullDate(QDateTime(QDate(2024, 6, 1), QTime(9, 0), Qt::UTC));
    manual.setIsEtalonDateSet(true);
    ASSERT_TRUE(m_delegate->etalon());
    photo(m_a1)->setImageState(KVImageStateEtalon);
    EXPECT_EQ(m_delegate->etalon(), photo(m_a1));
    EXPECT_FALSE(manual.isEtalonDateSet());
    // A photo chosen over the base date: the base date is gone for good.
    EXPECT_EQ(m_delegate->etalonWithSelectedImages().etalon, photo(m_a1));
    photo(m_a1)->setImageState(KVImageStateNormal);
    EXPECT_FALSE(m_delegate->etalon());
}

TEST_F(KVAppDelegateSyncTest, DisplayAndAvailabilityFollowTheModel) {
    EXPECT_EQ(m_ui.displayedText(),
              "Double-click a photo that\nhas correct time and date information\nor set \"base\" "
              "time and date manually");
    EXPECT_TRUE(m_delegate->isManualSetEnable());
    bool checked = true;
    EXPECT_TRUE(m_delegate->validateMenuItem(KVAppDelegate::MenuAction::VerboseLogging, &checked));
    EXPECT_FALSE(checked);
    EXPECT_TRUE(m_delegate->validateMenuItem(KVAppDelegate::MenuAction::RemoveFiles));
    EXPECT_EQ(m_delegate->fullScreenTitle(true), "Exit Full Screen");
    EXPECT_EQ(m_delegate->fullScreenTitle(false), "Enter Full Screen");

    // Without a matching photo there is nothing to do: the command neither runs nor complains.
    photo(m_a1)->setImageState(KVImageStateEtalon);
    EXPECT_FALSE(m_delegate->isSynchronizationPossible());
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_FALSE(m_delegate->syncQueue().isSynchronizationInProcess());
    EXPECT_TRUE(m_ui.alerts().isEmpty());

    // Deselecting the reference camera clears the reference.
    m_delegate->didDeselectAllItemsAtCameraIndex(0);
    EXPECT_FALSE(m_delegate->etalon());
    m_delegate->didSelectCameraIndex(1, 2, true);
    EXPECT_EQ(m_delegate->etalon(), photo(m_b3));

    m_delegate->removeFiles();
    EXPECT_FALSE(m_delegate->etalon());
    EXPECT_EQ(m_ui.displayedText(), "No photos to sync");
    EXPECT_FALSE(m_delegate->isManualSetEnable());
    EXPECT_FALSE(m_delegate->validateMenuItem(KVAppDelegate::MenuAction::RemoveFiles));
}

// The window follows the delegate and its browser asks the camera sets: both must give the
// delegate's answers, whichever of the two the change came from.
TEST_F(KVAppDelegateSyncTest, TheDelegateAndItsCameraSetsAnswerAlike) {
    class Watcher : public KVObserver {
    public:
        void observeValueForKeyPath(const QString &keyPath, KVObservable *) override {
            std::lock_guard lock(mutex);
            keys << keyPath;
        }
        QStringList take() {
            std::lock_guard lock(mutex);
            return std::exchange(keys, {});
        }
        std::mutex mutex;
        QStringList keys;
    } watcher;
    const QStringList followed = {"imageFiles", "isProcessingPathes", "isSynchronizationPossible",
                                  "isEnabledSynchronization", "isManualSetEnable"};
    for (const QString &key : followed)
        m_delegate->addObserver(&watcher, key);

    add({makePhoto(m_root.filePath("more"), "a3.jpg", "cameras/Canon_40D.jpg",
                   "2024:06:01 12:20:00")});
    const QStringList added = watcher.take();
    for (const QString &key : followed)
        EXPECT_TRUE(added.contains(key)) << key.toStdString();

    // A click on a photo reaches the delegate through the sets that hold it.
    markReferenceAndMatch();
    EXPECT_EQ(m_delegate->etalon(), photo(m_a1));
    const QStringList marked = watcher.take();
    EXPECT_TRUE(marked.contains("isSynchronizationPossible"));
    EXPECT_TRUE(marked.contains("isEnabledSynchronization"));
    EXPECT_TRUE(m_delegate->isEnabledSynchronization());

    m_delegate->suggestMatches();
    bool anyNote = false;
    for (int camera = 0; camera < 2; ++camera) {
        bool warning = false, setsWarning = true;
        const QString note = m_delegate->noteForCameraWithIndex(camera, &warning);
        EXPECT_EQ(m_delegate->cameraSets().noteForCameraWithIndex(camera, &setsWarning), note);
        EXPECT_EQ(setsWarning, warning);
        anyNote = anyNote || !note.isEmpty();
    }
    EXPECT_TRUE(anyNote);

    // A run keeps the browser from taking drops: the sets are busy while it goes.
    photo(m_a1)->setImageState(KVImageStateEtalon);
    photo(m_b2)->setImageState(KVImageStateSelected);
    const KVTest::FakeTool tool(m_root.filePath("tool"), 0);
    tool.closeGate();
    KVSetToolPath(tool.path());
    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.isHolding(); }, std::chrono::seconds(60)));
    EXPECT_TRUE(m_delegate->cameraSets().isProcessingPathes());
    EXPECT_FALSE(m_delegate->cameraSets().isReadingFiles());
    EXPECT_TRUE(watcher.take().contains("isProcessingPathes"));
    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(KVTest::waitFor([&] { return !m_ui.isLocked(); }, std::chrono::seconds(20)));
    EXPECT_FALSE(m_delegate->cameraSets().isProcessingPathes());
    EXPECT_EQ(datesOfB(), originalB);
    m_delegate->removeObserver(&watcher);
}

// A raw file the tool refuses, in a run with photos it can write: the run says it is not
// complete, the report lists the file with the tool's words, and Undo moves back only what changed.
TEST_F(KVAppDelegateSyncTest, APhotoTheToolRefusesIsReportedWithItsReasonAndUndoLeavesItAlone) {
    const QString raw = m_root.filePath("event/b4.nef");
    ASSERT_TRUE(QFile::copy(KVTest::samplePath("raw/Nikon.nef"), raw));
    QFile::setPermissions(raw, QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray rawBytes = KVTest::readFile(raw);
    add({raw});
    const KVImageFileRef rawPhoto = photo(raw);
    ASSERT_TRUE(rawPhoto);
    // Its camera (a body of its own) is matched to the reference through the raw file itself,
    // and camera B through b2, in one run.
    markReferenceAndMatch();
    rawPhoto->setImageState(KVImageStateSelected);
    ASSERT_EQ(m_delegate->etalonWithSelectedImages().selectedImages.size(), 2u);

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(waitForRunToEnd());
    ASSERT_TRUE(KVTest::waitFor([&] { return !m_ui.fileReports().isEmpty(); }));
    const KVHeadlessUserInterface::FileReport report = m_ui.fileReports().last();
    EXPECT_EQ(report.type, KVUserInterface::NotChangedFiles);
    ASSERT_EQ(report.records.size(), 1);
    EXPECT_EQ(report.records[0]["path"].toString(), raw);
    EXPECT_EQ(report.records[0]["name"].toString(), "b4.nef");
    EXPECT_TRUE(report.records[0]["error"].toString().contains("StripByteCounts"))
        << qPrintable(report.records[0]["error"].toString());
    EXPECT_EQ(m_ui.displayedText(), "Syncing has not been completed");
    EXPECT_FALSE(m_ui.calls().contains("display:" + synced));
    EXPECT_EQ(KVTest::readFile(raw), rawBytes);
    EXPECT_EQ(m_delegate->syncController().lastOutcome()->changed.size(), 3u);
    EXPECT_EQ(datesOfB(), shiftedB);

    ASSERT_TRUE(KVTest::waitFor([&] { return m_delegate->validateUndoItem(false); }));
    m_delegate->undoManager().undo();
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_TRUE(m_delegate->syncController().lastOutcome()->isComplete());
    EXPECT_EQ(m_delegate->syncController().lastOutcome()->changed.size(), 3u);
    EXPECT_EQ(KVTest::readFile(raw), rawBytes);
    EXPECT_EQ(datesOfA(), originalA);
    EXPECT_EQ(datesOfB(), originalB);
    EXPECT_FALSE(m_ui.isLocked());
}

// A run cut off by a crash is found at the next start: the window asks, and does what it is told.
TEST_F(KVAppDelegateSyncTest, AtStartAnInterruptedRunIsOfferedAndFinishedOrChangedBack) {
    for (const int answer : {0, 1}) {
        SCOPED_TRACE(answer == 0 ? "finish" : "change back");
        const QStringList paths = {m_b1, m_b2, m_b3};
        {
            std::vector<KVJournalEntry> plan;
            for (const QString &path : paths) {
                KVJournalEntry entry;
                entry.identity = *KVPhotoWriter::identityOf(path);
                entry.seconds = 90;
                plan.push_back(entry);
            }
            QString error;
            std::unique_ptr<KVRunJournal> journal =
                KVRunJournal::create(KVRunKind::Sync, plan, {}, &error);
            ASSERT_TRUE(journal) << qPrintable(error);
            // The first photo changed; the crash came before the others.
            KVPhotoWriter writer;
            writer.shiftDates(plan[0].identity, 90,
                              [&](const QString &oldText, const QString &newText) {
                                  return journal->willChange(0, oldText, newText);
                              });
        }
        KVHeadlessUserInterface ui;
        ui.queueAlertAnswer(answer);
        KVAppDelegate restarted(&ui);
        restarted.awakeFromNib();
        restarted.applicationDidFinishLaunching(QStringLiteral(KALVORA_BUNDLE_DIR));
        ASSERT_EQ(ui.alerts().size(), 1);
        EXPECT_EQ(ui.alerts()[0].buttons, QStringList({"Finish", "Change Back"}));
        EXPECT_TRUE(ui.isLocked());
        ASSERT_TRUE(KVTest::waitFor([&] { return !ui.isLocked(); }, std::chrono::seconds(60)));
        EXPECT_EQ(datesOfB(), answer == 0 ? shiftedB : originalB);
        EXPECT_TRUE(KVRunRecord::interrupted().empty());
        // Put back for the next round.
        for (int i = 0; i < paths.size(); ++i)
            ASSERT_TRUE(
                KVTest::writeExif(paths[i], {{"Exif.Photo.DateTimeOriginal", originalB[i]}}));
    }
}

// A Latin-1 name from an old card: the photo is the match by its bytes, synced and undone, and
// once trashed the alert names those very bytes.
TEST_F(KVAppDelegateFixture, APhotoWhoseNameIsNotUtf8IsSyncedUndoneAndMissedByItsBytes) {
    const QString folder = m_root.filePath("card");
    const QString a = makePhoto(folder, "a.jpg", "cameras/Canon_40D.jpg", "2024:06:01 12:00:00");
    const QString made = makePhoto(folder, "b.jpg", "cameras/Nikon_D70.jpg", "2024:06:01 11:58:30");
    const QString b = KVFileName::decode(QFile::encodeName(folder) + "/Hochzeit_\xe4.jpg");
    ASSERT_EQ(::rename(QFile::encodeName(made), KVFileName::encode(b)), 0);
    // Qt cannot remove what it cannot list.
    const auto cleanUp = qScopeGuard(
        [&] { std::filesystem::remove_all(QFile::encodeName(m_root.path()).toStdString()); });
    add({folder});
    ASSERT_EQ(m_delegate->numberOfCamerasInBrowser(), 2);
    ASSERT_TRUE(photo(b));
    photo(a)->setImageState(KVImageStateEtalon);
    photo(b)->setImageState(KVImageStateSelected);

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(dateOnDisk(b), "2024:06:01 12:00:00");
    m_delegate->undoManager().undo();
    ASSERT_TRUE(waitForRunToEnd());
    EXPECT_EQ(dateOnDisk(b), "2024:06:01 11:58:30");
    EXPECT_EQ(dateOnDisk(a), "2024:06:01 12:00:00");

    const QString trashed =
        m_root.filePath("data/Trash/files/") + KVFileName::decode("Hochzeit_\xe4.jpg");
    ASSERT_EQ(::rename(KVFileName::encode(b).constData(), KVFileName::encode(trashed).constData()),
              0);
    ASSERT_TRUE(
        KVTest::waitFor([&] { return !m_ui.alerts().isEmpty(); }, std::chrono::seconds(15)));
    EXPECT_TRUE(m_ui.alerts()[0].text.endsWith(b + "\n")) << qPrintable(m_ui.alerts()[0].text);
}
