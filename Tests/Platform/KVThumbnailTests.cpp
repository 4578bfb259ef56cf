// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageOrientation.h"
#include "KVThumbnail.h"
#include "KVThumbnailCache.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

QImage filled(QSize size, QColor color, QImage::Format format = QImage::Format_RGB32) {
    QImage image(size, format);
    image.fill(color);
    return image;
}

QByteArray jpegOf(const QImage &image) {
    return KVThumbnail::fromImage(image).encoded();
}

bool near(QRgb pixel, QColor color) {
    return qAbs(qRed(pixel) - color.red()) < 40 && qAbs(qGreen(pixel) - color.green()) < 40 &&
           qAbs(qBlue(pixel) - color.blue()) < 40;
}

} // namespace

TEST(KVThumbnail, FromImageCompressesIsCachedAtOnceAndDecodesAgainWhenLostUnlessUndecodable) {
    const KVThumbnail thumbnail = KVThumbnail::fromImage(filled(QSize(200, 100), Qt::red));
    EXPECT_LT(thumbnail.encodedSize(), 200 * 100 * 4 / 10);
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));
    KVThumbnailCache::shared().remove(thumbnail);
    EXPECT_TRUE(near(thumbnail.image().pixel(100, 50), Qt::red));
    EXPECT_TRUE(KVThumbnailCache::shared().contains(thumbnail));

    const KVThumbnail onWhite =
        KVThumbnail::fromImage(filled(QSize(20, 20), Qt::transparent, QImage::Format_ARGB32));
    KVThumbnailCache::shared().remove(onWhite);
    EXPECT_TRUE(near(onWhite.image().pixel(10, 10), Qt::white));

    const KVThumbnail garbage(QByteArray("not a picture at all"), 1, QSize(10, 10));
    EXPECT_TRUE(garbage.image().isNull());
    EXPECT_FALSE(KVThumbnailCache::shared().contains(garbage));
}

TEST(KVThumbnail, StoredBytesAreTurnedByTheirOrientation) {
    const QColor r = Qt::red, g = Qt::green, b = Qt::blue, w = Qt::white;
    QImage corners = filled(QSize(40, 20), w); // stored 40x20, quarters in reading order
    QPainter(&corners).fillRect(0, 0, 20, 10, r);
    QPainter(&corners).fillRect(20, 0, 20, 10, g);
    QPainter(&corners).fillRect(0, 10, 20, 10, b);
    const QByteArray stored = jpegOf(corners);
    const std::pair<int, std::vector<QColor>> cases[] = {
        {1, {r, g, b, w}}, {2, {g, r, w, b}}, {3, {w, b, g, r}}, {4, {b, w, r, g}},
        {5, {r, b, g, w}}, {6, {b, r, w, g}}, {7, {w, g, b, r}}, {8, {g, w, r, b}}};
    for (const auto &[orientation, quarters] : cases) {
        SCOPED_TRACE(orientation);
        const QImage image =
            KVThumbnail(stored, orientation,
                        KVImageOrientation::uprightSize(QSize(40, 20), orientation))
                .image();
        ASSERT_EQ(image.size(), orientation < 5 ? QSize(40, 20) : QSize(20, 40));
        for (int index = 0; index < 4; ++index) // the centre of each quarter
            EXPECT_TRUE(near(image.pixel((1 + index % 2 * 2) * image.width() / 4,
                                         (1 + index / 2 * 2) * image.height() / 4),
                             quarters[size_t(index)]))
                << "quarter " << index;
    }
}

TEST(KVThumbnailCache, KeepsWithinItsBoundDropsTheLeastRecentlyUsedAndNeverServesAFreedOne) {
    const QImage picture = filled(QSize(100, 100), Qt::gray);
    const qsizetype bytes = picture.sizeInBytes();
    KVThumbnailCache cache(3 * bytes);
    std::vector<KVThumbnail> thumbnails; // each its own body: copies would share one entry
    for (int index = 0; index < 5; ++index)
        thumbnails.push_back(KVThumbnail(QByteArray("x"), 1, QSize(100, 100)));
    const auto kept = [&] {
        QString flags;
        for (const KVThumbnail &thumbnail : thumbnails)
            flags += cache.contains(thumbnail) ? u'1' : u'0';
        return flags;
    };
    for (int index = 0; index < 3; ++index)
        cache.insert(thumbnails[index], picture);
    // Using 0 makes 1 the least recently used, which the next insertion drops.
    EXPECT_FALSE(cache.find(thumbnails[0]).isNull());
    cache.insert(thumbnails[3], picture);
    cache.insert(thumbnails[4], picture);
    cache.insert(thumbnails[4], picture); // replaced, not counted twice
    EXPECT_EQ(kept(), "10011");
    EXPECT_EQ(cache.totalBytes(), 3 * bytes);

    // A lower bound drops entries at once; a picture larger than the bound is not kept.
    cache.setMaxBytes(bytes + 1);
    EXPECT_EQ(kept(), "00001");
    cache.insert(thumbnails[1], filled(QSize(200, 200), Qt::gray));
    EXPECT_FALSE(cache.contains(thumbnails[1]));

    // A freed body's memory is usually handed at once to the next one of the same size.
    const QByteArray blue = jpegOf(filled(QSize(16, 16), Qt::blue));
    for (int round = 0; round < 200; ++round) {
        cache.insert(KVThumbnail(QByteArray("red"), 1, QSize(16, 16)),
                     filled(QSize(16, 16), Qt::red));
        ASSERT_TRUE(cache.find(KVThumbnail(blue, 1, QSize(16, 16))).isNull()) << round;
    }
}

TEST(KVThumbnailCache, ManyThreadsReadAndEvictTogether) {
    KVThumbnailCache &shared = KVThumbnailCache::shared();
    const qsizetype bound = shared.maxBytes();
    shared.setMaxBytes(8 * 64 * 64 * 4); // about eight pictures
    const auto color = [](size_t index) { return QColor::fromHsv(int(index) * 11, 255, 255); };
    std::vector<KVThumbnail> thumbnails;
    for (size_t index = 0; index < 32; ++index)
        thumbnails.emplace_back(jpegOf(filled(QSize(64, 64), color(index))), 1, QSize(64, 64));
    std::atomic<int> wrong{0};
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 100; ++round) {
                const size_t index = size_t((round * 7 + t * 5) % 32);
                const QImage image = thumbnails[index].image();
                wrong += image.size() != QSize(64, 64) || !near(image.pixel(32, 32), color(index));
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_LE(shared.totalBytes(), shared.maxBytes());
    shared.setMaxBytes(bound);
}
