#include "KVDisplaySynchProgressDrawer.h"

#include "KVDisplayView.h"
#include "KVGeometry.h"
#include "KVOperationQueue.h"
#include "KVTestSupport.h"

#include <QPaintEvent>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

using Drawer = KVDisplaySynchProgressDrawer;

// Records the rectangles the view is asked to paint.
class PaintRecorder : public QObject {
public:
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

class KVDisplaySynchProgressDrawerTest : public ::testing::Test {
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
    static void cancelBeforeAnyPhoto(KVOperationQueue &queue) {
        queue.setAllImagesCountOnStartOfCancel(queue.allImagesCount());
        queue.setIsOperationsCancelled(true);
        queue.setOperationType(KVOperationTypeCancel);
    }

    KVDisplayView m_view;
    std::vector<std::unique_ptr<KVOperationQueue>> m_queues;
    Drawer *m_drawer = nullptr;
};

} // namespace

TEST_F(KVDisplaySynchProgressDrawerTest, GeometryFollowsTheViewWidth) {
    EXPECT_EQ(m_drawer->contourBarBounds(), QRectF(18, 8, 564, 7));
    EXPECT_EQ(m_drawer->prepareBarBounds(), QRectF(21, 9, 558, 5));
    EXPECT_EQ(m_drawer->fillBounds(), QRectF(20, 10, 560, 3));
    EXPECT_EQ(m_drawer->textBounds(), QRectF(0, 12, 600, 48));
}

TEST_F(KVDisplaySynchProgressDrawerTest, TextsAndFillPerOperationType) {
    struct Case {
        KVOperationType type;
        qint64 processed, all;
        QString text;
        double share;
    } const cases[] = {
        {KVOperationTypeSync, 5, 10,
         QStringLiteral("Syncing time and date\non selected cameras 5 of 10"), 0.5},
        {KVOperationTypeUndo, 1, 4, QStringLiteral("Undoing… 1 of 4"), 0.25},
        {KVOperationTypeRedo, 4, 4, QStringLiteral("Redoing… 4 of 4"), 1.0},
        {KVOperationTypeCancel, 3, 10, QStringLiteral("Cancelling… 3 of 10"), 0.3},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(Drawer::textForState(c.type, c.processed, c.all, false), c.text);
        EXPECT_DOUBLE_EQ(Drawer::fillWidth(c.processed, c.all, 560), c.share * 560);
    }
    EXPECT_EQ(Drawer::textForState(KVOperationTypeRedo, 0, 4, false),
              QStringLiteral("Preparing to redo…"));
    for (const KVOperationType outside : {KVOperationType(-1), KVOperationType(4)}) {
        EXPECT_TRUE(Drawer::stringForOperationType(outside).isNull());
        EXPECT_TRUE(Drawer::prepareStringForOperationType(outside).isNull());
    }
    // The least fill, also when there is nothing to count against.
    m_view.resize(100, 60);
    EXPECT_EQ(Drawer::fillWidth(1, 1000, m_drawer->fillBounds().width()), 2.0);
    EXPECT_EQ(Drawer::fillWidth(0, 0, 560), 2.0);
    EXPECT_EQ(Drawer::fillWidth(3, 0, 560), 2.0);
}

TEST_F(KVDisplaySynchProgressDrawerTest, PreparingTilesCreepRightAndWrap) {
    std::vector<double> offsets = {0.0};
    for (int i = 0; i < 23; ++i)
        offsets.push_back(Drawer::nextPrepareOffset(offsets.back(), 10.0));
    EXPECT_EQ(offsets[1], -10.0);
    EXPECT_EQ(offsets[2], -9.5);
    EXPECT_EQ(offsets[21], 0.0);
    EXPECT_EQ(offsets[22], -10.0);

    const std::vector<double> lefts = Drawer::prepareTileLefts(21, 558, -10.0, 10.0);
    ASSERT_FALSE(lefts.empty());
    EXPECT_EQ(lefts.front(), 11.0);
    EXPECT_LT(lefts.back(), 579.0);
    EXPECT_GE(lefts.back() + 10.0, 579.0);
    EXPECT_TRUE(Drawer::prepareTileLefts(21, 558, 0, 0).empty());
}

TEST_F(KVDisplaySynchProgressDrawerTest, AnimatesOnlyWhilePreparing) {
    KVOperationQueue *queue = makeQueue({10});
    m_view.startDrawSynchProgress(queue);
    const double before = Drawer::prepareOffset();
    m_view.grab();
    ASSERT_NE(m_drawer->timer(), nullptr);
    const double tile = Drawer::prepareBar().deviceIndependentSize().width();
    EXPECT_EQ(Drawer::prepareOffset(), Drawer::nextPrepareOffset(before, tile));
    const QPointer<QTimer> timer = m_drawer->timer();
    m_view.grab();
    EXPECT_EQ(m_drawer->timer(), timer.data());

    queue->setProcessedImagesCount(1);
    m_view.grab();
    EXPECT_EQ(m_drawer->timer(), nullptr);
    EXPECT_TRUE(timer.isNull());

    // Cancelled before any photo: the count, not the animation.
    cancelBeforeAnyPhoto(*makeQueue({6, 4}));
    m_view.startDrawSynchProgress(m_queues.back().get());
    m_view.grab();
    EXPECT_EQ(m_drawer->timer(), nullptr);
    EXPECT_EQ(
        Drawer::textForState(KVOperationTypeCancel, 0, m_queues.back()->allImagesCount(), true),
        QStringLiteral("Cancelling… 0 of 10"));
}

TEST_F(KVDisplaySynchProgressDrawerTest, TimerAndQueueAskForTheirRepaints) {
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

TEST_F(KVDisplaySynchProgressDrawerTest, ObservesOnlyTheCurrentQueue) {
    KVOperationQueue *first = makeQueue({1});
    KVOperationQueue *second = makeQueue({1});
    const QStringList keys = {QStringLiteral("processedImagesCount"),
                              QStringLiteral("isOperationsCancelled"),
                              QStringLiteral("operationType")};
    m_drawer->setQueue(first);
    m_drawer->setQueue(second);
    m_drawer->setQueue(second);
    for (const QString &key : keys) {
        EXPECT_FALSE(first->hasObserver(m_drawer, key));
        // Set twice, observed once: one removal leaves nothing behind.
        second->removeObserver(m_drawer, key);
        EXPECT_FALSE(second->hasObserver(m_drawer, key));
    }

    auto own = std::make_unique<Drawer>(&m_view);
    own->setQueue(first);
    own->setTimer(new QTimer);
    const QPointer<QTimer> timer = own->timer();
    Drawer *gone = own.get();
    own.reset();
    EXPECT_TRUE(timer.isNull());
    EXPECT_FALSE(first->hasObserver(gone, keys.first()));
}

TEST_F(KVDisplaySynchProgressDrawerTest, FillPaintsItsShareOfTheBar) {
    KVOperationQueue *queue = makeQueue({10});
    m_view.startDrawSynchProgress(queue);
    cancelBeforeAnyPhoto(*queue);
    const QImage least = m_view.grab().toImage();
    queue->setProcessedImagesCount(5);
    const QImage half = m_view.grab().toImage();

    const QRectF fill = KVFlippedRect(m_drawer->fillBounds(), 60);
    const double ratio = least.devicePixelRatio();
    auto pixel = [&](const QImage &image, double share) {
        const QPointF at(fill.x() + share * fill.width(), fill.center().y());
        return image.pixel((at * ratio).toPoint());
    };
    EXPECT_NE(pixel(least, 0.4), pixel(half, 0.4));
    EXPECT_EQ(pixel(least, 0.6), pixel(half, 0.6));
}
