// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDemoEventFiles.h"

#include "KVTestSupport.h"
#include "KVWallClock.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

const QString &KVDemoEventFiles::timeFormat() {
    static const QString format = QStringLiteral("yyyy:MM:dd HH:mm:ss");
    return format;
}

QDateTime KVDemoEventFiles::dateFromText(const QString &text) {
    return KVWallClock::fromExifText(text);
}

QString KVDemoEventFiles::textFromDate(const QDateTime &date) {
    return KVWallClock::exifText(date);
}

bool KVDemoEventFiles::generate(const QString &folder, QString *error) {
    QByteArray output;
    if (KVTest::runProgram(QStringLiteral(KALVORA_DEMO_EVENT), {folder}, &output) != 0) {
        *error = QStringLiteral("kalvora-demo-event %1 failed: %2")
                     .arg(folder, QString::fromLocal8Bit(output));
        return false;
    }
    // Hidden, so that a drop of the folder brings photos only.
    const QString offsets = folder + QStringLiteral("/.offsets.json");
    const QJsonObject root = QJsonDocument::fromJson(KVTest::readFile(offsets)).object();
    m_folder = folder;
    m_referenceKey = root[QStringLiteral("reference")].toString();
    for (const QJsonValue &value : root[QStringLiteral("cameras")].toArray()) {
        Camera camera{value[QStringLiteral("key")].toString(),
                      qint64(value[QStringLiteral("offset")].toDouble()),
                      {}};
        for (const QJsonValue &photo : value[QStringLiteral("photos")].toArray()) {
            camera.photos.push_back({photo[QStringLiteral("file")].toString(),
                                     photo[QStringLiteral("moment")].toString(),
                                     photo[QStringLiteral("cameraTime")].toString()});
        }
        m_cameras.push_back(camera);
    }
    for (const QJsonValue &value : root[QStringLiteral("scenes")].toArray()) {
        Scene scene{value[QStringLiteral("name")].toString(),
                    value[QStringLiteral("moment")].toString(),
                    {}};
        const QJsonObject photos = value[QStringLiteral("photos")].toObject();
        for (auto it = photos.begin(); it != photos.end(); ++it)
            scene.fileOfCamera.insert(it.key(), it.value().toString());
        m_scenes.push_back(scene);
    }
    if (m_cameras.size() < 2 || m_referenceKey.isEmpty() || !sceneOfAllCameras()) {
        *error = QStringLiteral("%1 does not describe an event of several cameras with a scene "
                                "they all shot")
                     .arg(offsets);
        return false;
    }
    return true;
}

const KVDemoEventFiles::Camera *KVDemoEventFiles::camera(const QString &key) const {
    for (const Camera &camera : m_cameras) {
        if (camera.key == key)
            return &camera;
    }
    return nullptr;
}

const KVDemoEventFiles::Scene *KVDemoEventFiles::sceneOfAllCameras() const {
    std::vector<const Scene *> shared;
    for (const Scene &scene : m_scenes) {
        if (scene.fileOfCamera.size() == qsizetype(m_cameras.size()))
            shared.push_back(&scene);
    }
    return shared.empty() ? nullptr : shared[shared.size() / 2];
}

QStringList KVDemoEventFiles::photoPaths() const {
    QStringList paths;
    for (const Camera &camera : m_cameras) {
        for (const Photo &photo : camera.photos)
            paths << QDir(m_folder).filePath(photo.file);
    }
    return paths;
}

QMap<QString, QString> KVDemoEventFiles::cameraTimes() const {
    QMap<QString, QString> times;
    for (const Camera &camera : m_cameras) {
        for (const Photo &photo : camera.photos)
            times.insert(photo.file, photo.cameraTime);
    }
    return times;
}

QMap<QString, QString> KVDemoEventFiles::trueTimes(qint64 shift) const {
    QMap<QString, QString> times;
    for (const Camera &camera : m_cameras) {
        for (const Photo &photo : camera.photos)
            times.insert(photo.file, textFromDate(dateFromText(photo.moment).addSecs(shift)));
    }
    return times;
}
