// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraViewDocumentView.h"

#include "KVDocumentViewDelegate.h"
#include "KVGeometry.h"
#include "KVKeyPath.h"
#include "KVTimelineItems.h"
#include "KVTimelineScaleDrawer.h"

#include <QApplication>
#include <QCursor>
#include <QHelpEvent>
#include <QNativeGestureEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QToolTip>
#include <QTouchEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

KVCameraViewDocumentView::KVCameraViewDocumentView(QWidget *parent)
    : QWidget(parent)
    , m_items(std::make_unique<KVTimelineItems>(m_layout, this)) {
    setAttribute(Qt::WA_AcceptTouchEvents);
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(m_items.get(), &KVTimelineItems::needsDisplay, this,
            [this](const QRectF &documentRect) {
                if (documentRect.isNull())
                    setNeedsDisplay();
                else
                    setNeedsDisplay(widgetRectFromDocument(documentRect).toAlignedRect());
            });
}

KVCameraViewDocumentView::~KVCameraViewDocumentView() = default;

QStringList
KVCameraViewDocumentView::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    if (key == KVKeyPath::dateOfVisibleRect)
        return {KVKeyPath::scale, KVKeyPath::visibleOrigin};
    if (key == KVKeyPath::currentCalendarUnit)
        return {KVKeyPath::scale};
    return {};
}

QSize KVCameraViewDocumentView::sizeHint() const {
    return QSize(400, 120);
}

// Photos

void KVCameraViewDocumentView::insertImageWithProvider(const KVImageDataSourceRef &image,
                                                       std::size_t) {
    if (m_items->insert(image))
        setNeedsDisplay();
}

void KVCameraViewDocumentView::removeImageAtIndex(int index) {
    m_items->remove(index);
    setNeedsDisplay();
}

void KVCameraViewDocumentView::removeAllImages(bool redraw) {
    m_items->removeAll();
    if (redraw)
        setNeedsDisplay();
}

int KVCameraViewDocumentView::imageCount() const {
    return m_items->count();
}

KVImageDataSourceRef KVCameraViewDocumentView::imageAtIndex(int index) const {
    return m_items->image(index);
}

int KVCameraViewDocumentView::indexOfImage(const KVImageDataSource *image) const {
    return m_items->indexOf(image);
}

QRectF KVCameraViewDocumentView::imageFrame(int index) const {
    if (index < 0 || index >= imageCount())
        return QRectF();
    return m_layout.imageFrame(index);
}

std::optional<int> KVCameraViewDocumentView::imageHitTest(const QPointF &documentPoint) const {
    return m_layout.imageHitTest(documentPoint);
}

std::vector<int> KVCameraViewDocumentView::imageViewsBetweenStartTime(double startTime,
                                                                      double endTime) const {
    return m_layout.imageViewsBetweenStartTime(startTime, endTime);
}

std::optional<int> KVCameraViewDocumentView::lastImageViewBetweenStartTime(double startTime,
                                                                           double endTime) const {
    return m_layout.lastImageViewBetweenStartTime(startTime, endTime);
}

std::vector<int> KVCameraViewDocumentView::imagesIntersectingXRange(double left,
                                                                    double right) const {
    return m_layout.imagesIntersectingXRange(left, right);
}

KVImageView *KVCameraViewDocumentView::liveImageView(int index) const {
    updateItems();
    return m_items->item(index);
}

std::size_t KVCameraViewDocumentView::liveImageViewCount() const {
    updateItems();
    return m_items->live().size();
}

bool KVCameraViewDocumentView::hasPendingThumbnails() const {
    return m_items->hasPendingThumbnails();
}

void KVCameraViewDocumentView::updateItems() const {
    // Half a width either side, so that a short scroll finds the pictures already there.
    const double width = std::max(1.0, double(m_contentSize.width()));
    // Pictures are kept at the size they are drawn: hundreds of thumbnails may be in view.
    const double pictureHeight =
        KVImageFrame(KVImageFrame::provisionalFrame).imageBounds().height() * devicePixelRatioF();
    m_items->update(visibleOriginX() - 0.5 * width, visibleOriginX() + 1.5 * width,
                    visibleOriginX(), std::max(1, int(std::ceil(pictureHeight))));
}

// Scale and scrolling

namespace {

// No instant lies under an x at any other scale; such a value would only spread NaNs.
bool isUsableScale(double scale) {
    return scale > 0 && std::isfinite(scale);
}

} // namespace

void KVCameraViewDocumentView::setScale(double scale) {
    if (!isUsableScale(scale))
        return;
    m_layout.setScale(scale);
    layoutChanged(true);
}

void KVCameraViewDocumentView::setScale(double scale, bool fitFrame, double anchorX) {
    if (!isUsableScale(scale) || !std::isfinite(anchorX))
        return;
    m_layout.setScale(scale, fitFrame, anchorX);
    layoutChanged(true);
}

double KVCameraViewDocumentView::neededViewWidth() const {
    return m_layout.neededViewWidth();
}

void KVCameraViewDocumentView::sizeToFit() {
    m_contentSize = size();
    m_layout.setContentSize(QSizeF(size()));
    m_items->fitLastFrameNow();
    m_layout.sizeToFit();
    layoutChanged(true);
}

double KVCameraViewDocumentView::scaleHeight() const {
    return 0.2 * height();
}

double KVCameraViewDocumentView::imageHeight() const {
    return height() - scaleHeight() - 10;
}

double KVCameraViewDocumentView::selectedImageHeight() const {
    return imageHeight() + 10;
}

void KVCameraViewDocumentView::setVisibleOriginX(double x) {
    if (!std::isfinite(x))
        return;
    const double before = visibleOriginX();
    m_layout.setVisibleOriginX(x);
    if (visibleOriginX() == before)
        return;
    m_items->invalidate();
    setNeedsDisplay();
    emit documentGeometryChanged();
    didChangeValueForKey(KVKeyPath::visibleOrigin);
}

void KVCameraViewDocumentView::layoutChanged(bool scaleChanged) {
    m_items->invalidate();
    setNeedsDisplay();
    emit documentGeometryChanged();
    didChangeValueForKey(scaleChanged ? KVKeyPath::scale : KVKeyPath::visibleOrigin);
}

void KVCameraViewDocumentView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    const QSize old = m_contentSize;
    if (old == size())
        return;
    m_contentSize = size();
    if (old.width() <= 0 || old.height() <= 0) {
        // Nothing was in view yet, so there is no place to keep: the timeline is fitted.
        sizeToFit();
        return;
    }
    m_layout.resizeWithOldSuperviewSize(QSizeF(old), QSizeF(size()));
    layoutChanged(true);
}

QPointF KVCameraViewDocumentView::documentPointFromWidget(const QPointF &widgetPoint) const {
    return QPointF(visibleOriginX() + widgetPoint.x(), height() - widgetPoint.y());
}

QPointF KVCameraViewDocumentView::widgetPointFromDocument(const QPointF &documentPoint) const {
    return QPointF(documentPoint.x() - visibleOriginX(), height() - documentPoint.y());
}

QRectF KVCameraViewDocumentView::widgetRectFromDocument(const QRectF &documentRect) const {
    return KVFlippedRect(documentRect.translated(-visibleOriginX(), 0), height());
}

QDateTime KVCameraViewDocumentView::dateOfVisibleRect() const {
    return KVTimeScale::dateWithTimeIntervalSince1970(
        m_layout.timeScale().dateOfVisibleRect(visibleOriginX(), width()));
}

QString KVCameraViewDocumentView::stringForDate(const QDateTime &date, KVCalendarUnit timeUnit) {
    return KVTimeScale::stringForDate(date, timeUnit);
}

// The per-camera rules

bool KVCameraViewDocumentView::wantsChangeStateTo(KVImageView *imageView, KVImageState state) {
    return wantsChangeStateForImageAtIndex(indexOfImage(imageView->image().get()), state);
}

bool KVCameraViewDocumentView::wantsChangeStateForImageAtIndex(int index, KVImageState state) {
    if (index < 0 || index >= imageCount())
        return false;
    const KVImageState current = imageAtIndex(index)->imageState();
    if (state == KVImageStateNormal &&
        (current == KVImageStateEtalon || current == KVImageStateSelected))
        return true;
    const auto askDelegate = [&](bool withoutDelegate) {
        return m_delegate ? m_delegate->wantsChangeStateTo(this, state, std::size_t(index))
                          : withoutDelegate;
    };
    if (current != KVImageStateNormal ||
        (state != KVImageStateSelected && state != KVImageStateEtalon))
        return askDelegate(false);
    for (int other = 0; other < imageCount(); ++other) {
        if (other == index)
            continue;
        KVImageDataSource &photo = *imageAtIndex(other);
        const KVImageState otherState = photo.imageState();
        // A camera that holds the reference photo gets no selected photo.
        if (state == KVImageStateSelected && otherState == KVImageStateEtalon)
            return false;
        if ((state == KVImageStateEtalon && otherState == KVImageStateEtalon) ||
            otherState == KVImageStateSelected) {
            photo.setImageState(KVImageStateNormal);
            break;
        }
    }
    if (state == KVImageStateEtalon)
        return askDelegate(true);
    return true;
}

// Events

bool KVCameraViewDocumentView::event(QEvent *event) {
    switch (event->type()) {
    case QEvent::ToolTip: {
        auto *help = static_cast<QHelpEvent *>(event);
        const QString tip = toolTipAt(documentPointFromWidget(help->pos()));
        if (tip.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), tip, this);
        return true;
    }
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
        handleTouch(static_cast<QTouchEvent *>(event));
        return true;
    case QEvent::NativeGesture: {
        auto *gesture = static_cast<QNativeGestureEvent *>(event);
        if (gesture->gestureType() != Qt::ZoomNativeGesture)
            break;
        // The gesture's value is a relative magnification; a tenth of a pinch is worth about
        // the 20 units of finger travel that move a slider as far.
        if (m_delegate)
            m_delegate->requestToChangeScaleBy(this, gesture->value() * 100.0 * 0.5,
                                               anchorForWidgetPoint(gesture->position()));
        event->accept();
        return true;
    }
    default:
        break;
    }
    return QWidget::event(event);
}

QString KVCameraViewDocumentView::toolTipAt(const QPointF &documentPoint) const {
    // Each thumbnail's area is the provisional frame it was registered with, placed at the
    // thumbnail's origin: 150 wide and 8 up, whatever the picture's width.
    const QRectF area = KVImageFrame::provisionalFrame;
    const auto areaHolds = [&](int index) {
        const QPointF origin = m_layout.imageFrame(index).topLeft();
        return area.translated(origin).contains(documentPoint);
    };
    int owner = imageCount() - 1;
    while (owner >= 0 && !areaHolds(owner))
        --owner;
    if (owner < 0)
        return QString();
    // Of the owner and the thumbnails above it, the topmost under the point speaks.
    int speaker = owner;
    for (int index = imageCount() - 1; index > owner; --index) {
        if (m_layout.imageFrame(index).contains(documentPoint)) {
            speaker = index;
            break;
        }
    }
    return KVImageView::toolTipForImage(imageAtIndex(speaker).get());
}

double KVCameraViewDocumentView::anchorForWidgetPoint(const QPointF &widgetPoint) const {
    const QPointF point = documentPointFromWidget(widgetPoint);
    if (const std::optional<int> hit = imageHitTest(point))
        return m_layout.imageFrame(*hit).x();
    return point.x();
}

void KVCameraViewDocumentView::wheelEvent(QWheelEvent *event) {
    // Lines, as the wheel counts them: a notch is one, a touchpad gives fractions.
    const QPointF delta = event->pixelDelta().isNull() ? QPointF(event->angleDelta()) / 120.0
                                                       : QPointF(event->pixelDelta()) / 10.0;
    if (event->modifiers() & (Qt::ControlModifier | Qt::MetaModifier)) {
        event->accept();
        if (delta.y() == 0 || !m_delegate)
            return;
        // A line of the wheel moves the zoom slider by a fiftieth of its travel: one slider
        // unit per line, as the slider counts in pixels per second, would take a thousand
        // notches to cross a row's range.
        const double line = std::max(1.0, (maxScaleValue() - minScaleValue()) / 50.0);
        m_delegate->requestToChangeScaleBy(this, delta.y() * line,
                                           anchorForWidgetPoint(event->position()));
        return;
    }
    if (std::abs(delta.x()) > std::abs(delta.y())) {
        const double pixels = event->pixelDelta().isNull()
                                  ? delta.x() * QApplication::wheelScrollLines() * 20.0
                                  : double(event->pixelDelta().x());
        setVisibleOriginX(visibleOriginX() - pixels);
        event->accept();
        return;
    }
    // Vertical movement belongs to the list of cameras.
    event->ignore();
}

void KVCameraViewDocumentView::handleTouch(QTouchEvent *event) {
    event->accept();
    const std::optional<KVPinchTracker::Step> step = m_pinch.touchEvent(*event);
    if (!step || !m_delegate)
        return;
    const QPointF anchor =
        step->position ? *step->position : QPointF(mapFromGlobal(QCursor::pos()));
    m_delegate->requestToChangeScaleBy(this, step->delta, anchorForWidgetPoint(anchor));
}

void KVCameraViewDocumentView::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    handleClick(event->position(), m_clickCounter.countFor(*event));
}

void KVCameraViewDocumentView::mouseDoubleClickEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseDoubleClickEvent(event);
        return;
    }
    handleClick(event->position(), m_clickCounter.countFor(*event));
}

void KVCameraViewDocumentView::handleClick(const QPointF &widgetPoint, int clickCount) {
    const QPointF point = documentPointFromWidget(widgetPoint);
    if (const std::optional<int> hit = imageHitTest(point)) {
        // The topmost thumbnail under the pointer shows, so it has an item.
        if (KVImageView *item = liveImageView(*hit))
            item->mouseDown(clickCount);
        return;
    }
    if (clickCount != 2)
        return;
    const std::optional<KVTimelineLayout::ScaleSpanZoom> zoom = m_layout.zoomToScaleSpanAt(point);
    if (!zoom)
        return;
    m_layout.setScale(zoom->scale);
    m_layout.setFrameWidth(zoom->frameWidth);
    m_layout.setVisibleOriginX(zoom->visibleOriginX);
    layoutChanged(true);
    if (m_delegate)
        m_delegate->didChangeScaleWithoutSlider(this, scale());
}

// Drawing

void KVCameraViewDocumentView::setNeedsDisplay(const QRect &rect) {
    const QRect stale = rect.isNull() ? this->rect() : rect.intersected(this->rect());
    m_staleInCache += stale;
    update(stale);
}

void KVCameraViewDocumentView::setPaintCacheEnabled(bool enabled) {
    m_paintCacheEnabled = enabled;
    m_paintCache = QImage();
    update();
}

void KVCameraViewDocumentView::paintEvent(QPaintEvent *event) {
    updateItems();
    QPainter painter(this);
    if (!m_paintCacheEnabled) {
        drawContent(painter, event->rect());
        return;
    }
    const double ratio = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    if (m_paintCache.size() != pixels || m_paintCache.devicePixelRatioF() != ratio) {
        m_paintCache = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        m_paintCache.setDevicePixelRatio(ratio);
        m_staleInCache = rect();
    }
    if (!m_staleInCache.isEmpty()) {
        QPainter cache(&m_paintCache);
        for (const QRect &stale : m_staleInCache) {
            cache.save();
            cache.setClipRect(stale);
            drawContent(cache, stale);
            cache.restore();
        }
        m_staleInCache = QRegion();
    }
    const QRect shown = event->rect();
    painter.drawImage(shown, m_paintCache,
                      QRectF(QPointF(shown.topLeft()) * ratio, QSizeF(shown.size()) * ratio));
}

void KVCameraViewDocumentView::drawContent(QPainter &painter, const QRect &dirty) {
    KVTimelineScaleDrawer::draw(painter, m_layout, dirty, size());
    // A thousand thumbnails may show at the coarsest zoom: the painter is set up once for all
    // of them, and each gets only its own clip and position. Each is clipped to the columns no
    // later thumbnail covers, so none paints over another and the order does not matter.
    painter.save();
    KVImageView::setUpPainter(painter);
    const QTransform base = painter.worldTransform();
    const QRectF area(dirty);
    for (int index : m_items->live()) {
        const KVImageView &item = *m_items->item(index);
        const QRectF place = widgetRectFromDocument(item.frame());
        const auto [left, right] = m_items->visibleSpan(index);
        const QRectF shows =
            QRectF(left - visibleOriginX(), place.top(), right - left, place.height()) & area;
        if (shows.isEmpty())
            continue;
        painter.setWorldTransform(base);
        painter.setClipRect(shows, Qt::ReplaceClip);
        painter.setWorldTransform(QTransform(base).translate(place.left(), place.top()));
        item.draw(painter);
    }
    painter.restore();
}
