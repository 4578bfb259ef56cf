// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageView.h"

#include "KVTestSupport.h"
#include "KVTimelineTestPhoto.h"

#include <QFile>
#include <QPainter>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

namespace {

const QDateTime date(QDate(2012, 3, 7), QTime(14, 5, 9), Qt::LocalTime);

QImage render(const KVImageView &view) {
    QImage image(view.bounds().size().toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    view.draw(painter);
    return image;
}

TEST(KVImageView, ChangesFromAnotherThreadAreAppliedOnTheMainThread) {
    auto photo = std::make_shared<KVTimelineTestPhoto>(date);
    KVImageView view;
    view.setImage(photo);
    int changes = 0;
    view.setChangeHandler([&changes](KVImageView *) { ++changes; });
    std::thread([photo] { photo->setImageState(KVImageStateSelected); }).join();
    EXPECT_FALSE(view.enlarged());
    ASSERT_TRUE(KVTest::waitFor([&view] { return view.enlarged(); }));
    EXPECT_GT(changes, 0);
    // A view gone before its notice arrives is simply not told.
    auto gone = std::make_unique<KVImageView>();
    gone->setImage(photo);
    std::thread([photo] { photo->setImageState(KVImageStateNormal); }).join();
    gone.reset();
    ASSERT_TRUE(KVTest::waitFor([&view] { return !view.enlarged(); }));
}

TEST(KVImageView, NewPhotoReplacesTheObservedOne) {
    auto first = std::make_shared<KVTimelineTestPhoto>(date);
    auto second = std::make_shared<KVTimelineTestPhoto>(date, QSize(200, 300));
    second->setImageState(KVImageStateSelected);
    KVImageView view;
    view.setImage(first);
    view.setImage(second);
    EXPECT_FALSE(first->hasObserver(&view, QStringLiteral("imageState")));
    EXPECT_TRUE(second->hasObserver(&view, QStringLiteral("url")));
    // Fitted to the portrait picture (width 53), then grown.
    EXPECT_EQ(view.frame(), QRectF(-2, 6, 57, 80));
    first->setImageState(KVImageStateEtalon);
    second->setImageState(KVImageStateNormal);
    EXPECT_FALSE(view.enlarged());
}

TEST(KVImageView, UnwritableFileShowsThePadlockInTheTopRightCorner) {
    ASSERT_FALSE(KVImageView::padlockMark().isNull());
    QTemporaryDir folder;
    // A file that is not there cannot be written, whoever runs the test.
    const QString path = folder.filePath(QStringLiteral("photo.jpg"));
    auto photo = std::make_shared<KVTimelineTestPhoto>(date, QSize(300, 200), Qt::black);
    photo->setUrl(QUrl::fromLocalFile(path));
    KVImageView view;
    view.setImage(photo);
    const QSizeF padlock = KVImageView::padlockMark().deviceIndependentSize();
    // Qt's top right, inside the 3-point inset.
    const QRect corner(int(view.bounds().width() - 3 - padlock.width()), 3, int(padlock.width()),
                       int(padlock.height()));
    const auto markedPixels = [&view](const QRect &area) {
        const QImage image = render(view);
        int marked = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x)
                marked += qGray(image.pixel(x, y)) > 40;
        }
        return marked;
    };
    EXPECT_GT(markedPixels(corner), 0);
    // Not in the other corners.
    EXPECT_EQ(markedPixels(corner.translated(-corner.left() + 3, 0)), 0);
    EXPECT_EQ(markedPixels(corner.translated(0, 70 - corner.height())), 0);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    // The record tells of a new location; the view asks again.
    photo->setUrl(QUrl::fromLocalFile(path));
    EXPECT_EQ(markedPixels(corner), 0);
}

} // namespace
