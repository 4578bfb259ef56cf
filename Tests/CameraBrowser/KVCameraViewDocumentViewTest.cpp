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
#include <functional>
#include <memory>
#include <vector>

namespace {

const QDateTime start(QDate(2021, 3, 27), QTime(9, 0), Qt::LocalTime);
constexpr QSize rowSize(800, 120);

class RecordingDelegate : public KVDocumentViewDelegate {
public:
    struct StateRequest {
        KVImageState state;
        std::size_t index;
    };
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
    std::vector<StateRequest> stateRequests;
    std::vector<std::pair<double, double>> scaleRequests;
    std::vector<double> scalesWithoutSlider;
};

class KVCameraViewDocumentViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        view.resize(rowSize);
        view.setDelegate(&delegate);
    }

    // Photos at those seconds after the start, fitted into the row.
    void insert(const std::vector<double> &offsets) {
        for (double offset : offsets) {
            photos.push_back(
                std::make_shared<KVTimelineTestPhoto>(start.addMSecs(qint64(offset * 1000))));
            view.insertImageWithProvider(photos.back(), photos.size() - 1);
        }
        view.sizeToFit();
        // Pictures are asked for once items exist for the photos in view.
        ASSERT_GT(view.liveImageViewCount(), 0u);
        ASSERT_TRUE(KVTest::waitFor([this] { return !view.hasPendingThumbnails(); }));
    }

    QPoint centerOf(int index) const {
        return view.widgetPointFromDocument(view.imageFrame(index).center()).toPoint();
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

    bool wheel(QWidget *target, const QPoint &point, const QPoint &angle,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWheelEvent event(point, target->mapToGlobal(point), QPoint(), angle, Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(target, &event);
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
    EXPECT_EQ(delegate.stateRequests[0].state, KVImageStateEtalon);
    EXPECT_EQ(delegate.stateRequests[0].index, 1u);
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
    wheel(&view, centerOf(1), QPoint(0, -120), Qt::ControlModifier);
    ASSERT_EQ(delegate.scaleRequests.size(), 1u);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().first, -1.0);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().second, view.imageFrame(1).x());

    delegate.zoomOnRequest = true;
    // In the scale band, where no thumbnail stands.
    const QPoint pointer(300, 10);
    for (Qt::KeyboardModifier modifier : {Qt::ControlModifier, Qt::MetaModifier}) {
        const double before =
            view.timeIntervalForX(view.documentPointFromWidget(pointer).x(), view.scale());
        const double scaleBefore = view.scale();
        EXPECT_TRUE(wheel(&view, pointer, QPoint(0, 120), modifier));
        EXPECT_DOUBLE_EQ(view.scale(), scaleBefore * 2);
        const double after =
            view.timeIntervalForX(view.documentPointFromWidget(pointer).x(), view.scale());
        EXPECT_NEAR(after, before, 1e-6);
        EXPECT_DOUBLE_EQ(delegate.scaleRequests.back().first, 1.0);
    }
}

class WheelRecorder : public QWidget {
public:
    int wheels = 0;

protected:
    void wheelEvent(QWheelEvent *event) override {
        ++wheels;
        event->accept();
    }
};

TEST_F(KVCameraViewDocumentViewTest, SidewaysWheelScrollsTheRowAndUpDownGoesToTheList) {
    // The list, the row's scroll view and the timeline, as in a camera row.
    WheelRecorder list;
    KVTimelineScrollView scrollView(&list);
    KVCameraViewDocumentView &row = *scrollView.documentView();
    row.resize(rowSize);
    row.setDelegate(&delegate);
    for (int index = 0; index < 2; ++index) {
        photos.push_back(std::make_shared<KVTimelineTestPhoto>(start.addSecs(index * 3600)));
        row.insertImageWithProvider(photos.back(), 0);
    }
    row.sizeToFit();
    row.setScale(row.scale() * 10, true, 0);
    ASSERT_GT(row.documentWidth(), 2 * rowSize.width());
    const auto spontaneousWheel = [&row](const QPoint &angle, Qt::KeyboardModifiers modifiers) {
        const QPoint point(400, 60);
        QWheelEvent event(point, row.mapToGlobal(point), QPoint(), angle, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        // Only wheel events from the device travel up to the parents; sendEvent would make it a
        // synthesized one again.
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(&row, &event);
    };

    spontaneousWheel(QPoint(-120, 10), Qt::NoModifier);
    EXPECT_GT(row.visibleOriginX(), 0);
    EXPECT_EQ(list.wheels, 0);
    const double origin = row.visibleOriginX();
    spontaneousWheel(QPoint(10, -120), Qt::NoModifier);
    EXPECT_EQ(row.visibleOriginX(), origin);
    EXPECT_EQ(list.wheels, 1);
    // With the zoom modifier but no vertical movement nothing happens, and nothing goes up.
    spontaneousWheel(QPoint(120, 0), Qt::ControlModifier);
    EXPECT_TRUE(delegate.scaleRequests.empty());
    EXPECT_EQ(row.visibleOriginX(), origin);
    EXPECT_EQ(list.wheels, 1);
}

TEST_F(KVCameraViewDocumentViewTest, PinchZoomsOnlyPastTheThresholdThenByHalfItsSteps) {
    insert({0, 60, 120});
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    // Registered with Qt until deleted.
    const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
    QPointingDevice *screen = device.get();
    QTest::touchEvent(&view, screen).press(0, QPoint(300, 30)).press(1, QPoint(400, 30));
    QTest::touchEvent(&view, screen).move(0, QPoint(297, 30)).move(1, QPoint(403, 30));
    QTest::touchEvent(&view, screen).move(0, QPoint(294, 30)).move(1, QPoint(404, 30));
    // 6 and then 4 more: together past 10 only with the second step.
    ASSERT_EQ(delegate.scaleRequests.size(), 1u);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests[0].first, 5.0);
    QTest::touchEvent(&view, screen).move(0, QPoint(293, 30)).move(1, QPoint(404, 30));
    ASSERT_EQ(delegate.scaleRequests.size(), 2u);
    EXPECT_DOUBLE_EQ(delegate.scaleRequests[1].first, 0.5);
    QTest::touchEvent(&view, screen).release(0, QPoint(293, 30)).release(1, QPoint(404, 30));
}

TEST_F(KVCameraViewDocumentViewTest, DoubleClickInTheScaleBandFillsTheRowWithTheSpan) {
    insert({0, 3600, 2 * 86400});
    ASSERT_EQ(view.currentCalendarUnit(), KVCalendarUnitDay);
    const double maxScale = view.maxScaleValue();
    // On 28 March 2021, the day Berlin's clocks go forward: 23 hours long.
    const QPoint inBand(400, 5);
    QTest::mouseDClick(&view, Qt::LeftButton, Qt::NoModifier, inBand);
    ASSERT_EQ(delegate.scalesWithoutSlider.size(), 1u);
    EXPECT_DOUBLE_EQ(view.scale(), rowSize.width() / (23 * 3600.0));
    EXPECT_DOUBLE_EQ(delegate.scalesWithoutSlider[0], view.scale());
    EXPECT_LT(view.scale(), maxScale);
    const QDateTime left = KVTimeScale::dateWithTimeIntervalSince1970(
        view.timeIntervalForX(view.visibleOriginX(), view.scale()));
    EXPECT_EQ(left, QDate(2021, 3, 28).startOfDay());
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
    timeline.resize(rowSize);
    timeline.setDelegate(&delegate);
    for (double offset : offsets) {
        photos.push_back(
            std::make_shared<KVTimelineTestPhoto>(start.addMSecs(qint64(offset * 1000))));
        timeline.insertImageWithProvider(photos.back(), 0);
    }
    timeline.sizeToFit();
    ASSERT_TRUE(KVTest::waitFor([&] { return !timeline.hasPendingThumbnails(); }));
    // Fitted: every photo in view, but only as many items as there are pixel columns.
    EXPECT_LE(timeline.liveImageViewCount(), std::size_t(rowSize.width()));

    timeline.setScale(timeline.maxScaleValue(), true, 0);
    ASSERT_GT(timeline.documentWidth(), 1e11);
    const int target = 3600;
    const QRectF frame = timeline.imageFrame(target);
    timeline.setVisibleOriginX(frame.x() - 200);
    EXPECT_DOUBLE_EQ(timeline.visibleOriginX(), frame.x() - 200);
    const QPoint point = timeline.widgetPointFromDocument(frame.center()).toPoint();
    EXPECT_EQ(timeline.imageHitTest(timeline.documentPointFromWidget(point)), target);
    QTest::mouseClick(&timeline, Qt::LeftButton, Qt::NoModifier, point);
    EXPECT_EQ(photos[target]->imageState(), KVImageStateSelected);
    EXPECT_LE(timeline.liveImageViewCount(), 3u);

    // The bar cannot count pixels this far; its position still says where the row is.
    const QScrollBar *bar = scrollView.horizontalScrollBar();
    EXPECT_LE(bar->maximum(), KVTimelineScrollView::maxScrollRange);
    const double perStep = (timeline.documentWidth() - timeline.width()) / bar->maximum();
    EXPECT_NEAR(bar->value() * perStep, timeline.visibleOriginX(), perStep);
    scrollView.horizontalScrollBar()->setValue(bar->maximum() / 2);
    EXPECT_NEAR(timeline.visibleOriginX(), timeline.documentWidth() / 2,
                timeline.documentWidth() * 1e-3);
    EXPECT_FALSE(timeline.grab().isNull());
}

// Rendering

bool near(QRgb pixel, const QColor &expected, int tolerance = 3) {
    return std::abs(qRed(pixel) - expected.red()) <= tolerance &&
           std::abs(qGreen(pixel) - expected.green()) <= tolerance &&
           std::abs(qBlue(pixel) - expected.blue()) <= tolerance;
}

// Whether a pixel of that colour lies in the row's columns [left, left + width).
bool rowHasColor(const QImage &image, int y, int left, int width, const QColor &color) {
    for (int x = left; x < left + width; ++x) {
        if (near(image.pixel(x, y), color))
            return true;
    }
    return false;
}

TEST_F(KVCameraViewDocumentViewTest, SelectedFrameIsBlueAndNormalOutlineGrey) {
    insert({0, 600, 1200});
    photos[1]->setImageState(KVImageStateSelected);
    const QImage image = view.grab().toImage();
    const QRect selected =
        KVFlippedRect(view.imageFrame(1).translated(-view.visibleOriginX(), 0), rowSize.height())
            .toRect();
    const QRect normal =
        KVFlippedRect(view.imageFrame(2).translated(-view.visibleOriginX(), 0), rowSize.height())
            .toRect();
    const int middle = selected.center().y();
    EXPECT_TRUE(rowHasColor(image, middle, selected.left(), 3, QColor(19, 142, 254)));
    EXPECT_FALSE(rowHasColor(image, middle, normal.left() - 1, 3, QColor(19, 142, 254)));
    EXPECT_TRUE(rowHasColor(image, middle, normal.left() - 1, 3, QColor(147, 152, 158)));
    // Inside the frame the picture itself.
    EXPECT_TRUE(near(image.pixel(normal.center()), QColor(200, 60, 40)));
}

TEST_F(KVCameraViewDocumentViewTest, TickLabelsAreCentredInTheirCells) {
    insert({0, 3600});
    ASSERT_EQ(view.currentCalendarUnit(), KVCalendarUnitTenMinutes);
    const QImage image = view.grab().toImage();
    const KVTimelineLayout::TickRow row =
        view.layout().ticksForXRange(view.visibleOriginX(), view.visibleOriginX() + 800);
    const int band = int(0.2 * rowSize.height());
    int checked = 0;
    for (const KVTimelineLayout::Tick &tick : row.ticks) {
        const double centre = tick.x - view.visibleOriginX() + row.cellWidth / 2;
        if (centre < 30 || centre > rowSize.width() - 30)
            continue;
        int dark = 0;
        for (int x = int(centre) - 25; x <= int(centre) + 25; ++x) {
            for (int y = 0; y < band; ++y)
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
    EXPECT_EQ(delegate.stateRequests.back().index, 1u);
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

TEST_F(KVCameraViewDocumentViewTest, ToolTipAreaIsTheProvisionalFrameAtEachThumbnail) {
    insert({0, 3600});
    photos[0]->setUrl(QUrl::fromLocalFile(QStringLiteral("/media/card/IMG_0001.JPG")));
    const QRectF frame = view.imageFrame(0);
    ASSERT_LT(frame.width(), 150);
    const QStringList lines = view.toolTipAt(frame.center()).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], QStringLiteral("Test Camera"));
    EXPECT_EQ(lines[1], QStringLiteral("/media/card/IMG_0001.JPG"));
    // Right of the picture but inside 150, yes; the lowest 8 points, no.
    EXPECT_FALSE(view.toolTipAt(QPointF(frame.x() + 140, frame.center().y())).isEmpty());
    EXPECT_TRUE(view.toolTipAt(QPointF(frame.center().x(), frame.y() + 4)).isEmpty());
}

class KeyRecorder : public KVObserver {
public:
    void observeValueForKeyPath(const QString &keyPath, KVObservable *) override {
        keys << keyPath;
    }
    QStringList keys;
};

TEST_F(KVCameraViewDocumentViewTest, RowHearsOfTheDateInViewAndTheUnit) {
    insert({0, 3600});
    KeyRecorder row;
    view.addObserver(&row, QStringLiteral("dateOfVisibleRect"));
    view.addObserver(&row, QStringLiteral("currentCalendarUnit"));
    view.setScale(view.scale() * 4, true, 400);
    EXPECT_TRUE(row.keys.contains(QStringLiteral("dateOfVisibleRect")));
    EXPECT_TRUE(row.keys.contains(QStringLiteral("currentCalendarUnit")));
    row.keys.clear();
    const QDateTime before = view.dateOfVisibleRect();
    view.setVisibleOriginX(view.visibleOriginX() + 100);
    EXPECT_EQ(row.keys, QStringList{QStringLiteral("dateOfVisibleRect")});
    // Dates are kept to the millisecond.
    EXPECT_NEAR(double(before.msecsTo(view.dateOfVisibleRect())), 100 / view.scale() * 1000, 1.0);
    view.removeObserver(&row);
}

TEST_F(KVCameraViewDocumentViewTest, WideningWhileFittedKeepsEverythingInView) {
    insert({0, 600, 3600});
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    view.resize(1200, rowSize.height());
    QCoreApplication::processEvents();
    EXPECT_DOUBLE_EQ(view.documentWidth(), 1200);
    EXPECT_DOUBLE_EQ(view.scale(), view.minScaleValue());
    EXPECT_NEAR(view.imageFrame(2).right(), 1200, 1e-9);
    EXPECT_DOUBLE_EQ(view.maxScaleValue(), 1200);
}

} // namespace
