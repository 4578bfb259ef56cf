#include "KVScroller.h"

#include <QApplication>
#include <QImage>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace {

// Stands in for the camera list: counts the wheel turns it is handed.
class WheelRecorder : public QWidget {
public:
    int turns = 0;
    QPoint lastAngleDelta;

protected:
    void wheelEvent(QWheelEvent *event) override {
        ++turns;
        lastAngleDelta = event->angleDelta();
        event->accept();
    }
};

void turnWheel(QWidget &widget, QPoint angleDelta) {
    const QPointF position(100, 7);
    QWheelEvent event(position, widget.mapToGlobal(position), QPoint(), angleDelta, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

class KVScrollerTest : public ::testing::Test {
protected:
    void SetUp() override {
        scroller = new KVScroller(&timeline);
        scroller->setRange(0, 1000);
        scroller->setPageStep(100);
        scroller->setValue(500);
        scroller->resize(200, 15);
        scroller->setParentView(&list);
    }

    WheelRecorder list;
    WheelRecorder timeline;
    KVScroller *scroller = nullptr;
};

struct WheelCase {
    QPoint angleDelta;
    bool reachesList;
};

class KVScrollerWheel : public KVScrollerTest, public ::testing::WithParamInterface<WheelCase> {};

} // namespace

TEST_P(KVScrollerWheel, OnlyTurnsWithoutSidewaysMovementGoToTheList) {
    const WheelCase wheel = GetParam();
    turnWheel(*scroller, wheel.angleDelta);
    EXPECT_EQ(list.turns, wheel.reachesList ? 1 : 0);
    EXPECT_EQ(scroller->value() == 500, wheel.reachesList);
    EXPECT_EQ(timeline.turns, 0);
    if (wheel.reachesList) {
        EXPECT_EQ(list.lastAngleDelta, wheel.angleDelta);
    }
}

INSTANTIATE_TEST_SUITE_P(Turns, KVScrollerWheel,
                         ::testing::Values(WheelCase{QPoint(0, -120), true},
                                           WheelCase{QPoint(0, 120), true},
                                           WheelCase{QPoint(-120, 0), false},
                                           WheelCase{QPoint(120, -60), false}));

TEST_F(KVScrollerTest, WithoutAListAVerticalTurnGoesNowhere) {
    auto gone = std::make_unique<WheelRecorder>();
    scroller->setParentView(gone.get());
    gone.reset();
    turnWheel(*scroller, QPoint(0, -120));
    EXPECT_EQ(scroller->value(), 500);
    EXPECT_EQ(timeline.turns, 0);
}

TEST_F(KVScrollerTest, DrawsTheSlotBordersAndTheKnobWhereTheValueIs) {
    scroller->setValue(scroller->maximum());
    const QImage shot = scroller->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QRgb slot = KVScroller::slotColor().rgb();
    const QRgb border = KVScroller::borderColor().rgb();
    const int middle = shot.height() / 2;
    EXPECT_EQ(shot.pixel(20, 0), border);
    EXPECT_EQ(shot.pixel(20, shot.height() - 1), border);
    // No arrow buttons: the slot runs to both ends, the knob sits at the far one.
    EXPECT_EQ(shot.pixel(0, middle), slot);
    EXPECT_EQ(shot.pixel(20, middle), slot);
    EXPECT_NE(shot.pixel(shot.width() - 10, middle), slot);
}

// Ranges near the int limits must not wrap: a page as long as the range is half the bar, a page
// a third of the range a third of it.
TEST_F(KVScrollerTest, KnobLengthFollowsThePageEvenNearTheIntLimits) {
    const struct {
        int minimum;
        double knobShare;
    } cases[] = {{0, 0.5}, {INT_MIN, 1.0 / 3.0}};
    for (const auto &range : cases) {
        scroller->setRange(range.minimum, INT_MAX);
        scroller->setPageStep(INT_MAX);
        scroller->setValue(range.minimum);
        const QImage shot = scroller->grab().toImage().convertToFormat(QImage::Format_RGB32);
        const int y = shot.height() / 2, width = shot.width();
        const QRgb slot = KVScroller::slotColor().rgb();
        EXPECT_NE(shot.pixel(int(width * range.knobShare) - 6, y), slot) << range.minimum;
        EXPECT_EQ(shot.pixel(int(width * range.knobShare) + 6, y), slot) << range.minimum;
    }
}
