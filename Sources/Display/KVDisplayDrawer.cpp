// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplayDrawer.h"

#include "KVDisplayView.h"
#include "KVGeometry.h"

#include <QImage>
#include <QPainter>

KVDisplayDrawer::KVDisplayDrawer(KVDisplayView *view)
    : m_view(view) {
}

KVDisplayDrawer::~KVDisplayDrawer() = default;

const QColor &KVDisplayDrawer::labelsColor() {
    static const QColor color = QColor::fromRgbF(0.11f, 0.129f, 0.133f, 1.0f);
    return color;
}

const KVShadow &KVDisplayDrawer::labelsShadow() {
    static const KVShadow shadow{QPointF(0.0, -1.0), QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.2f)};
    return shadow;
}

const QFont &KVDisplayDrawer::labelsFont() {
    static const QFont font = KVLucidaGrande(12.0);
    return font;
}

KVDisplayView *KVDisplayDrawer::view() const {
    return m_view.data();
}

void KVDisplayDrawer::setView(KVDisplayView *view) {
    m_view = view;
}

QRectF KVDisplayDrawer::bounds() const {
    if (!m_view)
        return QRectF();
    return QRectF(0.0, 0.0, m_view->width(), m_view->height());
}

QRectF KVDisplayDrawer::flipped(const QRectF &rect) const {
    return KVFlippedRect(rect, bounds().height());
}

void KVDisplayDrawer::drawPicture(QPainter &painter, const QImage &picture, const QRectF &source,
                                  const QRectF &target) {
    if (picture.isNull() || target.width() <= 0.0 || target.height() <= 0.0)
        return;
    const double ratio = picture.devicePixelRatio();
    const QRectF pixels = KVFlippedRect(source, picture.deviceIndependentSize().height());
    painter.drawImage(target, picture, QRectF(pixels.topLeft() * ratio, pixels.size() * ratio));
}
