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

const KVTextAttributes &scaleLabelAttributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = KVLucidaGrande(11.0);
        made.color = calibratedRGB(0.392, 0.435, 0.509);
        made.hasShadow = true;
        made.shadowColor = QColor::fromRgbF(1, 1, 1, 0.4f);
        made.shadowOffset = QPointF(0, -1);
        return made;
    }();
    return attributes;
}

// The shortest span of a unit. Far below the fitted scale its ticks would crowd into less than a
// pixel, and walking them would take longer than any repaint may.
double shortestSpan(KVCalendarUnit unit) {
    switch (unit) {
    case KVCalendarUnitDecade:
        return 3650.0 * 86400;
    case KVCalendarUnitYear:
        return 365.0 * 86400;
    case KVCalendarUnitMonth:
        return 28.0 * 86400;
    case KVCalendarUnitDay:
        return 23.0 * 3600;
    case KVCalendarUnitSixHours:
        return 5.0 * 3600;
    case KVCalendarUnitHour:
        return 3600;
    case KVCalendarUnitTenMinutes:
        return 600;
    case KVCalendarUnitMinute:
        return 60;
    case KVCalendarUnitTenSeconds:
        return 10;
    case KVCalendarUnitSecond:
        return 1;
    }
    return 1;
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
    const double shortestCell = scale * shortestSpan(layout.timeScale().currentCalendarUnit());
    // Without photos there is no first date to count from.
    if (layout.count() > 0 && shortestCell >= 1.0) {
        // A label is centred in a cell that may begin left of the dirty area: start two early.
        const KVTimelineLayout::TickRow row = layout.ticksForXRange(
            originX + dirty.left() - 2 * shortestCell, originX + dirty.right() + 1);
        const double bandHeight = 0.2 * boundsHeight;
        const KVTextAttributes &attributes = scaleLabelAttributes();
        for (const KVTimelineLayout::Tick &tick : row.ticks) {
            const double x = tick.x - originX;
            painter.drawLine(QPointF(x, 0), QPointF(x, bandHeight));
            const QSizeF labelSize = KVSizeWithAttributes(tick.label, attributes);
            const QRectF label(x + (row.cellWidth - labelSize.width()) / 2,
                               (boundsHeight - bandHeight) + (bandHeight - labelSize.height()) / 2,
                               labelSize.width(), labelSize.height());
            KVDrawString(painter, tick.label, KVFlippedRect(label, boundsHeight).topLeft(),
                         attributes);
            painter.setPen(QPen(scaleColor, 1.0));
        }
    }
    painter.restore();
}
