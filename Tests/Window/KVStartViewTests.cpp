#include "KVStartView.h"

#include "KVGeometry.h"

#include <QCoreApplication>
#include <QDropEvent>
#include <QImage>
#include <QMimeData>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct LayoutCase {
    std::string name;
    QSizeF bounds, image, text;
    QPointF imageOrigin, textOrigin;
};

TEST(KVStartView, LayoutCentresPictureAndTextWithoutRounding) {
    const LayoutCase cases[] = {
        {"the 600 x 400 example", QSizeF(600, 400), QSizeF(200, 150), QSizeF(300, 20),
         QPointF(200, 145), QPointF(150, 105)},
        // (401 - (151 - 21 - 20)) / 2 = 145.5 and 145.5 - 41 = 104.5: halves are kept.
        {"odd sizes", QSizeF(601, 401), QSizeF(201, 151), QSizeF(100, 21), QPointF(200, 145.5),
         QPointF(250.5, 104.5)},
        // No picture yet: the text still sits centred horizontally.
        {"missing picture", QSizeF(600, 400), QSizeF(0, 0), QSizeF(300, 20), QPointF(300, 220),
         QPointF(150, 180)},
    };
    for (const LayoutCase &c : cases) {
        SCOPED_TRACE(c.name);
        const KVStartView::Layout layout = KVStartView::layoutFor(c.bounds, c.image, c.text);
        EXPECT_EQ(layout.imageRect, QRectF(c.imageOrigin, c.image));
        EXPECT_EQ(layout.textRect, QRectF(c.textOrigin, c.text));
    }
}

// Counts pixels in the band that differ from the background colour.
int inkInBand(const QImage &image, int top, int bottom) {
    const QRgb background = KVStartView::backgroundColor().rgb();
    int ink = 0;
    for (int y = qMax(0, top); y < qMin(image.height(), bottom); ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += image.pixel(x, y) != background;
    return ink;
}

TEST(KVStartView, TextIsDrawnBelowThePictureOnScreen) {
    KVStartView view;
    view.resize(600, 400);
    const QImage image = view.grab().toImage();
    const KVStartView::Layout layout = view.currentLayout();
    const QRectF text = KVFlippedRect(layout.textRect, view.height());
    EXPECT_LT(KVFlippedRect(layout.imageRect, view.height()).bottom(), text.top());
    // The text (and its shadow, one pixel lower) is where the flipped rectangle says, and
    // nothing is drawn under it.
    EXPECT_GT(inkInBand(image, int(text.top()), int(text.bottom()) + 2), 0);
    EXPECT_EQ(inkInBand(image, int(text.bottom()) + 4, view.height()), 0);
}

QMimeData *mimeWithUrls(const QList<QUrl> &urls) {
    auto *data = new QMimeData;
    data->setUrls(urls);
    return data;
}

TEST(KVStartView, DragIsAcceptedWhenItCarriesAnyFileName) {
    std::unique_ptr<QMimeData> mixture(
        mimeWithUrls({QUrl::fromLocalFile("/photos/a.JPG"), QUrl::fromLocalFile("/notes.txt")}));
    EXPECT_EQ(KVStartView::dragOperation(mixture.get()), Qt::CopyAction);

    QMimeData textOnly;
    textOnly.setText(QStringLiteral("/photos/a.JPG"));
    EXPECT_EQ(KVStartView::dragOperation(&textOnly), Qt::IgnoreAction);
    EXPECT_EQ(KVStartView::dragOperation(nullptr), Qt::IgnoreAction);

    KVStartView view;
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction | Qt::MoveAction, mixture.get(),
                          Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    QDragEnterEvent refused(QPoint(10, 10), Qt::CopyAction, &textOnly, Qt::LeftButton,
                            Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &refused);
    EXPECT_FALSE(refused.isAccepted());
}

// As a drag ends on the view: entered first, so that Qt knows the view as the drop target.
void dragAndDrop(QWidget *view, const QMimeData *data) {
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &drop);
}

TEST(KVStartView, DropHandsOnFileURLsInOrderWithoutEmptyPaths) {
    KVStartView view;
    QList<QList<QUrl>> handed;
    view.setDropHandler([&](const QList<QUrl> &urls) { handed << urls; });

    std::unique_ptr<QMimeData> data(mimeWithUrls({QUrl::fromLocalFile("/photos/b.nef"),
                                                  QUrl(QStringLiteral("https://example.org/x.jpg")),
                                                  QUrl::fromLocalFile("/photos/a file.txt")}));
    dragAndDrop(&view, data.get());
    ASSERT_EQ(handed.size(), 1);
    EXPECT_EQ(handed.first(), QList<QUrl>({QUrl::fromLocalFile("/photos/b.nef"),
                                           QUrl::fromLocalFile("/photos/a file.txt")}));

    // Nothing with a path is still handed on, as an empty list.
    std::unique_ptr<QMimeData> web(mimeWithUrls({QUrl(QStringLiteral("https://example.org/"))}));
    dragAndDrop(&view, web.get());
    ASSERT_EQ(handed.size(), 2);
    EXPECT_TRUE(handed.last().isEmpty());

    QMimeData textOnly;
    textOnly.setText(QStringLiteral("/photos/a.jpg"));
    dragAndDrop(&view, &textOnly);
    EXPECT_EQ(handed.size(), 2);
}

} // namespace
