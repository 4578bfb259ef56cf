// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVLockView.h"

#include "KVTestSupport.h"

#include <QApplication>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

// Counts the pointer events that reach it and leaves them unhandled, so they would travel on.
class KVEventRecorder : public QWidget {
public:
    using QWidget::QWidget;
    int received = 0;

protected:
    bool event(QEvent *event) override {
        const QEvent::Type type = event->type();
        if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease &&
            type != QEvent::MouseButtonDblClick && type != QEvent::Wheel)
            return QWidget::event(event);
        ++received;
        event->ignore();
        return false;
    }
};

TEST(KVLockView, ClicksAndWheelTurnsNeverReachTheWidgetsUnderIt) {
    KVEventRecorder window;
    auto *browser = new KVEventRecorder(&window);
    auto *lock = new KVLockView(&window);
    window.resize(300, 200);
    for (QWidget *child : {static_cast<QWidget *>(browser), static_cast<QWidget *>(lock)})
        child->setGeometry(0, 0, 300, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    // Through the window, so that Qt's own routing picks the widget under the pointer.
    const QPoint point(60, 50);
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, point);
    QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, point);
    ASSERT_EQ(window.childAt(point), lock);
    QWheelEvent wheel(point, window.mapToGlobal(point), QPoint(), QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(lock, &wheel);
    EXPECT_TRUE(wheel.isAccepted());
    EXPECT_EQ(browser->received + window.received, 0);

    // Without the veil the same click does arrive: the check above can fail.
    lock->hide();
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, point);
    EXPECT_GT(browser->received, 0);
}

TEST(KVLockView, IndicatorSpinsOnlyWhileInAShownParent) {
    QWidget window;
    auto *lock = new KVLockView(&window);
    EXPECT_FALSE(lock->isProgressAnimating()); // in a window that is not on screen
    window.show();
    EXPECT_TRUE(lock->isProgressAnimating());
    const int firstStep = lock->progressStep();
    EXPECT_TRUE(KVTest::waitFor([&] { return lock->progressStep() != firstStep; }));
    lock->hide();
    EXPECT_FALSE(lock->isProgressAnimating());
    lock->show();
    lock->setParent(nullptr); // taken out of the window: stops too
    EXPECT_FALSE(lock->isProgressAnimating());
    delete lock;
}
