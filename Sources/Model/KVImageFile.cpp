// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVImageFile.h"

#include "KVFileName.h"
#include "KVKeyPath.h"
#include "KVDispatch.h"
#include "KVFileCoordinator.h"
#include "KVImageSource.h"
#include "KVLog.h"
#include "KVTypeIdentifier.h"
#include "KVWallClock.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

std::mutex removalHandlerMutex;
std::function<void(const KVImageFileRef &)> removalHandler;

QString trimmedString(const QVariant &value) {
    return value.isNull() ? QString() : value.toString().trimmed();
}

QString describe(const QVariantMap &exif) {
    QString text;
    QDebug(&text).nospace().noquote() << exif;
    return text;
}

} // namespace

KVImageFileRef KVImageFile::initWithURL(const QUrl &url, KVReadProblem *problem) {
    KVImageFileRef file(new KVImageFile);
    file->m_path = KVFileName::path(url);
    if (const std::optional<KVPhotoIdentity> identity = KVPhotoWriter::identityOf(file->m_path)) {
        file->m_device = identity->device;
        file->m_inode = identity->inode;
    }
    KVReadProblem readingProblem = KVReadProblem::None;
    file->m_exif = exifFromURL(url, &readingProblem).value_or(QVariantMap());
    if (problem)
        *problem = readingProblem;
    // What a parse cut short gave may be wrong or incomplete: such a file is refused.
    if (readingProblem == KVReadProblem::TimedOut)
        return nullptr;
    KVFileCoordinator::addFilePresenter(file);
    file->m_registered = true;
    if (!file->creationDate().isValid())
        return nullptr; // the destructor unregisters it
    return file;
}

KVImageFileRef KVImageFile::initWithDate(const QDateTime &date) {
    KVImageFileRef file(new KVImageFile);
    file->m_exif.insert(KVImagePropertyKey::exifDateTimeOriginal, date);
    return file;
}

KVImageFile::~KVImageFile() {
    if (m_registered)
        KVFileCoordinator::removeFilePresenter(this);
}

std::optional<QVariantMap> KVImageFile::exifFromURL(const QUrl &url, KVReadProblem *problem) {
    if (problem)
        *problem = KVReadProblem::None;
    if (url.isEmpty())
        return std::nullopt;
    QVariantMap exif;
    const QString path = KVFileName::path(url);
    if (std::unique_ptr<KVImageSource> source = KVImageSource::createWithPath(path, problem)) {
        const std::optional<KVImageProperties> properties = source->copyPropertiesAtIndex0();
        if (problem)
            *problem = source->problem();
        if (!properties) {
            KVLog(QStringLiteral("No properties could be read from the image file %1").arg(path));
        } else {
            if (properties->contains(KVImageSource::exifDictionaryKey)) {
                const QVariantMap exifProperties =
                    properties->value(KVImageSource::exifDictionaryKey).toMap();
                QVariant dateText = exifProperties.value(KVImagePropertyKey::exifDateTimeOriginal);
                QVariant offsetText =
                    exifProperties.value(KVImagePropertyKey::exifOffsetTimeOriginal);
                if (dateText.isNull()) {
                    dateText = exifProperties.value(KVImagePropertyKey::exifDateTimeDigitized);
                    offsetText = exifProperties.value(KVImagePropertyKey::exifOffsetTimeDigitized);
                }
                if (!dateText.isNull()) {
                    const QDateTime date = KVWallClock::fromExifText(dateText.toString());
                    if (date.isValid())
                        exif.insert(KVImagePropertyKey::exifDateTimeOriginal, date);
                    // Shown beside the date, never applied to it: the date stays wall-clock.
                    if (date.isValid() && !offsetText.toString().trimmed().isEmpty())
                        exif.insert(KVImagePropertyKey::exifOffsetTimeOriginal,
                                    offsetText.toString().trimmed());
                }
                const QVariant serial =
                    exifProperties.value(KVImagePropertyKey::exifBodySerialNumber);
                if (!serial.isNull())
                    exif.insert(KVImagePropertyKey::exifBodySerialNumber, serial);
            }
            if (properties->contains(KVImageSource::tiffDictionaryKey)) {
                const QVariantMap tiff =
                    properties->value(KVImageSource::tiffDictionaryKey).toMap();
                for (const QString &key :
                     {KVImagePropertyKey::tiffMake, KVImagePropertyKey::tiffModel}) {
                    if (tiff.contains(key))
                        exif.insert(key, tiff.value(key));
                }
            }
        }
    }
    KVLogVerbose(describe(exif));
    return exif;
}

void KVImageFile::setRemovalHandler(std::function<void(const KVImageFileRef &)> handler) {
    std::lock_guard lock(removalHandlerMutex);
    removalHandler = std::move(handler);
}

bool KVImageFile::isEqual(const KVImageFile &other) const {
    if (this == &other)
        return true;
    const QString mine = path();
    // Records set by hand have no URL and equal only themselves.
    return !mine.isEmpty() && mine == other.path();
}

size_t KVImageFile::hash() const {
    return qHash(path());
}

QUrl KVImageFile::url() const {
    const QString current = path();
    return current.isEmpty() ? QUrl() : KVFileName::url(current);
}

void KVImageFile::setUrl(const QUrl &url) {
    {
        std::lock_guard lock(m_propertyMutex);
        m_path = KVFileName::path(url);
    }
    didChangeValueForKey(KVKeyPath::url);
}

QString KVImageFile::path() const {
    std::lock_guard lock(m_propertyMutex);
    return m_path;
}

KVPhotoIdentity KVImageFile::identity() const {
    std::lock_guard lock(m_propertyMutex);
    return KVPhotoIdentity{m_path, m_device, m_inode};
}

void KVImageFile::setIdentity(const KVPhotoIdentity &identity) {
    std::lock_guard lock(m_propertyMutex);
    m_device = identity.device;
    m_inode = identity.inode;
}

QString KVImageFile::name() const {
    const QString current = path();
    return current.isEmpty() ? QString() : KVFileName::displayedName(current);
}

QVariantMap KVImageFile::exif() const {
    std::lock_guard lock(m_propertyMutex);
    return m_exif;
}

void KVImageFile::setExif(const QVariantMap &exif) {
    std::lock_guard lock(m_propertyMutex);
    m_exif = exif;
}

QDateTime KVImageFile::creationDate() const {
    return exif().value(KVImagePropertyKey::exifDateTimeOriginal).toDateTime();
}

QString KVImageFile::creationDateOffset() const {
    return exif().value(KVImagePropertyKey::exifOffsetTimeOriginal).toString();
}

QString KVImageFile::camera() const {
    return trimmedString(exif().value(KVImagePropertyKey::tiffMake));
}

QString KVImageFile::model() const {
    return trimmedString(exif().value(KVImagePropertyKey::tiffModel));
}

QString KVImageFile::serialNumber() const {
    return trimmedString(exif().value(KVImagePropertyKey::exifBodySerialNumber));
}

QString KVImageFile::fullCameraName() const {
    const QString make = camera();
    const QString serial = serialNumber();
    QString key = model();
    if (key.isNull())
        key = QStringLiteral("No Name");
    if (!make.isEmpty())
        key = make + QLatin1Char(' ') + key;
    if (!serial.isEmpty())
        key += QLatin1Char(' ') + serial;
    return key;
}

QString KVImageFile::cameraName() const {
    if (path().isEmpty())
        return QCoreApplication::translate("KVImageFile", "Time is set manually");
    QString text = QCoreApplication::translate("KVImageFile", "No Name");
    const QString modelText = model();
    if (!modelText.isNull())
        text = modelText;
    const QString make = camera();
    if (make.isEmpty())
        return text;
    // A make already spelled inside the model ("Canon" in "Canon EOS 40D") is not repeated.
    // The search is for a substring, not a whole word.
    static const QRegularExpression blanks(QStringLiteral("[ \t]+"));
    const QStringList words = make.split(blanks, Qt::SkipEmptyParts);
    for (const QString &word : words) {
        if (text.contains(word, Qt::CaseInsensitive))
            return text;
    }
    return make + QLatin1Char(' ') + text;
}

QImage KVImageFile::image() const {
    const QString current = path();
    if (current.isEmpty())
        return {};
    std::unique_ptr<KVImageSource> source = KVImageSource::createWithPath(current);
    return source ? source->createImage() : QImage();
}

KVThumbnail KVImageFile::newThumbnail(KVReadProblem *problem) const {
    if (problem)
        *problem = KVReadProblem::None;
    const QString current = path();
    if (current.isEmpty())
        return {};
    std::unique_ptr<KVImageSource> source = KVImageSource::createWithPath(current, problem);
    if (!source)
        return {};
    KVThumbnail thumbnail = source->createThumbnail(256);
    if (problem)
        *problem = source->problem();
    if (thumbnail.isNull()) {
        // Only for the record: the type of a file that yields no picture at all.
        const QString type = KVTypeIdentifier::forPath(current);
        KVLogVerbose(QStringLiteral("No thumbnail for %1 (%2)").arg(current, type));
    }
    return thumbnail;
}

KVThumbnail KVImageFile::thumbnailData(KVReadProblem *problem) {
    if (problem)
        *problem = KVReadProblem::None;
    {
        std::lock_guard lock(m_propertyMutex);
        if (!m_thumbnail.isNull())
            return m_thumbnail;
    }
    // A null result is not kept, so the next request tries again.
    KVThumbnail made = newThumbnail(problem);
    std::lock_guard lock(m_propertyMutex);
    if (m_thumbnail.isNull())
        m_thumbnail = made;
    return m_thumbnail;
}

QImage KVImageFile::thumbnail() {
    const KVThumbnail data = thumbnailData();
    return data.isNull() ? QImage() : data.image();
}

void KVImageFile::setImageState(KVImageState state) {
    m_imageState = state;
    didChangeValueForKey(KVKeyPath::imageState);
}

void KVImageFile::presentedItemDidMoveToPath(const QString &newPath) {
    if (KVFileCoordinator::isTrashPath(newPath)) {
        setImageState(KVImageStateRemoved);
        std::function<void(const KVImageFileRef &)> handler;
        {
            std::lock_guard lock(removalHandlerMutex);
            handler = removalHandler;
        }
        // Nobody to tell: the record stays registered and keeps following its file.
        if (handler) {
            KVImageFileRef self = shared_from_this();
            KVDispatchMain([handler, self] { handler(self); });
            KVFileCoordinator::removeFilePresenter(this);
            std::lock_guard lock(m_propertyMutex);
            m_registered = false;
        }
        return;
    }
    setUrl(KVFileName::url(newPath));
}
