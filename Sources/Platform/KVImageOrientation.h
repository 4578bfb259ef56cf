// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QImage>
#include <QSize>

// The EXIF orientation (TIFF tag 274): how the stored pixels must be turned to stand upright.
//   1 as stored            2 mirrored left-right    3 turned 180°          4 mirrored top-bottom
//   5 mirrored along the   6 turned 90° clockwise   7 mirrored along the   8 turned 90°
//     main diagonal                                   other diagonal         counter-clockwise
namespace KVImageOrientation {
// The value itself when it is 1..8, else 1.
int normalized(long value);
// True for 5..8, whose upright picture has width and height exchanged.
bool swapsAxes(int orientation);
// The upright size of a picture stored with `storedSize`.
QSize uprightSize(QSize storedSize, int orientation);
// The stored picture turned upright.
QImage apply(const QImage &stored, int orientation);
// The EXIF orientation that matches LibRaw's `sizes.flip` (dcraw's flip code).
int fromLibRawFlip(int flip);
} // namespace KVImageOrientation
