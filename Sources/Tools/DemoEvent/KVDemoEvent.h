// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QColor>
#include <QDateTime>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QString>

#include <vector>

// A made-up wedding shot by four cameras whose clocks disagree: who shot what, and when.
// Moments are wall-clock times held as UTC date-times, so that adding a clock error is plain
// arithmetic on the clock face, whatever the time zone; onDisk() turns them into local instants.
// The same seed always gives the same event.
class KVDemoEvent {
public:
    struct Camera {
        QString letter;
        QString make; // as written into the file, padding included
        QString model;
        QString serialNumber;  // empty: the body writes none
        qint64 clockError = 0; // seconds the camera's clock runs ahead of the true time
        QString filePrefix;
        // Make, model and serial number, trimmed and joined as the program keys its cameras.
        QString identityKey() const;
    };
    struct Scene {
        int number = 0;
        QString name;
        QColor color;
        QDateTime moment; // the instant every camera covering the scene shoots at once
    };
    struct Shot {
        int camera = 0;
        int scene = -1; // index into scenes(); -1 for a stray shot between scenes
        QDateTime moment;
        QString fileName;
    };

    explicit KVDemoEvent(quint32 seed);

    quint32 seed() const { return m_seed; }
    const std::vector<Camera> &cameras() const { return m_cameras; }
    const std::vector<Scene> &scenes() const { return m_scenes; }
    // By camera, then by time.
    const std::vector<Shot> &shots() const { return m_shots; }

    // What the camera's own clock showed at the shot.
    QDateTime cameraTime(const Shot &shot) const;
    // The file of `camera` shot at the scene's shared moment, or empty if it missed the scene.
    QString fileAtSceneMoment(int scene, int camera) const;
    // offsets.json: each camera's identity, clock error and correcting offset, every photo's
    // true moment, and per scene the photo of each camera at its shared moment.
    QJsonDocument offsets() const;

    static QString dateText(const QDateTime &wallClock);
    static QDateTime onDisk(const QDateTime &wallClock);

private:
    void planCamera(int camera, QRandomGenerator &random);

    quint32 m_seed;
    std::vector<Camera> m_cameras;
    std::vector<Scene> m_scenes;
    std::vector<int> m_absentCameras; // by scene: the camera that misses it, or -1
    std::vector<Shot> m_shots;
};
