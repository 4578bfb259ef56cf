#include "KVManualDateTimeView.h"

#include "KVManualDateTimeViewController.h"
#include "KVTestSupport.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QTimeEdit>

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

TEST(KVManualDateTimeView, PickersMakeTheFullDate) {
    KVManualDateTimeViewController controller;
    // Both pickers start on another day, so a day taken from the wrong picker shows.
    controller.setFullDate(QDateTime(QDate(2001, 12, 31), QTime(23, 59, 58)));
    KVManualDateTimeView view(controller);

    view.dateControl()->setDate(QDate(2014, 3, 5));
    view.timeControl()->setTime(QTime(7, 8, 9));
    EXPECT_EQ(controller.fullDate(), QDateTime(QDate(2014, 3, 5), QTime(7, 8, 9)));

    view.manualModeCheckBox()->click();
    EXPECT_TRUE(controller.isEtalonDateSet());
}

TEST(KVManualDateTimeView, ModelChangesMoveThePickers) {
    KVManualDateTimeViewController controller;
    KVManualDateTimeView view(controller);

    controller.setFullDate(QDateTime(QDate(2011, 7, 1), QTime(13, 14, 15, 900)));
    EXPECT_EQ(view.dateControl()->date(), QDate(2011, 7, 1));
    EXPECT_EQ(view.timeControl()->time().toString(QStringLiteral("HH:mm:ss")),
              QStringLiteral("13:14:15"));
    EXPECT_EQ(controller.fullDate(), QDateTime(QDate(2011, 7, 1), QTime(13, 14, 15)));
    controller.setIsEtalonDateSet(true);
    EXPECT_TRUE(view.manualModeCheckBox()->isChecked());

    // A change made off the main thread reaches the pickers through the main thread.
    std::thread worker([&] {
        controller.setFullDate(QDateTime(QDate(2020, 2, 29), QTime(6, 0, 1)));
        controller.setIsEtalonDateSet(false);
    });
    worker.join();
    EXPECT_TRUE(KVTest::waitFor([&] {
        return view.dateControl()->date() == QDate(2020, 2, 29) &&
               view.timeControl()->time() == QTime(6, 0, 1) &&
               !view.manualModeCheckBox()->isChecked();
    }));
}

TEST(KVManualDateTimeView, ShowBelowAsksTheDelegateFirst) {
    KVManualDateTimeViewController controller;
    KVManualDateTimeView view(controller);
    QWidget window;
    window.resize(300, 200);
    auto *button = new QWidget(&window);
    button->setGeometry(100, 20, 40, 30);
    window.show();
    bool wasVisibleWhenAsked = true;
    view.setWillShowHandler([&] {
        wasVisibleWhenAsked = view.isVisible();
        controller.setFullDate(QDateTime(QDate(2015, 6, 7), QTime(8, 9, 10)));
    });
    view.showBelow(button);
    EXPECT_FALSE(wasVisibleWhenAsked);
    EXPECT_TRUE(view.isVisible());
    EXPECT_EQ(view.dateControl()->date(), QDate(2015, 6, 7));
    EXPECT_EQ(view.pos().y(), button->mapToGlobal(QPoint(0, button->height())).y());
}

struct PositionCase {
    std::string name;
    QRect button;
    QPoint expected;
};

TEST(KVManualDateTimeView, PopupStaysOnScreen) {
    const QRect screen(0, 0, 800, 600);
    const QSize popup(200, 100);
    const PositionCase cases[] = {
        {"centred below", QRect(300, 50, 40, 30), QPoint(220, 80)},
        {"pushed in from the right edge", QRect(760, 50, 40, 30), QPoint(600, 80)},
        {"pushed in from the left edge", QRect(0, 50, 40, 30), QPoint(0, 80)},
        {"above when there is no room below", QRect(300, 550, 40, 30), QPoint(220, 450)},
    };
    for (const PositionCase &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(KVManualDateTimeView::popupPosition(c.button, popup, screen), c.expected);
    }
}

} // namespace
