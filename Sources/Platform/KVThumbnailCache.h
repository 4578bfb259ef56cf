// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVThumbnail.h"

#include <QHash>
#include <QImage>

#include <list>
#include <mutex>

// Decoded thumbnails, least recently used first out, bounded by the bytes of their pixels.
// Entries are keyed by the thumbnail body's process-unique id, never by its address; the
// shared cache also drops a thumbnail's entry when its last copy is destroyed.
// Thread-safe: every member may be called from any thread.
class KVThumbnailCache {
public:
    static constexpr qsizetype defaultMaxBytes = qsizetype(64) * 1024 * 1024;

    explicit KVThumbnailCache(qsizetype maxBytes = defaultMaxBytes);
    ~KVThumbnailCache();
    KVThumbnailCache(const KVThumbnailCache &) = delete;
    KVThumbnailCache &operator=(const KVThumbnailCache &) = delete;

    // The process-wide cache behind KVThumbnail::image(); never destroyed.
    static KVThumbnailCache &shared();

    // The cached picture of the thumbnail, now the most recently used; null when not cached.
    QImage find(const KVThumbnail &thumbnail);
    // Keeps the picture for the thumbnail (replacing an earlier one), then drops the least
    // recently used entries until the total fits the bound. A picture larger than the whole
    // bound is not kept. Null thumbnails and null pictures are ignored.
    void insert(const KVThumbnail &thumbnail, const QImage &image);
    void remove(const KVThumbnail &thumbnail);
    bool contains(const KVThumbnail &thumbnail) const;
    void clear();

    // Lowering the bound drops entries at once.
    void setMaxBytes(qsizetype maxBytes);
    qsizetype maxBytes() const;
    qsizetype totalBytes() const;
    qsizetype count() const;

private:
    struct Entry {
        quint64 id;
        QImage image;
        qsizetype bytes;
    };
    using Entries = std::list<Entry>;

    static quint64 idOf(const KVThumbnail &thumbnail);
    void removeId(quint64 id);
    void trimLocked();

    mutable std::mutex m_mutex;
    Entries m_entries; // most recently used first
    QHash<quint64, Entries::iterator> m_index;
    qsizetype m_maxBytes;
    qsizetype m_totalBytes = 0;

    friend class KVThumbnail;
};
