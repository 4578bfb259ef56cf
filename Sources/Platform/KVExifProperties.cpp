// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVExifProperties.h"

#include "KVImageOrientation.h"

#include <QStringDecoder>

#include <exiv2/exiv2.hpp>

#include <vector>

namespace {

// The IFDs whose tags fill "{TIFF}" (IFD0) and "{Exif}" (the Exif sub-IFD). Exiv2 keeps its
// IFD numbers internal; they are learnt from keys.
struct IfdIds {
    int image;
    int photo;
};

const IfdIds &ifdIds() {
    static const IfdIds ids{Exiv2::ExifKey("Exif.Image.Make").ifdId(),
                            Exiv2::ExifKey("Exif.Photo.DateTimeOriginal").ifdId()};
    return ids;
}

namespace Tag {
constexpr uint16_t make = 0x010f;
constexpr uint16_t model = 0x0110;
constexpr uint16_t orientation = 0x0112;
constexpr uint16_t exifPointer = 0x8769;
constexpr uint16_t gpsPointer = 0x8825;
constexpr uint16_t interoperabilityPointer = 0xa005;
constexpr uint16_t dateTimeOriginal = 0x9003;
constexpr uint16_t dateTimeDigitized = 0x9004;
constexpr uint16_t bodySerialNumber = 0xa431;
constexpr uint16_t offsetTimeOriginal = 0x9011;
constexpr uint16_t offsetTimeDigitized = 0x9012;
} // namespace Tag

// Text as the file stores it, up to the first NUL: trailing blanks and newlines stay. UTF-8
// when it is valid UTF-8, else Latin-1.
QString storedText(const QByteArray &bytes) {
    const qsizetype end = bytes.indexOf('\0');
    const QByteArray text = end < 0 ? bytes : bytes.left(end);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(text);
    return decoder.hasError() ? QString::fromLatin1(text) : decoded;
}

QString datumText(const Exiv2::Exifdatum &datum) {
    switch (datum.typeId()) {
    case Exiv2::undefined:
    case Exiv2::unsignedByte:
    case Exiv2::signedByte: {
        // Bytes as they are, not Exiv2's list of numbers.
        std::vector<Exiv2::byte> bytes(size_t(datum.size()));
        if (!bytes.empty())
            datum.copy(bytes.data(), Exiv2::invalidByteOrder);
        return storedText(
            QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size())));
    }
    default:
        return storedText(QByteArray::fromStdString(datum.toString()));
    }
}

bool isTextTag(uint16_t tag) {
    return tag == Tag::make || tag == Tag::model || tag == Tag::dateTimeOriginal ||
           tag == Tag::dateTimeDigitized || tag == Tag::bodySerialNumber ||
           tag == Tag::offsetTimeOriginal || tag == Tag::offsetTimeDigitized;
}

// ASCII values as text, single numbers as numbers; lists, binary blobs and maker notes are left
// out (they are large and nothing reads them).
QVariant datumValue(const Exiv2::Exifdatum &datum) {
    if (isTextTag(datum.tag()))
        return datumText(datum);
    switch (datum.typeId()) {
    case Exiv2::asciiString:
        return datumText(datum);
    case Exiv2::unsignedByte:
    case Exiv2::unsignedShort:
    case Exiv2::unsignedLong:
    case Exiv2::signedShort:
    case Exiv2::signedLong:
        if (datum.count() == 1)
            return qlonglong(datum.toLong());
        break;
    case Exiv2::unsignedRational:
    case Exiv2::signedRational:
    case Exiv2::tiffFloat:
    case Exiv2::tiffDouble:
        if (datum.count() == 1)
            return double(datum.toFloat());
        break;
    default:
        break;
    }
    return {};
}

} // namespace

KVExifProperties KVExifProperties::read(const Exiv2::Image &image) {
    // One pass over the EXIF data (no key look-ups, each of which would scan it again).
    KVExifProperties result;
    const IfdIds &ids = ifdIds();
    QVariantMap tiff;
    QVariantMap exif;
    QString imageBodySerialNumber;
    for (const Exiv2::Exifdatum &datum : image.exifData()) {
        const int ifd = datum.ifdId();
        if (ifd != ids.image && ifd != ids.photo)
            continue;
        const uint16_t tag = datum.tag();
        if (ifd == ids.image) {
            if (tag == Tag::exifPointer || tag == Tag::gpsPointer ||
                tag == Tag::interoperabilityPointer)
                continue;
            if (tag == Tag::orientation && datum.count() > 0) {
                result.orientation = KVImageOrientation::normalized(datum.toLong());
                result.hasOrientation = true;
            }
            if (tag == Tag::bodySerialNumber) { // a serial number misplaced in IFD0
                imageBodySerialNumber = datumText(datum);
                continue;
            }
        }
        const QVariant value = datumValue(datum);
        if (!value.isValid())
            continue;
        (ifd == ids.image ? tiff : exif).insert(QString::fromStdString(datum.tagName()), value);
    }
    if (!imageBodySerialNumber.isEmpty() &&
        !exif.contains(KVImagePropertyKey::exifBodySerialNumber))
        exif.insert(KVImagePropertyKey::exifBodySerialNumber, imageBodySerialNumber);

    KVImageProperties &properties = result.properties;
    if (image.pixelWidth() > 0 && image.pixelHeight() > 0) {
        properties.insert(QStringLiteral("PixelWidth"), image.pixelWidth());
        properties.insert(QStringLiteral("PixelHeight"), image.pixelHeight());
    }
    if (result.hasOrientation)
        properties.insert(KVImagePropertyKey::orientation, result.orientation);
    if (!tiff.isEmpty())
        properties.insert(KVImageSource::tiffDictionaryKey, tiff);
    if (!exif.isEmpty())
        properties.insert(KVImageSource::exifDictionaryKey, exif);
    return result;
}
