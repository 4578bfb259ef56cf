// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegateFixture.h"

#include "KVPhotoWriter.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

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
    KVSetToolPath(slowTool(0.4).toUtf8().constData());
    m_delegate->synchronizeTimeOrCancel();
    KVOperationQueue &queue = m_delegate->syncQueue();
    ASSERT_TRUE(KVTest::waitFor([&] { return queue.processedImagesCount() >= 1; }));
    m_delegate->synchronizeTimeOrCancel();
    EXPECT_EQ(m_ui.syncButtonTitle(), "Sync Time");
    EXPECT_EQ(queue.operationType(), KVOperationTypeCancel);
    ASSERT_TRUE(KVTest::waitFor(
        [&] { return queue.processedImagesCount() == 0 && queue.operationCount() == 0; },
        std::chrono::seconds(60)));
    EXPECT_EQ(datesOfB(), originalB);
    EXPECT_EQ(datesOfA(), originalA);
    EXPECT_FALSE(m_delegate->undoManager().canUndo());
    EXPECT_NE(m_ui.displayedText(), synced);
}

TEST_F(KVAppDelegateSyncTest,
       HandSetBaseDateTurnsTheReferenceIntoAMatchAndShiftsEveryMatchedCamera) {
    markReferenceAndMatch();
    KVManualDateTimeViewController &manual = m_delegate->manualDateTimeViewController();
    m_delegate->popoverWillShow();
    EXPECT_EQ(manual.fullDate(), photo(m_a1)->creationDate());
    manual.setFullDate(QDateTime(QDate(2024, 6, 1), QTime(12, 30, 0)));
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
    manual.setIsEtalonDateSet(false);
    EXPECT_FALSE(m_delegate->etalon());
}

TEST_F(KVAppDelegateSyncTest, ChoosingAPhotoAsReferenceSwitchesTheManualModeOff) {
    KVManualDateTimeViewController &manual = m_delegate->manualDateTimeViewController();
    manual.setFullDate(QDateTime(QDate(2024, 6, 1), QTime(9, 0)));
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

TEST_F(KVAppDelegateSyncTest, PhotosTheToolCannotChangeAreReportedThroughAReportThatNeverShows) {
    markReferenceAndMatch();
    const QString failing = m_root.filePath("failing-tool");
    QFile tool(failing);
    ASSERT_TRUE(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\necho refused\nexit 1\n");
    tool.close();
    tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    KVSetToolPath(failing.toUtf8().constData());

    m_delegate->synchronizeTimeOrCancel();
    ASSERT_TRUE(
        KVTest::waitFor([&] { return m_ui.displayedText() == synced; }, std::chrono::seconds(60)));
    ASSERT_TRUE(waitForRunToEnd());
    QCoreApplication::processEvents();
    EXPECT_EQ(datesOfB(), originalB);
    // The not changed report fails while it is set up: no sheet, and the program goes on.
    for (const auto &report : m_ui.fileReports())
        EXPECT_NE(report.type, KVUserInterface::NotChangedFiles);
    EXPECT_THROW(m_delegate->showNotChangedFiles({QUrl::fromLocalFile(m_b1)}), std::logic_error);
    EXPECT_FALSE(m_ui.isLocked());
}
