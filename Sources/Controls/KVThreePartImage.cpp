// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVThreePartImage.h"

#include <QImage>
#include <QPainter>

void KVThreePartImage::draw(QPainter &painter, const QImage &image,
                            const QRectF &destination) const {
    if (image.isNull() || destination.isEmpty())
        return;
    const double left = leftUnit.width();
    const double right = rightUnit.width();
    const double middle = destination.width() - left - right;
    painter.drawImage(QRectF(destination.x(), destination.y(), left, destination.height()), image,
                      leftUnit);
    // Narrower than both caps: the caps alone, overlapping, look better than a negative middle.
    if (middle > 0.0)
        painter.drawImage(
            QRectF(destination.x() + left, destination.y(), middle, destination.height()), image,
            centralUnit);
    painter.drawImage(QRectF(destination.x() + destination.width() - right, destination.y(), right,
                             destination.height()),
                      image, rightUnit);
}
