// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVFilePresenter.h"
#include "KVImageDataSource.h"
#include "KVObservable.h"
#include "KVPhotoWriter.h"
#include "KVReadProblem.h"
#include "KVThumbnail.h"

#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class KVImageFile;
using KVImageFileRef = std::shared_ptr<KVImageFile>;

// The record of one photo file: its location, the few metadata values the program needs, a
// cached thumbnail and the display state. A record made from a date alone has no file and
// stands for the base date and time set by hand.
// Observable keys: "imageState", "url".
class KVImageFile : public KVObservable,
                    public KVImageDataSource,
                    public KVFilePresenter,
                    public std::enable_shared_from_this<KVImageFile> {
public:
    // Null when the file has no readable capture date; `problem` then tells whether reading
    // the file ran out of time.
    static KVImageFileRef initWithURL(const QUrl &url, KVReadProblem *problem = nullptr);
    static KVImageFileRef initWithDate(const QDateTime &date);
    ~KVImageFile() override;

    // The metadata dictionary (keys of KVImagePropertyKey; the date is a QDateTime stored under
    // the DateTimeOriginal key whichever tag it came from). Null for a null URL, empty when
    // nothing could be read.
    static std::optional<QVariantMap> exifFromURL(const QUrl &url,
                                                  KVReadProblem *problem = nullptr);

    // Who is told, on the main thread, that a photo went to the Trash. Set once at launch.
    static void setRemovalHandler(std::function<void(const KVImageFileRef &)> handler);

    // Equality is by URL: two records of one file are one photo. Records without a URL (set by
    // hand) equal only themselves.
    bool isEqual(const KVImageFile &other) const;
    size_t hash() const;

    QUrl url() const override;
    void setUrl(const QUrl &url);
    QString path() const;
    QString name() const override;
    QVariantMap exif() const;
    void setExif(const QVariantMap &exif);

    QDateTime creationDate() const override;
    // The zone offset the camera noted with the capture date ("+02:00"), or empty. The date
    // itself is wall-clock time and never moved by it.
    QString creationDateOffset() const;
    QString camera() const;
    QString model() const;
    QString serialNumber() const;
    QString fullCameraName() const;
    QString cameraName() const override;

    QImage image() const override;
    QImage thumbnail() override;
    // The compressed thumbnail behind thumbnail(), made on first use. `problem` tells whether
    // reading the file for it ran out of time or found the file damaged.
    KVThumbnail thumbnailData(KVReadProblem *problem = nullptr);
    KVThumbnail newThumbnail(KVReadProblem *problem = nullptr) const;

    KVImageState imageState() const override { return m_imageState.load(); }
    void setImageState(KVImageState state) override;

    // Whoever changes the record or its file holds this lock.
    std::recursive_mutex &lock() const { return m_lock; }

    // The file this record stands for: its path and the device and inode it had when it was
    // added (or when this program last replaced it). A write goes only to that file.
    KVPhotoIdentity identity() const;
    void setIdentity(const KVPhotoIdentity &identity);

    // Shifts the capture date in the file through the given writer, atomically (see
    // KVPhotoWriter); the record then follows the new file. The outcome says what happened.
    KVWriteOutcome shiftCreationDate(KVPhotoWriter &writer, qint64 seconds,
                                     const KVPhotoWriter::WillChange &willChange = {},
                                     const std::optional<QString> &expectedOldDateText = {});
    // After a write that changed the file: the record takes its new identity and date.
    void didShiftCreationDate(const KVWriteOutcome &outcome);

    // KVFilePresenter
    QString presentedItemPath() const override { return path(); }
    void presentedItemDidMoveToPath(const QString &newPath) override;

private:
    KVImageFile() = default;

    mutable std::mutex m_propertyMutex;
    QString m_path; // empty for a record set by hand
    dev_t m_device = 0;
    ino_t m_inode = 0;
    QVariantMap m_exif;
    KVThumbnail m_thumbnail;
    bool m_registered = false;
    std::atomic<KVImageState> m_imageState{KVImageStateNormal};
    mutable std::recursive_mutex m_lock;
};

struct KVImageFileHash {
    size_t operator()(const KVImageFileRef &file) const { return file ? file->hash() : 0; }
};
struct KVImageFileEqual {
    bool operator()(const KVImageFileRef &a, const KVImageFileRef &b) const {
        return a == b || (a && b && a->isEqual(*b));
    }
};
