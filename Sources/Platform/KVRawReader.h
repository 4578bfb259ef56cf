// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QVariantMap>

#include <memory>

class KVParseDeadline;
class LibRaw;

// One camera raw file, read by LibRaw (the thread-safe libraw_r) from bytes the program owns.
// Every read LibRaw makes asks the deadline first, so a parser looping over a damaged file is
// stopped once the time is up. Every LibRaw failure is caught here and turned into a null or
// empty result. One object belongs to one thread at a time.
class KVRawReader {
public:
    // Null when LibRaw does not know the content. `deadline` may be null (no limit); it must
    // outlive the reader.
    static std::unique_ptr<KVRawReader> open(const QByteArray &data, KVParseDeadline *deadline);
    ~KVRawReader();

    // The properties LibRaw found, shaped like KVImageSource's dictionary: "{TIFF}" with Make,
    // Model and Orientation, "{Exif}" with DateTimeOriginal (wall-clock text,
    // "yyyy:MM:dd HH:mm:ss") and BodySerialNumber, each sub-dictionary only when it holds
    // something; "PixelWidth", "PixelHeight" and "Orientation" at the top level. Make and model
    // are the texts the file stores where this reader knows where they are; else LibRaw's own
    // spelling.
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
    // Whether develop refused the file because the sizes it states do not fit its length.
    bool isDamaged() const { return m_damaged; }

private:
    class Stream;
    KVRawReader(QByteArray data, KVParseDeadline *deadline);
    // After a fatal error LibRaw must be recycled and the file opened anew before other calls.
    // Whether the call succeeded; a fatal error marks the object for recovery.
    bool succeeded(int status);
    bool ready();

    bool reopen();
    bool sizesFitTheFile();

    QByteArray m_data;
    KVParseDeadline *m_deadline;
    std::unique_ptr<Stream> m_stream;
    std::unique_ptr<LibRaw> m_raw;
    bool m_unpacked = false;
    bool m_broken = false;
    bool m_damaged = false;
};
