// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <memory>

// A photo's thumbnail kept small: the compressed picture (JPEG bytes) and the EXIF orientation
// still to apply. Ten thousand decoded 256-pixel bitmaps would take gigabytes; the compressed
// form takes a few kilobytes, and the decoded form lives in a bounded shared cache
// (KVThumbnailCache). Copies share one immutable body; any thread may use them.
class KVThumbnail {
public:
    KVThumbnail() = default;
    // `orientation` is the EXIF orientation (1..8) that image() applies when decoding.
    KVThumbnail(QByteArray encoded, int orientation, QSize uprightSize);
    // Compresses an already upright bitmap (JPEG, quality 90; transparency goes onto white).
    // The bitmap is also placed in the shared cache, so the first image() does not decode.
    // Null when the bitmap is null or cannot be compressed.
    static KVThumbnail fromImage(const QImage &uprightImage);
    // Decodes compressed bytes and turns them upright: the decoding image() does. Null when the
    // bytes do not decode.
    static QImage decode(const QByteArray &encoded, int orientation);

    bool isNull() const { return !m_data; }
    // The upright bitmap, at most 256 pixels on its longer side; null when it cannot be decoded.
    // Served from the shared cache when it is there, else decoded and cached.
    QImage image() const;
    QSize size() const;
    qsizetype encodedSize() const;
    QByteArray encoded() const;
    int orientation() const;

private:
    struct Data {
        ~Data();
        QByteArray encoded;
        int orientation = 1;
        QSize uprightSize;
        // Unique for the life of the process, so a cache entry can never be taken for another
        // thumbnail's, even when a freed body's address is reused.
        quint64 id = 0;
    };
    std::shared_ptr<const Data> m_data;
    friend class KVThumbnailCache;
};
