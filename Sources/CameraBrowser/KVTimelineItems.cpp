// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimelineItems.h"

#include "KVDispatch.h"
#include "KVKeyPath.h"
#include "KVThumbnailLoader.h"
#include "KVTimelineLayout.h"

#include <QPointer>

#include <algorithm>
#include <iterator>

struct KVTimelineItems::Entry {
    KVImageDataSourceRef image;
    KVObservable *observable = nullptr;
    quint64 key = 0;
    // Known once the loader has answered; until then the frame keeps the provisional width.
    std::optional<QSize> pixelSize;
    bool enlarged = false;
    std::shared_ptr<KVImageView> item;
    // While it has an item: the document x range in which it shows, and whether its picture does.
    double visibleLeft = 0;
    double visibleRight = 0;
    bool pictureShows = false;
};

KVTimelineItems::KVTimelineItems(KVTimelineLayout &layout, KVImageViewDelegate *itemDelegate,
                                 QObject *parent)
    : QObject(parent)
    , m_layout(layout)
    , m_itemDelegate(itemDelegate)
    , m_loader(new KVThumbnailLoader(this)) {
    connect(m_loader, &KVThumbnailLoader::thumbnailReady, this,
            &KVTimelineItems::thumbnailDidArrive);
}

KVTimelineItems::~KVTimelineItems() {
    for (const std::unique_ptr<Entry> &entry : m_entries) {
        if (entry->observable)
            entry->observable->removeObserver(this, KVKeyPath::imageState);
    }
}

bool KVTimelineItems::insert(const KVImageDataSourceRef &image) {
    if (!image || m_indexOfImage.contains(image.get()))
        return false;
    auto entry = std::make_unique<Entry>();
    entry->image = image;
    entry->key = m_nextKey++;
    KVImageFrame frame(KVImageFrame::provisionalFrame);
    frame.setImage(std::nullopt, image->imageState());
    entry->enlarged = frame.enlarged();
    if ((entry->observable = dynamic_cast<KVObservable *>(image.get())))
        entry->observable->addObserver(this, KVKeyPath::imageState);
    const int index = m_layout.insertImage(image->creationDate(), frame.frame());
    m_indexOfImage.insert(image.get(), index);
    if (entry->observable)
        m_indexOfObservable.insert(entry->observable, index);
    m_indexOfKey.insert(entry->key, index);
    m_loader->request(entry->key, image, 0);
    m_entries.push_back(std::move(entry));
    m_dirty = true;
    return true;
}

void KVTimelineItems::remove(int index) {
    if (index < 0 || index >= count())
        return;
    Entry &entry = *m_entries[index];
    if (entry.observable)
        entry.observable->removeObserver(this, KVKeyPath::imageState);
    m_loader->cancel(entry.key);
    m_entries.erase(m_entries.begin() + index);
    m_layout.removeImage(index);
    reindex();
}

void KVTimelineItems::removeAll() {
    for (const std::unique_ptr<Entry> &entry : m_entries) {
        if (entry->observable)
            entry->observable->removeObserver(this, KVKeyPath::imageState);
    }
    m_loader->cancelAll();
    m_entries.clear();
    m_layout.removeAllImages();
    reindex();
}

void KVTimelineItems::reindex() {
    m_indexOfImage.clear();
    m_indexOfObservable.clear();
    m_indexOfKey.clear();
    m_live.clear();
    for (int index = 0; index < count(); ++index) {
        const Entry &entry = *m_entries[index];
        m_indexOfImage.insert(entry.image.get(), index);
        if (entry.observable)
            m_indexOfObservable.insert(entry.observable, index);
        m_indexOfKey.insert(entry.key, index);
        if (entry.item)
            m_live.push_back(index);
    }
    m_dirty = true;
}

KVImageDataSourceRef KVTimelineItems::image(int index) const {
    if (index < 0 || index >= count())
        return nullptr;
    return m_entries[index]->image;
}

KVImageView *KVTimelineItems::item(int index) const {
    if (index < 0 || index >= count())
        return nullptr;
    return m_entries[index]->item.get();
}

std::pair<double, double> KVTimelineItems::visibleSpan(int index) const {
    const Entry &entry = *m_entries.at(index);
    return {entry.visibleLeft, entry.visibleRight};
}

bool KVTimelineItems::hasPendingThumbnails() const {
    return m_loader->pendingCount() > 0;
}

void KVTimelineItems::fitLastFrameNow() {
    const std::optional<int> last = m_layout.lastImageView();
    if (last && !m_entries[*last]->pixelSize)
        fitFrameToThumbnail(*last, KVThumbnailLoader::thumbnailPixelSize(*m_entries[*last]->image));
}

void KVTimelineItems::invalidate() {
    for (int index : m_live)
        m_entries[index]->item->setFrame(m_layout.imageFrame(index));
    m_dirty = true;
}

void KVTimelineItems::update(double left, double right, double pixelOrigin, int pictureHeight) {
    // A picture drawn smaller would be kept larger than needed: the shown set is looked at again.
    if (pictureHeight != m_pictureHeight)
        m_dirty = true;
    if (!m_dirty)
        return;
    m_dirty = false;
    m_pictureHeight = pictureHeight;
    std::vector<KVTimelineLayout::ShownImage> shown;
    if (count() > 0)
        shown = m_layout.imagesShownInXRange(left, right, pixelOrigin, KVImageFrame::fitInset);
    std::vector<int> wanted;
    wanted.reserve(shown.size());
    for (const KVTimelineLayout::ShownImage &image : shown)
        wanted.push_back(image.index);
    std::vector<int> released;
    std::set_difference(m_live.begin(), m_live.end(), wanted.begin(), wanted.end(),
                        std::back_inserter(released));
    for (int index : released)
        releaseItem(index);
    for (const KVTimelineLayout::ShownImage &image : shown) {
        Entry &entry = *m_entries[image.index];
        if (!entry.item)
            makeItem(image.index);
        entry.visibleLeft = image.visibleLeft;
        entry.visibleRight = image.visibleRight;
        entry.pictureShows = image.pictureShows;
        // Where only a sliver of the border shows, no picture is kept.
        if (image.pictureShows && entry.item->thumbnail().isNull()) {
            m_loader->request(entry.key, entry.image, m_pictureHeight);
        } else if (!image.pictureShows && !entry.item->thumbnail().isNull()) {
            entry.item->setThumbnail(QImage());
            if (entry.pixelSize)
                m_loader->cancel(entry.key);
        }
    }
    m_live = std::move(wanted);
}

void KVTimelineItems::makeItem(int index) {
    Entry &entry = *m_entries[index];
    auto item = std::make_shared<KVImageView>(m_layout.imageFrame(index));
    item->setImage(entry.image, QImage());
    // The timeline's geometry stands; the fitting was done on the entry.
    item->setFrame(m_layout.imageFrame(index));
    item->setEnlarged(entry.enlarged);
    item->setThumbnailPixelSize(entry.pixelSize.value_or(QSize()));
    item->setDelegate(m_itemDelegate);
    item->setChangeHandler([this](KVImageView *changed) { itemDidChange(changed); });
    entry.item = std::move(item);
}

void KVTimelineItems::releaseItem(int index) {
    Entry &entry = *m_entries[index];
    if (!entry.item)
        return;
    entry.enlarged = entry.item->enlarged();
    entry.item.reset();
    entry.pictureShows = false;
    // A picture on its way is no longer needed, unless the size is still to come with it.
    if (entry.pixelSize)
        m_loader->cancel(entry.key);
}

void KVTimelineItems::itemDidChange(KVImageView *item) {
    const int index = indexOf(item->image().get());
    if (index < 0 || m_entries[index]->item.get() != item)
        return;
    const QRectF before = m_layout.imageFrame(index);
    m_layout.setImageFrame(index, item->frame());
    m_entries[index]->enlarged = item->enlarged();
    if (before != item->frame())
        m_dirty = true;
    emit needsDisplay(before.united(item->frame()));
}

void KVTimelineItems::thumbnailDidArrive(quint64 key, const QImage &thumbnail,
                                         const QSize &pixelSize) {
    const auto found = m_indexOfKey.constFind(key);
    if (found == m_indexOfKey.constEnd())
        return;
    const int index = found.value();
    Entry &entry = *m_entries[index];
    if (!entry.pixelSize)
        fitFrameToThumbnail(index, pixelSize);
    if (entry.item && entry.pictureShows) {
        // Only the size came, from a request made before the picture was wanted.
        if (thumbnail.isNull() && !pixelSize.isEmpty())
            m_loader->request(entry.key, entry.image, m_pictureHeight);
        else
            entry.item->setThumbnail(thumbnail);
    }
}

void KVTimelineItems::fitFrameToThumbnail(int index, const QSize &pixelSize) {
    Entry &entry = *m_entries[index];
    entry.pixelSize = pixelSize;
    // Fitted as an item fits the frame given with its photo: from the provisional frame, then
    // grown. Only the width changes; x stays where the layout put the thumbnail.
    KVImageFrame fitted(KVImageFrame::provisionalFrame);
    fitted.setImage(pixelSize.isEmpty() ? std::nullopt : std::optional<QSizeF>(pixelSize),
                    KVImageStateNormal);
    if (entry.enlarged)
        fitted.enlargeFrame();
    QRectF frame = m_layout.imageFrame(index);
    if (entry.item)
        entry.item->setThumbnailPixelSize(pixelSize);
    if (frame.width() == fitted.frame().width())
        return;
    const QRectF before = frame;
    frame.setWidth(fitted.frame().width());
    m_layout.setImageFrame(index, frame);
    if (entry.item)
        entry.item->setFrame(frame);
    m_dirty = true;
    emit needsDisplay(before.united(frame));
}

void KVTimelineItems::observeValueForKeyPath(const QString &keyPath, KVObservable *object) {
    if (KVIsMainThread()) {
        imageDidChange(object, keyPath);
        return;
    }
    // The pointer is only compared, never followed: the photo may be gone by then.
    QPointer<KVTimelineItems> self(this);
    KVDispatchMain([self, object, keyPath] {
        if (self)
            self->imageDidChange(object, keyPath);
    });
}

void KVTimelineItems::imageDidChange(KVObservable *object, const QString &keyPath) {
    const int index = m_indexOfObservable.value(object, -1);
    // A photo in view is followed by its own item.
    if (keyPath != KVKeyPath::imageState || index < 0 || m_entries[index]->item)
        return;
    Entry &entry = *m_entries[index];
    KVImageFrame frame(m_layout.imageFrame(index));
    frame.setEnlarged(entry.enlarged);
    if (!frame.imageStateDidChange(entry.image->imageState()))
        return;
    entry.enlarged = frame.enlarged();
    m_layout.setImageFrame(index, frame.frame());
    m_dirty = true;
    emit needsDisplay(QRectF());
}
