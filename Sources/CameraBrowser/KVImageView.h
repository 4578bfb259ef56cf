// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageDataSource.h"
#include "KVImageFrame.h"
#include "KVObservable.h"

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <functional>
#include <memory>

class KVImageViewDelegate;
struct KVTextAttributes;
class QPainter;

using KVImageDataSourceRef = std::shared_ptr<KVImageDataSource>;

// One photo on a camera's timeline: its frame, its look (normal, selected, reference, padlock)
// and the click rule. Deliberately not a widget: a timeline of ten thousand photos keeps items
// only for the photos in view and paints them itself, so an item is a frame, a photo and, while
// it is shown, its decoded thumbnail.
//
// The frame is in the timeline's coordinates and the item's own drawing in its bounds, both with
// y up. While it holds a photo that is a KVObservable, the item follows its "imageState" and
// "url"; notices from other threads are carried over to the main thread.
class KVImageView : public KVObserver {
public:
    explicit KVImageView(const QRectF &frame = KVImageFrame::provisionalFrame);
    ~KVImageView() override;
    KVImageView(const KVImageView &) = delete;
    KVImageView &operator=(const KVImageView &) = delete;

    const KVImageDataSourceRef &image() const { return m_image; }
    // Fits the frame to the photo's thumbnail (read now) and grows it for a selected or reference
    // photo. The same photo again does nothing.
    void setImage(const KVImageDataSourceRef &image);
    // The same, with the thumbnail already at hand; a null one fits nothing until it arrives.
    void setImage(const KVImageDataSourceRef &image, const QImage &thumbnail);
    QImage thumbnail() const { return m_thumbnail; }
    // The picture arrived later, or is let go while it does not show; the frame is left alone.
    void setThumbnail(const QImage &thumbnail);
    // The photo's thumbnail size, known before (and without) its picture: a photo with a
    // thumbnail has a frame even while its picture is not at hand.
    QSize thumbnailPixelSize() const { return m_thumbnailPixelSize; }
    void setThumbnailPixelSize(const QSize &size);

    KVImageViewDelegate *delegate() const { return m_delegate; }
    void setDelegate(KVImageViewDelegate *delegate) { m_delegate = delegate; }

    QRectF frame() const { return m_frame.frame(); }
    void setFrame(const QRectF &frame);
    QRectF bounds() const { return QRectF(QPointF(0, 0), frame().size()); }
    bool enlarged() const { return m_frame.enlarged(); }
    void setEnlarged(bool enlarged) { m_frame.setEnlarged(enlarged); }
    QRectF imageBounds() const { return m_frame.imageBounds(); }
    QRectF frameToFitImage(const KVImageDataSourceRef &image) const;
    static QPointF originToCenterSize(const QSizeF &size, const QRectF &rect) {
        return KVImageFrame::originToCenterSize(size, rect);
    }
    void enlargeFrame();
    void condenseFrame();

    // Three lines: camera, path, date; empty without a photo.
    QString toolTip() const { return toolTipForImage(m_image.get()); }
    static QString toolTipForImage(KVImageDataSource *image);

    // Paints the item with the painter's origin at the top left of its bounds (Qt's y down),
    // on a painter set up by setUpPainter (a fresh one is): sharp lines and pictures, no brush.
    // It changes the painter's pen.
    void draw(QPainter &painter) const;
    void drawFrame(QPainter &painter) const;
    static void setUpPainter(QPainter &painter);

    static KVImageState calculateValueForState(KVImageState state, int clickCount);
    // A click of that count: the delegate is asked, and the photo changes only when it agrees.
    void mouseDown(int clickCount);

    // Told whenever the frame or the look changed, so that the owner relayouts and repaints.
    void setChangeHandler(std::function<void(KVImageView *)> handler) {
        m_changeHandler = std::move(handler);
    }

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

    static const QImage &etalonMark();
    static const QImage &padlockMark();
    static const QImage &textGradientImage();
    static QColor labelColor();
    static const KVTextAttributes &labelAttributes();

private:
    void stopObserving();
    void applyChange(const QString &keyPath);
    void changed();
    void updateWritable();

    KVImageDataSourceRef m_image;
    KVObservable *m_observed = nullptr;
    KVImageViewDelegate *m_delegate = nullptr;
    KVImageFrame m_frame;
    QImage m_thumbnail;
    QSize m_thumbnailPixelSize;
    bool m_writable = true;
    std::function<void(KVImageView *)> m_changeHandler;
    // Lets a notice carried over to the main thread find out that the item is gone.
    std::shared_ptr<KVImageView *> m_self;
};
