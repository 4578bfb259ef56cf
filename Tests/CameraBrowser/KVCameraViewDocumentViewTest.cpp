#include "KVCameraViewDocumentView.h"

#include "KVDocumentViewDelegate.h"
#include "KVGeometry.h"
#include "KVTestSupport.h"
#include "KVTimelineScrollView.h"
#include "KVTimelineTestPhoto.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <qtestspontaneevent.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::LocalTime);
constexpr QSize rowSize(800, 120);

class RecordingDelegate : public KVDocumentViewDelegate {
public:
    bool wantsChangeStateTo(KVCameraViewDocumentView *, KVImageState state,
                            std::size_t index) override {
        stateRequests.push_back({state, index});
        return allow;
    }
    void requestToChangeScaleBy(KVCameraViewDocumentView *view, double delta,
                                double anchorPoint) override {
        scaleRequests.push_back({delta, anchorPoint});
        if (zoomOnRequest)
            view->setScale(view->scale() * 2, true, anchorPoint);
    }
    void didChangeScaleWithoutSlider(KVCameraViewDocumentView *, double scale) override {
        scalesWithoutSlider.push_back(scale);
    }
    void documentViewIsEmpty(KVCameraViewDocumentView *) override {}
    bool allow = true;
    bool zoomOnRequest = false;
    std::vector<std::pair<KVImageState, std::size_t>> stateRequests;
    std::vector<std::pair<double, double>> scaleRequests;
    std::vector<double> scalesWithoutSlider;
};

// Counts the wheel turns that travel up to it.
class WheelRecorder : public QWidget {
public:
    int wheels = 0;
    void wheelEvent(QWheelEvent *event) override {
        ++wheels;
        event->accept();
    }
};

class KVCameraViewDocumentViewTest : public ::testing::Test {
protected:
    void SetUp() override { setUp(view); }
    void setUp(KVCameraViewDocumentView &timeline) {
        timeline.resize(rowSize);
        timeline.setDelegate(&delegate);
    }
    // Photos at those seconds after the start, fitted into the row.
    void insert(const std::vector<double> &offsets, KVCameraViewDocumentView *into = nullptr) {
        KVCameraViewDocumentView &timeline = into ? *into : view;
        for (double offset : offsets) {
            photos.push_back(
                std::make_shared<KVTimelineTestPhoto>(start.addMSecs(qint64(offset * 1000))));
            timeline.insertImageWithProvider(photos.back(), 0);
        }
        timeline.sizeToFit();
        // Pictures are asked for once items exist for the photos in view.
        ASSERT_GT(timeline.liveImageViewCount(), 0u);
        ASSERT_TRUE(KVTest::waitFor([&] { return !timeline.hasPendingThumbnails(); }));
    }
    QPoint centerOf(int index) const {
        return view.widgetPointFromDocument(view.imageFrame(index).center()).toPoint();
    }
    QRect widgetFrame(int index) const {
        const QRectF frame = view.imageFrame(index).translated(-view.visibleOriginX(), 0);
        return KVFlippedRect(frame, rowSize.height()).toRect();
    }
    void press(QEvent::Type type, const QPoint &point, ulong timestamp) {
        QMouseEvent event(type, point, view.mapToGlobal(point), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        event.setTimestamp(timestamp);
        QApplication::sendEvent(&view, &event);
        QMouseEvent release(QEvent::MouseButtonRelease, point, view.mapToGlobal(point),
                            Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        release.setTimestamp(timestamp + 1);
        QApplication::sendEvent(&view, &release);
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
    ASSERT_EQ(delegate.stateRequests.size(), 1u);
    EXPECT_EQ(delegate.stateRequests[0].first, KVImageStateEtalon);
    EXPECT_EQ(delegate.stateRequests[0].second, 1u);
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
    // Long after: a first click again.
    press(QEvent::MouseButtonPress, point, 60000);
    EXPECT_EQ(photos[0]->imageState(), KVImageStateSelected);
}

TEST_F(KVCameraViewDocumentViewTest, CameraHoldingTheReferenceRefusesASelection) {
    insert({0, 60, 120});
    photos[0]->setImageState(KVImageStateEtalon);
    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(photos[1]->imageState(), KVImageStateNormal);
    EXPECT_TRUE(delegate.stateRequests.empty());
    // A new reference on the same camera clears the old one first.
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(2));
    EXPECT_EQ(photos[0]->imageState(), KVImageStateNormal);
    EXPECT_EQ(photos[2]->imageState(), KVImageStateEtalon);
    // Without a reference, a selection replaces the camera's previous one, unasked.
    photos[2]->setImageState(KVImageStateNormal);
    photos[0]->setImageState(KVImageStateSelected);
    delegate.stateRequests.clear();
    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    EXPECT_EQ(photos[0]->imageState(), KVImageStateNormal);
    EXPECT_EQ(photos[1]->imageState(), KVImageStateSelected);
    EXPECT_TRUE(delegate.stateRequests.empty());
}

TEST_F(KVCameraViewDocumentViewTest, ZoomWheelKeepsTheInstantUnderThePointer) {
    insert({0, 600, 1200, 3600});
    // Over a thumbnail the anchor is its left edge.
    // A notch moves the zoom by a fiftieth of the slider's travel, and never by less than one.
    const double line = std::max(1.0, (view.maxScaleValue() - view.minScaleValue()) / 50.0);
    wheel(view, centerOf(1), QPoint(0, -120), Qt::ControlModifier);
    ASSERT_EQ(delegate.scaleRequests.size(), 1u);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().first, -line);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().second, view.imageFrame(1).x());
    delegate.zoomOnRequest = true;
    // In the scale band, where no thumbnail stands.
    const QPoint pointer(300, 10);
    for (Qt::KeyboardModifier modifier : {Qt::ControlModifier, Qt::MetaModifier}) {
        const double before =
            view.timeIntervalForX(view.documentPointFromWidget(pointer).x(), view.scale());
        const double scaleBefore = view.scale();
        const double line = std::max(1.0, (view.maxScaleValue() - view.minScaleValue()) / 50.0);
        EXPECT_TRUE(wheel(view, pointer, QPoint(0, 120), modifier));
        EXPECT_DOUBLE_EQ(view.scale(), scaleBefore * 2);
        const double after =
            view.timeIntervalForX(view.documentPointFromWidget(pointer).x(), view.scale());
        EXPECT_NEAR(after, before, 1e-6);
        EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().first, line);
    }
}

TEST_F(KVCameraViewDocumentViewTest, SidewaysWheelScrollsTheRowAndUpDownGoesToTheList) {
    // The list, the row's scroll view and the timeline, as in a camera row.
    WheelRecorder list;
    KVTimelineScrollView scrollView(&list);
    KVCameraViewDocumentView &row = *scrollView.documentView();
    setUp(row);
    insert({0, 3600}, &row);
    row.setScale(row.scale() * 10, true, 0);
    ASSERT_GT(row.documentWidth(), 2 * rowSize.width());
    const QPoint point(400, 60);
    wheel(row, point, QPoint(-120, 10));
    EXPECT_GT(row.visibleOriginX(), 0);
    EXPECT_EQ(list.wheels, 0);
    const double origin = row.visibleOriginX();
    wheel(row, point, QPoint(10, -120));
    EXPECT_EQ(row.visibleOriginX(), origin);
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
    // On 28 March 2021, the day Berlin's clocks go forward: 23 hours long.
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(400, 5));
    EXPECT_DOUBLE_EQ(view.scale(), rowSize.width() / (23 * 3600.0));
    ASSERT_EQ(delegate.scalesWithoutSlider.size(), 1u);
    EXPECT_DOUBLE_EQ(delegate.scalesWithoutSlider[0], view.scale());
    EXPECT_EQ(KVTimeScale::dateWithTimeIntervalSince1970(
                  view.timeIntervalForX(view.visibleOriginX(), view.scale())),
              QDate(2021, 3, 28).startOfDay());
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
    setUp(timeline);
    insert(offsets, &timeline);
    // Fitted: every photo in view, but only as many items as there are pixel columns.
    EXPECT_LE(timeline.liveImageViewCount(), std::size_t(rowSize.width()));
    timeline.setScale(timeline.maxScaleValue(), true, 0);
    ASSERT_GT(timeline.documentWidth(), 1e11);
    const QRectF frame = timeline.imageFrame(3600);
    timeline.setVisibleOriginX(frame.x() - 200);
    QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier,
                      timeline.widgetPointFromDocument(frame.center()).toPoint());
    EXPECT_EQ(photos[3600]->imageState(), KVImageStateSelected);
    EXPECT_LE(timeline.liveImageViewCount(), 3u);
    // The bar cannot count pixels this far; its position still says where the row is.
    QScrollBar *bar = scrollView.horizontalScrollBar();
    EXPECT_LE(bar->maximum(), KVTimelineScrollView::maxScrollRange);
    const double perStep = (timeline.documentWidth() - timeline.width()) / bar->maximum();
    EXPECT_NEAR(bar->value() * perStep, timeline.visibleOriginX(), perStep);
    bar->setValue(bar->maximum() / 2);
    EXPECT_NEAR(timeline.visibleOriginX(), timeline.documentWidth() / 2,
                timeline.documentWidth() * 1e-3);
}

bool near(QRgb pixel, const QColor &expected) {
    return std::abs(qRed(pixel) - expected.red()) <= 3 &&
           std::abs(qGreen(pixel) - expected.green()) <= 3 &&
           std::abs(qBlue(pixel) - expected.blue()) <= 3;
}

TEST_F(KVCameraViewDocumentViewTest, SelectedFrameIsBlueNormalOutlineGreyTickLabelsCentred) {
    insert({0, 600, 1200});
    photos[1]->setImageState(KVImageStateSelected);
    QImage image = view.grab().toImage();
    // Whether a pixel of that colour lies in three columns from the left edge of a frame.
    const auto leftEdgeHas = [&](int index, int outside, const QColor &color) {
        const QRect frame = widgetFrame(index);
        for (int x = frame.left() - outside; x < frame.left() - outside + 3; ++x) {
            if (near(image.pixel(x, frame.center().y()), color))
                return true;
        }
        return false;
    };
    EXPECT_TRUE(leftEdgeHas(1, 0, QColor(19, 142, 254)));
    EXPECT_FALSE(leftEdgeHas(2, 1, QColor(19, 142, 254)));
    EXPECT_TRUE(leftEdgeHas(2, 1, QColor(147, 152, 158)));
    // Inside the frame the picture itself.
    EXPECT_TRUE(near(image.pixel(widgetFrame(2).center()), QColor(200, 60, 40)));
    // Every tick label shows dark text around the middle of its cell in the scale band.
    ASSERT_EQ(view.currentCalendarUnit(), KVCalendarUnitTenMinutes);
    const KVTimelineLayout::TickRow row =
        view.layout().ticksForXRange(view.visibleOriginX(), view.visibleOriginX() + 800);
    int checked = 0;
    for (const KVTimelineLayout::Tick &tick : row.ticks) {
        const double centre = tick.x - view.visibleOriginX() + row.cellWidth / 2;
        if (centre < 30 || centre > rowSize.width() - 30)
            continue;
        int dark = 0;
        for (int x = int(centre) - 25; x <= int(centre) + 25; ++x) {
            for (int y = 0; y < int(0.2 * rowSize.height()); ++y)
                dark += qRed(image.pixel(x, y)) < 160;
        }
        EXPECT_GT(dark, 5) << tick.label.toStdString();
        ++checked;
    }
    EXPECT_GT(checked, 0);
}

TEST_F(KVCameraViewDocumentViewTest, RemovedPhotosLeaveNoItemsAndNoStaleIndexes) {
    insert({0, 60, 120, 180});
    view.removeImageAtIndex(1);
    ASSERT_EQ(view.imageCount(), 3);
    EXPECT_EQ(view.indexOfImage(photos[2].get()), 1);
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, centerOf(1));
    ASSERT_FALSE(delegate.stateRequests.empty());
    EXPECT_EQ(delegate.stateRequests.back().second, 1u);
    EXPECT_EQ(photos[2]->imageState(), KVImageStateEtalon);
    // A removed photo's notices no longer reach the view.
    photos[1]->setImageState(KVImageStateSelected);
    view.removeAllImages(false);
    EXPECT_EQ(view.liveImageViewCount(), 0u);
    photos[2]->setImageState(KVImageStateNormal);
    view.sizeToFit();
    EXPECT_FALSE(view.grab().isNull());
}

TEST_F(KVCameraViewDocumentViewTest, PicturesArrivingAfterAZoomLeaveThePhotosAtTheirDates) {
    for (int index = 0; index < 20; ++index) {
        photos.push_back(std::make_shared<KVTimelineTestPhoto>(start.addSecs(index * 60)));
        view.insertImageWithProvider(photos.back(), 0);
    }
    view.sizeToFit();
    // Items are made and their pictures asked for; the zoom comes before any of them.
    ASSERT_GT(view.liveImageViewCount(), 0u);
    view.setScale(view.scale() * 3, true, 200);
    ASSERT_TRUE(KVTest::waitFor([this] { return !view.hasPendingThumbnails(); }));
    for (int index = 0; index < 20; ++index) {
        const double date = KVTimeScale::timeIntervalSince1970(photos[index]->creationDate());
        EXPECT_DOUBLE_EQ(view.imageFrame(index).x(),
                         view.offsetXForTimeInterval(date, view.scale()))
            << index;
    }
}

TEST_F(KVCameraViewDocumentViewTest, UnusableScalesAndOffsetsChangeNothing) {
    insert({0, 60});
    const double scale = view.scale();
    const QRectF frame = view.imageFrame(1);
    for (double bad : {std::nan(""), 0.0, -1.0, HUGE_VAL}) {
        view.setScale(bad);
        view.setScale(bad, true, 100);
        view.setScale(scale, true, bad);
        view.setVisibleOriginX(bad * 1e300);
    }
    EXPECT_EQ(view.scale(), scale);
    EXPECT_EQ(view.imageFrame(1), frame);
    EXPECT_EQ(view.visibleOriginX(), 0);
    EXPECT_EQ(view.imageHitTest(frame.center()), 1);
    // A timeline without photos draws and answers without a first date.
    KVCameraViewDocumentView empty;
    empty.resize(rowSize);
    empty.sizeToFit();
    EXPECT_FALSE(empty.grab().isNull());
    EXPECT_FALSE(empty.imageHitTest(QPointF(10, 40)));
    QTest::mouseDClick(&empty, Qt::LeftButton, Qt::NoModifier, QPoint(10, 5));
}

} // namespace
