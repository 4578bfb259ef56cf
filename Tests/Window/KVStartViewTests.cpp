// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVStartView.h"

#include "KVFileName.h"
#include "KVGeometry.h"

#include <QCoreApplication>
#include <QDropEvent>
#include <QImage>
#include <QMimeData>

#include <gtest/gtest.h>

TEST(KVStartView, LayoutCentresPictureAndTextWithoutRounding) {
    const struct {
        QSizeF bounds, image, text;
        QPointF imageOrigin, textOrigin;
    } cases[] = {{{600, 400}, {200, 150}, {300, 20}, {200, 145}, {150, 105}},
                 // (401 - (151 - 21 - 20)) / 2 = 145.5 and 145.5 - 41 = 104.5: halves are kept.
                 {{601, 401}, {201, 151}, {100, 21}, {200, 145.5}, {250.5, 104.5}},
                 // No picture yet: the text still sits centred horizontally.
                 {{600, 400}, {0, 0}, {300, 20}, {300, 220}, {150, 180}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.bounds.width());
        const KVStartView::Layout layout = KVStartView::layoutFor(c.bounds, c.image, c.text);
        EXPECT_EQ(layout.imageRect, QRectF(c.imageOrigin, c.image));
        EXPECT_EQ(layout.textRect, QRectF(c.textOrigin, c.text));
    }

    // On screen the text (and its shadow, a pixel lower) is where the flipped rectangle says,
    // below the picture, and nothing is drawn under it.
    KVStartView view;
    view.resize(600, 400);
    const QImage image = view.grab().toImage();
    const QRectF text = KVFlippedRect(view.currentLayout().textRect, view.height());
    EXPECT_LT(KVFlippedRect(view.currentLayout().imageRect, view.height()).bottom(), text.top());
    const auto ink = [&](int top, int bottom) {
        int count = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = 0; x < image.width(); ++x)
                count += image.pixel(x, y) != KVStartView::backgroundColor().rgb();
        return count;
    };
    EXPECT_GT(ink(int(text.top()), int(text.bottom()) + 2), 0);
    EXPECT_EQ(ink(int(text.bottom()) + 4, image.height()), 0);
}

TEST(KVStartView, DragsWithFileNamesAreTakenAndDropsHandOnTheirPathsInOrder) {
    KVStartView view;
    QList<QList<QUrl>> handed;
    view.setDropHandler([&](const QList<QUrl> &urls) { handed << urls; });
    // As a drag ends on the view: entered first, so that Qt knows the view as the target.
    // Without addresses, a file name as mere text.
    const auto drop = [&](const QList<QUrl> &urls) {
        QMimeData data;
        urls.isEmpty() ? data.setText("/photos/a.jpg") : data.setUrls(urls);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &enter);
        EXPECT_EQ(enter.isAccepted() ? enter.dropAction() : Qt::IgnoreAction,
                  urls.isEmpty() ? Qt::IgnoreAction : Qt::CopyAction);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &event);
    };
    const QUrl nef = QUrl::fromLocalFile("/photos/b.nef"), txt = QUrl::fromLocalFile("/a b.txt");
    // A file manager names a Latin-1 name by its bytes, which Qt's own path would lose.
    const QUrl latin1 = QUrl::fromEncoded("file:///photos/Hochzeit_%E4.jpg");
    drop({nef, QUrl("https://example.org/x.jpg"), txt, latin1});
    // Nothing with a path is still handed on, as an empty list; mere text is not.
    drop({QUrl("https://example.org/")});
    drop({});
    ASSERT_EQ(handed.size(), 2);
    ASSERT_EQ(handed[0].size(), 3);
    EXPECT_EQ(handed[0].mid(0, 2), QList<QUrl>({nef, txt}));
    EXPECT_EQ(KVFileName::encode(KVFileName::path(handed[0][2])), "/photos/Hochzeit_\xe4.jpg");
    EXPECT_EQ(handed[1], QList<QUrl>());
    EXPECT_EQ(KVStartView::dragOperation(nullptr), Qt::IgnoreAction);
}
