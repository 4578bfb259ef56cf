// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVThumbnail.h"

#include "KVImageOrientation.h"
#include "KVThumbnailCache.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <atomic>

namespace {

quint64 nextThumbnailId() {
    static std::atomic<quint64> last{0};
    return ++last;
}

// JPEG keeps no transparency: what is transparent is shown on white, as on a light background.
QImage opaque(const QImage &image) {
    if (!image.hasAlphaChannel())
        return image;
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.setDevicePixelRatio(image.devicePixelRatio());
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    painter.end();
    return flat;
}

} // namespace

KVThumbnail::Data::~Data() {
    KVThumbnailCache::shared().removeId(id);
}

KVThumbnail::KVThumbnail(QByteArray encoded, int orientation, QSize uprightSize) {
    auto data = std::make_shared<Data>();
    data->encoded = std::move(encoded);
    data->orientation = KVImageOrientation::normalized(orientation);
    data->uprightSize = uprightSize;
    data->id = nextThumbnailId();
    m_data = std::move(data);
}

KVThumbnail KVThumbnail::fromImage(const QImage &uprightImage) {
    if (uprightImage.isNull())
        return {};
    const QImage image = opaque(uprightImage);
    QByteArray encoded;
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    if (!writer.write(image))
        return {};
    buffer.close();
    KVThumbnail thumbnail(std::move(encoded), 1, image.size());
    KVThumbnailCache::shared().insert(thumbnail, image);
    return thumbnail;
}

QImage KVThumbnail::decode(const QByteArray &encoded, int orientation) {
    if (encoded.isEmpty())
        return {};
    QByteArray bytes = encoded; // shares, for QBuffer's non-const pointer; never written
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "jpeg"); // other formats are still found by their content
    reader.setAutoTransform(false);
    QImage image = reader.read();
    return KVImageOrientation::apply(image, orientation);
}

QImage KVThumbnail::image() const {
    if (!m_data)
        return {};
    KVThumbnailCache &cache = KVThumbnailCache::shared();
    QImage image = cache.find(*this);
    if (!image.isNull())
        return image;
    image = decode(m_data->encoded, m_data->orientation);
    cache.insert(*this, image);
    return image;
}

QSize KVThumbnail::size() const {
    return m_data ? m_data->uprightSize : QSize();
}

qsizetype KVThumbnail::encodedSize() const {
    return m_data ? m_data->encoded.size() : 0;
}

QByteArray KVThumbnail::encoded() const {
    return m_data ? m_data->encoded : QByteArray();
}

int KVThumbnail::orientation() const {
    return m_data ? m_data->orientation : 1;
}
