// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDemoEvent.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>

namespace {

struct SceneSketch {
    const char *name;
    int minutesIn; // after the start of the event, before a little jitter
    QRgb color;
    bool isForEveryone; // no camera misses it, so every pair of cameras shares a moment
};

const SceneSketch sceneSketches[] = {
    {"Arrival", 5, 0x2f5f96, false},       {"Processional", 24, 0x6d4592, false},
    {"Vows", 38, 0xa23e37, true},          {"Rings", 47, 0x9a6a1c, false},
    {"First kiss", 55, 0xaf3966, true},    {"Group photo", 84, 0x2a7a50, false},
    {"Toasts", 118, 0x27707e, false},      {"Cake", 146, 0x7d5030, true},
    {"First dance", 168, 0x4150a3, false},
};

const int minimumShots = 30;
const int latestMinute = 185;

QDateTime eventStart() {
    return QDateTime(QDate(2025, 6, 14), QTime(13, 30), Qt::UTC);
}

const QString timeFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

} // namespace

QString KVDemoEvent::Camera::identityKey() const {
    QStringList parts{make.trimmed(), model.trimmed(), serialNumber.trimmed()};
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}

KVDemoEvent::KVDemoEvent(quint32 seed)
    : m_seed(seed) {
    // Two bodies of one model tell apart only by their serial numbers; the last one writes no
    // serial number and pads its make, as some cameras do.
    m_cameras = {
        {QStringLiteral("A"), QStringLiteral("Oriel"), QStringLiteral("OX-5"),
         QStringLiteral("OX5-204417"), 0, QStringLiteral("OXA_")},
        {QStringLiteral("B"), QStringLiteral("Oriel"), QStringLiteral("OX-5"),
         QStringLiteral("OX5-318862"), 3600 + 2 * 60 + 5, QStringLiteral("OXB_")},
        {QStringLiteral("C"), QStringLiteral("Tamura"), QStringLiteral("T20"),
         QStringLiteral("T20A0918"), -(3 * 60 + 40), QStringLiteral("T20_")},
        {QStringLiteral("D"), QStringLiteral("Velmont "), QStringLiteral("Velmont Pix 3"),
         QString(), 24 * 3600, QStringLiteral("PIX_")},
    };

    QRandomGenerator random(seed);
    int number = 0;
    for (const SceneSketch &sketch : sceneSketches) {
        const QDateTime moment =
            eventStart().addSecs(sketch.minutesIn * 60 + random.bounded(-90, 91));
        m_scenes.push_back(
            {++number, QString::fromLatin1(sketch.name), QColor::fromRgb(sketch.color), moment});
    }
    // Now and then one camera misses a scene, but never one that everyone covers, so that each
    // moment is shot by at least three cameras.
    for (const SceneSketch &sketch : sceneSketches) {
        m_absentCameras.push_back(!sketch.isForEveryone && random.bounded(2) == 0
                                      ? random.bounded(int(m_cameras.size()))
                                      : -1);
    }
    for (int camera = 0; camera < int(m_cameras.size()); ++camera)
        planCamera(camera, random);
}

void KVDemoEvent::planCamera(int camera, QRandomGenerator &random) {
    std::vector<Shot> shots;
    for (int scene = 0; scene < int(m_scenes.size()); ++scene) {
        if (m_absentCameras[size_t(scene)] == camera)
            continue;
        // A burst of a few frames, one of them exactly at the shared moment.
        const QDateTime moment = m_scenes[size_t(scene)].moment;
        const int count = random.bounded(3, 7);
        const int atMoment = random.bounded(count);
        shots.push_back({camera, scene, moment, {}});
        QDateTime time = moment;
        for (int i = 0; i < atMoment; ++i) {
            time = time.addSecs(-random.bounded(2, 8));
            shots.push_back({camera, scene, time, {}});
        }
        time = moment;
        for (int i = atMoment + 1; i < count; ++i) {
            time = time.addSecs(random.bounded(2, 8));
            shots.push_back({camera, scene, time, {}});
        }
    }

    // Stray shots anywhere in the afternoon, kept clear of the camera's other frames.
    const auto isClear = [&shots](const QDateTime &time) {
        return std::none_of(shots.begin(), shots.end(), [&time](const Shot &shot) {
            return std::abs(shot.moment.secsTo(time)) < 20;
        });
    };
    int strays = random.bounded(2, 7);
    for (int attempt = 0; attempt < 1000 && (strays > 0 || int(shots.size()) < minimumShots);
         ++attempt) {
        const QDateTime time = eventStart().addSecs(random.bounded(-600, latestMinute * 60));
        if (!isClear(time))
            continue;
        shots.push_back({camera, -1, time, {}});
        --strays;
    }

    std::sort(shots.begin(), shots.end(),
              [](const Shot &a, const Shot &b) { return a.moment < b.moment; });
    int fileNumber = random.bounded(100, 9000);
    for (Shot &shot : shots) {
        shot.fileName = QStringLiteral("%1%2.JPG")
                            .arg(m_cameras[size_t(camera)].filePrefix)
                            .arg(fileNumber++, 4, 10, QLatin1Char('0'));
    }
    m_shots.insert(m_shots.end(), shots.begin(), shots.end());
}

QDateTime KVDemoEvent::cameraTime(const Shot &shot) const {
    return shot.moment.addSecs(m_cameras[size_t(shot.camera)].clockError);
}

QString KVDemoEvent::fileAtSceneMoment(int scene, int camera) const {
    for (const Shot &shot : m_shots) {
        if (shot.camera == camera && shot.scene == scene &&
            shot.moment == m_scenes[size_t(scene)].moment)
            return shot.fileName;
    }
    return {};
}

QJsonDocument KVDemoEvent::offsets() const {
    QJsonArray cameras;
    for (int camera = 0; camera < int(m_cameras.size()); ++camera) {
        const Camera &info = m_cameras[size_t(camera)];
        QJsonArray photos;
        for (const Shot &shot : m_shots) {
            if (shot.camera != camera)
                continue;
            photos.append(QJsonObject{
                {QStringLiteral("file"), shot.fileName},
                {QStringLiteral("moment"), dateText(shot.moment)},
                {QStringLiteral("cameraTime"), dateText(cameraTime(shot))},
                {QStringLiteral("scene"), shot.scene < 0 ? 0 : shot.scene + 1},
            });
        }
        QJsonObject object{
            {QStringLiteral("letter"), info.letter},
            {QStringLiteral("make"), info.make.trimmed()},
            {QStringLiteral("model"), info.model.trimmed()},
            {QStringLiteral("key"), info.identityKey()},
            {QStringLiteral("clockError"), info.clockError},
            {QStringLiteral("offset"), -info.clockError},
            {QStringLiteral("photoCount"), photos.size()},
            {QStringLiteral("photos"), photos},
        };
        if (!info.serialNumber.isEmpty())
            object.insert(QStringLiteral("serialNumber"), info.serialNumber);
        cameras.append(object);
    }

    QJsonArray scenes;
    for (int scene = 0; scene < int(m_scenes.size()); ++scene) {
        QJsonObject photos;
        for (int camera = 0; camera < int(m_cameras.size()); ++camera) {
            const QString file = fileAtSceneMoment(scene, camera);
            if (!file.isEmpty())
                photos.insert(m_cameras[size_t(camera)].identityKey(), file);
        }
        const Scene &info = m_scenes[size_t(scene)];
        scenes.append(QJsonObject{
            {QStringLiteral("number"), info.number},
            {QStringLiteral("name"), info.name},
            {QStringLiteral("moment"), dateText(info.moment)},
            {QStringLiteral("photos"), photos},
        });
    }

    return QJsonDocument(QJsonObject{
        {QStringLiteral("seed"), qint64(m_seed)},
        {QStringLiteral("timeFormat"), timeFormat},
        {QStringLiteral("reference"), m_cameras.front().identityKey()},
        {QStringLiteral("cameras"), cameras},
        {QStringLiteral("scenes"), scenes},
    });
}

QString KVDemoEvent::dateText(const QDateTime &wallClock) {
    return wallClock.toString(timeFormat);
}

QDateTime KVDemoEvent::onDisk(const QDateTime &wallClock) {
    return QDateTime(wallClock.date(), wallClock.time());
}
