// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFrame.h"

#include <cmath>

namespace {

QRectF roundedInward(const QRectF &rect) {
    return QRectF(std::ceil(rect.x()), std::ceil(rect.y()), std::floor(rect.width()),
                  std::floor(rect.height()));
}

QRectF roundedOutward(const QRectF &rect) {
    return QRectF(std::floor(rect.x()), std::floor(rect.y()), std::ceil(rect.width()),
                  std::ceil(rect.height()));
}

QRectF grown(const QRectF &rect, double by) {
    return rect.adjusted(-by, -by, by, by);
}

bool isEnlargedState(KVImageState state) {
    return state == KVImageStateSelected || state == KVImageStateEtalon;
}

} // namespace

QRectF KVImageFrame::imageBounds() const {
    const double inset = imageInset();
    return QRectF(QPointF(0, 0), m_frame.size()).adjusted(inset, inset, -inset, -inset);
}

QRectF KVImageFrame::frameToFitImage(const std::optional<QSizeF> &thumbnailPixelSize) const {
    const QRectF rounded = roundedInward(m_frame);
    if (!thumbnailPixelSize || thumbnailPixelSize->isEmpty())
        return rounded;
    QRectF picture = grown(rounded, -fitInset);
    if (picture.isEmpty())
        return rounded;
    const double aspect = thumbnailPixelSize->height() / thumbnailPixelSize->width();
    picture.setWidth(picture.height() / aspect);
    return roundedOutward(grown(picture, fitInset));
}

QPointF KVImageFrame::originToCenterSize(const QSizeF &size, const QRectF &rect) {
    return QPointF(rect.x() + (rect.width() - size.width()) * 0.5,
                   rect.y() + (rect.height() - size.height()) * 0.5);
}

bool KVImageFrame::enlargeFrame() {
    if (m_enlarged)
        return false;
    m_frame = grown(m_frame, growth);
    m_enlarged = true;
    return true;
}

bool KVImageFrame::condenseFrame() {
    if (!m_enlarged)
        return false;
    m_frame = grown(m_frame, -growth);
    m_enlarged = false;
    return true;
}

void KVImageFrame::setImage(const std::optional<QSizeF> &thumbnailPixelSize, KVImageState state) {
    m_frame = frameToFitImage(thumbnailPixelSize);
    if (isEnlargedState(state))
        enlargeFrame();
}

bool KVImageFrame::imageStateDidChange(KVImageState state) {
    return isEnlargedState(state) ? enlargeFrame() : condenseFrame();
}
