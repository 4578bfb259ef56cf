// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRoundButtonCell.h"

#include "KVBundleImage.h"

#include <QPainter>

#include <cmath>

KVRoundButtonCell::KVRoundButtonCell(QWidget *parent)
    : QAbstractButton(parent) {
}

const QImage &KVRoundButtonCell::normalImage() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("ManualButton"));
    return image;
}

const QImage &KVRoundButtonCell::pressedImage() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("ManualButtonPressed"));
    return image;
}

const QImage &KVRoundButtonCell::image() const {
    return m_isMouseOverButton && isEnabled() ? pressedImage() : normalImage();
}

QSize KVRoundButtonCell::sizeHint() const {
    const QImage &picture = normalImage();
    return picture.isNull() ? QSize(32, 32) : picture.size();
}

void KVRoundButtonCell::enterEvent(QEnterEvent *event) {
    m_isMouseOverButton = true;
    update();
    QAbstractButton::enterEvent(event);
}

void KVRoundButtonCell::leaveEvent(QEvent *event) {
    m_isMouseOverButton = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void KVRoundButtonCell::paintEvent(QPaintEvent *) {
    const QImage &picture = image();
    if (picture.isNull())
        return;
    QPainter painter(this);
    // Natural size, centred: the button may be laid out larger than its picture. Centring is
    // symmetric, so no flip is needed.
    const QPointF origin((width() - picture.width()) * 0.5, (height() - picture.height()) * 0.5);
    painter.drawImage(QPointF(std::floor(origin.x()), std::floor(origin.y())), picture);
}
