// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraBrowserDataSource.h"
#include "KVImageDataSource.h"
#include "KVObservable.h"

#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QUrl>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

// A photo without a file: a generated picture of any size, a location that can be changed, and a
// state any thread may change, announced like a real record's.
class KVTimelineTestPhoto : public KVObservable, public KVImageDataSource {
public:
    KVTimelineTestPhoto(const QDateTime &date, const QSize &pixels = QSize(300, 200),
                        const QColor &color = QColor(200, 60, 40))
        : m_date(date)
        , m_thumbnail(pixels, QImage::Format_ARGB32_Premultiplied) {
        m_thumbnail.fill(color);
    }

    QImage image() const override { return m_thumbnail; }
    QImage thumbnail() override { return m_thumbnail; }
    QDateTime creationDate() const override { return m_date; }
    QString name() const override { return QStringLiteral("IMG_0001.JPG"); }
    QString cameraName() const override { return QStringLiteral("Test Camera"); }
    // Thumbnail loaders read the location on their own threads.
    QUrl url() const override {
        std::lock_guard lock(m_mutex);
        return m_url;
    }
    void setUrl(const QUrl &url) {
        std::unique_lock lock(m_mutex);
        m_url = url;
        lock.unlock();
        didChangeValueForKey(QStringLiteral("url"));
    }
    KVImageState imageState() const override { return m_state; }
    void setImageState(KVImageState state) override {
        m_state = state;
        didChangeValueForKey(QStringLiteral("imageState"));
    }

private:
    QDateTime m_date;
    QImage m_thumbnail;
    mutable std::mutex m_mutex;
    QUrl m_url;
    std::atomic<KVImageState> m_state{KVImageStateNormal};
};

using KVTimelineTestPhotoRef = std::shared_ptr<KVTimelineTestPhoto>;

// Cameras of photos a fixed number of seconds apart, each camera starting an hour after the last.
class KVFakeCameraSource : public KVCameraBrowserDataSource {
public:
    KVFakeCameraSource(int cameraCount, int photosPerCamera, double spacing = 60) {
        const QDateTime start(QDate(2012, 3, 7), QTime(9, 0));
        for (int c = 0; c < cameraCount; ++c) {
            cameras.emplace_back();
            for (int p = 0; p < photosPerCamera; ++p) {
                cameras.back().push_back(std::make_shared<KVTimelineTestPhoto>(
                    start.addSecs(qint64(c) * 3600 + qint64(p * spacing)), QSize(48, 32),
                    QColor::fromHsv((c * 47 + p * 13) % 360, 200, 220)));
            }
        }
    }

    int numberOfCamerasInBrowser(KVCameraBrowser *) override { return int(cameras.size()); }
    QString nameForCameraWithIndex(KVCameraBrowser *, int i) override { return nameOf(i); }
    QString toolTipForCameraWithIndex(KVCameraBrowser *, int i) override { return nameOf(i); }
    static QString nameOf(int index) { return QStringLiteral("Camera %1").arg(index); }
    std::vector<std::shared_ptr<KVImageDataSource>> imagesForCameraWithIndex(KVCameraBrowser *,
                                                                             int index) override {
        if (index < 0 || index >= int(cameras.size()))
            return {};
        return {cameras[index].begin(), cameras[index].end()};
    }
    bool isProcessingPathes() const override { return processing; }
    void addNewFilesFromURLs(const QList<QUrl> &urls) override { added << urls; }

    std::vector<std::vector<KVTimelineTestPhotoRef>> cameras;
    bool processing = false;
    QList<QList<QUrl>> added;
};
