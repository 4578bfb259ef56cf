// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QImage>
#include <QString>

// Writes a demo picture as a camera would: a JPEG with the camera's identity, its capture dates
// and a small embedded thumbnail in EXIF, and the file dated like the photo.
class KVDemoPhotoWriter {
public:
    struct Identity {
        QString make;
        QString model;
        QString serialNumber; // empty: no BodySerialNumber tag
    };

    static const QSize thumbnailSize;

    // `cameraTime` is the camera's wall-clock time. On failure returns false with a message
    // naming the path; a half-written file is removed.
    static bool write(const QString &path, const QImage &picture, const Identity &identity,
                      const QDateTime &cameraTime, QString *error);

private:
    static QByteArray encodeJpeg(const QImage &image, int quality);
    static bool writeExif(const QString &path, const QImage &picture, const Identity &identity,
                          const QDateTime &cameraTime, QString *error);
};
