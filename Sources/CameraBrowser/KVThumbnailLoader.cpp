// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVThumbnailLoader.h"

#include "KVBaseOperationQueue.h"
#include "KVDispatch.h"
#include "KVImageFile.h"
#include "KVInvocationOperation.h"

#include <QHash>

#include <algorithm>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace {

KVBaseOperationQueue &thumbnailQueue() {
    // One queue for every timeline, so that dozens of rows do not start dozens of threads.
    static KVBaseOperationQueue queue;
    return queue;
}

} // namespace

struct KVThumbnailLoader::Shared {
    struct Request {
        KVImageDataSourceRef image;
        // 0 when only the size is wanted.
        int pictureHeight;
        // A request asked again for more is a new generation; older work and answers for the
        // key are dropped, wherever they are by then.
        quint64 generation;
    };
    struct Ticket {
        quint64 key;
        quint64 generation;
    };

    // Takes the next request, pictures before sizes, or none when what is left was superseded.
    std::optional<std::pair<Ticket, Request>> takeNext() {
        std::lock_guard lock(mutex);
        for (std::deque<Ticket> *tickets : {&pictures, &sizes}) {
            if (tickets->empty())
                continue;
            const Ticket ticket = tickets->front();
            tickets->pop_front();
            if (isCurrent(ticket))
                return std::make_pair(ticket, pending.value(ticket.key));
            // Each ticket has its operation: a superseded one leaves that operation idle.
            return std::nullopt;
        }
        return std::nullopt;
    }

    bool isCurrent(const Ticket &ticket) const {
        const auto found = pending.constFind(ticket.key);
        return found != pending.constEnd() && found->generation == ticket.generation;
    }

    std::mutex mutex;
    KVThumbnailLoader *receiver = nullptr;
    // A key that is gone was cancelled or answered.
    QHash<quint64, Request> pending;
    std::deque<Ticket> pictures;
    std::deque<Ticket> sizes;
    quint64 nextGeneration = 0;
};

KVThumbnailLoader::KVThumbnailLoader(QObject *parent)
    : QObject(parent)
    , m_shared(std::make_shared<Shared>()) {
    m_shared->receiver = this;
}

KVThumbnailLoader::~KVThumbnailLoader() {
    std::lock_guard lock(m_shared->mutex);
    m_shared->receiver = nullptr;
    m_shared->pending.clear();
}

QSize KVThumbnailLoader::thumbnailPixelSize(KVImageDataSource &image) {
    // A photo file keeps its thumbnail compressed and knows its size without decoding it.
    if (auto *file = dynamic_cast<KVImageFile *>(&image))
        return file->thumbnailData().size();
    return image.thumbnail().size();
}

void KVThumbnailLoader::request(quint64 key, const KVImageDataSourceRef &image, int pictureHeight) {
    if (!image)
        return;
    {
        std::lock_guard lock(m_shared->mutex);
        const auto found = m_shared->pending.constFind(key);
        if (found != m_shared->pending.constEnd() &&
            (found->pictureHeight > 0 || pictureHeight <= 0))
            return;
        const Shared::Ticket ticket{key, ++m_shared->nextGeneration};
        m_shared->pending.insert(key, {image, std::max(0, pictureHeight), ticket.generation});
        (pictureHeight > 0 ? m_shared->pictures : m_shared->sizes).push_back(ticket);
    }
    std::shared_ptr<Shared> shared = m_shared;
    thumbnailQueue().addOperation(std::make_shared<KVInvocationOperation>([shared] {
        const auto next = shared->takeNext();
        if (!next)
            return QVariant();
        const auto &[ticket, request] = *next;
        QImage thumbnail;
        QSize pixelSize;
        if (request.pictureHeight > 0) {
            thumbnail = request.image->thumbnail();
            pixelSize = thumbnail.size();
            if (thumbnail.height() > request.pictureHeight)
                thumbnail =
                    thumbnail.scaledToHeight(request.pictureHeight, Qt::SmoothTransformation);
        } else {
            pixelSize = thumbnailPixelSize(*request.image);
        }
        KVDispatchMain([shared, ticket, thumbnail, pixelSize] {
            // The loader goes on the main thread only, so it cannot go while this runs.
            KVThumbnailLoader *receiver = nullptr;
            {
                std::lock_guard lock(shared->mutex);
                receiver = shared->receiver;
            }
            if (receiver)
                receiver->deliver(ticket.key, ticket.generation, thumbnail, pixelSize);
        });
        return QVariant();
    }));
}

void KVThumbnailLoader::deliver(quint64 key, quint64 generation, const QImage &thumbnail,
                                const QSize &pixelSize) {
    {
        std::lock_guard lock(m_shared->mutex);
        if (!m_shared->isCurrent({key, generation}))
            return;
        m_shared->pending.remove(key);
    }
    emit thumbnailReady(key, thumbnail, pixelSize);
}

void KVThumbnailLoader::cancel(quint64 key) {
    std::lock_guard lock(m_shared->mutex);
    m_shared->pending.remove(key);
}

void KVThumbnailLoader::cancelAll() {
    std::lock_guard lock(m_shared->mutex);
    m_shared->pending.clear();
}

bool KVThumbnailLoader::isPending(quint64 key) const {
    std::lock_guard lock(m_shared->mutex);
    return m_shared->pending.contains(key);
}

int KVThumbnailLoader::pendingCount() const {
    std::lock_guard lock(m_shared->mutex);
    return int(m_shared->pending.size());
}
