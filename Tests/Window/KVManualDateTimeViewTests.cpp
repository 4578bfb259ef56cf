// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeView.h"

#include "KVManualDateTimeViewController.h"
#include "KVTestSupport.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QTimeEdit>

#include <gtest/gtest.h>

#include <thread>

namespace {
// The base date is a wall-clock date, held in UTC like every capture date.
QDateTime wall(const QDate &date, const QTime &time) {
    return QDateTime(date, time, Qt::UTC);
}
} // namespace

TEST(KVManualDateTimeView, PickersAndModelFollowEachOther) {
    KVManualDateTimeViewController controller;
    // Both pickers start on another day, so a day taken from the wrong picker shows.
    controller.setFullDate(wall(QDate(2001, 12, 31), QTime(23, 59, 58)));
    KVManualDateTimeView view(controller);
    view.dateControl()->setDate(QDate(2014, 3, 5));
    view.timeControl()->setTime(QTime(7, 8, 9));
    EXPECT_EQ(controller.fullDate(), wall(QDate(2014, 3, 5), QTime(7, 8, 9)));
    view.manualModeCheckBox()->click();
    EXPECT_TRUE(controller.isEtalonDateSet());

    // The model drops milliseconds; a change made off the main thread still reaches the pickers.
    controller.setFullDate(wall(QDate(2011, 7, 1), QTime(13, 14, 15, 900)));
    EXPECT_EQ(controller.fullDate(), wall(QDate(2011, 7, 1), QTime(13, 14, 15)));
    std::thread([&] {
        controller.setFullDate(wall(QDate(2020, 2, 29), QTime(6, 0, 1)));
        controller.setIsEtalonDateSet(false);
    }).join();
    EXPECT_TRUE(KVTest::waitFor([&] {
        return view.dateControl()->date() == QDate(2020, 2, 29) &&
               view.timeControl()->time() == QTime(6, 0, 1) &&
               !view.manualModeCheckBox()->isChecked();
    }));
}

TEST(KVManualDateTimeView, ShowBelowAsksTheDelegateFirstAndStaysOnScreen) {
    KVManualDateTimeViewController controller;
    KVManualDateTimeView view(controller);
    QWidget window;
    auto *button = new QWidget(&window);
    window.resize(700, 100);
    button->setGeometry(500, 20, 40, 30);
    window.show();
    bool wasVisibleWhenAsked = true;
    view.setWillShowHandler([&] {
        wasVisibleWhenAsked = view.isVisible();
        controller.setFullDate(wall(QDate(2015, 6, 7), QTime(8, 9, 10)));
    });
    view.showBelow(button);
    EXPECT_TRUE(!wasVisibleWhenAsked && view.isVisible());
    EXPECT_EQ(view.dateControl()->date(), QDate(2015, 6, 7));
    EXPECT_EQ(view.pos().y(), button->mapToGlobal(QPoint(0, button->height())).y());

    // The arrow's tip is at the button's middle, on the popup's edge next to the button.
    EXPECT_TRUE(view.arrowPointsUp());
    EXPECT_EQ(view.mapToGlobal(view.arrowTip()).x(),
              button->mapToGlobal(button->rect().center()).x());
    EXPECT_EQ(view.arrowTip().y(), 0);
    // Clear of whatever lies right of the button (the display and its date).
    EXPECT_LE(view.geometry().right(), button->mapToGlobal(QPoint(button->width(), 0)).x() + 14);

    // Below, reaching out to the left, pushed in from either edge, above when there is no room
    // below.
    const std::pair<QRect, QPoint> cases[] = {{QRect(300, 50, 40, 30), QPoint(154, 80)},
                                              {QRect(760, 50, 40, 30), QPoint(600, 80)},
                                              {QRect(0, 50, 40, 30), QPoint(0, 80)},
                                              {QRect(300, 550, 40, 30), QPoint(154, 450)}};
    for (const auto &[anchor, expected] : cases) {
        SCOPED_TRACE(anchor.x() * 1000 + anchor.y());
        EXPECT_EQ(
            KVManualDateTimeView::popupPosition(anchor, QSize(200, 100), QRect(0, 0, 800, 600)),
            expected);
    }
}
