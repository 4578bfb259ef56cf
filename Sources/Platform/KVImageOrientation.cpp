// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageOrientation.h"

#include <QTransform>

namespace KVImageOrientation {

int normalized(long value) {
    return value >= 1 && value <= 8 ? int(value) : 1;
}

bool swapsAxes(int orientation) {
    return orientation >= 5 && orientation <= 8;
}

QSize uprightSize(QSize storedSize, int orientation) {
    return swapsAxes(orientation) ? storedSize.transposed() : storedSize;
}

QImage apply(const QImage &stored, int orientation) {
    if (stored.isNull())
        return stored;
    // In image coordinates (y down) a positive angle turns clockwise; quarter turns are exact.
    const auto clockwise = [](const QImage &image, qreal degrees) {
        return image.transformed(QTransform().rotate(degrees));
    };
    switch (normalized(orientation)) {
    case 2:
        return stored.mirrored(true, false);
    case 3:
        return stored.mirrored(true, true);
    case 4:
        return stored.mirrored(false, true);
    case 5: // transpose: (x, y) -> (y, x)
        return clockwise(stored, 90).mirrored(true, false);
    case 6:
        return clockwise(stored, 90);
    case 7: // transverse: (x, y) -> (h-1-y, w-1-x)
        return clockwise(stored, 90).mirrored(false, true);
    case 8:
        return clockwise(stored, 270);
    default:
        return stored;
    }
}

int fromLibRawFlip(int flip) {
    // dcraw turns EXIF orientation o into flip "50132467"[o & 7]; this is the inverse.
    static constexpr int orientations[8] = {1, 2, 4, 3, 5, 8, 6, 7};
    return flip >= 0 && flip < 8 ? orientations[flip] : 1;
}

} // namespace KVImageOrientation
