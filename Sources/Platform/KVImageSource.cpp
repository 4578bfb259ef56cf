// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageSource.h"

#include "KVExifProperties.h"
#include "KVFileName.h"
#include "KVImageOrientation.h"
#include "KVParseDeadline.h"
#include "KVRawReader.h"
#include "KVThumbnailCache.h"
#include "KVTypeIdentifier.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <exception>
#include <mutex>
#include <vector>

const QString KVImageSource::exifDictionaryKey = QStringLiteral("{Exif}");
const QString KVImageSource::tiffDictionaryKey = QStringLiteral("{TIFF}");

namespace {

// ---- Libraries ------------------------------------------------------------------------------

void lockXmpToolkit(void *data, bool lock) {
    auto *mutex = static_cast<std::recursive_mutex *>(data);
    if (lock)
        mutex->lock();
    else
        mutex->unlock();
}

// ---- Decoding -------------------------------------------------------------------------------

int longerSide(QSize size) {
    return qMax(size.width(), size.height());
}

QSize fitted(QSize size, int maxPixelSize) {
    return size.scaled(maxPixelSize, maxPixelSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

// At most maxPixelSize on the longer side (no bound when it is 0 or less), reduced while
// decoding where the format can (JPEG's DCT scaling). `storedSize` receives the size of the
// picture as stored.
QImage readBounded(QImageReader &reader, int maxPixelSize, bool autoTransform,
                   QSize *storedSize = nullptr) {
    reader.setAutoTransform(autoTransform);
    const QSize size = reader.size();
    if (storedSize)
        *storedSize = size;
    const bool bounded = maxPixelSize > 0;
    if (bounded && size.isValid() && longerSide(size) > maxPixelSize)
        reader.setScaledSize(fitted(size, maxPixelSize));
    QImage image = reader.read();
    if (bounded && !image.isNull() && longerSide(image.size()) > maxPixelSize)
        image = image.scaled(fitted(image.size(), maxPixelSize), Qt::IgnoreAspectRatio,
                             Qt::SmoothTransformation);
    return image;
}

QImage bounded(const QImage &image, int maxPixelSize) {
    if (image.isNull() || maxPixelSize <= 0 || longerSide(image.size()) <= maxPixelSize)
        return image;
    return image.scaled(fitted(image.size(), maxPixelSize), Qt::IgnoreAspectRatio,
                        Qt::SmoothTransformation);
}

// A thumbnail from an embedded picture (an Exiv2 preview, LibRaw's thumbnail). A JPEG already
// small enough is kept byte for byte with the orientation still to apply, and its one decoding
// goes to the cache; anything else is scaled, turned upright and compressed anew. Null when
// the picture does not decode.
KVThumbnail thumbnailFromEmbedded(const char *data, qsizetype size, bool isJpeg, int orientation,
                                  int maxPixelSize) {
    if (!data || size <= 0)
        return {};
    QByteArray bytes = QByteArray::fromRawData(data, size);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, isJpeg ? QByteArray("jpeg") : QByteArray());
    QSize storedSize;
    const QImage decoded = readBounded(reader, maxPixelSize, false, &storedSize);
    if (decoded.isNull())
        return {};
    const QImage upright = KVImageOrientation::apply(decoded, orientation);
    if (isJpeg && storedSize.isValid() && longerSide(storedSize) <= maxPixelSize) {
        KVThumbnail thumbnail(QByteArray(data, size), orientation, upright.size());
        KVThumbnailCache::shared().insert(thumbnail, upright);
        return thumbnail;
    }
    return KVThumbnail::fromImage(upright);
}

// Exiv2's reads from the owned bytes, each asking the deadline first. Once it has passed, every
// read throws, and the parse ends with an error.
class BoundedIo : public Exiv2::MemIo {
public:
    BoundedIo(const QByteArray &data, KVParseDeadline *deadline)
        : Exiv2::MemIo(reinterpret_cast<const Exiv2::byte *>(data.constData()), long(data.size()))
        , m_data(data)
        , m_deadline(deadline) {}

    Exiv2::DataBuf read(long count) override {
        check();
        return Exiv2::MemIo::read(count);
    }
    long read(Exiv2::byte *buffer, long count) override {
        check();
        return Exiv2::MemIo::read(buffer, count);
    }
    int getb() override {
        check();
        return Exiv2::MemIo::getb();
    }
    int seek(long offset, Position position) override {
        check();
        return Exiv2::MemIo::seek(offset, position);
    }

private:
    void check() {
        if (m_deadline->expired())
            throw Exiv2::Error(Exiv2::kerErrorMessage, "time limit of the parse exceeded");
    }

    QByteArray m_data; // keeps the bytes alive while Exiv2 reads them
    KVParseDeadline *m_deadline;
};

// The whole file in memory the program owns: a file that shrinks or is rewritten while it is
// read gives other bytes, never a fault. Empty optional when it cannot be read.
std::optional<QByteArray> readOwned(const QString &path) {
    // Far beyond any photo; QByteArray and Exiv2's long offsets stay within their range.
    constexpr qint64 maximumSize = qint64(1) << 31;
    QFile file;
    if (!KVFileName::openForReading(path, file) || file.size() > maximumSize)
        return std::nullopt;
    // As many bytes as the file has now: reading up to the maximum would allocate all of it
    // for every photo. A file that grows meanwhile is read as it was; one that shrinks, shorter.
    QByteArray bytes = file.read(file.size());
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

// A container Exiv2 does not know (Sigma's X3F) may carry a JPEG preview with the photo's EXIF
// in its APP1 segment: the bytes from that JPEG's start to the end of the file, else empty.
QByteArray embeddedExifJpeg(const QByteArray &bytes) {
    static const QByteArray start("\xff\xd8\xff\xe1", 4);
    static const QByteArray exifHeader("Exif\0\0", 6);
    for (qsizetype at = bytes.indexOf(start, 1); at > 0; at = bytes.indexOf(start, at + 1)) {
        if (bytes.mid(at + 6, exifHeader.size()) == exifHeader)
            return bytes.mid(at);
    }
    return {};
}

bool isTextualPropertyMissing(const QVariantMap &dictionary, const QString &key) {
    return dictionary.value(key).toString().trimmed().isEmpty();
}

} // namespace

// ---- KVImageSource --------------------------------------------------------------------------

void KVImageSource::initializeLibraries() {
    // Exiv2 writes nothing to standard error, and its XMP toolkit, which is not safe to set up
    // from several threads, is set up once with a lock for its shared tables.
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        static std::recursive_mutex xmpMutex;
        Exiv2::XmpParser::initialize(lockXmpToolkit, &xmpMutex);
    });
}

struct KVImageSource::Private {
    enum class Metadata { unread, read, failed };

    QString path;
    QByteArray bytes;     // the whole file, read once
    QByteArray exivBytes; // what Exiv2 reads: the file, or a JPEG with EXIF inside it
    bool rawByName = false;
    KVParseDeadline deadline;
    bool timedOut = false;
    std::unique_ptr<Exiv2::Image> exiv; // null when only LibRaw could open the file
    std::unique_ptr<KVRawReader> raw;   // opened at creation, or on first need
    bool rawOpened = false;
    Metadata metadata = Metadata::unread;
    KVExifProperties exifProperties;

    bool openExiv(const QByteArray &data);
    void startStep();
    bool ensureMetadata();
    KVRawReader *rawReader();
    KVImageProperties mergedProperties();
    int orientation();
    KVThumbnail thumbnailFromPreviews(int maxPixelSize);
    KVThumbnail thumbnailFromRaw(int maxPixelSize);
    QImage decodeFile(int maxPixelSize);
    QImage largestPreview();
};

bool KVImageSource::Private::openExiv(const QByteArray &data) {
    try {
        Exiv2::BasicIo::AutoPtr io(new BoundedIo(data, &deadline));
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(io);
        if (image.get()) {
            exiv.reset(image.release());
            exivBytes = data;
        }
    } catch (const Exiv2::AnyError &) {
    } catch (const std::exception &) {
    }
    timedOut = timedOut || deadline.hasExpired();
    return exiv != nullptr;
}

// Each public step gets the whole time limit; a step that ran out is remembered.
void KVImageSource::Private::startStep() {
    timedOut = timedOut || deadline.hasExpired();
    deadline.restart();
}

bool KVImageSource::Private::ensureMetadata() {
    if (metadata != Metadata::unread)
        return metadata == Metadata::read;
    if (!exiv) {
        metadata = Metadata::failed;
        return false;
    }
    try {
        exiv->readMetadata();
        exifProperties = KVExifProperties::read(*exiv);
        metadata = Metadata::read;
    } catch (const Exiv2::AnyError &) {
        metadata = Metadata::failed;
    } catch (const std::exception &) {
        metadata = Metadata::failed;
    }
    timedOut = timedOut || deadline.hasExpired();
    return metadata == Metadata::read;
}

KVRawReader *KVImageSource::Private::rawReader() {
    if (!rawOpened) {
        rawOpened = true;
        raw = KVRawReader::open(bytes, &deadline);
        timedOut = timedOut || deadline.hasExpired();
    }
    return raw.get();
}

// Exiv2's properties; for a raw file, what they lack of date, make, model and serial number is
// taken from LibRaw, so that the stored texts always win and LibRaw's spelling only fills gaps.
KVImageProperties KVImageSource::Private::mergedProperties() {
    KVImageProperties properties = exifProperties.properties;
    QVariantMap exif = properties.value(exifDictionaryKey).toMap();
    QVariantMap tiff = properties.value(tiffDictionaryKey).toMap();
    using namespace KVImagePropertyKey;
    const bool lacksDate = isTextualPropertyMissing(exif, exifDateTimeOriginal) &&
                           isTextualPropertyMissing(exif, exifDateTimeDigitized);
    const bool lacks = lacksDate || isTextualPropertyMissing(exif, exifBodySerialNumber) ||
                       isTextualPropertyMissing(tiff, tiffMake) ||
                       isTextualPropertyMissing(tiff, tiffModel);
    if (!rawByName || !lacks || !rawReader())
        return properties;
    const KVImageProperties fromRaw = raw->properties();
    const QVariantMap rawExif = fromRaw.value(exifDictionaryKey).toMap();
    const QVariantMap rawTiff = fromRaw.value(tiffDictionaryKey).toMap();
    const auto fill = [](QVariantMap &target, const QVariantMap &source, const QString &key) {
        if (isTextualPropertyMissing(target, key) && source.contains(key))
            target.insert(key, source.value(key));
    };
    if (lacksDate)
        fill(exif, rawExif, exifDateTimeOriginal);
    fill(exif, rawExif, exifBodySerialNumber);
    fill(tiff, rawTiff, tiffMake);
    fill(tiff, rawTiff, tiffModel);
    if (!exif.isEmpty())
        properties.insert(exifDictionaryKey, exif);
    if (!tiff.isEmpty())
        properties.insert(tiffDictionaryKey, tiff);
    return properties;
}

int KVImageSource::Private::orientation() {
    if (ensureMetadata())
        return exifProperties.orientation;
    if (!exiv && raw)
        return raw->orientation();
    return 1;
}

KVThumbnail KVImageSource::Private::thumbnailFromPreviews(int maxPixelSize) {
    if (!ensureMetadata())
        return {};
    try {
        const Exiv2::PreviewManager manager(*exiv);
        const Exiv2::PreviewPropertiesList previews = manager.getPreviewProperties();
        if (previews.empty())
            return {};
        // The list runs from the smallest to the largest picture. The first choice is the
        // smallest at least maxPixelSize on its longer side, else the largest; when it does not
        // decode, the larger ones follow, then the smaller ones.
        const auto longer = [](const Exiv2::PreviewProperties &preview) {
            return int(std::max(preview.width_, preview.height_));
        };
        size_t chosen = previews.size() - 1;
        for (size_t index = 0; index < previews.size(); ++index) {
            if (longer(previews[index]) >= maxPixelSize) {
                chosen = index;
                break;
            }
        }
        std::vector<size_t> order;
        for (size_t index = chosen; index < previews.size(); ++index)
            order.push_back(index);
        for (size_t index = chosen; index-- > 0;)
            order.push_back(index);

        const int turn = exifProperties.orientation;
        for (const size_t index : order) {
            const Exiv2::PreviewImage preview = manager.getPreviewImage(previews[index]);
            const KVThumbnail thumbnail = thumbnailFromEmbedded(
                reinterpret_cast<const char *>(preview.pData()), qsizetype(preview.size()),
                preview.mimeType() == "image/jpeg", turn, maxPixelSize);
            if (!thumbnail.isNull())
                return thumbnail;
        }
    } catch (const Exiv2::AnyError &) {
    } catch (const std::exception &) {
    }
    return {};
}

KVThumbnail KVImageSource::Private::thumbnailFromRaw(int maxPixelSize) {
    KVRawReader *reader = rawReader();
    if (!reader)
        return {};
    const int turn = orientation();
    const KVRawReader::Thumbnail embedded = reader->thumbnail();
    if (!embedded.jpeg.isEmpty()) {
        const KVThumbnail thumbnail = thumbnailFromEmbedded(
            embedded.jpeg.constData(), embedded.jpeg.size(), true, turn, maxPixelSize);
        if (!thumbnail.isNull())
            return thumbnail;
    }
    if (!embedded.bitmap.isNull())
        return KVThumbnail::fromImage(
            KVImageOrientation::apply(bounded(embedded.bitmap, maxPixelSize), turn));
    // The developed picture is upright already.
    return KVThumbnail::fromImage(bounded(reader->develop(true), maxPixelSize));
}

QImage KVImageSource::Private::decodeFile(int maxPixelSize) {
    QByteArray data = exivBytes.isEmpty() ? bytes : exivBytes;
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    // Turned by the orientation Exiv2 read; when it could read none, Qt's own reading of it.
    const bool known = ensureMetadata();
    const QImage image = readBounded(reader, maxPixelSize, !known);
    return known ? KVImageOrientation::apply(image, exifProperties.orientation) : image;
}

QImage KVImageSource::Private::largestPreview() {
    if (!ensureMetadata())
        return {};
    try {
        const Exiv2::PreviewManager manager(*exiv);
        const Exiv2::PreviewPropertiesList previews = manager.getPreviewProperties();
        for (auto preview = previews.rbegin(); preview != previews.rend(); ++preview) {
            const Exiv2::PreviewImage picture = manager.getPreviewImage(*preview);
            const QImage image = QImage::fromData(QByteArray::fromRawData(
                reinterpret_cast<const char *>(picture.pData()), qsizetype(picture.size())));
            if (!image.isNull())
                return KVImageOrientation::apply(image, exifProperties.orientation);
        }
    } catch (const Exiv2::AnyError &) {
    } catch (const std::exception &) {
    }
    return {};
}

KVImageSource::KVImageSource(std::unique_ptr<Private> d)
    : d(std::move(d)) {
}

KVImageSource::~KVImageSource() = default;

std::unique_ptr<KVImageSource> KVImageSource::createWithPath(const QString &path,
                                                             KVReadProblem *problem) {
    if (problem)
        *problem = KVReadProblem::None;
    if (!KVFileName::isFile(path))
        return nullptr;
    std::optional<QByteArray> bytes = readOwned(path);
    if (!bytes)
        return nullptr;
    return createWithData(std::move(*bytes), path, problem);
}

std::unique_ptr<KVImageSource> KVImageSource::createWithData(QByteArray bytes, const QString &path,
                                                             KVReadProblem *problem) {
    if (problem)
        *problem = KVReadProblem::None;
    initializeLibraries();
    auto d = std::make_unique<Private>();
    d->path = path;
    d->bytes = std::move(bytes);
    // The name only says whether LibRaw is worth a try; Exiv2 and LibRaw decide by the content.
    const QString type = KVTypeIdentifier::forPath(path);
    d->rawByName = type != KVTypeIdentifier::jpeg && type != KVTypeIdentifier::tiff;
    if (!d->openExiv(d->bytes) && !(d->rawByName && d->rawReader())) {
        const QByteArray embedded = embeddedExifJpeg(d->bytes);
        if (embedded.isEmpty() || !d->openExiv(embedded)) {
            if (problem && d->timedOut)
                *problem = KVReadProblem::TimedOut;
            return nullptr;
        }
    }
    return std::unique_ptr<KVImageSource>(new KVImageSource(std::move(d)));
}

KVReadProblem KVImageSource::problem() const {
    if (d->timedOut || d->deadline.hasExpired())
        return KVReadProblem::TimedOut;
    if (d->raw && d->raw->isDamaged())
        return KVReadProblem::Damaged;
    return KVReadProblem::None;
}

QStringList KVImageSource::copyTypeIdentifiers() {
    // JPEG and TIFF through Exiv2 and Qt; camera raw formats through Exiv2 and LibRaw, and
    // through the EXIF of their embedded preview where neither knows the container.
    return {KVTypeIdentifier::jpeg, KVTypeIdentifier::tiff, KVTypeIdentifier::cameraRaw};
}

std::optional<KVImageProperties> KVImageSource::copyPropertiesAtIndex0() {
    d->startStep();
    if (d->exiv) {
        if (!d->ensureMetadata())
            return std::nullopt;
        return d->mergedProperties();
    }
    if (KVRawReader *reader = d->rawReader())
        return reader->properties();
    return std::nullopt;
}

KVThumbnail KVImageSource::createThumbnail(int maxPixelSize) {
    if (maxPixelSize <= 0)
        maxPixelSize = 256;
    d->startStep();
    if (!d->exiv)
        return d->thumbnailFromRaw(maxPixelSize);

    KVThumbnail thumbnail = d->thumbnailFromPreviews(maxPixelSize);
    if (!thumbnail.isNull())
        return thumbnail;
    const bool raw = d->rawByName;
    if (raw) {
        thumbnail = d->thumbnailFromRaw(maxPixelSize);
        if (!thumbnail.isNull())
            return thumbnail;
    }
    thumbnail = KVThumbnail::fromImage(d->decodeFile(maxPixelSize));
    if (!thumbnail.isNull() || raw)
        return thumbnail;
    return d->thumbnailFromRaw(maxPixelSize);
}

QImage KVImageSource::createImage() {
    d->startStep();
    if (!d->exiv) {
        KVRawReader *reader = d->rawReader();
        if (!reader)
            return {};
        QImage image = reader->develop(false);
        if (image.isNull()) {
            const KVRawReader::Thumbnail embedded = reader->thumbnail();
            image = embedded.bitmap.isNull() ? QImage::fromData(embedded.jpeg) : embedded.bitmap;
            image = KVImageOrientation::apply(image, reader->orientation());
        }
        return image;
    }
    const bool raw = d->rawByName;
    QImage image;
    if (raw) {
        if (KVRawReader *reader = d->rawReader())
            image = reader->develop(false);
    }
    if (image.isNull())
        image = d->decodeFile(0);
    if (image.isNull() && !raw) {
        if (KVRawReader *reader = d->rawReader())
            image = reader->develop(false);
    }
    if (image.isNull())
        image = d->largestPreview();
    return image;
}
