// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimelineScaleDrawer.h"

#include "KVGeometry.h"
#include "KVStringDrawing.h"
#include "KVTimelineLayout.h"

#include <QPainter>

namespace {

QColor calibratedRGB(double red, double green, double blue) {
    return QColor::fromRgbF(float(red), float(green), float(blue));
}

} // namespace

void KVTimelineScaleDrawer::draw(QPainter &painter, const KVTimelineLayout &layout,
                                 const QRect &dirty, const QSize &widgetSize) {
    static const QColor background = calibratedRGB(0.86, 0.88, 0.91);
    static const QColor scaleColor = calibratedRGB(0.639, 0.655, 0.675);

    const double boundsHeight = widgetSize.height();
    const double originX = layout.visibleOriginX();
    painter.fillRect(dirty, background);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(scaleColor, 1.0));
    const double axisY = boundsHeight - KVTimelineLayout::axisY;
    painter.drawLine(QPointF(0, axisY), QPointF(widgetSize.width(), axisY));

    const double scale = layout.scale();
    const double shortestCell =
        scale * KVTimeScale::shortestSpan(layout.timeScale().currentCalendarUnit());
    // Without photos there is no first date to count from.
    if (layout.count() > 0 && shortestCell >= 1.0) {
        // A label is centred in a cell that may begin left of the dirty area: start two early.
        const KVTimelineLayout::TickRow row = layout.ticksForXRange(
            originX + dirty.left() - 2 * shortestCell, originX + dirty.right() + 1);
        const double bandHeight = 0.2 * boundsHeight;
        // Every timeline draws the same few labels at a zoom, frame after frame.
        static KVStringCache labels(KVTimeScale::tickLabelAttributes());
        for (const KVTimelineLayout::Tick &tick : row.ticks) {
            const double x = tick.x - originX;
            painter.drawLine(QPointF(x, 0), QPointF(x, bandHeight));
            const QSizeF labelSize = labels.size(tick.label);
            const QRectF label(x + (row.cellWidth - labelSize.width()) / 2,
                               (boundsHeight - bandHeight) + (bandHeight - labelSize.height()) / 2,
                               labelSize.width(), labelSize.height());
            labels.draw(painter, tick.label, KVFlippedRect(label, boundsHeight).topLeft());
        }
    }
    painter.restore();
}
