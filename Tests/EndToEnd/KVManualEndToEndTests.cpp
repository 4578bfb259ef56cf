// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVEndToEndTest.h"

#include "KVAppDelegate.h"
#include "KVButtonCell.h"
#include "KVCameraBrowser.h"
#include "KVManualDateTimeView.h"
#include "KVRoundButtonCell.h"
#include "KVStartView.h"
#include "KVTestSupport.h"
#include "KVWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QDateEdit>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTest>
#include <QTimeEdit>

namespace {

// Where a person clicks a check box: on its box.
QPoint indicatorOf(QCheckBox *box) {
    QStyleOptionButton option;
    option.initFrom(box);
    option.text = box->text();
    return box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, box).center();
}

using KVManualEndToEndTest = KVEndToEndTest;

TEST_F(KVManualEndToEndTest, DroppedFolderAndRemoveAllThenATypedBaseTimeMovesEveryCamera) {
    const QList<QUrl> folder{QUrl::fromLocalFile(event.folder())};
    ASSERT_NO_FATAL_FAILURE(dropOnStartView(folder));
    ASSERT_NO_FATAL_FAILURE(waitForAllCameras());

    ASSERT_TRUE(window->removeFilesAction()->isEnabled());
    window->removeFilesAction()->trigger();
    ASSERT_TRUE(KVTest::waitFor([&] {
        return window->startView()->isVisible() && window->cameraBrowser()->numberOfRows() == 0;
    })) << "Remove All did not bring the drop area back";
    EXPECT_TRUE(KVTest::waitFor([&] { return !window->manualButton()->isEnabled(); },
                                std::chrono::seconds(5)))
        << "the manual date button stays on without photos";

    ASSERT_NO_FATAL_FAILURE(dropOnStartView(folder));
    ASSERT_NO_FATAL_FAILURE(waitForAllCameras());

    // A base time a day, an hour, a minute and a second after the true moment of a scene.
    const qint64 shift = 24 * 3600 + 3600 + 60 + 1;
    const KVDemoEventFiles::Scene *scene = event.sceneOfAllCameras();
    const QDateTime base = KVDemoEventFiles::dateFromText(scene->moment).addSecs(shift);

    ASSERT_TRUE(KVTest::waitFor([&] { return window->manualButton()->isEnabled(); }));
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->manualButton()));
    KVManualDateTimeView *popover = window->manualDateTimeView();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(popover)) << "the manual date popover did not open";
    popover->dateControl()->setDate(base.date());
    popover->timeControl()->setTime(base.time());
    ASSERT_NO_FATAL_FAILURE(
        clickWidget(popover->manualModeCheckBox(), indicatorOf(popover->manualModeCheckBox())));
    ASSERT_TRUE(popover->manualModeCheckBox()->isChecked());
    QTest::keyClick(popover, Qt::Key_Escape);
    ASSERT_TRUE(KVTest::waitFor([&] { return !popover->isVisible(); }));

    const KVImageFileRef reference = delegate().etalon();
    ASSERT_NE(reference, nullptr) << "ticking the box set no base time";
    EXPECT_TRUE(reference->url().isEmpty()) << "the reference is a photo, not the base time";
    EXPECT_EQ(reference->creationDate(), base);

    ASSERT_NO_FATAL_FAILURE(activateWindow());
    for (const KVDemoEventFiles::Camera &camera : event.cameras())
        ASSERT_NO_FATAL_FAILURE(clickPhoto(camera.key, scene->fileOfCamera.value(camera.key), 1));
    ASSERT_NO_FATAL_FAILURE(clickWidget(window->syncButton()));
    ASSERT_TRUE(waitForDisplayedString(syncedMessage()))
        << "the display shows \"" << displayedString().toStdString()
        << "\"; dialogs: " << dialogsShown().toStdString();
    ASSERT_TRUE(waitUntilIdle());

    // The chosen photos now carry the typed time, and every other photo moved with them.
    EXPECT_EQ(diskDifferences(event.trueTimes(shift)), QString());
}

} // namespace
