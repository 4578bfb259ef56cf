// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageView.h"

#include "KVBundleImage.h"
#include "KVDateText.h"
#include "KVDispatch.h"
#include "KVFileName.h"
#include "KVGeometry.h"
#include "KVImageViewDelegate.h"
#include "KVKeyPath.h"
#include "KVStringDrawing.h"
#include "KVURLExtensions.h"

#include <QLocale>
#include <QPainter>

namespace {

bool isEnlargedState(KVImageState state) {
    return state == KVImageStateSelected || state == KVImageStateEtalon;
}

QColor calibratedRGB(double red, double green, double blue) {
    return QColor::fromRgbF(float(red), float(green), float(blue));
}

// Text is placed with lower-left-origin geometry and drawn with Qt's top-left origin.
void drawStringAtOrigin(QPainter &painter, const QString &text, const QPointF &origin,
                        const QSizeF &size, double boundsHeight,
                        const KVTextAttributes &attributes) {
    const QRectF flipped = KVFlippedRect(QRectF(origin, size), boundsHeight);
    KVDrawString(painter, text, flipped.topLeft(), attributes);
}

void drawCentered(QPainter &painter, const QString &text, const QRectF &rect, double boundsHeight,
                  const KVTextAttributes &attributes) {
    const QSizeF size = KVSizeWithAttributes(text, attributes);
    drawStringAtOrigin(painter, text, KVImageFrame::originToCenterSize(size, rect), size,
                       boundsHeight, attributes);
}

} // namespace

KVImageView::KVImageView(const QRectF &frame)
    : m_frame(frame)
    , m_self(std::make_shared<KVImageView *>(this)) {
}

KVImageView::~KVImageView() {
    stopObserving();
}

const QImage &KVImageView::etalonMark() {
    return KVBundleImage::named(QStringLiteral("Etalon-Indicator"));
}

const QImage &KVImageView::padlockMark() {
    return KVBundleImage::named(QStringLiteral("Padlock_icon"));
}

const QImage &KVImageView::textGradientImage() {
    return KVBundleImage::named(QStringLiteral("OverStateGradient"));
}

QColor KVImageView::labelColor() {
    return Qt::white;
}

const KVTextAttributes &KVImageView::labelAttributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = KVLucidaGrande(11.0);
        made.color = labelColor();
        made.hasShadow = true;
        made.shadowColor = QColor::fromRgbF(0, 0, 0, 0.5f);
        made.shadowOffset = QPointF(0, 1);
        return made;
    }();
    return attributes;
}

void KVImageView::stopObserving() {
    if (!m_observed)
        return;
    m_observed->removeObserver(this, KVKeyPath::imageState);
    m_observed->removeObserver(this, KVKeyPath::url);
    m_observed = nullptr;
}

void KVImageView::setImage(const KVImageDataSourceRef &image) {
    if (image == m_image)
        return;
    setImage(image, image ? image->thumbnail() : QImage());
}

void KVImageView::setImage(const KVImageDataSourceRef &image, const QImage &thumbnail) {
    if (image == m_image)
        return;
    stopObserving();
    m_image = image;
    m_thumbnail = thumbnail;
    m_thumbnailPixelSize = thumbnail.size();
    if (auto *observable = dynamic_cast<KVObservable *>(image.get())) {
        observable->addObserver(this, KVKeyPath::imageState);
        observable->addObserver(this, KVKeyPath::url);
        m_observed = observable;
    }
    if (image) {
        std::optional<QSizeF> pixelSize;
        if (!thumbnail.isNull())
            pixelSize = QSizeF(thumbnail.size());
        m_frame.setImage(pixelSize, image->imageState());
    } else {
        m_frame.setFrame(m_frame.frameToFitImage(std::nullopt));
    }
    updateWritable();
    changed();
}

void KVImageView::setThumbnail(const QImage &thumbnail) {
    m_thumbnail = thumbnail;
    if (m_thumbnailPixelSize.isEmpty())
        m_thumbnailPixelSize = thumbnail.size();
    changed();
}

void KVImageView::setThumbnailPixelSize(const QSize &size) {
    if (size == m_thumbnailPixelSize)
        return;
    m_thumbnailPixelSize = size;
    changed();
}

void KVImageView::setFrame(const QRectF &frame) {
    m_frame.setFrame(frame);
}

QRectF KVImageView::frameToFitImage(const KVImageDataSourceRef &image) const {
    if (!image)
        return m_frame.frameToFitImage(std::nullopt);
    return m_frame.frameToFitImage(QSizeF(image->thumbnail().size()));
}

void KVImageView::enlargeFrame() {
    if (m_frame.enlargeFrame())
        changed();
}

void KVImageView::condenseFrame() {
    if (m_frame.condenseFrame())
        changed();
}

QString KVImageView::toolTipForImage(KVImageDataSource *image) {
    if (!image)
        return QString();
    const QDateTime when = image->creationDate();
    const QString date = KVDateText::longDate(when.date()) + QLatin1Char(' ') +
                         when.time().toString(QStringLiteral("HH:mm:ss"));
    return QStringLiteral("%1\n%2\n%3")
        .arg(image->cameraName(), KVFileName::displayed(KVFileName::path(image->url())), date);
}

void KVImageView::updateWritable() {
    // A photo without a file (the hand-set date) has nothing to lock.
    const QUrl url = m_image ? m_image->url() : QUrl();
    m_writable = url.isEmpty() || KVURLExtensions::isFileWritable(url);
}

void KVImageView::changed() {
    if (m_changeHandler)
        m_changeHandler(this);
}

void KVImageView::draw(QPainter &painter) const {
    const QRectF bounds = this->bounds();
    const double height = bounds.height();
    painter.fillRect(bounds, Qt::white);
    if (!m_image || m_thumbnailPixelSize.isEmpty())
        return;
    drawFrame(painter);

    const QRectF ib = imageBounds();
    // Missing while it is read, or while only a sliver of the border shows.
    if (!m_thumbnail.isNull())
        painter.drawImage(KVFlippedRect(ib, height), m_thumbnail);

    const KVImageState state = m_image->imageState();
    if (isEnlargedState(state)) {
        const QImage &gradient = textGradientImage();
        if (!gradient.isNull()) {
            const QRectF lowerHalf(ib.x(), ib.y(), ib.width(), 0.5 * ib.height());
            painter.drawImage(KVFlippedRect(lowerHalf, height), gradient);
        }
        const QRectF textArea(ib.x(), ib.y() + 0.12 * 0.4 * ib.height(), ib.width(),
                              0.4 * ib.height());
        const KVTextAttributes &attributes = labelAttributes();
        if (state == KVImageStateEtalon) {
            QString label = m_image->name();
            QSizeF size = KVSizeWithAttributes(label, attributes);
            // Against the picture's height, not its width: portrait names may overflow.
            if (size.width() > ib.height()) {
                label = trimmedStringWithAttributes(label, attributes, ib.width());
                size = KVSizeWithAttributes(label, attributes);
            }
            drawStringAtOrigin(painter, label, originToCenterSize(size, textArea), size, height,
                               attributes);
            const QImage &mark = etalonMark();
            if (!mark.isNull()) {
                const QRectF upper(ib.x(), ib.y() + 0.25 * ib.height(), ib.width(),
                                   0.75 * ib.height());
                const QSizeF markSize = mark.deviceIndependentSize();
                painter.drawImage(
                    KVFlippedRect(QRectF(originToCenterSize(markSize, upper), markSize), height),
                    mark);
            }
        } else {
            const double band = 0.2 * ib.height();
            const QRectF b0(ib.x(), textArea.y(), ib.width(), band);
            const QRectF b1 = b0.translated(0, band);
            const QRectF b2 = b1.translated(0, band);
            const QDateTime date = m_image->creationDate();
            const QString full = KVDateText::shortDate(date.date());
            const QSizeF fullSize = KVSizeWithAttributes(full, attributes);
            const QPointF fullOrigin = originToCenterSize(fullSize, b1);
            if (fullOrigin.x() > 0.0) {
                drawStringAtOrigin(painter, full, fullOrigin, fullSize, height, attributes);
            } else {
                drawCentered(painter, KVDateText::shortDayAndMonth(date.date()), b2, height,
                             attributes);
                drawCentered(painter, QString::number(date.date().year()), b1, height, attributes);
            }
            drawCentered(painter, date.toString(QStringLiteral("HH:mm:ss")), b0, height,
                         attributes);
        }
    }

    const QImage &padlock = padlockMark();
    if (!m_writable && !padlock.isNull()) {
        const double inset = m_frame.imageInset();
        const QSizeF size = padlock.deviceIndependentSize();
        const QRectF place(bounds.right() - (size.width() + inset),
                           bounds.bottom() - (inset + size.height()), size.width(), size.height());
        painter.drawImage(KVFlippedRect(place, height), padlock);
    }
}

void KVImageView::setUpPainter(QPainter &painter) {
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.setBrush(Qt::NoBrush);
}

void KVImageView::drawFrame(QPainter &painter) const {
    // Made once: a painter given the pen it has already skips the change.
    static const QPen normalOutline(calibratedRGB(0.576, 0.596, 0.62), 1.0);
    static const QPen wideFrame(calibratedRGB(0.075, 0.557, 0.996), 5.0);
    static const QPen highlight(calibratedRGB(0.255, 0.682, 0.996), 1.0);
    static const QPen outerOutline(calibratedRGB(0.043, 0.365, 0.643), 1.0);

    const QRectF bounds = this->bounds();
    if (!isEnlargedState(m_image->imageState())) {
        painter.setPen(normalOutline);
        painter.drawRect(bounds);
    } else {
        painter.setPen(wideFrame);
        painter.drawRect(bounds);
        // One below the top edge: Qt's y of (top - 1) counted from the top.
        painter.setPen(highlight);
        painter.drawLine(QPointF(0, 1), QPointF(bounds.right(), 1));
        painter.setPen(outerOutline);
        painter.drawRect(bounds);
    }
}

KVImageState KVImageView::calculateValueForState(KVImageState state, int clickCount) {
    if (clickCount == 1) {
        if (state == KVImageStateNormal)
            return KVImageStateSelected;
        if (state == KVImageStateEtalon)
            return KVImageStateEtalon;
        return KVImageStateNormal;
    }
    if (clickCount > 0 && clickCount % 2 == 0)
        return state == KVImageStateEtalon ? KVImageStateNormal : KVImageStateEtalon;
    return state;
}

void KVImageView::mouseDown(int clickCount) {
    if (!m_image)
        return;
    const KVImageState current = m_image->imageState();
    const KVImageState wanted = calculateValueForState(current, clickCount);
    if (wanted == current || !m_delegate)
        return;
    // The look follows through observation, never from here.
    if (m_delegate->wantsChangeStateTo(this, wanted))
        m_image->setImageState(wanted);
}

void KVImageView::observeValueForKeyPath(const QString &keyPath, KVObservable *) {
    if (KVIsMainThread()) {
        applyChange(keyPath);
        return;
    }
    std::weak_ptr<KVImageView *> self = m_self;
    KVDispatchMain([self, keyPath] {
        if (const std::shared_ptr<KVImageView *> alive = self.lock())
            (*alive)->applyChange(keyPath);
    });
}

void KVImageView::applyChange(const QString &keyPath) {
    if (!m_image)
        return;
    if (keyPath == KVKeyPath::imageState) {
        // From the photo's state now, not the notice: a notice that crossed threads may be late.
        if (isEnlargedState(m_image->imageState()))
            m_frame.enlargeFrame();
        else
            m_frame.condenseFrame();
        changed();
    } else if (keyPath == KVKeyPath::url) {
        updateWritable();
        changed();
    }
}
