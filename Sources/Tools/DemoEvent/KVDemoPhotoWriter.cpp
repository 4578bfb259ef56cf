// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDemoPhotoWriter.h"

#include "KVDemoEvent.h"

#include <QBuffer>
#include <QFile>

#include <exiv2/exiv2.hpp>

const QSize KVDemoPhotoWriter::thumbnailSize(160, 107);

bool KVDemoPhotoWriter::write(const QString &path, const QImage &picture, const Identity &identity,
                              const QDateTime &cameraTime, QString *error) {
    const QByteArray jpeg = encodeJpeg(picture, 85);
    QFile file(path);
    if (jpeg.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(jpeg) != jpeg.size()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        file.remove();
        return false;
    }
    file.close();
    if (!writeExif(path, picture, identity, cameraTime, error)) {
        file.remove();
        return false;
    }
    // The file's own date follows the camera's clock too, as on a freshly copied card.
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(KVDemoEvent::onDisk(cameraTime), QFileDevice::FileModificationTime)) {
        *error = QStringLiteral("cannot set the date of %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

QByteArray KVDemoPhotoWriter::encodeJpeg(const QImage &image, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "JPEG", quality))
        return {};
    return bytes;
}

bool KVDemoPhotoWriter::writeExif(const QString &path, const QImage &picture,
                                  const Identity &identity, const QDateTime &cameraTime,
                                  QString *error) {
    const QByteArray thumbnail = encodeJpeg(
        picture.scaled(thumbnailSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), 80);
    if (thumbnail.isEmpty()) {
        *error = QStringLiteral("cannot make the thumbnail of %1").arg(path);
        return false;
    }
    const std::string date = KVDemoEvent::dateText(cameraTime).toStdString();
    try {
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path.toStdString());
        Exiv2::ExifData exif;
        exif["Exif.Image.Make"] = identity.make.toStdString();
        exif["Exif.Image.Model"] = identity.model.toStdString();
        exif["Exif.Image.Orientation"] = uint16_t(1);
        exif["Exif.Image.DateTime"] = date;
        exif["Exif.Photo.DateTimeOriginal"] = date;
        exif["Exif.Photo.DateTimeDigitized"] = date;
        exif["Exif.Photo.PixelXDimension"] = uint32_t(picture.width());
        exif["Exif.Photo.PixelYDimension"] = uint32_t(picture.height());
        if (!identity.serialNumber.isEmpty())
            exif["Exif.Photo.BodySerialNumber"] = identity.serialNumber.toStdString();
        Exiv2::ExifThumb(exif).setJpegThumbnail(
            reinterpret_cast<const Exiv2::byte *>(thumbnail.constData()), long(thumbnail.size()));
        image->setExifData(exif);
        image->writeMetadata();
    } catch (const Exiv2::AnyError &exception) {
        *error = QStringLiteral("cannot write the EXIF data of %1: %2")
                     .arg(path, QString::fromStdString(exception.what()));
        return false;
    }
    return true;
}
