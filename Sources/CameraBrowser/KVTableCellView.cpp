// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTableCellView.h"

#include "KVAssert.h"
#include "KVBundleImage.h"
#include "KVCameraViewDocumentView.h"
#include "KVGeometry.h"
#include "KVKeyPath.h"
#include "KVScroller.h"
#include "KVSliderCell.h"
#include "KVStringDrawing.h"
#include "KVTimelineScrollView.h"
#include "KVTimeScale.h"

#include <QHelpEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

const KVTextAttributes &stringAttributesWithFontSize(int size) {
    auto make = [](int points) {
        KVTextAttributes attributes;
        attributes.font = KVLucidaGrande(points);
        attributes.color = QColor::fromRgbF(0.353f, 0.392f, 0.458f, 1.0f);
        attributes.hasShadow = true;
        attributes.shadowColor = QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.4f);
        attributes.shadowOffset = QPointF(0, -1);
        return attributes;
    };
    static const KVTextAttributes title = make(13);
    static const KVTextAttributes date = make(11);
    return size == 13 ? title : date;
}

constexpr double titleX = 8;
constexpr double sliderWidth = 110;
constexpr double sliderHeight = 18;
constexpr double sliderRightMargin = 8;
// The time across the row when it shows one photo.
constexpr double shownSeconds = 60;
const QColor warningNoteColor = QColor(0xf0, 0xa8, 0x3c);
const QColor noteColor = QColor(0xc9, 0xdb, 0xb8);

} // namespace

KVTableCellView::KVTableCellView(QWidget *parent)
    : QWidget(parent)
    , m_scrollView(new KVTimelineScrollView(this))
    , m_slider(new KVSliderCell(this)) {
    m_scrollView->setHorizontalScrollBar(new KVScroller);
    m_slider->setRange(0, sliderSteps);
    m_slider->setFocusPolicy(Qt::NoFocus);
    connect(m_slider, &QSlider::valueChanged, this, &KVTableCellView::sliderMoved);
    connect(m_scrollView, &KVTimelineScrollView::boundsChanged, this,
            &KVTableCellView::viewBoundsChanged);
    addObserving();
    layoutContents();
}

KVTableCellView::~KVTableCellView() {
    removeObserving();
}

KVCameraViewDocumentView *KVTableCellView::documentView() const {
    return m_scrollView->documentView();
}

void KVTableCellView::setCameraTitle(const QString &title) {
    if (title == m_cameraTitle)
        return;
    m_cameraTitle = title;
    update(KVFlippedRect(cameraHeaderBounds(), height()).toAlignedRect());
}

void KVTableCellView::setSectionTitle(const QString &title) {
    if (title == m_sectionTitle)
        return;
    m_sectionTitle = title;
    update(KVFlippedRect(cameraHeaderBounds(), height()).toAlignedRect());
}

void KVTableCellView::setNote(const QString &note, bool isWarning) {
    if (note == m_note && isWarning == m_isNoteWarning)
        return;
    m_note = note;
    m_isNoteWarning = isWarning;
    update(KVFlippedRect(cameraHeaderBounds(), height()).toAlignedRect());
}

void KVTableCellView::showPhotoAtIndex(int index) {
    KVCameraViewDocumentView *timeline = documentView();
    if (index < 0 || index >= timeline->imageCount())
        return;
    // A minute across the row tells the photo from its neighbours of the same burst.
    const double wanted = std::clamp(double(timeline->visibleRect().width()) / shownSeconds,
                                     timeline->minScaleValue(), timeline->maxScaleValue());
    setSliderValue(convertScaleToSliderValue(wanted));
    applySliderValue(m_value, timeline->imageFrame(index).center().x());
    const QRectF frame = timeline->imageFrame(index);
    timeline->setVisibleOriginX(frame.center().x() - timeline->visibleRect().width() * 0.5);
}

QRectF KVTableCellView::sliderFrame() const {
    const QRectF header = cameraHeaderBounds();
    return QRectF(header.right() - sliderRightMargin - sliderWidth,
                  header.y() + (header.height() - sliderHeight) * 0.5, sliderWidth, sliderHeight);
}

QRectF KVTableCellView::cameraHeaderBounds() const {
    const QRectF bounds = rect();
    const QRectF scrollFrame = KVFlippedRect(m_scrollView->geometry(), bounds.height());
    const double headerHeight = bounds.height() - (scrollFrame.y() + scrollFrame.height());
    return QRectF(bounds.x(), bounds.height() - headerHeight, bounds.width(), headerHeight);
}

QString KVTableCellView::stringForDate(const QDateTime &date, KVCalendarUnit viewTimeUnit) {
    return KVTimeScale::headerStringForDate(date, viewTimeUnit);
}

void KVTableCellView::setPhotos(const std::vector<std::shared_ptr<KVImageDataSource>> &photos,
                                KVDocumentViewDelegate *delegate) {
    KVCameraViewDocumentView *timeline = documentView();
    timeline->removeAllImages(false);
    for (std::size_t i = 0; i < photos.size(); ++i) {
        if (photos[i])
            timeline->insertImageWithProvider(photos[i], i);
    }
    timeline->setDelegate(delegate);
    layoutContents();
    timeline->sizeToFit();
    setSliderRange(timeline->minScaleValue(), timeline->maxScaleValue());
    setSliderValue(timeline->minScaleValue());
    viewBoundsChanged();
}

void KVTableCellView::setSliderRange(double minimum, double maximum) {
    if (!std::isfinite(minimum))
        minimum = 0;
    if (!std::isfinite(maximum) || maximum < minimum)
        maximum = minimum;
    m_minValue = minimum;
    m_maxValue = maximum;
    m_value = std::clamp(m_value, m_minValue, m_maxValue);
    updateKnob();
}

void KVTableCellView::setSliderValue(double value) {
    // NaN goes to the minimum, where the whole timeline is shown.
    m_value = std::isnan(value) ? m_minValue : std::clamp(value, m_minValue, m_maxValue);
    updateKnob();
}

void KVTableCellView::updateKnob() {
    const double span = m_maxValue - m_minValue;
    const int position =
        span > 0 ? int(std::lround((m_value - m_minValue) / span * sliderSteps)) : 0;
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(position);
}

void KVTableCellView::sliderMoved(int position) {
    // The ends are set exactly: the minimum is how the row knows to show the whole timeline.
    if (position <= 0)
        m_value = m_minValue;
    else if (position >= sliderSteps)
        m_value = m_maxValue;
    else
        m_value = m_minValue + (m_maxValue - m_minValue) * position / sliderSteps;
    takeDoubleValueFrom(m_value);
}

double KVTableCellView::powerForConvertion() const {
    const double minimum = m_minValue;
    if (minimum > 1)
        return 1;
    if (minimum > 0.01)
        return 2;
    if (minimum > 0.0001)
        return 3;
    if (minimum > 0.000001)
        return 4;
    return 5;
}

double KVTableCellView::convertSliderValueToScale(double value) const {
    const double power = powerForConvertion();
    const double k = std::pow(m_maxValue - m_minValue, power - 1);
    if (k == 0)
        return value;
    const double scale = std::pow(value - m_minValue, power) / k + m_minValue;
    return std::isnan(scale) ? value : scale;
}

double KVTableCellView::convertScaleToSliderValue(double scale) const {
    const double power = powerForConvertion();
    KV_ASSERT(power != 0.0, "-[KVTableCellView convertScaleToSliderValue:]");
    return std::pow(std::pow(m_maxValue - m_minValue, power - 1) * (scale - m_minValue),
                    1 / power) +
           m_minValue;
}

void KVTableCellView::applySliderValue(double value, double anchorX) {
    KVCameraViewDocumentView *timeline = documentView();
    timeline->setScale(convertSliderValueToScale(value), true, anchorX);
    if (m_value == m_minValue)
        timeline->sizeToFit();
}

void KVTableCellView::takeDoubleValueFrom(double value) {
    const KVCameraViewDocumentView *timeline = documentView();
    const QRectF visible = timeline->visibleRect();
    double anchor = visible.x() + visible.width() * 0.5;
    for (int index : timeline->imagesIntersectingXRange(visible.left(), visible.right())) {
        const std::shared_ptr<KVImageDataSource> photo = timeline->imageAtIndex(index);
        const KVImageState state = photo ? photo->imageState() : KVImageStateNormal;
        if (state != KVImageStateSelected && state != KVImageStateEtalon)
            continue;
        const QRectF frame = timeline->imageFrame(index);
        if (frame.intersects(visible))
            anchor = frame.x();
    }
    applySliderValue(value, anchor);
}

void KVTableCellView::changeScaleToDelta(double delta, double anchorX) {
    setSliderValue(m_value + delta);
    applySliderValue(m_value, anchorX);
}

void KVTableCellView::changeSliderValueUsingScale(double scale) {
    setSliderValue(convertScaleToSliderValue(scale));
}

QPointF KVTableCellView::visibleOrigin() const {
    return documentView()->visibleRect().topLeft();
}

void KVTableCellView::viewBoundsChanged() {
    const KVCameraViewDocumentView *timeline = documentView();
    // An empty timeline has no dates to speak of.
    setSectionTitle(timeline->imageCount() == 0 ? QString()
                                                : stringForDate(timeline->dateOfVisibleRect(),
                                                                timeline->currentCalendarUnit()));
}

void KVTableCellView::addObserving() {
    if (!m_scrollView)
        KVAssertionFailure("nil != self.scrollView", "-[KVTableCellView addObserving]", __FILE__,
                           __LINE__);
    documentView()->addObserver(this, KVKeyPath::dateOfVisibleRect);
}

void KVTableCellView::removeObserving() {
    documentView()->removeObserver(this, KVKeyPath::dateOfVisibleRect);
}

void KVTableCellView::observeValueForKeyPath(const QString &keyPath, KVObservable *object) {
    if (keyPath != KVKeyPath::dateOfVisibleRect ||
        object != static_cast<KVObservable *>(documentView()))
        return;
    viewBoundsChanged();
}

void KVTableCellView::layoutContents() {
    const double boundsHeight = height();
    const QRectF scrollFrame(0, 0, width(), std::max(0.0, boundsHeight - headerHeight));
    m_scrollView->setGeometry(KVFlippedRect(scrollFrame, boundsHeight).toRect());
    m_slider->setGeometry(KVFlippedRect(sliderFrame(), boundsHeight).toRect());
}

void KVTableCellView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    layoutContents();
}

void KVTableCellView::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::white);
    const double boundsHeight = height();
    const QRectF header = cameraHeaderBounds();
    const QRectF headerRect = KVFlippedRect(header, boundsHeight);
    if (!event->rect().intersects(headerRect.toAlignedRect()))
        return;
    static const QImage &titleBar = KVBundleImage::named(QStringLiteral("CameraTitleBar"));
    if (!titleBar.isNull()) {
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.drawImage(headerRect, titleBar);
        painter.restore();
    }

    const KVTextAttributes &dateAttributes = stringAttributesWithFontSize(11);
    const QString date = documentView()->imageCount() == 0
                             ? QString()
                             : stringForDate(documentView()->dateOfVisibleRect(),
                                             documentView()->currentCalendarUnit());
    const QSizeF dateSize = KVSizeWithAttributes(date, dateAttributes);
    const QRectF dateRect(header.x() + (header.width() - dateSize.width()) * 0.5,
                          header.y() + (header.height() - dateSize.height()) * 0.5,
                          dateSize.width(), dateSize.height());
    KVDrawString(painter, date, KVFlippedRect(dateRect, boundsHeight).topLeft(), dateAttributes);
    drawNote(painter, header, dateRect.right() + 12, sliderFrame().x() - 12);

    const KVTextAttributes &titleAttributes = stringAttributesWithFontSize(13);
    const QString title =
        trimmedStringWithAttributes(m_cameraTitle, titleAttributes, dateRect.x() - 16);
    const QSizeF titleSize = KVSizeWithAttributes(title, titleAttributes);
    const QRectF titleRect(titleX, header.y() + (header.height() - titleSize.height()) * 0.5,
                           titleSize.width(), titleSize.height());
    KVDrawString(painter, title, KVFlippedRect(titleRect, boundsHeight).topLeft(), titleAttributes);
}

void KVTableCellView::drawNote(QPainter &painter, const QRectF &header, double left,
                               double right) const {
    if (m_note.isEmpty() || right - left < 40)
        return;
    const KVTextAttributes &attributes = stringAttributesWithFontSize(11);
    const QString text = trimmedStringWithAttributes(m_note, attributes, right - left - 12);
    const QSizeF size = KVSizeWithAttributes(text, attributes);
    const QRectF pill(right - size.width() - 12,
                      header.y() + (header.height() - size.height() - 4) * 0.5, size.width() + 12,
                      size.height() + 4);
    const QRectF flipped = KVFlippedRect(pill, height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_isNoteWarning ? warningNoteColor : noteColor);
    painter.drawRoundedRect(flipped, flipped.height() * 0.5, flipped.height() * 0.5);
    painter.restore();
    KVDrawString(painter, text, flipped.topLeft() + QPointF(6, 2), attributes);
}

bool KVTableCellView::event(QEvent *event) {
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    // The timeline has tips of its own; the row's tip belongs to the header.
    auto *help = static_cast<QHelpEvent *>(event);
    const QRect header = KVFlippedRect(cameraHeaderBounds(), height()).toAlignedRect();
    if (header.contains(help->pos()) && !toolTip().isEmpty())
        QToolTip::showText(help->globalPos(), toolTip(), this, header);
    else
        QToolTip::hideText();
    return true;
}

void KVTableCellView::wheelEvent(QWheelEvent *event) {
    // The camera list scrolls; the row itself has nothing to scroll vertically.
    event->ignore();
}
