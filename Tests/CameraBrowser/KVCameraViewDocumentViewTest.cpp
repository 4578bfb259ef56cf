// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraViewDocumentView.h"

#include "KVDocumentViewDelegate.h"
#include "KVGeometry.h"
#include "KVTestSupport.h"
#include "KVTimelineScrollView.h"
#include "KVTimelineTestPhoto.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <qtestspontaneevent.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::UTC);
constexpr QSize rowSize(800, 120);

class RecordingDelegate : public KVDocumentViewDelegate {
public:
    bool wantsChangeStateTo(KVCameraViewDocumentView *, KVImageState state,
                            std::size_t index) override {
        stateRequests.push_back({state, index});
        return allow;
    }
    void requestToChangeScaleBy(KVCameraViewDocumentView *, double delta,
                                double anchorPoint) override {
        scaleRequests.push_back({delta, anchorPoint});
    }
    void didChangeScaleWithoutSlider(KVCameraViewDocumentView *, double scale) override {
        scalesWithoutSlider.push_back(scale);
    }
    void documentViewIsEmpty(KVCameraViewDocumentView *) override {}
    bool allow = true;
    std::vector<std::pair<KVImageState, std::size_t>> stateRequests;
    std::vector<std::pair<double, double>> scaleRequests;
    std::vector<double> scalesWithoutSlider;
};

// Counts the wheel turns that travel up to it.
struct WheelRecorder : QWidget {
    int wheels = 0;
    void wheelEvent(QWheelEvent *event) override { ++wheels, event->accept(); }
};

class KVCameraViewDocumentViewTest : public ::testing::Test {
protected:
    // Photos at those seconds after the start, fitted, their pictures loaded unless told not to.
    void insert(const std::vector<double> &offsets, KVCameraViewDocumentView *into = nullptr,
                bool wait = true) {
        KVCameraViewDocumentView &timeline = into ? *into : view;
        timeline.resize(rowSize);
        timeline.setDelegate(&delegate);
        for (double offset : offsets) {
            photos.push_back(
                std::make_shared<KVTimelineTestPhoto>(start.addMSecs(qint64(offset * 1000))));
            timeline.insertImageWithProvider(photos.back(), 0);
        }
        timeline.sizeToFit();
        // Pictures are asked for once items exist for the photos in view.
        ASSERT_GT(timeline.liveImageViewCount(), 0u);
        ASSERT_TRUE(!wait || KVTest::waitFor([&] { return !timeline.hasPendingThumbnails(); }));
    }
    QPoint centerOf(int index) const {
        return view.widgetPointFromDocument(view.imageFrame(index).center()).toPoint();
    }
    // A press of that type at that time, and its release.
    void press(QEvent::Type type, const QPoint &point, ulong timestamp) {
        for (const QEvent::Type each : {type, QEvent::MouseButtonRelease}) {
            QMouseEvent event(each, point, view.mapToGlobal(point), Qt::LeftButton,
                              each == type ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
            event.setTimestamp(timestamp + (each != type));
            QApplication::sendEvent(&view, &event);
        }
    }
    // Spontaneous, as from the device: only such wheel events travel up to the parents, and
    // sendEvent would make it a synthesized one again.
    static bool wheel(QWidget &target, const QPoint &point, const QPoint &angle,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWheelEvent event(point, target.mapToGlobal(point), QPoint(), angle, Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(&target, &event);
        return event.isAccepted();
    }
    RecordingDelegate delegate;
    KVCameraViewDocumentView view;
    std::vector<KVTimelineTestPhotoRef> photos;
};

TEST_F(KVCameraViewDocumentViewTest, DoubleClickAsksForTheReferenceAndGrowsTheFrame) {
    insert({0, 60, 120});
    const QRectF before = view.imageFrame(1);
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(delegate.stateRequests, (decltype(delegate.stateRequests){{KVImageStateEtalon, 1}}));
    EXPECT_EQ(photos[1]->imageState(), KVImageStateEtalon);
    EXPECT_EQ(view.imageFrame(1), before.adjusted(-2, -2, 2, 2));
    delegate.allow = false;
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(2));
    EXPECT_EQ(delegate.stateRequests.size(), 2u);
    EXPECT_EQ(photos[2]->imageState(), KVImageStateNormal);
    // The camera's own reference is cleared before the browser is asked.
    EXPECT_EQ(photos[1]->imageState(), KVImageStateNormal);
    EXPECT_EQ(view.imageFrame(1), before);
}

TEST_F(KVCameraViewDocumentViewTest, ThirdClickChangesNothingAndFourthActsAsADoubleClick) {
    insert({0, 60, 120});
    const QPoint point = centerOf(0);
    press(QEvent::MouseButtonPress, point, 1000);
    EXPECT_EQ(photos[0]->imageState(), KVImageStateSelected);
    press(QEvent::MouseButtonDblClick, point, 1010);
    EXPECT_EQ(photos[0]->imageState(), KVImageStateEtalon);
    const std::size_t asked = delegate.stateRequests.size();
    press(QEvent::MouseButtonPress, point, 1020);
    EXPECT_EQ(photos[0]->imageState(), KVImageStateEtalon);
    EXPECT_EQ(delegate.stateRequests.size(), asked);
    press(QEvent::MouseButtonDblClick, point, 1030);
    EXPECT_EQ(photos[0]->imageState(), KVImageStateNormal);
    press(QEvent::MouseButtonPress, point, 60000); // long after: a first click again
    EXPECT_EQ(photos[0]->imageState(), KVImageStateSelected);
}

TEST_F(KVCameraViewDocumentViewTest, CameraHoldingTheReferenceRefusesASelection) {
    insert({0, 60, 120});
    photos[0]->setImageState(KVImageStateEtalon);
    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(photos[1]->imageState(), KVImageStateNormal);
    // Without a reference, a selection replaces the camera's previous one, unasked.
    photos[0]->setImageState(KVImageStateSelected);
    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(photos[0]->imageState(), KVImageStateNormal);
    EXPECT_EQ(photos[1]->imageState(), KVImageStateSelected);
    EXPECT_TRUE(delegate.stateRequests.empty());
}

TEST_F(KVCameraViewDocumentViewTest, ZoomWheelAsksForAStepAboutTheAnchor) {
    insert({0, 600, 1200, 3600});
    // A notch moves the zoom by a fiftieth of the slider's travel, never by less than one; over a
    // thumbnail the anchor is its left edge.
    const double line = std::max(1.0, (view.maxScaleValue() - view.minScaleValue()) / 50);
    wheel(view, centerOf(1), QPoint(0, -120), Qt::ControlModifier);
    ASSERT_EQ(delegate.scaleRequests.size(), 1u);
    EXPECT_EQ(delegate.scaleRequests.back(), std::make_pair(-line, view.imageFrame(1).x()));
    // In the scale band, where no thumbnail stands, the anchor is under the pointer.
    const QPoint pointer(300, 10);
    for (Qt::KeyboardModifier modifier : {Qt::ControlModifier, Qt::MetaModifier}) {
        EXPECT_TRUE(wheel(view, pointer, QPoint(0, 120), modifier));
        EXPECT_EQ(delegate.scaleRequests.back(),
                  std::make_pair(line, view.documentPointFromWidget(pointer).x()));
    }
}

TEST_F(KVCameraViewDocumentViewTest, SidewaysWheelScrollsTheRowAndUpDownGoesToTheList) {
    WheelRecorder list;
    KVTimelineScrollView scrollView(&list);
    KVCameraViewDocumentView &row = *scrollView.documentView();
    insert({0, 3600}, &row);
    row.setScale(row.scale() * 10, true, 0);
    const QPoint point(400, 60);
    wheel(row, point, QPoint(-120, 10));
    const double origin = row.visibleOriginX();
    EXPECT_GT(origin, 0);
    EXPECT_EQ(list.wheels, 0);
    wheel(row, point, QPoint(10, -120));
    EXPECT_EQ(list.wheels, 1);
    // With the zoom modifier but no vertical movement nothing happens, and nothing goes up.
    wheel(row, point, QPoint(120, 0), Qt::ControlModifier);
    EXPECT_TRUE(delegate.scaleRequests.empty());
    EXPECT_EQ(row.visibleOriginX(), origin);
    EXPECT_EQ(list.wheels, 1);
}

TEST_F(KVCameraViewDocumentViewTest, DoubleClickInTheScaleBandFillsTheRowWithTheSpan) {
    insert({0, 3600, 2 * 86400});
    ASSERT_EQ(view.currentCalendarUnit(), KVCalendarUnitDay);
    // On 28 March 2021, the day Berlin's clocks went forward: a camera's day of 24 hours.
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(400, 5));
    EXPECT_DOUBLE_EQ(view.scale(), rowSize.width() / (24 * 3600.0));
    EXPECT_EQ(delegate.scalesWithoutSlider, std::vector<double>{view.scale()});
    EXPECT_EQ(KVTimeScale::dateWithTimeIntervalSince1970(
                  view.timeIntervalForX(view.visibleOriginX(), view.scale())),
              QDate(2021, 3, 28).startOfDay(Qt::UTC));
    // Below the band a double click on the strip does nothing.
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(400, 30));
    EXPECT_EQ(delegate.scalesWithoutSlider.size(), 1u);
}

TEST_F(KVCameraViewDocumentViewTest, TenYearsAtTheLargestScaleStayExactAndFew) {
    std::vector<double> offsets;
    for (int day = 0; day <= 3652; ++day)
        offsets.push_back(day * 86400.0 + (day % 7) * 3600);
    KVTimelineScrollView scrollView;
    scrollView.resize(rowSize.width(), rowSize.height() + 16);
    KVCameraViewDocumentView &timeline = *scrollView.documentView();
    insert(offsets, &timeline);
    timeline.setScale(timeline.maxScaleValue(), true, 0);
    const QRectF frame = timeline.imageFrame(3600);
    timeline.setVisibleOriginX(frame.x() - 200);
    QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier,
                      timeline.widgetPointFromDocument(frame.center()).toPoint());
    EXPECT_EQ(photos[3600]->imageState(), KVImageStateSelected);
    EXPECT_LE(timeline.liveImageViewCount(), 3u);
    // The bar cannot count pixels this far; its position still says where the row is.
    QScrollBar *bar = scrollView.horizontalScrollBar();
    EXPECT_LE(bar->maximum(), KVTimelineScrollView::maxScrollRange);
    bar->setValue(bar->maximum() / 2);
    EXPECT_NEAR(timeline.visibleOriginX(), timeline.documentWidth() / 2,
                timeline.documentWidth() * 1e-3);
}

TEST_F(KVCameraViewDocumentViewTest, SelectedFrameIsBlueNormalOutlineGreyTickLabelsCentred) {
    insert({0, 600, 1200});
    photos[1]->setImageState(KVImageStateSelected);
    const QImage image = view.grab().toImage();
    const auto near = [](QRgb pixel, const QColor &expected) {
        return std::abs(qRed(pixel) - expected.red()) <= 3 &&
               std::abs(qGreen(pixel) - expected.green()) <= 3 &&
               std::abs(qBlue(pixel) - expected.blue()) <= 3;
    };
    // Whether a pixel of that colour lies in three columns from the left edge of a frame.
    const auto leftEdgeHas = [&](int index, int outside, const QColor &color) {
        const QRect frame = KVFlippedRect(view.imageFrame(index), rowSize.height()).toRect();
        for (int x = frame.left() - outside; x < frame.left() - outside + 3; ++x)
            if (near(image.pixel(x, frame.center().y()), color))
                return true;
        return false;
    };
    EXPECT_TRUE(leftEdgeHas(1, 0, QColor(19, 142, 254)));
    EXPECT_FALSE(leftEdgeHas(2, 1, QColor(19, 142, 254)));
    EXPECT_TRUE(leftEdgeHas(2, 1, QColor(147, 152, 158)));
    const QPointF picture = KVFlippedRect(view.imageFrame(2), rowSize.height()).center();
    EXPECT_TRUE(near(image.pixel(picture.toPoint()), QColor(200, 60, 40)));
    // A tick label shows dark text around the middle of its cell in the scale band.
    ASSERT_EQ(view.currentCalendarUnit(), KVCalendarUnitTenMinutes);
    const KVTimelineLayout::TickRow row = view.layout().ticksForXRange(0, 800);
    ASSERT_GE(row.ticks.size(), 2u);
    const int centre = int(row.ticks[1].x + row.cellWidth / 2);
    int dark = 0;
    for (int x = centre - 25; x <= centre + 25; ++x)
        for (int y = 0; y < int(0.2 * rowSize.height()); ++y)
            dark += qRed(image.pixel(x, y)) < 160;
    EXPECT_GT(dark, 5);
}

// Hundreds of thumbnails overlapping at the coarsest zoom: wherever no later thumbnail covers
// it, each shows exactly the pixels it paints alone, its outline and a grown frame included.
TEST_F(KVCameraViewDocumentViewTest, OverlappingThumbnailsShowTheirOwnPixelsWhereUncovered) {
    std::vector<double> offsets;
    double seconds = 0;
    for (int i = 0; i < 300; ++i)
        offsets.push_back(seconds += 1.0 + (i * 37 % 60) + (i % 7) * 0.3);
    insert(offsets);
    photos[150]->setImageState(KVImageStateSelected);
    view.setPaintCacheEnabled(false);
    const QImage timeline = view.grab().toImage().convertToFormat(QImage::Format_RGB32);

    const auto placeOf = [&](int index) {
        const QRectF frame = view.liveImageView(index)->frame();
        return QRectF(view.widgetPointFromDocument(frame.topLeft()),
                      view.widgetPointFromDocument(frame.bottomRight()))
            .normalized();
    };
    std::vector<int> live;
    for (int index = 0; index < view.imageCount(); ++index)
        if (view.liveImageView(index))
            live.push_back(index);
    ASSERT_GT(live.size(), 50u);
    int compared = 0, wrong = 0, covered = 0;
    for (std::size_t i = 0; i < live.size(); ++i) {
        const QRectF place = placeOf(live[i]);
        QImage alone(view.size(), QImage::Format_ARGB32_Premultiplied);
        alone.fill(Qt::transparent);
        {
            QPainter painter(&alone);
            painter.translate(place.topLeft());
            view.liveImageView(live[i])->draw(painter);
        }
        for (int x = int(std::ceil(place.left())) + 1; x < int(place.right()) - 1; ++x) {
            // Two pixels clear of every later thumbnail's edges.
            const bool free = std::none_of(live.begin() + i + 1, live.end(), [&](int later) {
                const QRectF other = placeOf(later);
                return x + 0.5 >= other.left() - 2 && x + 0.5 <= other.right() + 2;
            });
            if (!free) {
                ++covered;
                continue;
            }
            for (int y = int(std::ceil(place.top())) + 1; y < int(place.bottom()) - 1; ++y) {
                ++compared;
                wrong += timeline.pixel(x, y) != alone.pixel(x, y);
            }
        }
    }
    EXPECT_GT(covered, 1000);
    EXPECT_GT(compared, 5000);
    EXPECT_EQ(wrong, 0) << "of " << compared;
}

TEST_F(KVCameraViewDocumentViewTest, RemovedPhotosLeaveNoItemsAndNoStaleIndexes) {
    insert({0, 60, 120, 180});
    view.removeImageAtIndex(1);
    ASSERT_EQ(view.imageCount(), 3);
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(delegate.stateRequests, (decltype(delegate.stateRequests){{KVImageStateEtalon, 1}}));
    EXPECT_EQ(photos[2]->imageState(), KVImageStateEtalon);
    // A removed photo's notices no longer reach the view.
    photos[1]->setImageState(KVImageStateSelected);
    view.removeAllImages(false);
    EXPECT_EQ(view.liveImageViewCount(), 0u);
    photos[2]->setImageState(KVImageStateNormal);
    EXPECT_FALSE(view.grab().isNull());
}

TEST_F(KVCameraViewDocumentViewTest, PicturesArrivingAfterAZoomLeaveThePhotosAtTheirDates) {
    std::vector<double> offsets;
    for (int index = 0; index < 20; ++index)
        offsets.push_back(index * 60);
    insert(offsets, nullptr, false);
    view.setScale(view.scale() * 3, true, 200); // before any picture arrives
    ASSERT_TRUE(KVTest::waitFor([this] { return !view.hasPendingThumbnails(); }));
    const double first = KVTimeScale::timeIntervalSince1970(start);
    for (int index = 0; index < 20; ++index)
        EXPECT_DOUBLE_EQ(view.imageFrame(index).x(),
                         view.offsetXForTimeInterval(first + offsets[index], view.scale()));
}

} // namespace
