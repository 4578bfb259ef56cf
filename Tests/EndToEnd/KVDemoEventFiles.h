// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>

#include <vector>

// A fresh demo event on disk, and what its offsets.json says: each camera's correcting offset,
// each photo's true moment and the time the camera wrote, and per scene the photo every camera
// took at the scene's very second.
class KVDemoEventFiles {
public:
    struct Photo {
        QString file;
        QString moment;     // true wall-clock time, "yyyy:MM:dd HH:mm:ss"
        QString cameraTime; // what the camera's clock wrote
    };
    struct Camera {
        QString key; // the program's camera identity
        qint64 offset = 0;
        std::vector<Photo> photos;
    };
    struct Scene {
        QString name;
        QString moment;
        QMap<QString, QString> fileOfCamera; // camera key -> photo taken at the moment
    };

    static const QString &timeFormat();
    static QDateTime dateFromText(const QString &text);
    static QString textFromDate(const QDateTime &date);

    // Writes the event into `folder` (which must not exist yet); a drop of the whole folder
    // brings photos only.
    bool generate(const QString &folder, QString *error);

    QString folder() const { return m_folder; }
    QString referenceKey() const { return m_referenceKey; }
    const std::vector<Camera> &cameras() const { return m_cameras; }
    const Camera *camera(const QString &key) const;
    const std::vector<Scene> &scenes() const { return m_scenes; }
    // A scene every camera shot, from the middle of the event, so that its photos stand away
    // from the ends of the timelines.
    const Scene *sceneOfAllCameras() const;
    QStringList photoPaths() const;
    // File name -> date text, for comparison with what is on disk.
    QMap<QString, QString> cameraTimes() const;
    QMap<QString, QString> trueTimes(qint64 shift = 0) const;

private:
    QString m_folder;
    QString m_referenceKey;
    std::vector<Camera> m_cameras;
    std::vector<Scene> m_scenes;
};
