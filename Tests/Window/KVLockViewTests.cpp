#include "KVLockView.h"

#include "KVTestSupport.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

// Stands for the camera list and the window: records every pointer event that reaches it and
// leaves it unhandled, so that it would travel on.
class KVEventRecorder : public QWidget {
public:
    using QWidget::QWidget;
    int received = 0;

protected:
    bool event(QEvent *event) override {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::Wheel:
            ++received;
            event->ignore();
            return false;
        default:
            return QWidget::event(event);
        }
    }
};

struct LockedWindow {
    KVEventRecorder window;
    KVEventRecorder *browser = new KVEventRecorder(&window);
    KVLockView *lock = new KVLockView(&window);

    LockedWindow() {
        window.resize(300, 200);
        browser->setGeometry(0, 0, 300, 200);
        lock->setGeometry(0, 0, 300, 200);
        lock->raise();
        window.show();
    }
};

TEST(KVLockView, ClicksNeverReachTheWidgetsUnderIt) {
    LockedWindow locked;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&locked.window));
    // Through the window, so that Qt's own routing picks the widget under the pointer.
    QTest::mouseClick(locked.window.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(60, 50));
    QTest::mouseDClick(locked.window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                       QPoint(60, 50));
    EXPECT_EQ(locked.browser->received, 0);
    EXPECT_EQ(locked.window.received, 0);

    // Without the veil the same click does arrive: the check above can fail.
    locked.lock->hide();
    QTest::mouseClick(locked.window.windowHandle(), Qt::LeftButton, Qt::NoModifier, QPoint(60, 50));
    EXPECT_GT(locked.browser->received, 0);
}

TEST(KVLockView, WheelTurnsNeverReachTheWidgetsUnderIt) {
    LockedWindow locked;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&locked.window));
    const QPoint position(150, 100);
    QWidget *target = locked.window.childAt(position);
    ASSERT_EQ(target, locked.lock);
    QWheelEvent wheel(position, locked.window.mapToGlobal(position), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(target, &wheel);
    EXPECT_TRUE(wheel.isAccepted());
    EXPECT_EQ(locked.browser->received, 0);
    EXPECT_EQ(locked.window.received, 0);
}

TEST(KVLockView, IndicatorSpinsOnlyWhileInAShownParent) {
    KVEventRecorder window;
    window.resize(200, 100);
    auto *lock = new KVLockView;
    EXPECT_FALSE(lock->isProgressAnimating());

    lock->setParent(&window);
    lock->setGeometry(0, 0, 200, 100);
    EXPECT_FALSE(lock->isProgressAnimating()); // in a window that is not on screen
    window.show();
    EXPECT_TRUE(lock->isProgressAnimating());
    const int firstStep = lock->progressStep();
    EXPECT_TRUE(KVTest::waitFor([&] { return lock->progressStep() != firstStep; }));

    lock->hide();
    EXPECT_FALSE(lock->isProgressAnimating());
    lock->show();
    EXPECT_TRUE(lock->isProgressAnimating());

    lock->setParent(nullptr);
    EXPECT_FALSE(lock->isProgressAnimating());
    delete lock;
}

} // namespace
