#pragma once

#include "KVImageDataSource.h"
#include "KVObservable.h"

#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QUrl>

#include <atomic>
#include <memory>
#include <mutex>

// A photo for the timeline's tests: a generated picture of any size, a file location that can be
// changed, and a state any thread may change, announced like a real record's.
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
    QUrl url() const override {
        std::lock_guard lock(m_mutex);
        return m_url;
    }
    void setUrl(const QUrl &url) {
        {
            std::lock_guard lock(m_mutex);
            m_url = url;
        }
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
