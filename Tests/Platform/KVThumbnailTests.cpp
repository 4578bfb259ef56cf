#include "KVThumbnail.h"
#include "KVThumbnailCache.h"
#include "KVImageOrientation.h"

#include <QBuffer>
#include <QPainter>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

QImage filled(QSize size, QColor color) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

// Red top-left, green top-right, blue bottom-left, white bottom-right.
QImage corners(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    const int w = size.width() / 2, h = size.height() / 2;
    QPainter painter(&image);
    const Qt::GlobalColor colors[] = {Qt::red, Qt::green, Qt::blue, Qt::white};
    for (int quarter = 0; quarter < 4; ++quarter)
        painter.fillRect(quarter % 2 * w, quarter / 2 * h, w, h, colors[quarter]);
    return image;
}

QByteArray jpegOf(const QImage &image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "jpeg", 95);
    return bytes;
}

bool near(QRgb pixel, QColor color) {
    return qAbs(qRed(pixel) - color.red()) < 40 && qAbs(qGreen(pixel) - color.green()) < 40 &&
           qAbs(qBlue(pixel) - color.blue()) < 40;
}

} // namespace

TEST(KVThumbnail, FromImageCompressesIsCachedAtOnceAndDecodesAgainWhenLostUnlessUndecodable) {
    const KVThumbnail thumbnail = KVThumbnail::fromImage(filled(QSize(200, 100), Qt::red));
    ASSERT_FALSE(thumbnail.isNull());
    EXPECT_EQ(thumbnail.size(), QSize(200, 100));
    EXPECT_LT(thumbnail.encodedSize(), 200 * 100 * 4 / 10);
    EXPECT_TRUE(thumbnail.encoded().startsWith("\xFF\xD8"));
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));
    KVThumbnailCache::shared().remove(thumbnail);
    const QImage image = thumbnail.image();
    ASSERT_EQ(image.size(), QSize(200, 100));
    EXPECT_TRUE(near(image.pixel(100, 50), Qt::red));
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));

    // Transparency goes onto white.
    QImage clear(QSize(20, 20), QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    const KVThumbnail onWhite = KVThumbnail::fromImage(clear);
    KVThumbnailCache::shared().remove(onWhite);
    EXPECT_TRUE(near(onWhite.image().pixel(10, 10), Qt::white));

    // Null and undecodable thumbnails give a null image and are not cached.
    EXPECT_TRUE(KVThumbnail().image().isNull());
    EXPECT_TRUE(KVThumbnail::fromImage(QImage()).isNull());
    const KVThumbnail garbage(QByteArray("not a picture at all"), 1, QSize(10, 10));
    EXPECT_FALSE(garbage.isNull());
    EXPECT_TRUE(garbage.image().isNull());
    EXPECT_FALSE(KVThumbnailCache::shared().contains(garbage));
}

TEST(KVThumbnail, StoredBytesAreTurnedByTheirOrientation) {
    // Stored 40x20; each orientation puts the red (stored top-left) quarter elsewhere.
    const QByteArray stored = jpegOf(corners(QSize(40, 20)));
    struct Case {
        int orientation;
        QSize size;
        std::vector<QColor> quarters; // top-left, top-right, bottom-left, bottom-right
    };
    const QColor r = Qt::red, g = Qt::green, b = Qt::blue, w = Qt::white;
    const Case cases[] = {
        {1, QSize(40, 20), {r, g, b, w}}, {2, QSize(40, 20), {g, r, w, b}},
        {3, QSize(40, 20), {w, b, g, r}}, {4, QSize(40, 20), {b, w, r, g}},
        {5, QSize(20, 40), {r, b, g, w}}, {6, QSize(20, 40), {b, r, w, g}},
        {7, QSize(20, 40), {w, g, b, r}}, {8, QSize(20, 40), {g, w, r, b}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.orientation);
        const KVThumbnail thumbnail(stored, c.orientation,
                                    KVImageOrientation::uprightSize(QSize(40, 20), c.orientation));
        EXPECT_EQ(thumbnail.size(), c.size);
        const QImage image = thumbnail.image();
        ASSERT_EQ(image.size(), c.size);
        // The colour at the centre of each quarter.
        for (int index = 0; index < 4; ++index)
            EXPECT_TRUE(near(image.pixel((1 + index % 2 * 2) * image.width() / 4,
                                         (1 + index / 2 * 2) * image.height() / 4),
                             c.quarters[size_t(index)]))
                << "quarter " << index;
    }
}

TEST(KVThumbnailCache, KeepsWithinItsByteBoundDroppingTheLeastRecentlyUsed) {
    const QImage picture = filled(QSize(100, 100), Qt::gray);
    const qsizetype bytes = picture.sizeInBytes();
    KVThumbnailCache cache(3 * bytes);
    std::vector<KVThumbnail> thumbnails; // each its own body: copies would share one entry
    for (int index = 0; index < 5; ++index)
        thumbnails.push_back(KVThumbnail(QByteArray("x"), 1, QSize(100, 100)));
    const auto kept = [&] {
        std::vector<bool> flags;
        for (const KVThumbnail &thumbnail : thumbnails)
            flags.push_back(cache.contains(thumbnail));
        return flags;
    };
    for (int index = 0; index < 3; ++index)
        cache.insert(thumbnails[index], picture);
    EXPECT_EQ(cache.totalBytes(), 3 * bytes);
    // Using 0 makes 1 the least recently used, which the next insertion drops.
    EXPECT_FALSE(cache.find(thumbnails[0]).isNull());
    cache.insert(thumbnails[3], picture);
    EXPECT_EQ(kept(), std::vector<bool>({true, false, true, true, false}));
    cache.insert(thumbnails[4], picture);
    EXPECT_EQ(kept(), std::vector<bool>({true, false, false, true, true}));

    // Replacing an entry does not count it twice.
    cache.insert(thumbnails[4], picture);
    EXPECT_EQ(cache.totalBytes(), 3 * bytes);

    // A lower bound drops entries at once; a picture larger than the bound is not kept.
    cache.setMaxBytes(bytes + 1);
    EXPECT_EQ(cache.count(), 1);
    EXPECT_TRUE(cache.contains(thumbnails[4]));
    cache.insert(thumbnails[1], filled(QSize(200, 200), Qt::gray));
    EXPECT_FALSE(cache.contains(thumbnails[1]));
    EXPECT_LE(cache.totalBytes(), cache.maxBytes());

    cache.clear();
    EXPECT_EQ(cache.totalBytes(), 0);
    // Null thumbnails and null pictures are never kept.
    cache.insert(KVThumbnail(), picture);
    cache.insert(thumbnails[0], QImage());
    EXPECT_EQ(cache.count(), 0);
    EXPECT_TRUE(cache.find(KVThumbnail()).isNull());
}

TEST(KVThumbnailCache, FreedThumbnailIsNeverServedForANewOne) {
    // A freed body's memory is usually handed to the next one of the same size at once; the
    // cache must not take the new thumbnail for the old.
    KVThumbnailCache cache;
    const QByteArray blue = jpegOf(filled(QSize(16, 16), Qt::blue));
    for (int round = 0; round < 200; ++round) {
        {
            const KVThumbnail red(QByteArray("red"), 1, QSize(16, 16));
            cache.insert(red, filled(QSize(16, 16), Qt::red));
        }
        const KVThumbnail fresh(blue, 1, QSize(16, 16));
        ASSERT_TRUE(cache.find(fresh).isNull()) << "round " << round;
    }
}

TEST(KVThumbnailCache, SharedCacheForgetsAThumbnailWhenItsLastCopyGoes) {
    KVThumbnailCache &shared = KVThumbnailCache::shared();
    std::optional<KVThumbnail> thumbnail = KVThumbnail::fromImage(filled(QSize(30, 30), Qt::red));
    ASSERT_TRUE(shared.contains(*thumbnail));
    const qsizetype before = shared.totalBytes();
    KVThumbnail copy = *thumbnail;
    thumbnail.reset();
    EXPECT_TRUE(shared.contains(copy));
    copy = KVThumbnail::fromImage(filled(QSize(30, 30), Qt::green));
    EXPECT_TRUE(near(copy.image().pixel(15, 15), Qt::green));
    EXPECT_LE(shared.totalBytes(), before); // the red one's 3,600 bytes went, the green came
}

TEST(KVThumbnailCache, ManyThreadsReadAndEvictTogether) {
    KVThumbnailCache &shared = KVThumbnailCache::shared();
    const qsizetype bound = shared.maxBytes();
    shared.setMaxBytes(8 * 64 * 64 * 4); // about eight pictures
    const auto color = [](size_t index) { return QColor::fromHsv(int(index) * 11, 255, 255); };
    std::vector<KVThumbnail> thumbnails;
    for (size_t index = 0; index < 32; ++index)
        thumbnails.push_back(
            KVThumbnail(jpegOf(filled(QSize(64, 64), color(index))), 1, QSize(64, 64)));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 100; ++round) {
                const size_t index = size_t((round * 7 + t * 5) % 32);
                const QImage image = thumbnails[index].image();
                if (image.size() != QSize(64, 64) || !near(image.pixel(32, 32), color(index)))
                    ++wrong;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_LE(shared.totalBytes(), shared.maxBytes());
    shared.setMaxBytes(bound);
}
