// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplayView.h"

#include "KVDisplayImageFileDrawer.h"
#include "KVDisplayStringDrawer.h"
#include "KVDisplaySynchProgressDrawer.h"
#include "KVGeometry.h"
#include "KVImageSource.h"
#include "KVOperationQueue.h"
#include "KVTestSupport.h"

#include <QPaintEvent>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

using Drawer = KVDisplaySynchProgressDrawer;

// Records the rectangles the view is asked to paint.
struct PaintRecorder : QObject {
    std::vector<QRect> rects;
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint)
            rects.push_back(static_cast<QPaintEvent *>(event)->rect());
        return false;
    }
    bool waitForPaintOf(const QRect &rect) {
        return KVTest::waitFor([&] { return std::count(rects.begin(), rects.end(), rect) > 0; });
    }
};

class KVDisplayViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_view.resize(600, 60);
        m_drawer = m_view.progressDrawer();
        // The drawer is shared by every test: each starts without a running animation.
        m_drawer->setTimer(nullptr);
    }
    // The drawer lets go of the queues before they go.
    void TearDown() override {
        m_drawer->setQueue(nullptr);
        m_queues.clear();
    }
    // Operations of the given sizes that never run: the counts are set by hand.
    KVOperationQueue *makeQueue(const std::vector<int> &photoCounts) {
        m_queues.push_back(std::make_unique<KVOperationQueue>());
        for (const int count : photoCounts) {
            std::vector<KVImageFileRef> photos;
            for (int i = 0; i < count; ++i)
                photos.push_back(KVImageFile::initWithDate(QDateTime::currentDateTime()));
            m_queues.back()->addSyncOperation(
                std::make_shared<KVSynchronizationOperation>(10.0, photos));
        }
        return m_queues.back().get();
    }

    KVDisplayView m_view;
    std::vector<std::unique_ptr<KVOperationQueue>> m_queues;
    Drawer *m_drawer = nullptr;
};

double labelWidth(const QString &text) {
    KVTextAttributes attributes;
    attributes.font = KVDisplayDrawer::labelsFont();
    return KVSizeWithAttributes(text, attributes).width();
}

} // namespace

TEST_F(KVDisplayViewTest, GeometryTextsAndFillPerOperationType) {
    EXPECT_EQ(m_drawer->contourBarBounds(), QRectF(18, 8, 564, 7));
    EXPECT_EQ(m_drawer->fillBounds(), QRectF(20, 10, 560, 3));
    const struct {
        KVOperationType type;
        qint64 processed, all;
        QString text;
        double share;
    } cases[] = {{KVOperationTypeSync, 5, 10,
                  QStringLiteral("Syncing time and date\non selected cameras 5 of 10"), 0.5},
                 {KVOperationTypeUndo, 1, 4, QStringLiteral("Undoing… 1 of 4"), 0.25},
                 {KVOperationTypeRedo, 4, 4, QStringLiteral("Redoing… 4 of 4"), 1.0},
                 {KVOperationTypeCancel, 3, 10, QStringLiteral("Changing back… 3 of 10"), 0.3}};
    for (const auto &c : cases) {
        EXPECT_EQ(Drawer::textForState(c.type, c.processed, c.all, c.type == KVOperationTypeCancel),
                  c.text);
        EXPECT_DOUBLE_EQ(Drawer::fillWidth(c.processed, c.all, 560), c.share * 560);
    }
    EXPECT_EQ(Drawer::textForState(KVOperationTypeRedo, 0, 4, false),
              QStringLiteral("Preparing to redo…"));
    // The least fill, also when there is nothing to count against.
    EXPECT_EQ(Drawer::fillWidth(1, 1000, 60), 2.0);
    EXPECT_EQ(Drawer::fillWidth(3, 0, 560), 2.0);
}

TEST_F(KVDisplayViewTest, PreparingTilesCreepRightAndWrap) {
    std::vector<double> offsets = {0.0};
    for (int i = 0; i < 23; ++i)
        offsets.push_back(Drawer::nextPrepareOffset(offsets.back(), 10.0));
    EXPECT_EQ((std::vector<double>{offsets[1], offsets[2], offsets[21], offsets[22]}),
              (std::vector<double>{-10.0, -9.5, 0.0, -10.0}));
    const std::vector<double> lefts = Drawer::prepareTileLefts(21, 558, -10.0, 10.0);
    ASSERT_FALSE(lefts.empty());
    EXPECT_EQ(lefts.front(), 11.0);
    EXPECT_GE(lefts.back() + 10.0, 579.0);
    EXPECT_TRUE(Drawer::prepareTileLefts(21, 558, 0, 0).empty());
}

TEST_F(KVDisplayViewTest, AnimatesOnlyWhilePreparing) {
    KVOperationQueue *queue = makeQueue({10});
    m_view.startDrawSynchProgress(queue);
    const double before = Drawer::prepareOffset();
    m_view.grab();
    ASSERT_NE(m_drawer->timer(), nullptr);
    const double tile = Drawer::prepareBar().deviceIndependentSize().width();
    EXPECT_EQ(Drawer::prepareOffset(), Drawer::nextPrepareOffset(before, tile));
    const QPointer<QTimer> timer = m_drawer->timer();
    queue->setProcessedImagesCount(1);
    m_view.grab();
    EXPECT_EQ(m_drawer->timer(), nullptr);
    EXPECT_TRUE(timer.isNull());

    // Cancelled, while the workers stop and nothing is being changed back yet: "Cancelling…"
    // with the least fill and no animation, whatever the count of the run that was stopped.
    queue = makeQueue({6, 4});
    queue->setAllImagesCountOnStartOfCancel(queue->allImagesCount());
    queue->setIsOperationsCancelled(true);
    queue->setOperationType(KVOperationTypeCancel);
    ASSERT_EQ(queue->cancelledImagesCount(), 0);
    queue->setProcessedImagesCount(7);
    m_view.startDrawSynchProgress(queue);
    const QImage least = m_view.grab().toImage();
    EXPECT_EQ(m_drawer->timer(), nullptr);
    EXPECT_EQ(Drawer::textForState(KVOperationTypeCancel, 0, queue->allImagesCount(), true),
              QStringLiteral("Cancelling…"));
    queue->setProcessedImagesCount(3);
    EXPECT_EQ(m_view.grab().toImage(), least) << "a stopped run's count shown as changed back";
}

TEST_F(KVDisplayViewTest, TimerAndQueueAskForTheirRepaints) {
    KVOperationQueue *queue = makeQueue({10});
    m_view.startDrawSynchProgress(queue);
    m_view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_view));
    PaintRecorder recorder;
    m_view.installEventFilter(&recorder);
    EXPECT_TRUE(recorder.waitForPaintOf(KVFlippedRect(m_drawer->contourBarBounds(), 60).toRect()));

    // Observers run on the worker that changed the count; the paint still happens here.
    std::thread worker([&] { queue->setProcessedImagesCount(3); });
    worker.join();
    EXPECT_TRUE(recorder.waitForPaintOf(m_view.rect()));
    m_view.removeEventFilter(&recorder);
}

TEST_F(KVDisplayViewTest, ImageFileLabelsAreTrimmedAndPlaced) {
    m_view.resize(300, 60);
    const QString longModel = QStringLiteral("Very Long Camera Model Name ").repeated(4);
    const KVImageFileRef photo = KVImageFile::initWithURL(
        QUrl::fromLocalFile(KVTest::samplePath(QStringLiteral("cameras/Canon_40D.jpg"))));
    ASSERT_TRUE(photo);
    QVariantMap exif = photo->exif();
    exif.insert(KVImagePropertyKey::tiffMake, QString());
    exif.insert(KVImagePropertyKey::tiffModel, longModel);
    photo->setExif(exif);
    m_view.drawImageFile(photo);

    const auto labels = m_view.imageFileDrawer()->labels();
    ASSERT_EQ(labels.size(), 4u);
    const auto &date = labels[0], &time = labels[1], &name = labels[2], &camera = labels[3];
    // The wall-clock time as stored (2008:05:30 15:56:01), in every zone.
    EXPECT_EQ(time.text, QStringLiteral("15:56:01"));
    EXPECT_EQ(date.rect.topLeft(), QPointF(12, 5));
    EXPECT_EQ(name.text, QStringLiteral("Canon_40D.jpg"));
    EXPECT_DOUBLE_EQ(camera.rect.bottom(), 60 - 5.0);
    // Cut to W - 24; only the ellipsis replacing the last kept letter may overhang.
    ASSERT_TRUE(camera.text.endsWith(QChar(0x2026)));
    EXPECT_TRUE(longModel.startsWith(camera.text.chopped(1)));
    EXPECT_LE(labelWidth(longModel.left(camera.text.size())), 300 - 24.0);
    EXPECT_GT(labelWidth(longModel.left(camera.text.size() + 1)), 300 - 24.0);

    // The zone the camera noted stands beside the time and never moves it.
    exif.insert(KVImagePropertyKey::exifOffsetTimeOriginal, QStringLiteral("-07:00"));
    photo->setExif(exif);
    EXPECT_EQ(m_view.imageFileDrawer()->labels().at(1).text, QStringLiteral("15:56:01 -07:00"));
}

// A missing photo or string draws nothing, a message does; no queue or a strip too small for the
// bar still paints; back to the progress, the view still shows the queue it had.
TEST_F(KVDisplayViewTest, MissingContentDrawsNothingAndSwitchingKeepsTheQueue) {
    m_view.resize(300, 60);
    const QImage empty = m_view.grab().toImage();
    m_view.drawImageFile(nullptr);
    EXPECT_EQ(m_view.grab().toImage(), empty);
    m_view.drawString(QString());
    EXPECT_EQ(m_view.grab().toImage(), empty);
    m_view.drawString(QStringLiteral("HHHH"));
    EXPECT_NE(m_view.grab().toImage(), empty);
    KVOperationQueue *queue = makeQueue({});
    queue->setIsOperationsCancelled(true);
    for (KVOperationQueue *shown : {static_cast<KVOperationQueue *>(nullptr), queue}) {
        m_view.startDrawSynchProgress(shown);
        m_view.resize(300, 60);
        m_view.grab();
        m_view.resize(8, 4);
        m_view.grab();
    }
    m_view.drawImageFile(KVImageFile::initWithDate(QDateTime()));
    EXPECT_EQ(m_view.drawer(), m_view.imageFileDrawer());
    EXPECT_TRUE(m_view.imageFileDrawer()->labels().empty());
    m_view.drawSyncProcess();
    EXPECT_EQ(m_view.drawer(), m_view.progressDrawer());
    EXPECT_EQ(m_drawer->queue(), queue);
}
