// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRawReader.h"

#include "KVImageOrientation.h"
#include "KVParseDeadline.h"

#include <QDateTime>

#include <libraw/libraw.h>

#include <algorithm>

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

// A text the file keeps byte-reversed, up to its first NUL from the end.
QString reversedText(const QByteArray &data, qsizetype offset, qsizetype length) {
    if (offset + length > data.size())
        return {};
    QByteArray bytes = data.mid(offset, length);
    std::reverse(bytes.begin(), bytes.end());
    return text(bytes.replace('\0', "").constData());
}

// Make, model and capture date as the file stores them, for the formats whose texts LibRaw
// replaces with its own spelling ("Contax" for "KYOCERA"): empty where this is not known.
struct StoredTexts {
    QString make;
    QString model;
    QString date;
};
StoredTexts storedTexts(const QByteArray &data) {
    // The Kyocera N Digital's header keeps its texts byte-reversed at fixed places.
    if (data.mid(25, 7) == "ARECOYK")
        return {reversedText(data, 25, 7), reversedText(data, 12, 13), reversedText(data, 33, 19)};
    return {};
}

// A raw picture the file's length cannot hold (raw data compresses to a few bits a pixel at
// best) is refused before LibRaw allocates for it, once it is large enough to matter: small
// stripped samples still develop (to little), a damaged header's 600 megapixels do not.
constexpr qint64 maximumPixelsPerByte = 16;
constexpr qint64 pixelsWorthChecking = qint64(64) << 20;

} // namespace

// LibRaw's reads from the owned bytes, each asking the deadline first. Once it has passed,
// every read throws LibRaw's own cancel exception, which LibRaw turns into an error status.
class KVRawReader::Stream : public LibRaw_buffer_datastream {
public:
    Stream(const QByteArray &data, KVParseDeadline *deadline)
        : LibRaw_buffer_datastream(const_cast<char *>(data.constData()), size_t(data.size()))
        , m_data(data)
        , m_deadline(deadline) {}

    int read(void *buffer, size_t size, size_t count) override {
        check();
        return LibRaw_buffer_datastream::read(buffer, size, count);
    }
    int seek(INT64 offset, int whence) override {
        check();
        return LibRaw_buffer_datastream::seek(offset, whence);
    }
    char *gets(char *buffer, int size) override {
        check();
        return LibRaw_buffer_datastream::gets(buffer, size);
    }
    int scanf_one(const char *format, void *value) override {
        check();
        return LibRaw_buffer_datastream::scanf_one(format, value);
    }
    int get_char() override {
        check();
        return LibRaw_buffer_datastream::get_char();
    }

private:
    void check() {
        if (m_deadline && m_deadline->expired())
            throw LIBRAW_EXCEPTION_CANCELLED_BY_CALLBACK;
    }

    QByteArray m_data; // keeps the bytes alive for as long as LibRaw reads them
    KVParseDeadline *m_deadline;
};

KVRawReader::KVRawReader(QByteArray data, KVParseDeadline *deadline)
    : m_data(std::move(data))
    , m_deadline(deadline) {
}

KVRawReader::~KVRawReader() {
    // LibRaw closes its stream first; the stream is ours and goes after it.
    m_raw.reset();
}

bool KVRawReader::reopen() {
    m_raw->set_dataerror_handler(ignoreDataError, nullptr);
    m_raw->set_memerror_handler(ignoreMemoryError, nullptr);
    m_stream = std::make_unique<Stream>(m_data, m_deadline);
    return m_raw->open_datastream(m_stream.get()) == LIBRAW_SUCCESS;
}

std::unique_ptr<KVRawReader> KVRawReader::open(const QByteArray &data, KVParseDeadline *deadline) {
    if (data.isEmpty())
        return nullptr;
    try {
        std::unique_ptr<KVRawReader> reader(new KVRawReader(data, deadline));
        reader->m_raw = std::make_unique<LibRaw>(LIBRAW_OPTIONS_NONE);
        if (!reader->reopen())
            return nullptr;
        return reader;
    } catch (...) {
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
    if ((m_deadline && m_deadline->hasExpired()) || !reopen())
        return false;
    m_broken = false;
    return true;
}

// What unpack allocates comes from the header: the raw picture (at least its visible part and
// margins) and a block of metadata that is read from the file as it stands.
bool KVRawReader::sizesFitTheFile() {
    const libraw_image_sizes_t &sizes = m_raw->imgdata.sizes;
    const qint64 width = std::max<qint64>(sizes.raw_width, qint64(sizes.width) + sizes.left_margin);
    const qint64 height =
        std::max<qint64>(sizes.raw_height, qint64(sizes.height) + sizes.top_margin);
    const qint64 pixels = width * height;
    const qint64 metadata = m_raw->get_internal_data_pointer()->unpacker_data.meta_length;
    return metadata <= m_data.size() &&
           (pixels <= pixelsWorthChecking || pixels <= maximumPixelsPerByte * m_data.size());
}

int KVRawReader::orientation() const {
    return KVImageOrientation::fromLibRawFlip(m_raw->imgdata.sizes.flip);
}

QVariantMap KVRawReader::properties() const {
    const libraw_data_t &data = m_raw->imgdata;
    const StoredTexts stored = storedTexts(m_data);
    QVariantMap tiff;
    if (const QString make = stored.make.isEmpty() ? text(data.idata.make) : stored.make;
        !make.isEmpty())
        tiff.insert(QStringLiteral("Make"), make);
    if (const QString model = stored.model.isEmpty() ? text(data.idata.model) : stored.model;
        !model.isEmpty())
        tiff.insert(QStringLiteral("Model"), model);
    QVariantMap exif;
    if (!stored.date.isEmpty()) {
        exif.insert(QStringLiteral("DateTimeOriginal"), stored.date);
    } else if (data.other.timestamp > 0) {
        // LibRaw made its timestamp from the file's wall-clock text in the local zone; the same
        // zone gives the text back.
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
    } catch (...) {
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
            if (!sizesFitTheFile()) {
                m_damaged = true;
                return {};
            }
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
    } catch (...) {
        return {};
    }
}
