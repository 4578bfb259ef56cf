// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QtGlobal>

#include <vector>

// A camera's capture times as the offset estimator sees them: the distinct times, ascending
// (frames within one second are one moment, not several coincidences), the first photo taken at
// each, and the first time of each burst.
struct KVCameraTimes {
    // Photos further apart than this belong to different bursts.
    static constexpr qint64 burstGap = 20;

    int camera = -1;
    std::vector<qint64> times;
    std::vector<qint64> firstIndex; // into the times given, the first photo at each time
    std::vector<qint64> onsets;

    static KVCameraTimes make(const std::vector<qint64> &times, int camera);
};
