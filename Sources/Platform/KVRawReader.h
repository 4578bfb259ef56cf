// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QVariantMap>

#include <memory>

class LibRaw;

// One camera raw file opened with LibRaw (the thread-safe libraw_r). Every LibRaw failure is
// caught here and turned into a null or empty result. One object belongs to one thread at a
// time.
class KVRawReader {
public:
    // Null when LibRaw does not know the file.
    static std::unique_ptr<KVRawReader> open(const QString &path);
    ~KVRawReader();

    // The properties LibRaw found, shaped like KVImageSource's dictionary: "{TIFF}" with Make,
    // Model and Orientation, "{Exif}" with DateTimeOriginal (local time, "yyyy:MM:dd HH:mm:ss")
    // and BodySerialNumber, each sub-dictionary only when it holds something; "PixelWidth",
    // "PixelHeight" and "Orientation" at the top level.
    QVariantMap properties() const;
    // The EXIF orientation (1..8) of the raw data and of its embedded thumbnail.
    int orientation() const;

    // The embedded thumbnail as stored, not yet upright: the JPEG bytes when it is a JPEG, else
    // the decoded bitmap. Both empty when there is none.
    struct Thumbnail {
        QByteArray jpeg;
        QImage bitmap;
        bool isNull() const { return jpeg.isEmpty() && bitmap.isNull(); }
    };
    Thumbnail thumbnail();
    // The raw data developed and turned upright; at half resolution when `halfSize`, which is
    // several times faster. Null when the data cannot be developed.
    QImage develop(bool halfSize);

private:
    KVRawReader(std::unique_ptr<LibRaw> raw, QByteArray path);
    // After a fatal error LibRaw must be recycled and the file opened anew before other calls.
    // Whether the call succeeded; a fatal error marks the object for recovery.
    bool succeeded(int status);
    bool ready();

    std::unique_ptr<LibRaw> m_raw;
    QByteArray m_path;
    bool m_unpacked = false;
    bool m_broken = false;
};
