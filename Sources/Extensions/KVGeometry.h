// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QRectF>

// Geometry is worked out with the origin at the lower left, y up, and turned into Qt's
// upper-left origin in one place per widget with this.
inline QRectF KVFlippedRect(const QRectF &rect, double boundsHeight) {
    return QRectF(rect.x(), boundsHeight - rect.y() - rect.height(), rect.width(), rect.height());
}
