// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCalendarUnit.h"
#include "KVClickCounter.h"
#include "KVImageView.h"
#include "KVImageViewDelegate.h"
#include "KVObservable.h"
#include "KVPinchTracker.h"
#include "KVTimelineLayout.h"

#include <QDateTime>
#include <QPointF>
#include <QRectF>
#include <QImage>
#include <QRegion>
#include <QWidget>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

class KVDocumentViewDelegate;
class KVTimelineItems;

// The timeline of one camera: its photos at x positions proportional to their dates, under a
// scale with ticks and labels. The document is virtual: ten years of photos at the largest scale
// is wider than 10^11 pixels, so the widget is only as wide as what is visible and keeps the
// visible origin (the scroll offset) as a double. Only the photos in view have a KVImageView;
// everything else is geometry in the layout.
//
// Document coordinates have y up and x = 0 at the earliest photo; widget coordinates are Qt's.
// Observable keys: "scale", "visibleOrigin"; "dateOfVisibleRect" and "currentCalendarUnit"
// follow "scale", and "dateOfVisibleRect" also "visibleOrigin".
class KVCameraViewDocumentView : public QWidget, public KVObservable, public KVImageViewDelegate {
    Q_OBJECT
public:
    explicit KVCameraViewDocumentView(QWidget *parent = nullptr);
    ~KVCameraViewDocumentView() override;

    KVDocumentViewDelegate *delegate() const { return m_delegate; }
    void setDelegate(KVDocumentViewDelegate *delegate) { m_delegate = delegate; }

    // Photos, in insertion order: a later one lies above an earlier one. The index of
    // insertImageWithProvider is not used; a photo always goes last.
    void insertImageWithProvider(const KVImageDataSourceRef &image, std::size_t index);
    void removeImageAtIndex(int index);
    void removeAllImages(bool redraw = true);
    int imageCount() const;
    KVImageDataSourceRef imageAtIndex(int index) const;
    // -1 when the photo is not on this timeline.
    int indexOfImage(const KVImageDataSource *image) const;
    QRectF imageFrame(int index) const;
    QDateTime firstImageDate() const { return m_layout.firstImageDate(); }
    QDateTime lastImageDate() const { return m_layout.lastImageDate(); }
    std::optional<int> imageHitTest(const QPointF &documentPoint) const;
    std::vector<int> imageViewsBetweenStartTime(double startTime, double endTime) const;
    std::optional<int> lastImageViewBetweenStartTime(double startTime, double endTime) const;
    std::vector<int> imagesIntersectingXRange(double left, double right) const;
    // The item of a photo in view; null for one that is not.
    KVImageView *liveImageView(int index) const;
    std::size_t liveImageViewCount() const;
    // Thumbnails are read off the main thread; true while any is on its way.
    bool hasPendingThumbnails() const;

    double scale() const { return m_layout.scale(); }
    void setScale(double scale);
    // With fitFrame the instant under anchorX (document x) stays where it was on the screen.
    void setScale(double scale, bool fitFrame, double anchorX);
    double minScaleValue() const { return m_layout.minScaleValue(); }
    double maxScaleValue() const { return m_layout.maxScaleValue(); }
    double neededViewWidth() const;
    void sizeToFit();
    bool isScalePossible() const { return m_layout.isScalePossible(); }
    double scaleHeight() const;
    double imageHeight() const;
    double selectedImageHeight() const;

    // The document's width (its frame width) and the part of it in view.
    double documentWidth() const { return m_layout.frameWidth(); }
    double visibleOriginX() const { return m_layout.visibleOriginX(); }
    // Kept within the document, as a scroll view keeps it.
    void setVisibleOriginX(double x);
    QRectF visibleRect() const { return m_layout.visibleRect(); }
    QPointF documentPointFromWidget(const QPointF &widgetPoint) const;
    QPointF widgetPointFromDocument(const QPointF &documentPoint) const;

    QDateTime dateOfVisibleRect() const;
    KVCalendarUnit currentCalendarUnit() const {
        return m_layout.timeScale().currentCalendarUnit();
    }
    double timeIntervalForX(double x, double viewScale) const {
        return m_layout.timeScale().timeIntervalForX(x, viewScale);
    }
    double offsetXForTimeInterval(double interval, double viewScale) const {
        return m_layout.timeScale().offsetXForTimeInterval(interval, viewScale);
    }
    QDateTime startScaleDate() const { return m_layout.timeScale().startScaleDate(); }
    QDateTime startScaleDateForDate(const QDateTime &date, double *lengthOfTimeUnit) const {
        return m_layout.timeScale().startScaleDateForDate(date, lengthOfTimeUnit);
    }
    static QString stringForDate(const QDateTime &date, KVCalendarUnit timeUnit);
    const KVTimelineLayout &layout() const { return m_layout; }

    // The per-camera rules: at most one selected or one reference photo; the browser is asked
    // about the rules across cameras.
    bool wantsChangeStateTo(KVImageView *imageView, KVImageState state) override;
    bool wantsChangeStateForImageAtIndex(int index, KVImageState state);

    // The tool tip at a document point: empty where no thumbnail's tool tip area lies.
    QString toolTipAt(const QPointF &documentPoint) const;

    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override;

    QSize sizeHint() const override;

    // The row keeps its last picture and paints again only what changed, so that a repaint of
    // an unchanged row (the list scrolled, a window over it) costs one copy instead of a
    // thousand thumbnails. Off, every paint draws everything afresh: same pixels, for tests.
    void setPaintCacheEnabled(bool enabled);
    bool isPaintCacheEnabled() const { return m_paintCacheEnabled; }

signals:
    // The document's width or the visible origin changed: the scroll bar follows.
    void documentGeometryChanged();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void handleClick(const QPointF &widgetPoint, int clickCount);
    double anchorForWidgetPoint(const QPointF &widgetPoint) const;
    void handleTouch(QTouchEvent *event);
    void layoutChanged(bool scaleChanged);
    void updateItems() const;
    QRectF widgetRectFromDocument(const QRectF &documentRect) const;
    // Every change of what the row shows comes through here: the kept picture of that part is
    // stale from now on, and the widget is asked to paint.
    void setNeedsDisplay(const QRect &rect = QRect());
    void drawContent(QPainter &painter, const QRect &dirty);

    KVTimelineLayout m_layout;
    // Made after and gone before the layout it keeps the photos' frames in.
    std::unique_ptr<KVTimelineItems> m_items;
    KVDocumentViewDelegate *m_delegate = nullptr;
    KVPinchTracker m_pinch;
    KVClickCounter m_clickCounter;
    // The size the layout knows; a resize is measured against it.
    QSize m_contentSize;
    bool m_paintCacheEnabled = true;
    QImage m_paintCache;
    QRegion m_staleInCache;
};
