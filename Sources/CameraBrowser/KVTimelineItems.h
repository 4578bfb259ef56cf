// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageView.h"
#include "KVObservable.h"

#include <QHash>
#include <QObject>
#include <QRectF>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

class KVImageViewDelegate;
class KVThumbnailLoader;
class KVTimelineLayout;

// The photos of one timeline and the items of those in view. Every photo has a frame in the
// layout and is followed for its state, so that a reference photo far out of view still has its
// grown frame; only the photos that show get a KVImageView, and only those whose picture shows
// keep a decoded picture, read off the main thread.
class KVTimelineItems : public QObject, private KVObserver {
    Q_OBJECT
public:
    KVTimelineItems(KVTimelineLayout &layout, KVImageViewDelegate *itemDelegate,
                    QObject *parent = nullptr);
    ~KVTimelineItems() override;

    // False for no photo or one already there: a photo is found by its address.
    bool insert(const KVImageDataSourceRef &image);
    void remove(int index);
    void removeAll();
    int count() const { return int(m_entries.size()); }
    KVImageDataSourceRef image(int index) const;
    int indexOf(const KVImageDataSource *image) const { return m_indexOfImage.value(image, -1); }
    // The last photo's frame decides the fitted scale; its size is read now if not yet known.
    void fitLastFrameNow();

    // The layout moved or the view scrolled: the items take their frames from the layout at
    // once (an item that changes copies its frame back), and the next update looks again.
    void invalidate();
    // Makes the items for the photos that show in the document x range [left, right), columns
    // counted from pixelOrigin, pictures pictureHeight pixels high. Nothing while still valid.
    void update(double left, double right, double pixelOrigin, int pictureHeight);
    // The photos with an item, ascending.
    const std::vector<int> &live() const { return m_live; }
    KVImageView *item(int index) const;
    // The document x range of the columns in which the photo shows.
    std::pair<double, double> visibleSpan(int index) const;
    bool hasPendingThumbnails() const;

signals:
    // That part of the document (all of it for an empty rectangle) has to be drawn again.
    void needsDisplay(const QRectF &documentRect);

private:
    struct Entry;

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;
    void imageDidChange(KVObservable *object, const QString &keyPath);
    void makeItem(int index);
    void releaseItem(int index);
    void itemDidChange(KVImageView *item);
    void thumbnailDidArrive(quint64 key, const QImage &thumbnail, const QSize &pixelSize);
    void fitFrameToThumbnail(int index, const QSize &pixelSize);
    void reindex();

    KVTimelineLayout &m_layout;
    KVImageViewDelegate *m_itemDelegate;
    KVThumbnailLoader *m_loader;
    std::vector<std::unique_ptr<Entry>> m_entries;
    QHash<const KVImageDataSource *, int> m_indexOfImage;
    QHash<const KVObservable *, int> m_indexOfObservable;
    QHash<quint64, int> m_indexOfKey;
    quint64 m_nextKey = 1;
    std::vector<int> m_live;
    bool m_dirty = true;
    int m_pictureHeight = 1;
};
