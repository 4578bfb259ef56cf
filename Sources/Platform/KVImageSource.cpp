// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageSource.h"

#include "KVExifProperties.h"
#include "KVImageOrientation.h"
#include "KVRawReader.h"
#include "KVThumbnailCache.h"
#include "KVTypeIdentifier.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeDatabase>

#include <exiv2/exiv2.hpp>
#include <libraw/libraw.h>

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

// Raw camera formats by the file's name; names the system does not know count as raw too, as
// only LibRaw might read them.
bool isRawByName(const QString &path) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    return type.isDefault() || type.inherits(QStringLiteral("image/x-dcraw"));
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
    std::unique_ptr<Exiv2::Image> exiv; // null when only LibRaw could open the file
    std::unique_ptr<KVRawReader> raw;   // opened at creation, or on first need
    bool rawOpened = false;
    Metadata metadata = Metadata::unread;
    KVExifProperties exifProperties;

    bool ensureMetadata();
    KVRawReader *rawReader();
    int orientation();
    KVThumbnail thumbnailFromPreviews(int maxPixelSize);
    KVThumbnail thumbnailFromRaw(int maxPixelSize);
    QImage decodeFile(int maxPixelSize);
    QImage largestPreview();
};

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
    return metadata == Metadata::read;
}

KVRawReader *KVImageSource::Private::rawReader() {
    if (!rawOpened) {
        rawOpened = true;
        raw = KVRawReader::open(path);
    }
    return raw.get();
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
    QImageReader reader(path);
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

std::unique_ptr<KVImageSource> KVImageSource::createWithPath(const QString &path) {
    initializeLibraries();
    const QFileInfo info(path);
    if (path.isEmpty() || !info.isFile())
        return nullptr;
    auto d = std::make_unique<Private>();
    d->path = path;
    try {
        // An absolute path, so that no name is ever taken for a URL ("http:...", "data:...").
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(
            QFile::encodeName(info.absoluteFilePath()).toStdString(), false);
        d->exiv.reset(image.release());
    } catch (const Exiv2::AnyError &) {
    } catch (const std::exception &) {
    }
    if (!d->exiv && !d->rawReader())
        return nullptr;
    return std::unique_ptr<KVImageSource>(new KVImageSource(std::move(d)));
}

QStringList KVImageSource::copyTypeIdentifiers() {
    static const QStringList identifiers = [] {
        static const char *const extensions[] = {
            "jpg", "jpeg", "tiff", "tif", "3fr", "ari", "arw", "bay", "crw", "cr2", "cap",
            "dcs", "dcr",  "dng",  "drf", "eip", "erf", "fff", "iiq", "k25", "kdc", "mef",
            "mos", "mrw",  "nef",  "nrw", "obm", "orf", "pef", "ptx", "pxn", "r3d", "raf",
            "raw", "rwl",  "rw2",  "rwz", "sr2", "srf", "srw", "x3f"};
        const bool readsX3f = (libraw_capabilities() & LIBRAW_CAPS_X3FTOOLS) != 0;
        QMimeDatabase database;
        QStringList list;
        for (const char *extension : extensions) {
            const QString name =
                KVTypeIdentifier::preferredIdentifierForExtension(QString::fromLatin1(extension));
            const QMimeType type = database.mimeTypeForName(name);
            // JPEG and TIFF through Qt; camera raw formats through Exiv2 and LibRaw, except
            // Sigma's X3F, which this LibRaw reads only when built with it.
            const bool readable =
                name == QLatin1String("image/jpeg") || name == QLatin1String("image/tiff") ||
                (type.isValid() && type.inherits(QStringLiteral("image/x-dcraw")) &&
                 (readsX3f || name != QLatin1String("image/x-sigma-x3f")));
            if (readable && !list.contains(name))
                list.append(name);
        }
        return list;
    }();
    return identifiers;
}

std::optional<KVImageProperties> KVImageSource::copyPropertiesAtIndex0() {
    if (d->exiv) {
        if (!d->ensureMetadata())
            return std::nullopt;
        return d->exifProperties.properties;
    }
    if (KVRawReader *reader = d->rawReader())
        return reader->properties();
    return std::nullopt;
}

KVThumbnail KVImageSource::createThumbnail(int maxPixelSize) {
    if (maxPixelSize <= 0)
        maxPixelSize = 256;
    if (!d->exiv)
        return d->thumbnailFromRaw(maxPixelSize);

    KVThumbnail thumbnail = d->thumbnailFromPreviews(maxPixelSize);
    if (!thumbnail.isNull())
        return thumbnail;
    const bool raw = isRawByName(d->path);
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
    const bool raw = isRawByName(d->path);
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
