#include "KVAboutBox.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace {

TEST(KVAboutBox, OpensCentredAndStaysWhereTheUserPutIt) {
    KVAboutBox box;
    box.showAboutBox();
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const QRect frame = box.frameGeometry();
    EXPECT_LE(qAbs(frame.center().x() - screen.center().x()), 1);
    EXPECT_LE(qAbs(frame.center().y() - screen.center().y()), 1);

    box.move(10, 20);
    box.showAboutBox();
    EXPECT_EQ(box.pos(), QPoint(10, 20));
}

TEST(KVAboutBox, CreditsScrollOnlyWhileShown) {
    KVAboutBox box;
    EXPECT_FALSE(box.isScrollingCredits());
    box.showAboutBox();
    EXPECT_TRUE(box.isScrollingCredits());
    box.hide();
    EXPECT_FALSE(box.isScrollingCredits());
}

} // namespace
