// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVReadProblem.h"
#include "KVThumbnail.h"

#include <QImage>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <optional>

// The properties of image 0 of a photo file, shaped like the platform's image-source dictionary:
// sub-dictionaries under "{Exif}" and "{TIFF}", with the tags' own names as keys
// ("DateTimeOriginal", "DateTimeDigitized", "BodySerialNumber", "Make", "Model", ...), values as
// the strings stored in the file.
using KVImageProperties = QVariantMap;

// Reads photo files: Exiv2 for metadata and embedded previews, LibRaw for the raw files Exiv2
// cannot open, QImageReader for decoding. Every third-party failure is caught here.
// The file is read whole into memory the source owns, once, at creation (never mapped: a file
// rewritten under the reader can give other bytes but no fault), and the metadata parsed once,
// on first need. Each step (opening, properties, thumbnail, image) parses within the time limit
// of KVParseDeadline. One source belongs to one thread at a time; sources on different threads
// are independent.
class KVImageSource {
public:
    ~KVImageSource();

    // Null when the file cannot be opened as an image at all; `problem` then tells whether a
    // parse ran out of time.
    static std::unique_ptr<KVImageSource> createWithPath(const QString &path,
                                                         KVReadProblem *problem = nullptr);
    // The same for bytes already in memory; `path` names the file (its extension says what to
    // try) and need not exist.
    static std::unique_ptr<KVImageSource> createWithData(QByteArray bytes, const QString &path,
                                                         KVReadProblem *problem = nullptr);
    // The MIME types this reader can read (the platform's list of readable type identifiers).
    static QStringList copyTypeIdentifiers();
    // Once per process, before any other use of Exiv2 (every reader here calls it).
    static void initializeLibraries();

    static const QString exifDictionaryKey; // "{Exif}"
    static const QString tiffDictionaryKey; // "{TIFF}"

    // Empty optional when the file opened but its properties could not be read. Besides the two
    // sub-dictionaries (each present only when the file has such tags), "PixelWidth",
    // "PixelHeight" and "Orientation" may stand at the top level.
    std::optional<KVImageProperties> copyPropertiesAtIndex0();
    // Upright, at most maxPixelSize on the longer side: the embedded preview when there is one
    // (the smallest at least maxPixelSize, else the largest), else the decoded image itself.
    KVThumbnail createThumbnail(int maxPixelSize = 256);
    // The whole picture, decoded, upright.
    QImage createImage();
    // Whether a parse of this file ran out of time, so that what it gave may be incomplete, or a
    // picture was not decoded because the file cannot hold what it declares.
    KVReadProblem problem() const;

private:
    struct Private;
    explicit KVImageSource(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

// Keys of the property dictionaries, named after the tags.
namespace KVImagePropertyKey {
inline const QString exifDateTimeOriginal = QStringLiteral("DateTimeOriginal");
inline const QString exifDateTimeDigitized = QStringLiteral("DateTimeDigitized");
inline const QString exifBodySerialNumber = QStringLiteral("BodySerialNumber");
// The zone the camera noted beside its dates ("+01:00"), when it noted one.
inline const QString exifOffsetTimeOriginal = QStringLiteral("OffsetTimeOriginal");
inline const QString exifOffsetTimeDigitized = QStringLiteral("OffsetTimeDigitized");
inline const QString tiffMake = QStringLiteral("Make");
inline const QString tiffModel = QStringLiteral("Model");
inline const QString orientation = QStringLiteral("Orientation");
} // namespace KVImagePropertyKey
