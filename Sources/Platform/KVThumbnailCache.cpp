// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVThumbnailCache.h"

KVThumbnailCache::KVThumbnailCache(qsizetype maxBytes)
    : m_maxBytes(qMax<qsizetype>(0, maxBytes)) {
}

KVThumbnailCache::~KVThumbnailCache() = default;

KVThumbnailCache &KVThumbnailCache::shared() {
    // Leaked on purpose: thumbnails held by other static objects may die after any static cache.
    static KVThumbnailCache *cache = new KVThumbnailCache;
    return *cache;
}

quint64 KVThumbnailCache::idOf(const KVThumbnail &thumbnail) {
    return thumbnail.m_data ? thumbnail.m_data->id : 0;
}

QImage KVThumbnailCache::find(const KVThumbnail &thumbnail) {
    const quint64 id = idOf(thumbnail);
    if (id == 0)
        return {};
    std::lock_guard lock(m_mutex);
    const auto found = m_index.constFind(id);
    if (found == m_index.cend())
        return {};
    m_entries.splice(m_entries.begin(), m_entries, found.value());
    return m_entries.front().image;
}

void KVThumbnailCache::insert(const KVThumbnail &thumbnail, const QImage &image) {
    const quint64 id = idOf(thumbnail);
    if (id == 0 || image.isNull())
        return;
    const qsizetype bytes = image.sizeInBytes();
    std::lock_guard lock(m_mutex);
    if (const auto found = m_index.constFind(id); found != m_index.cend()) {
        m_totalBytes -= found.value()->bytes;
        m_entries.erase(found.value());
        m_index.erase(found);
    }
    if (bytes > m_maxBytes)
        return;
    m_entries.push_front(Entry{id, image, bytes});
    m_index.insert(id, m_entries.begin());
    m_totalBytes += bytes;
    trimLocked();
}

void KVThumbnailCache::remove(const KVThumbnail &thumbnail) {
    removeId(idOf(thumbnail));
}

void KVThumbnailCache::removeId(quint64 id) {
    if (id == 0)
        return;
    std::lock_guard lock(m_mutex);
    const auto found = m_index.constFind(id);
    if (found == m_index.cend())
        return;
    m_totalBytes -= found.value()->bytes;
    m_entries.erase(found.value());
    m_index.erase(found);
}

bool KVThumbnailCache::contains(const KVThumbnail &thumbnail) const {
    const quint64 id = idOf(thumbnail);
    std::lock_guard lock(m_mutex);
    return id != 0 && m_index.contains(id);
}

void KVThumbnailCache::clear() {
    Entries dropped; // pictures are freed outside the lock
    {
        std::lock_guard lock(m_mutex);
        dropped.swap(m_entries);
        m_index.clear();
        m_totalBytes = 0;
    }
}

void KVThumbnailCache::setMaxBytes(qsizetype maxBytes) {
    std::lock_guard lock(m_mutex);
    m_maxBytes = qMax<qsizetype>(0, maxBytes);
    trimLocked();
}

qsizetype KVThumbnailCache::maxBytes() const {
    std::lock_guard lock(m_mutex);
    return m_maxBytes;
}

qsizetype KVThumbnailCache::totalBytes() const {
    std::lock_guard lock(m_mutex);
    return m_totalBytes;
}

qsizetype KVThumbnailCache::count() const {
    std::lock_guard lock(m_mutex);
    return qsizetype(m_entries.size());
}

void KVThumbnailCache::trimLocked() {
    while (m_totalBytes > m_maxBytes && !m_entries.empty()) {
        const Entry &last = m_entries.back();
        m_totalBytes -= last.bytes;
        m_index.remove(last.id);
        m_entries.pop_back();
    }
}
