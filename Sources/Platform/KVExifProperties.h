// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageSource.h"

namespace Exiv2 {
class Image;
}

// The properties of image 0 as Exiv2 read them, shaped like the platform's image-source
// dictionary: "{TIFF}" holds the tags of IFD0, "{Exif}" those of the Exif sub-IFD, each under
// the tag's own name and only when there is one. Text values are the stored strings up to the
// first NUL (trailing blanks and newlines stay); single numbers are numbers; lists, binary
// blobs and maker notes are left out. "PixelWidth", "PixelHeight" and "Orientation" are at the
// top level.
struct KVExifProperties {
    KVImageProperties properties;
    // The EXIF orientation of IFD0; 1 when it is absent or out of range.
    int orientation = 1;
    bool hasOrientation = false;

    // Reads the metadata Exiv2 has already loaded. Exiv2's exceptions reach the caller.
    static KVExifProperties read(const Exiv2::Image &image);
};
