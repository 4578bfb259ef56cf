// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageView.h"

#include <QImage>
#include <QObject>
#include <QSize>

#include <memory>

// Reads thumbnails off the main thread for one timeline: a photo's thumbnail may have to be read
// from its file and decoded, and a row of thousands must never wait for that while painting.
// Each request is known by a key of the caller's; an answer comes on the main thread, once per
// request that was not cancelled, also when the photo has no thumbnail (a null picture).
class KVThumbnailLoader : public QObject {
    Q_OBJECT
public:
    explicit KVThumbnailLoader(QObject *parent = nullptr);
    ~KVThumbnailLoader() override;

    // A picture is brought down to pictureHeight pixels (its aspect kept) when it is taller.
    // With pictureHeight 0 only the pixel size is wanted, which a photo file knows without
    // decoding its picture; such requests wait behind those for pictures. The size answered is
    // always the thumbnail's own.
    void request(quint64 key, const KVImageDataSourceRef &image, int pictureHeight);
    void cancel(quint64 key);
    void cancelAll();
    bool isPending(quint64 key) const;
    int pendingCount() const;

    // What a worker does for one request; also used on the main thread when a size cannot wait.
    static QSize thumbnailPixelSize(KVImageDataSource &image);

signals:
    void thumbnailReady(quint64 key, const QImage &thumbnail, const QSize &pixelSize);

private:
    struct Shared;
    void deliver(quint64 key, quint64 generation, const QImage &thumbnail, const QSize &pixelSize);

    std::shared_ptr<Shared> m_shared;
};
