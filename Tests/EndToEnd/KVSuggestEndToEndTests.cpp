// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVEndToEndTest.h"

#include "KVAppDelegate.h"
#include "KVButtonCell.h"
#include "KVCameraBrowser.h"
#include "KVCameraOffsetMemory.h"
#include "KVCameraViewDocumentView.h"
#include "KVTableCellView.h"
#include "KVTestSupport.h"
#include "KVWindow.h"

#include <QAction>

namespace {

class KVSuggestEndToEndTest : public KVEndToEndTest {
protected:
    void SetUp() override {
        // What earlier runs synced would be remembered; this event starts from nothing.
        KVUserDefaults::standardUserDefaults().setObject(QVariant(),
                                                         KVCameraOffsetMemory::settingsKey);
        KVEndToEndTest::SetUp();
    }

    QString trueMomentOf(const QString &file) const {
        for (const KVDemoEventFiles::Camera &camera : event.cameras()) {
            for (const KVDemoEventFiles::Photo &photo : camera.photos) {
                if (photo.file == file)
                    return photo.moment;
            }
        }
        return {};
    }
};

} // namespace

TEST_F(KVSuggestEndToEndTest, SuggestMatchesMarksTheSureCamerasAsClicksWouldAndSyncLinesThemUp) {
    ASSERT_NO_FATAL_FAILURE(openEvent());
    ASSERT_TRUE(window->suggestButton()->isEnabled()) << "Suggest Matches is off with 4 cameras";
    ASSERT_TRUE(window->suggestMatchesAction()->isEnabled());
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->suggestButton()));
    ASSERT_TRUE(KVTest::waitFor([&] { return delegate().etalon() != nullptr; }))
        << "no reference photo was marked";

    // One reference photo, on the first camera, and on each sure camera its photo of the same
    // true moment; the reference is what the display shows, as after a double click.
    const KVImageFileRef reference = delegate().etalon();
    EXPECT_EQ(reference->fullCameraName(), event.referenceKey());
    const QString moment = trueMomentOf(reference->name());
    const KVReferenceSet marked = delegate().etalonWithSelectedImages();
    EXPECT_EQ(marked.etalon, reference);
    const KVSuggestedMatches &suggestion = delegate().matchSuggester().suggestion();
    int sure = 0;
    KVCameraBrowser *browser = window->cameraBrowser();
    for (int row = 0; row < browser->numberOfRows(); ++row) {
        const QString key = delegate().cameraSets().sortedCameras().value(row);
        const KVSuggestedMatches::Camera *camera = suggestion.cameraWithKey(key);
        KVTableCellView *cell = browser->viewAtRow(row, false);
        ASSERT_TRUE(cell) << "row " << row << " is not in view";
        if (!camera)
            continue;
        if (camera->isConfident()) {
            ++sure;
            ASSERT_TRUE(marked.selectedImages.count(key)) << key.toStdString();
            EXPECT_EQ(trueMomentOf(marked.selectedImages.at(key)->name()), moment);
            EXPECT_FALSE(cell->isNoteWarning()) << cell->note().toStdString();
            // The row is zoomed in onto its marked photo and shows it.
            const KVCameraViewDocumentView *timeline = cell->documentView();
            const int index = timeline->indexOfImage(marked.selectedImages.at(key).get());
            ASSERT_GE(index, 0);
            EXPECT_TRUE(timeline->visibleRect().contains(timeline->imageFrame(index).center()))
                << key.toStdString();
            EXPECT_LT(timeline->visibleRect().width() / timeline->scale(), 120.0);
        } else {
            EXPECT_FALSE(marked.selectedImages.count(key)) << key.toStdString();
            EXPECT_TRUE(cell->isNoteWarning()) << key.toStdString();
        }
    }
    EXPECT_EQ(sure, 3) << "the demo's cameras are all sure";
    saveScreenshot(QStringLiteral("kalvora-suggested-matches.png"));

    ASSERT_TRUE(window->syncButton()->isEnabled());
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->syncButton()));
    ASSERT_TRUE(waitForDisplayedString(syncedMessage()))
        << "the display shows \"" << displayedString().toStdString()
        << "\"; dialogs: " << dialogsShown().toStdString();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(diskDifferences(event.trueTimes()), QString());
    // The bodies are remembered with their offsets for the next event.
    for (const KVDemoEventFiles::Camera &camera : event.cameras()) {
        const std::optional<KVCameraOffsetMemory::Entry> entry =
            KVCameraOffsetMemory().entryForCamera(camera.key);
        ASSERT_TRUE(entry) << camera.key.toStdString();
        EXPECT_EQ(entry->offset, double(camera.offset)) << camera.key.toStdString();
    }
}
