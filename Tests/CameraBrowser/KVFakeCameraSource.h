#pragma once

#include "KVCameraBrowserDataSource.h"
#include "KVObservable.h"

#include <QColor>
#include <QDateTime>
#include <QImage>

#include <memory>
#include <vector>

// A photo without a file: a date, a plain coloured picture and a state that announces its changes
// like a real record does.
class KVFakePhoto : public KVObservable, public KVImageDataSource {
public:
    KVFakePhoto(const QDateTime &date, const QColor &color, const QString &name)
        : m_date(date)
        , m_name(name) {
        m_thumbnail = QImage(48, 32, QImage::Format_ARGB32_Premultiplied);
        m_thumbnail.fill(color);
    }
    QImage image() const override { return m_thumbnail; }
    QImage thumbnail() override { return m_thumbnail; }
    QDateTime creationDate() const override { return m_date; }
    QString name() const override { return m_name; }
    QString cameraName() const override { return QStringLiteral("Fake"); }
    QUrl url() const override { return QUrl(); }
    KVImageState imageState() const override { return m_state; }
    void setImageState(KVImageState state) override {
        m_state = state;
        didChangeValueForKey(QStringLiteral("imageState"));
    }

private:
    QDateTime m_date;
    QString m_name;
    QImage m_thumbnail;
    KVImageState m_state = KVImageStateNormal;
};

// Cameras of photos a fixed number of seconds apart, each camera starting an hour after the last.
class KVFakeCameraSource : public KVCameraBrowserDataSource {
public:
    KVFakeCameraSource(int cameraCount, int photosPerCamera, double spacing = 60) {
        const QDateTime start(QDate(2012, 3, 7), QTime(9, 0));
        for (int c = 0; c < cameraCount; ++c) {
            std::vector<std::shared_ptr<KVFakePhoto>> photos;
            for (int p = 0; p < photosPerCamera; ++p) {
                photos.push_back(std::make_shared<KVFakePhoto>(
                    start.addSecs(qint64(c) * 3600 + qint64(p * spacing)),
                    QColor::fromHsv((c * 47 + p * 13) % 360, 200, 220),
                    QStringLiteral("IMG_%1_%2.JPG").arg(c).arg(p)));
            }
            cameras.push_back(std::move(photos));
        }
    }

    int numberOfCamerasInBrowser(KVCameraBrowser *) override { return int(cameras.size()); }
    QString nameForCameraWithIndex(KVCameraBrowser *, int index) override {
        return QStringLiteral("Camera %1").arg(index);
    }
    QString toolTipForCameraWithIndex(KVCameraBrowser *, int index) override {
        return QStringLiteral("Tip %1").arg(index);
    }
    std::vector<std::shared_ptr<KVImageDataSource>> imagesForCameraWithIndex(KVCameraBrowser *,
                                                                             int index) override {
        if (index < 0 || index >= int(cameras.size()))
            return {};
        return {cameras[index].begin(), cameras[index].end()};
    }
    bool isProcessingPathes() const override { return processing; }
    void addNewFilesFromURLs(const QList<QUrl> &urls) override { added << urls; }

    std::vector<std::vector<std::shared_ptr<KVFakePhoto>>> cameras;
    bool processing = false;
    QList<QList<QUrl>> added;
};
