// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRawReader.h"

#include "KVImageOrientation.h"

#include <QDateTime>
#include <QFile>

#include <libraw/libraw.h>

#include <exception>

namespace {

// LibRaw's default handlers print to standard error; the caller sees the failure as a result.
void ignoreDataError(void *, const char *, const int) {
}
void ignoreMemoryError(void *, const char *, const char *) {
}

QString text(const char *characters) {
    return QString::fromUtf8(characters).trimmed().isEmpty() ? QString()
                                                             : QString::fromUtf8(characters);
}

QImage imageFrom(const libraw_processed_image_t *processed) {
    if (!processed || processed->type != LIBRAW_IMAGE_BITMAP || processed->bits != 8)
        return {};
    const int width = processed->width;
    const int height = processed->height;
    if (width <= 0 || height <= 0)
        return {};
    if (processed->colors == 3) {
        if (qsizetype(width) * height * 3 > qsizetype(processed->data_size))
            return {};
        return QImage(processed->data, width, height, width * 3, QImage::Format_RGB888).copy();
    }
    if (processed->colors == 1) {
        if (qsizetype(width) * height > qsizetype(processed->data_size))
            return {};
        return QImage(processed->data, width, height, width, QImage::Format_Grayscale8).copy();
    }
    return {};
}

struct ProcessedImageDeleter {
    void operator()(libraw_processed_image_t *image) const { LibRaw::dcraw_clear_mem(image); }
};
using ProcessedImage = std::unique_ptr<libraw_processed_image_t, ProcessedImageDeleter>;

bool openFile(LibRaw &raw, const QByteArray &path) {
    raw.set_dataerror_handler(ignoreDataError, nullptr);
    raw.set_memerror_handler(ignoreMemoryError, nullptr);
    return raw.open_file(path.constData()) == LIBRAW_SUCCESS;
}

} // namespace

KVRawReader::KVRawReader(std::unique_ptr<LibRaw> raw, QByteArray path)
    : m_raw(std::move(raw))
    , m_path(std::move(path)) {
}

KVRawReader::~KVRawReader() = default;

std::unique_ptr<KVRawReader> KVRawReader::open(const QString &path) {
    try {
        auto raw = std::make_unique<LibRaw>(LIBRAW_OPTIONS_NONE);
        QByteArray encodedPath = QFile::encodeName(path);
        if (!openFile(*raw, encodedPath))
            return nullptr;
        return std::unique_ptr<KVRawReader>(
            new KVRawReader(std::move(raw), std::move(encodedPath)));
    } catch (const std::exception &) {
        return nullptr;
    }
}

bool KVRawReader::succeeded(int status) {
    if (LIBRAW_FATAL_ERROR(status))
        m_broken = true;
    return status == LIBRAW_SUCCESS;
}

bool KVRawReader::ready() {
    if (!m_broken)
        return true;
    m_raw->recycle();
    m_unpacked = false;
    if (!openFile(*m_raw, m_path))
        return false;
    m_broken = false;
    return true;
}

int KVRawReader::orientation() const {
    return KVImageOrientation::fromLibRawFlip(m_raw->imgdata.sizes.flip);
}

QVariantMap KVRawReader::properties() const {
    const libraw_data_t &data = m_raw->imgdata;
    QVariantMap tiff;
    if (const QString make = text(data.idata.make); !make.isEmpty())
        tiff.insert(QStringLiteral("Make"), make);
    if (const QString model = text(data.idata.model); !model.isEmpty())
        tiff.insert(QStringLiteral("Model"), model);
    QVariantMap exif;
    if (data.other.timestamp > 0) {
        const QDateTime local = QDateTime::fromSecsSinceEpoch(qint64(data.other.timestamp));
        exif.insert(QStringLiteral("DateTimeOriginal"),
                    local.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")));
    }
    if (const QString serial = text(data.shootinginfo.BodySerial); !serial.isEmpty())
        exif.insert(QStringLiteral("BodySerialNumber"), serial);

    QVariantMap properties;
    if (data.sizes.width > 0 && data.sizes.height > 0) {
        properties.insert(QStringLiteral("PixelWidth"), int(data.sizes.width));
        properties.insert(QStringLiteral("PixelHeight"), int(data.sizes.height));
    }
    properties.insert(QStringLiteral("Orientation"), orientation());
    if (!tiff.isEmpty()) {
        tiff.insert(QStringLiteral("Orientation"), orientation());
        properties.insert(QStringLiteral("{TIFF}"), tiff);
    }
    if (!exif.isEmpty())
        properties.insert(QStringLiteral("{Exif}"), exif);
    return properties;
}

KVRawReader::Thumbnail KVRawReader::thumbnail() {
    Thumbnail thumbnail;
    try {
        if (!ready() || !succeeded(m_raw->unpack_thumb()))
            return thumbnail;
        int error = 0;
        const ProcessedImage processed(m_raw->dcraw_make_mem_thumb(&error));
        if (!processed)
            return thumbnail;
        if (processed->type == LIBRAW_IMAGE_JPEG)
            thumbnail.jpeg = QByteArray(reinterpret_cast<const char *>(processed->data),
                                        qsizetype(processed->data_size));
        else
            thumbnail.bitmap = imageFrom(processed.get());
    } catch (const std::exception &) {
        return {};
    }
    return thumbnail;
}

QImage KVRawReader::develop(bool halfSize) {
    try {
        if (!ready())
            return {};
        libraw_output_params_t &params = m_raw->imgdata.params;
        params.half_size = halfSize ? 1 : 0;
        params.use_camera_wb = 1;
        params.output_bps = 8;
        if (!m_unpacked) {
            if (!succeeded(m_raw->unpack()))
                return {};
            m_unpacked = true; // LibRaw refuses a second unpack
        }
        if (!succeeded(m_raw->dcraw_process()))
            return {};
        int error = 0;
        // The memory image is already turned by the flip.
        const ProcessedImage processed(m_raw->dcraw_make_mem_image(&error));
        return imageFrom(processed.get());
    } catch (const std::exception &) {
        return {};
    }
}
