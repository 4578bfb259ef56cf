// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraBrowser.h"
#include "KVCameraViewDocumentView.h"
#include "KVTestSupport.h"
#include "KVTimelineTestPhoto.h"
#include "KVTableCellView.h"
#include "KVTimelineScrollView.h"

#include <QDropEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QSlider>
#include <QTest>
#include <qtestspontaneevent.h>

#include <gtest/gtest.h>

namespace {

class KVCameraBrowserTest : public ::testing::Test {
protected:
    void show(int cameras, int photos, QSize size = QSize(800, 460)) {
        source = std::make_unique<KVFakeCameraSource>(cameras, photos, 600);
        browser.setDataSource(source.get());
        browser.resize(size);
        browser.show();
        browser.reload();
    }
    KVTableCellView *row(int index) { return browser.viewAtRow(index, false); }
    KVTimelineTestPhoto &photo(int camera, int index) { return *source->cameras[camera][index]; }
    void doubleClickPhoto(int camera, int index) {
        KVCameraViewDocumentView *timeline = row(camera)->documentView();
        const QRectF frame = timeline->imageFrame(index);
        // Near the left edge: a later photo may lie over the right part.
        const QPointF point =
            timeline->widgetPointFromDocument(QPointF(frame.x() + 10, frame.center().y()));
        QTest::mouseDClick(timeline, Qt::LeftButton, Qt::NoModifier, point.toPoint());
    }
    // Whether the list took the drag; a drop goes only where the drag was taken.
    bool dragAndDrop(QMimeData *data) {
        QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, data, Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(browser.viewport(), &enter);
        QDropEvent drop(QPointF(100, 100), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(browser.viewport(), &drop);
        return enter.isAccepted();
    }
    std::unique_ptr<KVFakeCameraSource> source;
    KVCameraBrowser browser;
};

TEST_F(KVCameraBrowserTest, NewReferenceClearsTheOldOneInEveryCamera) {
    show(6, 5);
    ASSERT_EQ(row(5), nullptr);
    photo(0, 2).setImageState(KVImageStateEtalon);
    photo(5, 1).setImageState(KVImageStateEtalon);
    photo(1, 0).setImageState(KVImageStateSelected);
    doubleClickPhoto(1, 3);
    EXPECT_EQ(photo(1, 3).imageState(), KVImageStateEtalon);
    EXPECT_EQ(photo(1, 0).imageState(), KVImageStateNormal);
    EXPECT_EQ(photo(0, 2).imageState(), KVImageStateNormal);
    // A camera out of view is cleared through the data source's photos.
    EXPECT_EQ(photo(5, 1).imageState(), KVImageStateNormal);
    // A selection elsewhere is not the browser's business.
    photo(2, 4).setImageState(KVImageStateSelected);
    doubleClickPhoto(0, 1);
    EXPECT_EQ(photo(0, 1).imageState(), KVImageStateEtalon);
    EXPECT_EQ(photo(1, 3).imageState(), KVImageStateNormal);
    EXPECT_EQ(photo(2, 4).imageState(), KVImageStateSelected);
}

TEST_F(KVCameraBrowserTest, RowKeepsItsZoomOutOfViewUntilReload) {
    show(10, 5);
    row(0)->slider()->setValue(KVTableCellView::sliderSteps / 2);
    const double value = row(0)->sliderValue();
    const double scale = row(0)->documentView()->scale();
    const double minimum = row(0)->sliderMinimum();
    ASSERT_GT(value, minimum);
    browser.verticalScrollBar()->setValue(browser.verticalScrollBar()->maximum());
    EXPECT_EQ(row(0), nullptr);
    ASSERT_TRUE(browser.storedDataForRow(0));
    EXPECT_EQ(browser.storedDataForRow(0)->currentValue, value);
    EXPECT_EQ(browser.storedDataForRow(0)->minValue, minimum);
    browser.verticalScrollBar()->setValue(0);
    ASSERT_NE(row(0), nullptr);
    EXPECT_EQ(row(0)->sliderValue(), value);
    EXPECT_DOUBLE_EQ(row(0)->documentView()->scale(), scale);
    browser.reload();
    EXPECT_TRUE(browser.storedData().isEmpty());
    EXPECT_EQ(row(0)->sliderValue(), row(0)->sliderMinimum());
    EXPECT_NEAR(row(0)->documentView()->documentWidth(),
                row(0)->documentView()->visibleRect().width(), 0.5);
}

TEST_F(KVCameraBrowserTest, RowsExistOnlyForWhatIsInView) {
    show(50, 40, QSize(800, 600));
    QScrollBar *bar = browser.verticalScrollBar();
    const int visibleRows = 600 / KVCameraBrowser::rowHeight + 1;
    for (int value = 0; value <= bar->maximum(); value += 137) {
        bar->setValue(value);
        const std::vector<int> rows = browser.rowsWithViews();
        ASSERT_FALSE(rows.empty());
        EXPECT_EQ(rows.front(), value / KVCameraBrowser::rowHeight);
        EXPECT_LE(int(rows.size()), visibleRows);
        EXPECT_LE(browser.rowViewCount(), visibleRows + 2);
        for (int index : rows) {
            EXPECT_EQ(row(index)->cameraTitle(), QStringLiteral("Camera %1 (40)").arg(index));
            EXPECT_EQ(row(index)->geometry().top(), index * KVCameraBrowser::rowHeight - value);
        }
    }
}

TEST_F(KVCameraBrowserTest, DropPassesOnlyEntriesWithAPathAndNothingWhileReading) {
    show(2, 3);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/photos/a.jpg")),
                  QUrl(QStringLiteral("file:")),
                  QUrl::fromLocalFile(QStringLiteral("/photos/b.cr2"))});
    ASSERT_EQ(data.urls().size(), 3);
    EXPECT_EQ(browser.validateDrop(&data), Qt::CopyAction);
    dragAndDrop(&data);
    ASSERT_EQ(source->added.size(), 1);
    EXPECT_EQ(source->added[0],
              (QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/photos/a.jpg")),
                           QUrl::fromLocalFile(QStringLiteral("/photos/b.cr2"))}));
    source->processing = true;
    EXPECT_EQ(browser.validateDrop(&data), Qt::IgnoreAction);
    EXPECT_FALSE(dragAndDrop(&data));
    EXPECT_EQ(source->added.size(), 1);
}

// Without the modifier the wheel scrolls the list, with it (or asked by a timeline) it zooms that
// timeline's row only.
TEST_F(KVCameraBrowserTest, WheelAndZoomRequestsReachTheirOwnRowOnly) {
    show(10, 5);
    KVCameraViewDocumentView *timeline = row(0)->documentView();
    const QPointF point(timeline->width() / 2.0, timeline->height() / 2.0);
    QWheelEvent down(point, timeline->mapToGlobal(point), QPoint(), QPoint(0, -120), Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    // As from the mouse: only such events travel on to the widgets under the timeline, and
    // sendEvent would take that mark away again.
    QSpontaneKeyEvent::setSpontaneous(&down);
    qApp->notify(timeline, &down);
    EXPECT_GT(browser.verticalScrollBar()->value(), 0);
    EXPECT_EQ(row(0)->sliderValue(), row(0)->sliderMinimum());
    browser.verticalScrollBar()->setValue(0);
    const double before = row(0)->sliderValue();
    QWheelEvent zoomIn(point, timeline->mapToGlobal(point), QPoint(), QPoint(0, 120), Qt::NoButton,
                       Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(timeline, &zoomIn);
    // One notch: a fiftieth of the slider's travel.
    EXPECT_DOUBLE_EQ(row(0)->sliderValue(),
                     before + (row(0)->sliderMaximum() - row(0)->sliderMinimum()) / 50);
    EXPECT_EQ(browser.verticalScrollBar()->value(), 0);
    // Zoom requests reach the sender's row only.
    KVTableCellView *cell = row(2);
    const double delta = (cell->sliderMaximum() - cell->sliderMinimum()) / 4;
    browser.requestToChangeScaleBy(cell->documentView(), delta, 0);
    EXPECT_DOUBLE_EQ(cell->sliderValue(), cell->sliderMinimum() + delta);
    EXPECT_EQ(row(1)->sliderValue(), row(1)->sliderMinimum());
    browser.didChangeScaleWithoutSlider(cell->documentView(), cell->sliderMaximum() * 10);
    EXPECT_EQ(cell->sliderValue(), cell->sliderMaximum());
    // A timeline of no row is nobody's business.
    KVCameraViewDocumentView stranger;
    browser.requestToChangeScaleBy(&stranger, delta, 0);
    browser.documentViewIsEmpty(&stranger);
    EXPECT_EQ(browser.numberOfRows(), 10);
}

TEST_F(KVCameraBrowserTest, VerticalTurnOverARowsScrollBarScrollsTheListNotTheRow) {
    show(10, 40);
    // Zoomed in, so that the row has something to scroll sideways.
    row(0)->slider()->setValue(KVTableCellView::sliderSteps);
    QScrollBar *bar = row(0)->scrollView()->horizontalScrollBar();
    ASSERT_TRUE(bar->isVisible());
    ASSERT_GT(bar->maximum(), 0);
    const int rowPosition = bar->value();
    const QPointF point(bar->width() / 2.0, bar->height() / 2.0);
    QWheelEvent down(point, bar->mapToGlobal(point), QPoint(), QPoint(0, -120), Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&down);
    qApp->notify(bar, &down);
    EXPECT_GT(browser.verticalScrollBar()->value(), 0);
    EXPECT_EQ(bar->value(), rowPosition);
    // A sideways turn stays with the row.
    browser.verticalScrollBar()->setValue(0);
    bar = row(0)->scrollView()->horizontalScrollBar();
    QWheelEvent sideways(point, bar->mapToGlobal(point), QPoint(), QPoint(-120, 0), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&sideways);
    qApp->notify(bar, &sideways);
    EXPECT_EQ(browser.verticalScrollBar()->value(), 0);
    EXPECT_NE(bar->value(), rowPosition);
}

// A row keeps its last picture and paints only what changed; whatever happened in between, the
// kept picture must be the one a fresh paint of everything gives.
TEST_F(KVCameraBrowserTest, AKeptRowPictureIsAlwaysTheFreshOne) {
    show(3, 60, QSize(800, 460));
    KVTableCellView *cell = row(0);
    KVCameraViewDocumentView *timeline = cell->documentView();
    const auto settle = [&] {
        ASSERT_TRUE(KVTest::waitFor([&] {
            QCoreApplication::processEvents();
            return !timeline->hasPendingThumbnails();
        }));
        QCoreApplication::processEvents();
    };
    const auto sameAsFresh = [&](const char *after) {
        SCOPED_TRACE(after);
        settle();
        const QImage kept = timeline->grab().toImage();
        timeline->setPaintCacheEnabled(false);
        const QImage fresh = timeline->grab().toImage();
        timeline->setPaintCacheEnabled(true);
        // Painted into the kept picture again from nothing: also the same.
        const QImage rebuilt = timeline->grab().toImage();
        EXPECT_TRUE(kept == fresh) << "the kept picture is stale";
        EXPECT_TRUE(rebuilt == fresh);
    };
    sameAsFresh("showing");
    cell->slider()->setValue(KVTableCellView::sliderSteps / 3);
    sameAsFresh("zooming");
    timeline->setVisibleOriginX(timeline->visibleOriginX() + 137.5);
    sameAsFresh("scrolling sideways");
    photo(0, 30).setImageState(KVImageStateSelected);
    photo(0, 31).setImageState(KVImageStateEtalon);
    sameAsFresh("marking photos");
    photo(0, 31).setImageState(KVImageStateNormal);
    sameAsFresh("unmarking a photo");
    browser.resize(700, 460);
    sameAsFresh("resizing");
    // A repaint with nothing changed costs a copy and changes nothing.
    const QImage before = timeline->grab().toImage();
    timeline->update();
    EXPECT_TRUE(timeline->grab().toImage() == before);
}

TEST_F(KVCameraBrowserTest, EmptyCameraLosesItsRowAndTheRestMoveUp) {
    show(4, 5, QSize(800, 700));
    row(3)->slider()->setValue(KVTableCellView::sliderSteps / 3);
    browser.verticalScrollBar()->setValue(browser.verticalScrollBar()->maximum());
    browser.storeDataForView(row(3), 3);
    const double kept = row(3)->sliderValue();
    browser.documentViewIsEmpty(row(1)->documentView());
    EXPECT_EQ(browser.numberOfRows(), 3);
    EXPECT_EQ(row(1)->cameraTitle(), QStringLiteral("Camera 2 (5)"));
    EXPECT_EQ(row(2)->cameraTitle(), QStringLiteral("Camera 3 (5)"));
    ASSERT_TRUE(browser.storedDataForRow(2));
    EXPECT_EQ(browser.storedDataForRow(2)->currentValue, kept);
    EXPECT_FALSE(browser.storedDataForRow(3));
}

std::shared_ptr<KVImageDataSource> card(const QColor &color) {
    return std::make_shared<KVTimelineTestPhoto>(QDateTime(), QSize(48, 32), color);
}

int countPixels(const QImage &image, QRgb color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) == color;
    }
    return count;
}

int topEdge(const QImage &image, int x) {
    for (int y = 0; y < image.height(); ++y) {
        if (qAlpha(image.pixel(x, y)) > 128)
            return y;
    }
    return image.height();
}

TEST(KVCameraBrowserGroupImage, StacksUpToThreeCardsWithTheLastOnTop) {
    const QRgb red = qRgb(255, 0, 0), blue = qRgb(0, 0, 255);
    const QImage single = KVCameraBrowser::newImageFromProviders({card(Qt::red)});
    ASSERT_EQ(single.size(), QSize(256, 256));
    EXPECT_EQ(qAlpha(single.pixel(2, 2)), 0);
    EXPECT_EQ(single.pixel(128, 128), red);
    // Turned by 1 degree counterclockwise: the right end of the top edge stands higher.
    EXPECT_LT(topEdge(single, 220), topEdge(single, 36));
    const QImage stack =
        KVCameraBrowser::newImageFromProviders({card(Qt::red), card(Qt::green), card(Qt::blue)});
    EXPECT_EQ(stack.pixel(128, 128), blue);
    // The bottom card, turned by 7 degrees, shows at the corners of the top one and reaches
    // higher on the right; the middle one, turned back by 5 degrees, higher on the left.
    EXPECT_GT(countPixels(stack, red), 0);
    const QImage pair = KVCameraBrowser::newImageFromProviders({card(Qt::red), card(Qt::blue)});
    EXPECT_EQ(pair.pixel(128, 128), blue);
    EXPECT_LT(topEdge(pair, 200), topEdge(single, 200) - 5);
    EXPECT_LT(topEdge(stack, 40), topEdge(pair, 40) - 5);
    EXPECT_TRUE(KVCameraBrowser::newImageFromProviders({}).size() == QSize(256, 256));
}

TEST(KVCameraBrowserGroupImageDeathTest, MoreThanThreeIsAProgrammingError) {
    EXPECT_DEATH(KVCameraBrowser::newImageFromProviders(
                     {card(Qt::red), card(Qt::red), card(Qt::red), card(Qt::red)}),
                 "\\[providers count\\] <= kKVGroupThumbnailImagesCount.*"
                 "Sources/CameraBrowser/KVCameraBrowser\\.cpp, line [0-9]+");
}

} // namespace
