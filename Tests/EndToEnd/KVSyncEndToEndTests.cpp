// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVEndToEndTest.h"

#include "KVAppDelegate.h"
#include "KVButtonCell.h"
#include "KVTestSupport.h"
#include "KVWindow.h"

#include <QAction>
#include <QTest>

#include <cstdlib>

namespace {

class KVSyncEndToEndTest : public KVEndToEndTest {
protected:
    // The reference camera's photo and each other camera's photo of one scene, marked by
    // clicks; gives the file times once every camera is shifted by its pair's offset.
    void markSceneOfAllCameras(QMap<QString, QString> *expected) {
        const KVDemoEventFiles::Scene *scene = event.sceneOfAllCameras();
        const KVDemoEventFiles::Camera *reference = event.camera(event.referenceKey());
        const QString referenceFile = scene->fileOfCamera.value(reference->key);
        ASSERT_NO_FATAL_FAILURE(clickPhoto(reference->key, referenceFile, 2));
        const QDateTime referenceTime = timeOf(*reference, referenceFile);

        for (const KVDemoEventFiles::Camera &camera : event.cameras()) {
            const QString file = scene->fileOfCamera.value(camera.key);
            qint64 offset = 0;
            if (camera.key != reference->key) {
                ASSERT_NO_FATAL_FAILURE(clickPhoto(camera.key, file, 1));
                // What the program must compute from the pair: the pair shows one moment, so
                // it is the camera's true correction within the seconds of a burst.
                offset = timeOf(camera, file).secsTo(referenceTime);
                EXPECT_LE(std::abs(offset - camera.offset), 3) << camera.key.toStdString();
            }
            for (const KVDemoEventFiles::Photo &photo : camera.photos) {
                expected->insert(
                    photo.file,
                    KVDemoEventFiles::textFromDate(
                        KVDemoEventFiles::dateFromText(photo.cameraTime).addSecs(offset)));
            }
        }
    }

    static QDateTime timeOf(const KVDemoEventFiles::Camera &camera, const QString &file) {
        for (const KVDemoEventFiles::Photo &photo : camera.photos) {
            if (photo.file == file)
                return KVDemoEventFiles::dateFromText(photo.cameraTime);
        }
        return {};
    }

    // The dates each photo carried before anything was done, as read from disk.
    QMap<QString, QString> recordOriginalDates() {
        QMap<QString, QString> original;
        const KVDiskDates::Dates dates = diskDates();
        for (auto it = dates.begin(); it != dates.end(); ++it)
            original.insert(it.key(), it.value().value(QStringLiteral("ExifIFD:DateTimeOriginal")));
        EXPECT_EQ(original, event.cameraTimes()) << "the demo photos are not what it says";
        return original;
    }
};

TEST_F(KVSyncEndToEndTest, SyncMovesEveryCameraToTheReferenceTimeAndUndoRedoFollow) {
    ASSERT_NO_FATAL_FAILURE(openEvent());
    const QMap<QString, QString> original = recordOriginalDates();
    QMap<QString, QString> synced;
    ASSERT_NO_FATAL_FAILURE(markSceneOfAllCameras(&synced));
    // The demo's scene photos are of the very same second: the offsets are exact.
    EXPECT_EQ(synced, event.trueTimes());
    saveScreenshot(QStringLiteral("kalvora-four-cameras.png"));

    ASSERT_TRUE(window->syncButton()->isEnabled()) << "Sync Time stays off with a full set";
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->syncButton()));
    ASSERT_TRUE(waitForDisplayedString(syncedMessage()))
        << "the display shows \"" << displayedString().toStdString()
        << "\"; dialogs: " << dialogsShown().toStdString();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(diskDifferences(synced), QString());

    ASSERT_TRUE(KVTest::waitFor([&] { return window->undoAction()->isEnabled(); }))
        << "nothing to undo after a sync";
    ASSERT_NO_FATAL_FAILURE(activateWindow());
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    ASSERT_EQ(delegate().syncQueue().operationType(), KVOperationTypeUndo)
        << "Ctrl+Z started no undo";
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(diskDifferences(original), QString());

    ASSERT_TRUE(KVTest::waitFor([&] { return window->redoAction()->isEnabled(); }))
        << "nothing to redo after an undo";
    window->redoAction()->trigger();
    ASSERT_EQ(delegate().syncQueue().operationType(), KVOperationTypeRedo)
        << "Edit > Redo started no redo";
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(diskDifferences(synced), QString());
}

TEST_F(KVSyncEndToEndTest, CancellingHalfWayChangesTheDonePhotosBackAndLeavesNothingToUndo) {
    ASSERT_NO_FATAL_FAILURE(openEvent());
    const QMap<QString, QString> original = recordOriginalDates();
    QMap<QString, QString> synced;
    ASSERT_NO_FATAL_FAILURE(markSceneOfAllCameras(&synced));

    ASSERT_NO_FATAL_FAILURE(clickWidget(window->syncButton()));
    KVOperationQueue &queue = delegate().syncQueue();
    ASSERT_TRUE(KVTest::waitFor(
        [&] {
            return queue.processedImagesCount() > 0 &&
                   queue.processedImagesCount() * 4 >= queue.allImagesCount();
        },
        std::chrono::minutes(3)))
        << queue.processedImagesCount() << " of " << queue.allImagesCount() << " done";
    ASSERT_LT(queue.processedImagesCount(), queue.allImagesCount())
        << "the run ended before it could be cancelled";
    ASSERT_EQ(window->syncButton()->text(), KVAppDelegate::alternateSyncButtonTitle());
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->syncButton()));
    ASSERT_TRUE(waitUntilIdle());

    EXPECT_EQ(diskDifferences(original), QString());
    window->validateMenuItems();
    EXPECT_FALSE(window->undoAction()->isEnabled()) << "a cancelled sync left an undo step";
    EXPECT_NE(displayedString(), syncedMessage());
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_NE(delegate().syncQueue().operationType(), KVOperationTypeUndo)
        << "Ctrl+Z undid a cancelled sync";
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(diskDifferences(original), QString());
}

} // namespace
