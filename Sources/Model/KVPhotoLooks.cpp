// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoLooks.h"

#include <QImage>

#include <cstdlib>

namespace {

// The size of the thumbnails cameras embed: small enough to compare fast, large enough to tell
// a clock's second hand or a face from one second to the next.
const QSize lookSize(160, 107);

} // namespace

KVPhotoLooks::KVPhotoLooks(std::vector<const std::vector<KVImageFileRef> *> cameras)
    : m_cameras(std::move(cameras)) {
}

std::optional<QByteArray> KVPhotoLooks::look(int camera, qint64 photo) {
    if (camera < 0 || size_t(camera) >= m_cameras.size() || photo < 0 ||
        size_t(photo) >= m_cameras[size_t(camera)]->size())
        return std::nullopt;
    const std::pair key(camera, photo);
    {
        std::lock_guard lock(m_mutex);
        if (const auto it = m_looks.find(key); it != m_looks.end())
            return it->second.isEmpty() ? std::nullopt : std::optional(it->second);
    }
    // Made outside the lock: decoding is the slow part, and other threads may look meanwhile.
    QByteArray pixels;
    const QImage thumbnail = (*m_cameras[size_t(camera)])[size_t(photo)]->thumbnail();
    if (!thumbnail.isNull()) {
        const QImage grey =
            thumbnail.scaled(lookSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                .convertToFormat(QImage::Format_Grayscale8);
        pixels.reserve(lookSize.width() * lookSize.height());
        for (int y = 0; y < grey.height(); ++y)
            pixels.append(reinterpret_cast<const char *>(grey.constScanLine(y)), grey.width());
    }
    std::lock_guard lock(m_mutex);
    m_looks.emplace(key, pixels);
    return pixels.isEmpty() ? std::nullopt : std::optional(pixels);
}

std::optional<double> KVPhotoLooks::distance(int camera, qint64 photo, int other,
                                             qint64 otherPhoto) {
    const std::optional<QByteArray> mine = look(camera, photo);
    const std::optional<QByteArray> theirs = look(other, otherPhoto);
    if (!mine || !theirs || mine->size() != theirs->size())
        return std::nullopt;
    qint64 sum = 0;
    for (qsizetype i = 0; i < mine->size(); ++i)
        sum += std::abs(int(quint8(mine->at(i))) - int(quint8(theirs->at(i))));
    return double(sum) / double(mine->size());
}
