#include "KVDisplayView.h"

#include "KVDisplayImageFileDrawer.h"
#include "KVDisplayStringDrawer.h"
#include "KVDisplaySynchProgressDrawer.h"
#include "KVImageSource.h"
#include "KVOperationQueue.h"
#include "KVTestSupport.h"

#include <QLocale>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

KVImageFileRef photoWithModel(const QString &model) {
    const KVImageFileRef photo = KVImageFile::initWithURL(
        QUrl::fromLocalFile(KVTest::samplePath(QStringLiteral("cameras/Canon_40D.jpg"))));
    if (photo) {
        QVariantMap exif = photo->exif();
        exif.insert(KVImagePropertyKey::tiffMake, QString());
        exif.insert(KVImagePropertyKey::tiffModel, model);
        photo->setExif(exif);
    }
    return photo;
}

KVTextAttributes labelAttributes() {
    KVTextAttributes attributes;
    attributes.font = KVDisplayDrawer::labelsFont();
    return attributes;
}

int differingPixels(const QImage &a, const QImage &b, const QRect &area) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    }
    return count;
}

} // namespace

TEST(KVDisplayViewTest, ImageFileLabelsAreTrimmedAndPlaced) {
    KVDisplayView view;
    view.resize(300, 60);
    const QString longModel = QStringLiteral("Very Long Camera Model Name ").repeated(4);
    const KVImageFileRef photo = photoWithModel(longModel);
    ASSERT_TRUE(photo);
    view.drawImageFile(photo);

    const auto labels = view.imageFileDrawer()->labels();
    ASSERT_EQ(labels.size(), 4u);
    const auto &date = labels[0], &time = labels[1], &name = labels[2], &camera = labels[3];
    EXPECT_EQ(time.text, photo->creationDate().toLocalTime().toString(QStringLiteral("HH:mm:ss")));
    EXPECT_EQ(date.rect.topLeft(), QPointF(12, 5));
    EXPECT_TRUE(date.text.contains(QStringLiteral("2008")));
    EXPECT_FALSE(date.text.contains(QLocale().dayName(5))); // 30 May 2008 was a Friday
    EXPECT_DOUBLE_EQ(time.rect.right(), 300 - 12.0);
    EXPECT_EQ(name.text, QStringLiteral("Canon_40D.jpg"));
    EXPECT_DOUBLE_EQ(name.rect.center().y(), 30.0);
    EXPECT_DOUBLE_EQ(camera.rect.bottom(), 60 - 5.0);

    // Cut to W - 24; only the ellipsis replacing the last kept letter may overhang.
    ASSERT_TRUE(camera.text.endsWith(QChar(0x2026)));
    EXPECT_TRUE(longModel.startsWith(camera.text.chopped(1)));
    const double maxWidth = 300 - 24.0;
    const QString kept = longModel.left(camera.text.size());
    EXPECT_LE(KVSizeWithAttributes(kept, labelAttributes()).width(), maxWidth);
    EXPECT_GT(
        KVSizeWithAttributes(longModel.left(camera.text.size() + 1), labelAttributes()).width(),
        maxWidth);
}

TEST(KVDisplayViewTest, DrawnStringShowsUp) {
    KVDisplayView view;
    view.resize(300, 60);
    view.drawString(QString());
    const QImage blank = view.grab().toImage();
    view.drawString(QStringLiteral("HHHHHHHH\nHHHH"));
    const QImage shown = view.grab().toImage();
    const double ratio = shown.devicePixelRatio();
    const QRect middle(QPoint(100 * ratio, 15 * ratio), QPoint(200 * ratio, 45 * ratio));
    EXPECT_GT(differingPixels(blank, shown, middle), 50);
    // The message leaves its shadow set, so the glare casts one too (at the top edge), while
    // the left edge below the glare stays as it was.
    const QRect glareEdge(QPoint(0, 0), QPoint(20 * ratio, 25 * ratio));
    const QRect plainEdge(QPoint(0, 30 * ratio), QPoint(20 * ratio, 59 * ratio));
    EXPECT_GT(differingPixels(blank, shown, glareEdge), 0);
    EXPECT_EQ(differingPixels(blank, shown, plainEdge), 0);
}

TEST(KVDisplayViewTest, SwitchingDrawersKeepsTheirData) {
    KVDisplayView view;
    EXPECT_EQ(view.drawer(), nullptr);
    const KVImageFileRef photo = KVImageFile::initWithDate(QDateTime::currentDateTime());
    KVOperationQueue queue;
    view.drawImageFile(photo);
    EXPECT_EQ(view.drawer(), view.imageFileDrawer());
    view.drawString(QStringLiteral("Adding photos…"));
    EXPECT_EQ(view.drawer(), view.stringDrawer());
    view.startDrawSynchProgress(&queue);
    view.drawImageFile(photo);
    view.drawSyncProcess();
    EXPECT_EQ(view.drawer(), view.progressDrawer());

    EXPECT_EQ(view.imageFileDrawer()->imageFile(), photo);
    EXPECT_EQ(view.stringDrawer()->string(), QStringLiteral("Adding photos…"));
    EXPECT_EQ(view.progressDrawer()->queue(), &queue);
    view.progressDrawer()->setQueue(nullptr);
}

TEST(KVDisplayViewTest, MissingContentDrawsNothingAndNeverCrashes) {
    KVDisplayView view;
    view.resize(300, 60);
    const QImage empty = view.grab().toImage();
    view.drawImageFile(nullptr);
    EXPECT_EQ(view.grab().toImage(), empty);
    view.drawString(QString());
    EXPECT_EQ(view.grab().toImage(), empty);

    // No queue reads as a run not yet started; a strip too small for the bar still paints.
    KVOperationQueue queue;
    queue.setIsOperationsCancelled(true);
    for (KVOperationQueue *shown : {static_cast<KVOperationQueue *>(nullptr), &queue}) {
        view.startDrawSynchProgress(shown);
        view.resize(300, 60);
        view.grab();
        view.resize(8, 4);
        view.grab();
    }
    view.drawImageFile(KVImageFile::initWithDate(QDateTime()));
    EXPECT_TRUE(view.imageFileDrawer()->labels().empty());
    view.progressDrawer()->setQueue(nullptr);
    view.progressDrawer()->setTimer(nullptr);
}
