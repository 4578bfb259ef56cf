// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QtGlobal>

#include <vector>

// Capture times of a made-up event with known clock errors, for the offset estimator's tests and
// benchmark. The event has moments, each with a key instant at which every camera that covers it
// fires within a second, and a span in which they go on shooting; the day has hours of silence.
// Cameras differ in how much they shoot and which moments they miss. Some cover only moments the
// reference camera missed (they line up with other cameras alone), and some were at another
// event entirely (they line up with nothing).
struct KVSyntheticShooting {
    struct Plan {
        quint32 seed = 1;
        int cameras = 4;
        int fewestPhotos = 20;
        int mostPhotos = 200;
        qint64 largestClockError = 3600; // seconds, either way
        double missedShare = 0.3;        // of the moments, each camera misses about this many
        int chainedCameras = 0;          // cover only moments the reference missed
        int strangerCameras = 0;         // at another event
    };
    struct Camera {
        std::vector<qint64> times; // what the camera's clock showed, ascending
        qint64 offset = 0;         // what to add to its times to get the reference's clock
        bool isStranger = false;
        bool isChained = false;
    };

    // Camera 0 is the reference; the same plan always gives the same event.
    static std::vector<Camera> make(const Plan &plan);
    // A plan drawn from the seed: 3 to 8 cameras, up to 200 or 2,000 photos each, clocks off by
    // up to an hour or 300 days, 10 to 60 % of the moments missed, now and then a camera that
    // only meets a third one and one at another event.
    static Plan randomPlan(quint32 seed);
};
